// rfpulselib_shapes - every shape against its formula, written here a second time in long double
// and with complex numbers.
#include "pulses.h"
#include "rfpulselib.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>

#include <gtest/gtest.h>

using Real = long double;
using Sample = std::complex<Real>;

static const Real PI = 3.14159265358979323846264338327950288L;

// The first `count` samples follow the formula to 1e-12 of its peak; nothing beyond is touched.
static void expect_formula(const Pulse &pulse, int count, const std::function<Sample(int)> &formula)
{
    Real peak = 0;
    for (int i = 0; i < count; i++)
        peak = std::max(peak, std::abs(formula(i)));
    ASSERT_GT(peak, 0);
    for (int i = 0; i < count; i++) {
        const Sample got(pulse.x[static_cast<size_t>(i)], pulse.y[static_cast<size_t>(i)]);
        EXPECT_LE(static_cast<double>(std::abs(got - formula(i)) / peak), 1e-12)
            << "sample " << i << " of " << count << ": " << got << " for " << formula(i);
    }
    EXPECT_TRUE(pulse.untouched_from(count));
}

TEST(PulselibPi, IsTheDoubleNearestToPi)
{
    EXPECT_EQ(pulselib_pi(), 3.141592653589793);
}

// ---- hard pulse ----

TEST(HardPulse, IsOneSampleWhateverTheCountWas)
{
    for (const double amp : {1.0, 2.0})
        for (const double phase :
             {0.0, 1.5707963267948966, 3.141592653589793, -1.5707963267948966, 0.3}) {
            Pulse pulse(5);
            hardpulseproc(&pulse.ap, phase, amp, pulse.x.data(), pulse.y.data());
            EXPECT_EQ(pulse.ap, 1);
            expect_formula(pulse, 1, [&](int) {
                return std::polar<Real>(amp * 50000 * PI, phase); // amp·pi/2 in 10 microseconds
            });
        }
}

TEST(HardPulse, NeedsNoCount)
{
    Pulse pulse(1);
    hardpulseproc(nullptr, 0.0, 1.0, pulse.x.data(), pulse.y.data());
    EXPECT_DOUBLE_EQ(pulse.x[0], 157079.63267948966);
    EXPECT_EQ(pulse.y[0], 0.0);
}

TEST(HardPulse, WithoutAnArrayDoesNothing)
{
    Pulse pulse(3);
    hardpulseproc(&pulse.ap, 0.0, 1.0, nullptr, pulse.y.data());
    hardpulseproc(&pulse.ap, 0.0, 1.0, pulse.x.data(), nullptr);
    EXPECT_EQ(pulse.ap, 3);
    EXPECT_TRUE(pulse.untouched_from(0));
}

// ---- rectangular ----

TEST(RectangularPulse, IsConstantAlongItsPhase)
{
    for (const double phase : {0.0, 0.7, -2.0}) {
        Pulse pulse(6);
        rectangular_shape(pulse.ap, phase, 250.0, pulse.x.data(), pulse.y.data());
        expect_formula(pulse, 6, [&](int) { return std::polar<Real>(2 * PI * 250, phase); });
    }
}

// ---- sinc-Gauss ----

static Real sinc_gauss(Real t, Real q, Real f, Real b)
{
    return q * std::exp(-std::pow(b * t, 2)) * std::sin(2 * PI * f * t) / (PI * t);
}

TEST(SincGaussPulse, FollowsItsFormulaAboutTheMiddle)
{
    for (const int ap : {1, 7, 64, 101}) {
        Pulse pulse(ap, 2e-5);
        const double phase = 0.4, q = 1.2, f = 900.0, b = 1500.0;
        sinc_gauss_shape(ap, pulse.h, phase, q, f, b, pulse.x.data(), pulse.y.data());
        expect_formula(pulse, ap, [&](int i) {
            const Real t = pulse.h * (Real(i) - Real(ap) / 2);
            return std::polar<Real>(sinc_gauss(t == 0 ? 1e-9L : t, q, f, b), 0) *
                   std::polar<Real>(1, phase);
        });
    }
}

