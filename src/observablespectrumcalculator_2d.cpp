// observablespectrumcalculator_2d.cpp - the signal file "zansign.bin" as a spectrum in one or two
// dimensions, in "spectra.bin" and on the console.
//
// The transforms are those of four3, in the forward direction: a line of positive offset lies at
// positive frequency. Zero frequency is in the middle of both axes.

#include "observablespectrumcalculator_internal.h"

#include "consoleutil.h"
#include "four3.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace
{

// rows (traces) x columns (samples) of complex elements, by rows from 0.
struct Spectrum {
    int rows, columns;
    double row_hz;    // between rows, Hz; 0 = the traces are no time axis
    double column_hz; // between columns, Hz
    std::unique_ptr<double[]> values;
};

struct Peak {
    int row, column;
    double magnitude;
};

} // namespace

static size_t elements(int rows, int columns)
{
    return (size_t)rows * (size_t)columns;
}

static void report_no_memory(int rows, int columns)
{
    std::printf("No memory for a spectrum of %d x %d points.\n", rows, columns);
}

static bool sizes_are_powers_of_two(const char *what, const SignalInput &in, int traces)
{
    if (is_power_of_two((size_t)in.samples) && is_power_of_two((size_t)traces))
        return true;
    std::printf("%s needs powers of two; zansign.bin holds %d samples in %d traces.\n", what,
                in.samples, in.traces);
    return false;
}

// ------------------------------------------------------------------ transform

void TransposeDataMatrix(int rows, int columns, const double *from, double *to)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            std::memcpy(to + 2 * (elements(j, rows) + (size_t)i),
                        from + 2 * (elements(i, columns) + (size_t)j), 2 * sizeof(double));
}

// Every row from time to frequency, zero frequency at columns / 2.
static void transform_rows(int rows, int columns, double *values)
{
    const size_t row_length = 2 * (size_t)columns;
    for (int i = 0; i < rows; i++) {
        double *row = values + (size_t)i * row_length;
        four2(row, (size_t)columns, 1);
        std::rotate(row, row + 2 * (size_t)(columns - columns / 2), row + row_length);
    }
}

static bool transform_both_ways(Spectrum *s)
{
    transform_rows(s->rows, s->columns, s->values.get());
    if (s->rows == 1)
        return true;
    const std::unique_ptr<double[]> turned = osc_zeros(2 * elements(s->rows, s->columns));
    if (!turned) {
        report_no_memory(s->rows, s->columns);
        return false;
    }
    TransposeDataMatrix(s->rows, s->columns, s->values.get(), turned.get());
    transform_rows(s->columns, s->rows, turned.get());
    TransposeDataMatrix(s->columns, s->rows, turned.get(), s->values.get());
    return true;
}

static bool write_spectrum(const Spectrum &s)
{
    OutputFile out;
    if (!open_output(&out, "spectra.bin")) {
        std::perror("fopen(spectra.bin)");
        return false;
    }
    WriteBinFileHeaderI(out.file, 1, s.columns, s.rows);
    const size_t count = 2 * elements(s.rows, s.columns);
    const bool written = binfh_last_status == BINFH_OK &&
                         std::fwrite(s.values.get(), sizeof(double), count, out.file) == count;
    if (written && commit_output(&out))
        return true;
    std::perror("fwrite(spectra.bin)");
    discard_output(&out);
    return false;
}

// ------------------------------------------------------------------ peaks

static double magnitude_at(const Spectrum &s, int row, int column)
{
    const double *z = s.values.get() + 2 * (elements(row, s.columns) + (size_t)column);
    return std::hypot(z[0], z[1]);
}

// No neighbour is larger; of equal ones the first is the peak. The axes are cyclic.
static bool is_peak(const Spectrum &s, int row, int column, double magnitude)
{
    for (int dr = -1; dr <= 1; dr++)
        for (int dc = -1; dc <= 1; dc++) {
            const int r = (row + dr + s.rows) % s.rows;
            const int c = (column + dc + s.columns) % s.columns;
            const bool earlier = r < row || (r == row && c < column);
            const double neighbour = magnitude_at(s, r, c);
            if ((r != row || c != column) &&
                (neighbour > magnitude || (earlier && neighbour == magnitude)))
                return false;
        }
    return true;
}

static bool is_larger(const Peak &a, const Peak &b)
{
    return a.magnitude > b.magnitude;
}

// The largest peaks, at most ten; those below a hundredth of the largest are left out.
static std::vector<Peak> largest_peaks(const Spectrum &s)
{
    const size_t COUNT = 10;
    std::vector<Peak> peaks;
    for (int row = 0; row < s.rows; row++)
        for (int column = 0; column < s.columns; column++) {
            const Peak peak = {row, column, magnitude_at(s, row, column)};
            const bool counts =
                peaks.size() < COUNT ? peak.magnitude > 0.0 : is_larger(peak, peaks.back());
            if (!counts || !is_peak(s, row, column, peak.magnitude))
                continue;
            peaks.insert(std::upper_bound(peaks.begin(), peaks.end(), peak, is_larger), peak);
            peaks.resize(std::min(peaks.size(), COUNT));
        }
    std::erase_if(peaks, [&](const Peak &p) { return p.magnitude < 0.01 * peaks[0].magnitude; });
    return peaks;
}

// In Hz, or in cycles per trace when the traces are no time axis.
static double row_frequency(const Spectrum &s, int row)
{
    return (row - s.rows / 2) * (s.row_hz > 0.0 ? s.row_hz : 1.0 / s.rows);
}

