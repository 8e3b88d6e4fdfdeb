// matrixmathlib_sparse.cpp - lists of elements against the whole matrices, to the bit.
#include "matrixmathlib.h"

#include "matrices.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{

CMatrix A, B, expected, actual;
SparseCMatrix a, b, result;

void list_elements(int n, const CMatrix &mat, SparseCMatrix *list)
{
    for (int i = 1; i <= n; i++) {
        SparseBeginRow(i, list);
        for (int j = 1; j <= n; j++) {
            if (mat[i][j][COMPLEX_RE] != 0.0 || mat[i][j][COMPLEX_IM] != 0.0) {
                SparseAppend(i, {j, mat[i][j][COMPLEX_RE], mat[i][j][COMPLEX_IM]}, list);
            }
        }
    }
}

// About one element in every becomes a number, with a real, an imaginary part or both.
void random_sparse(int n, unsigned seed, unsigned every, CMatrix *mat, SparseCMatrix *list)
{
    std::mt19937 engine(seed);
    random_matrix(n, seed, mat);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const auto kind = engine() % (3 * every);
            if (kind != 0 && kind != 1) {
                (*mat)[i][j][COMPLEX_RE] = 0.0;
            }
            if (kind != 1 && kind != 2) {
                (*mat)[i][j][COMPLEX_IM] = 0.0;
            }
        }
    }
    list_elements(n, *mat, list);
}

void draw(int n, unsigned seed, unsigned every)
{
    random_sparse(n, seed, every, &A, &a);
    random_sparse(n, seed + 50, every, &B, &b);
    fill_all(&expected, 7.0);
    fill_all(&actual, 7.0);
}

// Both ways end in a sum that starts with zeros, so that zeros have no sign.
void expect_equal(int n, const SparseCMatrix &list, const char *what)
{
    CMatrix *const zeros = &A;
    CMatZero(n, zeros);
    CMatAdd(n, &expected, zeros, &expected);
    SparseToCMatrix(n, &list, &actual);
    EXPECT_TRUE(same_bits(expected, actual)) << what << " n=" << n;
}

const int sizes[] = {1, 2, 3, 17, 64};
const unsigned densities[] = {1, 2, 8, 1000};

TEST(SparseCMatrix, OperationsEqualThoseOfWholeMatricesToTheBit)
{
    unsigned seed = 1;
    for (int n : sizes) {
        for (unsigned every : densities) {
            draw(n, seed++, every);
            CMatMult(n, &A, &B, &expected);
            SparseMult(n, &a, &b, &result);
            expect_equal(n, result, "product");

            draw(n, seed++, every);
            CMatRMultAdd(n, &A, 0.3, &B, -1.7, &expected);
            SparseRMultAdd(n, &a, 0.3, &b, -1.7, &result);
            expect_equal(n, result, "sum");

            draw(n, seed++, every);
            RMultCMat(n, -0.7, &A, &expected);
            SparseScale(n, -0.7, &a);
            expect_equal(n, a, "multiple");

            draw(n, seed++, every);
            NormCMatrix(n, &A);
            CopyCMatrix(n, &A, &expected);
            SparseNorm(n, &a);
            expect_equal(n, a, "unit norm");

            draw(n, seed++, every);
            Complex2 dense = {}, sparse = {};
            ExpectationValue(n, &A, &B, &dense);
            SparseExpectationValue(n, &a, &B, &sparse);
            EXPECT_EQ(dense[COMPLEX_RE], sparse[COMPLEX_RE]);
            EXPECT_EQ(dense[COMPLEX_IM], sparse[COMPLEX_IM]);
        }
    }
}

TEST(SparseCMatrix, RowsStayInOrder)
{
    random_sparse(64, 5, 8, &A, &a);
    random_sparse(64, 6, 8, &B, &b);
    SparseMult(64, &a, &b, &result);
    EXPECT_GT(SparseCount(64, &result), 64);
    EXPECT_EQ(result.first[1], 0);
    for (int i = 1; i <= 64; i++) {
        for (int e = result.first[i] + 1; e < result.first[i + 1]; e++) {
            EXPECT_LT(result.elements[e - 1].col, result.elements[e].col);
        }
    }
}

TEST(SparseCMatrix, TheLargestMatrixMayBeFull)
{
    const int n = MATRIXMATH_DIM - 1;
    random_sparse(n, 9, 1, &A, &a);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            A[i][j][COMPLEX_RE] = i + 1.0 / j;
        }
    }
    list_elements(n, A, &a);
    EXPECT_EQ(SparseCount(n, &a), n * n);
    SparseIdentity(n, &b);
    EXPECT_EQ(SparseCount(n, &b), n);
    fill_all(&expected, 7.0);
    fill_all(&actual, 7.0);
    CopyCMatrix(n, &A, &expected);
    SparseMult(n, &a, &b, &result);
    expect_equal(n, result, "times the identity");
}

TEST(SparseCMatrix, AccumulatingLeavesTheRestAlone)
{
    draw(3, 4, 1);
    random_matrix(3, 77, &actual);
    CopyCMatrix(3, &actual, &expected);
    CMatAdd(3, &A, &expected, &expected);
    SparseAccumulate(3, &a, &actual);
    EXPECT_TRUE(same_bits(expected, actual));
}

TEST(SparseCMatrix, WithoutStatesThereIsNothing)
{
    fill_all(&actual, 7.0);
    SparseIdentity(0, &a);
    EXPECT_EQ(SparseCount(0, &a), 0);
    EXPECT_EQ(SparseCount(-1000, &a), 0);
    SparseNorm(0, &a);
    SparseToCMatrix(0, &a, &actual);
    EXPECT_TRUE(outside_is(0, actual, 7.0));
}

} // namespace