TEST(SincGaussPulse, WithAnEvenCountPeaksAtTheMiddleSample)
{
    Pulse pulse(64, 2e-5);
    sinc_gauss_shape(64, pulse.h, 0.0, 1.5, 1000.0, 800.0, pulse.x.data(), pulse.y.data());
    EXPECT_NEAR(pulse.x[32], 1.5 * 2.0 * 1000.0, 1e-6); // q·2f, taken at 1 ns
    EXPECT_LT(pulse.x[32], 1.5 * 2.0 * 1000.0);
    EXPECT_EQ(std::max_element(pulse.x.begin(), pulse.x.end() - 1) - pulse.x.begin(), 32);
    for (size_t i = 1; i < 32; i++)
        EXPECT_DOUBLE_EQ(pulse.x[32 - i], pulse.x[32 + i]) << i;
}

TEST(SincGaussPulse, WithAnOddCountHasItsPeakBetweenTwoSamples)
{
    Pulse pulse(65, 2e-5);
    sinc_gauss_shape(65, pulse.h, 0.0, 1.5, 1000.0, 800.0, pulse.x.data(), pulse.y.data());
    EXPECT_DOUBLE_EQ(pulse.x[32], pulse.x[33]); // 32.5 is the middle
    EXPECT_EQ(std::max_element(pulse.x.begin(), pulse.x.end() - 1) - pulse.x.begin(), 32);
}

// ---- spirals ----

struct Spiral {
    double a, A, B, n, dx, dy, x0, y0;
};

static const Spiral rectangle = {0.5, 2.0, 9.0, 8.0, 1.5, 0.8, 0.6, -0.4};

static Real sinc(Real k, Real width)
{
    return std::sin(k * width / 2) / (k * width / 2);
}

static Sample sinc_spiral(int i, int ap, double h, const Spiral &p)
{
    const Real T = Real(ap) * h, t = Real(h) * i;
    const Sample k = std::polar<Real>(Real(p.B) * (1 - t / T), 2 * PI * p.n * t / T);
    const Real kx = k.real() == 0 ? 1e-5L : k.real();
    const Real ky = std::sin(2 * PI * p.n * t / T) == 0 || k.imag() == 0 ? 1e-5L : k.imag();
    const Real f = std::sqrt(4 * PI * PI * p.n * p.n * std::pow(1 - t / T, 2) + 1);
    return p.a * p.A / T * sinc(kx, p.dx) * sinc(ky, p.dy) * f * std::exp(Sample(0, kx * p.x0)) *
           std::exp(Sample(0, ky * p.y0));
}

static void offcentre(Pulse &pulse, const Spiral &p)
{
    compute_2d_sinc_offcentre(pulse.ap, pulse.h, p.a, p.A, p.B, p.n, p.dx, p.dy, p.x0, p.y0,
                              pulse.x.data(), pulse.y.data());
}

static void centred(Pulse &pulse, const Spiral &p)
{
    sinc_spiral_shape(pulse.ap, pulse.h, p.a, p.A, p.B, p.n, p.dx, p.dy, pulse.x.data(),
                      pulse.y.data());
}

TEST(GaussSpiral, FollowsItsFormulaAlongX)
{
    for (const int ap : {1, 50, 333}) {
        Pulse pulse(ap, 3e-5);
        const Real T = Real(ap) * pulse.h;
        gauss_spiral_shape(ap, pulse.h, 0.7, 3.0, 2.5, 4.0, pulse.x.data(), pulse.y.data());
        expect_formula(pulse, ap, [&](int i) {
            const Real u = std::pow(1 - Real(i) / ap, 2);
            return Sample(0.7 * Real(3) * std::exp(-6.25L * u) *
                          std::sqrt(4 * PI * PI * 16 * u + 1) / T);
        });
    }
}

