// spin_blocks.cpp - propagators put together from the parts of a spin system against those of the
// whole system.

#include "sparse_spins.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using SpinBlocks = EngineTest;

namespace
{

size_t block_count(const SpinSplit &split)
{
    size_t count = 0;
    for (const SpinGroup &group : split.groups)
        count += group.blocks.size();
    return count;
}

double split_error(const SpinSystem &system, const std::vector<Sample> &samples, int doublings = 0)
{
    const SparseSystem whole = sparse_spins(system);
    const SpinSplit split = split_of(system);
    const std::vector<Complex> expected = series_propagator(whole, samples, doublings);
    const std::vector<Complex> found = assembled_propagator(split, samples, doublings);
    EXPECT_EQ(found.size(), expected.size());
    return largest_difference(found.data(), expected.data(), expected.size());
}

// The pair's coupling, the same for every pair of the two sets of spins.
void couple(SpinSystem *system, const std::vector<int> &a, const std::vector<int> &b, double hz)
{
    for (int i : a)
        for (int j : b)
            if (i != j && (a != b || i < j))
                system->couplings.push_back({std::min(i, j), std::max(i, j), hz});
}

} // namespace

// ------------------------------------------------------------------ random systems

namespace
{

std::vector<int> random_quantum_numbers(std::mt19937 &random, int spins, int most_states)
{
    std::vector<int> two_i;
    int states = 1;
    for (int left = spins; left > 0; left--) {
        const int room = (most_states / states) >> (left - 1);
        const int most = std::clamp(room - 1, 1, 7);
        two_i.push_back(random() % 2 ? 1 : 1 + (int)(random() % (unsigned)most));
        states *= two_i.back() + 1;
    }
    std::shuffle(two_i.begin(), two_i.end(), random);
    return two_i;
}

// Spins of one letter are equivalent: same quantum number, offset and couplings.
SpinSystem random_lettered_spins(std::mt19937 &random, int spins, int most_states)
{
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    SpinSystem system;
    system.two_i = random_quantum_numbers(random, spins, most_states);
    system.coupling_mode = random() % 2 ? 1 : 2;
    const double coupled = 0.5 + 0.5 * unit(random);
    std::vector<int> letter((size_t)spins);
    for (int k = 0; k < spins; k++) {
        letter[(size_t)k] = k;
        for (int j = 0; j < k; j++)
            if (system.two_i[(size_t)j] == system.two_i[(size_t)k] && random() % 3 == 0)
                letter[(size_t)k] = letter[(size_t)j];
    }
    double offset[8], J[8][8];
    for (int a = 0; a < 8; a++) {
        offset[a] = 300.0 * unit(random);
        for (int b = 0; b <= a; b++)
            J[a][b] = J[b][a] = unit(random) < 2.0 * coupled - 1.0 ? 40.0 * unit(random) : 0.0;
    }
    for (int i = 1; i <= spins; i++) {
        const int a = letter[(size_t)(i - 1)];
        system.offsets_hz.push_back(offset[a]);
        for (int j = i + 1; j <= spins; j++)
            system.couplings.push_back({i, j, J[a][letter[(size_t)(j - 1)]]});
    }
    return system;
}

std::string described(const SpinSystem &system)
{
    std::string text = system.coupling_mode == 1 ? "weak, 2I" : "full, 2I";
    for (int two_i : system.two_i)
        text += " " + std::to_string(two_i);
    return text;
}

} // namespace

