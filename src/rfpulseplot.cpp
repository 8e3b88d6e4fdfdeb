// rfpulseplot.cpp - an optimized pulse as a CSV table and a gnuplot script.
//
// Both files appear complete or not at all (binaryfilehandling). The optimizer calls them.
#include "rfpulseplot.h"

#include "binaryfilehandling.h"

#include <cmath>
#include <cstdio>
#include <string>

static const double TWO_PI = 6.283185307179586;
static const double NO_FIELD = 1e-12; // below this magnitude the phase means nothing

static bool open_for(const char *writer, const char *filename, OutputFile *out)
{
    if (open_output(out, filename))
        return true;
    std::fprintf(stderr, "%s: cannot open %s\n", writer, filename);
    return false;
}

static int finish(OutputFile *out, const char *filename)
{
    if (commit_output(out))
        return 1;
    print_io_error(filename);
    return 0;
}

// 0..2·pi
static double phase_of(double x, double y)
{
    const double phase = std::atan2(y, x);
    return phase < 0.0 ? phase + TWO_PI : phase;
}

int WritePulseCSV(const char *filename, int ap, double h, const double *xb, const double *yb)
{
    OutputFile out;
    if (!open_for("WritePulseCSV", filename, &out))
        return 0;
    std::fprintf(out.file, "# t[s], B1x[Hz], B1y[Hz], |B1|, phase[rad]\n");
    double phase = 0.0;
    for (int i = 0; i < ap; i++) {
        const double magnitude = std::sqrt(xb[i] * xb[i] + yb[i] * yb[i]);
        if (!(magnitude < NO_FIELD)) // else the phase curve stays flat
            phase = phase_of(xb[i], yb[i]);
        std::fprintf(out.file, "%g, %g, %g, %g, %g\n", i * h, xb[i], yb[i], magnitude, phase);
    }
    return finish(&out, filename);
}

// text within single quotes: gnuplot reads two of them as one, and a name cannot end its string.
static std::string quoted_for_gnuplot(const char *text)
{
    std::string quoted;
    for (; *text; text++)
        quoted.append(*text == '\'' ? 2 : 1, *text);
    return quoted;
}

int WriteGnuplotPulseScript(const char *gp_name, const char *csv_name)
{
    OutputFile out;
    if (!open_for("WriteGnuplotPulseScript", gp_name, &out))
        return 0;
    const std::string quoted = quoted_for_gnuplot(csv_name);
    const char *const csv = quoted.c_str();
    std::fprintf(out.file,
                 "set title 'Optimized RF Pulse'\n"
                 "set xlabel 'Time (s)'\n"
                 "set ylabel 'Amplitude / Phase'\n"
                 "set grid\n"
                 "set key left top\n"
                 "\n"
                 "plot \\\n"
                 "  '%s' using 1:2 with lines title 'B1x', \\\n"
                 "  '%s' using 1:3 with lines title 'B1y', \\\n"
                 "  '%s' using 1:4 with lines title '|B1|', \\\n"
                 "  '%s' using 1:5 with lines title 'phase'\n"
                 "\n"
                 "pause -1\n",
                 csv, csv, csv, csv);
    return finish(&out, gp_name);
}
