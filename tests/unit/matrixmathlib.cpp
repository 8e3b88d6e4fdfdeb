// matrixmathlib.cpp - the complex arithmetic: every operation against its plain formula, outputs
// that are inputs, dimension 0, the exponential, the printed form.
#include "matrixmathlib.h"

#include "matrices.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <string>

namespace
{

using cplx = std::complex<double>;

CMatrix A, B, C, out, plain, before;

cplx at(const CMatrix &M, int i, int j)
{
    return {M[i][j][COMPLEX_RE], M[i][j][COMPLEX_IM]};
}

void set(CMatrix &M, int i, int j, cplx z)
{
    M[i][j][COMPLEX_RE] = z.real();
    M[i][j][COMPLEX_IM] = z.imag();
}

void three_random_matrices(int n)
{
    random_matrix(n, 11, &A);
    random_matrix(n, 12, &B);
    random_matrix(n, 13, &C);
}

// outm = a·b element by element: two running sums over ascending k.
void element_by_element_product(int n, const CMatrix &a, const CMatrix &b, CMatrix &outm)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            double re = 0.0, im = 0.0;
            for (int k = 1; k <= n; k++) {
                re += a[i][k][1] * b[k][j][1] - a[i][k][2] * b[k][j][2];
                im += a[i][k][2] * b[k][j][1] + a[i][k][1] * b[k][j][2];
            }
            outm[i][j][1] = re;
            outm[i][j][2] = im;
        }
    }
}

TEST(MatrixMath, VersionAndPi)
{
    EXPECT_STRNE(matrixmathlib_version, "");
    EXPECT_EQ(pi_val(), 3.141592653589793);
}

TEST(MatrixMath, ZeroIdentityAndCopyTouchOnlyTheLogicalPart)
{
    const int n = 5;
    random_matrix(n, 1, &A);
    fill_all(&out, 7.0);
    CopyCMatrix(n, &A, &out);
    EXPECT_TRUE(same_elements(n, out, A));
    EXPECT_TRUE(outside_is(n, out, 7.0));
    CMatZero(n, &out);
    EXPECT_EQ(maxabs_cmat(n, &out), 0.0);
    EXPECT_TRUE(outside_is(n, out, 7.0));
    CMatIdentity(n, &out);
    EXPECT_EQ(distance_from_identity(n, out), 0.0);
    EXPECT_TRUE(outside_is(n, out, 7.0));
}

TEST(MatrixMath, ElementwiseOperationsFollowTheirFormulas)
{
    const int n = 4;
    three_random_matrices(n);
    const Complex2 c = {0.0, 0.3, -1.7};
    const cplx z(0.3, -1.7);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            CMatAdd(n, &A, &B, &out);
            EXPECT_EQ(at(out, i, j), at(A, i, j) + at(B, i, j));
            CMatRMultAdd(n, &A, 2.5, &B, -0.5, &out);
            EXPECT_NEAR(std::abs(at(out, i, j) - (2.5 * at(A, i, j) - 0.5 * at(B, i, j))), 0.0,
                        1e-15);
            RMultCMat(n, -3.0, &A, &out);
            EXPECT_EQ(at(out, i, j), -3.0 * at(A, i, j));
            CMultCMat(n, &c, &A, &out);
            EXPECT_NEAR(std::abs(at(out, i, j) - z * at(A, i, j)), 0.0, 1e-15);
        }
    }
}

TEST(MatrixMath, ElementwiseOutputsMayBeAnyInput)
{
    const int n = 6;
    const Complex2 c = {0.0, 0.3, -1.7};
    for (CMatrix *target : {&A, &B}) {
        three_random_matrices(n);
        CMatAdd(n, &A, &B, &plain);
        CMatAdd(n, &A, &B, target);
        EXPECT_TRUE(same_elements(n, *target, plain));
        three_random_matrices(n);
        CMatRMultAdd(n, &A, 2.0, &B, 3.0, &plain);
        CMatRMultAdd(n, &A, 2.0, &B, 3.0, target);
        EXPECT_TRUE(same_elements(n, *target, plain));
    }
    three_random_matrices(n);
    RMultCMat(n, 1.5, &A, &plain);
    RMultCMat(n, 1.5, &A, &A);
    EXPECT_TRUE(same_elements(n, A, plain));
    CMultCMat(n, &c, &B, &plain);
    CMultCMat(n, &c, &B, &B);
    EXPECT_TRUE(same_elements(n, B, plain));
}

