// rfpulseparam - a pulse as a few Fourier coefficients, and back.
//
// par[0..npar-1]: the first half describes x, the second (from npar/2) y. Of each channel, mode
// j = 0.. holds the real part at frequency j and the imaginary part at frequency j + 1.
// Frequencies as four3's fft gives them, zero at index ap/2; ap a power of two.
#ifndef ZAN_RFPULSEPARAM_H
#define ZAN_RFPULSEPARAM_H

int rfpulseparam_max_modes(int npar_local, int ap_local); // per channel

// ---- one channel; par_base is where it begins in par ----
void signal_to_par_centered(int npar_local, int ap_local, const double *sig_in, double *par_out,
                            int par_base);
// The frequencies above the modes stay as they are in the signal ...
void par_to_signal_centered_preserve(int npar_local, int ap_local, const double *par_in,
                                     int par_base, double *sig_io);
// ... or become zero.
void par_to_signal_centered_zero(int npar_local, int ap_local, const double *par_in, int par_base,
                                 double *sig_out);

// ---- both channels; nothing happens unless npar >= 1 and ap >= 2 ----
void RFPulseToParArray(int npar_local, int ap_local, const double *xb_in, const double *yb_in,
                       double *par_out);
void ParArrayToRFPulse(int npar_local, int ap_local, const double *par_in, double *xb_io,
                       double *yb_io);
void ParArrayToRFPulseLowMode(int npar_local, int ap_local, const double *par_in, double *xb_out,
                              double *yb_out);

#endif
