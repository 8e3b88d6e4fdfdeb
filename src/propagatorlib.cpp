// propagatorlib.cpp - propagators of a sector by the fast path: the few nonzeros of H
// (propagatorlib_sparse), samples joined where they can be, and the vector kernels
// (propagatorlib_lanes.h) eight rows at a time. Other operators go the plain way.

#include "propagatorlib_internal.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

void pack_matrix(int n, const CMatrix *mat, std::complex<double> *packed)
{
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            *packed++ = {(*mat)[i][j][COMPLEX_RE], (*mat)[i][j][COMPLEX_IM]};
}

void unpack_matrix(int n, const std::complex<double> *packed, CMatrix *mat)
{
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++, packed++) {
            (*mat)[i][j][COMPLEX_RE] = packed->real();
            (*mat)[i][j][COMPLEX_IM] = packed->imag();
        }
}

// ------------------------------------------------------------------ the plan of a sector

// Samples first..last-1 as one step, the same at every position.
struct PlannedStep {
    int first, last;
    bool free;
    double b;   // rad/s
    double tau; // of a substep, s
    int substeps, terms;
    int turn;   // offset into the table of turns, -1: none
    int blocks; // offset into the table of blocks
};

struct SectorPlan {
    const SectorField *field;
    SparseSystem system;
    std::vector<PlannedStep> steps;
    std::vector<double> turns;                // [turn][level][re, im]
    std::vector<double> blocks_re, blocks_im; // propagators without RF
    int last_turn;
};

// ---- how many terms ----

static const double LONGEST_SUBSTEP = 2.5; // norm times tau: the terms still cancel harmlessly
static const double SERIES_END = 1e-17;    // the first term left out

static int series_terms(double x)
{
    double term = x;
    int terms = 1;
    while (term > SERIES_END && terms < 60) {
        terms++;
        term *= x / terms;
    }
    return terms;
}

// Largest |g| of sample k anywhere in the box: it is linear, so a corner has it.
static double largest_offset(const SectorField &f, int k)
{
    if (!f.gx)
        return std::fabs(f.offset);
    double largest = 0.0;
    for (double x : {f.low.x, f.high.x})
        for (double y : {f.low.y, f.high.y})
            for (double z : {f.low.z, f.high.z})
                largest = std::max(largest,
                                   std::fabs(f.gx[k] * x + f.gy[k] * y + f.gz[k] * z + f.offset));
    return largest;
}

// A bound of the norm of H: the largest sum over a column.
static double norm_bound(const SparseSystem &s, double g, double b)
{
    double largest = 0.0;
    for (int j = 0; j < s.n; j++) {
        double sum = std::fabs(s.d[(size_t)j]) + g * std::fabs(s.m[(size_t)j]);
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++)
            sum += std::fabs(s.fixed[(size_t)e]) + b * std::fabs(s.flip[(size_t)e]);
        largest = std::max(largest, sum);
    }
    return largest;
}

// ---- turns of the RF phase ----

// exp(-i·angle·m) for every level.
static int add_turn(SectorPlan *plan, double angle)
{
    const int at = (int)plan->turns.size();
    for (double m : plan->system.level_m) {
        plan->turns.push_back(std::cos(angle * m));
        plan->turns.push_back(-std::sin(angle * m));
    }
    return at;
}

// ---- evolution without RF ----

// The eigenvectors and eigenvalues of diag(d) + F, component by component.
struct FreeEigen {
    std::vector<Eigen::MatrixXd> vectors;
    std::vector<Eigen::VectorXd> values;
};

static Eigen::MatrixXd component_matrix(const SparseSystem &s, size_t c)
{
    const int begin = s.first[c], size = s.first[c + 1] - begin;
    Eigen::MatrixXd A = Eigen::MatrixXd::Zero(size, size);
    for (int b = 0; b < size; b++) {
        const int j = s.member[(size_t)(begin + b)];
        A(b, b) = s.d[(size_t)j];
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
            const auto from = s.member.begin() + begin, to = from + size;
            const auto found = std::lower_bound(from, to, s.row[(size_t)e]);
            if (s.fixed[(size_t)e] != 0.0)
                A(found - from, b) = s.fixed[(size_t)e];
        }
    }
    return A;
}

