// pulse_physics - what the pulses of rfpulselib do to a spin: flip angles, bands, adiabatic
// thresholds, and the areas that the 2-D spirals excite under the gradients of fieldgradientlib.
//
// One spin 1/2 is carried through 2 x 2 propagators written here; the first test holds them to
// the plain exponential and rotation of the engine, whose sense of rotation decides on which side
// of the origin an area lies.
#include "fieldgradientlib.h"
#include "matrixmathlib.h"
#include "rfpulselib.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include <gtest/gtest.h>

using Complex = std::complex<double>;

static const double PI = std::numbers::pi;
static const Complex I(0.0, 1.0);

// A sector of one spin: RF in rad/s, gradients in rad/s per cm.
struct Sector {
    int ap;
    double h; // s
    std::vector<double> xb, yb, gx, gy;

    Sector(int samples, double step)
        : ap(samples), h(step), xb(static_cast<size_t>(samples)), yb(xb), gx(xb), gy(xb)
    {
    }
};

struct Spin {
    double offset_hz = 0.0, x = 0.0, y = 0.0; // at (x, y) in cm
};

struct Magnetization {
    Complex xy;
    double z;
};

static double z_field(const Sector &s, const Spin &spin, size_t k) // rad/s
{
    return 2.0 * PI * spin.offset_hz + s.gx[k] * spin.x + s.gy[k] * spin.y;
}

// What becomes of a spin that was along +z: rho <- P†·rho·P with P = U_0·U_1·…,
// U_k = exp(-i·(xb·Ix + yb·Iy + z·Iz)·h), all of them with rows (a, b) and (-conj(b), conj(a)).
static Magnetization after(const Sector &s, const Spin &spin = {})
{
    Complex a = 1.0, b = 0.0; // of P
    for (size_t k = 0; k < s.xb.size(); k++) {
        const double bz = z_field(s, spin, k);
        const double field = std::hypot(s.xb[k], s.yb[k], bz);
        const double angle = field * s.h / 2.0;
        const double share = field > 0.0 ? std::sin(angle) / field : 0.0;
        const Complex u = std::cos(angle) - I * share * bz;
        const Complex v = -I * share * Complex(s.xb[k], -s.yb[k]);
        const Complex next = a * u - b * std::conj(v);
        b = a * v + b * std::conj(u);
        a = next;
    }
    // Elements (2, 1) and (1, 1) of P†·sigma_z·P.
    return {2.0 * a * std::conj(b), std::norm(a) - std::norm(b)};
}

// ---- the engine's sense of rotation ----

static void set_spin_half(double x, double y, double z, CMatrix *H) // x·Ix + y·Iy + z·Iz
{
    CMatZero(2, H);
    (*H)[1][1][COMPLEX_RE] = z / 2.0;
    (*H)[2][2][COMPLEX_RE] = -z / 2.0;
    (*H)[1][2][COMPLEX_RE] = (*H)[2][1][COMPLEX_RE] = x / 2.0;
    (*H)[1][2][COMPLEX_IM] = -y / 2.0;
    (*H)[2][1][COMPLEX_IM] = y / 2.0;
}

static Magnetization after_by_the_engine(const Sector &s, const Spin &spin)
{
    static CMatrix minus_H, U, rho;
    set_spin_half(0.0, 0.0, 2.0, &rho);
    for (size_t k = 0; k < s.xb.size(); k++) {
        set_spin_half(-s.xb[k], -s.yb[k], -z_field(s, spin, k), &minus_H);
        ExpMatrix(2, &minus_H, s.h, &U);
        DoRotation(2, &U, &rho);
    }
    return {Complex(rho[2][1][COMPLEX_RE], rho[2][1][COMPLEX_IM]), rho[1][1][COMPLEX_RE]};
}

TEST(PulsePhysics, TheSmallPropagationTurnsAsTheEngineDoes)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> field(-2e4, 2e4);
    Sector s(40, 2e-5);
    for (auto *samples : {&s.xb, &s.yb, &s.gx, &s.gy})
        for (double &sample : *samples)
            sample = field(random);
    for (const Spin &spin : {Spin{}, Spin{300.0, 0.0, 0.0}, Spin{-50.0, 0.7, -1.2}}) {
        const Magnetization small = after(s, spin), engine = after_by_the_engine(s, spin);
        EXPECT_NEAR(std::abs(small.xy - engine.xy), 0.0, 1e-12);
        EXPECT_NEAR(small.z, engine.z, 1e-12);
    }
}

