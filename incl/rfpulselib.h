// rfpulselib - sampled RF pulses from a few parameters: hard pulses, amplitude-modulated and
// frequency-modulated shapes, start pulses of the optimizer.
//
// A pulse is two arrays, the x and y components of B1 in the rotating frame as angular
// frequencies (rad/s), samples 0..ap-1; sample i acts for h seconds from i·h on. Arrays hold at
// least 8192 samples. The shape functions are plain formulas; the dialogs ask at the console and
// leave the arrays as they are when an answer is no number.
#ifndef ZAN_RFPULSELIB_H
#define ZAN_RFPULSELIB_H

#include <cstdio>

enum { RFPULSE_MAX_POINTS = 8192 };

double pulselib_pi(void);

// ---- shapes (rfpulselib_shapes.cpp); phases in rad, angles of flip in rad, times in s ----
// 90 degrees (amp 1) or 180 degrees (amp 2) in one sample of 10 microseconds; sets *ap = 1.
void hardpulseproc(int *ap, double fi, double amp, double *xb, double *yb);
void rectangular_shape(int ap, double phase, double amplitude_hz, double *xb, double *yb);
// q·sin(2·pi·f·t)·exp(-b²t²)/(pi·t) about the middle sample; q in rad, f in Hz, b in 1/s
void sinc_gauss_shape(int ap, double h, double phase, double q, double f, double b, double *xb,
                      double *yb);
// Spiral pulses for the gradients of fieldgradientlib with amplitude A = -B: B k-space radius
// (rad/cm), n turns, dx, dy widths and x0, y0 centre of the excited rectangle (cm). All samples
// are 0 when the pulse has no duration.
void gauss_spiral_shape(int ap, double h, double a, double A, double B, double n, double *xb,
                        double *yb);
void sinc_spiral_shape(int ap, double h, double a, double A, double B, double n, double dx,
                       double dy, double *xb, double *yb);
void compute_2d_sinc_offcentre(int ap, double h, double alfa, double A, double beta, double n,
                               double dx, double dy, double x0, double y0, double *xb, double *yb);
// The sum over the records alfa A beta n dx dy x0 y0 of a text file; a record whose alfa is 0, or
// that is incomplete, ends it. Adds to xb, yb. False when memory runs out.
bool add_2d_sincs_from_file(FILE *in, int ap, double h, double *xb, double *yb);
void add_samples(int ap, const double *more, double *samples); // samples += more
// Hyperbolic secant, w_hz peak B1 (Hz), b (1/s), u: over (-T, T), its first half, or twice
// compressed (an odd last sample is not written).
void sech_full_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                     double *yb);
void sech_half_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                     double *yb);
void sech_double_shape(int ap, double h, double phase, double w_hz, double b, double u, double *xb,
                       double *yb);

// ---- dialogs (rfpulselib.cpp) ----
int scan_int_prompt(const char *prompt, int *out);       // 1 when a number was read
int scan_double_prompt(const char *prompt, double *out); // the prompt may be null
void clamp_ap(int *ap); // to 0..8192, with a warning on the error stream when cut
void AMHardPulseDefinition(int *ap, double *ti, double *xb, double *yb);
void AMPulseDefinition(int *ap, double *ti, double *xb, double *yb);
void FMPulseDefinition(int *ap, double *ti, double *xb, double *yb);
void ampulseproc1(int *ap, double *h, double *xb, double *yb);
void ampulseproc2(int *ap, double *h, double *xb, double *yb);
void ampulseproc3(int *ap, double *h, double *xb, double *yb);
void ampulseproc4(int *ap, double *h, double *xb, double *yb);
void fmpulseproc1(int *ap, double *h, double *xb, double *yb);
void fmpulseproc2(int *ap, double *h, double *xb, double *yb);
void fmpulseproc3(int *ap, double *h, double *xb, double *yb);
void fmpulseproc4(int *ap, double *h, double *xb, double *yb);
void fmpulseproc5(int *ap, double *h, double *xb, double *yb);
void fmpulseproc6(int *ap, double *h, double *xb, double *yb);

// ---- start pulses of the optimizer (rfpulselib_start.cpp): 1, or 0 after a message ----
// A tapered pulse of the lowest Fourier modes along one phase, scaled to the flip angle and, if
// need be, down to the peak amplitude. npar parameters (a multiple of 4), angles in degrees.
int generate_optimization_start_pulse_core(int ap, double h, double *xb, double *yb, int npar,
                                           double rf_ampl_hz, double flip_deg, double phase_deg);
int GenerateOptimizationStartPulse(int *ap, double *h, double *xb, double *yb, int npar);
int GenerateOptimizationStartPulseFixedGridInteractive(int ap, double h, double *xb, double *yb,
                                                       int npar);

#endif
