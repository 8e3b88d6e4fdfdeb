// receiver_path.cpp - the sum over transitions against time stepping with matrix products and, for
// long traces, against exact phases; that it is taken, and that no trace depends on another.

#include "engine_fixture.h"
#include "memory.h"

#include "receiverlib_internal.h"

#include <cmath>
#include <cstring>

using ReceiverPath = EngineTest;

namespace
{

CMatrix H, rho;

const LaneKernel all_kernels[] = {LANES_BASELINE, LANES_AVX2, LANES_AVX512};

// Every element set, no symmetry: what the receiver does not see must not show either.
void fill_density(std::mt19937 &random)
{
    std::normal_distribution<double> normal;
    for (int i = 1; i <= rt.n; i++)
        for (int j = 1; j <= rt.n; j++) {
            rho[i][j][COMPLEX_RE] = normal(random);
            rho[i][j][COMPLEX_IM] = normal(random);
        }
}

// H = -(Izee + Icoup + 2·pi·offset·Iz), as the receiver has it
void receiver_hamiltonian(double offset_hz)
{
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H);
    CMatRMultAdd(rt.n, &H, -1.0, &rt.Iztot, -TWO_PI * offset_hz, &H);
}

void prepare(std::mt19937 &random, const SpinSystem &system)
{
    build_spins(system);
    fill_density(random);
    receiver_hamiltonian(30.0);
}

ReceiverBasis receiver_basis(void)
{
    return MakeReceiverBasis(rt.n, &H, &rt.Ixtot, &rt.Iytot);
}

typedef std::vector<Complex> Trace; // re + i·im

Trace joined(const std::vector<double> &re, const std::vector<double> &im)
{
    Trace trace;
    for (size_t k = 0; k < re.size(); k++)
        trace.push_back({re[k], im[k]});
    return trace;
}

Trace plain(int ap, double dt)
{
    std::vector<double> re((size_t)ap), im(re);
    ReceiverTracePlain(rt.n, ap, dt, &rho, &H, &rt.Ixtot, &rt.Iytot, re.data(), im.data());
    return joined(re, im);
}

Trace by_default(const ReceiverBasis &basis, int ap, double dt)
{
    std::vector<double> re((size_t)ap), im(re);
    ReceiverTraceInBasis(basis, ap, dt, &rho, re.data(), im.data());
    return joined(re, im);
}

Trace by_kernel(LaneKernel kernel, const ReceiverBasis &basis, int ap, double dt)
{
    std::vector<double> re((size_t)ap), im(re);
    trace_by_kernel(kernel, basis, ap, dt, &rho, re.data(), im.data());
    return joined(re, im);
}

double largest_of(const Trace &trace)
{
    double largest = 0.0;
    for (const Complex &z : trace)
        largest = std::fmax(largest, std::abs(z));
    return largest;
}

// By the basis, with every kernel that runs here.
void expect_agreement(int ap, double dt)
{
    const Trace expected = plain(ap, dt);
    const double largest = largest_of(expected);
    EXPECT_GT(largest, 0.0);
    const ReceiverBasis basis = receiver_basis();
    ASSERT_TRUE(basis.has_blocks) << "n=" << rt.n;
    for (LaneKernel kernel : all_kernels) {
        if (!lane_kernel_runs_here(kernel))
            continue;
        const Trace trace = by_kernel(kernel, basis, ap, dt);
        EXPECT_LE(largest_difference(expected.data(), trace.data(), trace.size()), 1e-11 * largest)
            << "n=" << rt.n << " ap=" << ap << " dt=" << dt << " kernel=" << kernel;
    }
}

SpinSystem uncoupled(SpinSystem system)
{
    system.couplings.clear();
    return system;
}

// All spins alike and coupled alike: many equal energies.
SpinSystem equivalent(const std::vector<int> &two_i)
{
    SpinSystem system = {two_i, {}, {}, 2, {}};
    for (int i = 1; i <= (int)two_i.size(); i++) {
        system.offsets_hz.push_back(50.0);
        for (int j = 1; j < i; j++)
            system.couplings.push_back({j, i, 7.0});
    }
    return system;
}

