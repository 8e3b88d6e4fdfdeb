// observablespectrumcalculator_outputs.cpp - exports of the signal file "zansign.bin": a pair of
// CSV files with a gnuplot script, or one file for PV-WAVE.
//
// Files appear complete or not at all (binaryfilehandling); gnuplot is started through
// platformlib.

#include "observablespectrumcalculator_internal.h"

#include "consoleutil.h"
#include "platformlib.h"
#include "zandatafileio.h"

#include <cmath>
#include <cstring>
#include <string>

enum { WORD_SIZE = 256, CSV_NAME_SIZE = 320, SCRIPT_NAME_SIZE = 384 };

// ------------------------------------------------------------------ CSV

namespace
{

struct CsvPair {
    char td_name[CSV_NAME_SIZE], fd_name[CSV_NAME_SIZE];
    OutputFile td, fd; // time domain, frequency domain
};

} // namespace

static bool write_time_trace(FILE *out, int trace, int pp, double dt, const double *x)
{
    for (int k = 0; k < pp; k++) {
        const double re = x[2 * (size_t)k], im = x[2 * (size_t)k + 1];
        if (std::fprintf(out, "%.17g,%d,%.17g,%.17g,%.17g\n", k * dt, trace, re, im,
                         std::sqrt(re * re + im * im)) < 0)
            return false;
    }
    return true;
}

// X[m], the sum of x[k]·exp(-2·pi·i·m·k/pp): any pp, power of two or not.
static void direct_transform(int m, int pp, const double *x, double *Re, double *Im)
{
    *Re = *Im = 0.0;
    for (int k = 0; k < pp; k++) {
        const double angle = -2.0 * osc_pi() * m * k / pp;
        const double c = std::cos(angle), s = std::sin(angle);
        const double re = x[2 * (size_t)k], im = x[2 * (size_t)k + 1];
        *Re += re * c - im * s;
        *Im += im * c + re * s;
    }
}

// Frequency zero in the middle. The phase-corrected columns carry the uncorrected spectrum.
static bool write_frequency_trace(FILE *out, int trace, int pp, double df, const double *x)
{
    for (int r = 0; r < pp; r++) {
        const int m = (int)(((int64_t)r + pp / 2) % pp);
        double re, im;
        direct_transform(m, pp, x, &re, &im);
        if (std::fprintf(out, "%.17g,%.17g,%.17g,%.17g,%.17g,%.17g,%.17g,%.17g,%.17g\n",
                         (r - pp / 2) * df, (double)trace, re, im, re, im, re, im,
                         std::sqrt(re * re + im * im)) < 0)
            return false;
    }
    return true;
}

static bool open_csv_files(CsvPair *csv)
{
    if (!open_output(&csv->td, csv->td_name)) {
        std::perror("fopen(td.csv)");
        return false;
    }
    if (open_output(&csv->fd, csv->fd_name))
        return true;
    std::perror("fopen(fd.csv)");
    discard_output(&csv->td);
    return false;
}

static bool write_headings(const CsvPair &csv)
{
    return std::fputs("t_s,f2_index,re,im,mag\n", csv.td.file) >= 0 &&
           std::fputs("f1_hz,f2_hz,re,im,re_ph,im_ph,re_ph1,im_ph1,mag\n", csv.fd.file) >= 0;
}

static bool write_trace_rows(const CsvPair &csv, const SignalInput &in, int trace, double dt,
                             const double *x)
{
    const double df = dt > 0.0 ? 1.0 / (in.samples * dt) : 0.0;
    if (write_time_trace(csv.td.file, trace, in.samples, dt, x) &&
        write_frequency_trace(csv.fd.file, trace, in.samples, df, x))
        return true;
    std::perror("fprintf(csv)");
    return false;
}

// Trace by trace: memory for one of them.
static bool write_csv_rows(const CsvPair &csv, const SignalInput &in, double acq_time)
{
    const double dt = in.samples > 1 ? acq_time / (in.samples - 1) : 0.0;
    const std::unique_ptr<double[]> x = osc_zeros(2 * (size_t)in.samples);
    if (!x) {
        std::perror("calloc");
        return false;
    }
    if (!write_headings(csv)) {
        std::perror("fprintf(csv)");
        return false;
    }
    for (int trace = 0; trace < in.traces; trace++)
        if (!osc_read_trace(in, x.get()) || !write_trace_rows(csv, in, trace, dt, x.get()))
            return false;
    return true;
}

static bool commit_csv_files(CsvPair *csv)
{
    const bool td = commit_output(&csv->td);
    const bool fd = td && commit_output(&csv->fd);
    if (!td)
        discard_output(&csv->fd);
    if (!fd)
        std::perror(td ? csv->fd_name : csv->td_name);
    return fd;
}

static bool write_csv_files(CsvPair *csv, double acq_time)
{
    const SignalInput in = osc_open_signal_file();
    if (!in.file || !open_csv_files(csv))
        return false;
    if (write_csv_rows(*csv, in, acq_time))
        return commit_csv_files(csv);
    discard_output(&csv->td);
    discard_output(&csv->fd);
    return false;
}

