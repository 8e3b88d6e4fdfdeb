// bench_engine.cpp - what a simulation or an optimization spends its time on, for 2, 4, 6 and 8
// spins 1/2.
//
// All benchmarks work on one spin system, a chain with full coupling, set up in the runtime state
// as a model would do it; the argument is the number of states n.
#include "platformlib.h"
#include "propagatorlib_system.h"
#include "receiverlib.h"
#include "zan.h"
#include "zanoptseq.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <complex>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

static constexpr int SAMPLES = 16;
static constexpr double DURATION = 1e-3; // s
static constexpr double STEP = DURATION / SAMPLES;
static const double pi = pi_val();

static int spins_for(int states)
{
    return static_cast<int>(std::lround(std::log2(states)));
}

static void set_up_chain(int states)
{
    ZAN_SetSmokeCheckMode(1);
    init();
    rt.Nspins = spins_for(states);
    rt.Jexact = 2;
    rt.Jcount = 0;
    for (int i = 1; i <= 8; i++) {
        rt.quantnum[i] = 1;
        rt.relspinamp[i] = 1.0;
        rt.resofreqs[i] = 70.0 * i - 300.0;
        for (int k = 1; k <= 8; k++)
            rt.jc[i][k] = std::abs(i - k) == 1 ? 7.0 + i + k : 0.0;
    }
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    rt.systemset = 1;
}

// A phase-modulated pulse under a gradient along x.
static void set_up_pulse(void)
{
    for (int k = 0; k < SAMPLES; k++) {
        const double amplitude = 2.0 * pi * 400.0 * std::sin(pi * (k + 0.5) / SAMPLES);
        rt.xb[k] = amplitude * std::cos(0.3 * k);
        rt.yb[k] = amplitude * std::sin(0.3 * k);
        rt.gx[k] = 2.0 * pi * 350.0;
        rt.gy[k] = 0.0;
        rt.gz[k] = 0.0;
    }
}

// Istat <- Izee + Icoup, negated: what the propagators and the receiver exponentiate.
static void set_up_negated_hamiltonian(void)
{
    CMatRMultAdd(rt.n, &rt.Izee, -1.0, &rt.Icoup, -1.0, &rt.Istat);
}

static void count_items(benchmark::State &state, int per_iteration, const char *what)
{
    state.SetItemsProcessed(state.iterations() * per_iteration);
    state.SetLabel(what);
}

// The operators of the spin system, as at the start of every run.
static void SpinSystem(benchmark::State &state)
{
    set_up_chain(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        BuildSpinSystemFromPulseSequenceGlobals();
        benchmark::DoNotOptimize(&rt);
        benchmark::ClobberMemory();
    }
    count_items(state, 1, "spin systems");
}

static void DenseExponential(benchmark::State &state)
{
    static CMatrix hamiltonian, result;
    set_up_chain(static_cast<int>(state.range(0)));
    set_up_negated_hamiltonian();
    CMatRMultAdd(rt.n, &rt.Istat, 1.0, &rt.Ixtot, 2.0 * pi * 400.0, &hamiltonian);
    for (auto _ : state) {
        ExpMatrix(rt.n, &hamiltonian, STEP, &result);
        benchmark::DoNotOptimize(&result);
        benchmark::ClobberMemory();
    }
    count_items(state, 1, "exponentials");
}

// What one core can do at best: independent multiply-adds on vectors in registers.
typedef double Wide __attribute__((vector_size(64)));

__attribute__((target("avx512f,fma"), optimize("fp-contract=fast"))) static void
multiply_add(int rounds, Wide *values)
{
    Wide a0 = values[0], a1 = a0, a2 = a0, a3 = a0, a4 = a0, a5 = a0, a6 = a0, a7 = a0;
    Wide a8 = a0, a9 = a0, a10 = a0, a11 = a0;
    const Wide b = values[1], c = values[2];
    for (int i = 0; i < rounds; i++) {
        a0 = a0 * b + c, a1 = a1 * b + c, a2 = a2 * b + c, a3 = a3 * b + c;
        a4 = a4 * b + c, a5 = a5 * b + c, a6 = a6 * b + c, a7 = a7 * b + c;
        a8 = a8 * b + c, a9 = a9 * b + c, a10 = a10 * b + c, a11 = a11 * b + c;
    }
    values[0] = a0 + a1 + a2 + a3 + a4 + a5 + a6 + a7 + a8 + a9 + a10 + a11;
}

