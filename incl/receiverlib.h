// receiverlib - what the receiver sees of density matrices. No runtime state, no files.
#ifndef ZAN_RECEIVERLIB_H
#define ZAN_RECEIVERLIB_H

#include "matrixmathlib.h"

#include <complex>
#include <vector>

// A trace is re[k] = Re Tr(Ixtot·rho(k·dt)), im[k] = Re Tr(Iytot·rho(k·dt)), k = 0..ap-1, with
// rho(t) = exp(-i·Hmat·t)·densmat·exp(+i·Hmat·t); Hmat in rad/s, dt in s. densmat is kept.

// States that the elements of the Hamiltonian join, and their eigenvectors.
struct ReceiverBlock {
    std::vector<int> states;      // rows of the CMatrix, ascending
    std::vector<double> vectors;  // real, one column after another
    std::vector<double> energies; // rad/s
};

// Two blocks that Ixtot or Iytot connects, and their elements <b|Ixtot|a> and <b|Iytot|a> at
// b·(states of rows) + a, a in rows and b in cols. In a pair of a block with itself a > b stands
// for both orders, so that the others are zero and those of a = b are halved.
struct ReceiverPair {
    int rows, cols; // blocks, rows >= cols
    std::vector<std::complex<double>> x, y;
};

// What all traces of one receiver share.
struct ReceiverBasis {
    int n;
    const CMatrix *Hmat, *Ixtot, *Iytot; // the caller's, to be kept as long as the basis
    // Whether Hmat is real and symmetric, and Ixtot and Iytot are Hermitian. Otherwise, and when
    // memory is short, there are no blocks, and traces go the plain way.
    bool has_blocks;
    std::vector<ReceiverBlock> blocks;
    std::vector<ReceiverPair> pairs;
};

ReceiverBasis MakeReceiverBasis(int n, const CMatrix *Hmat, const CMatrix *Ixtot,
                                const CMatrix *Iytot);
// A trace does not depend on those before it.
void ReceiverTraceInBasis(const ReceiverBasis &basis, int ap, double dt, const CMatrix *densmat,
                          double *re, double *im);

// Both in one, for a single trace.
void ReceiverTrace(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                   const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im);

// The published recipe, two matrix products per sample: slow, and what the tests hold the functions
// above to. Static scratch, not reentrant.
void ReceiverTracePlain(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                        const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im);

#endif
