// pulsesequencedefiner_sector.cpp - one sector of either family: its time grid, its RF pulse, in
// the spatial family its gradients, then its waveform file.
//
// Pulses come from rfpulselib, gradients from fieldgradientlib; their dialogs read several
// answers from one line, whose rest is dropped when they return.
#include "pulsesequencedefiner_internal.h"

#include "consoleutil.h"
#include "fieldgradientlib.h"
#include "rfpulselib.h"
#include "zandatafileio.h"

#include <algorithm>
#include <cstdio>
#include <vector>

enum { hard_pulse = 1, am_pulse, general_pulse, pulse_from_disk, waiting_time };

static const double single_step = 1e-5; // s, of hard pulses and of the gradients while waiting

// ------------------------------------------------------------------ questions

static void print_sector_banner(const char *title, int s)
{
    const char *rule = "============================================================";
    std::printf("\n%s\n %s %d\n%s\n", rule, title, s, rule);
}

static int ask_content(void)
{
    int content;
    std::printf("Choose the sector content:\n"
                "    1. Hard pulse\n"
                "       (90 x, 90 y, 90 -x, 90 -y, 180 x, 180 y, 180 -x, 180 -y)\n"
                "    2. Amplitude-modulated RF pulse   : Hp(t) = f(t) * Ix\n"
                "    3. General RF pulse               : Hp(t) = f(t) * Ix + g(t) * Iy\n"
                "    4. Read RF pulse from disk        : (Bx, By)\n"
                "    5. Waiting time / free precession\n");
    read_int_prompt("Your choice [1..5] : ", &content);
    return content;
}

static void ask_milliseconds(const char *question, double *seconds)
{
    ask_double(question, seconds);
    *seconds /= 1000.0;
}

// Samples to compute and write, and their step in s. The sector keeps the count that was typed.
static void ask_time_resolution(int s, int *count, double *step)
{
    ps_print_heading("Time resolution for this sector");
    ask_int("Number of time intervals : ", &rt.noti[s]);
    *count = rt.noti[s];
    clamp_ap(count);
    ask_milliseconds("Total sector duration [ms] : ", &rt.sectdur[s]);
    *step = rt.noti[s] < 1 ? 0.0 : rt.sectdur[s] / rt.noti[s];
}

static void set_time_resolution(int s, int content, int *count, double *step)
{
    *count = 1;
    *step = single_step;
    if (content != hard_pulse && content != waiting_time)
        ask_time_resolution(s, count, step);
}

static void ask_static_offset(int s)
{
    ps_print_heading("Sector-wide parameters");
    ask_double("Static offset frequency [Hz] : ", &rt.statoff[s]);
}

static void ask_note(int s)
{
    std::printf("Sector note (optional): ");
    read_legacy_line(rt.remarks[s], sizeof rt.remarks[s]);
}

// ------------------------------------------------------------------ RF pulse

bool ReadBxByPulse(int *ap, double *xb, double *yb)
{
    const int count = *ap;
    const std::vector<double> old_x(xb, xb + std::max(count, 0)), old_y(yb, yb + old_x.size());
    double factor;
    std::printf("\n\nFile name Bx(t)\n");
    RealArrayIn(ap, xb);
    const bool has_x = dataio_last_status == DATAIO_OK;
    ConsoleDropLine();
    std::printf("File name By(t)\n");
    RealArrayIn(ap, yb);
    const bool has_y = dataio_last_status == DATAIO_OK;
    ask_double("Multiplication factor : ", &factor);
    if (!has_x || !has_y) {
        std::fprintf(stderr, "The pulse was not read.\n");
        std::copy(old_x.begin(), old_x.end(), xb);
        std::copy(old_y.begin(), old_y.end(), yb);
        *ap = count;
        return false;
    }
    for (int i = 0; i < *ap; i++) {
        xb[i] *= factor;
        yb[i] *= factor;
    }
    return true;
}

// A choice that the pulse's menu does not have leaves the old sample.
static void define_hard_pulse(int s, int *count, double *step)
{
    ps_print_heading("Define hard pulse parameters");
    AMHardPulseDefinition(count, step, rt.xb, rt.yb);
    rt.noti[s] = 1;
    rt.sectdur[s] = single_step;
}

static void define_waiting_time(int s)
{
    ps_print_heading("Waiting time / free precession");
    ask_milliseconds("Waiting time [ms] : ", &rt.sectdur[s]);
    rt.noti[s] = 1;
    rt.xb[0] = rt.yb[0] = 0.0;
}

