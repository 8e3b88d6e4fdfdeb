// fast_path.cpp - the vector kernels against the published recipe, over the range of systems and
// sectors that a model can hold; and that nothing but the position decides a propagator's bytes.

#include "engine_fixture.h"

#include "propagatorlib_system.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using FastPath = EngineTest;

namespace
{

CMatrix H0;

const std::vector<int> systems[] = {
    {1},       {2},       {7},          {1, 1},       {2, 1},          {5, 4},
    {1, 1, 1}, {3, 1, 2}, {1, 1, 1, 1}, {1, 2, 1, 3}, {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1}};

SectorField field_of(const Waveform &w, double tau, double offset)
{
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H0);
    SectorField f = {};
    f.n = rt.n;
    f.H0 = &H0;
    f.Izgrad = &rt.Izgrad;
    f.Ixtot = &rt.Ixtot;
    f.Iytot = &rt.Iytot;
    f.ap = (int)w.xb.size();
    f.tau = tau;
    f.xb = w.xb.data();
    f.yb = w.yb.data();
    if (!w.gx.empty()) {
        f.gx = w.gx.data();
        f.gy = w.gy.data();
        f.gz = w.gz.data();
    }
    f.offset = offset;
    f.spins = rt.Nspins;
    f.twice_spin = rt.Ilist + 1;
    f.low = {-1.0, -1.0, -1.0};
    f.high = {1.0, 1.0, 1.0};
    return f;
}

std::vector<Position> random_positions(std::mt19937 &random, int count)
{
    std::uniform_real_distribution<double> anywhere(-1.0, 1.0);
    std::vector<Position> positions;
    for (int p = 0; p < count; p++)
        positions.push_back({anywhere(random), anywhere(random), anywhere(random)});
    return positions;
}

typedef std::vector<Complex> Propagators;

size_t size_for(const std::vector<Position> &positions)
{
    return positions.size() * (size_t)(rt.n * rt.n);
}

Propagators plain(const SectorField &f, const std::vector<Position> &at)
{
    Propagators p(size_for(at));
    SectorPropagatorsPlain(f, at.data(), (int)at.size(), p.data());
    return p;
}

Propagators fast(const SectorField &f, const std::vector<Position> &at,
                 LaneKernel kernel = LANES_BASELINE)
{
    Propagators p(size_for(at));
    EXPECT_TRUE(propagate_fast(kernel, f, at.data(), (int)at.size(), p.data()));
    return p;
}

// A propagator's largest element is at most 1.
void expect_agreement(const SectorField &f, const std::vector<Position> &at, const char *what)
{
    const Propagators a = plain(f, at), b = fast(f, at);
    EXPECT_LE(largest_difference(a.data(), b.data(), a.size()), 1e-11)
        << what << " n=" << f.n << " ap=" << f.ap << " tau=" << f.tau;
}

// Stretches without RF, equal samples, single samples and a change of phase at every step.
Waveform mixed_waveform(std::mt19937 &random)
{
    Waveform w = random_waveform(random, 14, true, true, true);
    for (int k : {0, 1, 5, 6, 7, 13})
        w.xb[(size_t)k] = w.yb[(size_t)k] = 0.0;
    for (int k : {9, 10, 11})
        for (std::vector<double> *samples : {&w.xb, &w.yb, &w.gx, &w.gy, &w.gz})
            (*samples)[(size_t)k] = (*samples)[8];
    return w;
}

} // namespace

TEST_F(FastPath, AgreesWithThePublishedRecipeForEverySystem)
{
    std::mt19937 random(2001);
    for (const std::vector<int> &two_i : systems)
        for (int coupling_mode : {1, 2}) {
            build_spins(random_spins(random, two_i, coupling_mode));
            const Waveform w = mixed_waveform(random);
            const int count = rt.n > 32 ? 1 : 9;
            expect_agreement(field_of(w, 3e-5, 200.0), random_positions(random, count), "mixed");
        }
}

TEST_F(FastPath, AgreesForEightSpins)
{
    std::mt19937 random(2002);
    build_spins(random_spins(random, {1, 1, 1, 1, 1, 1, 1, 1}, 2));
    Waveform w = random_waveform(random, 2, true, false, true);
    w.xb[1] = w.yb[1] = 0.0;
    expect_agreement(field_of(w, 2e-5, -90.0), random_positions(random, 1), "eight spins");
}