// Of a diagonal H: the sum of O(j,i)·rho(i,j)·exp(-i·(H(i,i) - H(j,j))·t), with phases in long
// double.
Complex exact_sample(double t)
{
    double re = 0.0, im = 0.0;
    for (int i = 1; i <= rt.n; i++)
        for (int j = 1; j <= rt.n; j++) {
            const long double omega = (long double)H[i][i][COMPLEX_RE] - H[j][j][COMPLEX_RE];
            const long double angle = -omega * t;
            const Complex phase((double)std::cos(angle), (double)std::sin(angle));
            const Complex turned = phase * Complex(rho[i][j][COMPLEX_RE], rho[i][j][COMPLEX_IM]);
            const double *const x = rt.Ixtot[j][i], *const y = rt.Iytot[j][i];
            re += (Complex(x[COMPLEX_RE], x[COMPLEX_IM]) * turned).real();
            im += (Complex(y[COMPLEX_RE], y[COMPLEX_IM]) * turned).real();
        }
    return {re, im};
}

} // namespace

// ------------------------------------------------------------------ against time stepping

TEST_F(ReceiverPath, AgreesWithTimeStepping)
{
    std::mt19937 random(3001);
    for (const std::vector<int> &two_i :
         {std::vector<int>{1}, {3}, {7}, {1, 1}, {2, 1}, {6, 5}, {1, 1, 1}, {1, 2, 1}, {4, 3, 1}})
        for (int coupling_mode : {1, 2}) {
            prepare(random, random_spins(random, two_i, coupling_mode));
            for (int ap : {1, 2, 200})
                expect_agreement(ap, 1e-3);
        }
}

TEST_F(ReceiverPath, AgreesForManySpins)
{
    std::mt19937 random(3002);
    for (const std::vector<int> &two_i : {std::vector<int>{1, 1, 1, 1, 1}, {7, 7}, {7, 3, 1}})
        for (int coupling_mode : {1, 2}) {
            prepare(random, random_spins(random, two_i, coupling_mode));
            expect_agreement(30, 1e-3);
        }
}

TEST_F(ReceiverPath, AgreesForTheLargestSystems)
{
    std::mt19937 random(3003);
    for (const std::vector<int> &two_i : {std::vector<int>{1, 1, 1, 1, 1, 1, 1, 1}, {7, 7, 3}})
        for (int coupling_mode : {1, 2}) {
            prepare(random, random_spins(random, two_i, coupling_mode));
            ASSERT_EQ(rt.n, 256);
            expect_agreement(3, 1e-3);
        }
}

TEST_F(ReceiverPath, AgreesForEqualEnergies)
{
    std::mt19937 random(3004);
    for (const std::vector<int> &two_i :
         {std::vector<int>{1, 1}, {1, 1, 1}, {2, 2}, {1, 1, 1, 1}}) {
        prepare(random, uncoupled(random_spins(random, two_i, 2)));
        expect_agreement(100, 1e-3);
        prepare(random, equivalent(two_i));
        expect_agreement(100, 1e-3);
    }
}

// A field along x joins all states: the observables connect one block with itself.
TEST_F(ReceiverPath, AgreesWithinOneBlock)
{
    std::mt19937 random(3005);
    prepare(random, random_spins(random, {1, 2, 1}, 2));
    CMatRMultAdd(rt.n, &H, 1.0, &rt.Ixtot, 300.0, &H);
    EXPECT_EQ(receiver_basis().blocks.size(), 1u);
    expect_agreement(150, 1e-3);
}

// ------------------------------------------------------------------ which way is taken

