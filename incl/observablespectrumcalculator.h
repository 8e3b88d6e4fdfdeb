// observablespectrumcalculator - receiver signals and spectra of the density matrices in
// "dm.bin", and the files made of them.
//
// Signal files: header (1, samples, traces), then per trace and sample (re, im) as doubles,
// re = <Ixtot>, im = <Iytot>. The receiver Hamiltonian is -(Istat + 2·pi·offset·Iztot), rad/s.
// No relaxation. Sections stand in the order of the rooms observablespectrumcalculator*.cpp.
#ifndef ZAN_OBSERVABLESPECTRUMCALCULATOR_H
#define ZAN_OBSERVABLESPECTRUMCALCULATOR_H

#include "zan.h"

#include <cstddef>

double osc_pi(void);
double finite_or_zero(double value);

// ------------------------------------------------------------------ analyses, with dialogs
// All work on "dm.bin" and write "zansign.bin"; densmat is overwritten.

// Asks samples (into ap), acquisition time and offset. Returns the time, 0.0 without a signal.
// In smoke-check mode it asks nothing: 0.001 s, offset 0, at least one sample.
double SeparateSpectra_GenerateSignal(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                                      const CMatrix *Ixtot, const CMatrix *Iytot,
                                      const CMatrix *Iztot, const SpinKet &ket,
                                      const SpinIList &Ilist);
// One trace per matrix, then the output menu.
void SeparateSpectra(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                     const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                     const SpinKet &ket, const SpinIList &Ilist);
// One trace of the sum of all matrices, from its line lists (n <= 64), then the output menu.
void AverageSpectrum(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                     const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                     const SpinKet &ket, const SpinIList &Ilist);
// One trace per matrix, the 2-D transform when it is wanted, then the output menu.
void Determine2DSpectrum(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                         const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                         const SpinKet &ket, const SpinIList &Ilist);

// ------------------------------------------------------------------ signals (_signal.cpp)

// One trace per matrix of "dm.bin" into output_filename ("zansign.bin" when null or empty).
// densmat is left holding the last matrix. Returns acquisition_time_s, or 0.0 when no signal
// file was written. slow_split may be null; with it a single trace is also written by multiplets.
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
// One trace by time stepping: sample k at k·dt, dt = acq_time_s / ap.
void build_direct_observable_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                    const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                    double *out_re, double *out_im);
// One trace from the eigenbasis, dt = acq_time_s / (ap - 1): the last sample lies at
// the end. Its time runs backwards: frequencies have the opposite sign of the direct signal's.
void build_complex_receiver_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                   const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                   double *out_re, double *out_im);
// out[k] = the sum of the cosine and sine lines at k·dt, dt = acq_time_s / (ap - 1).
void build_scalar_signal_from_spectrum(int ap, double acq_time_s, const LineList &csp, int Nc,
                                       const LineList &ssp, int Ns, double *out);

// (re, im) of every sample, those that are no numbers as 0. Null pointers write nothing.
bool write_signal_trace(FILE *out, int signal_points, const double *sig_re, const double *sig_im);

// ------------------------------------------------------------------ tables (_tables.cpp)
// On standard output, nothing in smoke-check mode.

void print_legacy_spectrum_component_diagnostics(const char *label, const LineList &csp,
                                                 const LineList &ssp, int Nc, int Ns);
void print_adc_start_transverse_expectations(int n, const CMatrix *densmat, const SpinKet &ket,
                                             const SpinIList &Ilist);
// Density matrix and receiver operator in the eigenbasis; eigval[1..n] in rad/s.
void print_receiver_transition_diagnostics(int n, const CMatrix *rho_eig, const CMatrix *rec_eig,
                                           const double *eigval);

// ------------------------------------------------------------------ multiplets (_multiplets.cpp)

// One signal file for every group of spins with close offsets, beside output_filename. Does
// nothing unless config is enabled and fndw is 1. Returns the number of files written.
int write_slow_multiplet_outputs(const char *output_filename, int n, int ap, int fndw,
                                 double acq_time_s, const CMatrix *densmat, const CMatrix *Hmat,
                                 const CMatrix *Ixtot, const CMatrix *Iytot,
                                 const ZANSlowBandSplitConfig *config, const int *Ilist);
// "a_slow_td.bin" -> "a-[1.330ppm]_slow_td.bin". 1, or 0: no "_td.bin" at its end, or too long.
int slow_multiplet_output_filename(const char *output_filename, double center_hz,
                                   const ZANSlowBandSplitConfig *config, int has_metadata_ppm,
                                   double metadata_ppm, char *out, size_t outsz);

// ------------------------------------------------------------------ exports (_outputs.cpp)
// Of "zansign.bin"; acq_time in s.

void SpectrumOutputMenu(double acq_time);
// Asks a base name, writes BASE_td.csv and BASE_fd.csv: 1 when both are there. fd_filename (may
// be null) gets the name of the second.
int Create_CSV_Files(double acq_time, char *fd_filename, size_t fd_size);
void Create_PV_WAVE_File(void); // asks its name
int WriteGnuplotSpectrumScript(const char *gp_name, const char *csv_name, const char *plot_title);
int AskOpenPlotNow(void);
void LaunchGnuplotScript(const char *gp_name); // in the background

// ------------------------------------------------------------------ phases (_phase.cpp)

// Takes jumps of more than 2·pi (not pi) between neighbours out, in place.
void unwrap_phase(double *theta, int n);
// phi0 + phi1·x fitted to the phase of spec (re and im of pp points in turn), weighted with the
// magnitude; x in Hz from fref_hz, point pp/2 at 0 Hz, df1_hz apart.
void fit_phase0_phase1(const double *spec, int pp, double df1_hz, double fref_hz, double *phi0,
                       double *phi1);

// ------------------------------------------------------------------ two dimensions (_2d.cpp)
// Of "zansign.bin", into "spectra.bin"; samples and traces must be powers of two.

// Transforms along the samples (acq_time in s for all) and along the traces (trace_step_s from
// one to the next; 0 = the traces are no time axis), zero frequency in the middle. Prints size
// and largest peaks. A message and false when it cannot.
bool Calc2Dfft(double acq_time, double trace_step_s);
// to[j][i] = from[i][j], complex elements as (re, im), by rows.
void TransposeDataMatrix(int rows, int columns, const double *from, double *to);
// One trace (from 1) as samples and as spectrum.
bool DispTransvSign(double acq_time, int trace);
// Asks the acquisition time, lists the traces, shows those that are asked for.
void DisplaySignals(void);

#endif
