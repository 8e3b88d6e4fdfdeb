// receiverlib_plain.cpp - the receiver trace by time stepping on CMatrix, the published recipe.

#include "receiverlib.h"

static double real_expectation(int n, const CMatrix *op, const CMatrix *rho)
{
    Complex2 value;
    ExpectationValue(n, op, rho, &value);
    return value[COMPLEX_RE];
}

void ReceiverTracePlain(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                        const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im)
{
    static CMatrix rho, R;
    CopyCMatrix(n, densmat, &rho);
    ExpMatrix(n, Hmat, dt, &R);
    for (int k = 0; k < ap; k++) {
        re[k] = real_expectation(n, Ixtot, &rho);
        im[k] = real_expectation(n, Iytot, &rho);
        if (k + 1 < ap)
            DoRotation(n, &R, &rho);
    }
}
