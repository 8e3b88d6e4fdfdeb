// zan_spin_dialogs.cpp - the spin system from the console, value by value, and the same values
// from an open text file.
//
// Each dialog asks and builds its operator at once, from the terms of zan_hamiltonians.

#include "zan_internal.h"

#include "consoleutil.h"

// ------------------------------------------------------------------ spins and states

static void clear_spins(void)
{
    for (int k = 1; k <= ZAN_MAX_SPINS; k++)
        rt.Ilist[k] = 0;
}

// Product of (2I + 1), held at the largest int.
static int count_states(void)
{
    int64_t states = 1;
    for (int k = 1; k <= rt.Nspins; k++) {
        states *= (int64_t)rt.Ilist[k] + 1;
        if (states > INT32_MAX || states < INT32_MIN)
            return INT32_MAX;
    }
    return (int)states;
}

// False when an answer was no number.
static bool ask_quantum_numbers(void)
{
    for (int k = 1; k <= rt.Nspins; k++) {
        int x;
        std::printf("I quantum number of spin(%d) = x/2  with x = ", k);
        if (!ConsoleReadInt(&x))
            return false;
        rt.Ilist[k] = rt.quantnum[k] = x;
    }
    return true;
}

// One round of questions; false asks for all spins again.
static bool ask_spins(void)
{
    clear_spins();
    std::printf("\nNumber of Spins (1..%d) = ", ZAN_MAX_SPINS);
    if (!ConsoleReadInt(&rt.Nspins) || rt.Nspins < 1 || rt.Nspins > ZAN_MAX_SPINS ||
        !ask_quantum_numbers())
        return false;
    rt.n = count_states();
    if (rt.n > ZAN_MAX_STATES) {
        std::printf("\nToo many states (n=%d > %d). Redefine spins.\n", rt.n, ZAN_MAX_STATES);
        return false;
    }
    return true;
}

void Ispins(void)
{
    while (!ask_spins())
        ConsoleDropLine(); // what is left of a refused line answers nothing
    MakeKets(&rt.ket, &rt.Ilist);
    std::printf("\nNumber of states n = %d\n", rt.n);
}

// n anew; 0 and a message at the first spin that cannot be one.
static int checked_states(void)
{
    for (int k = 1; k <= rt.Nspins; k++)
        if (rt.Ilist[k] < 0) {
            std::fprintf(stderr, "SetupSpins: invalid spin quantum number for spin %d\n", k);
            return 0;
        }
    return count_states();
}

void SetupSpins(void)
{
    Ispins();
    rt.n = checked_states();
    rt.spinsystemdefined = rt.n >= 1 && rt.n <= ZAN_MAX_STATES;
    if (!rt.spinsystemdefined) {
        std::fprintf(stderr,
                     "SetupSpins: resulting dimension n=%d out of supported range "
                     "(1..MATRIXMATH_DIM)\n",
                     rt.n);
        return;
    }
    MakeKets(&rt.ket, &rt.Ilist);
    zan_build_transverse_totals(0);
    MakeTotalIz(rt.n, rt.Nspins, rt.ket, rt.Ilist, 0, &rt.Iztot);
}

// ------------------------------------------------------------------ values from the console

static double ask_double(void)
{
    double value;
    return ConsoleReadDouble(&value) ? value : 0.0;
}

void MakeBoltzmann(void)
{
    CMatZero(rt.n, &rt.densmat);
    for (int k = 1; k <= rt.Nspins; k++) {
        std::printf("\nRelative Intensity of Spin (%d) : ", k);
        rt.relspinamp[k] = ask_double();
        zan_add_polarisation(k, rt.relspinamp[k]);
    }
}

void MakeZeeman(void)
{
    CMatZero(rt.n, &rt.Izee);
    for (int k = 1; k <= rt.Nspins; k++) {
        std::printf("\nOffset-frequency [Hz] of Spin(%d) : ", k);
        rt.resofreqs[k] = ask_double();
        zan_add_offset(k, rt.resofreqs[k]);
    }
}

static void clear_couplings(void)
{
    for (auto &row : rt.jc)
        for (double &J : row)
            J = 0.0;
    for (double &J : rt.couplings)
        J = 0.0;
    rt.Jcount = 0;
}

