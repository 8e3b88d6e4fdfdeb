// zan_minimiser.cpp - conjugate gradients (Polak-Ribiere) with line minimisation by Brent's
// method, and the forward-difference gradient they use.
//
// Minimises fnc of zan_optimizer over parameters that count from 0. After an interrupt everything
// returns soon, with what it has; zan_optimizer then takes the best point it has seen.

#include "zan.h"

#include "platformlib.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

static const double GOLD = 1.618034;   // how far the next point goes when a parabola says nothing
static const double GLIMIT = 100.0;    // how far a parabola may lead
static const double TINY = 1e-20;      // keeps the parabola's denominator from 0
static const double CGOLD = 0.381966;  // golden section
static const double ZEPS = 1e-10;      // keeps the tolerance at a minimum at 0 from 0
static const double LINE_TOL = 0.0001; // fractional, of the line minimum
static const double EPS = 1e-10;       // keeps the convergence test at a minimum of 0 from 0
static const int MAX_ITERATIONS = 100; // of the line search and of the conjugate gradients

using Vector = std::unique_ptr<double[]>;

static Vector new_vector(int count)
{
    return Vector{new (std::nothrow) double[(size_t)count]()};
}

double sign_double(double a, double b)
{
    return b >= 0.0 ? std::fabs(a) : -std::fabs(a);
}

// ------------------------------------------------------------------ gradient

void dfnc(double f0, const double *p, int count, double *grad)
{
    Vector longer;
    double *trial = rt.xt;
    if (count > ZAN_MAX_PARAMETERS) {
        longer = new_vector(count);
        trial = longer.get();
        if (!trial)
            return;
    }
    std::copy(p, p + count, trial);
    for (int i = 0; i < count && !plat_interrupted(); i++) {
        const double step = p[i] != 0.0 ? p[i] / 1e7 : 1e-7;
        trial[i] = p[i] + step;
        grad[i] = (fnc(trial) - f0) / step;
        trial[i] = p[i];
    }
}

// ------------------------------------------------------------------ along a line

double func(double x)
{
    double point[ZAN_MAX_PARAMETERS];
    if (rt.zan_ncom < 1 || rt.zan_ncom > ZAN_MAX_PARAMETERS)
        return fnc(rt.par);
    for (int j = 0; j < rt.zan_ncom; j++)
        point[j] = rt.pcom[j] + x * rt.xicom[j];
    return fnc(point);
}

// The points move on: a <- b, b <- c, c <- the last one, with their values.
static void shift(double *a, double *b, double *c, double d)
{
    *a = *b;
    *b = *c;
    *c = d;
}

// Where the parabola through three points has its extremum.
static double parabola_extremum(double a, double b, double c, double fa, double fb, double fc)
{
    const double r = (b - a) * (fb - fc), q = (b - c) * (fb - fa);
    const double denominator = 2.0 * sign_double(std::max(std::fabs(q - r), TINY), q - r);
    return b - ((b - c) * q - (b - a) * r) / denominator;
}

void mnbrak(double *ax, double *bx, double *cx, double *fa, double *fb, double *fc)
{
    *fa = func(*ax);
    *fb = func(*bx);
    if (*fb > *fa) { // downhill is from a to b
        std::swap(*ax, *bx);
        std::swap(*fa, *fb);
    }
    *cx = *bx + GOLD * (*bx - *ax);
    *fc = func(*cx);
    while (*fb > *fc && !plat_interrupted()) {
        const double limit = *bx + GLIMIT * (*cx - *bx);
        double u = parabola_extremum(*ax, *bx, *cx, *fa, *fb, *fc), fu;
        if ((*bx - u) * (u - *cx) > 0.0) { // between b and c
            fu = func(u);
            if (fu < *fc) {
                *ax = *bx;
                *bx = u;
                *fa = *fb;
                *fb = fu;
                return;
            }
            if (fu > *fb) {
                *cx = u;
                *fc = fu;
                return;
            }
            u = *cx + GOLD * (*cx - *bx);
            fu = func(u);
        } else if ((*cx - u) * (u - limit) > 0.0) { // between c and the limit
            fu = func(u);
            if (fu < *fc) {
                const double next = u + GOLD * (u - *cx);
                shift(bx, cx, &u, next);
                shift(fb, fc, &fu, func(next));
            }
        } else {
            u = (u - limit) * (limit - *cx) >= 0.0 ? limit : *cx + GOLD * (*cx - *bx);
            fu = func(u);
        }
        shift(ax, bx, cx, u);
        shift(fa, fb, fc, fu);
    }
}

namespace
{

// The three best points of a line so far: x the best, w the second, v the one that w was before.
struct LinePoints {
    double x, w, v, fx, fw, fv;
};

} // namespace

