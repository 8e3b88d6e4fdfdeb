// zan_voxels.cpp - see zan_voxels.h.

#include "zan_voxels.h"

#include "lanekernels.h"

#include <algorithm>
#include <cstring>
#include <new>

typedef std::complex<double> Complex;

static const int64_t PROPAGATOR_BYTES = 256 << 20; // propagators kept for later voxels
static const int64_t HISTORY_BYTES = 256 << 20;    // matrices kept for later voxels
static const int64_t MAX_KEPT = 65536;
static const int64_t LOOK_AHEAD = 4096; // voxels

// ------------------------------------------------------------------ the grid

int64_t voxels_of(const VoxelGrid &grid)
{
    return (int64_t)grid.nx * grid.ny * grid.nz;
}

Position voxel_position(const VoxelGrid &grid, int64_t v)
{
    const int64_t iz = v % grid.nz, iy = v / grid.nz % grid.ny, ix = v / grid.nz / grid.ny;
    return {(double)ix * grid.dx + grid.x0, (double)iy * grid.dy + grid.y0,
            (double)iz * grid.dz + grid.z0};
}

int64_t voxel_key(const VoxelGrid &grid, const Axes &axes, int64_t v)
{
    const int64_t iz = v % grid.nz, iy = v / grid.nz % grid.ny, ix = v / grid.nz / grid.ny;
    return ((axes.x ? ix : 0) * grid.ny + (axes.y ? iy : 0)) * grid.nz + (axes.z ? iz : 0);
}

int64_t distinct_keys(const VoxelGrid &grid, const Axes &axes)
{
    return (int64_t)(axes.x ? grid.nx : 1) * (axes.y ? grid.ny : 1) * (axes.z ? grid.nz : 1);
}

// ------------------------------------------------------------------ propagators

bool make_propagator_cache(const VoxelGrid &grid, const Axes &axes, const Batch &b,
                           PropagatorCache *cache)
{
    cache->grid = grid;
    cache->axes = axes;
    const int64_t distinct = distinct_keys(grid, axes);
    const int64_t fits =
        std::min({PROPAGATOR_BYTES / (b.size * (int64_t)sizeof(Complex)), MAX_KEPT, distinct});
    cache->capacity = (int)std::max(fits, (int64_t)b.capacity);
    cache->holds_all = distinct <= cache->capacity;
    cache->propagators.reset(new (std::nothrow) Complex[(size_t)(b.size * cache->capacity)]);
    return cache->propagators != nullptr;
}

// The slot of voxel v; a new one is for the next of the missing positions.
static int find_slot(PropagatorCache *cache, int known, int64_t v)
{
    const auto [entry, added] = cache->slot.try_emplace(voxel_key(cache->grid, cache->axes, v),
                                                        known + (int)cache->missing.size());
    if (added)
        cache->missing.push_back(voxel_position(cache->grid, v));
    return entry->second;
}

// Later voxels join until the positions fill whole vectors.
static void look_ahead(int known, int64_t next, PropagatorCache *cache)
{
    const int64_t end = std::min(voxels_of(cache->grid), next + LOOK_AHEAD);
    for (int64_t v = next; v < end && cache->missing.size() % (2 * MOST_LANES) != 0; v++)
        find_slot(cache, known, v);
}

// Voxels of the batch whose propagator is not kept.
static int64_t count_unknown(const PropagatorCache &cache, int64_t first, int count)
{
    int64_t unknown = 0;
    for (int v = 0; v < count; v++)
        unknown += cache.slot.count(voxel_key(cache.grid, cache.axes, first + v)) == 0;
    return unknown;
}

void find_propagators(const SectorField &field, int64_t first, PropagatorCache *cache, Batch *b)
{
    if (!cache->holds_all &&
        (int64_t)cache->slot.size() + count_unknown(*cache, first, b->count) > cache->capacity)
        cache->slot.clear();
    const int known = (int)cache->slot.size();
    cache->missing.clear();
    for (int v = 0; v < b->count; v++)
        b->which.get()[v] = find_slot(cache, known, first + v);
    if (cache->holds_all)
        look_ahead(known, first + b->count, cache);
    SectorPropagators(field, cache->missing.data(), (int)cache->missing.size(),
                      cache->propagators.get() + known * b->size);
}

// ------------------------------------------------------------------ histories

void make_history_cache(const VoxelGrid &grid, const Axes &axes, const Batch &b,
                        HistoryCache *cache)
{
    cache->grid = grid;
    cache->axes = axes;
    const int64_t distinct = distinct_keys(grid, axes);
    const int64_t fits = HISTORY_BYTES / (2 * b.size * (int64_t)sizeof(Complex));
    cache->capacity = distinct < voxels_of(grid) ? (int)std::min(distinct, fits) : 0;
    cache->made_by.resize((size_t)b.capacity);
    cache->same_as.resize((size_t)b.capacity);
}

void find_histories(int64_t first, HistoryCache *cache, Batch *b)
{
    for (int v = 0; v < b->count && cache->capacity > 0; v++) {
        const Complex *rho = b->rho.get() + v * b->size;
        const size_t bytes = (size_t)b->size * sizeof *rho;
        int &made_by = cache->made_by[(size_t)v], &same_as = cache->same_as[(size_t)v];
        made_by = same_as = -1;
        const int64_t key = voxel_key(cache->grid, cache->axes, first + v);
        const auto known = cache->slot.find(key);
        if (known != cache->slot.end()) {
            const Complex *before = cache->before.data() + known->second * b->size;
            if (std::memcmp(before, rho, bytes) == 0) {
                same_as = known->second;
                b->which.get()[v] = -1;
            }
        } else if ((int)cache->slot.size() < cache->capacity) {
            made_by = (int)cache->slot.size();
            cache->slot.emplace(key, made_by);
            cache->before.insert(cache->before.end(), rho, rho + b->size);
            cache->after.resize(cache->before.size());
        }
    }
}

void share_histories(HistoryCache *cache, Batch *b)
{
    for (int v = 0; v < b->count && cache->capacity > 0; v++) {
        Complex *rho = b->rho.get() + v * b->size;
        const int made_by = cache->made_by[(size_t)v], same_as = cache->same_as[(size_t)v];
        if (made_by >= 0)
            std::copy_n(rho, b->size, cache->after.data() + made_by * b->size);
        if (same_as >= 0)
            std::copy_n(cache->after.data() + same_as * b->size, b->size, rho);
    }
}
