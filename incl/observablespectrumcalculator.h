// observablespectrumcalculator - receiver signals of the density matrices in "dm.bin".
//
// Signal files: header (1, samples, traces), then per trace and sample (re, im) as doubles,
// re = <Ixtot>, im = <Iytot>, sample k at k·(acquisition time / samples) after the start.
// The receiver Hamiltonian is -(Istat + 2·pi·offset·Iztot), rad/s. No relaxation.
#ifndef ZAN_OBSERVABLESPECTRUMCALCULATOR_H
#define ZAN_OBSERVABLESPECTRUMCALCULATOR_H

#include "zan.h"

double osc_pi(void);
double finite_or_zero(double value);

// One trace per matrix of "dm.bin" into output_filename ("zansign.bin" when null or empty).
// densmat is left holding the last matrix. Returns acquisition_time_s, or 0.0 when no signal
// file was written. slow_split may be null.
double SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
    const int *n, int signal_points, double acquisition_time_s, double receiver_offset_hz,
    const char *output_filename, const ZANSlowBandSplitConfig *slow_split, CMatrix *densmat,
    const CMatrix *Istat, const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
    const SpinKet &ket, const SpinIList &Ilist);
double SeparateSpectra_GenerateSignalWithParams(
    const int *n, int signal_points, double acquisition_time_s, double receiver_offset_hz,
    const char *output_filename, CMatrix *densmat, const CMatrix *Istat, const CMatrix *Ixtot,
    const CMatrix *Iytot, const CMatrix *Iztot, const SpinKet &ket, const SpinIList &Ilist);

// One trace; with print_diagnostics the line lists behind it (n <= 64) on standard output.
void build_legacy_separate_spectra_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                          const CMatrix *Hmat, const CMatrix *Ixtot,
                                          const CMatrix *Iytot, double *out_re, double *out_im,
                                          bool print_diagnostics);
// One trace by time stepping, dt = acq_time_s / ap.
void build_direct_observable_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                    const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                    double *out_re, double *out_im);

// ---- console tables ----
void print_legacy_spectrum_component_diagnostics(const char *label, const LineList &csp,
                                                 const LineList &ssp, int Nc, int Ns);
void print_adc_start_transverse_expectations(int n, const CMatrix *densmat, const SpinKet &ket,
                                             const SpinIList &Ilist);

#endif
