// propagatorlib_plain.cpp - the published recipe on CMatrix: one matrix exponential per sample
// and position, two matrix products per density matrix. What the fast path is compared with.

#include "propagatorlib.h"

#include <cstdint>

static double sample_offset(const SectorField &f, const Position &at, int k)
{
    if (!f.gx)
        return f.offset;
    return f.gx[k] * at.x + f.gy[k] * at.y + f.gz[k] * at.z + f.offset;
}

// U = exp(-i·H_k·tau); offset in rad/s
static void step_propagator(const SectorField &f, double offset, int k, CMatrix *U)
{
    static CMatrix H;
    RMultCMat(f.n, offset, f.Izgrad, &H);
    CMatAdd(f.n, &H, f.H0, &H);
    CMatRMultAdd(f.n, &H, 1.0, f.Ixtot, f.xb[k], &H);
    CMatRMultAdd(f.n, &H, 1.0, f.Iytot, f.yb[k], &H);
    RMultCMat(f.n, -1.0, &H, &H);
    ExpMatrix(f.n, &H, f.tau, U);
}

static void sector_propagator(const SectorField &f, const Position &at, CMatrix *P)
{
    static CMatrix U;
    double last_offset = 0.0;
    CMatIdentity(f.n, P);
    for (int k = 0; k < f.ap; k++) {
        const double offset = sample_offset(f, at, k);
        const bool repeated =
            k > 0 && f.xb[k] == f.xb[k - 1] && f.yb[k] == f.yb[k - 1] && offset == last_offset;
        if (!repeated)
            step_propagator(f, offset, k, &U);
        CMatMult(f.n, P, &U, P);
        last_offset = offset;
    }
}

void SectorPropagatorsPlain(const SectorField &field, const Position *positions, int count,
                            std::complex<double> *propagators)
{
    static CMatrix P;
    const int64_t size = (int64_t)field.n * field.n;
    for (int p = 0; p < count; p++) {
        sector_propagator(field, positions[p], &P);
        pack_matrix(field.n, &P, propagators + p * size);
    }
}

void RotateDensitiesPlain(int n, const std::complex<double> *propagators, const int *which,
                          int count, std::complex<double> *rho)
{
    static CMatrix P, density;
    const int64_t size = (int64_t)n * n;
    int unpacked = -1;
    for (int v = 0; v < count; v++) {
        if (which[v] < 0)
            continue;
        if (which[v] != unpacked)
            unpack_matrix(n, propagators + which[v] * size, &P);
        unpacked = which[v];
        unpack_matrix(n, rho + v * size, &density);
        DoRotation(n, &P, &density);
        pack_matrix(n, &density, rho + v * size);
    }
}