// Any choice but 1 is the full coupling, also one that the menu does not offer.
static void ask_coupling_mode(void)
{
    std::printf("*************************************\n");
    std::printf("***  Define J coupling constants  ***\n");
    std::printf("*************************************\n\n");
    std::printf("1. Weak-Coupling approximation\n");
    std::printf("2. Exact calculation\n");
    std::printf("Your choice [1,2] : ");
    if (!ConsoleReadInt(&rt.Jexact))
        rt.Jexact = 1;
    std::printf("\n");
    std::printf("Give all scalar coupling constants J(i,j) [Hz]\n");
    std::printf("Hamiltonian term: 2π J(i,j) (Ix_i Ix_j + Iy_i Iy_j + Iz_i Iz_j)\n");
    std::printf("(weak coupling drops transverse terms)\n\n");
}

static void ask_coupling(int i, int j)
{
    std::printf("J(%d,%d) = ", i, j);
    const double J = ask_double();
    rt.couplings[++rt.Jcount] = J;
    rt.jc[i][j] = rt.jc[j][i] = J;
    if (2.0 * PI_CONST * J == 0.0)
        return;
    std::printf("Calculating coupling term for (%d,%d)\n", i, j);
    zan_add_coupling(i, j, J, rt.Jexact == 1);
}

void SpinSpinCoupling(void)
{
    clear_couplings();
    CMatZero(rt.n, &rt.Icoup);
    if (rt.Nspins <= 1) {
        rt.Jexact = 1;
        return;
    }
    ask_coupling_mode();
    for (int i = 1; i <= rt.Nspins; i++)
        for (int j = i + 1; j <= rt.Nspins; j++)
            ask_coupling(i, j);
}

void RedefineSpinSystem(void)
{
    SetupSpins();
    rt.systemset = 0;
    if (!rt.spinsystemdefined)
        return;
    std::printf("Spin system defined: Nspins=%d, n=%d\n", rt.Nspins, rt.n);
    MakeBoltzmann();
    MakeZeeman();
    SpinSpinCoupling();
    rt.systemset = 1;
}

// ------------------------------------------------------------------ values from a file

static int file_int(FILE *in, int otherwise)
{
    int value;
    return std::fscanf(in, "%d", &value) == 1 ? value : otherwise;
}

static double file_double(FILE *in)
{
    double value;
    return std::fscanf(in, "%lf", &value) == 1 ? value : 0.0;
}

void NonIntIspins(FILE *in)
{
    if (!in)
        return;
    const int spins = file_int(in, 0);
    rt.Nspins = spins < 1 ? 1 : spins > ZAN_MAX_SPINS ? ZAN_MAX_SPINS : spins;
    clear_spins();
    for (int k = 1; k <= rt.Nspins; k++)
        rt.Ilist[k] = file_int(in, 1);
    rt.n = count_states();
    MakeKets(&rt.ket, &rt.Ilist);
}

// A file's spins are taken as they stand; operators are built only where there is room for them.
static bool states_fit(void)
{
    return rt.n <= ZAN_MAX_STATES;
}

void NonIntMakeBoltzmann(FILE *in)
{
    if (!in || !states_fit())
        return;
    CMatZero(rt.n, &rt.densmat);
    for (int k = 1; k <= rt.Nspins; k++) {
        rt.relspinamp[k] = file_double(in);
        zan_add_polarisation(k, rt.relspinamp[k]);
    }
}

void NonIntMakeZeeman(FILE *in)
{
    if (!in || !states_fit())
        return;
    CMatZero(rt.n, &rt.Izee);
    for (int k = 1; k <= rt.Nspins; k++)
        zan_add_offset(k, file_double(in));
}

void NonIntSpinSpinCoupling(FILE *in)
{
    if (!in || !states_fit())
        return;
    for (auto &row : rt.jc)
        for (double &J : row)
            J = 0.0;
    CMatZero(rt.n, &rt.Icoup);
    if (rt.Nspins <= 1)
        return;
    const bool weak = file_int(in, 1) == 1;
    file_int(in, 0); // a second integer stands in these files and is not used
    for (int i = 1; i <= rt.Nspins; i++)
        for (int j = i + 1; j <= rt.Nspins; j++) {
            rt.jc[i][j] = rt.jc[j][i] = file_double(in);
            zan_add_coupling(i, j, rt.jc[i][j], weak);
        }
}
