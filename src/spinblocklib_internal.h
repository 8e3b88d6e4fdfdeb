// spinblocklib_internal.h - a spin system in parts that evolve by themselves: groups of spins
// that nothing couples, and in each group the total spins of its equivalent spins.
//
// Plain data in, plain data out: no runtime state, no console, no files, no static scratch.
// Spins, states and groups count from 0.
#ifndef ZAN_SPINBLOCKLIB_INTERNAL_H
#define ZAN_SPINBLOCKLIB_INTERNAL_H

#include "propagatorlib_internal.h"

#include <complex>
#include <cstdint>
#include <vector>

// A part of a group's space: equivalent spins coupled to one total spin per set, beside the other
// spins. It occurs in copies, all with the same system. The isometry V (group states x block
// states) of a copy has at most one element in a row, in the same column for all copies.
struct SpinBlock {
    SparseSystem system;
    int copies;
    std::vector<int> column;   // of each group state: the block state it has a part in, -1: none
    std::vector<double> value; // [copy][group state]
};

// An element of the group's propagator gets weight times element of the propagator of block.
struct BlockTerm {
    int block, element;
    double weight;
};

struct SpinGroup {
    std::vector<int> spins; // ascending
    int n;                  // states: product basis of these spins, the first slowest
    std::vector<int> place; // of each group state: what it adds to the number of the whole state
    std::vector<SpinBlock> blocks;
    // How to put the blocks together: element leader[k] is the sum of terms
    // first_term[k]..first_term[k+1]-1, then element copy_to[k] is that at copy_from[k]. All are
    // empty when the group is one block with V = 1.
    std::vector<int> leader, first_term, copy_to, copy_from;
    std::vector<BlockTerm> terms;
};

// Where the states of two factors stand in a Kronecker product: (a, b) at first[a] + second[b].
struct ProductPlaces {
    std::vector<int> first, second;
};

struct SpinSplit {
    int n;
    std::vector<SpinGroup> groups; // ascending number of states
    // products[g]: groups 0..g together with group g + 1; at last as the states of the whole.
    std::vector<ProductPlaces> products;
};

// Splits the product basis of spins spins, 2I = twice_spin[k], spin 0 slowest, each from +I down
// to -I. False when there is nothing to gain: then split has one group with one block, whole
// itself. What is left out is the rounding of the sums on the diagonal, at most a few last places
// of its largest element.
bool split_spin_system(const SparseSystem &whole, int spins, const int *twice_spin,
                       SpinSplit *split);

// Complex elements of scratch for assemble_propagator.
int64_t assembly_scratch(const SpinSplit &split);

// P (packed n x n) from the propagators of the blocks (packed), group after group and block after
// block. P and scratch must not overlap.
void assemble_propagator(const SpinSplit &split,
                         const std::complex<double> *const *block_propagators,
                         std::complex<double> *scratch, std::complex<double> *P);

// Complex multiply-adds: one application of H to all rows of a propagator; the same for all
// blocks of a split; and one assembly. Splitting pays where a propagator takes many applications.
int64_t application_work(const SparseSystem &system);
int64_t application_work(const SpinSplit &split);
int64_t assembly_work(const SpinSplit &split);

// ------------------------------------------------------------------ between the rooms

typedef long double wide; // sums in it are rounded once, when they become a double

struct ProductBasis {
    int n;
    std::vector<int> levels, stride; // 2I+1 of each spin, and what one level down adds to a state
    std::vector<int> digits;         // [state][spin]: levels below +I
};

ProductBasis make_basis(const std::vector<int> &levels);

inline int digit(const ProductBasis &basis, int spin, int state)
{
    return basis.digits[(size_t)state * basis.levels.size() + (size_t)spin];
}

// The number of the state's part in the product basis of the chosen spins.
int part_of_state(const ProductBasis &basis, const std::vector<int> &spins, int state);

double largest_diagonal(const SparseSystem &s);

// How far elements of the diagonal may differ that are the same but for the order of their sums.
// Of 4 last places of the largest, systems of up to eight spins reach 1.6.
inline double rounding_of_sums(double largest)
{
    return 4.0 * 0x1p-52 * largest;
}

// -1: element (i, j) is zero.
int find_element(const SparseSystem &s, int i, int j);
bool same_element(const SparseSystem &a, int e, const SparseSystem &b, int f);

// All spins of a group, equivalent ones in one set. Where there are any, the group's blocks are
// replaced by those of their total spins.
typedef std::vector<std::vector<int>> SpinSets;
SpinSets couple_equivalent_spins(const SparseSystem &system, const ProductBasis &basis,
                                 std::vector<SpinBlock> *blocks);

// Fills the lists of the group that say how its blocks make up its propagator.
void plan_assembly(const ProductBasis &basis, const SpinSets &sets, SpinGroup *group);

#endif
