// spinblocklib.cpp - which parts a spin system is split into, and that nothing but rounding is
// left out. The propagators made from the parts: tests/engine/spin_blocks.cpp.

#include "sparse_spins.h"

#include <cmath>
#include <limits>

using SpinSplits = EngineTest;

namespace
{

enum { WEAK = 1, FULL = 2 };

// States and copies of every block, group by group: "8x1 4x2 | 2x1".
std::string outline(const SpinSplit &split)
{
    std::string text;
    for (const SpinGroup &group : split.groups) {
        text += text.empty() ? "" : " |";
        for (const SpinBlock &block : group.blocks)
            text += (text.empty() ? "" : " ") + std::to_string(block.system.n) + "x" +
                    std::to_string(block.copies);
    }
    return text;
}

// "A" to "H" name the spins' offsets, so spins of one letter are alike; couplings as listed.
SpinSystem lettered(const std::string &letters, const std::vector<int> &two_i, int mode,
                    const std::vector<Coupling> &couplings)
{
    SpinSystem system;
    system.two_i = two_i;
    system.coupling_mode = mode;
    system.couplings = couplings;
    for (char letter : letters)
        system.offsets_hz.push_back(std::vector<double>{31, -77, 143.3, 8.1, -55}[letter - 'A']);
    return system;
}

struct SplitCase {
    const char *letters;
    std::vector<int> two_i;
    int mode;
    std::vector<Coupling> couplings;
    const char *outline;
};

} // namespace

TEST_F(SpinSplits, HaveTheBlocksOfTheirGroupsAndTotalSpins)
{
    const SplitCase cases[] = {
        {"A", {1}, FULL, {}, "2x1"},
        {"AB", {1, 1}, FULL, {{1, 2, 5}}, "4x1"},
        {"AB", {1, 1}, WEAK, {{1, 2, 5}}, "4x1"},
        {"AB", {1, 1}, FULL, {}, "2x1 | 2x1"},
        {"AA", {1, 1}, FULL, {}, "2x1 | 2x1"},
        {"AA", {1, 1}, FULL, {{1, 2, 5}}, "3x1 1x1"},
        {"AA", {1, 2}, FULL, {{1, 2, 5}}, "6x1"},
        {"AAB", {1, 1, 1}, FULL, {{1, 3, 5}, {2, 3, 5}}, "6x1 2x1"},
        {"AAB", {1, 1, 1}, FULL, {{1, 3, 5}, {2, 3, 5.1}}, "8x1"},
        {"AAB", {1, 1, 1}, FULL, {{1, 3, 5}}, "2x1 | 4x1"},
        {"AAAB", {1, 1, 1, 1}, FULL, {{1, 4, 7}, {2, 4, 7}, {3, 4, 7}}, "8x1 4x2"},
        {"BAAA", {1, 1, 1, 1}, WEAK, {{1, 2, 7}, {1, 3, 7}, {1, 4, 7}}, "8x1 4x2"},
        // A3X2
        {"ABABA",
         {1, 1, 1, 1, 1},
         FULL,
         {{1, 2, 7}, {1, 4, 7}, {2, 3, 7}, {3, 4, 7}, {2, 5, 7}, {4, 5, 7}},
         "12x1 4x1 6x2 2x2"},
        // AA'XX': alike, but not coupled alike
        {"AABB",
         {1, 1, 1, 1},
         FULL,
         {{1, 2, 3}, {1, 3, 7}, {1, 4, 2}, {2, 3, 2}, {2, 4, 7}, {3, 4, 4}},
         "16x1"},
        // Couplings within a set that are not all the same mix its ways to a total spin.
        {"AAAB", {1, 1, 1, 1}, FULL, {{1, 2, 9}, {1, 4, 7}, {2, 4, 7}, {3, 4, 7}}, "12x1 4x1"},
        // Iz·Iz between two spins 1/2 is a matter of their total Iz, of two spins 1 it is not.
        {"AAB", {1, 1, 1}, WEAK, {{1, 2, 9}, {1, 3, 5}, {2, 3, 5}}, "6x1 2x1"},
        {"AAB", {2, 2, 1}, WEAK, {{1, 2, 9}, {1, 3, 5}, {2, 3, 5}}, "18x1"},
        {"AAB", {2, 2, 1}, WEAK, {{1, 3, 5}, {2, 3, 5}}, "10x1 6x1 2x1"},
        {"AAB", {2, 2, 1}, FULL, {{1, 2, 9}, {1, 3, 5}, {2, 3, 5}}, "10x1 6x1 2x1"},
        {"AAA", {2, 2, 2}, FULL, {{1, 2, 9}, {1, 3, 9}, {2, 3, 9}}, "7x1 5x2 3x3 1x1"},
        {"AA",
         {15, 15},
         FULL,
         {{1, 2, 9}},
         "31x1 29x1 27x1 25x1 23x1 21x1 19x1 17x1 15x1 13x1 "
         "11x1 9x1 7x1 5x1 3x1 1x1"},
        // One set without a total spin does not keep the other from its own.
        {"AABB",
         {2, 2, 1, 1},
         WEAK,
         {{1, 2, 9}, {1, 3, 5}, {1, 4, 5}, {2, 3, 5}, {2, 4, 5}},
         "27x1 9x1"},
        {"ABCDE", {1, 1, 2, 1, 1}, WEAK, {{1, 4, 3}, {2, 5, 8}}, "3x1 | 4x1 | 4x1"},
    };
    for (const SplitCase &c : cases) {
        const SpinSplit split = split_of(lettered(c.letters, c.two_i, c.mode, c.couplings));
        EXPECT_EQ(outline(split), c.outline) << c.letters << " mode " << c.mode;
    }
}