// The step from x to the minimum of the parabola through the three points; false when it leaves
// (a, b) or is not less than half of the step before last.
static bool parabolic_step(const LinePoints &l, double a, double b, double before_last,
                           double *step)
{
    const double r = (l.x - l.w) * (l.fx - l.fv);
    double q = (l.x - l.v) * (l.fx - l.fw);
    double p = (l.x - l.v) * q - (l.x - l.w) * r;
    q = 2.0 * (q - r);
    if (q > 0.0)
        p = -p;
    q = std::fabs(q);
    if (std::fabs(p) >= std::fabs(0.5 * q * before_last) || p <= q * (a - l.x) ||
        p >= q * (b - l.x))
        return false;
    *step = p / q;
    return true;
}

// One more point; [a, b] closes in on the minimum.
static void take_point(double u, double fu, LinePoints *l, double *a, double *b)
{
    if (fu <= l->fx) {
        (u >= l->x ? *a : *b) = l->x;
        shift(&l->v, &l->w, &l->x, u);
        shift(&l->fv, &l->fw, &l->fx, fu);
        return;
    }
    (u < l->x ? *a : *b) = u;
    if (fu <= l->fw || l->w == l->x) {
        l->v = l->w;
        l->fv = l->fw;
        l->w = u;
        l->fw = fu;
    } else if (fu <= l->fv || l->v == l->x || l->v == l->w) {
        l->v = u;
        l->fv = fu;
    }
}

double brent(double ax, double bx, double cx, double tol, double *xmin)
{
    double a = std::min(ax, cx), b = std::max(ax, cx), step = 0.0, before = 0.0;
    const double start = func(bx);
    LinePoints l = {bx, bx, bx, start, start, start};
    for (int i = 0; i < MAX_ITERATIONS && !plat_interrupted(); i++) {
        const double middle = 0.5 * (a + b);
        const double tol1 = tol * std::fabs(l.x) + ZEPS, tol2 = 2.0 * tol1;
        if (std::fabs(l.x - middle) <= tol2 - 0.5 * (b - a))
            break;
        const double before_last = before;
        before = step;
        if (std::fabs(before_last) > tol1 && parabolic_step(l, a, b, before_last, &step)) {
            const double u = l.x + step;
            if (u - a < tol2 || b - u < tol2)
                step = sign_double(tol1, middle - l.x);
        } else {
            before = (l.x >= middle ? a : b) - l.x;
            step = CGOLD * before;
        }
        const double u = l.x + (std::fabs(step) >= tol1 ? step : sign_double(tol1, step));
        take_point(u, func(u), &l, &a, &b);
    }
    *xmin = l.x;
    return l.fx;
}

void linmin(double *p, double *xi, int n, double *fret)
{
    double ax = 0.0, xx = 1.0, bx = 2.0, fa, fx, fb, xmin = 0.0;
    const int kept = std::min<int>(n, ZAN_MAX_PARAMETERS);
    rt.zan_ncom = n;
    std::copy(p, p + kept, rt.pcom);
    std::copy(xi, xi + kept, rt.xicom);
    mnbrak(&ax, &xx, &bx, &fa, &fx, &fb);
    *fret = brent(ax, xx, bx, LINE_TOL, &xmin);
    for (int j = 0; j < n; j++) {
        xi[j] *= xmin;
        p[j] += xi[j];
    }
}

// ------------------------------------------------------------------ conjugate gradients

// xi, the gradient at the new point, becomes the next direction, conjugate to the last one; false
// where the last gradient g was zero.
static bool next_direction(int n, double *g, double *hv, double *xi)
{
    double gg = 0.0, dgg = 0.0;
    for (int j = 0; j < n; j++) {
        gg += g[j] * g[j];
        dgg += (xi[j] + g[j]) * xi[j];
    }
    if (gg == 0.0)
        return false;
    const double gamma = dgg / gg;
    for (int j = 0; j < n; j++) {
        g[j] = -xi[j];
        hv[j] = g[j] + gamma * hv[j];
        xi[j] = hv[j];
    }
    return true;
}

void frprmn(double *p, int n, double ftol, int *iter, double *fret)
{
    const Vector g = new_vector(n), hv = new_vector(n), xi = new_vector(n);
    if (!g || !hv || !xi) {
        std::fprintf(stderr, "Optimization: not enough memory\n");
        return;
    }
    double fp = fnc(p);
    dfnc(fp, p, n, xi.get());
    for (int j = 0; j < n; j++)
        xi.get()[j] = hv.get()[j] = g.get()[j] = -xi.get()[j];
    for (int its = 1; its <= MAX_ITERATIONS && !plat_interrupted(); its++) {
        *iter = its;
        linmin(p, xi.get(), n, fret);
        if (2.0 * std::fabs(*fret - fp) <= ftol * (std::fabs(*fret) + std::fabs(fp) + EPS))
            return;
        fp = fnc(p);
        dfnc(fp, p, n, xi.get());
        if (!next_direction(n, g.get(), hv.get(), xi.get()))
            return;
    }
}
