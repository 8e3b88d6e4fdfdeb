// matrixmathlib_eigen.cpp - Hermitian eigensystems, degenerate groups, the line lists and what
// they say about the signal, the classical names.
#include "matrixmathlib.h"

#include "matrices.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <utility>

namespace
{

CMatrix A, Z, C, R, rho, H, plain;
double D[MATRIXMATH_DIM];
RealMatrix128 a, v;
ColumnStore col_re, col_im;
LineList csp, ssp;

void diagonal(std::initializer_list<double> values, CMatrix &M)
{
    CMatZero(static_cast<int>(values.size()), &M);
    int k = 0;
    for (double value : values) {
        k++;
        M[k][k][COMPLEX_RE] = value;
    }
}

// Largest element of M - Z·diag(D)·Z†.
double distance_from_decomposition(int n, const CMatrix &M)
{
    CMatZero(n, &C);
    for (int k = 1; k <= n; k++) {
        C[k][k][COMPLEX_RE] = D[k];
    }
    Adjungate(n, &Z, &R);
    Transform(n, &Z, &C, &R, &C);
    return largest_difference(n, C, M);
}

// M = U·diag(values)·U† with the unitary U = exp(i·hermitian).
void with_eigenvalues(std::initializer_list<double> values, unsigned seed, CMatrix &M)
{
    const int n = static_cast<int>(values.size());
    diagonal(values, M);
    random_hermitian(n, seed, &C);
    ExpMatrix(n, &C, 1.0, &R);
    DoRotation(n, &R, &M);
}

// ---------------------------------------------------------------------------- real symmetric

TEST(JacobiRealSymmetric, LeavesADiagonalMatrixAlone)
{
    const double values[3] = {3.0, -1.0, 2.0};
    for (int i = 0; i < 3; i++) {
        for (int j = 0; j < 3; j++) {
            a[i][j] = i == j ? values[i] : 9e-13;
        }
    }
    double d[HERMIT_REAL_DIM];
    jacobi_real_symmetric(3, a, d, v);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(d[i], values[i]);
        for (int j = 0; j < 3; j++) {
            EXPECT_EQ(v[i][j], i == j ? 1.0 : 0.0);
        }
    }
}

TEST(JacobiRealSymmetric, DiagonalisesTwoByTwoInOneRotation)
{
    a[0][0] = 2.0;
    a[1][1] = 2.0;
    a[0][1] = a[1][0] = 1.0;
    double d[HERMIT_REAL_DIM];
    jacobi_real_symmetric(2, a, d, v);
    EXPECT_NEAR(d[0], 1.0, 1e-15);
    EXPECT_NEAR(d[1], 3.0, 1e-15);
    const double h = std::sqrt(0.5);
    EXPECT_NEAR(v[0][0], h, 1e-15);
    EXPECT_NEAR(v[1][0], -h, 1e-15);
    EXPECT_NEAR(v[0][1], h, 1e-15);
    EXPECT_NEAR(v[1][1], h, 1e-15);
    EXPECT_EQ(a[0][1], 0.0);
    EXPECT_EQ(a[1][0], 0.0);
}

// Off-diagonal weight of a after the call, by the size of a dense matrix.
double remainder_after_jacobi(int N)
{
    for (int i = 0; i < N; i++) {
        for (int j = 0; j < N; j++) {
            a[i][j] = std::sin(1.0 + (i + 1.0) * (j + 1.0)) + (i == j ? i : 0.0);
        }
    }
    double d[HERMIT_REAL_DIM];
    jacobi_real_symmetric(N, a, d, v);
    double largest = 0.0;
    for (int i = 0; i < N; i++) {
        EXPECT_EQ(d[i], a[i][i]);
        for (int j = i + 1; j < N; j++) {
            largest = std::max(largest, std::fabs(a[i][j]));
            EXPECT_EQ(a[i][j], a[j][i]);
        }
    }
    return largest;
}

TEST(JacobiRealSymmetric, EndsAfterSixtyRotationsInAll)
{
    EXPECT_LT(remainder_after_jacobi(5), 1e-12);
    EXPECT_GT(remainder_after_jacobi(20), 1e-3);
}

