// receiverlib_basis.cpp - the eigenbasis of a receiver.
//
// The Hamiltonian falls into blocks (states that its elements join), which are diagonalised one by
// one. Of the receiver's operators only the parts between blocks that they connect are kept.

#include "receiverlib.h"

#include <Eigen/Dense>

#include <algorithm>
#include <new>
#include <numeric>

typedef std::complex<double> Complex;

static Complex element(const CMatrix *A, int i, int j)
{
    return {(*A)[i][j][COMPLEX_RE], (*A)[i][j][COMPLEX_IM]};
}

static bool is_hermitian(int n, const CMatrix *A)
{
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= i; j++)
            if (element(A, i, j) != std::conj(element(A, j, i)))
                return false;
    return true;
}

static bool is_real(int n, const CMatrix *A)
{
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            if ((*A)[i][j][COMPLEX_IM] != 0.0)
                return false;
    return true;
}

// ------------------------------------------------------------------ blocks

// The lowest state that i is joined to, directly or through others.
static int root_of(std::vector<int> *joined, int i)
{
    int &parent = (*joined)[(size_t)i];
    if (parent != i)
        parent = root_of(joined, parent);
    return parent;
}

// The states of every block, and the block of every state in block_of[1..n].
static std::vector<ReceiverBlock> find_blocks(int n, const CMatrix *H, std::vector<int> *block_of)
{
    std::vector<int> joined((size_t)n + 1);
    std::iota(joined.begin(), joined.end(), 0);
    for (int i = 1; i <= n; i++)
        for (int j = 1; j < i; j++)
            if ((*H)[i][j][COMPLEX_RE] != 0.0) {
                const int a = root_of(&joined, i), b = root_of(&joined, j);
                joined[(size_t)std::max(a, b)] = std::min(a, b);
            }
    std::vector<ReceiverBlock> blocks;
    block_of->assign((size_t)n + 1, 0);
    for (int i = 1; i <= n; i++) {
        const int root = root_of(&joined, i);
        if (root == i)
            blocks.emplace_back();
        const int block = root == i ? (int)blocks.size() - 1 : (*block_of)[(size_t)root];
        (*block_of)[(size_t)i] = block;
        blocks[(size_t)block].states.push_back(i);
    }
    return blocks;
}

static void diagonalise(const CMatrix *H, ReceiverBlock *block)
{
    const auto size = (Eigen::Index)block->states.size();
    Eigen::MatrixXd A(size, size);
    for (Eigen::Index a = 0; a < size; a++)
        for (Eigen::Index b = 0; b < size; b++)
            A(a, b) = (*H)[block->states[(size_t)a]][block->states[(size_t)b]][COMPLEX_RE];
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(A);
    const double *const vectors = solver.eigenvectors().data();
    const double *const energies = solver.eigenvalues().data();
    block->vectors.assign(vectors, vectors + size * size);
    block->energies.assign(energies, energies + size);
}

// ------------------------------------------------------------------ pairs of blocks

static Eigen::Map<const Eigen::MatrixXd> vectors_of(const ReceiverBlock &block)
{
    const auto size = (Eigen::Index)block.states.size();
    return {block.vectors.data(), size, size};
}

// <b|A|a> of all a in rows and b in cols.
static std::vector<Complex> elements_between(const CMatrix *A, const ReceiverBlock &rows,
                                             const ReceiverBlock &cols)
{
    const auto m = (Eigen::Index)rows.states.size(), n = (Eigen::Index)cols.states.size();
    std::vector<Complex> elements((size_t)(m * n));
    Eigen::Map<Eigen::MatrixXcd> part(elements.data(), m, n);
    for (Eigen::Index b = 0; b < n; b++)
        for (Eigen::Index a = 0; a < m; a++)
            part(a, b) = element(A, cols.states[(size_t)b], rows.states[(size_t)a]);
    const Eigen::MatrixXd re = part.real(), im = part.imag();
    part.real() = vectors_of(rows).transpose() * re * vectors_of(cols);
    part.imag() = vectors_of(rows).transpose() * im * vectors_of(cols);
    return elements;
}

static void keep_one_order(size_t size, std::vector<Complex> *elements)
{
    for (size_t b = 0; b < size; b++) {
        for (size_t a = 0; a < b; a++)
            (*elements)[b * size + a] = 0.0;
        (*elements)[b * size + b] *= 0.5;
    }
}

static ReceiverPair make_pair(const ReceiverBasis &basis, int rows, int cols)
{
    const ReceiverBlock &r = basis.blocks[(size_t)rows], &c = basis.blocks[(size_t)cols];
    ReceiverPair pair = {rows, cols, elements_between(basis.Ixtot, r, c),
                         elements_between(basis.Iytot, r, c)};
    if (rows == cols) {
        keep_one_order(r.states.size(), &pair.x);
        keep_one_order(r.states.size(), &pair.y);
    }
    return pair;
}

static void find_pairs(const std::vector<int> &block_of, ReceiverBasis *basis)
{
    const size_t count = basis->blocks.size();
    std::vector<bool> connected(count * count);
    for (int i = 1; i <= basis->n; i++)
        for (int j = 1; j <= basis->n; j++)
            if (element(basis->Ixtot, i, j) != 0.0 || element(basis->Iytot, i, j) != 0.0)
                connected[(size_t)block_of[(size_t)i] * count + (size_t)block_of[(size_t)j]] = true;
    for (int rows = 0; rows < (int)count; rows++)
        for (int cols = 0; cols <= rows; cols++)
            if (connected[(size_t)rows * count + (size_t)cols])
                basis->pairs.push_back(make_pair(*basis, rows, cols));
}

static void make_blocks(ReceiverBasis *basis)
{
    std::vector<int> block_of;
    basis->blocks = find_blocks(basis->n, basis->Hmat, &block_of);
    for (ReceiverBlock &block : basis->blocks)
        diagonalise(basis->Hmat, &block);
    find_pairs(block_of, basis);
    basis->has_blocks = true;
}

ReceiverBasis MakeReceiverBasis(int n, const CMatrix *Hmat, const CMatrix *Ixtot,
                                const CMatrix *Iytot)
{
    ReceiverBasis basis = {n, Hmat, Ixtot, Iytot, false, {}, {}};
    if (is_hermitian(n, Hmat) && is_real(n, Hmat) && is_hermitian(n, Ixtot) &&
        is_hermitian(n, Iytot))
        try {
            make_blocks(&basis);
        } catch (const std::bad_alloc &) {
            basis = {n, Hmat, Ixtot, Iytot, false, {}, {}};
        }
    return basis;
}
