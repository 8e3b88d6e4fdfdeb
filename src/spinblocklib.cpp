// spinblocklib.cpp - groups of spins that nothing couples. The propagator is the Kronecker
// product of theirs, because the RF and the gradients act on every spin by itself.

#include "spinblocklib_internal.h"

#include <algorithm>
#include <cmath>
#include <numeric>

// ------------------------------------------------------------------ product bases

ProductBasis make_basis(const std::vector<int> &levels)
{
    ProductBasis basis = {1, levels, std::vector<int>(levels.size()), {}};
    for (size_t k = levels.size(); k-- > 0;) {
        basis.stride[k] = basis.n;
        basis.n *= levels[k];
    }
    for (int state = 0; state < basis.n; state++)
        for (size_t k = 0; k < levels.size(); k++)
            basis.digits.push_back(state / basis.stride[k] % levels[k]);
    return basis;
}

int part_of_state(const ProductBasis &basis, const std::vector<int> &spins, int state)
{
    int part = 0;
    for (int k : spins)
        part = part * basis.levels[(size_t)k] + digit(basis, k, state);
    return part;
}

static std::vector<int> levels_of(const ProductBasis &basis, const std::vector<int> &spins)
{
    std::vector<int> levels;
    for (int k : spins)
        levels.push_back(basis.levels[(size_t)k]);
    return levels;
}

static double total_m(const ProductBasis &basis, int state)
{
    int twice = 0;
    for (size_t k = 0; k < basis.levels.size(); k++)
        twice += basis.levels[k] - 1 - 2 * digit(basis, (int)k, state);
    return 0.5 * twice;
}

// ------------------------------------------------------------------ sparse systems

// Gives all of the second one's company the number of the first's.
static void join(std::vector<int> *company, int a, int b)
{
    const int keep = (*company)[(size_t)a], drop = (*company)[(size_t)b];
    for (int &c : *company)
        if (c == drop)
            c = keep;
}

// The members of each company, in the order of the lowest of them.
static std::vector<std::vector<int>> companies(const std::vector<int> &company)
{
    std::vector<std::vector<int>> lists;
    std::vector<int> known;
    for (size_t k = 0; k < company.size(); k++) {
        const auto found = std::find(known.begin(), known.end(), company[k]);
        const size_t at = (size_t)(found - known.begin());
        if (found == known.end()) {
            known.push_back(company[k]);
            lists.emplace_back();
        }
        lists[at].push_back((int)k);
    }
    return lists;
}

static std::vector<int> each_alone(int count)
{
    std::vector<int> company((size_t)count);
    std::iota(company.begin(), company.end(), 0);
    return company;
}

double largest_diagonal(const SparseSystem &s)
{
    double largest = 0.0;
    for (double d : s.d)
        largest = std::max(largest, std::fabs(d));
    return largest;
}

int find_element(const SparseSystem &s, int i, int j)
{
    for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++)
        if (s.row[(size_t)e] == i)
            return e;
    return -1;
}

bool same_element(const SparseSystem &a, int e, const SparseSystem &b, int f)
{
    const auto near = [](double x, double y) {
        return std::fabs(x - y) <= rounding_of_sums(std::fabs(x));
    };
    return near(a.fixed[(size_t)e], b.fixed[(size_t)f]) &&
           near(a.flip[(size_t)e], b.flip[(size_t)f]);
}

// ------------------------------------------------------------------ which spins are coupled

// The mean of d over the states that agree in the chosen spins, for each of their states.
static std::vector<wide> mean_diagonal(const SparseSystem &s, const ProductBasis &basis,
                                       const std::vector<int> &spins)
{
    const int parts = make_basis(levels_of(basis, spins)).n;
    std::vector<wide> mean((size_t)parts, 0.0L);
    for (int i = 0; i < s.n; i++)
        mean[(size_t)part_of_state(basis, spins, i)] += (wide)s.d[(size_t)i];
    for (wide &sum : mean)
        sum /= (wide)(s.n / parts);
    return mean;
}

// True when the diagonal is more than a sum of what either spin adds. Means over the other spins'
// states carry less rounding than single elements (half a last place), so half the limit will do.
static bool diagonal_couples(const SparseSystem &s, const ProductBasis &basis, int a, int b)
{
    const std::vector<wide> both = mean_diagonal(s, basis, {a, b});
    const std::vector<wide> first = mean_diagonal(s, basis, {a});
    const std::vector<wide> second = mean_diagonal(s, basis, {b});
    const wide mean = mean_diagonal(s, basis, {})[0];
    const double limit = 0.5 * rounding_of_sums(largest_diagonal(s));
    for (size_t i = 0; i < first.size(); i++)
        for (size_t j = 0; j < second.size(); j++) {
            const wide together = both[i * second.size() + j] - first[i] - second[j] + mean;
            if (!(std::fabs(together) <= (wide)limit))
                return true;
        }
    return false;
}