TEST(SortEigs, SortsAscendingWithColumnsAndKeepsTheFirstOfEquals)
{
    double d[4] = {2.0, 1.0, 2.0, 0.5};
    for (int r = 0; r < 4; r++) {
        for (int c = 0; c < 4; c++) {
            v[r][c] = 10.0 * r + c;
        }
    }
    sort_eigs(4, d, v);
    const double sorted[4] = {0.5, 1.0, 2.0, 2.0};
    const int origin[4] = {3, 1, 2, 0}; // the swap carries the first 2.0 to the end
    for (int k = 0; k < 4; k++) {
        EXPECT_EQ(d[k], sorted[k]);
        for (int r = 0; r < 4; r++) {
            EXPECT_EQ(v[r][k], 10.0 * r + origin[k]);
        }
    }
    double equal[3] = {1.0, 1.0, 1.0};
    for (int c = 0; c < 3; c++) {
        v[0][c] = c;
    }
    sort_eigs(3, equal, v);
    for (int c = 0; c < 3; c++) {
        EXPECT_EQ(v[0][c], c);
    }
}

// ----------------------------------------------------------------------------------- columns

void random_columns(int n, unsigned seed)
{
    random_matrix(n, seed, &A);
    for (int r = 1; r <= n; r++) {
        for (int c = 1; c <= n; c++) {
            col_re[r][c] = A[r][c][COMPLEX_RE];
            col_im[r][c] = A[r][c][COMPLEX_IM];
        }
    }
}

void columns_as_matrix(int n, CMatrix &M)
{
    for (int r = 1; r <= n; r++) {
        for (int c = 1; c <= n; c++) {
            M[r][c][COMPLEX_RE] = col_re[r][c];
            M[r][c][COMPLEX_IM] = col_im[r][c];
        }
    }
}

TEST(ComplexGs, OrthonormalisesAllColumns)
{
    random_columns(6, 3);
    complex_gs(6, col_re, col_im);
    columns_as_matrix(6, Z);
    EXPECT_LT(distance_from_unitary(6, Z), 1e-13);
}

TEST(ComplexGs, KeepsTheDirectionOfTheFirstColumn)
{
    random_columns(3, 4);
    const double ratio = col_re[2][1] / col_im[3][1];
    complex_gs(3, col_re, col_im);
    EXPECT_NEAR(col_re[2][1] / col_im[3][1], ratio, 1e-13);
}

TEST(ComplexGs, ARangeIsOrthonormalisedAmongItselfOnly)
{
    random_columns(5, 5);
    complex_gs_range(5, 2, 4, col_re, col_im);
    columns_as_matrix(5, Z);
    for (int r = 1; r <= 5; r++) {
        for (int c : {1, 5}) {
            EXPECT_EQ(Z[r][c][COMPLEX_RE], A[r][c][COMPLEX_RE]);
            EXPECT_EQ(Z[r][c][COMPLEX_IM], A[r][c][COMPLEX_IM]);
        }
    }
    Adjungate(5, &Z, &C);
    CMatMult(5, &C, &Z, &plain);
    for (int i = 2; i <= 4; i++) {
        for (int j = 2; j <= 4; j++) {
            EXPECT_NEAR(plain[i][j][COMPLEX_RE], i == j ? 1.0 : 0.0, 1e-14);
            EXPECT_NEAR(plain[i][j][COMPLEX_IM], 0.0, 1e-14);
        }
    }
    EXPECT_GT(std::fabs(plain[1][2][COMPLEX_RE]), 1e-3);
}

TEST(ComplexGs, AZeroColumnStaysZero)
{
    random_columns(2, 6);
    for (int r = 1; r <= 2; r++) {
        col_re[r][1] = col_im[r][1] = 0.0;
    }
    complex_gs(2, col_re, col_im);
    for (int r = 1; r <= 2; r++) {
        EXPECT_EQ(col_re[r][1], 0.0);
        EXPECT_EQ(col_im[r][1], 0.0);
    }
}

// ------------------------------------------------------------------------------------ hermit