TEST_F(ReceiverPath, HasOneBlockPerTotalIz)
{
    std::mt19937 random(3006);
    prepare(random, random_spins(random, {1, 1, 1, 1}, 2));
    const ReceiverBasis basis = receiver_basis();
    ASSERT_EQ(basis.blocks.size(), 5u);
    for (size_t k = 0; k < 5; k++)
        EXPECT_EQ(basis.blocks[k].states.size(), (std::vector<size_t>{1, 4, 6, 4, 1})[k]);
    ASSERT_EQ(basis.pairs.size(), 4u);
    for (int k = 0; k < 4; k++) {
        EXPECT_EQ(basis.pairs[(size_t)k].rows, k + 1);
        EXPECT_EQ(basis.pairs[(size_t)k].cols, k);
    }
}

TEST_F(ReceiverPath, TakesTheBlocksWhereThereAreSome)
{
    std::mt19937 random(3007);
    prepare(random, random_spins(random, {1, 2, 1}, 2));
    const ReceiverBasis basis = receiver_basis();
    const Trace trace = by_default(basis, 300, 1e-3);
    bool by_a_kernel = false;
    for (LaneKernel kernel : all_kernels)
        by_a_kernel |=
            lane_kernel_runs_here(kernel) && trace == by_kernel(kernel, basis, 300, 1e-3);
    EXPECT_TRUE(by_a_kernel);
    EXPECT_NE(trace, plain(300, 1e-3));
}

TEST_F(ReceiverPath, LeavesOtherOperatorsToTheRecipe)
{
    std::mt19937 random(3008);
    const SpinSystem system = random_spins(random, {1, 1}, 2);
    for (CMatrix *changed : {&H, &rt.Ixtot, &rt.Iytot})
        for (int part : {COMPLEX_RE, COMPLEX_IM}) {
            prepare(random, system);
            (*changed)[1][2][part] += 100.0;
            const ReceiverBasis basis = receiver_basis();
            EXPECT_FALSE(basis.has_blocks);
            EXPECT_EQ(by_default(basis, 20, 1e-3), plain(20, 1e-3));
        }
    prepare(random, system);
    CMatRMultAdd(rt.n, &H, 1.0, &rt.Iytot, 300.0, &H); // Hermitian, but not real
    EXPECT_FALSE(receiver_basis().has_blocks);
}

// ------------------------------------------------------------------ any number of samples

TEST_F(ReceiverPath, GivesExactPhasesForAnyNumberOfSamples)
{
    std::mt19937 random(3009);
    const double dt = 1e-3;
    prepare(random, random_spins(random, {1, 3, 1}, 1));
    const ReceiverBasis basis = receiver_basis();
    for (int ap : {0, 1, 2, 3, 127, 128, 129, 255, 257, 1000, 1024, 1025, 3000}) {
        Trace expected;
        for (int k = 0; k < ap; k++)
            expected.push_back(exact_sample(k * dt));
        for (LaneKernel kernel : all_kernels)
            if (lane_kernel_runs_here(kernel)) {
                const Trace trace = by_kernel(kernel, basis, ap, dt);
                EXPECT_LE(largest_difference(expected.data(), trace.data(), trace.size()),
                          1e-11 * largest_of(expected))
                    << "ap=" << ap << " kernel=" << kernel;
            }
    }
}

TEST_F(ReceiverPath, KeepsItsPhasesOverLongTraces)
{
    std::mt19937 random(3010);
    const int ap = 100000;
    const double dt = 1e-4;
    prepare(random, random_spins(random, {1, 2}, 1));
    const ReceiverBasis basis = receiver_basis();
    for (LaneKernel kernel : all_kernels) {
        if (!lane_kernel_runs_here(kernel))
            continue;
        const Trace trace = by_kernel(kernel, basis, ap, dt);
        const double largest = largest_of(trace);
        EXPECT_GT(largest, 0.0);
        for (int k = 0; k < ap; k += k % 2 ? 22 : 1)
            ASSERT_LE(std::abs(trace[(size_t)k] - exact_sample(k * dt)), 1e-11 * largest)
                << "sample " << k << " kernel=" << kernel;
        ASSERT_LE(std::abs(trace.back() - exact_sample((ap - 1) * dt)), 1e-11 * largest);
    }
}