TEST(SincSpiral, FollowsItsFormulaAlongX)
{
    for (const int ap : {1, 50, 333}) {
        Pulse pulse(ap, 3e-5);
        Spiral p = rectangle;
        centred(pulse, p);
        p.x0 = p.y0 = 0.0;
        expect_formula(pulse, ap, [&](int i) { return sinc_spiral(i, ap, pulse.h, p); });
    }
}

TEST(SincSpiral, HasNoNegativeZerosInY)
{
    Pulse pulse(50);
    centred(pulse, rectangle);
    EXPECT_LT(*std::min_element(pulse.x.begin(), pulse.x.end()), 0.0);
    for (int i = 0; i < 50; i++)
        EXPECT_FALSE(std::signbit(pulse.y[static_cast<size_t>(i)])) << i;
}

TEST(SincSpiral, StartsAtRadiusBOnTheXAxis)
{
    Pulse pulse(40);
    centred(pulse, rectangle);
    const double kx = rectangle.B,
                 speed = std::sqrt(std::pow(2 * std::numbers::pi * rectangle.n, 2) + 1);
    const double sx = std::sin(kx * 0.75) / (kx * 0.75); // sy is 1 within 1e-11
    EXPECT_NEAR(pulse.x[0] / (rectangle.a * rectangle.A * sx * speed / 40e-5), 1.0, 1e-10);
}

TEST(OffcentreSincSpiral, FollowsItsFormula)
{
    for (const int ap : {1, 50, 333}) {
        Pulse pulse(ap, 3e-5);
        offcentre(pulse, rectangle);
        expect_formula(pulse, ap, [&](int i) { return sinc_spiral(i, ap, pulse.h, rectangle); });
    }
}

TEST(OffcentreSincSpiral, UsesAReplacedKAlsoInThePhase)
{
    Spiral p = rectangle;
    p.B = 0.0; // both components of k are 0 throughout
    p.x0 = 3e4;
    p.y0 = 2e4;
    Pulse pulse(10);
    offcentre(pulse, p);
    for (size_t i = 0; i < 10; i++)
        EXPECT_NEAR(std::atan2(pulse.y[i], pulse.x[i]), 0.5, 1e-12) << i; // 1e-5·(x0 + y0)
}

TEST(OffcentreSincSpiral, AtTheOriginIsTheCentredPulse)
{
    Spiral p = rectangle;
    p.x0 = p.y0 = 0.0;
    Pulse shifted(60), plain(60);
    offcentre(shifted, p);
    centred(plain, p);
    EXPECT_EQ(shifted.x, plain.x);
    EXPECT_EQ(shifted.y, plain.y);
}

TEST(OffcentreSincSpiral, OfNoWidthIsFinite)
{
    Spiral p = rectangle;
    p.dx = p.dy = 0.0; // a point: sinc is 1 everywhere
    Pulse pulse(10);
    offcentre(pulse, p);
    for (size_t i = 0; i < 10; i++) {
        const double u = 1.0 - static_cast<double>(i) / 10.0;
        EXPECT_NEAR(std::hypot(pulse.x[i], pulse.y[i]),
                    1e4 * std::sqrt(std::pow(16 * std::numbers::pi * u, 2) + 1), 1e-6)
            << i;
    }
}

TEST(Spirals, WithoutDurationAreZero)
{
    Pulse gauss(4, 0.0), plain(4, 0.0), shifted(4, 0.0);
    gauss_spiral_shape(4, 0.0, 1, 1, 1, 1, gauss.x.data(), gauss.y.data());
    centred(plain, rectangle);
    offcentre(shifted, rectangle);
    EXPECT_TRUE(gauss.all_zero());
    EXPECT_TRUE(plain.all_zero());
    EXPECT_TRUE(shifted.all_zero());
}