static void Peak(benchmark::State &state)
{
    constexpr int ROUNDS = 20000, CHAINS = 12, LANES = 8;
    if (!lane_kernel_runs_here(LANES_AVX512)) {
        state.SkipWithError("this core has no AVX-512");
        return;
    }
    Wide values[3] = {Wide{} + 1.0, Wide{} + 0.999, Wide{} + 1e-3};
    for (auto _ : state) {
        multiply_add(ROUNDS, values);
        benchmark::DoNotOptimize(values);
    }
    state.counters["FLOP/s"] = benchmark::Counter(2.0 * LANES * CHAINS * ROUNDS,
                                                  benchmark::Counter::kIsIterationInvariantRate);
}

typedef void Propagate(const SectorField &, const Position *, int, std::complex<double> *);

// Multiplications and additions of the kernels at one position: the series of every sample, each
// term one product with the sparse Hamiltonian.
static double kernel_flops(const SectorField &field)
{
    const auto system = PrepareSectorSystem(field);
    SectorPlan plan;
    if (!system || !make_sector_plan(field, system->whole, &plan))
        return 0.0;
    const double elements = 2.0 * field.n + (double)system->whole.sparse.row.size();
    double flops = 0.0;
    for (const PlannedStep &step : plan.steps)
        flops += 4.0 * elements * field.n * step.terms * step.substeps;
    return flops;
}

// Many positions, the fast way and the published recipe; the spin system stays whole.
static void propagate_sector(benchmark::State &state, Propagate *propagate)
{
    static CMatrix h0;
    set_up_chain(static_cast<int>(state.range(0)));
    set_up_pulse();
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &h0);
    SectorField field{};
    field.n = rt.n;
    field.H0 = &h0;
    field.Izgrad = &rt.Izgrad;
    field.Ixtot = &rt.Ixtot;
    field.Iytot = &rt.Iytot;
    field.ap = SAMPLES;
    field.tau = STEP;
    field.xb = rt.xb;
    field.yb = rt.yb;
    field.gx = rt.gx;
    field.gy = rt.gy;
    field.gz = rt.gz;
    const int count = rt.n < 64 ? 64 : 8;
    std::vector<Position> positions;
    for (int p = 0; p < count; p++)
        positions.push_back({0.8 * p / count - 0.4, 0.0, 0.0});
    field.low = positions.front();
    field.high = positions.back();
    const auto system = PrepareSectorSystem(field);
    field.system = system.get();
    std::vector<std::complex<double>> propagators(static_cast<size_t>(count * rt.n * rt.n));
    for (auto _ : state) {
        propagate(field, positions.data(), count, propagators.data());
        benchmark::ClobberMemory();
    }
    count_items(state, SAMPLES * count, "samples");
    if (propagate == SectorPropagators)
        state.counters["FLOP/s"] = benchmark::Counter(
            count * kernel_flops(field), benchmark::Counter::kIsIterationInvariantRate);
}

static void SectorPropagator(benchmark::State &state)
{
    propagate_sector(state, SectorPropagators);
}

static void SectorPropagatorPlain(benchmark::State &state)
{
    propagate_sector(state, SectorPropagatorsPlain);
}

static void ReceiverSignal(benchmark::State &state)
{
    constexpr int points = 64;
    set_up_chain(static_cast<int>(state.range(0)));
    set_up_negated_hamiltonian();
    std::vector<double> re(points), im(points);
    for (auto _ : state) {
        ReceiverTrace(rt.n, points, 0.5e-3, &rt.Iytot, &rt.Istat, &rt.Ixtot, &rt.Iytot, re.data(),
                      im.data());
        benchmark::ClobberMemory();
    }
    count_items(state, points, "points");
}

// Many traces of one receiver: what is common to them is made beforehand.
static void ReceiverTraces(benchmark::State &state)
{
    constexpr int points = 1024;
    set_up_chain(static_cast<int>(state.range(0)));
    set_up_negated_hamiltonian();
    const ReceiverBasis basis = MakeReceiverBasis(rt.n, &rt.Istat, &rt.Ixtot, &rt.Iytot);
    std::vector<double> re(points), im(points);
    for (auto _ : state) {
        ReceiverTraceInBasis(basis, points, 0.5e-3, &rt.Iytot, re.data(), im.data());
        benchmark::ClobberMemory();
    }
    count_items(state, points, "points");
}

