// receiverlib - what the receiver sees of one density matrix. No runtime state, no files.
#ifndef ZAN_RECEIVERLIB_H
#define ZAN_RECEIVERLIB_H

#include "matrixmathlib.h"

// re[k] = Re Tr(Ixtot·rho(k·dt)), im[k] = Re Tr(Iytot·rho(k·dt)), k = 0..ap-1, with
// rho(t) = exp(-i·Hmat·t)·densmat·exp(+i·Hmat·t); Hmat in rad/s, dt in s. densmat is kept.
void ReceiverTrace(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                   const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im);

// The published recipe, two matrix products per sample: slow, and what the tests hold the function
// above to. Static scratch, not reentrant.
void ReceiverTracePlain(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                        const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im);

#endif