TEST_F(SpinBlocks, MakeUpThePropagatorsOfRandomSystems)
{
    int grouped = 0, with_total_spins = 0, whole = 0;
    for (unsigned seed = 3000; seed < 3080; seed++) {
        std::mt19937 random(seed);
        const int spins = 1 + (int)(seed % 6);
        const SpinSystem system = random_lettered_spins(random, spins, seed % 20 == 0 ? 64 : 24);
        const double error = split_error(system, random_samples(random, 3));
        EXPECT_LE(error, 1e-12) << "seed " << seed << " " << described(system);
        const SpinSplit split = split_of(system);
        grouped += split.groups.size() > 1;
        with_total_spins += block_count(split) > split.groups.size();
        whole += block_count(split) == 1;
    }
    EXPECT_GE(grouped, 15);
    EXPECT_GE(with_total_spins, 15);
    EXPECT_GE(whole, 15);
}

// ------------------------------------------------------------------ systems of known parts

namespace
{

struct KnownSystem {
    const char *name;
    SpinSystem system;
    size_t groups, blocks;
};

// Couplings between all pairs of a and b; a = b: within the set.
struct SetCoupling {
    std::vector<int> a, b;
    double hz;
};

SpinSystem spins_of(const std::vector<int> &two_i, const std::vector<double> &offsets_hz, int mode,
                    const std::vector<SetCoupling> &couplings)
{
    SpinSystem system;
    system.two_i = two_i;
    system.offsets_hz = offsets_hz;
    system.coupling_mode = mode;
    for (const SetCoupling &c : couplings)
        couple(&system, c.a, c.b, c.hz);
    return system;
}

enum { WEAK = 1, FULL = 2 };

std::vector<KnownSystem> known_systems(void)
{
    const std::vector<int> a3 = {1, 2, 3}, a = {1, 3, 5}, x = {2, 4};
    const std::vector<double> ax = {90, -200, 90, -200, 90}, a3x = {90, 90, 90, -200};
    const std::vector<int> four = {1, 1, 1, 1}, five = {1, 1, 1, 1, 1};
    const std::vector<double> pairs = {50, -30, 120, 240};
    return {
        {"CH3-CH", spins_of(four, a3x, FULL, {{a3, {4}, 7}}), 1, 2},
        {"CH3-CH, geminal", spins_of(four, a3x, FULL, {{a3, {4}, 7}, {a3, a3, -12}}), 1, 2},
        {"CH3-CH, weak", spins_of(four, a3x, WEAK, {{a3, {4}, 7}}), 1, 2},
        {"CH3-CH, weak geminal", spins_of(four, a3x, WEAK, {{a3, {4}, 7}, {a3, a3, 5}}), 1, 2},
        {"A3X2 mixed", spins_of(five, ax, FULL, {{a, x, 7}, {a, a, 3}, {x, x, -9}}), 1, 4},
        {"A3X2 mixed, weak", spins_of(five, ax, WEAK, {{a, x, 7}}), 1, 4},
        {"interleaved pairs", spins_of(four, pairs, FULL, {{{1}, {3}, 9}, {{2}, {4}, 4}}), 2, 2},
        {"interleaved pairs, weak", spins_of(four, pairs, WEAK, {{{1}, {3}, 9}, {{2}, {4}, 4}}), 2,
         2},
        {"no couplings", spins_of({1, 4, 2, 1}, pairs, FULL, {}), 4, 4},
        {"all zero", spins_of({1, 2, 1}, {0, 0, 0}, FULL, {}), 3, 3},
        {"all zero but one coupling", spins_of({1, 1, 2}, {0, 0, 0}, FULL, {{{1}, {2}, 8}}), 2, 3},
        {"AA'XX'",
         spins_of(four, {80, 80, -60, -60}, FULL,
                  {{{1}, {3}, 7}, {{2}, {4}, 7}, {{1}, {4}, 2}, {{2}, {3}, 2}, {{1}, {2}, 3}}),
         1, 1},
        {"two spins 1", spins_of({2, 1, 2}, {30, 70, 30}, FULL, {{{1, 3}, {2}, 6}, {{1}, {3}, 9}}),
         1, 3},
        {"two spins 3/2", spins_of({1, 3, 3}, {30, 70, 70}, FULL, {{{1}, {2, 3}, 6}}), 1, 4},
        {"two spins 1, weak", spins_of({2, 1, 2}, {30, 70, 30}, WEAK, {{{1, 3}, {2}, 6}}), 1, 3},
        {"two spins 1, weak within",
         spins_of({2, 1, 2}, {30, 70, 30}, WEAK, {{{1, 3}, {2}, 6}, {{1}, {3}, 9}}), 1, 1},
        {"CH2 beside a pair and one",
         spins_of({1, 1, 2, 1, 1, 1}, {40, -90, 10, 40, -90, 5}, FULL,
                  {{{2, 5}, {6}, 7}, {{1}, {3}, 11}}),
         3, 4},
    };
}

} // namespace