static FreeEigen diagonalise(const SparseSystem &s)
{
    FreeEigen eigen;
    for (size_t c = 0; c + 1 < s.first.size(); c++) {
        const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(component_matrix(s, c));
        eigen.vectors.push_back(solver.eigenvectors());
        eigen.values.push_back(solver.eigenvalues());
    }
    return eigen;
}

// exp(-i·(diag(d) + F)·T) as blocks by rows.
static int add_blocks(SectorPlan *plan, const FreeEigen &eigen, double T)
{
    const int at = (int)plan->blocks_re.size();
    for (size_t c = 0; c < eigen.vectors.size(); c++) {
        const Eigen::MatrixXd &V = eigen.vectors[c];
        const Eigen::VectorXd angle = eigen.values[c] * T;
        const Eigen::MatrixXd re = V * angle.array().cos().matrix().asDiagonal() * V.transpose();
        const Eigen::MatrixXd im = V * angle.array().sin().matrix().asDiagonal() * V.transpose();
        for (Eigen::Index a = 0; a < V.rows(); a++)
            for (Eigen::Index b = 0; b < V.rows(); b++) {
                plan->blocks_re.push_back(re(a, b));
                plan->blocks_im.push_back(-im(a, b));
            }
    }
    return at;
}

// ---- samples into steps ----

static double rf_amplitude(const SectorField &f, int k)
{
    return std::hypot(f.xb[k], f.yb[k]);
}

static bool same_sample(const SectorField &f, int j, int k)
{
    return f.xb[j] == f.xb[k] && f.yb[j] == f.yb[k] &&
           (!f.gx || (f.gx[j] == f.gx[k] && f.gy[j] == f.gy[k] && f.gz[j] == f.gz[k]));
}

// The end of the samples from first on that are one step: all without RF, or all equal.
static int end_of_step(const SectorField &f, int first, bool free)
{
    int k = first + 1;
    while (k < f.ap && (free ? rf_amplitude(f, k) == 0.0 : same_sample(f, first, k)))
        k++;
    return k;
}

static PlannedStep plan_driven(SectorPlan *plan, int first, int last, double *phase)
{
    const SectorField &f = *plan->field;
    const double wanted = std::atan2(f.yb[first], f.xb[first]);
    const double b = rf_amplitude(f, first), T = (last - first) * f.tau;
    const double x = norm_bound(plan->system, largest_offset(f, first), b) * std::fabs(T);
    const int substeps = std::max(1, (int)std::ceil(x / LONGEST_SUBSTEP));
    const int turn = wanted == *phase ? -1 : add_turn(plan, wanted - *phase);
    *phase = wanted;
    return {first, last, false, b, T / substeps, substeps, series_terms(x / substeps), turn, 0};
}

static void plan_steps(SectorPlan *plan)
{
    const SectorField &f = *plan->field;
    FreeEigen eigen;
    double phase = 0.0;
    int known_length = 0, known_blocks = 0;
    for (int first = 0, last; first < f.ap; first = last) {
        const bool free = rf_amplitude(f, first) == 0.0;
        last = end_of_step(f, first, free);
        if (!free) {
            plan->steps.push_back(plan_driven(plan, first, last, &phase));
            continue;
        }
        if (eigen.vectors.empty())
            eigen = diagonalise(plan->system);
        if (last - first != known_length) {
            known_length = last - first;
            known_blocks = add_blocks(plan, eigen, known_length * f.tau);
        }
        plan->steps.push_back({first, last, true, 0.0, f.tau, 1, 0, -1, known_blocks});
    }
    plan->last_turn = add_turn(plan, -phase);
}

// ------------------------------------------------------------------ positions into lanes

// The steps with the offsets of the positions in the lanes.
struct LaneSteps {
    std::vector<Step> steps;
    std::vector<double> values; // per step LANES offsets, or 2·LANES per level
};

static double sample_offset(const SectorField &f, const Position &at, int k)
{
    if (!f.gx)
        return f.offset;
    return f.gx[k] * at.x + f.gy[k] * at.y + f.gz[k] * at.z + f.offset;
}

