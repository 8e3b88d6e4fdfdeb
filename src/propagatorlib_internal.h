// propagatorlib_internal.h - what the rooms of propagatorlib share: the sector in the form that
// the vector kernels take, eight positions to a vector.
#ifndef ZAN_PROPAGATORLIB_INTERNAL_H
#define ZAN_PROPAGATORLIB_INTERNAL_H

#include "propagatorlib.h"

#include <cstddef>
#include <vector>

enum { LANES = 8 };

// H = diag(d) + g·diag(m) + F + b·X in the frame of the RF phase: real and symmetric. F are the
// flips of full coupling (m kept), X = Ix (m changed by one). Columns j hold elements
// start[j]..start[j+1]-1: row[e], fixed[e] of F and flip[e] of X. States count from 0.
struct SparseSystem {
    int n = 0;
    std::vector<double> d, m;    // rad/s, and total Iz of each state
    std::vector<int> level;      // index of the state's m among the distinct ones
    std::vector<double> level_m; // the distinct values of m
    std::vector<int> start, row;
    std::vector<double> fixed, flip;
    // States that F joins, for the propagator without RF: component c holds the states
    // member[first[c]]..member[first[c+1]-1].
    std::vector<int> first, member, component;
};

// False when the operators do not have this form; then only the plain path serves.
bool make_sparse_system(const SectorField &field, SparseSystem *s);

// One or more samples at once. With RF: exp(-i·H·tau) as substeps Taylor series of terms terms.
// Without: exp(-i·(diag(d)+F)·T) in blocks, then a phase per state and position.
struct Step {
    bool free;  // no RF
    double b;   // rad/s
    double tau; // of one substep, s
    int substeps, terms;
    const double *turn;                  // level phases (re, im) before the step; null: none
    const double *offset;                // with RF: g of every lane, rad/s
    const double *blocks_re, *blocks_im; // without: block after block, by rows
    const double *free_phase;            // without: [level][re, im][lane]
};

// A bundle of eight rows of propagators, each through all steps by itself: lane l starts as row
// rows[l] of the unit matrix and lives at the position whose offsets the steps hold in lane l.
struct LaneJob {
    int n, components;
    const double *d, *m;
    const int *level, *start, *row, *first, *member;
    const double *fixed, *flip;
    const Step *steps;
    int step_count;
    const double *last_turn; // level phases after the last step
    int rows[LANES];
    double *out;  // [column][re, im][lane]
    double *work; // aligned to 64 bytes, lane_work_size() doubles
};

inline size_t lane_work_size(int n, size_t elements)
{
    return 7 * (size_t)n * LANES + elements;
}

// The same kernel for three instruction sets; the last two need a machine that has them.
void propagate_lanes_baseline(const LaneJob &job);
void propagate_lanes_avx2(const LaneJob &job);
void propagate_lanes_avx512(const LaneJob &job);

enum LaneKernel { LANES_BASELINE, LANES_AVX2, LANES_AVX512 };
bool lane_kernel_runs_here(LaneKernel kernel);

// SectorPropagators by one kernel; false when the operators have another form or memory is short.
bool propagate_fast(LaneKernel kernel, const SectorField &field, const Position *positions,
                    int count, std::complex<double> *propagators);

#endif