TEST(Hermit, OfADiagonalMatrixSortsItAndPermutes)
{
    diagonal({3.0, -1.0, 2.0, 0.5}, A);
    fill_all(&Z, 7.0);
    D[0] = 7.0;
    hermit(4, &A, &Z, D);
    const double sorted[4] = {-1.0, 0.5, 2.0, 3.0};
    const int row[4] = {2, 4, 3, 1};
    for (int c = 1; c <= 4; c++) {
        EXPECT_EQ(D[c], sorted[c - 1]);
        for (int r = 1; r <= 4; r++) {
            EXPECT_EQ(std::fabs(Z[r][c][COMPLEX_RE]) + std::fabs(Z[r][c][COMPLEX_IM]),
                      r == row[c - 1] ? 1.0 : 0.0);
        }
    }
    EXPECT_EQ(D[0], 7.0);
    EXPECT_TRUE(outside_is(4, Z, 7.0));
}

TEST(Hermit, DecomposesRandomMatricesOfSmallSize)
{
    for (int n : {1, 2, 3}) {
        random_hermitian(n, 60 + static_cast<unsigned>(n), &A);
        CopyCMatrix(n, &A, &plain);
        hermit(n, &A, &Z, D);
        EXPECT_TRUE(same_elements(n, A, plain)) << "n=" << n;
        EXPECT_LT(distance_from_unitary(n, Z), 1e-9) << "n=" << n;
        EXPECT_LT(distance_from_decomposition(n, A), 1e-9) << "n=" << n;
        for (int k = 2; k <= n; k++) {
            EXPECT_LE(D[k - 1], D[k]);
        }
    }
}

TEST(Hermit, OfADenseMatrixOfFourStatesOnIsApproximate)
{
    // 60 rotations are not enough for eight dense real rows and columns.
    random_hermitian(4, 64, &A);
    hermit(4, &A, &Z, D);
    EXPECT_GT(distance_from_decomposition(4, A), 1e-9);
    EXPECT_LT(distance_from_decomposition(4, A), 1e-4);
}

TEST(Hermit, EigenvectorsAreColumns)
{
    // A pure sigma-y: eigenvalues -1 and 1, vectors (1, -i) and (1, i) but for phases.
    CMatZero(2, &A);
    A[1][2][COMPLEX_IM] = -1.0;
    A[2][1][COMPLEX_IM] = 1.0;
    hermit(2, &A, &Z, D);
    EXPECT_NEAR(D[1], -1.0, 1e-14);
    EXPECT_NEAR(D[2], 1.0, 1e-14);
    EXPECT_LT(distance_from_unitary(2, Z), 1e-14);
    EXPECT_LT(distance_from_decomposition(2, A), 1e-14);
}

TEST(Hermit, ADoublyDegenerateEigenvalueGivesOrthonormalVectorsAndOneValue)
{
    for (unsigned seed = 1; seed <= 20; seed++) {
        with_eigenvalues({1.5, 1.5, -2.0}, seed, A);
        hermit(3, &A, &Z, D);
        EXPECT_EQ(D[2], D[3]) << "seed " << seed;
        EXPECT_NEAR(D[1], -2.0, 1e-12);
        EXPECT_NEAR(D[2], 1.5, 1e-12);
        EXPECT_LT(distance_from_unitary(3, Z), 1e-11) << "seed " << seed;
        EXPECT_LT(distance_from_decomposition(3, A), 1e-11) << "seed " << seed;
    }
}

TEST(Hermit, DegenerateGroupsThatRepeatAVectorAreStillUnitary)
{
    // Diagonal and equal: the embedding's vectors come as e1, e2, e3, i·e1, i·e2, i·e3, so that
    // every second member alone would give e1, e3 and i·e2 or repeat a vector.
    for (int n = 1; n <= 64; n++) {
        CMatIdentity(n, &A);
        hermit(n, &A, &Z, D);
        EXPECT_EQ(distance_from_unitary(n, Z), 0.0) << "n=" << n;
        for (int k = 1; k <= n; k++) {
            EXPECT_EQ(D[k], 1.0);
        }
    }
}

