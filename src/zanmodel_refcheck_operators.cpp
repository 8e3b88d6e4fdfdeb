// zanmodel_refcheck_operators - reference cases 1 to 3: spin operators, the Hamiltonians of two
// coupled spins 1/2 and their weakly coupled spectrum.
#include "zanmodel_refcheck_internal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

// ------------------------------------------------------------------ spin operators

static const char spinop[] = "spinop";
static const double spinop_tolerance = 1e-12;

static bool kets_are(int n, const SpinKet &ket, std::span<const SpinIList> expected, int nspins)
{
    if (n != static_cast<int>(expected.size()))
        return false;
    for (int state = 1; state <= n; state++)
        if (!ket_equal(ket[state], expected[static_cast<size_t>(state - 1)], nspins))
            return false;
    return true;
}

int check_one_spin_kets(int n, const SpinKet &ket)
{
    static const SpinIList expected[] = {{0, 1}, {0, -1}};
    if (kets_are(n, ket, expected, 1))
        return 1;
    return ref_fail(spinop, "one-spin ket enumeration differs from the reference enumeration");
}

int check_two_spin_kets(int n, const SpinKet &ket)
{
    static const SpinIList expected[] = {{0, 1, 1}, {0, 1, -1}, {0, -1, 1}, {0, -1, -1}};
    if (kets_are(n, ket, expected, 2))
        return 1;
    return ref_fail(spinop, "two-spin ket enumeration differs from the reference enumeration");
}

int check_one_spin_operators(const CMatrix *Ix, const CMatrix *Iy, const CMatrix *Iz)
{
    static const RefEntry x[] = {{1, 2, 0.5, 0.0}, {2, 1, 0.5, 0.0}};
    static const RefEntry y[] = {{1, 2, 0.0, -0.5}, {2, 1, 0.0, 0.5}};
    static const RefEntry z[] = {{1, 1, 0.5, 0.0}, {2, 2, -0.5, 0.0}};
    static const RefEntry xy[] = {{1, 1, 0.0, 0.5}, {2, 2, 0.0, -0.5}};
    static CMatrix commutator;
    CMatCommutator(2, Ix, Iy, &commutator);

    int ok = check_whole_cmat(spinop, "Ix", Ix, 2, x, spinop_tolerance);
    ok &= check_whole_cmat(spinop, "Iy", Iy, 2, y, spinop_tolerance);
    ok &= check_whole_cmat(spinop, "Iz", Iz, 2, z, spinop_tolerance);
    return check_cmat_entries(spinop, "[Ix,Iy]", &commutator, xy, spinop_tolerance) & ok;
}

int check_two_spin_totals(const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot)
{
    static const RefEntry x[] = {{1, 2, 0.5, 0.0}, {1, 3, 0.5, 0.0}, {2, 1, 0.5, 0.0},
                                 {2, 4, 0.5, 0.0}, {3, 1, 0.5, 0.0}, {3, 4, 0.5, 0.0},
                                 {4, 2, 0.5, 0.0}, {4, 3, 0.5, 0.0}};
    static const RefEntry y[] = {{1, 2, 0.0, -0.5}, {1, 3, 0.0, -0.5}, {2, 4, 0.0, -0.5},
                                 {3, 4, 0.0, -0.5}, {2, 1, 0.0, 0.5},  {3, 1, 0.0, 0.5},
                                 {4, 2, 0.0, 0.5},  {4, 3, 0.0, 0.5}};
    static const RefEntry z[] = {{1, 1, 1.0, 0.0}, {4, 4, -1.0, 0.0}};
    int ok = check_whole_cmat(spinop, "Ixtot", Ixtot, 4, x, spinop_tolerance);
    ok &= check_whole_cmat(spinop, "Iytot", Iytot, 4, y, spinop_tolerance);
    return check_whole_cmat(spinop, "Iztot", Iztot, 4, z, spinop_tolerance) & ok;
}