static double offset_sum(const SectorField &f, const Position &at, int first, int last)
{
    double sum = 0.0;
    for (int k = first; k < last; k++)
        sum += sample_offset(f, at, k);
    return sum;
}

static size_t values_of(const SectorPlan &plan, const PlannedStep &p)
{
    return p.free ? (size_t)(2 * LANES) * plan.system.level_m.size() : (size_t)LANES;
}

static void fill_lane(const SectorPlan &plan, const PlannedStep &p, const Position &at, int lane,
                      double *values)
{
    const SectorField &f = *plan.field;
    if (!p.free) {
        values[lane] = sample_offset(f, at, p.first);
        return;
    }
    const double angle = offset_sum(f, at, p.first, p.last) * f.tau;
    for (double m : plan.system.level_m) {
        values[lane] = std::cos(angle * m);
        values[LANES + lane] = -std::sin(angle * m);
        values += (size_t)(2 * LANES);
    }
}

// at[lane] are the positions of the lanes.
static void fill_lanes(const SectorPlan &plan, const Position *const *at, LaneSteps *lanes)
{
    size_t total = 0;
    for (const PlannedStep &p : plan.steps)
        total += values_of(plan, p);
    lanes->values.resize(total);
    lanes->steps.clear();
    double *values = lanes->values.data();
    for (const PlannedStep &p : plan.steps) {
        for (int lane = 0; lane < LANES; lane++)
            fill_lane(plan, p, *at[lane], lane, values);
        lanes->steps.push_back({p.free, p.b, p.tau, p.substeps, p.terms,
                                p.turn < 0 ? nullptr : plan.turns.data() + p.turn, values,
                                plan.blocks_re.data() + p.blocks, plan.blocks_im.data() + p.blocks,
                                values});
        values += values_of(plan, p);
    }
}

// ------------------------------------------------------------------ running the kernels