TEST(Hermit, TwoSpinHamiltoniansWithEqualOffsetsAreUnitary)
{
    // J·I1·I2 of two spins 1/2: a triplet at J/4 and a singlet at -3J/4.
    const double J = 10.0;
    diagonal({J / 4, -J / 4, -J / 4, J / 4}, A);
    A[2][3][COMPLEX_RE] = A[3][2][COMPLEX_RE] = J / 2;
    hermit(4, &A, &Z, D);
    EXPECT_NEAR(D[1], -7.5, 1e-13);
    EXPECT_NEAR(D[4], 2.5, 1e-13);
    EXPECT_EQ(D[2], D[4]);
    EXPECT_LT(distance_from_unitary(4, Z), 1e-13);
    EXPECT_LT(distance_from_decomposition(4, A), 1e-12);
}

TEST(Hermit, CloseEigenvaluesAreReportedAsOne)
{
    diagonal({1.0, 1.0 + 2.9e-9, 5.0}, A); // within (1 + 1 + 1)·1e-9 + 1e-12
    hermit(3, &A, &Z, D);
    EXPECT_EQ(D[1], 1.0);
    EXPECT_EQ(D[2], 1.0);
    EXPECT_LT(distance_from_unitary(3, Z), 1e-14);
    diagonal({1.0, 1.0 + 3.1e-9, 5.0}, A);
    hermit(3, &A, &Z, D);
    EXPECT_EQ(D[1], 1.0);
    EXPECT_EQ(D[2], 1.0 + 3.1e-9);
}

TEST(Hermit, NothingIsLeftOfALargerMatrix)
{
    static CMatrix first, second;
    double first_D[MATRIXMATH_DIM] = {}, second_D[MATRIXMATH_DIM] = {};
    for (int n : {1, 2, 3, 8}) {
        random_hermitian(n, 30, &A);
        hermit(n, &A, &first, first_D);
        random_hermitian(HERMIT_MAX_N, 31, &H);
        hermit(HERMIT_MAX_N, &H, &Z, D);
        hermit(n, &A, &second, second_D);
        EXPECT_TRUE(same_bits(first, second)) << n;
        EXPECT_TRUE(std::equal(first_D, first_D + n + 1, second_D)) << n;
    }
}

TEST(Hermit, DimensionZeroDoesNothing)
{
    fill_all(&Z, 7.0);
    D[1] = 7.0;
    hermit(0, &A, &Z, D);
    EXPECT_TRUE(outside_is(0, Z, 7.0));
    EXPECT_EQ(D[1], 7.0);
}

TEST(Hermit, RefusesMoreThan64WithOneLineAndZeros)
{
    for (int n : {65, 256}) {
        random_hermitian(n, 8, &A);
        fill_all(&Z, 7.0);
        D[n] = 7.0;
        testing::internal::CaptureStderr();
        hermit(n, &A, &Z, D);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "hermit: n = " + std::to_string(n) +
                      " is above 64, the largest dimension it can diagonalise\n");
        EXPECT_EQ(maxabs_cmat(n, &Z), 0.0);
        EXPECT_EQ(D[n], 0.0);
    }
}

TEST(Hermit, AcceptsTheLargestDimension)
{
    diagonal({}, A);
    CMatZero(64, &A);
    for (int k = 1; k <= 64; k++) {
        A[k][k][COMPLEX_RE] = 64.0 - k;
    }
    A[1][64][COMPLEX_IM] = 0.5;
    A[64][1][COMPLEX_IM] = -0.5;
    hermit(64, &A, &Z, D);
    EXPECT_LT(distance_from_unitary(64, Z), 1e-12);
    EXPECT_LT(distance_from_decomposition(64, A), 1e-11);
}

TEST(HermitianEigensystem, IsHermitsUpToItsLimit)
{
    static CMatrix Z2;
    double D2[MATRIXMATH_DIM];
    for (int n : {1, 3, 5}) { // at 5 the rotation limit shows, and stays
        random_hermitian(n, 11, &A);
        hermit(n, &A, &Z2, D2);
        hermitian_eigensystem(n, &A, &Z, D);
        EXPECT_TRUE(same_elements(n, Z, Z2)) << n;
        EXPECT_TRUE(std::equal(D + 1, D + n + 1, D2 + 1)) << n;
    }
}