// ---- flip angles on resonance ----

// A pulse along the phase turns +z towards the phase + 90 degrees: x takes it to +y.
static void expect_flip(const Sector &s, double flip, double phase, double tolerance)
{
    const Magnetization m = after(s);
    EXPECT_NEAR(m.z, std::cos(flip), tolerance);
    EXPECT_NEAR(std::abs(m.xy - I * std::polar(std::sin(flip), phase)), 0.0, tolerance);
}

TEST(PulsePhysics, HardPulsesTurnBy90And180Degrees)
{
    for (const double amp : {1.0, 2.0})
        for (const double phase : {0.0, PI / 2, PI, -PI / 2}) {
            Sector s(1, 1e-5);
            hardpulseproc(nullptr, phase, amp, s.xb.data(), s.yb.data());
            expect_flip(s, amp * PI / 2, phase, 1e-12);
        }
}

TEST(PulsePhysics, ARectangularPulseTurnsByAmplitudeTimesDuration)
{
    for (const double phase : {0.0, 0.8, -2.5}) {
        Sector s(100, 1e-5);
        rectangular_shape(s.ap, phase, 130.0, s.xb.data(), s.yb.data());
        expect_flip(s, 2 * PI * 130.0 * 1e-3, phase, 1e-12);
    }
}

TEST(PulsePhysics, ASincGaussPulseTurnsByQ)
{
    const double f = 1000.0;
    for (const double b : {300.0, 2000.0, 4000.0}) // the damping takes erf(pi·f/b) of the angle
        for (const double q : {0.3, PI / 2, PI}) {
            Sector s(1500, 2e-5);
            sinc_gauss_shape(s.ap, s.h, 0.4, q, f, b, s.xb.data(), s.yb.data());
            expect_flip(s, q * std::erf(PI * f / b), 0.4, 1e-5);
        }
}

TEST(PulsePhysics, ASincGaussPulseExcitesThePlusMinusFBand)
{
    Sector s(1000, 2e-5);
    const double f = 1000.0;
    sinc_gauss_shape(s.ap, s.h, 0.0, PI / 2, f, 500.0, s.xb.data(), s.yb.data());
    for (const double side : {-1.0, 1.0}) {
        for (const double share : {0.0, 0.3, 0.6})
            EXPECT_GT(std::abs(after(s, {side * share * f, 0, 0}).xy), 0.97) << side * share;
        for (const double share : {1.4, 2.0, 3.0})
            EXPECT_LT(std::abs(after(s, {side * share * f, 0, 0}).xy), 0.05) << side * share;
    }
}

// ---- hyperbolic secant: sweeps from +u·b to -u·b Hz ----

static Sector sech_full(double w_hz, double b, double u)
{
    Sector s(4000, 6.25e-6); // b·T/2 = 10 for b = 800
    sech_full_shape(s.ap, s.h, 0.7, w_hz, b, u, s.xb.data(), s.yb.data());
    return s;
}

// The closed solution for an endless pulse: offset, strength and band in units of b.
static double sech_solution(double offset_hz, double w_hz, double b, double u)
{
    const double offset = 2 * PI * offset_hz / b, w = 2 * PI * w_hz / b, mu = 2 * PI * u;
    const double p = PI * (offset + mu) / 2, m = PI * (offset - mu) / 2;
    const double root = PI * std::sqrt(std::fabs(w * w - mu * mu));
    const double swing = w > mu ? std::cos(root) : std::cosh(root);
    return std::tanh(p) * std::tanh(m) + swing / (std::cosh(p) * std::cosh(m));
}