static int check_one_spin(void)
{
    static const SpinIList half = {0, 1};
    static SpinKet ket;
    static CMatrix Ix, Iy, Iz;
    MakeKets(&ket, &half);
    MakeMatrixIx(half, ket, 2, 1, &Ix);
    MakeMatrixIy(half, ket, 2, 1, &Iy);
    MakeMatrixIz(half, ket, 2, 1, &Iz);
    const int ok = check_one_spin_kets(infer_nstates(half, infer_nspins(half)), ket);
    return check_one_spin_operators(&Ix, &Iy, &Iz) & ok;
}

static int check_two_spins(void)
{
    static const SpinIList halves = {0, 1, 1};
    static SpinKet ket;
    static CMatrix Ixtot, Iytot, Iztot;
    MakeKets(&ket, &halves);
    MakeTotalIx(4, 2, ket, halves, 0, &Ixtot);
    MakeTotalIy(4, 2, ket, halves, 0, &Iytot);
    MakeTotalIz(4, 2, ket, halves, 0, &Iztot);
    const int ok = check_two_spin_kets(infer_nstates(halves, infer_nspins(halves)), ket);
    return check_two_spin_totals(&Ixtot, &Iytot, &Iztot) & ok;
}

int RunSpinOperatorReferenceCases(void)
{
    const int ok = check_one_spin();
    return (check_two_spins() & ok) ? ref_pass("spin-operator-reference") : 0;
}

// ------------------------------------------------------------------ Hamiltonians

static const char hamilton[] = "hamilton";
static const double hamilton_tolerance = 1e-10; // rad/s
static const double nu1_hz = 100.0, nu2_hz = -40.0, j_hz = 12.0;

void configure_two_spin_half_system(double first_hz, double second_hz, double coupling_hz,
                                    int jexact)
{
    rt.Nspins = 2;
    rt.n = 0;
    rt.Jexact = jexact;
    rt.Jcount = 1;
    std::fill_n(rt.relspinamp, 7, 0.0);
    std::fill_n(rt.resofreqs, 7, 0.0);
    std::fill_n(rt.couplings, 21, 0.0);
    std::memset(rt.jc, 0, sizeof rt.jc);
    rt.quantnum[1] = rt.quantnum[2] = 1;
    rt.relspinamp[1] = rt.relspinamp[2] = 1.0;
    rt.resofreqs[1] = first_hz;
    rt.resofreqs[2] = second_hz;
    rt.couplings[1] = coupling_hz;
    ZAN_SetSmokeCheckMode(1);
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    ZAN_SetSmokeCheckMode(0);
}

int check_weak_hamiltonians(int n, const CMatrix *Izee, const CMatrix *Icoup)
{
    const double sum = (nu1_hz + nu2_hz) * PI_CONST, difference = (nu1_hz - nu2_hz) * PI_CONST;
    const double half_j = 0.5 * PI_CONST * j_hz;
    const RefEntry zeeman[] = {
        {1, 1, sum, 0.0}, {2, 2, difference, 0.0}, {3, 3, -difference, 0.0}, {4, 4, -sum, 0.0}};
    const RefEntry coupling[] = {
        {1, 1, half_j, 0.0}, {2, 2, -half_j, 0.0}, {3, 3, -half_j, 0.0}, {4, 4, half_j, 0.0}};
    int ok = 1;
    if (n != 4)
        ok = ref_fail(hamilton, "two-spin Hilbert dimension : got %d expected 4", n);
    ok &= check_cmat_entries(hamilton, "Izee", Izee, zeeman, hamilton_tolerance);
    return check_whole_cmat(hamilton, "Icoup weak", Icoup, 4, coupling, hamilton_tolerance) & ok;
}