TEST(NormCMatrix, ScalesToUnitFrobeniusNormInPlace)
{
    const int n = 3;
    random_matrix(n, 4, &A);
    CopyCMatrix(n, &A, &before);
    NormCMatrix(n, &A);
    double sum = 0.0;
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            sum += std::norm(at(A, i, j));
        }
    }
    EXPECT_NEAR(sum, 1.0, 1e-15);
    EXPECT_NEAR(std::abs(at(A, 2, 3) / at(A, 1, 1) - at(before, 2, 3) / at(before, 1, 1)), 0.0,
                1e-14);
}

TEST(NormCMatrix, LeavesAZeroMatrixZero)
{
    CMatZero(3, &A);
    NormCMatrix(3, &A);
    EXPECT_EQ(maxabs_cmat(3, &A), 0.0);
}

TEST(CMatMult, EqualsTheElementByElementSumsToTheBit)
{
    for (int n : {1, 2, 3, 17, 64}) {
        three_random_matrices(n);
        fill_all(&out, 7.0);
        CMatMult(n, &A, &B, &out);
        element_by_element_product(n, A, B, plain);
        EXPECT_TRUE(same_elements(n, out, plain)) << "n=" << n;
        EXPECT_TRUE(outside_is(n, out, 7.0)) << "n=" << n;
    }
}

TEST(CMatMult, SkippingZeroFactorsChangesNoBit)
{
    const int n = 12;
    three_random_matrices(n);
    for (int i = 1; i <= n; i++) {
        for (int k = 1; k <= n; k++) {
            if ((i + 2 * k) % 3 != 0) {
                set(A, i, k, {0.0, i % 2 ? -0.0 : 0.0});
            }
        }
    }
    set(A, 3, 3, {0.0, 0.5});
    set(A, 4, 4, {-0.5, 0.0});
    CMatMult(n, &A, &B, &out);
    element_by_element_product(n, A, B, plain);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            for (int part = 1; part <= 2; part++) {
                EXPECT_EQ(out[i][j][part], plain[i][j][part]);
                EXPECT_EQ(std::signbit(out[i][j][part]), std::signbit(plain[i][j][part]));
            }
        }
    }
}

TEST(CMatMult, OutputMayBeEitherFactorOrBoth)
{
    const int n = 7;
    three_random_matrices(n);
    CMatMult(n, &A, &B, &plain);
    CMatMult(n, &A, &B, &A);
    EXPECT_TRUE(same_elements(n, A, plain));
    three_random_matrices(n);
    CMatMult(n, &A, &B, &B);
    EXPECT_TRUE(same_elements(n, B, plain));
    CMatMult(n, &A, &A, &plain);
    CMatMult(n, &A, &A, &A);
    EXPECT_TRUE(same_elements(n, A, plain));
}

TEST(CMatMult, LargestDimensionIs256)
{
    const int n = 256;
    random_matrix(n, 21, &A);
    fill_all(&out, 7.0);
    CMatIdentity(n, &B);
    CMatMult(n, &B, &A, &out);
    EXPECT_TRUE(same_elements(n, out, A));
    EXPECT_TRUE(outside_is(n, out, 7.0));
}

TEST(CMatMultAdd, AddsTheScaledProduct)
{
    const int n = 5;
    three_random_matrices(n);
    CMatMult(n, &A, &B, &plain);
    CMatRMultAdd(n, &C, 1.0, &plain, -2.5, &plain);
    CMatMultAdd(n, &A, &B, -2.5, &C);
    EXPECT_TRUE(same_elements(n, C, plain));
}