static bool write_pulse_file(const char *path)
{
    std::FILE *out = std::fopen(path, "wb");
    if (out == nullptr)
        return false;
    bool good = true;
    for (const double *block : {rt.xb, rt.yb, rt.gx, rt.gy, rt.gz})
        good = std::fwrite(block, sizeof(double), SAMPLES, out) == SAMPLES && good;
    return std::fclose(out) == 0 && good;
}

static void set_up_run(int positions)
{
    rt.sequencetype = 1;
    rt.nos = 1;
    rt.sectype[1] = 1;
    rt.noti[1] = SAMPLES;
    rt.nevo[1] = 1;
    rt.sectdur[1] = DURATION;
    rt.statoff[1] = 0.0;
    std::snprintf(rt.fnames[1], sizeof rt.fnames[1], "pulse.bin");
    rt.remarks[1][0] = '\0';
    rt.resultflnm[0] = '\0';
    rt.ndx = positions;
    rt.ndy = rt.ndz = 1;
    rt.x0 = -1.0;
    rt.dx = 2.0 / positions;
    rt.y0 = rt.z0 = rt.dy = rt.dz = 0.0;
    rt.offsetset = rt.sectorset = 1;
}

// A run leaves its density matrices in the working directory: a folder of our own.
static bool enter_scratch(std::string *folder)
{
    std::error_code failure;
    const std::filesystem::path temp = std::filesystem::temp_directory_path(failure);
    if (failure)
        return false;
    *folder = (temp / ("bench_engine_" + std::to_string(plat_process_id()))).string();
    return plat_make_dir(folder->c_str()) && plat_change_dir(folder->c_str());
}

static void SpatialRun(benchmark::State &state)
{
    const int states = static_cast<int>(state.range(0));
    const int positions = states < 64 ? 64 : 4;
    std::string before, folder;
    if (!plat_current_dir(&before) || !enter_scratch(&folder)) {
        state.SkipWithError("no scratch folder");
        return;
    }
    set_up_chain(states);
    set_up_pulse();
    set_up_run(positions);
    if (!write_pulse_file("pulse.bin"))
        state.SkipWithError("pulse.bin cannot be written");
    for (auto _ : state) {
        SimulateLoadedPulseSequence();
        if (rt.calc != 1) {
            state.SkipWithError("the sector was not propagated");
            break;
        }
    }
    count_items(state, positions, "positions");
    plat_change_dir(before.c_str());
    std::error_code failure;
    std::filesystem::remove_all(folder, failure);
}

// One evaluation of the optimizer, console lines aside: a sector of 256 samples, 32 parameters.
static void OptimizerObjective(benchmark::State &state)
{
    constexpr int samples = 256;
    set_up_chain(static_cast<int>(state.range(0)));
    for (int k = 0; k < samples; k++) {
        rt.xb[k] = 2.0 * pi * 100.0 * std::sin(pi * (k + 0.5) / samples);
        rt.yb[k] = 0.3 * rt.xb[k];
    }
    rt.ap = samples;
    rt.npar = 32;
    CopyCMatrix(rt.n, &rt.Iytot, &rt.Istat);
    ZANOptimizationTakeStartPulse();
    ZANOptimizationResetContext();
    ZANOptimizationUseCurrentRuntimeDefaults();
    for (auto _ : state) {
        double re, im;
        benchmark::DoNotOptimize(ZANOptEvaluatePulseObjective(
            &g_zan_opt_ctx, rt.n, rt.ap, rt.npar, 8e-3 / samples, 0.0, 0.0, rt.par, &re, &im));
    }
    count_items(state, 1, "evaluations");
}

// Wall time, as the engine may use several threads. The largest size is timed in one go.
#define FOR_ALL_SIZES(name)                                                                        \
    BENCHMARK(name)->Unit(benchmark::kMillisecond)->UseRealTime()->Arg(4)->Arg(16)->Arg(64);       \
    BENCHMARK(name)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Arg(256)

BENCHMARK(Peak)->Unit(benchmark::kMillisecond)->UseRealTime();
FOR_ALL_SIZES(SpinSystem);
FOR_ALL_SIZES(DenseExponential);
FOR_ALL_SIZES(SectorPropagator);
FOR_ALL_SIZES(SectorPropagatorPlain);
FOR_ALL_SIZES(ReceiverSignal);
FOR_ALL_SIZES(ReceiverTraces);
FOR_ALL_SIZES(SpatialRun);
FOR_ALL_SIZES(OptimizerObjective);

BENCHMARK_MAIN();
