// zan_pulse_dialogs.cpp - a single pulse and its grid from the console: the older way to prepare
// a propagation without a sequence. Works on the sector at hand (xb, yb, gx, gy, gz, grid).

#include "zan.h"

#include "consoleutil.h"
#include "fieldgradientlib.h"
#include "pulsesequencedefiner.h"
#include "rfpulselib.h"
#include "zandatafileio.h"

#include <algorithm>
#include <cstring>

// ------------------------------------------------------------------ pulse

static int ask_pulse(void)
{
    int choice;
    std::printf("Pulse definition:\n"
                "  1. AM hard pulse\n"
                "  2. AM pulse\n"
                "  3. FM pulse\n"
                "  4. Read Bx/By pulse from disk\n"
                "  5. Optimization start RF-pulse (Bx/By waveform)\n"
                "  6. Edit current prepared spatial pulse sequence / sectors\n"
                "  0. Back\n"
                "Your choice [0..6] : ");
    const bool read = ConsoleReadInt(&choice);
    ConsoleDropLine();
    if (!read)
        return 0;
    std::printf("\n");
    return choice;
}

// A pulse from disk has no time of its own: its step comes from the pulse time that stood before.
static void use_pulse_time(void)
{
    rt.rfpulsedefined = rt.pulseflag = 1;
    rt.h = rt.ap < 1 ? 0.0 : rt.ti / rt.ap;
}

static void define_start_pulse(void)
{
    if (!GenerateOptimizationStartPulse(&rt.ap, &rt.h, rt.xb, rt.yb, rt.npar)) {
        std::printf("Optimization start pulse was not generated.\n");
        return;
    }
    rt.rfpulsedefined = rt.pulseflag = 1;
    rt.ti = rt.h * rt.ap;
}

void RedefinePulseHamiltonian(void)
{
    clamp_ap(&rt.ap); // a run leaves the count of its last sector, which may be too large
    switch (ask_pulse()) {
    case 1:
        AMHardPulseDefinition(&rt.ap, &rt.ti, rt.xb, rt.yb);
        use_pulse_time();
        break;
    case 2:
        AMPulseDefinition(&rt.ap, &rt.ti, rt.xb, rt.yb);
        use_pulse_time();
        break;
    case 3:
        FMPulseDefinition(&rt.ap, &rt.ti, rt.xb, rt.yb);
        use_pulse_time();
        break;
    case 4:
        if (ReadBxByPulse(&rt.ap, rt.xb, rt.yb))
            use_pulse_time();
        break;
    case 5:
        define_start_pulse();
        break;
    case 6:
        EditPulseSequence();
        break;
    default:
        break;
    }
    ConsoleDropLine();
}

void OutputPulse(void)
{
    std::printf("Bx(t)\n");
    RealArrayOut(&rt.ap, rt.xb);
    ConsoleDropLine();
    std::printf("By(t)\n");
    RealArrayOut(&rt.ap, rt.yb);
    ConsoleDropLine();
}

// ------------------------------------------------------------------ grid and gradients

namespace
{

// The values of one axis in the runtime state.
struct Axis {
    char name;
    int *points;
    double *minimum, *spacing, *gradient;
};

} // namespace

static bool use_axis(char name)
{
    for (;;) {
        char line[256];
        std::printf("Use %c-direction spatial offsets / gradient? [y/n]: ", name);
        if (!ConsoleReadLine(line, sizeof line))
            return false;
        const char *answer = line + std::strspn(line, " \t\r");
        if (*answer == 'y' || *answer == 'Y')
            return true;
        if (*answer == 'n' || *answer == 'N')
            return false;
        if (*answer)
            std::printf("Please answer y or n.\n");
    }
}

static void leave_out_axis(const Axis &axis)
{
    *axis.points = 1;
    *axis.minimum = *axis.spacing = 0.0;
    std::fill_n(axis.gradient, std::clamp<int>(rt.ap, 0, ZAN_MAX_RF_POINTS), 0.0);
}

// False when an answer was no number; what was set before stays.
static bool ask_axis(const Axis &axis)
{
    const char x = axis.name;
    std::printf("Number of spatial grid points in %c-direction (1..%d): ", x, 256);
    if (!ConsoleReadInt(axis.points))
        return false;
    *axis.points = std::clamp(*axis.points, 1, 256);
    std::printf("Grid spacing d%c_s [cm]                          : ", x);
    if (!ConsoleReadDouble(axis.spacing))
        return false;
    std::printf("Minimum %c-coordinate %c0_s [cm]                  : ", x, x);
    if (!ConsoleReadDouble(axis.minimum))
        return false;
    ConsoleDropLine();
    std::printf("\nDefine %c-gradient waveform:\n", x);
    CalcGrad(&rt.ap, &rt.h, axis.gradient);
    return true;
}

static bool set_up_axis(const Axis &axis)
{
    if (!use_axis(axis.name)) {
        leave_out_axis(axis);
        return true;
    }
    const bool complete = ask_axis(axis);
    ConsoleDropLine();
    return complete;
}

void DefinegradientOffset(void)
{
    std::printf("\n"
                "           ***************************************\n"
                "           ***  SPATIAL GRID / OFFSET SETUP    ***\n"
                "           ***************************************\n");
    if (!rt.spinsystemdefined || rt.Nspins < 1) {
        std::printf(">>>> No spin system is defined. Define spins first. <<<<\n");
        ConsolePause();
        return;
    }
    clamp_ap(&rt.ap);
    MakeGradientOperator();
    std::printf("\nDefine the spatial grid and optional gradient waveforms.\n");
    std::printf("If a gradient axis is not used, ZAN keeps one point in that direction.\n\n");
    if (!set_up_axis({'x', &rt.ndx, &rt.x0_s, &rt.dx_s, rt.gx}) ||
        !set_up_axis({'y', &rt.ndy, &rt.y0_s, &rt.dy_s, rt.gy}) ||
        !set_up_axis({'z', &rt.ndz, &rt.z0_s, &rt.dz_s, rt.gz}))
        return;
    rt.offsetsdefined = 1;
    std::printf("\nSpatial grid / offset setup completed.\n");
    std::printf("  ndx=%d  ndy=%d  ndz=%d\n", rt.ndx, rt.ndy, rt.ndz);
    std::printf("  x0_s=%.15g  y0_s=%.15g  z0_s=%.15g [cm]\n", rt.x0_s, rt.y0_s, rt.z0_s);
    std::printf("  dx_s=%.15g  dy_s=%.15g  dz_s=%.15g [cm]\n", rt.dx_s, rt.dy_s, rt.dz_s);
}
