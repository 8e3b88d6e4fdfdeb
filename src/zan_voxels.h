// zan_voxels.h - what voxels share in a spatial sector: the propagator of voxels at the same place
// along the sector's gradients, and the result of voxels that also hold the same matrix.
#ifndef ZAN_VOXELS_H
#define ZAN_VOXELS_H

#include "propagatorlib.h"

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

// Axes of the grid, for a set of them that matters.
struct Axes {
    bool x, y, z;
};

// Voxel number v from 0: z runs fastest, then y, then x. Lengths in cm.
struct VoxelGrid {
    int nx, ny, nz;
    double x0, y0, z0, dx, dy, dz;
};

int64_t voxels_of(const VoxelGrid &grid);
Position voxel_position(const VoxelGrid &grid, int64_t v);
// The same number for voxels that differ only along axes that do not matter.
int64_t voxel_key(const VoxelGrid &grid, const Axes &axes, int64_t v);
int64_t distinct_keys(const VoxelGrid &grid, const Axes &axes);

// Density matrices as they pass by.
struct Batch {
    int64_t size;                                // elements of one matrix
    int capacity;                                // matrices that fit
    int count;                                   // matrices read
    std::unique_ptr<std::complex<double>[]> rho; // packed, capacity of them
    std::unique_ptr<int[]> which;                // propagator of each; below 0: none
};

// ---- propagators ----

// Propagators are kept while they fit, then all are forgotten.
struct PropagatorCache {
    VoxelGrid grid;
    Axes axes; // along which the sector has gradients
    int capacity;
    bool holds_all;                        // every distinct position fits
    std::unordered_map<int64_t, int> slot; // by voxel key
    std::unique_ptr<std::complex<double>[]> propagators;
    std::vector<Position> missing; // of the batch at hand
};

// False when memory is short.
bool make_propagator_cache(const VoxelGrid &grid, const Axes &axes, const Batch &b,
                           PropagatorCache *cache);
// Fills b->which for the voxels from first on, making the propagators that are not there yet.
void find_propagators(const SectorField &field, int64_t first, PropagatorCache *cache, Batch *b);

// ---- histories ----

// Voxels that differ only along axes that no sector so far has used hold the same matrix: one of
// them is propagated, the others get its result. That they are the same is a guess: the bytes
// decide.
struct HistoryCache {
    VoxelGrid grid;
    Axes axes;    // along which matrices are expected to differ after the sector
    int capacity; // 0: every voxel is propagated
    std::unordered_map<int64_t, int> slot;           // by voxel key
    std::vector<std::complex<double>> before, after; // packed, by slot
    std::vector<int> made_by, same_as;               // of the batch: slots, -1: none
};

void make_history_cache(const VoxelGrid &grid, const Axes &axes, const Batch &b,
                        HistoryCache *cache);
// Before the rotation: takes b->which from voxels whose result is known or will be.
void find_histories(int64_t first, HistoryCache *cache, Batch *b);
// After it: keeps new results, and copies them.
void share_histories(HistoryCache *cache, Batch *b);

#endif
