// propagatorlib_plan.cpp - the samples of a sector as steps that every position shares: runs
// without RF are one step, equal samples with RF are one step, and how many terms each takes.

#include "propagatorlib_internal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

// ------------------------------------------------------------------ the series of exp

// exp(-i·x·s) = sum over k of c_k·(-i)^k·J_k(x)·T_k(s) for -1 <= s <= 1, c_0 = 1, else 2
// (Jacobi and Anger; M. Abramowitz, I. Stegun, Handbook of Mathematical Functions, 9.1.44-45).
// Cut off and ordered by powers of h = x·s it is sum over j of a_j·(-i·h)^j, the Taylor series
// with its last coefficients changed so that fewer of them do.

static const double LONGEST_SUBSTEP = 2.5; // |H|·tau: the terms still cancel harmlessly
static const double LONGEST_STEP = 1e5;    // |H|·T of one step
static const double SERIES_END = 1e-16;    // of exp(-i·x·s), the terms left out
static const size_t MOST_TERMS = 34;

// J_k(x), k = 0..MOST_TERMS, by their power series, for x up to a little over LONGEST_SUBSTEP.
static std::array<long double, MOST_TERMS + 1> bessel_functions(long double x)
{
    std::array<long double, MOST_TERMS + 1> J;
    long double first = 1.0L;
    for (size_t k = 0; k <= MOST_TERMS; k++) {
        long double term = first, sum = first;
        for (int j = 1; std::fabs(term) > 1e-24L * std::fabs(sum); j++) {
            term *= -(x / 2) * (x / 2) / j / ((int)k + j);
            sum += term;
        }
        J[k] = sum;
        first *= x / 2 / ((int)k + 1);
    }
    return J;
}

// The coefficients of h = x·s to the powers 0, 1, ... as far as they are needed. The signs of the
// powers of s in T_k meet those of (-i)^k: only absolute values are added.
static std::vector<double> series_of_exp(double x)
{
    const std::array<long double, MOST_TERMS + 1> J = bessel_functions(x);
    size_t terms = MOST_TERMS;
    for (long double left_out = 0.0L; terms > 1; terms--) {
        left_out += 2 * std::fabs(J[terms]);
        if (left_out > SERIES_END)
            break;
    }
    std::array<long double, MOST_TERMS + 2> before = {1.0L}, t = {0.0L, 1.0L}, sum = {J[0]};
    for (size_t k = 1; k <= terms; k++) {
        std::array<long double, MOST_TERMS + 2> next = before;
        for (size_t j = 0; j <= k; j++) {
            sum[j] += 2 * J[k] * t[j];
            next[j + 1] += 2 * t[j];
        }
        before = t;
        t = next;
    }
    std::vector<double> series;
    long double power = 1.0L;
    for (size_t j = 0; j <= terms; j++, power *= x)
        series.push_back((double)(sum[j] / power));
    return series;
}

namespace
{

// The bound of |H|·tau is rounded up to one of few values, each with its coefficients.
struct SeriesTable {
    struct Entry {
        int grade, terms, at;
    };
    std::vector<Entry> entries;
};

} // namespace

static SeriesTable::Entry find_series(double x, SeriesTable *table, std::vector<double> *series)
{
    const int grade = x > 0.0 ? std::max(-40, (int)std::ceil(4.0 * std::log2(x))) : -40;
    for (const SeriesTable::Entry &entry : table->entries)
        if (entry.grade == grade)
            return entry;
    const double rounded_up = std::exp2(grade / 4.0);
    const std::vector<double> made = series_of_exp(rounded_up);
    table->entries.push_back({grade, (int)made.size() - 1, (int)series->size()});
    series->insert(series->end(), made.begin(), made.end());
    return table->entries.back();
}

// ------------------------------------------------------------------ how large H can be

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

// What is no number must reach the whole matrix, as it does the plain way, and not only the states
// that turn by it.
static bool offsets_are_finite(const SectorField &f)
{
    if (!f.gx)
        return std::isfinite(f.offset);
    const double x = std::fabs(f.low.x) + std::fabs(f.high.x);
    const double y = std::fabs(f.low.y) + std::fabs(f.high.y);
    const double z = std::fabs(f.low.z) + std::fabs(f.high.z);
    for (int k = 0; k < f.ap; k++)
        if (!std::isfinite(std::fabs(f.gx[k]) * x + std::fabs(f.gy[k]) * y +
                           std::fabs(f.gz[k]) * z + std::fabs(f.offset)))
            return false;
    return true;
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

// ------------------------------------------------------------------ turns of the RF phase

// exp(-i·angle·m) for every level.
static int add_turn(SectorPlan *plan, double angle)
{
    const int at = (int)plan->turns.size();
    for (double m : plan->part->sparse.level_m) {
        plan->turns.push_back(std::cos(angle * m));
        plan->turns.push_back(-std::sin(angle * m));
    }
    return at;
}

// ------------------------------------------------------------------ samples into steps

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

// Samples first..*last-1, equal ones, as one step; *last moves down to what is not too long.
static bool plan_driven(SectorPlan *plan, int first, int *last, double *phase, SeriesTable *table)
{
    const SectorField &f = *plan->field;
    const double wanted = std::atan2(f.yb[first], f.xb[first]), b = rf_amplitude(f, first);
    const double of_sample =
        norm_bound(plan->part->sparse, largest_offset(f, first), b) * std::fabs(f.tau);
    if (!(of_sample < LONGEST_STEP))
        return false;
    if (of_sample * (*last - first) > LONGEST_STEP)
        *last = first + (int)(LONGEST_STEP / of_sample);
    const double x = of_sample * (*last - first), T = (*last - first) * f.tau;
    const int substeps = std::max(1, (int)std::ceil(x / LONGEST_SUBSTEP));
    const SeriesTable::Entry series = find_series(x / substeps, table, &plan->series);
    const int turn = wanted == *phase ? -1 : add_turn(plan, wanted - *phase);
    *phase = wanted;
    plan->steps.push_back(
        {first, *last, false, b, T / substeps, substeps, series.terms, series.at, turn, 0});
    return true;
}

static bool plan_steps(SectorPlan *plan)
{
    const SectorField &f = *plan->field;
    SeriesTable table;
    double phase = 0.0;
    std::map<int, int> blocks_of; // by samples without RF
    for (int first = 0, last; first < f.ap; first = last) {
        const bool free = rf_amplitude(f, first) == 0.0;
        last = end_of_step(f, first, free);
        if (!free) {
            if (!plan_driven(plan, first, &last, &phase, &table))
                return false;
            continue;
        }
        const auto [blocks, added] =
            blocks_of.try_emplace(last - first, (int)plan->blocks_re.size());
        if (added)
            append_free_propagator(plan->part->sparse, plan->part->free, (last - first) * f.tau,
                                   &plan->blocks_re, &plan->blocks_im);
        plan->steps.push_back({first, last, true, 0.0, f.tau, 1, 0, 0, -1, blocks->second});
    }
    plan->last_turn = add_turn(plan, -phase);
    return true;
}

bool make_sector_plan(const SectorField &field, const SystemPart &part, SectorPlan *plan)
{
    plan->field = &field;
    plan->part = &part;
    return offsets_are_finite(field) && plan_steps(plan);
}
