// receiverlib.cpp - the receiver trace as a sum over transitions.
//
// In the eigenbasis of the Hamiltonian every element of rho turns with a frequency of its own, so
// a trace is a sum of phases over the elements that the receiver sees. The Hamiltonian falls into
// blocks (states that its elements join), and only pairs of blocks that the receiver's operator
// connects are transformed. A Hamiltonian that is not real and symmetric goes the plain way.

#include "receiverlib.h"

#include <Eigen/Dense>

#include <cmath>
#include <complex>
#include <numeric>
#include <vector>

typedef std::complex<double> Complex;

// Samples between two exact phases; in between each phase is the last one turned once more.
static const int EXACT_EVERY = 64;

struct Block {
    std::vector<int> states;  // rows of the CMatrix, ascending
    Eigen::MatrixXd vectors;  // columns
    Eigen::VectorXd energies; // rad/s
};

// What the receiver sees: amplitude·exp(-i·omega·t), x and y apart.
struct Transition {
    Complex x, y;
    double omega; // rad/s
};

static Complex element(const CMatrix *A, int i, int j)
{
    return {(*A)[i][j][COMPLEX_RE], (*A)[i][j][COMPLEX_IM]};
}

static bool is_real_symmetric(int n, const CMatrix *H)
{
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            if (element(H, i, j) != Complex((*H)[j][i][COMPLEX_RE], 0.0))
                return false;
    return true;
}

// The lowest state that i is joined to, directly or through others.
static int root_of(std::vector<int> *joined, int i)
{
    int &parent = (*joined)[(size_t)i];
    if (parent != i)
        parent = root_of(joined, parent);
    return parent;
}

static std::vector<Block> find_blocks(int n, const CMatrix *H)
{
    std::vector<int> joined((size_t)n + 1);
    std::iota(joined.begin(), joined.end(), 0);
    for (int i = 1; i <= n; i++)
        for (int j = 1; j < i; j++)
            if ((*H)[i][j][COMPLEX_RE] != 0.0) {
                const int a = root_of(&joined, i), b = root_of(&joined, j);
                joined[(size_t)(a > b ? a : b)] = a > b ? b : a;
            }
    std::vector<Block> blocks;
    std::vector<size_t> block_of((size_t)n + 1);
    for (int i = 1; i <= n; i++) {
        const int root = root_of(&joined, i);
        if (root == i) {
            block_of[(size_t)i] = blocks.size();
            blocks.emplace_back();
        }
        blocks[block_of[(size_t)root]].states.push_back(i);
    }
    return blocks;
}

static void diagonalise(const CMatrix *H, Block *block)
{
    const auto size = (Eigen::Index)block->states.size();
    Eigen::MatrixXd A(size, size);
    for (Eigen::Index a = 0; a < size; a++)
        for (Eigen::Index b = 0; b < size; b++)
            A(a, b) = (*H)[block->states[(size_t)a]][block->states[(size_t)b]][COMPLEX_RE];
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(A);
    block->vectors = solver.eigenvectors();
    block->energies = solver.eigenvalues();
}

static bool connects(const CMatrix *A, const Block &rows, const Block &cols)
{
    for (int i : rows.states)
        for (int j : cols.states)
            if (element(A, i, j) != Complex(0.0, 0.0))
                return true;
    return false;
}

// The part of A between two blocks, in their eigenvectors.
static Eigen::MatrixXcd transformed(const CMatrix *A, const Block &rows, const Block &cols)
{
    const auto m = (Eigen::Index)rows.states.size(), n = (Eigen::Index)cols.states.size();
    Eigen::MatrixXcd part(m, n);
    for (Eigen::Index a = 0; a < m; a++)
        for (Eigen::Index b = 0; b < n; b++)
            part(a, b) = element(A, rows.states[(size_t)a], cols.states[(size_t)b]);
    return rows.vectors.transpose() * part * cols.vectors;
}

// Tr(O·rho(t)) = sum of O_ba·rho_ab·exp(-i·(E_a - E_b)·t), a in rows and b in cols.
static void add_transitions(const CMatrix *rho, const CMatrix *Ix, const CMatrix *Iy,
                            const Block &rows, const Block &cols, std::vector<Transition> *list)
{
    if (!connects(Ix, cols, rows) && !connects(Iy, cols, rows))
        return;
    const Eigen::MatrixXcd r = transformed(rho, rows, cols);
    const Eigen::MatrixXcd x = transformed(Ix, cols, rows), y = transformed(Iy, cols, rows);
    for (Eigen::Index a = 0; a < r.rows(); a++)
        for (Eigen::Index b = 0; b < r.cols(); b++)
            list->push_back(
                {x(b, a) * r(a, b), y(b, a) * r(a, b), rows.energies(a) - cols.energies(b)});
}

// Samples first..last-1 of one transition, from an exact phase on.
static void add_samples(const Transition &t, double dt, int first, int last, double *re, double *im)
{
    const Complex step = std::polar(1.0, -t.omega * dt);
    Complex phase = std::polar(1.0, -t.omega * (first * dt));
    for (int k = first; k < last; k++) {
        re[k] += t.x.real() * phase.real() - t.x.imag() * phase.imag();
        im[k] += t.y.real() * phase.real() - t.y.imag() * phase.imag();
        phase = {phase.real() * step.real() - phase.imag() * step.imag(),
                 phase.real() * step.imag() + phase.imag() * step.real()};
    }
}

void ReceiverTrace(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                   const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im)
{
    if (!is_real_symmetric(n, Hmat)) {
        ReceiverTracePlain(n, ap, dt, densmat, Hmat, Ixtot, Iytot, re, im);
        return;
    }
    std::vector<Block> blocks = find_blocks(n, Hmat);
    for (Block &block : blocks)
        diagonalise(Hmat, &block);
    std::vector<Transition> transitions;
    for (const Block &rows : blocks)
        for (const Block &cols : blocks)
            add_transitions(densmat, Ixtot, Iytot, rows, cols, &transitions);
    for (int k = 0; k < ap; k++)
        re[k] = im[k] = 0.0;
    for (int first = 0; first < ap; first += EXACT_EVERY) {
        const int last = first + EXACT_EVERY < ap ? first + EXACT_EVERY : ap;
        for (const Transition &t : transitions)
            add_samples(t, dt, first, last, re, im);
    }
}