TEST(HermitianEigensystem, IsAccurateAboveHermitsLimit)
{
    for (int n : {65, 96}) {
        random_hermitian(n, 12, &A);
        fill_all(&Z, 7.0);
        hermitian_eigensystem(n, &A, &Z, D);
        EXPECT_TRUE(outside_is(n, Z, 7.0));
        EXPECT_TRUE(std::is_sorted(D + 1, D + n + 1));
        EXPECT_LT(distance_from_unitary(n, Z), 1e-12);
        EXPECT_LT(distance_from_decomposition(n, A), 1e-11);
    }
}

// --------------------------------------------------------------------------------- spectra

TEST(ZeroSpectrum, ClearsTheLinesAndNothingElse)
{
    for (auto &row : csp) {
        std::fill(std::begin(row), std::end(row), 7.0);
    }
    zero_spectrum(csp);
    for (int k = 0; k < MATRIXMATH_DIM; k++) {
        EXPECT_EQ(csp[0][k], 7.0);
        EXPECT_EQ(csp[1][k], k == 0 ? 7.0 : 0.0);
        EXPECT_EQ(csp[2][k], k == 0 ? 7.0 : 0.0);
    }
}

// Re Tr(obs·rho(t)) as the line lists say it, and by propagation.
double signal_from_lines(double t, int Nc, int Ns)
{
    double sum = 0.0;
    for (int k = 1; k <= Nc; k++) {
        sum += csp[1][k] * std::cos(2.0 * pi_val() * csp[2][k] * t);
    }
    for (int k = 1; k <= Ns; k++) {
        sum += ssp[1][k] * std::sin(2.0 * pi_val() * ssp[2][k] * t);
    }
    return sum;
}

double signal_by_propagation(int n, const CMatrix &obs, double t)
{
    ExpMatrix(n, &H, t, &R);
    CopyCMatrix(n, &rho, &C);
    DoRotation(n, &R, &C);
    Complex2 value;
    ExpectationValue(n, &obs, &C, &value);
    return value[COMPLEX_RE];
}

TEST(DoSpectrum, LinesGiveThePropagatedSignal)
{
    for (unsigned seed = 1; seed <= 5; seed++) {
        // Eigenvalues whose differences stay more than 0.1 Hz apart, in rad/s.
        const int n = 3;
        with_eigenvalues({0.0, 7.0, 30.0}, seed, H);
        random_hermitian(n, 100 + seed, &rho);
        random_hermitian(n, 200 + seed, &A);
        int Nc = -1, Ns = -1;
        DoSpectrum(n, &rho, &H, &A, csp, ssp, &Nc, &Ns);
        EXPECT_EQ(Nc, 3); // one per pair of states: its two directions merge
        EXPECT_EQ(Ns, 3);
        // The lists leave out what does not oscillate: compare differences to time zero.
        const double lines_at_0 = signal_from_lines(0.0, Nc, Ns);
        const double signal_at_0 = signal_by_propagation(n, A, 0.0);
        for (double t : {0.013, 0.2, 1.7}) {
            EXPECT_NEAR(signal_from_lines(t, Nc, Ns) - lines_at_0,
                        signal_by_propagation(n, A, t) - signal_at_0, 1e-9)
                << "seed " << seed << " t " << t;
        }
        for (int k = 2; k <= Nc; k++) {
            EXPECT_LT(csp[2][k - 1], csp[2][k]);
        }
    }
}

TEST(DoSpectrum, OneSpinOneHalf)
{
    // rho = Ix under 2·pi·25·Iz: <Ix> = cos(2·pi·25·t)/2 and <Iy> = sin(2·pi·25·t)/2.
    diagonal({pi_val() * 25.0, -pi_val() * 25.0}, H);
    CMatZero(2, &rho);
    rho[1][2][COMPLEX_RE] = rho[2][1][COMPLEX_RE] = 0.5;
    int Nc = -1, Ns = -1;
    DoSpectrum(2, &rho, &H, &rho, csp, ssp, &Nc, &Ns);
    ASSERT_EQ(Nc, 1);
    EXPECT_EQ(Ns, 0);
    EXPECT_NEAR(csp[1][1], 0.5, 1e-15);
    EXPECT_NEAR(csp[2][1], 25.0, 1e-13);
    CMatZero(2, &A);
    A[1][2][COMPLEX_IM] = -0.5;
    A[2][1][COMPLEX_IM] = 0.5;
    DoSpectrum(2, &rho, &H, &A, csp, ssp, &Nc, &Ns);
    EXPECT_EQ(Nc, 0);
    ASSERT_EQ(Ns, 1);
    EXPECT_NEAR(ssp[1][1], 0.5, 1e-15);
    EXPECT_NEAR(ssp[2][1], 25.0, 1e-13);
}