// Fills xb and yb; false when the pulse cannot be read or there is no such content, which unknown
// tells.
static bool define_content(int s, int content, int *count, double *step, const char *unknown)
{
    bool defined = true;
    switch (content) {
    case hard_pulse:
        define_hard_pulse(s, count, step);
        break;
    case am_pulse:
        ps_print_heading("Define amplitude-modulated RF pulse");
        AMPulseDefinition(count, step, rt.xb, rt.yb);
        break;
    case general_pulse:
        ps_print_heading("Define general RF pulse");
        FMPulseDefinition(count, step, rt.xb, rt.yb);
        break;
    case pulse_from_disk:
        ps_print_heading("Read RF pulse samples (Bx, By) from disk");
        defined = ReadBxByPulse(count, rt.xb, rt.yb);
        if (!defined)
            rt.fnames[s][0] = '\0'; // an old waveform does not fit the new time resolution
        break;
    case waiting_time:
        define_waiting_time(s);
        break;
    default:
        std::printf("%s\n", unknown);
        return false;
    }
    ConsoleDropLine();
    return defined;
}

// ------------------------------------------------------------------ spatial sector

static void define_gradient(const char *heading, int count, double step, double *samples)
{
    ps_print_heading(heading);
    CalcGrad(&count, &step, samples);
    ConsoleDropLine();
}

void DefineSeqSector(int s)
{
    int count;
    double step;
    print_sector_banner("Edit Spatial Sequence Sector", s);
    const int content = ask_content();
    set_time_resolution(s, content, &count, &step);
    if (!define_content(s, content, &count, &step, "Unknown sector type."))
        return;
    rt.sectype[s] = 1;
    rt.nevo[s] = 1;
    ask_static_offset(s);
    define_gradient("Define X-gradient waveform", count, step, rt.gx);
    define_gradient("Define Y-gradient waveform", count, step, rt.gy);
    define_gradient("Define Z-gradient waveform", count, step, rt.gz);
    if (ps_write_spatial_sector_waveform_file(s, count))
        ask_note(s);
}

// ------------------------------------------------------------------ 1D/2D sector

// A sequence has one evolution dimension. False when the sector was not completed.
static bool define_evolution_sector(int s)
{
    if (rt.nevo[s - 1] != 1) {
        std::printf("A 3D experiment is not allowed.\n");
        std::printf("Press <enter> to continue");
        ConsolePause();
        return false;
    }
    ps_print_heading("Evolution sector settings");
    ask_milliseconds("Basic evolution-sector time [ms] : ", &rt.sectdur[s]);
    rt.noti[s] = 1;
    ask_int("Number of evolution steps        : ", &rt.nevo[s]);
    rt.xb[0] = rt.yb[0] = 0.0;
    return ps_write_2d_sector_waveform_file(s, 1);
}

// The evolution rows of earlier sectors go on through this one.
static bool define_normal_sector(int s)
{
    int count;
    double step;
    rt.nevo[s] = rt.nevo[s - 1];
    const int content = ask_content();
    set_time_resolution(s, content, &count, &step);
    if (!define_content(s, content, &count, &step, "Unknown sector content."))
        return false;
    return ps_write_2d_sector_waveform_file(s, count);
}

void Define2DSeqSector(int s)
{
    print_sector_banner("Edit 1D / 2D Sequence Sector", s);
    std::printf("Choose the sector family:\n"
                "    1. Normal sector\n"
                "    2. Evolution sector\n");
    read_int_prompt("Your choice [1..2] : ", &rt.sectype[s]);
    if (!(rt.sectype[s] == 1 ? define_normal_sector(s) : define_evolution_sector(s)))
        return;
    ask_static_offset(s);
    ask_note(s);
}

// ------------------------------------------------------------------ a sector by its number

void ps_edit_one_sector(int family)
{
    ask_int("Sector number to define / edit = ", &rt.sector);
    const int s = rt.sector;
    if (s < 1 || s > ZAN_MAX_SECTORS) {
        std::printf("Invalid sector number. Allowed range is 1..%d.\n", ZAN_MAX_SECTORS);
        return;
    }
    if (family == 1)
        DefineSeqSector(s);
    else
        Define2DSeqSector(s);
    rt.sectorset = 1;
    if (s > rt.nos)
        rt.nos = s;
}
