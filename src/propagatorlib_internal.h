// propagatorlib_internal.h - what the rooms of propagatorlib share: the sparse form of a sector,
// its plan (the samples as steps), and the jobs that the vector kernels take.
#ifndef ZAN_PROPAGATORLIB_INTERNAL_H
#define ZAN_PROPAGATORLIB_INTERNAL_H

#include "lanekernels.h"
#include "propagatorlib.h"

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

// ------------------------------------------------------------------ the spin system

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

// ------------------------------------------------------------------ the plan of a sector

// Samples first..last-1 as one step, the same at every position. With RF: exp(-i·H·T) as substeps
// polynomials in H·tau, T = substeps·tau. Without: exp(-i·(diag(d)+F)·T) in blocks, then a phase
// per state and position.
struct PlannedStep {
    int first, last;
    bool free;    // no RF
    double b;     // rad/s
    double tau;   // with RF: of a substep, s; without: of a sample
    int substeps; // with RF
    int terms;    // with RF: degree of the polynomial
    int series;   // with RF: offset into the table of coefficients
    int turn;     // offset into the table of turns, -1: none
    int blocks;   // without: offset into the table of blocks
};

struct SectorPlan {
    SectorField field;
    SparseSystem system;
    std::vector<PlannedStep> steps;
    std::vector<double> series;               // polynomial coefficients
    std::vector<double> turns;                // [turn][level][re, im]
    std::vector<double> blocks_re, blocks_im; // propagators without RF
    int last_turn;
};

// False when the operators have another form.
bool make_sector_plan(const SectorField &field, SectorPlan *plan);

// Of sample k, rad/s.
double sample_offset(const SectorField &f, const Position &at, int k);

// ------------------------------------------------------------------ kernels

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

inline size_t lane_work_size(int n, int bundles, int lanes, size_t elements)
{
    return (size_t)(6 * bundles + 1) * (size_t)n * (size_t)lanes + elements;
}

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

struct AlignedFree {
    void operator()(double *p) const { ::operator delete[](p, std::align_val_t{64}); }
};
typedef std::unique_ptr<double[], AlignedFree> AlignedDoubles;

inline AlignedDoubles aligned_doubles(size_t count)
{
    return AlignedDoubles(
        static_cast<double *>(::operator new[](count * sizeof(double), std::align_val_t{64})));
}

// SectorPropagators by one kernel; false when the operators have another form.
bool propagate_fast(LaneKernel kernel, const SectorField &field, const Position *positions,
                    int count, std::complex<double> *propagators);
// RotateDensities by one kernel. Both throw std::bad_alloc.
void rotate_fast(LaneKernel kernel, int n, const std::complex<double> *propagators,
                 const int *which, int count, std::complex<double> *rho);

#endif