int Create_CSV_Files(double acq_time, char *fd_filename, size_t fd_size)
{
    CsvPair csv;
    char base[WORD_SIZE];
    std::printf("Base file name (without extension): ");
    if (!ConsoleReadName(base, sizeof base, "fopen(td.csv)"))
        return 0;
    std::snprintf(csv.td_name, sizeof csv.td_name, "%s_td.csv", base);
    std::snprintf(csv.fd_name, sizeof csv.fd_name, "%s_fd.csv", base);
    if (!write_csv_files(&csv, acq_time))
        return 0;
    std::printf("Wrote %s and %s\n", csv.td_name, csv.fd_name);
    if (fd_filename && fd_size > 0)
        std::snprintf(fd_filename, fd_size, "%s", csv.fd_name);
    return 1;
}

// ------------------------------------------------------------------ PV-WAVE

void Create_PV_WAVE_File(void)
{
    char name[WORD_SIZE];
    std::printf("File name PV-Wave file : ");
    if (!ConsoleReadName(name, sizeof name, "fopen(output)"))
        return;
    FilePtr in = open_input("zansign.bin");
    if (!in) {
        std::perror("fopen(zansign.bin)");
        return;
    }
    OutputFile out;
    if (!open_output(&out, name)) {
        std::perror("fopen(output)");
        return;
    }
    const bool written = write_pv_wave_file(in.get(), out.file);
    in.reset(); // the output may replace the input
    if (!written || !commit_output(&out)) {
        std::perror("fwrite(output)");
        discard_output(&out);
    }
}

// ------------------------------------------------------------------ gnuplot

// Between double quotes gnuplot would take a quote as the end, a backquote as a command of the
// shell, and a backslash as the start of a character.
static std::string quoted_for_gnuplot(const char *text)
{
    std::string quoted;
    for (; *text; text++) {
        if (std::strchr("\"\\`", *text))
            quoted += '\\';
        quoted += *text;
    }
    return quoted;
}

int WriteGnuplotSpectrumScript(const char *gp_name, const char *csv_name, const char *plot_title)
{
    OutputFile out;
    if (!open_output(&out, gp_name)) {
        std::perror(gp_name);
        return 0;
    }
    const std::string csv = quoted_for_gnuplot(csv_name);
    const std::string title = quoted_for_gnuplot(plot_title ? plot_title : "ZAN Spectrum");
    std::fprintf(out.file,
                 "set terminal qt\n"
                 "set datafile separator \",\"\n"
                 "set key right top\n"
                 "set grid\n"
                 "set xlabel \"Frequency (Hz)\"\n"
                 "set ylabel \"Intensity\"\n"
                 "set xrange [*:*] reverse\n"
                 "set title \"%s\"\n"
                 "plot \"%s\" using 1:3 with lines title \"re\", \\\n"
                 "     \"%s\" using 1:9 with lines title \"mag\"\n"
                 "pause mouse close\n",
                 title.c_str(), csv.c_str(), csv.c_str());
    if (commit_output(&out))
        return 1;
    std::perror(gp_name);
    return 0;
}

int AskOpenPlotNow(void)
{
    char answer[16];
    std::printf("Open spectrum in gnuplot now? [y/n] : ");
    return ConsoleReadWord(answer, sizeof answer) && (answer[0] == 'y' || answer[0] == 'Y');
}

void LaunchGnuplotScript(const char *gp_name)
{
    // A name that begins like an option would be taken for one.
    const std::string name = gp_name[0] == '-' ? std::string("./") + gp_name : gp_name;
    if (!plat_start_in_background("gnuplot", {"-persist", name}))
        std::perror("gnuplot");
}

// ------------------------------------------------------------------ menu

static void export_csv(double acq_time)
{
    char fd_name[CSV_NAME_SIZE], gp_name[SCRIPT_NAME_SIZE];
    if (!Create_CSV_Files(acq_time, fd_name, sizeof fd_name))
        return;
    std::printf("Frequency-domain CSV: %s\n", fd_name);
    std::snprintf(gp_name, sizeof gp_name, "%s.gp", fd_name);
    if (!WriteGnuplotSpectrumScript(gp_name, fd_name, "ZAN Spectrum"))
        return;
    std::printf("Wrote gnuplot script: %s\n", gp_name);
    if (AskOpenPlotNow())
        LaunchGnuplotScript(gp_name);
}

void SpectrumOutputMenu(double acq_time)
{
    int choice;
    std::printf("\nOutput format:\n");
    std::printf("  1. PV-Wave/IDL (legacy)\n");
    std::printf("  2. CSV (_td.csv and _fd.csv)\n");
    std::printf("Your choice [1,2] : ");
    if (!ConsoleReadInt(&choice))
        return;
    if (choice == 1)
        Create_PV_WAVE_File();
    else if (choice == 2)
        export_csv(acq_time);
}