TEST(CMatMultAdd, OutputMayBeAFactor)
{
    const int n = 5;
    for (CMatrix *target : {&A, &B}) {
        three_random_matrices(n);
        CMatMult(n, &A, &B, &plain);
        CMatRMultAdd(n, target, 1.0, &plain, 0.5, &plain);
        CMatMultAdd(n, &A, &B, 0.5, target);
        EXPECT_TRUE(same_elements(n, *target, plain));
    }
}

TEST(CMatCommutator, IsTheDifferenceOfBothProducts)
{
    const int n = 5;
    for (CMatrix *target : {&C, &A, &B}) {
        three_random_matrices(n);
        element_by_element_product(n, A, B, plain);
        element_by_element_product(n, B, A, before);
        CMatCommutator(n, &A, &B, target);
        for (int i = 1; i <= n; i++) {
            for (int j = 1; j <= n; j++) {
                EXPECT_EQ(at(*target, i, j), at(plain, i, j) - at(before, i, j));
            }
        }
    }
}

TEST(Transform, MultipliesThreeMatricesWithoutConjugating)
{
    const int n = 5;
    for (CMatrix *target : {&out, &A, &B, &C}) {
        three_random_matrices(n);
        element_by_element_product(n, A, B, before);
        element_by_element_product(n, before, C, plain);
        Transform(n, &A, &B, &C, target);
        EXPECT_TRUE(same_elements(n, *target, plain));
    }
}

TEST(Adjungate, ConjugatesAndTransposes)
{
    const int n = 4;
    for (CMatrix *target : {&out, &A}) {
        three_random_matrices(n);
        CopyCMatrix(n, &A, &before);
        Adjungate(n, &A, target);
        for (int i = 1; i <= n; i++) {
            for (int j = 1; j <= n; j++) {
                EXPECT_EQ(at(*target, i, j), std::conj(at(before, j, i)));
            }
        }
    }
}

TEST(Transpose, DoesNotConjugate)
{
    const int n = 4;
    for (CMatrix *target : {&out, &A}) {
        three_random_matrices(n);
        CopyCMatrix(n, &A, &before);
        Transpose(n, &A, target);
        for (int i = 1; i <= n; i++) {
            for (int j = 1; j <= n; j++) {
                EXPECT_EQ(at(*target, i, j), at(before, j, i));
            }
        }
    }
}

TEST(ExpectationValue, IsTheTraceOfTheProductUnnormalised)
{
    const int n = 6;
    three_random_matrices(n);
    Complex2 value = {0.0, 9.0, 9.0}, trace = {0.0, 9.0, 9.0};
    ExpectationValue(n, &A, &B, &value);
    CMatMult(n, &A, &B, &plain);
    CalcTrace(n, &plain, &trace);
    EXPECT_EQ(value[COMPLEX_RE], trace[COMPLEX_RE]);
    EXPECT_EQ(value[COMPLEX_IM], trace[COMPLEX_IM]);
    cplx sum = 0.0;
    for (int i = 1; i <= n; i++) {
        for (int k = 1; k <= n; k++) {
            sum += at(A, i, k) * at(B, k, i);
        }
    }
    EXPECT_NEAR(std::abs(cplx(value[COMPLEX_RE], value[COMPLEX_IM]) - sum), 0.0, 1e-14);
}

TEST(MaxabsCmat, AddsTheMagnitudesOfBothParts)
{
    CMatZero(2, &A);
    set(A, 1, 2, {-3.0, 4.0});
    set(A, 2, 1, {0.0, -6.5});
    EXPECT_EQ(maxabs_cmat(2, &A), 7.0);
}

TEST(Sign, TakesTheSignOfTheSecondAndCountsMinusZeroAsPositive)
{
    EXPECT_EQ(sign(-2.0, 3.0), 2.0);
    EXPECT_EQ(sign(2.0, -3.0), -2.0);
    EXPECT_EQ(sign(-2.0, -3.0), -2.0);
    EXPECT_EQ(sign(-2.0, 0.0), 2.0);
    EXPECT_EQ(sign(-2.0, -0.0), 2.0);
}

