// spinblocklib_sets.cpp - equivalent spins coupled to total spins. When all that a set of spins
// feels acts on its total spin, the states of one total spin evolve by themselves: three equal
// spins 1/2 are one spin 3/2 and, twice, one spin 1/2.

#include "spinblocklib_internal.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// ------------------------------------------------------------------ coupling of two spins

static int64_t binomial(int n, int k)
{
    if (k < 0 || k > n)
        return 0;
    int64_t value = 1;
    for (int i = 1; i <= k; i++)
        value = value * (n - k + i) / i;
    return value;
}

// <j1 m1, j2 m2 | J m1+m2>, all arguments doubled: Racah's sum written in binomials (Varshalovich,
// Moskalev, Khersonskii, Quantum Theory of Angular Momentum, chapter 8). The sum is one of
// integers and exact: 256 states leave at most spin 15 as a total, whose binomials fit easily.
static wide clebsch_gordan(int j1, int m1, int j2, int m2, int J)
{
    const int M = m1 + m2;
    if (std::abs(m1) > j1 || std::abs(m2) > j2 || std::abs(M) > J)
        return 0.0L;
    const int a = (j1 + j2 - J) / 2, b = (j1 - j2 + J) / 2, c = (j2 - j1 + J) / 2;
    const int u = (j1 - m1) / 2, v = (j2 + m2) / 2;
    int64_t sum = 0;
    for (int k = 0; k <= a; k++)
        sum += (k % 2 ? -1 : 1) * binomial(a, k) * binomial(b, u - k) * binomial(c, v - k);
    const wide top = (wide)binomial(j1, a) * (wide)binomial(j2, a);
    const wide bottom = (wide)binomial(a + b + c + 1, a) * (wide)binomial(j1, u) *
                        (wide)binomial(j2, v) * (wide)binomial(J, (J - M) / 2);
    return (wide)sum * std::sqrt(top / bottom);
}

// ------------------------------------------------------------------ the total spins of a set

// A path is one way to reach the total spin, spin after spin: its part in each product state of
// the set. A product state has one m, so it has a part in one state of the total spin only.
typedef std::vector<wide> Path;

namespace
{

struct TotalSpin {
    int twice;
    std::vector<Path> paths;
};

} // namespace

static int twice_m(const ProductBasis &set, int state)
{
    int twice = 0;
    for (size_t k = 0; k < set.levels.size(); k++)
        twice += set.levels[k] - 1 - 2 * digit(set, (int)k, state);
    return twice;
}

// The path one spin further, to total spin twice_to; before: basis of the spins so far.
static Path longer_path(const ProductBasis &before, int twice_from, const Path &path, int levels,
                        int twice_to)
{
    Path longer;
    for (int s = 0; s < before.n; s++)
        for (int a = 0; a < levels; a++)
            longer.push_back(path[(size_t)s] * clebsch_gordan(twice_from, twice_m(before, s),
                                                              levels - 1, levels - 1 - 2 * a,
                                                              twice_to));
    return longer;
}

static std::vector<Path> *paths_to(int twice, std::vector<TotalSpin> *totals)
{
    for (TotalSpin &total : *totals)
        if (total.twice == twice)
            return &total.paths;
    totals->push_back({twice, {}});
    return &totals->back().paths;
}

static std::vector<TotalSpin> total_spins(int levels, size_t count)
{
    std::vector<TotalSpin> totals = {{levels - 1, {Path((size_t)levels, 1.0L)}}};
    for (size_t k = 1; k < count; k++) {
        const ProductBasis before = make_basis(std::vector<int>(k, levels));
        std::vector<TotalSpin> next;
        for (const TotalSpin &from : totals)
            for (int to = from.twice + levels - 1; to >= std::abs(from.twice - levels + 1); to -= 2)
                for (const Path &path : from.paths)
                    paths_to(to, &next)->push_back(
                        longer_path(before, from.twice, path, levels, to));
        totals = next;
    }
    return totals;
}

// ------------------------------------------------------------------ one block

namespace
{

// Sets of spins of a group, each with one of its total spins.
struct BlockChoice {
    const ProductBasis *basis;
    const SpinSets *sets;
    std::vector<const TotalSpin *> totals;
};

} // namespace

static ProductBasis basis_of_block(const BlockChoice &c)
{
    std::vector<int> levels;
    for (const TotalSpin *total : c.totals)
        levels.push_back(total->twice + 1);
    return make_basis(levels);
}

// Doubled m of the set's spins in a state of the group.
static int twice_m_of_set(const ProductBasis &basis, const std::vector<int> &set, int state)
{
    int twice = 0;
    for (int k : set)
        twice += basis.levels[(size_t)k] - 1 - 2 * digit(basis, k, state);
    return twice;
}

static int column_of_state(const BlockChoice &c, const ProductBasis &block, int state)
{
    int column = 0;
    for (size_t u = 0; u < c.sets->size(); u++) {
        const int twice = twice_m_of_set(*c.basis, (*c.sets)[u], state);
        if (std::abs(twice) > c.totals[u]->twice)
            return -1;
        column += (c.totals[u]->twice - twice) / 2 * block.stride[u];
    }
    return column;
}

