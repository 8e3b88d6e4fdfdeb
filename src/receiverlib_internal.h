// receiverlib_internal.h - the trace by one kernel, for receiverlib and the tests.
#ifndef ZAN_RECEIVERLIB_INTERNAL_H
#define ZAN_RECEIVERLIB_INTERNAL_H

#include "lanekernels.h"
#include "receiverlib.h"

// ReceiverTraceInBasis by one kernel; the basis must have blocks, the machine the instruction set.
void trace_by_kernel(LaneKernel kernel, const ReceiverBasis &basis, int ap, double dt,
                     const CMatrix *densmat, double *re, double *im);

#endif
