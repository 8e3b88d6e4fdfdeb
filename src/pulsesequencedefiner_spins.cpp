// pulsesequencedefiner_spins.cpp - the composer's entry of a spin system.
//
// It asks for fewer spins than the engine holds (6 and 64 states instead of 8 and 256) and leaves
// the values in the runtime state; the operators are built from them by zan_hamiltonians.
#include "pulsesequencedefiner_internal.h"

#include <cstdint>
#include <cstdio>

enum { max_spins = 6, max_states = 64 };

// ------------------------------------------------------------------ spins

static void ask_number_of_spins(void)
{
    do {
        ask_int("Number of Spins = ", &rt.Nspins);
    } while (rt.Nspins > max_spins);
}

// Asks all quantum numbers. The product of (2I + 1), held at the limits of int.
static int ask_quantum_numbers(void)
{
    int64_t states = 1;
    for (int k = 1; k <= rt.Nspins; k++) {
        std::printf("I quantum number of spin(%d) = x/2  with   x = ", k);
        read_int_prompt(nullptr, &rt.quantnum[k]);
        states *= static_cast<int64_t>(rt.quantnum[k]) + 1;
        if (states > INT32_MAX || states < INT32_MIN)
            states = INT32_MAX;
    }
    return static_cast<int>(states);
}

void PS_IspinsParams(void)
{
    int states;
    std::printf("\nDefinition of the spinsystem: \n");
    do {
        for (int k = 1; k <= max_spins; k++)
            rt.quantnum[k] = 0;
        ask_number_of_spins();
        states = ask_quantum_numbers();
    } while (states > max_states);
    std::printf("n = %d\n", states);
}

// ------------------------------------------------------------------ their values

void PS_MakeBoltzmannParams(void)
{
    for (int k = 1; k <= rt.Nspins; k++) {
        std::printf("Relative Intensity of Spin (%d) = ", k);
        read_double_prompt(nullptr, &rt.relspinamp[k]);
    }
}

void PS_MakeZeemanParams(void)
{
    for (int k = 1; k <= rt.Nspins; k++) {
        std::printf("Offset-frequency [Hz] of Spin (%d) = ", k);
        read_double_prompt(nullptr, &rt.resofreqs[k]);
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

// The operators prefer jc to couplings: without it an imported system's would be used.
static void ask_coupling(int i, int j)
{
    double J;
    std::printf("Scalar Coupling Constant J(%d,%d)  = ", i, j);
    read_double_prompt(nullptr, &J);
    rt.couplings[++rt.Jcount] = J;
    rt.jc[i][j] = rt.jc[j][i] = J;
}

void PS_SpinSpinCouplingParams(void)
{
    clear_couplings();
    if (rt.Nspins < 2) {
        rt.Jexact = 1;
        return;
    }
    std::printf("1. Weak-Coupling approximation. \n");
    std::printf("2. Exact calculation. \n");
    ask_int(" Your choice [1,2] : ", &rt.Jexact);
    std::printf("Give all Scalar coupling constants J(i,j)\n");
    std::printf("from the term J(i,j).I(i).S(j)\n");
    for (int i = 1; i <= rt.Nspins; i++)
        for (int j = i + 1; j <= rt.Nspins; j++)
            ask_coupling(i, j);
}

// ------------------------------------------------------------------ all of it

static void rebuild_operators_quietly(void)
{
    const int mode = ZAN_GetSmokeCheckMode();
    ZAN_SetSmokeCheckMode(1);
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    ZAN_SetSmokeCheckMode(mode);
}

void ps_redefine_spin_system(void)
{
    PS_IspinsParams();
    PS_MakeBoltzmannParams();
    PS_MakeZeemanParams();
    PS_SpinSpinCouplingParams();
    rt.systemset = 1;
    if (rt.Nspins >= 1)
        rebuild_operators_quietly();
    else
        rt.spinsystemdefined = 0;
}