// ---- sums from a file ----

static bool add_file(const char *text, Pulse &pulse)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::tmpfile(), std::fclose);
    std::fputs(text, file.get());
    std::rewind(file.get());
    std::fill_n(pulse.x.begin(), pulse.ap, 1.0);
    std::fill_n(pulse.y.begin(), pulse.ap, -1.0);
    return add_2d_sincs_from_file(file.get(), pulse.ap, pulse.h, pulse.x.data(), pulse.y.data());
}

TEST(SincsFromFile, AddsEveryRecordUntilTheEndMark)
{
    const Spiral second = {-0.25, 1.0, 7.0, 5.0, 0.5, 0.5, -1.0, 0.25};
    struct Case {
        const char *text;
        int pulses;
    };
    for (const Case &c : {
             Case{"0.5 2 9 8 1.5 0.8 0.6 -0.4\n-0.25 1 7 5 0.5 0.5 -1 0.25\n", 2},
             Case{"0.5 2 9 8\n1.5 0.8 0.6\r\n -0.4 -25e-2\t1 7 5 0.5 0.5 -1 0.25", 2},
             Case{"0.5 2 9 8 1.5 0.8 0.6 -0.4\n0 0 0 0 0 0 0 0\n"
                  "-0.25 1 7 5 0.5 0.5 -1 0.25\n",
                  1},
             Case{"0.5 2 9 8 1.5 0.8 0.6 -0.4\n0\n", 1},
             Case{"0.5 2 9 8 1.5 0.8 0.6 -0.4\n-0.25 1 7 5 0.5 0.5 -1\n", 1},
             Case{"0.5 2 9 8 1.5 0.8 0.6 -0.4\nend\n-0.25 1 7 5 0.5 0.5 -1 0.25\n", 1},
             Case{"0.5 2 9 8 1.5 0.8 0.6\n", 0},
             Case{"0 2 9 8 1.5 0.8 0.6 -0.4\n", 0},
             Case{"-0.0 2 9 8 1.5 0.8 0.6 -0.4\n0.5 2 9 8 1.5 0.8 0.6 -0.4\n", 0},
             Case{"", 0},
             Case{"name\n", 0},
         }) {
        SCOPED_TRACE(c.text);
        Pulse pulse(30);
        ASSERT_TRUE(add_file(c.text, pulse));
        expect_formula(pulse, 30, [&](int i) {
            Sample sum(1, -1); // what was there before
            if (c.pulses > 0)
                sum += sinc_spiral(i, 30, pulse.h, rectangle);
            if (c.pulses > 1)
                sum += sinc_spiral(i, 30, pulse.h, second);
            return sum;
        });
    }
}

TEST(SincsFromFile, WithoutSamplesReadNothingOut)
{
    Pulse pulse(0);
    EXPECT_TRUE(add_file("0.5 2 9 8 1.5 0.8 0.6 -0.4\n", pulse));
    EXPECT_TRUE(pulse.untouched_from(0));
}

// ---- hyperbolic secant ----

struct Sech {
    double phase, w_hz, b, u;
};

static const Sech secant = {0.3, 1200.0, 700.0, 1.6};

static Sample sech(Real t, const Sech &p)
{
    const Real e = 1 / std::cosh(p.b * t);
    return std::polar<Real>(2 * PI * p.w_hz * e, 2 * PI * p.u * std::log(e) + p.phase);
}

TEST(SechPulse, IsCentredOnHalfTheCount)
{
    for (const int ap : {1, 8, 9, 200, 501}) {
        Pulse pulse(ap, 2e-5);
        sech_full_shape(ap, pulse.h, secant.phase, secant.w_hz, secant.b, secant.u, pulse.x.data(),
                        pulse.y.data());
        expect_formula(pulse, ap,
                       [&](int i) { return sech(pulse.h * (i - Real(ap) / 2), secant); });
    }
}

