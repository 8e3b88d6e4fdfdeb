// rfpulselib_shapes.cpp - RF pulses as plain formulas: parameters in, samples out.
//
// The questions are asked by rfpulselib.cpp; the spirals go with the gradients of
// fieldgradientlib.
#include "rfpulselib.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

double pulselib_pi(void)
{
    return 3.141592653589793;
}

static void polar(double magnitude, double phase, double *x, double *y)
{
    *x = magnitude * std::cos(phase);
    *y = magnitude * std::sin(phase);
}

// ---- hard, rectangular, sinc-Gauss ----

void hardpulseproc(int *ap, double fi, double amp, double *xb, double *yb)
{
    if (!xb || !yb)
        return;
    if (ap)
        *ap = 1;
    polar(amp * 50000.0 * pulselib_pi(), fi, &xb[0], &yb[0]);
}

void rectangular_shape(int ap, double phase, double amplitude_hz, double *xb, double *yb)
{
    for (int i = 0; i < ap; i++)
        polar(2.0 * pulselib_pi() * amplitude_hz, phase, &xb[i], &yb[i]);
}

void sinc_gauss_shape(int ap, double h, double phase, double q, double f, double b, double *xb,
                      double *yb)
{
    const double pi = pulselib_pi();
    const double half = ap / 2.0;
    for (int i = 0; i < ap; i++) {
        double t = h * (i - half);
        if (t == 0.0)
            t = 1e-9;
        polar(q * std::sin(2.0 * pi * f * t) * std::exp(-b * b * t * t) / (pi * t), phase, &xb[i],
              &yb[i]);
    }
}

// ---- spirals: k runs from radius B to 0 in n turns ----

// Speed along the spiral: |dk/dt|/B in 1/s, at the share r = t/T of the pulse.
static double spiral_speed(double n, double r, double T)
{
    const double turning = 2.0 * pulselib_pi() * n * (1.0 - r);
    return std::sqrt(turning * turning + 1.0) / T;
}

static double sinc(double x)
{
    return x == 0.0 ? 1.0 : std::sin(x) / x;
}

static double nonzero(double k)
{
    return k == 0.0 ? 1e-5 : k;
}

static void zero(int ap, double *samples)
{
    std::fill_n(samples, std::max(ap, 0), 0.0);
}

void gauss_spiral_shape(int ap, double h, double a, double A, double B, double n, double *xb,
                        double *yb)
{
    const double T = ap * h;
    zero(ap, xb);
    zero(ap, yb);
    if (T == 0.0) // a pulse without duration is no pulse
        return;
    for (int i = 0; i < ap; i++) {
        const double r = h * i / T;
        const double k = B * (1.0 - r);
        xb[i] = a * A * std::exp(-k * k) * spiral_speed(n, r, T);
    }
}

void sinc_spiral_shape(int ap, double h, double a, double A, double B, double n, double dx,
                       double dy, double *xb, double *yb)
{
    compute_2d_sinc_offcentre(ap, h, a, A, B, n, dx, dy, 0.0, 0.0, xb, yb);
    zero(ap, yb); // no -0 from negative samples
}

void compute_2d_sinc_offcentre(int ap, double h, double alfa, double A, double beta, double n,
                               double dx, double dy, double x0, double y0, double *xb, double *yb)
{
    const double T = ap * h;
    zero(ap, xb);
    zero(ap, yb);
    if (T == 0.0)
        return;
    for (int i = 0; i < ap; i++) {
        const double r = h * i / T;
        const double radius = (1.0 - r) * beta;
        const double angle = 2.0 * pulselib_pi() * n * r;
        const double kx = nonzero(radius * std::cos(angle));
        const double ky = nonzero(radius * std::sin(angle));
        const double weight = sinc(kx * dx / 2.0) * sinc(ky * dy / 2.0);
        polar(alfa * A * weight * spiral_speed(n, r, T), kx * x0 + ky * y0, &xb[i], &yb[i]);
    }
}

void add_samples(int ap, const double *more, double *samples)
{
    for (int i = 0; i < ap; i++)
        samples[i] += more[i];
}

// One record; false at the end of the list, which a zero alfa marks.
static bool read_2d_sinc(FILE *in, double (&p)[8])
{
    return std::fscanf(in, "%lf %lf %lf %lf %lf %lf %lf %lf", &p[0], &p[1], &p[2], &p[3], &p[4],
                       &p[5], &p[6], &p[7]) == 8 &&
           p[0] != 0.0;
}

bool add_2d_sincs_from_file(FILE *in, int ap, double h, double *xb, double *yb)
{
    const size_t samples = static_cast<size_t>(std::max(ap, 0));
    const std::unique_ptr<double[]> x(new (std::nothrow) double[samples]);
    const std::unique_ptr<double[]> y(new (std::nothrow) double[samples]);
    if (!x || !y)
        return false;
    double p[8];
    while (read_2d_sinc(in, p)) {
        compute_2d_sinc_offcentre(ap, h, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], x.get(),
                                  y.get());
        add_samples(ap, x.get(), xb);
        add_samples(ap, y.get(), yb);
    }
    return true;
}

// ---- hyperbolic secant ----

// The pulse at time t from its peak; 0 so far out that exp overflows.
static void sech_sample(double t, double phase, double w_hz, double b, double u, double *x,
                        double *y)
{
    const double two_pi = 2.0 * pulselib_pi();
    const double e = 2.0 / (std::exp(b * t) + std::exp(-b * t));
    if (e == 0.0)
        *x = *y = 0.0;
    else
        polar(two_pi * w_hz * e, two_pi * u * std::log(e) + phase, x, y);
}

void sech_full_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                     double *yb)
{
    const double half = ap / 2.0;
    for (int i = 0; i < ap; i++)
        sech_sample(h * (i - half), phase, w_hz, b, u, &xb[i], &yb[i]);
}

void sech_half_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                     double *yb)
{
    for (int i = 0; i < ap; i++)
        sech_sample(h * (i - ap), phase, w_hz, b, u, &xb[i], &yb[i]);
}

// The argument of sech runs at half the speed of the full shape.
void sech_double_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                       double *yb)
{
    const int p = ap / 2;
    const double half = p / 2.0;
    for (int i = 0; i < p; i++) {
        sech_sample(h * (i - half) / 2.0, phase, w_hz, b, u, &xb[i], &yb[i]);
        xb[p + i] = xb[i];
        yb[p + i] = yb[i];
    }
}
