// four3 - the transforms against plain sums, their properties, and what they refuse.
#include "four3.h"
#include "memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

typedef std::complex<double> Point;
typedef std::vector<Point> Points;

static const double TWO_PI = 6.283185307179586;

static Points random_points(size_t n, unsigned seed)
{
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> part(-1.0, 1.0);
    Points x(n);
    for (Point &p : x)
        p = {part(gen), part(gen)};
    return x;
}

static Points transformed(Points x, bool inverse)
{
    EXPECT_EQ(four2_status(reinterpret_cast<double *>(x.data()), x.size(), inverse), FOUR3_OK);
    return x;
}

// fft on points at -ap/2..ap/2 - 1
static Points centred(const Points &x, bool inverse)
{
    std::vector<double> re(x.size()), im(x.size());
    for (size_t i = 0; i < x.size(); i++) {
        re[i] = x[i].real();
        im[i] = x[i].imag();
    }
    EXPECT_EQ(fft_status(x.size(), re.data(), im.data(), inverse), FOUR3_OK);
    Points result(x.size());
    for (size_t i = 0; i < x.size(); i++)
        result[i] = {re[i], im[i]};
    return result;
}

// The plain sum over points and frequencies counted from origin.
static Points plain_sum(const Points &x, bool inverse, size_t origin)
{
    const size_t n = x.size();
    const double sign = inverse ? -1.0 : 1.0;
    Points result(n);
    for (size_t k = 0; k < n; k++) {
        for (size_t i = 0; i < n; i++) {
            // Counted modulo n, so that the angle stays small and exact.
            const size_t turns = (i + n - origin) * (k + n - origin) % n;
            const double angle =
                sign * TWO_PI * static_cast<double>(turns) / static_cast<double>(n);
            result[k] += x[i] * std::polar(1.0, angle);
        }
        if (inverse)
            result[k] /= static_cast<double>(n);
    }
    return result;
}

