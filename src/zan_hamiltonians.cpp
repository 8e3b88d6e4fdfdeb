// zan_hamiltonians.cpp - the operators of the spin system that stands in the runtime state.
//
// Built from the single-spin operators of spinoperatorlib; propagation and the receiver use
// what is left in rt. Hamiltonians are in rad/s: a frequency in Hz enters as 2·pi times it.

#include "zan_internal.h"

#include <cmath>
#include <cstdint>
#include <cstring>

void AccumulateCMat(int n, const CMatrix *A, CMatrix *B)
{
    CMatAdd(n, A, B, B);
}

void Complex2FromReal(double v, Complex2 out)
{
    out[0] = 0.0;
    out[COMPLEX_RE] = v;
    out[COMPLEX_IM] = 0.0;
}

void MakeGradientOperator(void)
{
    if (rt.n < 1 || rt.Nspins < 1) {
        std::fprintf(stderr, "MakeGradientOperator: spin system not set up (n=%d, Nspins=%d)\n",
                     rt.n, rt.Nspins);
        return;
    }
    MakeTotalIz(rt.n, rt.Nspins, rt.ket, rt.Ilist, 0, &rt.Izgrad);
}

// sum += factor·op. A factor that is no number also spreads to the elements that are zero.
static void add_scaled(double factor, SparseCMatrix *op, CMatrix *sum)
{
    static CMatrix dense;
    if (std::isfinite(factor)) {
        SparseScale(rt.n, factor, op);
        SparseAccumulate(rt.n, op, sum);
        return;
    }
    SparseToCMatrix(rt.n, op, &dense);
    RMultCMat(rt.n, factor, &dense, &dense);
    AccumulateCMat(rt.n, &dense, sum);
}

void zan_add_polarisation(int k, double weight)
{
    static SparseCMatrix Iz;
    ListIz(rt.Ilist, rt.ket, rt.n, k, &Iz);
    SparseNorm(rt.n, &Iz);
    add_scaled(weight, &Iz, &rt.densmat);
}

void zan_add_offset(int k, double nu)
{
    static SparseCMatrix Iz;
    ListIz(rt.Ilist, rt.ket, rt.n, k, &Iz);
    add_scaled(2.0 * PI_CONST * nu, &Iz, &rt.Izee);
}

typedef void SpinOperatorLister(const SpinIList &, const SpinKet &, int, int, SparseCMatrix *);

// Icoup += omega·A_i·A_j, A the operator that list gives
static void add_product(SpinOperatorLister list, int i, int j, double omega)
{
    static SparseCMatrix first, second, product;
    list(rt.Ilist, rt.ket, rt.n, i, &first);
    list(rt.Ilist, rt.ket, rt.n, j, &second);
    SparseMult(rt.n, &first, &second, &product);
    add_scaled(omega, &product, &rt.Icoup);
}

void zan_add_coupling(int i, int j, double J, bool weak)
{
    const double omega = 2.0 * PI_CONST * J;
    if (omega == 0.0)
        return;
    if (!weak) {
        add_product(ListIx, i, j, omega);
        add_product(ListIy, i, j, omega);
    }
    add_product(ListIz, i, j, omega);
}

void zan_build_transverse_totals(int norm)
{
    MakeTotalIx(rt.n, rt.Nspins, rt.ket, rt.Ilist, norm, &rt.Ixtot);
    MakeTotalIy(rt.n, rt.Nspins, rt.ket, rt.Ilist, norm, &rt.Iytot);
}

static bool any_coupling(const double (&jc)[9][9])
{
    for (const auto &row : jc)
        for (double J : row)
            if (std::fabs(J) > 0.0)
                return true;
    return false;
}

// Leaves jc with the couplings of the pairs and nothing else.
static void build_couplings(void)
{
    double saved[9][9];
    std::memcpy(saved, rt.jc, sizeof saved);
    std::memset(rt.jc, 0, sizeof rt.jc);
    const bool from_matrix = any_coupling(saved);
    int pair = 0;
    CMatZero(rt.n, &rt.Icoup);
    for (int i = 1; i <= rt.Nspins; i++)
        for (int j = i + 1; j <= rt.Nspins; j++) {
            pair++;
            double J = saved[i][j];
            if (!from_matrix)
                J = pair <= rt.Jcount ? rt.couplings[pair] : 0.0;
            rt.jc[i][j] = rt.jc[j][i] = J;
            zan_add_coupling(i, j, J, rt.Jexact == 1);
        }
}

// False after a message when the states are more than a matrix holds.
static bool take_quantum_numbers(void)
{
    int64_t states = 1;
    for (int k = 1; k <= ZAN_MAX_SPINS; k++)
        rt.Ilist[k] = 0;
    for (int k = 1; k <= rt.Nspins; k++) {
        rt.Ilist[k] = rt.quantnum[k] > 0 ? rt.quantnum[k] : 0;
        if (states <= ZAN_MAX_STATES)
            states *= (int64_t)rt.Ilist[k] + 1;
    }
    if (states > ZAN_MAX_STATES) {
        std::fprintf(stderr, "BuildSpinSystemFromPulseSequenceGlobals: more than %d states\n",
                     ZAN_MAX_STATES);
        rt.spinsystemdefined = rt.systemset = 0;
        return false;
    }
    rt.n = (int)states;
    return true;
}

static void print_spin_system(void)
{
    std::printf("\nBuildSpinSystemFromPulseSequenceGlobals()\n");
    std::printf("  Nspins = %d\n", rt.Nspins);
    std::printf("  n      = %d\n", rt.n);
    for (int k = 1; k <= rt.Nspins; k++)
        std::printf("  spin %d: quantnum=%d  Ilist=%d  relspinamp=%g  resofreq=%g Hz\n", k,
                    rt.quantnum[k], rt.Ilist[k], rt.relspinamp[k], rt.resofreqs[k]);
    std::printf("\n");
}

void BuildSpinSystemFromPulseSequenceGlobals(void)
{
    if (rt.Nspins < 1)
        rt.Nspins = 1;
    if (rt.Nspins > ZAN_MAX_SPINS)
        rt.Nspins = ZAN_MAX_SPINS;
    if (!take_quantum_numbers())
        return;
    if (!ZAN_GetSmokeCheckMode())
        print_spin_system();

    MakeKets(&rt.ket, &rt.Ilist);
    CMatZero(rt.n, &rt.densmat);
    CMatZero(rt.n, &rt.Izee);
    for (int k = 1; k <= rt.Nspins; k++) {
        zan_add_polarisation(k, rt.relspinamp[k]);
        zan_add_offset(k, rt.resofreqs[k]);
    }
    build_couplings();
    zan_build_transverse_totals(0);
    MakeTotalIz(rt.n, rt.Nspins, rt.ket, rt.Ilist, 0, &rt.Iztot);
    MakeGradientOperator();
    rt.spinsystemdefined = rt.rfpulsedefined = rt.offsetsdefined = 1;
}

void ZAN_RebuildSpinSystemFromPulseSequenceGlobals(void)
{
    BuildSpinSystemFromPulseSequenceGlobals();
}