bool lane_kernel_runs_here(LaneKernel kernel)
{
    // On Windows g++ does not align vectors this wide on the stack: the baseline serves there.
#if defined(__x86_64__) && !defined(_WIN32)
    if (kernel == LANES_AVX512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512dq");
    if (kernel == LANES_AVX2)
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#endif
    return kernel == LANES_BASELINE;
}

static LaneKernel best_kernel(void)
{
    for (LaneKernel kernel : {LANES_AVX512, LANES_AVX2})
        if (lane_kernel_runs_here(kernel))
            return kernel;
    return LANES_BASELINE;
}

static void propagate_lanes(LaneKernel kernel, const LaneJob &job)
{
    switch (kernel) {
    case LANES_AVX512:
        propagate_lanes_avx512(job);
        break;
    case LANES_AVX2:
        propagate_lanes_avx2(job);
        break;
    case LANES_BASELINE:
        propagate_lanes_baseline(job);
        break;
    }
}

struct AlignedFree {
    void operator()(double *p) const { ::operator delete[](p, std::align_val_t{64}); }
};
typedef std::unique_ptr<double[], AlignedFree> AlignedDoubles;

static AlignedDoubles aligned_doubles(size_t count)
{
    return AlignedDoubles(static_cast<double *>(
        ::operator new[](count * sizeof(double), std::align_val_t{64}, std::nothrow)));
}

static LaneJob make_job(const SectorPlan &plan, double *work, double *out)
{
    const SparseSystem &s = plan.system;
    LaneJob job = {};
    job.n = s.n;
    job.components = (int)s.first.size() - 1;
    job.d = s.d.data();
    job.m = s.m.data();
    job.level = s.level.data();
    job.start = s.start.data();
    job.row = s.row.data();
    job.first = s.first.data();
    job.member = s.member.data();
    job.fixed = s.fixed.data();
    job.flip = s.flip.data();
    job.last_turn = plan.turns.data() + plan.last_turn;
    job.work = work;
    job.out = out;
    return job;
}

static void run_bundle(LaneKernel kernel, LaneJob *job, const LaneSteps &lanes)
{
    job->steps = lanes.steps.data();
    job->step_count = (int)lanes.steps.size();
    propagate_lanes(kernel, *job);
}

// Lane l of the bundle to row rows[l] of a propagator.
static void take_row(const LaneJob &job, int lane, std::complex<double> *propagator)
{
    std::complex<double> *row = propagator + (int64_t)job.rows[lane] * job.n;
    for (int j = 0; j < job.n; j++)
        row[j] = {job.out[2 * LANES * j + lane], job.out[2 * LANES * j + LANES + lane]};
}

// Eight positions, row after row; with fewer than eight the last fills the other lanes.
static void positions_as_lanes(LaneKernel kernel, const SectorPlan &plan, const Position *positions,
                               int count, LaneJob *job, LaneSteps *lanes,
                               std::complex<double> *propagators)
{
    const Position *at[LANES];
    for (int l = 0; l < LANES; l++)
        at[l] = &positions[std::min(l, count - 1)];
    fill_lanes(plan, at, lanes);
    for (int r = 0; r < job->n; r++) {
        std::fill_n(job->rows, (int)LANES, r);
        run_bundle(kernel, job, *lanes);
        for (int l = 0; l < count; l++)
            take_row(*job, l, propagators + (int64_t)l * job->n * job->n);
    }
}

// One position, eight rows at a time.
static void rows_as_lanes(LaneKernel kernel, const SectorPlan &plan, const Position &position,
                          LaneJob *job, LaneSteps *lanes, std::complex<double> *propagator)
{
    const Position *at[LANES];
    std::fill_n(at, (int)LANES, &position);
    fill_lanes(plan, at, lanes);
    for (int r = 0; r < job->n; r += LANES) {
        for (int l = 0; l < LANES; l++)
            job->rows[l] = std::min(r + l, job->n - 1);
        run_bundle(kernel, job, *lanes);
        for (int l = 0; l < LANES; l++)
            take_row(*job, l, propagator);
    }
}

// The series of every sample suffice for the positions in the box: it must hold them all.
static SectorField with_whole_box(const SectorField &field, const Position *positions, int count)
{
    SectorField f = field;
    for (int p = 0; p < count; p++) {
        f.low = {std::min(f.low.x, positions[p].x), std::min(f.low.y, positions[p].y),
                 std::min(f.low.z, positions[p].z)};
        f.high = {std::max(f.high.x, positions[p].x), std::max(f.high.y, positions[p].y),
                  std::max(f.high.z, positions[p].z)};
    }
    return f;
}

bool propagate_fast(LaneKernel kernel, const SectorField &asked, const Position *positions,
                    int count, std::complex<double> *propagators)
{
    SectorPlan plan;
    const SectorField field = with_whole_box(asked, positions, count);
    plan.field = &field;
    if (!make_sparse_system(field, &plan.system))
        return false;
    plan_steps(&plan);
    const int n = field.n, bundles_of_rows = (n + LANES - 1) / LANES;
    const AlignedDoubles work = aligned_doubles(lane_work_size(n, plan.system.row.size()));
    const AlignedDoubles out = aligned_doubles((size_t)(2 * LANES) * (size_t)n);
    if (!work || !out)
        return false;
    LaneJob job = make_job(plan, work.get(), out.get());
    LaneSteps lanes;
    for (int p = 0; p < count;) {
        const int together = std::min(count - p, (int)LANES);
        std::complex<double> *to = propagators + (int64_t)p * n * n;
        if (n < together * bundles_of_rows) {
            positions_as_lanes(kernel, plan, positions + p, together, &job, &lanes, to);
            p += together;
        } else {
            rows_as_lanes(kernel, plan, positions[p], &job, &lanes, to);
            p++;
        }
    }
    return true;
}

void SectorPropagators(const SectorField &field, const Position *positions, int count,
                       std::complex<double> *propagators)
{
    if (count < 1)
        return;
    static const LaneKernel kernel = best_kernel();
    if (!propagate_fast(kernel, field, positions, count, propagators))
        SectorPropagatorsPlain(field, positions, count, propagators);
}

void RotateDensities(int n, const std::complex<double> *propagators, const int *which, int count,
                     std::complex<double> *rho)
{
    RotateDensitiesPlain(n, propagators, which, count, rho);
}
