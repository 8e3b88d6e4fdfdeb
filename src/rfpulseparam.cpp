// rfpulseparam.cpp - a pulse as its lowest Fourier coefficients, and back.
//
// Transforms with four3. The optimizer searches over the coefficients; rfpulselib makes its start
// pulses from them.
#include "rfpulseparam.h"

#include "four3.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

int rfpulseparam_max_modes(int npar_local, int ap_local)
{
    const int hap = ap_local / 2;
    return std::min(std::max(hap, 1) - 1, npar_local / 4);
}

namespace
{

// One channel in centred order: ap points, of which re and im point at frequency 0.
struct Spectrum {
    int ap;
    std::unique_ptr<double[]> real, imag;
    double *re, *im; // frequencies -ap/2..ap/2 - 1
};

} // namespace

static double *zeros(int count)
{
    return new (std::nothrow) double[static_cast<size_t>(count)]();
}

// The pulse or its parameters stay as they were.
static bool report_no_memory(void)
{
    std::fprintf(stderr, "RF pulse conversion: not enough memory\n");
    return false;
}

static bool start_spectrum(int ap, Spectrum *s)
{
    if (ap < 1)
        return false;
    s->ap = ap;
    s->real.reset(zeros(ap));
    s->imag.reset(zeros(ap));
    if (!s->real || !s->imag)
        return report_no_memory();
    s->re = s->real.get() + ap / 2;
    s->im = s->imag.get() + ap / 2;
    return true;
}

// False without memory. A length that the transform refuses is no failure: the numbers stay as
// they are and the conversion goes on with them.
static bool transform(Spectrum *s, int direction)
{
    const size_t ap = static_cast<size_t>(s->ap);
    fft(ap, s->real.get(), s->imag.get(), direction);
    if (four3_last_status == FOUR3_OK || ap < 2 || !is_power_of_two(ap))
        return true;
    return report_no_memory();
}

static bool spectrum_of(int ap, const double *signal, Spectrum *s)
{
    if (!start_spectrum(ap, s))
        return false;
    std::copy(signal, signal + ap, s->real.get());
    return transform(s, 0);
}

// A real signal has no imaginary part at frequency 0, so the imaginary parts begin at 1. The
// negative frequencies are the conjugates: the signal stays real.
static void set_modes(const double *par, int nmodes, Spectrum *s)
{
    for (int j = 0; j < nmodes; j++) {
        s->re[j] = par[2 * j];
        s->re[-j] = par[2 * j];
        s->im[j + 1] = par[2 * j + 1];
        s->im[-j - 1] = -par[2 * j + 1];
    }
}

static void signal_of(Spectrum *s, double *signal)
{
    if (transform(s, 1))
        std::copy(s->real.get(), s->real.get() + s->ap, signal);
}

void signal_to_par_centered(int npar_local, int ap_local, const double *sig_in, double *par_out,
                            int par_base)
{
    Spectrum s;
    if (!spectrum_of(ap_local, sig_in, &s))
        return;
    double *const par = par_out + par_base;
    const int nmodes = rfpulseparam_max_modes(npar_local, ap_local);
    for (int j = 0; j < nmodes; j++) {
        par[2 * j] = s.re[j];
        par[2 * j + 1] = s.im[j + 1];
    }
}

void par_to_signal_centered_preserve(int npar_local, int ap_local, const double *par_in,
                                     int par_base, double *sig_io)
{
    Spectrum s;
    if (!spectrum_of(ap_local, sig_io, &s))
        return;
    set_modes(par_in + par_base, rfpulseparam_max_modes(npar_local, ap_local), &s);
    signal_of(&s, sig_io);
}

void par_to_signal_centered_zero(int npar_local, int ap_local, const double *par_in, int par_base,
                                 double *sig_out)
{
    Spectrum s;
    if (!start_spectrum(ap_local, &s))
        return;
    set_modes(par_in + par_base, rfpulseparam_max_modes(npar_local, ap_local), &s);
    signal_of(&s, sig_out);
}

static bool is_convertible(int npar, int ap)
{
    return npar >= 1 && ap >= 2;
}

void RFPulseToParArray(int npar_local, int ap_local, const double *xb_in, const double *yb_in,
                       double *par_out)
{
    if (!is_convertible(npar_local, ap_local))
        return;
    std::fill(par_out, par_out + npar_local, 0.0);
    signal_to_par_centered(npar_local, ap_local, xb_in, par_out, 0);
    signal_to_par_centered(npar_local, ap_local, yb_in, par_out, npar_local / 2);
}

void ParArrayToRFPulse(int npar_local, int ap_local, const double *par_in, double *xb_io,
                       double *yb_io)
{
    if (!is_convertible(npar_local, ap_local))
        return;
    par_to_signal_centered_preserve(npar_local, ap_local, par_in, 0, xb_io);
    par_to_signal_centered_preserve(npar_local, ap_local, par_in, npar_local / 2, yb_io);
}

void ParArrayToRFPulseLowMode(int npar_local, int ap_local, const double *par_in, double *xb_out,
                              double *yb_out)
{
    if (!is_convertible(npar_local, ap_local))
        return;
    par_to_signal_centered_zero(npar_local, ap_local, par_in, 0, xb_out);
    par_to_signal_centered_zero(npar_local, ap_local, par_in, npar_local / 2, yb_out);
}