TEST_F(FastPath, AgreesForUncoupledAndPartlyCoupledSpins)
{
    std::mt19937 random(2003);
    const std::vector<Coupling> couplings[] = {{}, {{1, 3, 12.0}}, {{1, 2, 5.0}, {3, 4, -8.0}}};
    for (const auto &pairs : couplings)
        for (int coupling_mode : {1, 2}) {
            SpinSystem system = random_spins(random, {1, 1, 1, 1}, coupling_mode);
            system.couplings = pairs;
            build_spins(system);
            expect_agreement(field_of(mixed_waveform(random), 1e-4, 0.0),
                             random_positions(random, 3), "partly coupled");
        }
}

TEST_F(FastPath, AgreesForEquivalentSpinsOnResonance)
{
    std::mt19937 random(2004);
    build_spins({{1, 1, 1, 1},
                 {1, 1, 1, 1},
                 {90.0, 0.0, 0.0, 0.0},
                 2,
                 {{1, 2, 7.0}, {1, 3, 7.0}, {1, 4, 7.0}}});
    expect_agreement(field_of(mixed_waveform(random), 5e-5, 0.0), random_positions(random, 4),
                     "equivalent");
}

TEST_F(FastPath, AgreesForHugeAndTinySteps)
{
    std::mt19937 random(2005);
    build_spins(random_spins(random, {1, 1, 2}, 2));
    const Waveform w = mixed_waveform(random);
    for (double tau : {0.0, 1e-12, 1e-6, 1e-3, 5e-2})
        expect_agreement(field_of(w, tau, 40.0), random_positions(random, 2), "step");
}

TEST_F(FastPath, AgreesForSectorsOfOneKind)
{
    std::mt19937 random(2006);
    build_spins(random_spins(random, {1, 1, 1}, 2));
    expect_agreement(field_of(random_waveform(random, 6, false, false, false), 1e-4, 7.0),
                     random_positions(random, 2), "no gradient");
    expect_agreement(field_of(constant_waveform(40, 900.0, -300.0), 2e-5, 7.0),
                     random_positions(random, 2), "one constant pulse");
    expect_agreement(field_of(delay(), 0.07, 7.0), random_positions(random, 2), "a delay");
    expect_agreement(field_of(Waveform(), 1e-5, 7.0), random_positions(random, 2), "no sample");
}

TEST_F(FastPath, CutsEqualSamplesThatAreTooLongTogether)
{
    std::mt19937 random(2013);
    build_spins(random_spins(random, {1, 1}, 2));
    const Waveform w = constant_waveform(40, 9e3, -3e3);
    const SectorField f = field_of(w, 0.3, 7.0);
    const auto system = PrepareSectorSystem(f);
    SectorPlan plan;
    ASSERT_TRUE(make_sector_plan(f, system->whole, &plan));
    EXPECT_GT(plan.steps.size(), 1u);
    EXPECT_EQ(plan.steps.back().last, 40);
    Propagators p(size_for({{}}));
    EXPECT_TRUE(propagate_fast(LANES_BASELINE, f, random_positions(random, 1).data(), 1, p.data()));
    SectorField longer = f;
    longer.tau = 300.0;
    EXPECT_FALSE(make_sector_plan(longer, system->whole, &plan));
}

TEST_F(FastPath, MakesRunsWithoutRfOfOneLengthOnce)
{
    std::mt19937 random(2014);
    build_spins(random_spins(random, {1, 1}, 2));
    Waveform w = random_waveform(random, 60, false, false, false);
    for (size_t k : {1, 3, 4, 6, 8, 9, 11, 13, 14, 58})
        w.xb[k] = w.yb[k] = 0.0; // runs of 1, 2, 1, 2, 1, 2, 1 samples
    const SectorField f = field_of(w, 1e-4, 7.0);
    const auto system = PrepareSectorSystem(f);
    SectorPlan plan;
    ASSERT_TRUE(make_sector_plan(f, system->whole, &plan));
    EXPECT_EQ(plan.blocks_re.size(), 2 * (size_t)(1 + 2 * 2 + 1));
    expect_agreement(f, random_positions(random, 2), "runs of two lengths");
}