TEST(MatrixMath, DimensionZeroOrNegativeTouchesNothing)
{
    const Complex2 c = {0.0, 2.0, 3.0};
    for (int n : {0, -1}) {
        fill_all(&A, 5.0);
        fill_all(&B, 6.0);
        fill_all(&out, 7.0);
        CMatZero(n, &out);
        CMatIdentity(n, &out);
        CopyCMatrix(n, &A, &out);
        CMatAdd(n, &A, &B, &out);
        CMatRMultAdd(n, &A, 2.0, &B, 2.0, &out);
        RMultCMat(n, 2.0, &A, &out);
        CMultCMat(n, &c, &A, &out);
        NormCMatrix(n, &out);
        CMatMult(n, &A, &B, &out);
        CMatMultAdd(n, &A, &B, 2.0, &out);
        CMatCommutator(n, &A, &B, &out);
        Transform(n, &A, &B, &A, &out);
        Adjungate(n, &A, &out);
        Transpose(n, &A, &out);
        DoRotation(n, &A, &out);
        ExpMatrix(n, &A, 1.0, &out);
        EXPECT_TRUE(outside_is(0, out, 7.0));

        Complex2 value = {0.0, 9.0, 9.0}, trace = {0.0, 9.0, 9.0};
        ExpectationValue(n, &A, &B, &value);
        CalcTrace(n, &A, &trace);
        EXPECT_EQ(value[COMPLEX_RE], 0.0);
        EXPECT_EQ(value[COMPLEX_IM], 0.0);
        EXPECT_EQ(trace[COMPLEX_RE], 0.0);
        EXPECT_EQ(trace[COMPLEX_IM], 0.0);
        EXPECT_EQ(maxabs_cmat(n, &A), 0.0);
    }
}

TEST(DoRotation, IsAdjointTimesDensityTimesRotation)
{
    const int n = 5;
    three_random_matrices(n);
    Adjungate(n, &A, &C);
    Transform(n, &C, &B, &A, &plain);
    DoRotation(n, &A, &B);
    EXPECT_TRUE(same_elements(n, B, plain));
}

TEST(DoRotation, KeepsTraceAndFrobeniusNormUnderAUnitary)
{
    const int n = 9;
    random_hermitian(n, 31, &A);
    random_hermitian(n, 32, &B);
    ExpMatrix(n, &A, 1.3, &C);
    Complex2 trace, square, trace_after, square_after;
    CalcTrace(n, &B, &trace);
    ExpectationValue(n, &B, &B, &square);
    DoRotation(n, &C, &B);
    CalcTrace(n, &B, &trace_after);
    ExpectationValue(n, &B, &B, &square_after);
    EXPECT_NEAR(trace_after[COMPLEX_RE], trace[COMPLEX_RE], 1e-13);
    EXPECT_NEAR(square_after[COMPLEX_RE], square[COMPLEX_RE], 1e-12);
}

TEST(DoRotation, WithExpOfPlusHtEvolvesAsExpOfMinusHt)
{
    // exp(-iHt)·rho·exp(iHt) with H = w·Iz turns Ix of a spin 1/2 into cos(wt)·Ix + sin(wt)·Iy.
    const double w = 3.0, t = 0.2;
    CMatZero(2, &A);
    set(A, 1, 1, 0.5 * w);
    set(A, 2, 2, -0.5 * w);
    CMatZero(2, &B);
    set(B, 1, 2, 0.5);
    set(B, 2, 1, 0.5);
    ExpMatrix(2, &A, t, &C);
    DoRotation(2, &C, &B);
    EXPECT_NEAR(std::abs(at(B, 1, 2) - 0.5 * std::exp(cplx(0.0, -w * t))), 0.0, 1e-15);
    EXPECT_NEAR(std::abs(at(B, 2, 1) - 0.5 * std::exp(cplx(0.0, w * t))), 0.0, 1e-15);
}