TEST_F(SpinSplits, AreReportedOnlyWhenSomethingIsGained)
{
    const int two_i[] = {1, 1};
    SpinSplit split;
    const SparseSystem coupled = sparse_spins(lettered("AB", {1, 1}, FULL, {{1, 2, 5}}));
    EXPECT_FALSE(split_spin_system(coupled, 2, two_i, &split));
    EXPECT_EQ(split.groups[0].blocks[0].system.d, coupled.d);
    const SparseSystem apart = sparse_spins(lettered("AB", {1, 1}, FULL, {}));
    EXPECT_TRUE(split_spin_system(apart, 2, two_i, &split));
    const SparseSystem alike = sparse_spins(lettered("AA", {1, 1}, FULL, {{1, 2, 5}}));
    EXPECT_TRUE(split_spin_system(alike, 2, two_i, &split));
}

TEST_F(SpinSplits, FollowTheSmallestCouplingAndDifferenceThatADiagonalCanHold)
{
    // Against offsets of 143 Hz: rounding is about 1e-13 Hz.
    const std::vector<int> halves = {1, 1, 1};
    EXPECT_EQ(outline(split_of(lettered("ABC", halves, WEAK, {{1, 2, 5}, {2, 3, 1e-11}}))), "8x1");
    EXPECT_EQ(outline(split_of(lettered("ABC", halves, FULL, {{1, 2, 5}, {2, 3, 1e-30}}))), "8x1");
    const std::vector<Coupling> aab = {{1, 3, 5}, {2, 3, 5}};
    EXPECT_EQ(outline(split_of(lettered("AAB", halves, WEAK, aab))), "6x1 2x1");
    SpinSystem unequal = lettered("AAB", halves, WEAK, aab);
    unequal.offsets_hz[1] += 1e-11;
    EXPECT_EQ(outline(split_of(unequal)), "8x1");
    unequal = lettered("AAB", halves, WEAK, aab);
    unequal.couplings[1].hz += 1e-11;
    EXPECT_EQ(outline(split_of(unequal)), "8x1");
}

TEST_F(SpinSplits, AreNotUndoneByRounding)
{
    for (unsigned seed = 1; seed <= 150; seed++) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> unit(-1.0, 1.0);
        const double scale = std::pow(10.0, 3.0 * unit(random));
        const double near = 50.0 * unit(random), far = 50.0 * unit(random);
        SpinSystem system = {{1, 3, 1, 1, 2}, {}, {}, seed % 2 ? WEAK : FULL, {}};
        for (int k = 0; k < 5; k++)
            system.offsets_hz.push_back(300.0 * scale * unit(random));
        system.offsets_hz[2] = system.offsets_hz[0];
        system.couplings = {{1, 4, near}, {3, 4, near}, {2, 5, far}};
        EXPECT_EQ(outline(split_of(system)), "6x1 2x1 | 12x1") << "seed " << seed;
    }
}

// ------------------------------------------------------------------ what the parts are

TEST_F(SpinSplits, KeepEachSpinInOneGroupAndEachStateInOnePlace)
{
    const SpinSplit split =
        split_of(lettered("ABCDE", {1, 1, 2, 1, 1}, WEAK, {{1, 4, 3}, {2, 5, 8}}));
    ASSERT_EQ(split.groups.size(), 3u);
    EXPECT_EQ(split.groups[0].spins, std::vector<int>({2}));
    EXPECT_EQ(split.groups[1].spins, std::vector<int>({0, 3}));
    EXPECT_EQ(split.groups[2].spins, std::vector<int>({1, 4}));
    // strides of the spins: 24, 12, 4, 2, 1
    EXPECT_EQ(split.groups[0].place, std::vector<int>({0, 4, 8}));
    EXPECT_EQ(split.groups[1].place, std::vector<int>({0, 2, 24, 26}));
    EXPECT_EQ(split.groups[2].place, std::vector<int>({0, 1, 12, 13}));
}