TEST(PulsePhysics, TheSechPulseFollowsItsClosedSolution)
{
    const double b = 800.0, u = 0.8;
    for (const double w_hz : {40.0, 150.0, 400.0, 640.0, 1500.0}) {
        const Sector s = sech_full(w_hz, b, u);
        for (double offset = -1200.0; offset <= 1200.0; offset += 100.0)
            EXPECT_NEAR(after(s, {offset, 0, 0}).z, sech_solution(offset, w_hz, b, u), 2e-3)
                << w_hz << " Hz, offset " << offset;
    }
}

TEST(PulsePhysics, TheSechPulseInvertsItsBandFromAThresholdOn)
{
    const double b = 800.0, u = 0.8, band = u * b;
    for (const double w_hz : {band, 1.5 * band, 2.5 * band, 4.0 * band}) {
        const Sector s = sech_full(w_hz, b, u);
        for (const double share : {-0.7, -0.4, 0.0, 0.4, 0.7})
            EXPECT_LT(after(s, {share * band, 0, 0}).z, -0.97) << w_hz << " Hz at " << share;
        for (const double share : {-1.6, -1.4, 1.4, 1.6})
            EXPECT_GT(after(s, {share * band, 0, 0}).z, 0.97) << w_hz << " Hz at " << share;
    }
    EXPECT_GT(after(sech_full(0.1 * band, b, u)).z, 0.7);
    EXPECT_GT(after(sech_full(0.3 * band, b, u)).z, -0.5);
}

TEST(PulsePhysics, TheSechHalfPulseLeavesTheSpinAlongB1)
{
    const double phase = 0.7;
    for (const double w_hz : {2000.0, 3000.0, 5000.0}) { // whatever the strength
        Sector s(4000, 3.125e-6);
        sech_half_shape(s.ap, s.h, phase, w_hz, 800.0, 0.8, s.xb.data(), s.yb.data());
        const Magnetization m = after(s);
        EXPECT_GT(std::abs(m.xy), 0.99) << w_hz;
        EXPECT_NEAR(std::arg(m.xy), phase, 0.1) << w_hz;
    }
}

TEST(PulsePhysics, The360PulseInvertsAndBringsBack)
{
    const double b = 1600.0, u = 0.8, band = u * b / 2; // half the argument, half the band
    for (const double w_hz : {band, 2.0 * band, 3.0 * band}) {
        Sector s(8000, 6.25e-6);
        sech_double_shape(s.ap, s.h, 0.3, w_hz, b, u, s.xb.data(), s.yb.data());
        Sector first = s;
        first.xb.resize(4000);
        first.yb.resize(4000);
        for (const double share : {-0.7, -0.3, 0.0, 0.3, 0.7}) {
            const Spin spin{share * band, 0, 0};
            EXPECT_LT(after(first, spin).z, -0.97) << w_hz << " Hz at " << share;
            EXPECT_GT(after(s, spin).z, 0.9) << w_hz << " Hz at " << share;
        }
    }
}

// ---- 2-D spirals ----
//
// For a small angle the transverse magnetization is i·∫ b1(t)·exp(-i·K(t)·r) dt with
// b1 = xb + i·yb and K(t) the gradient integral from t to the end. A spiral gradient of amplitude
// G has K(t) = -(G/B)·k(t), k the trajectory of the pulse, and the factor exp(+i·k·r0) of the
// pulse puts the area at r0 when K = +k: the gradient that belongs to a pulse has A = -B.

static void set_spiral_gradients(Sector &s, double A, double n)
{
    gradproc2_compute(s.xb.size(), s.h, s.gx.data(), A, n);
    gradproc3_compute(s.xb.size(), s.h, s.gy.data(), A, n);
}

TEST(PulsePhysics, TheGaussSpiralExcitesAGaussianDisc)
{
    const double B = 5.0, n = 8.0, flip = 0.1;
    Sector s(4096, 2.5e-6);
    // The weight exp(-k²) over a spiral of pitch B/n has the transform pi·exp(-r²/4).
    gauss_spiral_shape(s.ap, s.h, flip, B * B / (PI * n), B, n, s.xb.data(), s.yb.data());
    set_spiral_gradients(s, -B, n);
    for (double x = -3.0; x <= 3.0; x += 1.0)
        for (double y = -3.0; y <= 3.0; y += 1.0) {
            const Complex ideal = I * flip * std::exp(-(x * x + y * y) / 4.0);
            EXPECT_NEAR(std::abs(after(s, {0.0, x, y}).xy - ideal), 0.0, 0.03 * flip)
                << x << ' ' << y;
        }
}

