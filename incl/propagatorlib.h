// propagatorlib - propagators of one sector at many positions, and their use on many density
// matrices. Plain arrays in, plain arrays out: no runtime state, no console, no files.
//
// Packed matrices are n·n complex elements by rows from 0, the layout of the density files.
#ifndef ZAN_PROPAGATORLIB_H
#define ZAN_PROPAGATORLIB_H

#include "matrixmathlib.h"

#include <complex>
#include <memory>

void pack_matrix(int n, const CMatrix *mat, std::complex<double> *packed);
void unpack_matrix(int n, const std::complex<double> *packed, CMatrix *mat);

struct SectorSystem; // see PrepareSectorSystem

// One sector as every position sees it. Sample k = 0..ap-1 acts during [k·tau, (k+1)·tau):
//   H_k = H0 + (gx[k]·x + gy[k]·y + gz[k]·z + offset)·Izgrad + xb[k]·Ixtot + yb[k]·Iytot
struct Position {
    double x, y, z; // cm
};

struct SectorField {
    int n;                                 // states
    const CMatrix *H0;                     // rad/s
    const CMatrix *Izgrad, *Ixtot, *Iytot; // total spin operators
    int ap;                                // samples; 0 leaves every state as it is
    double tau;                            // step, s
    const double *xb, *yb;                 // RF, rad/s
    const double *gx, *gy, *gz;            // gradients, rad/s per cm; all null: none
    double offset;                         // static offset, rad/s
    Position low, high;                    // a box that holds every position of the sector
    // Helps that change no result beyond rounding:
    int spins;                  // of the product basis, the first slowest; 0: not known
    const int *twice_spin;      // 2I of each
    const SectorSystem *system; // of these operators; null: prepared in every call
};

// What depends on n, H0, Izgrad, Ixtot, Iytot and the spins alone: for many calls. Null when memory
// is short.
std::shared_ptr<const SectorSystem> PrepareSectorSystem(const SectorField &field);

// propagators[p] (packed) = U_0·U_1·…·U_(ap-1) at positions[p], U_k = exp(-i·H_k·tau).
// The numbers do not depend on which positions are asked for together.
void SectorPropagators(const SectorField &field, const Position *positions, int count,
                       std::complex<double> *propagators);

// rho[v] <- P†·rho[v]·P with P = propagators[which[v]], v = 0..count-1; all packed. With which[v]
// below 0 rho[v] is left as it is.
void RotateDensities(int n, const std::complex<double> *propagators, const int *which, int count,
                     std::complex<double> *rho);

// The published recipe, one matrix exponential per sample and position: slow, and what the tests
// hold the functions above to. Static scratch, not reentrant.
void SectorPropagatorsPlain(const SectorField &field, const Position *positions, int count,
                            std::complex<double> *propagators);
void RotateDensitiesPlain(int n, const std::complex<double> *propagators, const int *which,
                          int count, std::complex<double> *rho);

#endif
