// propagatorlib_lanes_job.h - what the kernels of propagatorlib work on. Plain data, as it is seen
// by sources of different instruction sets.
#ifndef ZAN_PROPAGATORLIB_LANES_JOB_H
#define ZAN_PROPAGATORLIB_LANES_JOB_H

#include "lanekernels.h"

#include <cstddef>

// One step as the lanes see it.
struct Step {
    bool free;
    double b, tau;
    int substeps, terms;
    const double *series;                // coefficients 0..terms
    const double *turn;                  // level phases (re, im) before the step; null: none
    const double *offset;                // with RF: g of every lane, rad/s
    const double *blocks_re, *blocks_im; // without: block after block, by rows
    const double *free_phase;            // without: [level][re, im][lane]
};

// ROWS bundles of rows of propagators, each row through all steps by itself. Lane l of bundle r
// starts as row rows[r][l] of the unit matrix and lives at the position whose offsets the steps
// hold in lane l.
enum { MOST_ROWS = 4 };

struct LaneJob {
    int n, components;
    const double *d, *m;
    const int *level, *first, *member;
    const int *start, *row;
    const double *fixed, *flip;
    const Step *steps;
    int step_count;
    const double *last_turn; // level phases after the last step
    int bundles;             // 1, 2 or MOST_ROWS
    int rows[MOST_ROWS][MOST_LANES];
    double *out;  // [column][bundle][re, im][lane]
    double *work; // aligned to 64 bytes, lane_work_size() doubles
};

void propagate_lanes_baseline(const LaneJob &job);
void propagate_lanes_avx2(const LaneJob &job);
void propagate_lanes_avx512(const LaneJob &job);

// One density matrix: rho <- P†·rho·P, P given by components of states that it joins.
struct RotationJob {
    int n, width; // width: n filled up to whole vectors
    int components;
    const int *first, *member; // as in SparseSystem
    const double *weight;      // component after component by rows: re, im of P
    double *rho;               // packed
    double *work;              // 4·n·width doubles, aligned to 64 bytes, zero at first
};

void rotate_lanes_baseline(const RotationJob &job);
void rotate_lanes_avx2(const RotationJob &job);
void rotate_lanes_avx512(const RotationJob &job);

#endif