TEST_F(ReceiverPath, WritesNothingBehindTheLastSample)
{
    std::mt19937 random(3011);
    prepare(random, random_spins(random, {1, 1}, 2));
    const ReceiverBasis basis = receiver_basis();
    for (int ap : {0, 1, 129}) {
        std::vector<double> re(400, 77.0), im(re);
        ReceiverTraceInBasis(basis, ap, 1e-3, &rho, re.data(), im.data());
        for (size_t k = (size_t)ap; k < re.size(); k++)
            EXPECT_TRUE(re[k] == 77.0 && im[k] == 77.0) << "ap=" << ap << " sample " << k;
    }
}

TEST_F(ReceiverPath, SeesNothingInAnEmptyMatrix)
{
    std::mt19937 random(3012);
    prepare(random, random_spins(random, {1, 1}, 2));
    CMatZero(rt.n, &rho);
    EXPECT_EQ(by_default(receiver_basis(), 200, 1e-3), Trace(200));
}

// ------------------------------------------------------------------ the same bytes

TEST_F(ReceiverPath, AgreesAcrossInstructionSets)
{
    std::mt19937 random(3013);
    for (const std::vector<int> &two_i : {std::vector<int>{1, 1}, {1, 2, 1}, {1, 1, 1, 1, 1}}) {
        prepare(random, random_spins(random, two_i, 2));
        const ReceiverBasis basis = receiver_basis();
        const Trace baseline = by_kernel(LANES_BASELINE, basis, 3000, 1e-3);
        for (LaneKernel kernel : {LANES_AVX2, LANES_AVX512}) {
            if (!lane_kernel_runs_here(kernel))
                continue;
            const Trace other = by_kernel(kernel, basis, 3000, 1e-3);
            EXPECT_LE(largest_difference(baseline.data(), other.data(), other.size()),
                      1e-12 * largest_of(baseline))
                << "n=" << rt.n << " kernel=" << kernel;
        }
    }
}

TEST_F(ReceiverPath, GivesAMatrixTheSameBytesInAnyOrder)
{
    std::mt19937 random(3014);
    prepare(random, random_spins(random, {1, 1, 1}, 2));
    const ReceiverBasis basis = receiver_basis();
    const Trace first = by_default(basis, 500, 1e-3);
    static CMatrix kept;
    CopyCMatrix(rt.n, &rho, &kept);
    fill_density(random);
    EXPECT_NE(by_default(basis, 300, 2e-3), Trace(first.begin(), first.begin() + 300));
    CopyCMatrix(rt.n, &kept, &rho);
    EXPECT_EQ(by_default(basis, 500, 1e-3), first);
    std::vector<double> re(500), im(500);
    ReceiverTrace(rt.n, 500, 1e-3, &rho, &H, &rt.Ixtot, &rt.Iytot, re.data(), im.data());
    EXPECT_EQ(joined(re, im), first);
}

// ------------------------------------------------------------------ short memory

TEST_F(ReceiverPath, TakesTheRecipeWhenMemoryIsShort)
{
    const int ap = 16;
    const double dt = 1e-3;
    std::mt19937 random(740);
    prepare(random, random_spins(random, {1, 2, 1}, 2));
    const Trace expected = plain(ap, dt);
    const double largest = largest_of(expected);
    int failures = 0;
    for (int left = 0; left == 0; failures++) {
        std::vector<double> re(ap), im(re);
        throw_at_allocation(failures + 1);
        ReceiverTrace(rt.n, ap, dt, &rho, &H, &rt.Ixtot, &rt.Iytot, re.data(), im.data());
        left = throw_at_allocation(0);
        const Trace trace = joined(re, im);
        EXPECT_LE(largest_difference(expected.data(), trace.data(), trace.size()), 1e-11 * largest)
            << "allocation " << failures + 1;
    }
    EXPECT_GT(failures, 10); // the last one had memory for all
}
