// four3 - fast Fourier transform: interleaved in place, and centred on split arrays.
//
// Forward: X[k] = sum of x[n]·exp(+2·pi·i·nk/nn), not scaled; inverse: the opposite sign, scaled
// by 1/nn. Lengths are powers of two. Arrays count from 0.
#ifndef ZAN_FOUR3_H
#define ZAN_FOUR3_H

#include <cstddef>
#include <cstdint>

enum four3_status : int32_t { FOUR3_OK = 0, FOUR3_ERR_NULLPTR = 1, FOUR3_ERR_BADLEN = 2 };
extern four3_status four3_last_status; // of the two void forms

bool is_power_of_two(size_t n);
// data: re and im of nn points in turn; nn = 1 is accepted. Data stay as they are on an error.
four3_status four2_status(double *data, size_t nn, bool inverse);
// Time and frequency zero at index ap/2; ap at least 2. No memory is reported as a bad length.
four3_status fft_status(size_t ap, double *real, double *imag, bool inverse);
void four2(double *data, size_t nn, int isign);              // inverse when isign < 0
void fft(size_t ap, double *real, double *imag, int boole1); // inverse when boole1 != 0

#endif