TEST(DoSpectrum, TwoStronglyCoupledSpinsGiveTheFourLinesOfTheTextbook)
{
    // Mean frequency 100 Hz, difference 12 Hz, J = 5 Hz: C = 6.5 Hz, lines at 100 ± C ± J/2,
    // the inner ones (1 + J/2C)/2 high, the outer ones (1 - J/2C)/2.
    const double w = 2.0 * pi_val(), J = 5.0, half = 6.0;
    diagonal({w * (100.0 + J / 4), w * (half - J / 4), w * (-half - J / 4), w * (-100.0 + J / 4)},
             H);
    H[2][3][COMPLEX_RE] = H[3][2][COMPLEX_RE] = w * J / 2;
    CMatZero(4, &rho);
    const int coherences[4][2] = {{1, 2}, {1, 3}, {2, 4}, {3, 4}};
    for (const auto &c : coherences) {
        rho[c[0]][c[1]][COMPLEX_RE] = rho[c[1]][c[0]][COMPLEX_RE] = 0.5;
    }
    int Nc = -1, Ns = -1;
    DoSpectrum(4, &rho, &H, &rho, csp, ssp, &Nc, &Ns);
    ASSERT_EQ(Nc, 4);
    EXPECT_EQ(Ns, 0);
    const double frequency[4] = {91.0, 96.0, 104.0, 109.0};
    for (int k = 1; k <= 4; k++) {
        EXPECT_NEAR(csp[2][k], frequency[k - 1], 1e-10);
        EXPECT_NEAR(csp[1][k], 0.5 * (1.0 + (k == 2 || k == 3 ? 1.0 : -1.0) * J / 13.0), 1e-12);
    }
}

TEST(DoSpectrum, OfADensityThatCommutesWithTheHamiltonianIsEmpty)
{
    diagonal({1.0, 20.0, 70.0}, H);
    diagonal({0.5, 0.25, -0.75}, rho);
    random_hermitian(3, 9, &A);
    csp[1][1] = ssp[2][3] = 7.0;
    int Nc = -1, Ns = -1;
    DoSpectrum(3, &rho, &H, &A, csp, ssp, &Nc, &Ns);
    EXPECT_EQ(Nc, 0);
    EXPECT_EQ(Ns, 0);
    EXPECT_EQ(csp[1][1], 0.0);
    EXPECT_EQ(ssp[2][3], 0.0);
}

TEST(DoSpectrum, WithoutCountPointersTheListsStayUnmerged)
{
    diagonal({pi_val() * 25.0, -pi_val() * 25.0}, H);
    CMatZero(2, &rho);
    rho[1][2][COMPLEX_RE] = rho[2][1][COMPLEX_RE] = 0.5;
    DoSpectrum(2, &rho, &H, &rho, csp, ssp, nullptr, nullptr);
    EXPECT_NEAR(csp[1][1], 0.25, 1e-15);
    EXPECT_NEAR(csp[1][2], 0.25, 1e-15);
    EXPECT_EQ(csp[1][3], 0.0);
}

TEST(DoSpectrum, DropsLinesBeyondThe256thInPairOrder)
{
    // 17 states: 272 ordered pairs, all of amplitude 1 and, in pair order, of frequency |i - j|.
    const int n = 17;
    CMatZero(n, &H);
    for (int k = 1; k <= n; k++) {
        H[k][k][COMPLEX_RE] = 2.0 * pi_val() * k;
        for (int j = 1; j <= n; j++) {
            rho[k][j][COMPLEX_RE] = 1.0;
            rho[k][j][COMPLEX_IM] = 0.0;
        }
    }
    DoSpectrum(n, &rho, &H, &rho, csp, ssp, nullptr, nullptr);
    EXPECT_NEAR(csp[2][1], 1.0, 1e-13);   // states 1 and 2
    EXPECT_NEAR(csp[2][16], 16.0, 1e-12); // states 1 and 17
    EXPECT_NEAR(csp[2][256], 1.0, 1e-12); // states 16 and 17, the last pair of row 16
    EXPECT_EQ(csp[1][256], csp[1][1]);
    int Nc = 0;
    DoSpectrum(n, &rho, &H, &rho, csp, ssp, &Nc, nullptr);
    ASSERT_EQ(Nc, 16);
    double total = 0.0;
    for (int k = 1; k <= Nc; k++) {
        total += csp[1][k];
    }
    EXPECT_NEAR(total, 256.0, 1e-9);
}