static double largest_difference(const Points &a, const Points &b)
{
    double largest = 0.0;
    for (size_t i = 0; i < a.size(); i++)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

TEST(IsPowerOfTwo, MeansASingleBit)
{
    for (size_t n : {size_t{1}, size_t{2}, size_t{4}, size_t{8192}, size_t{1} << 63})
        EXPECT_TRUE(is_power_of_two(n)) << n;
    for (size_t n : {size_t{0}, size_t{3}, size_t{6}, size_t{100}, size_t{8191}, ~size_t{0}})
        EXPECT_FALSE(is_power_of_two(n)) << n;
}

TEST(Four2, IsThePlainSumWithAPositiveSignForward)
{
    for (size_t n = 1; n <= 512; n *= 2) {
        const Points x = random_points(n, 100 + static_cast<unsigned>(n));
        for (bool inverse : {false, true}) {
            const double error =
                largest_difference(transformed(x, inverse), plain_sum(x, inverse, 0));
            EXPECT_LT(error, 1e-13 * static_cast<double>(n)) << "n=" << n << " inv=" << inverse;
        }
    }
}

TEST(Four2, OneImpulseBecomesOnes)
{
    Points x(16);
    x[0] = 1.0;
    EXPECT_EQ(transformed(x, false), Points(16, 1.0));
}

TEST(Four2, AnImpulseAtPointOneTurnsForwards)
{
    const size_t n = 32;
    Points x(n);
    x[1] = 1.0;
    const Points spectrum = transformed(x, false);
    for (size_t k = 0; k < n; k++) {
        const Point expected = std::polar(1.0, TWO_PI * static_cast<double>(k) / 32.0);
        EXPECT_LT(std::abs(spectrum[k] - expected), 1e-14) << k;
    }
}

TEST(Four2, OnePointIsItsOwnTransform)
{
    const Points x = {{0.3, -7.0}};
    EXPECT_EQ(transformed(x, false), x);
    EXPECT_EQ(transformed(x, true), x);
}

TEST(Four2, ForwardAndInverseUndoEachOther)
{
    for (size_t n : {2u, 8u, 64u, 1024u, 8192u}) {
        const Points x = random_points(n, 7);
        EXPECT_LT(largest_difference(transformed(transformed(x, false), true), x), 1e-11) << n;
        EXPECT_LT(largest_difference(transformed(transformed(x, true), false), x), 1e-11) << n;
    }
}

TEST(Four2, IsLinear)
{
    const size_t n = 128;
    const Point a = {2.0, -0.5}, b = {-1.0, 3.0};
    const Points x = random_points(n, 1), y = random_points(n, 2);
    Points sum(n), expected(n);
    const Points tx = transformed(x, false), ty = transformed(y, false);
    for (size_t i = 0; i < n; i++) {
        sum[i] = a * x[i] + b * y[i];
        expected[i] = a * tx[i] + b * ty[i];
    }
    EXPECT_LT(largest_difference(transformed(sum, false), expected), 1e-11);
}

TEST(Four2, AShiftInTimeTurnsThePhases)
{
    const size_t n = 64, shift = 5;
    const Points x = random_points(n, 3);
    Points later = x;
    std::rotate(later.begin(), later.end() - shift, later.end());
    Points expected = transformed(x, false);
    for (size_t k = 0; k < n; k++)
        expected[k] *= std::polar(1.0, TWO_PI * static_cast<double>(shift * k % n) / 64.0);
    EXPECT_LT(largest_difference(transformed(later, false), expected), 1e-12);
}

TEST(Four2, KeepsTheEnergy)
{
    const Points x = random_points(256, 4);
    double before = 0.0, after = 0.0;
    for (const Point &p : x)
        before += std::norm(p);
    for (const Point &p : transformed(x, false))
        after += std::norm(p) / 256.0;
    EXPECT_NEAR(after, before, 1e-11);
}

// The same steps in one plain loop, the factor w by its recurrence.
static Points by_recurrence(Points x)
{
    const size_t n = x.size();
    for (size_t i = 0, j = 0; i < n; i++) {
        if (i < j)
            std::swap(x[i], x[j]);
        size_t m = n / 2;
        for (; m != 0 && j >= m; m /= 2)
            j -= m;
        j += m;
    }
    for (size_t mmax = 1; mmax < n; mmax *= 2) {
        const double theta = TWO_PI / static_cast<double>(2 * mmax), s = std::sin(theta / 2.0);
        const double wpr = -2.0 * s * s, wpi = std::sin(theta);
        double wr = 1.0, wi = 0.0;
        for (size_t m = 0; m < mmax; m++) {
            for (size_t i = m; i < n; i += 2 * mmax) {
                const Point b = x[i + mmax];
                const Point t = {wr * b.real() - wi * b.imag(), wr * b.imag() + wi * b.real()};
                x[i + mmax] = x[i] - t;
                x[i] += t;
            }
            const double next = wr + wr * wpr - wi * wpi;
            wi = wi + wr * wpi + wi * wpr;
            wr = next;
        }
    }
    return x;
}

// Fresh sines would be nearer to the plain sum, and stored spectra would change in their last
// digits.
TEST(Four2, TurningFactorsFollowTheirRecurrenceToTheBit)
{
    const Points x = random_points(4096, 5);
    EXPECT_EQ(transformed(x, false), by_recurrence(x));
}

TEST(Four2, RefusesOtherLengthsAndLeavesTheDataAlone)
{
    for (size_t n : {0u, 3u, 6u, 7u}) {
        std::vector<double> data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
        const std::vector<double> before = data;
        EXPECT_EQ(four2_status(data.data(), n, false), FOUR3_ERR_BADLEN) << n;
        EXPECT_EQ(four2_status(data.data(), n, true), FOUR3_ERR_BADLEN) << n;
        EXPECT_EQ(data, before) << n;
    }
    EXPECT_EQ(four2_status(nullptr, 4, false), FOUR3_ERR_NULLPTR);
    EXPECT_EQ(four2_status(nullptr, 3, false), FOUR3_ERR_NULLPTR);
}

TEST(Four2, ThePlainFormIsInverseForANegativeSignAndKeepsTheStatus)
{
    const Points x = random_points(8, 6);
    for (int sign : {-2, -1, 0, 1}) {
        Points y = x;
        four2(reinterpret_cast<double *>(y.data()), y.size(), sign);
        EXPECT_EQ(y, transformed(x, sign < 0)) << sign;
    }
    double data[6] = {1, 2, 3, 4, 5, 6};
    four2(data, 3, 1);
    EXPECT_EQ(four3_last_status, FOUR3_ERR_BADLEN);
    EXPECT_EQ(data[5], 6.0);
    four2(nullptr, 2, 1);
    EXPECT_EQ(four3_last_status, FOUR3_ERR_NULLPTR);
    four2(data, 2, 1);
    EXPECT_EQ(four3_last_status, FOUR3_OK);
}

TEST(Fft, IsThePlainSumAboutTheMiddle)
{
    for (size_t ap = 2; ap <= 256; ap *= 2) {
        const Points x = random_points(ap, 200 + static_cast<unsigned>(ap));
        for (bool inverse : {false, true}) {
            const double error =
                largest_difference(centred(x, inverse), plain_sum(x, inverse, ap / 2));
            EXPECT_LT(error, 1e-13 * static_cast<double>(ap)) << "ap=" << ap << " inv=" << inverse;
        }
    }
}

TEST(Fft, AConstantLiesAtFrequencyZeroInTheMiddle)
{
    for (size_t ap : {2u, 16u, 256u}) {
        Points expected(ap);
        expected[ap / 2] = static_cast<double>(ap);
        EXPECT_LT(largest_difference(centred(Points(ap, 1.0), false), expected), 1e-12) << ap;
    }
}

TEST(Fft, AnImpulseInTheMiddleBecomesOnes)
{
    Points x(64);
    x[32] = 1.0;
    EXPECT_EQ(centred(x, false), Points(64, 1.0));
}

TEST(Fft, ForwardAndInverseUndoEachOther)
{
    for (size_t ap : {2u, 4u, 256u, 8192u}) {
        const Points x = random_points(ap, 8);
        EXPECT_LT(largest_difference(centred(centred(x, false), true), x), 1e-11) << ap;
    }
}

TEST(Fft, ARealSignalHasAConjugateSpectrum)
{
    Points x = random_points(32, 9);
    for (Point &p : x)
        p = p.real();
    const Points spectrum = centred(x, false);
    EXPECT_NEAR(spectrum[16].imag(), 0.0, 1e-14);
    for (size_t k = 1; k < 16; k++)
        EXPECT_LT(std::abs(spectrum[16 + k] - std::conj(spectrum[16 - k])), 1e-13) << k;
}

TEST(Fft, RefusesWhatIsNoTransformAndLeavesTheDataAlone)
{
    std::vector<double> re(100, 1.0), im(100, 2.0);
    const std::vector<double> re_before = re, im_before = im;
    for (size_t ap :
         {size_t{0}, size_t{1}, size_t{3}, size_t{100}, size_t{1} << 59, size_t{1} << 63})
        EXPECT_EQ(fft_status(ap, re.data(), im.data(), false), FOUR3_ERR_BADLEN) << ap;
    EXPECT_EQ(fft_status(4, nullptr, im.data(), false), FOUR3_ERR_NULLPTR);
    EXPECT_EQ(fft_status(4, re.data(), nullptr, false), FOUR3_ERR_NULLPTR);
    EXPECT_EQ(fft_status(1, nullptr, im.data(), false), FOUR3_ERR_NULLPTR);
    EXPECT_EQ(re, re_before);
    EXPECT_EQ(im, im_before);
}

TEST(Fft, NoMemoryIsReportedAsABadLength)
{
    double re[4] = {1, 2, 3, 4}, im[4] = {};
    fail_array_allocation(1);
    EXPECT_EQ(fft_status(4, re, im, false), FOUR3_ERR_BADLEN);
    EXPECT_EQ(re[0], 1.0);
    EXPECT_EQ(re[3], 4.0);
    EXPECT_EQ(fft_status(4, re, im, false), FOUR3_OK);
}

TEST(Fft, ThePlainFormIsInverseForAnythingButZeroAndKeepsTheStatus)
{
    for (int boole : {-1, 0, 1, 2}) {
        double re[2] = {3.0, 1.0}, im[2] = {};
        fft(2, re, im, boole);
        EXPECT_EQ(four3_last_status, FOUR3_OK);
        EXPECT_DOUBLE_EQ(re[1], boole ? 2.0 : 4.0) << boole;
    }
    double re[3] = {1, 2, 3}, im[3] = {};
    fft(3, re, im, 0);
    EXPECT_EQ(four3_last_status, FOUR3_ERR_BADLEN);
    fft(2, nullptr, im, 0);
    EXPECT_EQ(four3_last_status, FOUR3_ERR_NULLPTR);
    EXPECT_EQ(re[2], 3.0);
}
