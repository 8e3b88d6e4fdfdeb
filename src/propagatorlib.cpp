// propagatorlib.cpp - propagators of a sector by the fast path: the spin system in parts
// (propagatorlib_system), its samples as steps (propagatorlib_plan), and rows and positions dealt
// out to the vector kernels (propagatorlib_lanes.h) on all cores. What does not suit them goes the
// plain way.

#include "propagatorlib_system.h"
#include "threads.h"

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

// ------------------------------------------------------------------ positions into lanes

// Of sample k, rad/s.
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

// Doubles that step p takes for every lane.
static size_t values_of(const SectorPlan &plan, const PlannedStep &p)
{
    return p.free ? 2 * plan.part->sparse.level_m.size() : 1;
}

static void fill_lane(const SectorPlan &plan, const PlannedStep &p, const Position &at, int lanes,
                      double *values)
{
    const SectorField &f = *plan.field;
    if (!p.free) {
        *values = sample_offset(f, at, p.first);
        return;
    }
    const double angle = offset_sum(f, at, p.first, p.last) * f.tau;
    for (double m : plan.part->sparse.level_m) {
        values[0] = std::cos(angle * m);
        values[lanes] = -std::sin(angle * m);
        values += 2 * lanes;
    }
}

namespace
{

// The steps with the offsets of the positions in the lanes.
struct LaneSteps {
    int positions_at = -1; // first of the positions that are in the lanes
    std::vector<Step> steps;
    std::vector<double> values; // of each step values_of() times the lanes
};

} // namespace

static void make_lane_steps(const SectorPlan &plan, int lanes, LaneSteps *s)
{
    size_t total = 0;
    for (const PlannedStep &p : plan.steps)
        total += values_of(plan, p) * (size_t)lanes;
    s->values.resize(total);
    const double *values = s->values.data();
    for (const PlannedStep &p : plan.steps) {
        s->steps.push_back({p.free, p.b, p.tau, p.substeps, p.terms, plan.series.data() + p.series,
                            p.turn < 0 ? nullptr : plan.turns.data() + p.turn, values,
                            plan.blocks_re.data() + p.blocks, plan.blocks_im.data() + p.blocks,
                            values});
        values += values_of(plan, p) * (size_t)lanes;
    }
}

// With fewer positions than lanes the last fills the others.
static void fill_lanes(const SectorPlan &plan, const Position *positions, int count, int lanes,
                       LaneSteps *s)
{
    double *values = s->values.data();
    for (const PlannedStep &p : plan.steps) {
        for (int l = 0; l < lanes; l++)
            fill_lane(plan, p, positions[std::min(l, count - 1)], lanes, values + l);
        values += values_of(plan, p) * (size_t)lanes;
    }
}

// ------------------------------------------------------------------ rows into jobs

namespace
{

// One job: bundles of rows from row on, with together positions across the lanes; or, when the
// positions are few, at one position with rows across the lanes.
struct Share {
    int first, together, row, bundles;
    bool rows_as_lanes;
};

} // namespace

// 1, 2 or MOST_ROWS.
static int bundles_for(int rows)
{
    return rows > 2 ? MOST_ROWS : rows;
}

static std::vector<Share> deal_out(int n, int count, int lanes)
{
    const int bundles_of_rows = (n + lanes - 1) / lanes;
    std::vector<Share> shares;
    for (int p = 0; p < count;) {
        const int positions = std::min(count - p, lanes);
        const bool rows_as_lanes = positions * bundles_of_rows < n;
        const int bundles = bundles_for(rows_as_lanes ? bundles_of_rows : n);
        const int step = rows_as_lanes ? bundles * lanes : bundles;
        const int together = rows_as_lanes ? 1 : positions;
        for (int row = 0; row < n; row += step)
            shares.push_back({p, together, row, bundles, rows_as_lanes});
        p += together;
    }
    return shares;
}