// ------------------------------------------------------------------------------ SortSpectrum

int lines(std::initializer_list<std::pair<double, double>> amplitude_and_frequency)
{
    zero_spectrum(csp);
    int k = 0;
    for (const auto &line : amplitude_and_frequency) {
        k++;
        csp[1][k] = line.first;
        csp[2][k] = line.second;
    }
    return k;
}

void expect_lines(int count, std::initializer_list<std::pair<double, double>> expected)
{
    ASSERT_EQ(count, static_cast<int>(expected.size()));
    int k = 0;
    for (const auto &line : expected) {
        k++;
        EXPECT_EQ(csp[1][k], line.first) << "line " << k;
        EXPECT_EQ(csp[2][k], line.second) << "line " << k;
    }
}

TEST(SortSpectrum, MergesLinesWithinTheToleranceAtTheFirstOnesFrequency)
{
    int count = lines({{1.0, 10.0}, {2.0, 10.04}});
    SortSpectrum(&count, csp);
    expect_lines(count, {{3.0, 10.0}});
    EXPECT_EQ(csp[1][2], 0.0);
    EXPECT_EQ(csp[2][2], 0.0);

    count = lines({{1.0, 10.0}, {2.0, 10.06}});
    SortSpectrum(&count, csp);
    expect_lines(count, {{1.0, 10.0}, {2.0, 10.06}});
}

TEST(SortSpectrum, BothBoundsBelongToTheTolerance)
{
    int count = lines({{1.0, 10.0}, {2.0, 10.0 + 0.05}, {4.0, 10.0 - 0.05}});
    SortSpectrum(&count, csp);
    expect_lines(count, {{7.0, 10.0}});
}

TEST(SortSpectrum, AFounderDoesNotMoveAndTheFirstMatchTakesALine)
{
    // 10.08 is near to 10.04 but not to the founder 10.0; 10.05 then has two founders near.
    int count = lines({{1.0, 10.0}, {2.0, 10.04}, {4.0, 10.08}, {8.0, 10.045}});
    SortSpectrum(&count, csp);
    expect_lines(count, {{11.0, 10.0}, {4.0, 10.08}});
}

TEST(SortSpectrum, SortsByFrequency)
{
    int count = lines({{1.0, 30.0}, {2.0, 10.0}, {3.0, 20.0}, {4.0, -5.0}});
    SortSpectrum(&count, csp);
    expect_lines(count, {{4.0, -5.0}, {2.0, 10.0}, {3.0, 20.0}, {1.0, 30.0}});
}

TEST(SortSpectrum, LeavesASingleLineAndAMissingCountAlone)
{
    int count = lines({{1.0, 30.0}, {2.0, 10.0}});
    SortSpectrum(nullptr, csp);
    EXPECT_EQ(csp[2][1], 30.0);
    for (int few : {1, 0, -1}) {
        count = few;
        SortSpectrum(&count, csp);
        EXPECT_EQ(count, few);
        EXPECT_EQ(csp[2][1], 30.0);
        EXPECT_EQ(csp[2][2], 10.0);
    }
}

TEST(SortSpectrum, ClearsWhatMergingLeavesOver)
{
    int count = lines({{1.0, 5.0}, {1.0, 5.0}, {1.0, 1.0}, {1.0, 5.0}, {1.0, 1.0}});
    csp[1][6] = 9.0;
    SortSpectrum(&count, csp);
    expect_lines(count, {{2.0, 1.0}, {3.0, 5.0}});
    for (int k = 3; k <= 5; k++) {
        EXPECT_EQ(csp[1][k], 0.0);
        EXPECT_EQ(csp[2][k], 0.0);
    }
    EXPECT_EQ(csp[1][6], 9.0);
}

