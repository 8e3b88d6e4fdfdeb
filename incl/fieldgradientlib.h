// fieldgradientlib - gradient waveforms: constant, and the two spirals that belong to the 2-D
// spiral pulses of rfpulselib.
//
// A waveform is gs[0..ap-1] in rad/s per cm, sample i at time i·h (s), T = ap·h.
#ifndef ZAN_FIELDGRADIENTLIB_H
#define ZAN_FIELDGRADIENTLIB_H

#include <cstddef>

enum fieldgrad_status {
    FIELDGRAD_OK = 0,
    FIELDGRAD_ERR_NULLPTR = 1,
    FIELDGRAD_ERR_BADLEN = 2,
    FIELDGRAD_ERR_BADARG = 3,
    FIELDGRAD_ERR_IO = 4
};
extern fieldgrad_status fieldgrad_last_status; // of the dialogs

double fieldgrad_pi(void);

// ---- waveforms; the array is untouched unless FIELDGRAD_OK ----
bool fieldgrad_valid_inputs(size_t ap, double h, const double *gs);
fieldgrad_status gradproc1_compute(size_t ap, double h, double *gs, double g1_hz_per_cm);
fieldgrad_status gradproc2_compute(size_t ap, double h, double *gs, double A, double n); // cosine
fieldgrad_status gradproc3_compute(size_t ap, double h, double *gs, double A, double n); // sine
fieldgrad_status CalcGrad_compute(size_t ap, double h, double *gs, int choice, double A, double n,
                                  double g1_hz_per_cm);

// ---- dialogs ----
void CalcGrad(const int *ap, const double *h, double *gs);
void gradproc1(const int *ap, const double *h, double *gs);
void gradproc2(const int *ap, const double *h, double *gs);
void gradproc3(const int *ap, const double *h, double *gs);

#endif