static int row_of(const Share &share, int n, int lanes, int bundle, int lane)
{
    const int row = share.rows_as_lanes ? bundle * lanes + lane : bundle;
    return std::min(share.row + row, n - 1);
}

// ------------------------------------------------------------------ running the kernels

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

namespace
{

// What one thread works with.
struct Worker {
    LaneSteps lane_steps;
    AlignedDoubles work, out;
    LaneJob job;
};

} // namespace

static Worker make_worker(const SectorPlan &plan, int lanes)
{
    const SparseSystem &s = plan.part->sparse;
    Worker w = {};
    make_lane_steps(plan, lanes, &w.lane_steps);
    w.work = aligned_doubles(lane_work_size(s.n, MOST_ROWS, lanes, s.row.size()));
    w.out = aligned_doubles((size_t)(2 * MOST_ROWS * lanes) * (size_t)s.n);
    w.job.n = s.n;
    w.job.components = (int)s.first.size() - 1;
    w.job.d = s.d.data();
    w.job.m = s.m.data();
    w.job.level = s.level.data();
    w.job.first = s.first.data();
    w.job.member = s.member.data();
    w.job.start = s.start.data();
    w.job.row = s.row.data();
    w.job.fixed = s.fixed.data();
    w.job.flip = s.flip.data();
    w.job.steps = w.lane_steps.steps.data();
    w.job.step_count = (int)w.lane_steps.steps.size();
    w.job.last_turn = plan.turns.data() + plan.last_turn;
    w.job.work = w.work.get();
    w.job.out = w.out.get();
    return w;
}

// Lane lane of a bundle to its row of a propagator.
static void take_row(const LaneJob &job, int lanes, int bundle, int lane,
                     std::complex<double> *propagator)
{
    std::complex<double> *row = propagator + (int64_t)job.rows[bundle][lane] * job.n;
    const double *from = job.out + 2 * bundle * lanes + lane;
    for (int j = 0; j < job.n; j++, from += 2 * job.bundles * lanes)
        row[j] = {from[0], from[lanes]};
}

static void do_share(LaneKernel kernel, const SectorPlan &plan, const Position *positions,
                     const Share &share, Worker *w, std::complex<double> *propagators)
{
    const int lanes = lanes_of(kernel), n = w->job.n;
    if (w->lane_steps.positions_at != share.first)
        fill_lanes(plan, positions + share.first, share.together, lanes, &w->lane_steps);
    w->lane_steps.positions_at = share.first;
    w->job.bundles = share.bundles;
    for (int b = 0; b < w->job.bundles; b++)
        for (int l = 0; l < lanes; l++)
            w->job.rows[b][l] = row_of(share, n, lanes, b, l);
    propagate_lanes(kernel, w->job);
    for (int b = 0; b < w->job.bundles; b++)
        for (int l = 0; l < (share.rows_as_lanes ? lanes : share.together); l++) {
            const int64_t p = share.first + (share.rows_as_lanes ? 0 : l);
            take_row(w->job, lanes, b, l, propagators + p * n * n);
        }
}