TEST(SortSpectrum, HandlesAFullList)
{
    for (int k = 1; k <= 256; k++) {
        csp[1][k] = k;
        csp[2][k] = 1000.0 - k;
    }
    int count = 256;
    SortSpectrum(&count, csp);
    EXPECT_EQ(count, 256);
    EXPECT_EQ(csp[1][1], 256.0);
    EXPECT_EQ(csp[2][256], 999.0);
}

// --------------------------------------------------------------------------- classical names

TEST(ClassicalNames, GiveHermitsEigensystem)
{
    const int n = 3;
    random_hermitian(n, 70, &A);
    CopyCMatrix(n, &A, &plain);
    hermit(n, &A, &C, D);
    static double d[MATRIXMATH_DIM], e[MATRIXMATH_DIM], tau[3][MATRIXMATH_DIM];
    for (int k = 0; k < MATRIXMATH_DIM; k++) {
        d[k] = e[k] = tau[0][k] = tau[1][k] = tau[2][k] = 7.0;
    }
    HTRIDI(n, &A, d, e, tau);
    EXPECT_TRUE(same_elements(n, A, plain));
    for (int k = 1; k <= n; k++) {
        EXPECT_EQ(d[k], D[k]);
        EXPECT_EQ(e[k], 0.0);
        EXPECT_EQ(tau[0][k], 7.0);
        EXPECT_EQ(tau[1][k], 1.0);
        EXPECT_EQ(tau[2][k], 0.0);
        d[k] = 7.0;
    }
    EXPECT_EQ(e[4], 7.0);
    HTRIDI(n, &A, d, nullptr, nullptr);

    // The cache outlives other calls of hermit.
    CMatIdentity(n, &R);
    hermit(n, &R, &R, D);
    int ierr = 7;
    fill_all(&Z, 7.0);
    TQL2(n, d, nullptr, &Z, &ierr);
    HTRIBK(n, &A, &Z, tau);
    EXPECT_EQ(ierr, 0);
    EXPECT_TRUE(same_elements(n, Z, C));
    EXPECT_TRUE(outside_is(n, Z, 7.0));
    hermit(n, &A, &C, D);
    for (int k = 1; k <= n; k++) {
        EXPECT_EQ(d[k], D[k]);
    }
}

TEST(ClassicalNames, AnotherDimensionThanTheLastGivesZerosAndTheIdentity)
{
    random_hermitian(3, 71, &A);
    static double d[MATRIXMATH_DIM];
    HTRIDI(3, &A, d, nullptr, nullptr);
    for (int n : {2, 4}) {
        int ierr = 7;
        std::fill(std::begin(d), std::end(d), 7.0);
        TQL2(n, d, nullptr, &Z, &ierr);
        EXPECT_EQ(ierr, 0);
        EXPECT_EQ(distance_from_identity(n, Z), 0.0);
        EXPECT_EQ(d[1], 0.0);
        EXPECT_EQ(d[n], 0.0);
        EXPECT_EQ(d[n + 1], 7.0);
        TQL2(n, d, nullptr, &Z, nullptr);
    }
}

TEST(ClassicalNames, TheStepsOfTheSolverDoNothing)
{
    double x = 7.0;
    double tau[3][MATRIXMATH_DIM] = {};
    tau[1][1] = 7.0;
    fill_all(&A, 7.0);
    fill_all(&Z, 7.0);
    pr1(1, &x, &A, &A, &x, &x, &x, &x, &x, &x, 1, 1, 1, &Z);
    pr2(1, &x, &Z, &x);
    pr1x(1, &x, &x, &x, &x, &x, &A);
    pr3x(&x, &x, &x, &x, 1, 1, &A, &x, tau);
    pr4x(&x, &x, &x, &x, &x, &x, 1, 1, &A, &x, tau);
    pr5x(1, 1, &x, &x, &x, &A, tau, &x);
    EXPECT_EQ(x, 7.0);
    EXPECT_EQ(tau[1][1], 7.0);
    EXPECT_TRUE(outside_is(0, A, 7.0));
    EXPECT_TRUE(outside_is(0, Z, 7.0));
}

} // namespace