static void print_peaks(const Spectrum &s)
{
    const std::vector<Peak> peaks = largest_peaks(s);
    if (peaks.empty()) {
        std::printf("There is no signal in it.\n");
        return;
    }
    const char *traces = s.row_hz > 0.0 ? "traces [Hz]" : "[per trace]";
    std::printf("Largest peaks:\n  samples [Hz]");
    if (s.rows > 1)
        std::printf("   %12s", traces);
    std::printf("      magnitude\n");
    for (const Peak &p : peaks) {
        std::printf("  %12.6g", (p.column - s.columns / 2) * s.column_hz);
        if (s.rows > 1)
            std::printf("   %12.6g", row_frequency(s, p.row));
        std::printf("   %12.6g\n", p.magnitude);
    }
}

// ------------------------------------------------------------------ two dimensions

static bool read_all_traces(const SignalInput &in, Spectrum *s)
{
    s->values = osc_zeros(2 * elements(s->rows, s->columns));
    if (!s->values) {
        report_no_memory(s->rows, s->columns);
        return false;
    }
    for (int trace = 0; trace < s->rows; trace++)
        if (!osc_read_trace(in, s->values.get() + 2 * elements(trace, s->columns)))
            return false;
    return true;
}

static void print_size(const Spectrum &s)
{
    std::printf("\n2D spectrum of %d samples x %d traces written to spectra.bin\n", s.columns,
                s.rows);
    std::printf("  samples : %.9g Hz wide, %.9g Hz per point\n", s.columns * s.column_hz,
                s.column_hz);
    if (s.row_hz > 0.0)
        std::printf("  traces  : %.9g Hz wide, %.9g Hz per point\n", s.rows * s.row_hz, s.row_hz);
    else
        std::printf("  traces  : no evolution time between them\n");
}

bool Calc2Dfft(double acq_time, double trace_step_s)
{
    const SignalInput in = osc_open_signal_file();
    if (!in.file || !sizes_are_powers_of_two("The 2D FFT", in, in.traces))
        return false;
    Spectrum s = {in.traces, in.samples, 0.0, acq_time > 0.0 ? 1.0 / acq_time : 0.0, nullptr};
    if (trace_step_s > 0.0)
        s.row_hz = 1.0 / (in.traces * trace_step_s);
    if (!read_all_traces(in, &s) || !transform_both_ways(&s) || !write_spectrum(s))
        return false;
    print_size(s);
    print_peaks(s);
    return true;
}

// ------------------------------------------------------------------ signals on the console

static void print_samples(const SignalInput &in, double acq_time, int trace, const Spectrum &s)
{
    int largest = 0;
    for (int k = 1; k < s.columns; k++)
        if (magnitude_at(s, 0, k) > magnitude_at(s, 0, largest))
            largest = k;
    std::printf("\nTrace %d of %d: %d samples in %.9g s\n", trace, in.traces, in.samples, acq_time);
    std::printf("  first sample      : % .9e  % .9e\n", s.values[0], s.values[1]);
    std::printf("  largest magnitude : % .9e at %.9g s\n", magnitude_at(s, 0, largest),
                largest * acq_time / in.samples);
}

bool DispTransvSign(double acq_time, int trace)
{
    const SignalInput in = osc_open_signal_file();
    if (!in.file)
        return false;
    Spectrum s = {1, in.samples, 0.0, acq_time > 0.0 ? 1.0 / acq_time : 0.0, nullptr};
    for (int k = 1; k <= trace && k <= in.traces; k++)
        if (!read_all_traces(in, &s))
            return false;
    if (trace < 1 || trace > in.traces) {
        std::printf("zansign.bin holds the traces 1 to %d.\n", in.traces);
        return false;
    }
    print_samples(in, acq_time, trace, s);
    if (!sizes_are_powers_of_two("Its spectrum", in, 1) || !transform_both_ways(&s) ||
        !write_spectrum(s))
        return false;
    std::printf("Its spectrum is in spectra.bin, %.9g Hz per point.\n", s.column_hz);
    print_peaks(s);
    return true;
}

// Number, first sample and largest magnitude of the first traces.
static bool list_traces(void)
{
    const int SHOWN = 20;
    const SignalInput in = osc_open_signal_file();
    if (!in.file)
        return false;
    std::printf("zansign.bin: %d traces of %d samples\n", in.traces, in.samples);
    std::printf("  trace   first sample (re, im)           largest magnitude\n");
    Spectrum s = {1, in.samples, 0.0, 0.0, nullptr};
    for (int trace = 1; trace <= std::min(in.traces, SHOWN); trace++) {
        if (!read_all_traces(in, &s))
            return false;
        double largest = 0.0;
        for (int k = 0; k < in.samples; k++)
            largest = std::max(largest, magnitude_at(s, 0, k));
        std::printf("  %5d  % .6e  % .6e   %.6e\n", trace, s.values[0], s.values[1], largest);
    }
    if (in.traces > SHOWN)
        std::printf("  and %d more\n", in.traces - SHOWN);
    return true;
}

void DisplaySignals(void)
{
    double acq_time;
    std::printf("Acquisition time [seconds] : ");
    if (!ConsoleReadDouble(&acq_time))
        return;
    std::printf("\n");
    if (!list_traces())
        return;
    int trace = 0;
    do {
        if (trace > 0)
            DispTransvSign(acq_time, trace);
        std::printf("Trace to show (0 = back): ");
    } while (ConsoleReadInt(&trace) && trace > 0);
}
