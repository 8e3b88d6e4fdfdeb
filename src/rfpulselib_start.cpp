// rfpulselib_start.cpp - start pulses of the optimizer.
//
// A pulse that already lies in the optimizer's search space (rfpulseparam) and already has the
// wanted flip angle. The prompts are read as in the other dialogs of rfpulselib.
#include "rfpulselib.h"

#include "rfpulseparam.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <new>

namespace
{

// Where the pulse lies, the x and y parts of its direction.
struct Direction {
    double x, y;
};

// What is asked at the console.
struct StartPulseWish {
    double rf_ampl_hz, flip_deg, phase_deg;
};

} // namespace

static double radians(double deg)
{
    return deg * pulselib_pi() / 180.0;
}

static double degrees(double rad)
{
    return rad * 180.0 / pulselib_pi();
}

// 0, after the message on the error stream.
static int refuse(const char *message)
{
    std::fprintf(stderr, "%s\n", message);
    return 0;
}

// ----------------------------------------------------------------------------- making the pulse

static int check_request(int ap, double h, const double *xb, const double *yb, int npar,
                         const StartPulseWish &wish)
{
    if (!xb || !yb)
        return refuse("GenerateOptimizationStartPulse: null pulse arrays");
    if (ap <= 1 || !(h > 0.0) || npar <= 0)
        return refuse("GenerateOptimizationStartPulse: invalid ap/h/npar");
    if (!(wish.rf_ampl_hz > 0.0) || !(wish.flip_deg > 0.0))
        return refuse("GenerateOptimizationStartPulse: invalid RF amplitude or flip angle");
    if (rfpulseparam_max_modes(npar, ap) < 1)
        return refuse("GenerateOptimizationStartPulse: no usable Fourier modes");
    return 1;
}

// Half a cosine, 1 at the lowest mode and 0 at the highest.
static double taper(int mode, int nmodes)
{
    return nmodes == 1 ? 1.0 : 0.5 * (1.0 + std::cos(pulselib_pi() * mode / (nmodes - 1)));
}

// Real parts only: a symmetric pulse about its middle sample. The y parameters are counted from
// twice the modes, which is where the conversion looks for them when npar is a multiple of 4.
static void fill_modes(int npar, int nmodes, Direction along, double *par)
{
    const int y_base = 2 * (npar / 4);
    for (int j = 0; j < nmodes; j++) {
        par[2 * j] = taper(j, nmodes) * along.x;
        par[y_base + 2 * j] = taper(j, nmodes) * along.y;
    }
}

// rad
static double flip_angle(int ap, double h, const double *xb, const double *yb, Direction along)
{
    double flip = 0.0;
    for (int i = 0; i < ap; i++)
        flip += (xb[i] * along.x + yb[i] * along.y) * h;
    return flip;
}

static double peak_amplitude(int ap, const double *xb, const double *yb)
{
    double peak = 0.0;
    for (int i = 0; i < ap; i++)
        peak = std::max(peak, std::sqrt(xb[i] * xb[i] + yb[i] * yb[i]));
    return peak;
}

static void scale_pulse(int ap, double factor, double *xb, double *yb)
{
    for (int i = 0; i < ap; i++) {
        xb[i] *= factor;
        yb[i] *= factor;
    }
}

// True when the pulse had to be scaled down; its flip angle is then too small.
static bool limit_amplitude(int ap, double limit, double *xb, double *yb)
{
    const double peak = peak_amplitude(ap, xb, yb);
    if (!(peak > limit))
        return false;
    scale_pulse(ap, limit / peak, xb, yb);
    return true;
}

static void report(int ap, double h, int nmodes, const StartPulseWish &wish, double flip,
                   double peak, bool clipped)
{
    std::printf("\nOptimization start pulse generated (direct Fourier-domain):\n");
    std::printf("  ap                   = %d\n", ap);
    std::printf("  h                    = %.6g s\n", h);
    std::printf("  retained modes/ch    = %d\n", nmodes);
    std::printf("  initial phase        = %.6g deg\n", wish.phase_deg);
    std::printf("  target flip angle    = %.6g deg\n", wish.flip_deg);
    std::printf("  actual flip angle    = %.6g deg\n", degrees(flip));
    std::printf("  max amplitude limit  = %.6g Hz\n", wish.rf_ampl_hz);
    std::printf("  peak |B1| (internal) = %.6g rad/s\n", peak);
    std::printf("  peak |B1|            = %.6g Hz\n", peak / (2.0 * pulselib_pi()));
    if (clipped)
        std::printf("  NOTE: start pulse was rescaled to satisfy the RF amplitude limit.\n");
}