// One copy for every combination of the sets' paths.
static std::vector<Path> copies_of_block(const BlockChoice &c)
{
    std::vector<int> counts;
    for (const TotalSpin *total : c.totals)
        counts.push_back((int)total->paths.size());
    const ProductBasis combinations = make_basis(counts);
    std::vector<Path> copies;
    for (int combination = 0; combination < combinations.n; combination++) {
        Path copy((size_t)c.basis->n, 1.0L);
        for (size_t u = 0; u < c.sets->size(); u++) {
            const Path &path = c.totals[u]->paths[(size_t)digit(combinations, (int)u, combination)];
            for (int i = 0; i < c.basis->n; i++)
                copy[(size_t)i] *= path[(size_t)part_of_state(*c.basis, (*c.sets)[u], i)];
        }
        copies.push_back(copy);
    }
    return copies;
}

namespace
{

// diag(d) + F and X of a block, by rows.
struct DenseBlock {
    int n;
    std::vector<wide> H, X;
};

} // namespace

static DenseBlock project(const SparseSystem &s, const std::vector<int> &column, const Path &v,
                          int n)
{
    const size_t size = (size_t)n * (size_t)n;
    DenseBlock block = {n, std::vector<wide>(size, 0.0L), std::vector<wide>(size, 0.0L)};
    for (int j = 0; j < s.n; j++) {
        const int b = column[(size_t)j];
        if (b < 0)
            continue;
        block.H[(size_t)(b * n + b)] += v[(size_t)j] * v[(size_t)j] * (wide)s.d[(size_t)j];
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
            const int i = s.row[(size_t)e], a = column[(size_t)i];
            if (a < 0)
                continue;
            const wide weight = v[(size_t)i] * v[(size_t)j];
            block.H[(size_t)(a * n + b)] += weight * (wide)s.fixed[(size_t)e];
            block.X[(size_t)(a * n + b)] += weight * (wide)s.flip[(size_t)e];
        }
    }
    return block;
}

// What a bound of the rounding of an operator's elements is measured by.
static double largest_column_sum(const std::vector<double> &value, const SparseSystem &s)
{
    double largest = 0.0;
    for (int j = 0; j < s.n; j++) {
        double sum = 0.0;
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++)
            sum += std::fabs(value[(size_t)e]);
        largest = std::max(largest, sum);
    }
    return largest;
}

static bool all_within(const std::vector<wide> &rest, double limit)
{
    return std::all_of(rest.begin(), rest.end(),
                       [limit](wide r) { return std::fabs(r) <= (wide)limit; });
}

// H·V = V·H_block and X·V = V·X_block: neither leads out of this copy.
static bool evolves_by_itself(const SparseSystem &s, const std::vector<int> &column, const Path &v,
                              const DenseBlock &block)
{
    const size_t n = (size_t)block.n;
    std::vector<wide> H((size_t)s.n * n, 0.0L), X((size_t)s.n * n, 0.0L);
    for (int j = 0; j < s.n; j++) {
        if (column[(size_t)j] < 0)
            continue;
        const size_t b = (size_t)column[(size_t)j];
        H[(size_t)j * n + b] += (wide)s.d[(size_t)j] * v[(size_t)j];
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
            const size_t to = (size_t)s.row[(size_t)e] * n + b;
            H[to] += (wide)s.fixed[(size_t)e] * v[(size_t)j];
            X[to] += (wide)s.flip[(size_t)e] * v[(size_t)j];
        }
        for (size_t c = 0; c < n; c++) {
            H[(size_t)j * n + c] -= v[(size_t)j] * block.H[b * n + c];
            X[(size_t)j * n + c] -= v[(size_t)j] * block.X[b * n + c];
        }
    }
    return all_within(H, rounding_of_sums(largest_diagonal(s) + largest_column_sum(s.fixed, s))) &&
           all_within(X, rounding_of_sums(largest_column_sum(s.flip, s)));
}

static SparseSystem system_of_block(const DenseBlock &dense, const ProductBasis &basis)
{
    SparseSystem s;
    s.n = dense.n;
    for (int j = 0; j < s.n; j++) {
        s.d.push_back((double)dense.H[(size_t)(j * s.n + j)]);
        s.m.push_back(0.5 * twice_m(basis, j));
        s.start.push_back((int)s.row.size());
        for (int i = 0; i < s.n; i++) {
            // The same sum on both sides of the diagonal.
            const size_t e = (size_t)(std::max(i, j) * s.n + std::min(i, j));
            if (i == j || (dense.H[e] == 0.0L && dense.X[e] == 0.0L))
                continue;
            s.row.push_back(i);
            s.fixed.push_back((double)dense.H[e]);
            s.flip.push_back((double)dense.X[e]);
        }
    }
    s.start.push_back((int)s.row.size());
    list_levels_and_components(&s);
    return s;
}