TEST_F(FastPath, GivesAPositionTheSameBytesInAnyCompany)
{
    std::mt19937 random(2007);
    for (const std::vector<int> &two_i : {std::vector<int>{1}, {1, 1}, {1, 1, 1}, {1, 1, 1, 1}}) {
        build_spins(random_spins(random, two_i, 2));
        const Waveform w = mixed_waveform(random);
        const SectorField f = field_of(w, 4e-5, 15.0);
        const std::vector<Position> all = random_positions(random, 21);
        const Propagators together = fast(f, all, best_lane_kernel());
        const size_t size = (size_t)(rt.n * rt.n);
        for (size_t p = 0; p < all.size(); p++) {
            const Propagators alone = fast(f, {all[p]}, best_lane_kernel());
            EXPECT_EQ(std::memcmp(alone.data(), together.data() + p * size, size * sizeof(Complex)),
                      0)
                << "n=" << rt.n << " position " << p;
        }
    }
}

TEST_F(FastPath, AgreesAcrossInstructionSets)
{
    std::mt19937 random(2008);
    for (const std::vector<int> &two_i : {std::vector<int>{1, 1}, {1, 2, 1}, {1, 1, 1, 1, 1}}) {
        build_spins(random_spins(random, two_i, 2));
        const Waveform w = mixed_waveform(random);
        const SectorField f = field_of(w, 4e-5, 15.0);
        const std::vector<Position> at = random_positions(random, 9);
        const Propagators baseline = fast(f, at);
        for (LaneKernel kernel : {LANES_AVX2, LANES_AVX512}) {
            if (!lane_kernel_runs_here(kernel))
                continue;
            const Propagators other = fast(f, at, kernel);
            EXPECT_LE(largest_difference(baseline.data(), other.data(), other.size()), 1e-12);
        }
    }
}

TEST_F(FastPath, LeavesOperatorsOfAnotherFormToTheRecipe)
{
    std::mt19937 random(2009);
    build_spins(random_spins(random, {1, 1}, 2));
    const Waveform w = mixed_waveform(random);
    const SectorField f = field_of(w, 4e-5, 15.0);
    const std::vector<Position> at = random_positions(random, 2);
    rt.Iytot[1][2][COMPLEX_RE] += 0.25; // no longer the partner of Ix
    Propagators p(size_for(at));
    EXPECT_FALSE(propagate_fast(LANES_BASELINE, f, at.data(), 2, p.data()));
    SectorPropagators(f, at.data(), 2, p.data());
    const Propagators recipe = plain(f, at);
    EXPECT_EQ(largest_difference(p.data(), recipe.data(), p.size()), 0.0);
}

namespace
{

std::vector<Complex> random_matrices(std::mt19937 &random, int count)
{
    std::normal_distribution<double> any;
    std::vector<Complex> m((size_t)(count * rt.n * rt.n));
    for (Complex &element : m)
        element = {any(random), any(random)};
    return m;
}

void expect_same_rotation(const Propagators &p, const std::vector<int> &which,
                          const std::vector<Complex> &rho)
{
    std::vector<Complex> recipe = rho;
    RotateDensitiesPlain(rt.n, p.data(), which.data(), (int)which.size(), recipe.data());
    for (LaneKernel kernel : {LANES_BASELINE, LANES_AVX2, LANES_AVX512}) {
        if (!lane_kernel_runs_here(kernel))
            continue;
        std::vector<Complex> rotated = rho;
        rotate_fast(kernel, rt.n, p.data(), which.data(), (int)which.size(), rotated.data());
        EXPECT_LE(largest_difference(recipe.data(), rotated.data(), rho.size()), 1e-12)
            << "n=" << rt.n << " kernel " << kernel;
    }
}

Waveform without_rf(Waveform w)
{
    w.xb.assign(w.xb.size(), 0.0);
    w.yb.assign(w.yb.size(), 0.0);
    return w;
}

} // namespace

TEST_F(FastPath, RotatesDensitiesAsTheRecipeDoes)
{
    std::mt19937 random(2010);
    for (const std::vector<int> &two_i : systems)
        for (int coupling_mode : {1, 2}) {
            build_spins(random_spins(random, two_i, coupling_mode));
            const Waveform w = mixed_waveform(random);
            const std::vector<Position> at = random_positions(random, 3);
            const std::vector<Complex> rho = random_matrices(random, 5);
            expect_same_rotation(fast(field_of(w, 3e-5, 20.0), at), {2, 0, 0, -1, 1}, rho);
            expect_same_rotation(fast(field_of(without_rf(w), 3e-3, 20.0), at), {1, -1, 2, 2, 0},
                                 rho);
        }
}