static int make_start_pulse(int ap, double h, double *xb, double *yb, int npar,
                            const StartPulseWish &wish)
{
    if (!check_request(ap, h, xb, yb, npar, wish))
        return 0;
    const std::unique_ptr<double[]> par{new (std::nothrow) double[static_cast<size_t>(npar)]()};
    if (!par)
        return refuse("Memory allocation failed (par)");
    const int nmodes = rfpulseparam_max_modes(npar, ap);
    const double phase = radians(wish.phase_deg);
    const Direction along = {std::cos(phase), std::sin(phase)};
    fill_modes(npar, nmodes, along, par.get());
    ParArrayToRFPulseLowMode(npar, ap, par.get(), xb, yb);

    const double flip = flip_angle(ap, h, xb, yb, along);
    if (!(std::fabs(flip) >= 1e-15))
        return refuse("GenerateOptimizationStartPulse: initial flip angle is zero");
    scale_pulse(ap, radians(wish.flip_deg) / flip, xb, yb);
    const bool clipped = limit_amplitude(ap, 2.0 * pulselib_pi() * wish.rf_ampl_hz, xb, yb);
    report(ap, h, nmodes, wish, flip_angle(ap, h, xb, yb, along), peak_amplitude(ap, xb, yb),
           clipped);
    return 1;
}

int generate_optimization_start_pulse_core(int ap, double h, double *xb, double *yb, int npar,
                                           double rf_ampl_hz, double flip_deg, double phase_deg)
{
    return make_start_pulse(ap, h, xb, yb, npar, {rf_ampl_hz, flip_deg, phase_deg});
}

// -------------------------------------------------------------------------------------- dialogs

static bool ask_finite(const char *prompt, double *value)
{
    return scan_double_prompt(prompt, value) && std::isfinite(*value);
}

static bool ask_positive(const char *prompt, double *value)
{
    return ask_finite(prompt, value) && *value > 0.0;
}

// The count stands in *ap as typed, even when it is refused.
static int ask_points(int *ap)
{
    if (!scan_int_prompt("Total number of RF pulse sample points : ", ap) || *ap <= 1)
        return refuse("Invalid number of points");
    clamp_ap(ap);
    return 1;
}

static int ask_wish(StartPulseWish *wish)
{
    if (!ask_positive("RF-amplitude A [Hz]                    : ", &wish->rf_ampl_hz))
        return refuse("Invalid RF amplitude");
    if (!ask_positive("Target flip angle [deg]                : ", &wish->flip_deg))
        return refuse("Invalid target flip angle");
    if (!ask_finite("Initial RF phase [deg]                 : ", &wish->phase_deg))
        return refuse("Invalid initial RF phase");
    return 1;
}

int GenerateOptimizationStartPulse(int *ap, double *h, double *xb, double *yb, int npar)
{
    if (!ap || !h || !xb || !yb)
        return refuse("GenerateOptimizationStartPulse: null pointer argument");
    if (npar < 1)
        return refuse("GenerateOptimizationStartPulse: npar not initialized");
    StartPulseWish wish;
    double h_ms;
    if (!ask_points(ap) || !ask_wish(&wish))
        return 0;
    if (!ask_positive("Pulse time step h [ms]                 : ", &h_ms))
        return refuse("Invalid time step");
    *h = 0.001 * h_ms;
    return make_start_pulse(*ap, *h, xb, yb, npar, wish);
}

int GenerateOptimizationStartPulseFixedGridInteractive(int ap, double h, double *xb, double *yb,
                                                       int npar)
{
    if (ap <= 1 || !(h > 0.0))
        return refuse("GenerateOptimizationStartPulseFixedGridInteractive: invalid ap/h");
    if (npar < 1)
        return refuse("GenerateOptimizationStartPulseFixedGridInteractive: npar not initialized");
    std::printf("Selected sector grid is fixed:\n");
    std::printf("  ap = %d\n", ap);
    std::printf("  h  = %.12g s  (%.6g ms)\n", h, h * 1000.0);
    StartPulseWish wish;
    return ask_wish(&wish) && make_start_pulse(ap, h, xb, yb, npar, wish);
}