// Threads take shares; which of them takes one does not change a byte.
static void do_shares(LaneKernel kernel, const SectorPlan &plan, const Position *positions,
                      const std::vector<Share> &shares, std::vector<Worker> *workers,
                      std::complex<double> *propagators)
{
    for_all((int)workers->size(), (int64_t)shares.size(), [&](int64_t s, int thread) {
        do_share(kernel, plan, positions, shares[(size_t)s], &(*workers)[(size_t)thread],
                 propagators);
    });
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

// Products of a lane in all shares: little work is not worth waking threads for.
static double work_of(const SectorPlan &plan, size_t shares)
{
    double per_bundle = 0.0;
    for (const PlannedStep &p : plan.steps)
        per_bundle += p.free ? (double)plan.blocks_re.size()
                             : (double)p.terms * p.substeps * (double)plan.part->sparse.row.size();
    return per_bundle * (double)shares;
}

// False when the plan does not suit the kernels.
static bool propagate_part(LaneKernel kernel, const SectorField &field, const SystemPart &part,
                           const Position *positions, int count, std::complex<double> *propagators)
{
    SectorPlan plan;
    if (!make_sector_plan(field, part, &plan))
        return false;
    const int lanes = lanes_of(kernel);
    const std::vector<Share> shares = deal_out(part.sparse.n, count, lanes);
    const int threads = threads_for(work_of(plan, shares.size()), (int64_t)shares.size());
    std::vector<Worker> workers;
    for (int t = 0; t < threads; t++)
        workers.push_back(make_worker(plan, lanes));
    do_shares(kernel, plan, positions, shares, &workers, propagators);
    return true;
}

// ------------------------------------------------------------------ parts of the spin system

// Applications of H that the sector takes, roughly.
static int64_t applications(const SectorField &f)
{
    const int PER_SAMPLE = 8;
    int64_t sum = 1;
    for (int k = 0; k < f.ap; k++)
        if (f.xb[k] != 0.0 || f.yb[k] != 0.0)
            sum += PER_SAMPLE;
    return sum;
}

static bool splitting_pays(const SectorField &field, const SectorSystem &system)
{
    const int64_t times = applications(field);
    return system.splits && application_work(system.split) * times + assembly_work(system.split) <
                                application_work(system.whole.sparse) * times;
}

static void assemble_all(const SectorSystem &system, int count,
                         const std::vector<std::vector<std::complex<double>>> &parts,
                         std::complex<double> *propagators)
{
    const int64_t n = system.whole.sparse.n, scratch = assembly_scratch(system.split);
    const int threads = threads_for((double)(assembly_work(system.split) * count), count);
    std::vector<std::complex<double>> all_scratch((size_t)(scratch * threads));
    std::vector<const std::complex<double> *> of_position((size_t)threads * parts.size());
    for_all(threads, count, [&](int64_t p, int t) {
        const std::complex<double> **const blocks = &of_position[(size_t)t * parts.size()];
        for (size_t b = 0; b < parts.size(); b++)
            blocks[b] = parts[b].data() + (int64_t)(parts[b].size() / (size_t)count) * p;
        assemble_propagator(system.split, blocks, all_scratch.data() + scratch * t,
                            propagators + p * n * n);
    });
}

static bool propagate_parts(LaneKernel kernel, const SectorField &field, const SectorSystem &system,
                            const Position *positions, int count, std::complex<double> *propagators)
{
    std::vector<std::vector<std::complex<double>>> parts;
    for (const SystemPart &part : system.parts) {
        parts.emplace_back((size_t)count * (size_t)(part.sparse.n * part.sparse.n));
        if (!propagate_part(kernel, field, part, positions, count, parts.back().data()))
            return false;
    }
    assemble_all(system, count, parts, propagators);
    return true;
}

bool propagate_fast(LaneKernel kernel, const SectorField &asked, const Position *positions,
                    int count, std::complex<double> *propagators)
{
    const SectorField field = with_whole_box(asked, positions, count);
    std::shared_ptr<const SectorSystem> made;
    if (!field.system)
        made = PrepareSectorSystem(field);
    const SectorSystem *const system = made ? made.get() : field.system;
    if (!system || !system->fits)
        return false;
    if (splitting_pays(field, *system))
        return propagate_parts(kernel, field, *system, positions, count, propagators);
    return propagate_part(kernel, field, system->whole, positions, count, propagators);
}

void SectorPropagators(const SectorField &field, const Position *positions, int count,
                       std::complex<double> *propagators)
{
    if (count < 1)
        return;
    bool done = false;
    try {
        done = propagate_fast(best_lane_kernel(), field, positions, count, propagators);
    } catch (const std::bad_alloc &) {
        // The plain path takes no memory.
    }
    if (!done)
        SectorPropagatorsPlain(field, positions, count, propagators);
}