int check_exact_hamiltonians(const CMatrix *Izee, const CMatrix *Icoup)
{
    const double pi_j = PI_CONST * j_hz, half_j = 0.5 * pi_j;
    const RefEntry coupling[] = {{1, 1, half_j, 0.0}, {2, 2, -half_j, 0.0}, {3, 3, -half_j, 0.0},
                                 {4, 4, half_j, 0.0}, {2, 3, pi_j, 0.0},    {3, 2, pi_j, 0.0}};
    const RefEntry total[] = {
        {2, 3, pi_j, 0.0}, {3, 2, pi_j, 0.0}, {1, 1, half_j + (nu1_hz + nu2_hz) * PI_CONST, 0.0}};
    static CMatrix Istat;
    CMatAdd(4, Izee, Icoup, &Istat);
    const int ok =
        check_whole_cmat(hamilton, "Icoup exact", Icoup, 4, coupling, hamilton_tolerance);
    return check_cmat_entries(hamilton, "Istat exact", &Istat, total, hamilton_tolerance) & ok;
}

int RunHamiltonianReferenceCases(void)
{
    configure_two_spin_half_system(nu1_hz, nu2_hz, j_hz, 1);
    int ok = check_weak_hamiltonians(rt.n, &rt.Izee, &rt.Icoup);
    configure_two_spin_half_system(nu1_hz, nu2_hz, j_hz, 2);
    ok &= check_exact_hamiltonians(&rt.Izee, &rt.Icoup);
    return ok ? ref_pass("hamiltonian-reference") : 0;
}

// ------------------------------------------------------------------ spectrum

static const char spectrum[] = "spectrum";
static const double frequency_tolerance = 0.05; // Hz

bool frequency_present(const RefFrequencies &list, double hz)
{
    return std::any_of(list.hz, list.hz + list.count,
                       [hz](double f) { return approx_equal(f, hz, frequency_tolerance); });
}

void add_unique_abs_frequency(RefFrequencies *list, double hz)
{
    const double f = std::fabs(hz);
    if (list->count < static_cast<int>(std::size(list->hz)) && !frequency_present(*list, f))
        list->hz[list->count++] = f;
}

void collect_spectrum_abs_frequencies(const LineList &spc, int count, RefFrequencies *list)
{
    for (int k = 1; k <= count; k++)
        if (!(std::fabs(spc[1][k]) <= 1e-12))
            add_unique_abs_frequency(list, spc[2][k]);
}

int check_weak_resonances(const RefFrequencies &list)
{
    static const double expected_hz[] = {34.0, 46.0, 94.0, 106.0}; // nu2 ± J/2, nu1 ± J/2
    int ok = 1;
    if (list.count != 4)
        ok = ref_fail(spectrum, "unique absolute resonance count: got %d expected %d", list.count,
                      4);
    for (const double hz : expected_hz)
        if (!frequency_present(list, hz))
            ok = ref_fail(spectrum, "missing resonance at %.6g Hz", hz);
    if (ok)
        return 1;
    std::printf("      observed absolute frequencies:");
    for (int k = 0; k < list.count; k++)
        std::printf(" %.12g", list.hz[k]);
    std::printf("\n");
    return 0;
}

// The lines of the state Iytot that the observable sees, added to list.
static void collect_lines_seen_by(const CMatrix *observable, RefFrequencies *list)
{
    static CMatrix Istat;
    static LineList csp, ssp;
    int Nc = 0, Ns = 0;
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &Istat);
    DoSpectrum(rt.n, &rt.Iytot, &Istat, observable, csp, ssp, &Nc, &Ns);
    collect_spectrum_abs_frequencies(csp, Nc, list);
    collect_spectrum_abs_frequencies(ssp, Ns, list);
}

int RunWeakTwoSpinSpectrumReferenceCase(void)
{
    RefFrequencies list = {};
    configure_two_spin_half_system(nu1_hz, nu2_hz, j_hz, 1);
    collect_lines_seen_by(&rt.Ixtot, &list);
    collect_lines_seen_by(&rt.Iytot, &list);
    return check_weak_resonances(list) ? ref_pass("weak-two-spin-spectrum-reference") : 0;
}
