// matrixmathlib_eigen_large.cpp - Hermitian eigensystems of any size, accurate to rounding above
// the dimension that hermit (matrixmathlib_eigen.cpp) takes.
#include "matrixmathlib.h"

#include <Eigen/Eigenvalues>

#include <complex>

static void accurate_eigensystem(int n, const CMatrix &A, CMatrix &Z, double *D)
{
    Eigen::MatrixXcd matrix(n, n);
    for (int r = 1; r <= n; r++)
        for (int c = 1; c <= n; c++)
            matrix(r - 1, c - 1) = {A[r][c][COMPLEX_RE], A[r][c][COMPLEX_IM]};
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXcd> solver(matrix);
    for (int c = 1; c <= n; c++) {
        D[c] = solver.eigenvalues()(c - 1);
        for (int r = 1; r <= n; r++) {
            const std::complex<double> z = solver.eigenvectors()(r - 1, c - 1);
            Z[r][c][COMPLEX_RE] = z.real();
            Z[r][c][COMPLEX_IM] = z.imag();
        }
    }
}

void hermitian_eigensystem(int n, const CMatrix *A, CMatrix *Z, double *D)
{
    if (n <= HERMIT_MAX_N)
        hermit(n, A, Z, D);
    else
        accurate_eigensystem(n, *A, *Z, D);
}
