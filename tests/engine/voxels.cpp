// voxels.cpp - what voxels of a grid share: keys, propagators kept and looked up ahead, results of
// voxels that hold the same matrix; and that memory does not grow with the grid.

#include "engine_fixture.h"

#include "zan_voxels.h"

#include <algorithm>

using Voxels = EngineTest;

namespace
{

const VoxelGrid grid = {2, 3, 4, -1.0, 0.5, 10.0, 0.1, 0.2, 0.3};
const VoxelGrid huge = {256, 256, 256, 0.0, 0.0, 0.0, 0.1, 0.1, 0.1};

void make_batch(int n, int capacity, Batch *b)
{
    b->size = (int64_t)n * n;
    b->capacity = b->count = capacity;
    b->rho.reset(new Complex[(size_t)(b->size * capacity)]());
    b->which.reset(new int[(size_t)capacity]());
}

SectorField one_spin(CMatrix *H0, const Waveform &w)
{
    build_spins({{1}, {1}, {30.0}, 1, {}});
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, H0);
    SectorField f = {};
    f.n = rt.n;
    f.H0 = H0;
    f.Izgrad = &rt.Izgrad;
    f.Ixtot = &rt.Ixtot;
    f.Iytot = &rt.Iytot;
    f.ap = (int)w.xb.size();
    f.tau = 1e-4;
    f.xb = w.xb.data();
    f.yb = w.yb.data();
    f.gx = w.gx.data();
    f.gy = w.gy.data();
    f.gz = w.gz.data();
    return f;
}

} // namespace

TEST_F(Voxels, RunFastestAlongZ)
{
    const Position at = voxel_position(grid, 1 * 12 + 2 * 4 + 3);
    EXPECT_DOUBLE_EQ(at.x, -0.9);
    EXPECT_DOUBLE_EQ(at.y, 0.9);
    EXPECT_DOUBLE_EQ(at.z, 10.9);
    EXPECT_EQ(voxels_of(grid), 24);
    EXPECT_EQ(voxels_of(huge), 16777216);
}

TEST_F(Voxels, HaveOneKeyWhereOnlyOtherAxesDiffer)
{
    const struct {
        Axes axes;
        int64_t distinct;
    } cases[] = {{{false, false, false}, 1}, {{true, false, false}, 2}, {{false, true, false}, 3},
                 {{false, false, true}, 4},  {{true, false, true}, 8},  {{true, true, true}, 24}};
    for (const auto &c : cases) {
        EXPECT_EQ(distinct_keys(grid, c.axes), c.distinct);
        std::unordered_map<int64_t, Position> seen;
        for (int64_t v = 0; v < voxels_of(grid); v++) {
            const Position at = voxel_position(grid, v);
            const Position &first = seen.try_emplace(voxel_key(grid, c.axes, v), at).first->second;
            EXPECT_TRUE(!c.axes.x || first.x == at.x);
            EXPECT_TRUE(!c.axes.y || first.y == at.y);
            EXPECT_TRUE(!c.axes.z || first.z == at.z);
        }
        EXPECT_EQ((int64_t)seen.size(), c.distinct);
    }
}

TEST_F(Voxels, GetThePropagatorOfTheirPlaceHoweverManyAreKept)
{
    static CMatrix H0;
    std::mt19937 random(31);
    const Waveform w = random_waveform(random, 5, true, false, true);
    const SectorField field = one_spin(&H0, w);
    for (bool holds_all : {true, false}) {
        Batch b;
        PropagatorCache cache;
        make_batch(rt.n, 5, &b);
        ASSERT_TRUE(make_propagator_cache(grid, {true, false, true}, b, &cache));
        EXPECT_EQ(cache.capacity, 8);
        if (!holds_all) {
            cache.capacity = 6;
            cache.holds_all = false;
        }
        for (int64_t first = 0; first < voxels_of(grid); first += b.count) {
            b.count = (int)std::min<int64_t>(5, voxels_of(grid) - first);
            find_propagators(field, first, &cache, &b);
            for (int v = 0; v < b.count; v++) {
                const Position at = voxel_position(grid, first + v);
                std::vector<Complex> expected((size_t)b.size);
                SectorPropagators(field, &at, 1, expected.data());
                ASSERT_LT(b.which[v], cache.capacity);
                EXPECT_LE(largest_difference(expected.data(),
                                             cache.propagators.get() + b.which[v] * b.size,
                                             expected.size()),
                          1e-14)
                    << "voxel " << first + v;
            }
            EXPECT_LE(cache.slot.size(), (size_t)cache.capacity);
        }
    }
}

TEST_F(Voxels, AreLookedUpAheadSoThatVectorsFill)
{
    static CMatrix H0;
    std::mt19937 random(32);
    const VoxelGrid line = {1, 1, 40, 0.0, 0.0, 0.0, 0.1, 0.1, 0.1};
    const Waveform w = random_waveform(random, 3, false, false, true);
    const SectorField field = one_spin(&H0, w);
    Batch b;
    PropagatorCache cache;
    make_batch(rt.n, 1, &b);
    ASSERT_TRUE(make_propagator_cache(line, {false, false, true}, b, &cache));
    find_propagators(field, 0, &cache, &b);
    EXPECT_EQ(cache.slot.size(), 16u);
    find_propagators(field, 1, &cache, &b);
    EXPECT_EQ(cache.slot.size(), 16u);
    EXPECT_EQ(b.which[0], 1);
    find_propagators(field, 39, &cache, &b);
    EXPECT_EQ(cache.slot.size(), 17u);
}

TEST_F(Voxels, OfOneHistoryShareOneResultUnlessTheirBytesDiffer)
{
    HistoryCache cache;
    Batch b;
    make_batch(2, 8, &b); // two planes of z at ix = iy = 0, and at iy = 1
    make_history_cache(grid, {false, false, true}, b, &cache);
    ASSERT_EQ(cache.capacity, 4);
    for (int v = 0; v < 8; v++)
        b.rho[v * b.size] = v % 4;
    b.rho[6 * b.size + 3] = 1e-300; // not what its like at v = 2 holds
    find_histories(0, &cache, &b);
    for (int v = 0; v < 8; v++)
        EXPECT_EQ(b.which[v] < 0, v == 4 || v == 5 || v == 7) << v;
    for (int v = 0; v < 8; v++)
        if (b.which[v] >= 0)
            b.rho[v * b.size] = 10.0 + v; // propagated
    share_histories(&cache, &b);
    const double expected[] = {10, 11, 12, 13, 10, 11, 16, 13};
    for (int v = 0; v < 8; v++)
        EXPECT_EQ(b.rho[v * b.size], Complex(expected[v])) << v;
}

TEST_F(Voxels, TakeNoMoreMemoryForALargerGrid)
{
    const int64_t most = 256 << 20;
    for (int n : {2, 16, 256})
        for (const Axes &axes : {Axes{true, true, false}, Axes{true, true, true}}) {
            Batch b;
            PropagatorCache propagators;
            HistoryCache histories;
            make_batch(n, 4, &b);
            ASSERT_TRUE(make_propagator_cache(huge, axes, b, &propagators));
            EXPECT_LE(propagators.capacity * b.size * (int64_t)sizeof(Complex), most);
            EXPECT_LE(propagators.capacity, 65536);
            make_history_cache(huge, axes, b, &histories);
            EXPECT_LE(histories.capacity * 2 * b.size * (int64_t)sizeof(Complex), most);
            EXPECT_EQ(histories.capacity == 0, axes.z);
        }
}
