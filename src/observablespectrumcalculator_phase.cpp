// observablespectrumcalculator_phase.cpp - the phase of a spectrum as a straight line over
// frequency, for the phase-corrected columns of the CSV files.

#include "observablespectrumcalculator_internal.h"

#include <cmath>

// The part of a step that lies beyond ±2·pi, in whole turns.
static double whole_turns_beyond(double step)
{
    const double turn = 2.0 * osc_pi();
    return std::fabs(step) > turn ? std::copysign(std::ceil(std::fabs(step) / turn - 1.0), step)
                                  : 0.0;
}

void unwrap_phase(double *theta, int n)
{
    for (int i = 1; i < n; i++) {
        const double turns = whole_turns_beyond(theta[i] - theta[i - 1]);
        if (std::isfinite(turns))
            theta[i] -= turns * 2.0 * osc_pi();
    }
}

namespace
{

// Sums over the points, weighted with their magnitude.
struct PhaseSums {
    double w, x, phi, xx, xphi;
};

} // namespace

static PhaseSums sum_phases(const double *spec, const double *phase, int pp, double df1_hz,
                            double fref_hz)
{
    PhaseSums sums = {};
    for (int i = 0; i < pp; i++) {
        const double re = spec[2 * (size_t)i], im = spec[2 * (size_t)i + 1];
        const double w = std::sqrt(re * re + im * im);
        if (w < 1e-9)
            continue;
        const double x = (i - pp / 2) * df1_hz - fref_hz;
        sums.w += w;
        sums.x += w * x;
        sums.phi += w * phase[i];
        sums.xx += w * x * x;
        sums.xphi += w * x * phase[i];
    }
    return sums;
}

void fit_phase0_phase1(const double *spec, int pp, double df1_hz, double fref_hz, double *phi0,
                       double *phi1)
{
    *phi0 = *phi1 = 0.0;
    const std::unique_ptr<double[]> zeros = osc_zeros(pp > 0 ? (size_t)pp : 0);
    double *phase = zeros.get();
    if (!phase)
        return;
    for (int i = 0; i < pp; i++)
        phase[i] = std::atan2(spec[2 * (size_t)i + 1], spec[2 * (size_t)i]);
    unwrap_phase(phase, pp);
    const PhaseSums s = sum_phases(spec, phase, pp, df1_hz, fref_hz);
    const double D = s.w * s.xx - s.x * s.x;
    if (!(std::fabs(D) >= 1e-30))
        return;
    *phi1 = (s.w * s.xphi - s.x * s.phi) / D;
    *phi0 = (s.phi - *phi1 * s.x) / s.w;
}
