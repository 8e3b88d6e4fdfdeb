// matrices.cpp - seeded matrices and comparisons for the tests of the numeric modules.
#include "matrices.h"

#include <cstring>
#include <random>

void fill_all(CMatrix *A, double value)
{
    for (auto &row : *A) {
        for (auto &element : row) {
            element[0] = element[1] = element[2] = value;
        }
    }
}

bool outside_is(int n, const CMatrix &A, double value)
{
    for (int i = 0; i < MATRIXMATH_DIM; i++) {
        for (int j = 0; j < MATRIXMATH_DIM; j++) {
            const bool inside = i >= 1 && i <= n && j >= 1 && j <= n;
            if (A[i][j][0] != value ||
                (!inside && (A[i][j][COMPLEX_RE] != value || A[i][j][COMPLEX_IM] != value))) {
                return false;
            }
        }
    }
    return true;
}

void random_matrix(int n, unsigned seed, CMatrix *A)
{
    std::mt19937_64 engine(seed);
    const auto next = [&engine] { return static_cast<double>(engine() >> 11) * 0x1p-52 - 1.0; };
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*A)[i][j][COMPLEX_RE] = next();
            (*A)[i][j][COMPLEX_IM] = next();
        }
    }
}

void random_hermitian(int n, unsigned seed, CMatrix *A)
{
    random_matrix(n, seed, A);
    for (int i = 1; i <= n; i++) {
        (*A)[i][i][COMPLEX_IM] = 0.0;
        for (int j = 1; j < i; j++) {
            (*A)[i][j][COMPLEX_RE] = (*A)[j][i][COMPLEX_RE];
            (*A)[i][j][COMPLEX_IM] = -(*A)[j][i][COMPLEX_IM];
        }
    }
}

double largest_difference(int n, const CMatrix &A, const CMatrix &B)
{
    static CMatrix difference;
    CMatRMultAdd(n, &A, 1.0, &B, -1.0, &difference);
    return maxabs_cmat(n, &difference);
}

double distance_from_identity(int n, const CMatrix &A)
{
    static CMatrix one;
    CMatIdentity(n, &one);
    return largest_difference(n, A, one);
}

double distance_from_unitary(int n, const CMatrix &A)
{
    static CMatrix Ad, product;
    Adjungate(n, &A, &Ad);
    CMatMult(n, &Ad, &A, &product);
    return distance_from_identity(n, product);
}

bool same_elements(int n, const CMatrix &A, const CMatrix &B)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            if (A[i][j][COMPLEX_RE] != B[i][j][COMPLEX_RE] ||
                A[i][j][COMPLEX_IM] != B[i][j][COMPLEX_IM]) {
                return false;
            }
        }
    }
    return true;
}

bool same_bits(const CMatrix &A, const CMatrix &B)
{
    return std::memcmp(&A, &B, sizeof A) == 0;
}