struct Rectangle {
    double dx, dy, x0, y0; // cm
};

static const double B_RECTANGLE = 14.0, N_RECTANGLE = 14.0;

// The angle `flip` in the middle of the rectangle: the transform of sinc·sinc over a spiral of
// pitch B/n is 4·pi²·n/(B²·dx·dy) inside.
static Sector rectangle_sector(const Rectangle &r, double flip, double gradient)
{
    const double B = B_RECTANGLE, n = N_RECTANGLE;
    Sector s(8192, 2e-6);
    compute_2d_sinc_offcentre(s.ap, s.h, flip, B * B * r.dx * r.dy / (4 * PI * PI * n), B, n, r.dx,
                              r.dy, r.x0, r.y0, s.xb.data(), s.yb.data());
    set_spiral_gradients(s, gradient, n);
    return s;
}

// How far (x, y) lies outside, in cm; negative inside.
static double distance_outside(const Rectangle &r, double x, double y)
{
    return std::max(std::fabs(x - r.x0) - r.dx / 2, std::fabs(y - r.y0) - r.dy / 2);
}

// Of the wanted transverse magnetization along +y: well inside nearly all, well outside hardly any.
static void expect_rectangle(const Sector &s, const Rectangle &r, double full)
{
    int inside = 0, outside = 0;
    for (double x = -2.0; x <= 2.01; x += 0.25)
        for (double y = -2.0; y <= 2.01; y += 0.25) {
            const double distance = distance_outside(r, x, y);
            const Complex m = after(s, {0.0, x, y}).xy / full;
            if (distance <= -0.2) {
                inside++;
                EXPECT_NEAR(std::abs(m - I), 0.0, 0.2) << x << ' ' << y << ": " << m;
            } else if (distance >= 0.3) {
                outside++;
                EXPECT_LT(std::abs(m), 0.12) << x << ' ' << y << ": " << m;
            }
        }
    EXPECT_GE(inside, 9);
    EXPECT_GE(outside, 100);
}

static const Rectangle centred = {2.0, 1.25, 0.0, 0.0};
static const Rectangle offcentre = {1.25, 1.5, 0.75, -0.5};

TEST(PulsePhysics, TheSincSpiralExcitesARectangleAtTheOrigin)
{
    for (const double flip : {0.1, PI / 2})
        expect_rectangle(rectangle_sector(centred, flip, -B_RECTANGLE), centred, std::sin(flip));
}

TEST(PulsePhysics, TheOffcentreSincSpiralExcitesARectangleAtItsCentre)
{
    for (const double flip : {0.1, PI / 2})
        expect_rectangle(rectangle_sector(offcentre, flip, -B_RECTANGLE), offcentre,
                         std::sin(flip));
}

TEST(PulsePhysics, TheOppositeGradientExcitesTheMirrorImage)
{
    const Rectangle mirrored = {offcentre.dx, offcentre.dy, -offcentre.x0, -offcentre.y0};
    expect_rectangle(rectangle_sector(offcentre, 0.1, B_RECTANGLE), mirrored, std::sin(0.1));
}

TEST(PulsePhysics, ASumOfOffcentrePulsesExcitesAllTheirRectangles)
{
    const Rectangle other = {1.25, 1.5, -0.75, 0.5};
    Sector sum = rectangle_sector(offcentre, 0.1, -B_RECTANGLE);
    const Sector more = rectangle_sector(other, 0.1, -B_RECTANGLE);
    add_samples(sum.ap, more.xb.data(), sum.xb.data());
    add_samples(sum.ap, more.yb.data(), sum.yb.data());
    for (const Rectangle &r : {offcentre, other})
        EXPECT_NEAR(std::abs(after(sum, {0.0, r.x0, r.y0}).xy - I * std::sin(0.1)), 0.0, 0.02);
    EXPECT_LT(std::abs(after(sum, {0.0, 1.5, 1.5}).xy), 0.02);
}