TEST(Epower, GivesThePhasesOfTheEigenvalues)
{
    const double EV[4] = {99.0, 0.0, 1.5, -40.0};
    Complex2 lamb[4] = {};
    Epower(3, EV, lamb, 0.7);
    EXPECT_EQ(lamb[0][COMPLEX_RE], 0.0);
    for (int k = 1; k <= 3; k++) {
        EXPECT_EQ(lamb[k][COMPLEX_RE], std::cos(EV[k] * 0.7));
        EXPECT_EQ(lamb[k][COMPLEX_IM], std::sin(EV[k] * 0.7));
    }
}

TEST(ExpMatrix, OfAHermitianMatrixIsUnitary)
{
    for (int n : {1, 2, 5, 16, 40}) {
        random_hermitian(n, 40 + static_cast<unsigned>(n), &A);
        ExpMatrix(n, &A, 0.9, &out);
        EXPECT_LT(distance_from_unitary(n, out), 1e-13) << "n=" << n;
    }
}

TEST(ExpMatrix, OfADiagonalMatrixIsTheExponentialOfItsElements)
{
    CMatZero(3, &A);
    set(A, 1, 1, {2.0, 0.0});
    set(A, 2, 2, {-1.0, 0.25});
    set(A, 3, 3, {0.0, -0.5});
    ExpMatrix(3, &A, 1.5, &out);
    for (int k = 1; k <= 3; k++) {
        const cplx expected = std::exp(cplx(0.0, 1.5) * at(A, k, k));
        EXPECT_NEAR(std::abs(at(out, k, k) - expected), 0.0, 1e-14);
    }
    EXPECT_EQ(at(out, 1, 2), cplx(0.0));
}

TEST(ExpMatrix, RotatesASpinOneHalfAboutX)
{
    // exp(i·a·Ix) = cos(a/2) + 2i·sin(a/2)·Ix
    CMatZero(2, &A);
    set(A, 1, 2, 0.5);
    set(A, 2, 1, 0.5);
    const double a = 2.1;
    ExpMatrix(2, &A, a, &out);
    EXPECT_NEAR(std::abs(at(out, 1, 1) - std::cos(a / 2)), 0.0, 1e-15);
    EXPECT_NEAR(std::abs(at(out, 1, 2) - cplx(0.0, std::sin(a / 2))), 0.0, 1e-15);
}

TEST(ExpMatrix, OfZeroTimeOrZeroMatrixIsExactlyTheIdentity)
{
    const int n = 6;
    random_hermitian(n, 5, &A);
    ExpMatrix(n, &A, 0.0, &out);
    EXPECT_EQ(distance_from_identity(n, out), 0.0);
    CMatZero(n, &A);
    ExpMatrix(n, &A, 12.0, &out);
    EXPECT_EQ(distance_from_identity(n, out), 0.0);
}

TEST(ExpMatrix, OutputMayBeTheInput)
{
    const int n = 6;
    random_hermitian(n, 6, &A);
    ExpMatrix(n, &A, 0.8, &plain);
    fill_all(&out, 7.0);
    CopyCMatrix(n, &A, &out);
    ExpMatrix(n, &out, 0.8, &out);
    EXPECT_TRUE(same_elements(n, out, plain));
    EXPECT_TRUE(outside_is(n, out, 7.0));
}

TEST(ExpMatrix, ForwardAndBackInTimeAreInverse)
{
    const int n = 8;
    random_matrix(n, 7, &A);
    ExpMatrix(n, &A, 0.6, &B);
    ExpMatrix(n, &A, -0.6, &C);
    CMatMult(n, &B, &C, &out);
    EXPECT_LT(distance_from_identity(n, out), 1e-11);
}