// An element joins all spins that it changes.
static void join_changed_spins(const ProductBasis &basis, int i, int j, std::vector<int> *company)
{
    int changed = -1;
    for (int k = 0; k < (int)basis.levels.size(); k++) {
        if (digit(basis, k, i) == digit(basis, k, j))
            continue;
        if (changed >= 0)
            join(company, changed, k);
        changed = k;
    }
}

static std::vector<std::vector<int>> coupled_spins(const SparseSystem &s, const ProductBasis &basis)
{
    const int spins = (int)basis.levels.size();
    std::vector<int> company = each_alone(spins);
    for (int j = 0; j < s.n; j++)
        for (int e = s.start[(size_t)j]; e < s.start[(size_t)j + 1]; e++)
            join_changed_spins(basis, s.row[(size_t)e], j, &company);
    for (int a = 0; a < spins; a++)
        for (int b = a + 1; b < spins; b++)
            if (company[(size_t)a] != company[(size_t)b] && diagonal_couples(s, basis, a, b))
                join(&company, a, b);
    return companies(company);
}

// ------------------------------------------------------------------ the group's own system

static std::vector<int> places(const ProductBasis &basis, const std::vector<int> &spins,
                               const ProductBasis &own)
{
    std::vector<int> place((size_t)own.n, 0);
    for (int i = 0; i < own.n; i++)
        for (size_t k = 0; k < spins.size(); k++)
            place[(size_t)i] += digit(own, (int)k, i) * basis.stride[(size_t)spins[k]];
    return place;
}

// The elements are those between states in which all other spins stand at +I.
static void take_group_elements(const SparseSystem &whole, const ProductBasis &basis,
                                const SpinGroup &group, SparseSystem *s)
{
    for (int place : group.place) {
        s->start.push_back((int)s->row.size());
        for (int e = whole.start[(size_t)place]; e < whole.start[(size_t)place + 1]; e++) {
            const int part = part_of_state(basis, group.spins, whole.row[(size_t)e]);
            if (group.place[(size_t)part] != whole.row[(size_t)e])
                continue;
            s->row.push_back(part);
            s->fixed.push_back(whole.fixed[(size_t)e]);
            s->flip.push_back(whole.flip[(size_t)e]);
        }
    }
    s->start.push_back((int)s->row.size());
}

// groups: how many share the mean of the diagonal.
static SparseSystem group_system(const SparseSystem &whole, const ProductBasis &basis,
                                 const SpinGroup &group, size_t groups)
{
    SparseSystem s;
    s.n = group.n;
    const wide mean = mean_diagonal(whole, basis, {})[0];
    const wide others = mean * (wide)(groups - 1) / (wide)groups;
    for (wide sum : mean_diagonal(whole, basis, group.spins))
        s.d.push_back((double)(sum - others));
    const ProductBasis own = make_basis(levels_of(basis, group.spins));
    for (int i = 0; i < s.n; i++)
        s.m.push_back(total_m(own, i));
    take_group_elements(whole, basis, group, &s);
    list_levels_and_components(&s);
    return s;
}

// ------------------------------------------------------------------ is the whole their sum?

// The group that element (i, j) of the whole belongs to, -1: none by itself.
static int group_of_element(const ProductBasis &basis, const SpinSplit &split, int i, int j)
{
    int found = -1;
    for (size_t g = 0; g < split.groups.size(); g++) {
        const std::vector<int> &spins = split.groups[g].spins;
        if (part_of_state(basis, spins, i) == part_of_state(basis, spins, j))
            continue;
        if (found >= 0)
            return -1;
        found = (int)g;
    }
    return found;
}

static bool element_is_of_a_group(const SparseSystem &whole, const ProductBasis &basis,
                                  const SpinSplit &split, int e, int j)
{
    const int i = whole.row[(size_t)e], g = group_of_element(basis, split, i, j);
    if (g < 0)
        return false;
    const SpinGroup &group = split.groups[(size_t)g];
    const SparseSystem &s = group.blocks[0].system;
    const int f =
        find_element(s, part_of_state(basis, group.spins, i), part_of_state(basis, group.spins, j));
    return f >= 0 && same_element(whole, e, s, f);
}

static bool diagonal_is_sum_of_groups(const SparseSystem &whole, const ProductBasis &basis,
                                      const SpinSplit &split)
{
    const double limit = rounding_of_sums(largest_diagonal(whole));
    for (int i = 0; i < whole.n; i++) {
        wide rest = (wide)whole.d[(size_t)i];
        for (const SpinGroup &group : split.groups)
            rest -= (wide)group.blocks[0].system.d[(size_t)part_of_state(basis, group.spins, i)];
        if (!(std::fabs(rest) <= (wide)limit))
            return false;
    }
    return true;
}