// d, m, levels and components of a coupled pair cut out of three spins
TEST_F(SpinSplits, GiveAGroupTheSystemOfItsSpinsAlone)
{
    const SpinSplit split = split_of(lettered("ABC", {1, 2, 1}, FULL, {{1, 3, 9}}));
    const SparseSystem alone = sparse_spins(lettered("AC", {1, 1}, FULL, {{1, 2, 9}}));
    ASSERT_EQ(outline(split), "3x1 | 4x1");
    const SparseSystem &s = split.groups[1].blocks[0].system;
    EXPECT_EQ(s.m, alone.m);
    EXPECT_EQ(s.level, alone.level);
    EXPECT_EQ(s.level_m, alone.level_m);
    EXPECT_EQ(s.start, alone.start);
    EXPECT_EQ(s.row, alone.row);
    EXPECT_EQ(s.fixed, alone.fixed);
    EXPECT_EQ(s.flip, alone.flip);
    EXPECT_EQ(s.first, alone.first);
    EXPECT_EQ(s.member, alone.member);
    EXPECT_EQ(s.component, alone.component);
    for (size_t i = 0; i < 4; i++)
        EXPECT_NEAR(s.d[i], alone.d[i], 1e-12);
}

// Three coupled spins 1/2 on one offset: d = offset·m + 3/4·J (total spin 3/2) or -3/4·J (1/2),
// X as of one spin.
TEST_F(SpinSplits, GiveTotalSpinsTheSystemOfOneSpin)
{
    const double offset = TWO_PI * 31.0, J = TWO_PI * 9.0;
    const SpinSplit split =
        split_of(lettered("AAA", {1, 1, 1}, FULL, {{1, 2, 9}, {1, 3, 9}, {2, 3, 9}}));
    ASSERT_EQ(outline(split), "4x1 2x2");
    for (size_t b = 0; b < 2; b++) {
        const SparseSystem &s = split.groups[0].blocks[b].system;
        const double F = b == 0 ? 1.5 : 0.5;
        ASSERT_EQ(s.row.size(), 2 * (size_t)(s.n - 1));
        EXPECT_EQ(s.level_m.size(), (size_t)s.n);
        EXPECT_EQ(s.first.size(), (size_t)s.n + 1);
        for (int j = 0; j < s.n; j++) {
            EXPECT_EQ(s.m[(size_t)j], F - j);
            EXPECT_NEAR(s.d[(size_t)j], offset * (F - j) + (b == 0 ? 0.75 : -0.75) * J, 1e-12);
            for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
                const double upper = std::max(s.m[(size_t)j], s.m[(size_t)s.row[(size_t)e]]);
                EXPECT_EQ(std::abs(s.row[(size_t)e] - j), 1);
                EXPECT_EQ(s.fixed[(size_t)e], 0.0);
                EXPECT_NEAR(s.flip[(size_t)e],
                            0.5 * std::sqrt(F * (F + 1.0) - upper * (upper - 1.0)), 3e-16);
            }
        }
    }
}

TEST_F(SpinSplits, HaveIsometriesThatFillTheGroupOnce)
{
    std::vector<Coupling> eight, six;
    for (int i = 1; i <= 8; i++)
        for (int j = i + 1; j <= 8; j++)
            eight.push_back({i, j, 3.0});
    for (int i = 1; i <= 5; i++)
        six.push_back({i, 6, 4.0});
    const SpinSystem systems[] = {
        lettered("AAAAAAAA", std::vector<int>(8, 1), FULL, eight),
        lettered("AAAAAB", std::vector<int>(6, 1), WEAK, six),
        lettered("AAA", {5, 5, 5}, FULL, {{1, 2, 9}, {1, 3, 9}, {2, 3, 9}}),
        lettered("AA", {15, 15}, FULL, {{1, 2, 9}}),
    };
    const char *const outlines[] = {
        "9x1 7x7 5x20 3x28 1x14", "12x1 8x4 4x5", "16x1 14x2 12x3 10x4 8x5 6x6 4x4 2x2",
        "31x1 29x1 27x1 25x1 23x1 21x1 19x1 17x1 15x1 13x1 11x1 9x1 7x1 5x1 3x1 1x1"};
    for (size_t k = 0; k < 4; k++) {
        const SpinSplit split = split_of(systems[k]);
        EXPECT_EQ(outline(split), outlines[k]);
        const SpinGroup &group = split.groups[0];
        const size_t n = (size_t)group.n;
        std::vector<long double> whole(n * n, 0.0L);
        for (const SpinBlock &block : group.blocks)
            for (size_t c = 0; c < (size_t)block.copies; c++) {
                const double *v = &block.value[c * n];
                std::vector<long double> norm((size_t)block.system.n, 0.0L);
                for (size_t i = 0; i < n; i++) {
                    if (block.column[i] >= 0)
                        norm[(size_t)block.column[i]] += (long double)v[i] * v[i];
                    for (size_t j = 0; j < n; j++)
                        if (block.column[i] >= 0 && block.column[i] == block.column[j])
                            whole[i * n + j] += (long double)v[i] * v[j];
                }
                for (long double squared : norm)
                    EXPECT_NEAR((double)squared, 1.0, 1e-15) << "system " << k;
            }
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < n; j++)
                ASSERT_NEAR((double)whole[i * n + j], i == j ? 1.0 : 0.0, 1e-15) << "system " << k;
    }
}

