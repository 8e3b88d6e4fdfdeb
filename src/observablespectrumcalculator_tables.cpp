// observablespectrumcalculator_tables.cpp - console tables that explain a single trace: line
// lists, the state at the start of acquisition, the transitions of the eigenbasis.

#include "observablespectrumcalculator.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

// ------------------------------------------------------------------ line lists

// Up to 256 lines in one write: the console would take each of them by itself.
static void print_lines(const LineList &lines, int count)
{
    std::string text;
    for (int k = 1; k <= count; k++) {
        char line[64];
        std::snprintf(line, sizeof line, "    % .12e  % .12g\n", lines[1][k], lines[2][k]);
        text += line;
    }
    std::fputs(text.c_str(), stdout);
}

void print_legacy_spectrum_component_diagnostics(const char *label, const LineList &csp,
                                                 const LineList &ssp, int Nc, int Ns)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    std::printf("\nZAN legacy DoSpectrum component list: %s\n", label);
    std::printf("  COS components: amplitude * cos(2*pi*frequency_hz*t)\n");
    print_lines(csp, Nc);
    std::printf("  SIN components: amplitude * sin(2*pi*frequency_hz*t)\n");
    print_lines(ssp, Ns);
}

// ------------------------------------------------------------------ transverse expectations

typedef void SpinOperatorLister(const SpinIList &, const SpinKet &, int, int, SparseCMatrix *);

static double unit_norm_expectation(SpinOperatorLister list, int spin, int n,
                                    const CMatrix *densmat, const SpinKet &ket,
                                    const SpinIList &Ilist)
{
    static SparseCMatrix op;
    Complex2 value;
    list(Ilist, ket, n, spin, &op);
    SparseNorm(n, &op);
    SparseExpectationValue(n, &op, densmat, &value);
    return value[COMPLEX_RE];
}

void print_adc_start_transverse_expectations(int n, const CMatrix *densmat, const SpinKet &ket,
                                             const SpinIList &Ilist)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    std::printf("\nZAN ADC-start per-spin transverse expectations\n");
    std::printf("  columns: spin  <Ix>_re  <Iy>_re\n");
    const int spins = infer_nspins(Ilist);
    for (int k = 1; k <= spins; k++)
        std::printf("  %2d  % .12e  % .12e\n", k,
                    unit_norm_expectation(ListIx, k, n, densmat, ket, Ilist),
                    unit_norm_expectation(ListIy, k, n, densmat, ket, Ilist));
}

// ------------------------------------------------------------------ transitions

namespace
{

const double MERGE_HZ = 0.05;

struct Transition {
    int r, c;
    double frequency; // Hz
    std::complex<double> amplitude;
};

} // namespace

static std::vector<Transition> visible_transitions(int n, const CMatrix &rho, const CMatrix &rec,
                                                   const double *eigval)
{
    std::vector<Transition> list;
    for (int r = 1; r <= n; r++)
        for (int c = 1; c <= n; c++) {
            const std::complex<double> receiver(rec[r][c][COMPLEX_RE], rec[r][c][COMPLEX_IM]);
            const std::complex<double> coherence(rho[c][r][COMPLEX_RE], rho[c][r][COMPLEX_IM]);
            const std::complex<double> amplitude = receiver * coherence;
            if (std::abs(amplitude) > 1e-10)
                list.push_back({r, c, (eigval[c] - eigval[r]) / (2.0 * osc_pi()), amplitude});
        }
    return list;
}

// Sorted by frequency; what lies within MERGE_HZ of a group's first line joins it.
static std::vector<Transition> merged_by_frequency(std::vector<Transition> list)
{
    std::stable_sort(list.begin(), list.end(), [](const Transition &a, const Transition &b) {
        return a.frequency < b.frequency;
    });
    std::vector<Transition> groups;
    for (const Transition &t : list) {
        if (!groups.empty() && t.frequency <= groups.back().frequency + MERGE_HZ)
            groups.back().amplitude += t.amplitude;
        else
            groups.push_back(t);
    }
    return groups;
}

static void print_amplitude(const Transition &t)
{
    std::printf("  % .12g  % .12e  % .12e  %.12e  %.6f\n", t.frequency, t.amplitude.real(),
                t.amplitude.imag(), std::abs(t.amplitude),
                std::arg(t.amplitude) * 180.0 / osc_pi());
}

void print_receiver_transition_diagnostics(int n, const CMatrix *rho_eig, const CMatrix *rec_eig,
                                           const double *eigval)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    const std::vector<Transition> list = visible_transitions(n, *rho_eig, *rec_eig, eigval);
    std::printf("\nZAN receiver transition list (complex FID synthesis)\n");
    std::printf("  columns: r c  frequency_hz  amplitude_re  amplitude_im  magnitude  phase_deg\n");
    for (const Transition &t : list) {
        std::printf("  %2d %2d", t.r, t.c);
        print_amplitude(t);
    }
    std::printf("ZAN receiver transition aggregate by frequency (tol %.3g Hz)\n", MERGE_HZ);
    std::printf("  columns: frequency_hz  amplitude_re  amplitude_im  magnitude  phase_deg\n");
    for (const Transition &t : merged_by_frequency(list))
        print_amplitude(t);
}
