// four3.cpp - fast Fourier transform of a power of two of points.
//
// Stands on nothing else. The spectra use the interleaved form, rfpulseparam the centred one.
#include "four3.h"

#include <cmath>
#include <memory>
#include <new>
#include <utility>

four3_status four3_last_status = FOUR3_OK;

static const size_t MAX_POINTS = PTRDIFF_MAX / (2 * sizeof(double)); // no array holds more

bool is_power_of_two(size_t n)
{
    return n != 0 && (n & (n - 1)) == 0;
}

static void reverse_bits(double *data, size_t nn)
{
    size_t j = 0;
    for (size_t i = 0; i < nn; i++) {
        if (i < j) {
            std::swap(data[2 * i], data[2 * j]);
            std::swap(data[2 * i + 1], data[2 * j + 1]);
        }
        size_t m = nn / 2;
        while (m != 0 && j >= m) {
            j -= m;
            m /= 2;
        }
        j += m;
    }
}

// Points i and i + mmax become their sum and difference, the second turned by w first.
static void butterfly(double *data, size_t i, size_t mmax, double wr, double wi)
{
    double *const a = data + 2 * i;
    double *const b = data + 2 * (i + mmax);
    const double tr = wr * b[0] - wi * b[1];
    const double ti = wr * b[1] + wi * b[0];
    b[0] = a[0] - tr;
    b[1] = a[1] - ti;
    a[0] += tr;
    a[1] += ti;
}

// Joins transforms of mmax points to transforms of twice as many. The turning factor follows its
// recurrence instead of fresh sines: the last digits of stored spectra depend on it.
static void join_transforms(double *data, size_t nn, size_t mmax, bool inverse)
{
    const size_t istep = 2 * mmax;
    const double turn = 6.283185307179586 / static_cast<double>(istep);
    const double theta = inverse ? -turn : turn;
    const double half = std::sin(0.5 * theta);
    const double wpr = -2.0 * half * half;
    const double wpi = std::sin(theta);
    double wr = 1.0, wi = 0.0;
    for (size_t m = 0; m < mmax; m++) {
        for (size_t i = m; i < nn; i += istep)
            butterfly(data, i, mmax, wr, wi);
        const double old = wr;
        wr = wr + wr * wpr - wi * wpi;
        wi = wi + old * wpi + wi * wpr;
    }
}

static void scale(double *data, size_t count, double factor)
{
    for (size_t i = 0; i < count; i++)
        data[i] *= factor;
}

four3_status four2_status(double *data, size_t nn, bool inverse)
{
    if (!data)
        return FOUR3_ERR_NULLPTR;
    if (!is_power_of_two(nn))
        return FOUR3_ERR_BADLEN;
    reverse_bits(data, nn);
    for (size_t mmax = 1; mmax < nn; mmax *= 2)
        join_transforms(data, nn, mmax, inverse);
    if (inverse)
        scale(data, 2 * nn, 1.0 / static_cast<double>(nn));
    return FOUR3_OK;
}

// Between the centred order of split arrays and the transform's own: the halves change places.
static void gather(const double *real, const double *imag, size_t ap, double *buffer)
{
    for (size_t k = 0; k < ap; k++) {
        const size_t from = (k + ap / 2) % ap;
        buffer[2 * k] = real[from];
        buffer[2 * k + 1] = imag[from];
    }
}

static void scatter(const double *buffer, size_t ap, double *real, double *imag)
{
    for (size_t k = 0; k < ap; k++) {
        const size_t to = (k + ap / 2) % ap;
        real[to] = buffer[2 * k];
        imag[to] = buffer[2 * k + 1];
    }
}

four3_status fft_status(size_t ap, double *real, double *imag, bool inverse)
{
    if (!real || !imag)
        return FOUR3_ERR_NULLPTR;
    if (ap < 2 || !is_power_of_two(ap) || ap > MAX_POINTS)
        return FOUR3_ERR_BADLEN;
    const std::unique_ptr<double[]> buffer{new (std::nothrow) double[2 * ap]};
    if (!buffer)
        return FOUR3_ERR_BADLEN;
    gather(real, imag, ap, buffer.get());
    const four3_status status = four2_status(buffer.get(), ap, inverse);
    if (status == FOUR3_OK)
        scatter(buffer.get(), ap, real, imag);
    return status;
}

void four2(double *data, size_t nn, int isign)
{
    four3_last_status = four2_status(data, nn, isign < 0);
}

void fft(size_t ap, double *real, double *imag, int boole1)
{
    four3_last_status = fft_status(ap, real, imag, boole1 != 0);
}