static bool make_block(const SparseSystem &s, const BlockChoice &choice, SpinBlock *block)
{
    const ProductBasis basis = basis_of_block(choice);
    const std::vector<Path> copies = copies_of_block(choice);
    block->column.clear();
    for (int i = 0; i < s.n; i++)
        block->column.push_back(column_of_state(choice, basis, i));
    const DenseBlock dense = project(s, block->column, copies[0], basis.n);
    for (const Path &v : copies) {
        if (!evolves_by_itself(s, block->column, v, dense))
            return false;
        block->value.insert(block->value.end(), v.begin(), v.end());
    }
    block->copies = (int)copies.size();
    block->system = system_of_block(dense, basis);
    return true;
}

// ------------------------------------------------------------------ all blocks

// False when a block does not evolve by itself.
static bool make_blocks(const SparseSystem &s, const ProductBasis &basis, const SpinSets &sets,
                        std::vector<SpinBlock> *blocks)
{
    std::vector<std::vector<TotalSpin>> totals;
    std::vector<int> counts;
    for (const std::vector<int> &set : sets) {
        totals.push_back(total_spins(basis.levels[(size_t)set[0]], set.size()));
        counts.push_back((int)totals.back().size());
    }
    const ProductBasis choices = make_basis(counts);
    blocks->clear();
    for (int c = 0; c < choices.n; c++) {
        BlockChoice choice = {&basis, &sets, {}};
        for (size_t u = 0; u < sets.size(); u++)
            choice.totals.push_back(&totals[u][(size_t)digit(choices, (int)u, c)]);
        blocks->emplace_back();
        if (!make_block(s, choice, &blocks->back()))
            return false;
    }
    return true;
}

// ------------------------------------------------------------------ which spins are equivalent

static int exchange(const ProductBasis &basis, int p, int q, int state)
{
    const int further = digit(basis, q, state) - digit(basis, p, state);
    return state + further * (basis.stride[(size_t)p] - basis.stride[(size_t)q]);
}

// Exchange of the two spins in all states leaves all operators as they are.
static bool exchangeable(const SparseSystem &s, const ProductBasis &basis, int p, int q)
{
    if (basis.levels[(size_t)p] != basis.levels[(size_t)q])
        return false;
    const double limit = rounding_of_sums(largest_diagonal(s));
    for (int i = 0; i < s.n; i++)
        if (!(std::fabs(s.d[(size_t)i] - s.d[(size_t)exchange(basis, p, q, i)]) <= limit))
            return false;
    for (int j = 0; j < s.n; j++)
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++) {
            const int f =
                find_element(s, exchange(basis, p, q, s.row[(size_t)e]), exchange(basis, p, q, j));
            if (f < 0 || !same_element(s, e, s, f))
                return false;
        }
    return true;
}

static SpinSets exchangeable_spins(const SparseSystem &s, const ProductBasis &basis)
{
    SpinSets sets;
    for (int k = 0; k < (int)basis.levels.size(); k++) {
        const auto found = std::find_if(sets.begin(), sets.end(), [&](const std::vector<int> &set) {
            return exchangeable(s, basis, set[0], k);
        });
        if (found != sets.end())
            found->push_back(k);
        else
            sets.push_back({k});
    }
    return sets;
}

// The sets that are to stay together, and all other spins by themselves.
static SpinSets apart(const SpinSets &sets, const std::vector<bool> &together)
{
    SpinSets result;
    for (size_t u = 0; u < sets.size(); u++) {
        if (together[u]) {
            result.push_back(sets[u]);
            continue;
        }
        for (int k : sets[u])
            result.push_back({k});
    }
    return result;
}

// Exchange alone does not make a total spin: Iz·Iz between two spins 1 does not keep it.
static std::vector<bool> sets_with_total_spin(const SparseSystem &s, const ProductBasis &basis,
                                              const SpinSets &sets)
{
    std::vector<SpinBlock> blocks;
    std::vector<bool> result(sets.size(), false);
    for (size_t u = 0; u < sets.size(); u++) {
        std::vector<bool> alone(sets.size(), false);
        alone[u] = true;
        result[u] = sets[u].size() > 1 && make_blocks(s, basis, apart(sets, alone), &blocks);
    }
    return result;
}

static bool has_total_spins(const SpinSets &sets)
{
    return std::any_of(sets.begin(), sets.end(),
                       [](const std::vector<int> &set) { return set.size() > 1; });
}

SpinSets couple_equivalent_spins(const SparseSystem &s, const ProductBasis &basis,
                                 std::vector<SpinBlock> *blocks)
{
    SpinSets candidates = exchangeable_spins(s, basis);
    std::vector<SpinBlock> found;
    if (!has_total_spins(candidates))
        return candidates;
    SpinSets sets = candidates;
    bool fits = make_blocks(s, basis, sets, &found);
    if (!fits) {
        sets = apart(candidates, sets_with_total_spin(s, basis, candidates));
        fits = has_total_spins(sets) && make_blocks(s, basis, sets, &found);
    }
    if (!fits)
        return apart(candidates, std::vector<bool>(candidates.size(), false));
    *blocks = found;
    return sets;
}