static bool whole_is_sum_of_groups(const SparseSystem &whole, const ProductBasis &basis,
                                   const SpinSplit &split)
{
    size_t elements = 0;
    for (const SpinGroup &group : split.groups)
        elements += group.blocks[0].system.row.size() * (size_t)(whole.n / group.n);
    if (elements != whole.row.size())
        return false;
    for (int j = 0; j < whole.n; j++)
        for (int e = whole.start[(size_t)j]; e < whole.start[(size_t)j + 1]; e++)
            if (!element_is_of_a_group(whole, basis, split, e, j))
                return false;
    return diagonal_is_sum_of_groups(whole, basis, split);
}

// ------------------------------------------------------------------ the split

static SpinBlock single_block(const SparseSystem &system)
{
    SpinBlock block = {system, 1, each_alone(system.n), {}};
    block.value.assign((size_t)system.n, 1.0);
    return block;
}

static SpinGroup make_group(const ProductBasis &basis, const std::vector<int> &spins)
{
    SpinGroup group = {};
    const ProductBasis own = make_basis(levels_of(basis, spins));
    group.spins = spins;
    group.n = own.n;
    group.place = places(basis, spins, own);
    return group;
}

static bool split_into_groups(const SparseSystem &whole, const ProductBasis &basis,
                              SpinSplit *split)
{
    const std::vector<std::vector<int>> lists = coupled_spins(whole, basis);
    if (lists.size() < 2)
        return false;
    for (const std::vector<int> &spins : lists) {
        SpinGroup group = make_group(basis, spins);
        group.blocks = {single_block(group_system(whole, basis, group, lists.size()))};
        split->groups.push_back(group);
    }
    std::stable_sort(split->groups.begin(), split->groups.end(),
                     [](const SpinGroup &a, const SpinGroup &b) { return a.n < b.n; });
    return whole_is_sum_of_groups(whole, basis, *split);
}

static void keep_whole(const SparseSystem &whole, const ProductBasis &basis, SpinSplit *split)
{
    SpinGroup group = make_group(basis, each_alone((int)basis.levels.size()));
    group.blocks = {single_block(whole)};
    split->groups = {group};
}

static std::vector<int> multiples(int count, int step)
{
    std::vector<int> list;
    for (int k = 0; k < count; k++)
        list.push_back(k * step);
    return list;
}

static void plan_products(SpinSplit *split)
{
    std::vector<int> place = split->groups[0].place;
    for (size_t g = 1; g < split->groups.size(); g++) {
        const SpinGroup &next = split->groups[g];
        split->products.push_back({multiples((int)place.size(), next.n), multiples(next.n, 1)});
        if (g + 1 == split->groups.size())
            split->products.back() = {place, next.place};
        std::vector<int> longer;
        for (int first : place)
            for (int second : next.place)
                longer.push_back(first + second);
        place = longer;
    }
}

static bool m_fits(const SparseSystem &whole, const ProductBasis &basis)
{
    for (int i = 0; i < whole.n; i++)
        if (!(std::fabs(whole.m[(size_t)i] - total_m(basis, i)) <= 1e-12 * whole.n))
            return false;
    return true;
}

// False when the states are not the product basis of these spins.
static bool find_basis(const SparseSystem &whole, int spins, const int *twice_spin,
                       ProductBasis *basis)
{
    std::vector<int> levels;
    int64_t states = 1;
    for (int k = 0; k < spins; k++) {
        if (twice_spin[k] < 1)
            return false;
        levels.push_back(twice_spin[k] + 1);
        states *= levels.back();
        if (states > whole.n)
            return false;
    }
    *basis = make_basis(levels);
    return basis->n == whole.n && m_fits(whole, *basis);
}

// True when the group's spins come apart into more than one block.
static bool split_group(const ProductBasis &basis, SpinGroup *group)
{
    const ProductBasis own = make_basis(levels_of(basis, group->spins));
    const SparseSystem system = group->blocks[0].system;
    const SpinSets sets = couple_equivalent_spins(system, own, &group->blocks);
    plan_assembly(own, sets, group);
    return group->blocks.size() > 1;
}

bool split_spin_system(const SparseSystem &whole, int spins, const int *twice_spin,
                       SpinSplit *split)
{
    ProductBasis basis = {};
    *split = {};
    split->n = whole.n;
    if (!find_basis(whole, spins, twice_spin, &basis)) {
        keep_whole(whole, make_basis({whole.n}), split);
        return false;
    }
    if (!split_into_groups(whole, basis, split))
        keep_whole(whole, basis, split);
    plan_products(split);
    bool gained = split->groups.size() > 1;
    for (SpinGroup &group : split->groups)
        gained |= split_group(basis, &group);
    return gained;
}
