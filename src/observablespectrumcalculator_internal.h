// observablespectrumcalculator_internal.h - what only the rooms observablespectrumcalculator*.cpp
// share: the way into "dm.bin" and into signal files, the receiver's Hamiltonian and operator.
#ifndef ZAN_OBSERVABLESPECTRUMCALCULATOR_INTERNAL_H
#define ZAN_OBSERVABLESPECTRUMCALCULATOR_INTERNAL_H

#include "binaryfilehandling.h"
#include "observablespectrumcalculator.h"

#include <memory>

// "dm.bin" behind its header; empty after a message when it does not fit n states.
FilePtr osc_open_density_file(int n, int *matrices);

// Hmat = -(Istat + 2·pi·offset·Iztot): free precession in the frame of the receiver, rad/s.
void osc_receiver_hamiltonian(int n, double offset_hz, const CMatrix *Istat, const CMatrix *Iztot,
                              CMatrix *Hmat);

// Density matrix and Ixtot + i·Iytot in the eigenbasis of Hmat.
struct ReceiverEigenbasis {
    CMatrix rho, receiver;
    double eigval[MATRIXMATH_DIM]; // 1..n, rad/s
};
void osc_receiver_eigenbasis(int n, const CMatrix *densmat, const CMatrix *Hmat,
                             const CMatrix *Ixtot, const CMatrix *Iytot, ReceiverEigenbasis *basis);

// "zansign.bin" behind its header. Empty after a message when it does not open or is cut short,
// silently when it holds no sample.
struct SignalInput {
    FilePtr file;
    int samples, traces;
};
SignalInput osc_open_signal_file(void);
// The next trace as (re, im) of its samples; a failed read is told on standard output.
bool osc_read_trace(const SignalInput &in, double *values);
// count zeros; null when there is no memory for them.
std::unique_ptr<double[]> osc_zeros(size_t count);

#endif