TEST_F(SpinBlocks, OfKnownSystemsAreThePartsExpectedAndMakeUpThePropagator)
{
    std::mt19937 random(3200);
    for (const KnownSystem &known : known_systems()) {
        const SpinSplit split = split_of(known.system);
        EXPECT_EQ(split.groups.size(), known.groups) << known.name;
        EXPECT_EQ(block_count(split), known.blocks) << known.name;
        EXPECT_LE(split_error(known.system, random_samples(random, 4)), 1e-12) << known.name;
    }
}

// What the sums on the diagonal lose in rounding grows with the time: 4 s are a very long pulse.
TEST_F(SpinBlocks, StayExactOverManyLongSamples)
{
    std::mt19937 random(3300);
    for (const KnownSystem &known : known_systems()) {
        if (known.system.two_i.size() > 5)
            continue;
        std::vector<Sample> samples = random_samples(random, 1);
        samples[0].offset *= 0.1;
        samples[0].tau = 1e-3;
        EXPECT_LE(split_error(known.system, samples, 12), 1e-11) << known.name;
    }
}

TEST_F(SpinBlocks, MakeUpThePropagatorsOfEightSpins)
{
    const std::vector<int> eight(8, 1), odd = {1, 3, 5, 7}, even = {2, 4, 6, 8};
    const SpinSystem systems[] = {
        // two groups of four, interleaved
        spins_of(eight, {10, 90, -70, 20, 55, 20, 120, 5}, FULL,
                 {{{1}, {3}, 7}, {{3}, {5}, 3}, {{5}, {7}, 9}, {{2}, {4, 6}, 5}, {{8}, {4, 6}, 2}}),
        // two sets of four, coupled with each other
        spins_of(eight, {10, 90, 10, 90, 10, 90, 10, 90}, FULL, {{odd, even, 6}, {odd, odd, 2}}),
        // eight uncoupled spins
        spins_of(eight, {10, 90, -70, 20, 55, -35, 120, 5}, WEAK, {}),
    };
    const size_t groups[] = {2, 1, 8}, blocks[] = {3, 9, 8};
    std::mt19937 random(3400);
    for (size_t k = 0; k < 3; k++) {
        const SpinSplit split = split_of(systems[k]);
        EXPECT_EQ(split.n, 256);
        EXPECT_EQ(split.groups.size(), groups[k]);
        EXPECT_EQ(block_count(split), blocks[k]);
        std::vector<Sample> samples = random_samples(random, 1);
        samples[0].tau = 2e-5;
        samples[0].offset = 100.0;
        EXPECT_LE(split_error(systems[k], samples), 1e-12) << "system " << k;
    }
}

// Nothing but the blocks decides the bytes.
TEST_F(SpinBlocks, AreAssembledToTheSameBytesAgain)
{
    std::mt19937 random(3500);
    const std::vector<Sample> samples = random_samples(random, 2);
    for (const KnownSystem &known : known_systems()) {
        const SpinSplit split = split_of(known.system), again = split_of(known.system);
        const std::vector<Complex> a = assembled_propagator(split, samples);
        const std::vector<Complex> b = assembled_propagator(again, samples);
        EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(Complex)), 0) << known.name;
    }
}
