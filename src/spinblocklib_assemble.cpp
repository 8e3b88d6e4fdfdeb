// spinblocklib_assemble.cpp - the propagator of the whole from those of its blocks.
//
// Within a group P = sum of V·P_block·V^T over blocks and copies. V has one element in a row, so
// an element of P is a short weighted sum of elements of the blocks. Exchange of equivalent spins
// in both states leaves it as it is: it is summed once and copied.

#include "spinblocklib_internal.h"

#include <algorithm>
#include <cmath>
#include <utility>

typedef std::complex<double> Complex;

// ------------------------------------------------------------------ the plan of a group

// Of all elements that exchanges within the sets make of (i, j), the one whose spins are sorted.
static int leader_of(const ProductBasis &basis, const SpinSets &sets, int i, int j)
{
    int row = 0, column = 0;
    std::vector<std::pair<int, int>> pairs;
    for (const std::vector<int> &set : sets) {
        pairs.clear();
        for (int k : set)
            pairs.emplace_back(digit(basis, k, i), digit(basis, k, j));
        if (set.size() > 1)
            std::sort(pairs.begin(), pairs.end());
        for (size_t k = 0; k < set.size(); k++) {
            row += pairs[k].first * basis.stride[(size_t)set[k]];
            column += pairs[k].second * basis.stride[(size_t)set[k]];
        }
    }
    return row * basis.n + column;
}

static double weight_of(const SpinBlock &block, int n, int i, int j)
{
    wide weight = 0.0L;
    for (int c = 0; c < block.copies; c++)
        weight += (wide)block.value[(size_t)(c * n + i)] * (wide)block.value[(size_t)(c * n + j)];
    return (double)weight;
}

static const double ZERO_WEIGHT = 1e-15; // the rounding of weights that cancel

static void add_terms(int i, int j, SpinGroup *group)
{
    for (size_t b = 0; b < group->blocks.size(); b++) {
        const SpinBlock &block = group->blocks[b];
        const int row = block.column[(size_t)i], column = block.column[(size_t)j];
        if (row < 0 || column < 0)
            continue;
        const double weight = weight_of(block, group->n, i, j);
        if (std::fabs(weight) > ZERO_WEIGHT)
            group->terms.push_back({(int)b, row * block.system.n + column, weight});
    }
}

void plan_assembly(const ProductBasis &basis, const SpinSets &sets, SpinGroup *group)
{
    if (group->blocks.size() < 2)
        return;
    for (int i = 0; i < group->n; i++)
        for (int j = 0; j < group->n; j++) {
            const int element = i * group->n + j, leader = leader_of(basis, sets, i, j);
            if (leader != element) {
                group->copy_to.push_back(element);
                group->copy_from.push_back(leader);
                continue;
            }
            group->leader.push_back(element);
            group->first_term.push_back((int)group->terms.size());
            add_terms(i, j, group);
        }
    group->first_term.push_back((int)group->terms.size());
}

// ------------------------------------------------------------------ assembling

static int64_t size_of(int n)
{
    return (int64_t)n * n;
}

static void sum_blocks(const SpinGroup &group, const Complex *const *blocks, Complex *P)
{
    for (size_t k = 0; k < group.leader.size(); k++) {
        double re = 0.0, im = 0.0;
        for (int t = group.first_term[k]; t < group.first_term[k + 1]; t++) {
            const BlockTerm &term = group.terms[(size_t)t];
            const Complex &element = blocks[term.block][term.element];
            re += term.weight * element.real();
            im += term.weight * element.imag();
        }
        P[group.leader[k]] = {re, im};
    }
    for (size_t k = 0; k < group.copy_to.size(); k++)
        P[group.copy_to[k]] = P[group.copy_from[k]];
}

namespace
{

struct Factor {
    const Complex *P;
    const std::vector<int> &place; // of its rows and columns in the product
};

} // namespace

