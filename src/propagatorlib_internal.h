// propagatorlib_internal.h - what the rooms of propagatorlib share: the sparse form of a sector,
// its plan (the samples as steps), and the jobs that the vector kernels take.
#ifndef ZAN_PROPAGATORLIB_INTERNAL_H
#define ZAN_PROPAGATORLIB_INTERNAL_H

#include "propagatorlib.h"
#include "propagatorlib_lanes_job.h"

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

// Fills level, level_m, first, member and component from the rest.
void list_levels_and_components(SparseSystem *s);

// The eigensystem of diag(d) + F. Component after component: values, and vectors by columns.
struct FreeEigen {
    std::vector<double> values, vectors;
};

FreeEigen diagonalise(const SparseSystem &s);
// exp(-i·(diag(d) + F)·T), component after component by rows, is appended.
void append_free_propagator(const SparseSystem &s, const FreeEigen &eigen, double T,
                            std::vector<double> *re, std::vector<double> *im);

struct SystemPart {
    SparseSystem sparse;
    FreeEigen free;
};

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
    const SectorField *field;
    const SystemPart *part; // of the spin system, or all of it
    std::vector<PlannedStep> steps;
    std::vector<double> series;               // polynomial coefficients
    std::vector<double> turns;                // [turn][level][re, im]
    std::vector<double> blocks_re, blocks_im; // propagators without RF
    int last_turn;
};

// False when a sample is so long that the squarings of the plain path are the faster way, and
// when an offset is not finite.
bool make_sector_plan(const SectorField &field, const SystemPart &part, SectorPlan *plan);

// ------------------------------------------------------------------ kernels

struct AlignedFree {
    void operator()(double *p) const { ::operator delete[](p, std::align_val_t{64}); }
};
typedef std::unique_ptr<double[], AlignedFree> AlignedDoubles;

inline AlignedDoubles aligned_doubles(size_t count)
{
    return AlignedDoubles(
        static_cast<double *>(::operator new[](count * sizeof(double), std::align_val_t{64})));
}

// Doubles of LaneJob.work.
inline size_t lane_work_size(int n, int bundles, int lanes, size_t elements)
{
    return (size_t)(6 * bundles + 1) * (size_t)n * (size_t)lanes + elements;
}

// SectorPropagators by one kernel; false when the operators have another form.
bool propagate_fast(LaneKernel kernel, const SectorField &field, const Position *positions,
                    int count, std::complex<double> *propagators);
// RotateDensities by one kernel. Both throw std::bad_alloc.
void rotate_fast(LaneKernel kernel, int n, const std::complex<double> *propagators,
                 const int *which, int count, std::complex<double> *rho);

#endif