// 0: as many as there are processors.
static void use_threads(int threads)
{
    static char setting[32]; // stays in the environment
    std::snprintf(setting, sizeof setting, "OMP_NUM_THREADS=%d", threads);
    putenv(setting);
}

TEST_F(FastPath, GivesTheSameBytesForAnyNumberOfThreads)
{
    std::mt19937 random(2011);
    for (const std::vector<int> &two_i : {std::vector<int>{1, 1}, {1, 1, 2}, {1, 1, 1, 1, 1}}) {
        build_spins(random_spins(random, two_i, 2));
        const Waveform w = random_waveform(random, 60, true, true, true);
        const SectorField f = field_of(w, 3e-5, 20.0);
        const std::vector<Position> at = random_positions(random, 43);
        const std::vector<Complex> rho = random_matrices(random, 43);
        std::vector<int> which(at.size());
        for (size_t v = 0; v < which.size(); v++)
            which[v] = (int)(v / 2);
        Propagators first;
        std::vector<Complex> first_rho;
        for (int threads : {1, 2, 3, 8}) {
            use_threads(threads);
            const Propagators p = fast(f, at);
            std::vector<Complex> rotated = rho;
            RotateDensities(rt.n, p.data(), which.data(), (int)which.size(), rotated.data());
            if (first.empty()) {
                first = p;
                first_rho = rotated;
            }
            EXPECT_EQ(std::memcmp(first.data(), p.data(), p.size() * sizeof p[0]), 0) << threads;
            EXPECT_EQ(std::memcmp(first_rho.data(), rotated.data(), rho.size() * sizeof rho[0]), 0)
                << threads;
        }
        use_threads(0);
    }
}

// ---- spin systems in parts ----

namespace
{

struct PartsCase {
    const char *name;
    SpinSystem system;
    std::vector<int> states; // of the parts
};

std::vector<int> states_of_parts(const SectorSystem &system)
{
    std::vector<int> states;
    for (const SystemPart &part : system.parts)
        states.push_back(part.sparse.n);
    std::sort(states.begin(), states.end());
    return states;
}

} // namespace

TEST_F(FastPath, TakesSpinSystemsApartAndAgreesWithTheRecipe)
{
    const PartsCase cases[] = {
        {"CH3-CH",
         {{1, 1, 1, 1},
          {1, 1, 1, 1},
          {40.0, 40.0, 40.0, -90.0},
          2,
          {{1, 4, 7}, {2, 4, 7}, {3, 4, 7}}},
         {4, 8}},
        {"two pairs, their spins in turn",
         {{1, 1, 1, 1}, {1, 2, 3, 4}, {10.0, -20.0, 35.0, 80.0}, 2, {{1, 3, 9.0}, {2, 4, -4.0}}},
         {4, 4}},
        {"four spins alone",
         {{1, 1, 1, 1}, {1, 1, 1, 1}, {10.0, -20.0, 35.0, 80.0}, 1, {}},
         {2, 2, 2, 2}},
        {"CH2 beside a spin 1",
         {{1, 1, 2}, {1, 1, 1}, {50.0, 50.0, -30.0}, 2, {{1, 2, -12.0}}},
         {1, 3, 3}},
    };
    std::mt19937 random(2012);
    for (const PartsCase &c : cases) {
        build_spins(c.system);
        const Waveform w = random_waveform(random, 80, true, true, true);
        SectorField f = field_of(w, 3e-5, 20.0);
        const auto system = PrepareSectorSystem(f);
        ASSERT_TRUE(system && system->splits) << c.name;
        EXPECT_EQ(states_of_parts(*system), c.states) << c.name;
        const std::vector<Position> at = random_positions(random, 5);
        expect_agreement(f, at, c.name);

        f.system = system.get();
        const Propagators prepared = fast(f, at);
        f.system = nullptr;
        const Propagators anew = fast(f, at);
        EXPECT_EQ(std::memcmp(prepared.data(), anew.data(), anew.size() * sizeof anew[0]), 0);
        f.spins = 0;
        const Propagators whole = fast(f, at);
        EXPECT_NE(std::memcmp(whole.data(), anew.data(), anew.size() * sizeof anew[0]), 0)
            << c.name << ": not computed in parts";
        EXPECT_LE(largest_difference(whole.data(), anew.data(), anew.size()), 1e-12) << c.name;
    }
}