// out (stride elements from row to row) = a ⊗ b. Plain products: operator* of complex numbers
// would look after infinities.
static void multiply_out(const Factor &a, const Factor &b, int stride, Complex *out)
{
    const int na = (int)a.place.size(), nb = (int)b.place.size();
    const int *const at_a = a.place.data(), *const at_b = b.place.data();
    for (int ia = 0; ia < na; ia++)
        for (int ib = 0; ib < nb; ib++) {
            Complex *const row = out + (int64_t)(at_a[ia] + at_b[ib]) * stride;
            const Complex *const from = b.P + (int64_t)ib * nb;
            for (int ja = 0; ja < na; ja++) {
                const double re = a.P[ia * na + ja].real(), im = a.P[ia * na + ja].imag();
                Complex *const to = row + at_a[ja];
                for (int jb = 0; jb < nb; jb++)
                    to[at_b[jb]] = {re * from[jb].real() - im * from[jb].imag(),
                                    re * from[jb].imag() + im * from[jb].real()};
            }
        }
}

static bool needs_scratch(const SpinGroup &group)
{
    return !group.leader.empty();
}

// Product of the groups up to the last but one, each with one more; and groups made of blocks.
int64_t assembly_scratch(const SpinSplit &split)
{
    int64_t scratch = 0;
    if (split.groups.size() < 2)
        return 0;
    for (const SpinGroup &group : split.groups)
        scratch += needs_scratch(group) ? size_of(group.n) : 0;
    for (size_t g = 0; g + 1 < split.products.size(); g++)
        scratch += size_of((int)(split.products[g].first.size() * split.products[g].second.size()));
    return scratch;
}

// The group's propagator: its only block, or the blocks summed to scratch, which moves on.
static const Complex *group_propagator(const SpinGroup &group, const Complex *const *blocks,
                                       Complex **scratch)
{
    if (!needs_scratch(group))
        return blocks[0];
    Complex *const P = *scratch;
    sum_blocks(group, blocks, P);
    *scratch += size_of(group.n);
    return P;
}

static void assemble_one_group(const SpinGroup &group, const Complex *const *blocks, Complex *P)
{
    if (needs_scratch(group))
        sum_blocks(group, blocks, P);
    else
        std::copy_n(blocks[0], size_of(group.n), P);
}

void assemble_propagator(const SpinSplit &split, const Complex *const *block_propagators,
                         Complex *scratch, Complex *P)
{
    const size_t last = split.products.size();
    if (last == 0) {
        assemble_one_group(split.groups[0], block_propagators, P);
        return;
    }
    const Complex *product = group_propagator(split.groups[0], block_propagators, &scratch);
    for (size_t g = 1; g <= last; g++) {
        block_propagators += split.groups[g - 1].blocks.size();
        const Complex *next = group_propagator(split.groups[g], block_propagators, &scratch);
        const ProductPlaces &places = split.products[g - 1];
        const int n = g == last ? split.n : (int)(places.first.size() * places.second.size());
        Complex *const out = g == last ? P : scratch;
        if (g < last)
            scratch += size_of(n);
        multiply_out({product, places.first}, {next, places.second}, n, out);
        product = out;
    }
}

// ------------------------------------------------------------------ work

int64_t application_work(const SparseSystem &system)
{
    return (int64_t)system.n * (system.n + (int64_t)system.row.size());
}

int64_t application_work(const SpinSplit &split)
{
    int64_t work = 0;
    for (const SpinGroup &group : split.groups)
        for (const SpinBlock &block : group.blocks)
            work += application_work(block.system);
    return work;
}

int64_t assembly_work(const SpinSplit &split)
{
    int64_t work = 0;
    for (const SpinGroup &group : split.groups)
        work += (int64_t)(group.terms.size() + group.copy_to.size());
    for (const ProductPlaces &places : split.products)
        work += size_of((int)(places.first.size() * places.second.size()));
    return work;
}