TEST(SechHalfPulse, EndsOneStepBeforeThePeak)
{
    for (const int ap : {1, 8, 9, 200}) {
        Pulse pulse(ap, 2e-5);
        sech_half_shape(ap, pulse.h, secant.phase, secant.w_hz, secant.b, secant.u, pulse.x.data(),
                        pulse.y.data());
        expect_formula(pulse, ap, [&](int i) { return sech(pulse.h * Real(i - ap), secant); });
    }
}

TEST(SechTwice, IsTwoCopiesOfHalfTheCountAndHalfTheArgument)
{
    for (const int ap : {2, 7, 8, 10, 11, 200}) { // halves of 1, 3, 4, 5, 5, 100 samples
        Pulse pulse(ap, 2e-5);
        const int p = ap / 2;
        sech_double_shape(ap, pulse.h, secant.phase, secant.w_hz, secant.b, secant.u,
                          pulse.x.data(), pulse.y.data());
        expect_formula(pulse, 2 * p,
                       [&](int i) { return sech(pulse.h * (i % p - Real(p) / 2) / 2, secant); });
    }
}

TEST(SechTwice, LeavesTheLastSampleOfAnOddCount)
{
    Pulse pulse(7);
    sech_double_shape(7, pulse.h, 0.0, 100.0, 50.0, 1.0, pulse.x.data(), pulse.y.data());
    EXPECT_NE(pulse.x[5], UNTOUCHED);
    EXPECT_EQ(pulse.x[6], UNTOUCHED);
    EXPECT_EQ(pulse.y[6], UNTOUCHED);
    Pulse single(1);
    sech_double_shape(1, single.h, 0.0, 100.0, 50.0, 1.0, single.x.data(), single.y.data());
    EXPECT_TRUE(single.untouched_from(0));
}

TEST(SechPulses, AreZeroFarOutInTheTail)
{
    Pulse full(10), half(10), twice(20);
    const double b = 1e8; // exp(b·t) overflows from the first step off the peak
    sech_full_shape(10, full.h, 0.2, 100.0, b, 1.0, full.x.data(), full.y.data());
    sech_half_shape(10, half.h, 0.2, 100.0, b, 1.0, half.x.data(), half.y.data());
    sech_double_shape(20, 2.0 * twice.h, 0.2, 100.0, b, 1.0, twice.x.data(), twice.y.data());
    EXPECT_TRUE(half.all_zero());
    for (size_t i = 0; i < 10; i++) {
        const double peak = i == 5 ? 2.0 * std::numbers::pi * 100.0 : 0.0;
        EXPECT_NEAR(full.x[i], peak * std::cos(0.2), 1e-9) << i;
        EXPECT_NEAR(full.y[i], peak * std::sin(0.2), 1e-9) << i;
        EXPECT_EQ(full.x[i], twice.x[i]) << i;
    }
}

// ---- counts ----

TEST(Shapes, OfNoSamplesWriteNothing)
{
    for (const int ap : {0, -3}) {
        Pulse p(4);
        double *x = p.x.data(), *y = p.y.data();
        rectangular_shape(ap, 0, 1, x, y);
        sinc_gauss_shape(ap, p.h, 0, 1, 1, 1, x, y);
        gauss_spiral_shape(ap, p.h, 1, 1, 1, 1, x, y);
        sinc_spiral_shape(ap, p.h, 1, 1, 1, 1, 1, 1, x, y);
        compute_2d_sinc_offcentre(ap, p.h, 1, 1, 1, 1, 1, 1, 0, 0, x, y);
        sech_full_shape(ap, p.h, 0, 1, 1, 1, x, y);
        sech_half_shape(ap, p.h, 0, 1, 1, 1, x, y);
        sech_double_shape(ap, p.h, 0, 1, 1, 1, x, y);
        EXPECT_TRUE(p.untouched_from(0)) << ap;
    }
}