TEST_F(SpinSplits, SayWhatTheySave)
{
    const SpinSystem system =
        lettered("AAAB", {1, 1, 1, 1}, FULL, {{1, 4, 7}, {2, 4, 7}, {3, 4, 7}});
    const SparseSystem whole = sparse_spins(system);
    const SpinSplit split = split_of(system);
    // 16 states with 16·4 flips and 3·8 flip-flops
    EXPECT_EQ(application_work(whole), 16 * (16 + 64 + 24));
    // 8 states with 2·(3·2 + 4) flips and 2·3 flip-flops, 4 states with 2·(2 + 2) and 2·1
    EXPECT_EQ(application_work(split), 8 * (8 + 20 + 6) + 4 * (4 + 8 + 2));
    // 20 of 64 elements of the set differ, each four times for the other spin
    EXPECT_EQ(split.groups[0].leader.size(), 80u);
    EXPECT_EQ(assembly_work(split), (int64_t)split.groups[0].terms.size() + 256 - 80);
    EXPECT_EQ(assembly_scratch(split), 0);
    const SpinSplit three = split_of(lettered("ABC", {1, 1, 2}, FULL, {}));
    EXPECT_EQ(assembly_work(three), 16 + 144);
    EXPECT_EQ(assembly_scratch(three), 16);
}

// ------------------------------------------------------------------ what does not fit

namespace
{

// Splits a changed copy of three uncoupled spins; two_i as they are without the change.
std::string outline_after(void (*change)(SparseSystem *, std::vector<int> *))
{
    std::vector<int> two_i = {1, 1, 1};
    SparseSystem whole = sparse_spins(lettered("ABC", two_i, FULL, {}));
    change(&whole, &two_i);
    SpinSplit split;
    split_spin_system(whole, (int)two_i.size(), two_i.data(), &split);
    EXPECT_EQ(split.n, 8);
    return outline(split);
}

} // namespace

TEST_F(SpinSplits, LeaveASystemOfAnotherKindWhole)
{
    typedef SparseSystem S;
    typedef std::vector<int> I;
    EXPECT_EQ(outline_after([](S *, I *) {}), "2x1 | 2x1 | 2x1");
    EXPECT_EQ(outline_after([](S *, I *two_i) { *two_i = {3, 1}; }), "8x1"); // m does not fit
    EXPECT_EQ(outline_after([](S *, I *two_i) { *two_i = {1, 1}; }), "8x1");
    EXPECT_EQ(outline_after([](S *, I *two_i) { two_i->push_back(1); }), "8x1");
    EXPECT_EQ(outline_after([](S *, I *two_i) { two_i->clear(); }), "8x1");
    EXPECT_EQ(outline_after([](S *, I *two_i) { *two_i = {-1, 1, 1}; }), "8x1");
    EXPECT_EQ(outline_after([](S *, I *two_i) { (*two_i)[1] = 1 << 30; }), "8x1");
    // a term of three spins on the diagonal
    EXPECT_EQ(outline_after([](S *s, I *) {
                  for (size_t i = 0; i < 8; i++)
                      s->d[i] += (i ^ i >> 1 ^ i >> 2) & 1 ? 2.0 : -2.0;
              }),
              "8x1");
    EXPECT_EQ(outline_after([](S *s, I *) { s->d[3] = std::numeric_limits<double>::quiet_NaN(); }),
              "8x1");
    // a flip that depends on the other spins, and one that is missing there
    EXPECT_EQ(outline_after([](S *s, I *) { s->flip[5] *= 1.0 + 1e-14; }), "8x1");
    EXPECT_EQ(outline_after([](S *s, I *) {
                  s->row.pop_back();
                  s->fixed.pop_back();
                  s->flip.pop_back();
                  s->start.back()--;
              }),
              "8x1");
    // a flip-flop of two spins
    EXPECT_EQ(outline_after([](S *s, I *) {
                  s->row[0] = 3;
                  s->fixed[0] = 1.0;
              }),
              "8x1");
}