// exp(i·tau) by the same steps with plain complex numbers.
cplx stepwise_exponential(double tau)
{
    int s = 0;
    for (double x = std::fabs(tau); x > 0.5 && s < 24; s++) {
        x *= 0.5;
    }
    const double t = tau / std::pow(2.0, s);
    cplx result = 1.0, term = 1.0;
    for (int k = 1; k <= 80; k++) {
        term = cplx(-term.imag() * t, term.real() * t) * (1.0 / k);
        result += term;
        if (std::fabs(term.real()) + std::fabs(term.imag()) < 1e-14) {
            break;
        }
    }
    for (int k = 0; k < s; k++) {
        result = {result.real() * result.real() - result.imag() * result.imag(),
                  2.0 * result.real() * result.imag()};
    }
    return result;
}

TEST(ExpMatrix, StopsHalvingAfterTwentyFourTimes)
{
    CMatIdentity(1, &A);
    // At 0.5·2^24 the halved step is 0.5; beyond, it grows and the series must carry it. At 22
    // it has not converged after 80 terms and is used as it stands.
    for (double x : {0x1p-24, 0x1.8p-22, 0.499999, 0.5, 0.500001, 1.0, 5.0, 22.0}) {
        const double tau = x * 0x1p24;
        ExpMatrix(1, &A, tau, &out);
        const cplx expected = stepwise_exponential(tau);
        EXPECT_EQ(std::isnan(out[1][1][COMPLEX_RE]), std::isnan(expected.real())) << "x=" << x;
        if (!std::isnan(expected.real())) {
            EXPECT_EQ(at(out, 1, 1), expected) << "x=" << x;
        }
    }
    EXPECT_GT(std::fabs(std::abs(at(out, 1, 1)) - 1.0), 1e-3);
}

TEST(ExpMatrix, MeasuresByTheLargestRowSum)
{
    // Row sums 0.5 and 0.4: no halving. The 2 x 2 series is summed by hand.
    CMatZero(2, &A);
    set(A, 1, 1, {0.2, 0.0});
    set(A, 1, 2, {0.1, 0.2});
    set(A, 2, 1, {0.1, -0.2});
    set(A, 2, 2, {-0.1, 0.0});
    const Complex2 i = {0.0, 0.0, 1.0};
    CMultCMat(2, &i, &A, &B);
    CMatIdentity(2, &plain);
    CMatIdentity(2, &C);
    for (int k = 1; k <= 80; k++) {
        CMatMult(2, &C, &B, &C);
        RMultCMat(2, 1.0 / k, &C, &C);
        CMatAdd(2, &plain, &C, &plain);
        if (maxabs_cmat(2, &C) < 1e-14) {
            break;
        }
    }
    ExpMatrix(2, &A, 1.0, &out);
    EXPECT_TRUE(same_elements(2, out, plain));
}

TEST(ShowCMatElements, PrintsBothPartsAsTables)
{
    CMatZero(2, &A);
    set(A, 1, 1, {1.0, -0.5});
    set(A, 1, 2, {-12345.678, 0.0});
    set(A, 2, 1, {0.0, 2.5e-7});
    testing::internal::CaptureStdout();
    ShowCMatElements(2, &A);
    const std::string separator(52, '=');
    const std::string header = "             1             2        \n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n" + separator + "\nREAL PART (n = 2)\n" + separator + "\n\n" + header +
                  "   1    1.0E+00  -1.2E+04 \n" + "   2    0.0E+00   0.0E+00 \n" + "\n" +
                  separator + "\nIMAGINARY PART (n = 2)\n" + separator + "\n\n" + header +
                  "   1   -5.0E-01   0.0E+00 \n" + "   2    2.5E-07   0.0E+00 \n" + "\n");
}

TEST(ShowCMatElements, OfDimensionZeroPrintsTheHeadingsOnly)
{
    testing::internal::CaptureStdout();
    ShowCMatElements(0, &A);
    const std::string separator(52, '=');
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n" + separator + "\nREAL PART (n = 0)\n" + separator + "\n\n        \n" + "\n" +
                  separator + "\nIMAGINARY PART (n = 0)\n" + separator + "\n\n        \n" + "\n");
}

} // namespace
