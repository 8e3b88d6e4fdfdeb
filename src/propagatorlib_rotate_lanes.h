// propagatorlib_rotate_lanes.h - P†·rho·P of one density matrix, WIDTH columns to a vector.
//
// Included by one source file per instruction set, after WIDTH and KERNEL(name). Planes are
// real and imaginary parts apart, rows filled up with zeros to whole vectors. Both products are
// the same loop: a row of the result is a sum of rows, weighted by one column of P, and only rows
// of the states that P joins to the column's enter it.

#include "propagatorlib_lanes_job.h"
#include "vectors.h"

namespace
{

struct Planes {
    double *re, *im;
};

// Rows member[j..j+ROWS-1] of out: sums over the component's k of (P or P*)[k][row]·in[k].
template <int ROWS, int SIGN>
void combine_rows(const RotationJob &job, const int *member, int size, const double *weight,
                  int stride, Planes in, Planes out, int j)
{
    for (int v = 0; v < job.width; v += WIDTH) {
        lanes_t re[ROWS] = {}, im[ROWS] = {};
        const double *w = weight + 2 * j;
        for (int k = 0; k < size; k++, w += 2 * stride) {
            const lanes_t x = load(in.re + (size_t)member[k] * (size_t)job.width + v);
            const lanes_t y = load(in.im + (size_t)member[k] * (size_t)job.width + v);
            for (int r = 0; r < ROWS; r++) {
                const double p = w[2 * r], q = SIGN * w[2 * r + 1];
                re[r] += p * x;
                re[r] -= q * y;
                im[r] += p * y;
                im[r] += q * x;
            }
        }
        for (int r = 0; r < ROWS; r++) {
            store(out.re + (size_t)member[j + r] * (size_t)job.width + v, re[r]);
            store(out.im + (size_t)member[j + r] * (size_t)job.width + v, im[r]);
        }
    }
}

// out = P^T·in, or P†·in with SIGN = -1.
template <int SIGN> void combine(const RotationJob &job, Planes in, Planes out)
{
    const double *weight = job.weight;
    for (int c = 0; c < job.components; c++) {
        const int *member = job.member + job.first[c];
        const int size = job.first[c + 1] - job.first[c];
        int j = 0;
        for (; j + 4 <= size; j += 4)
            combine_rows<4, SIGN>(job, member, size, weight, size, in, out, j);
        for (; j < size; j++)
            combine_rows<1, SIGN>(job, member, size, weight, size, in, out, j);
        weight += 2 * (size_t)size * (size_t)size;
    }
}

void transpose(const RotationJob &job, Planes in, Planes out)
{
    const size_t n = (size_t)job.n, width = (size_t)job.width;
    for (size_t i = 0; i < n; i++)
        for (size_t j = 0; j < n; j++) {
            out.re[i * width + j] = in.re[j * width + i];
            out.im[i * width + j] = in.im[j * width + i];
        }
}

} // namespace

void KERNEL(rotate_lanes)(const RotationJob &job)
{
    const size_t n = (size_t)job.n, width = (size_t)job.width, plane = n * width;
    const Planes a = {job.work, job.work + plane};
    const Planes b = {job.work + 2 * plane, job.work + 3 * plane};
    for (size_t i = 0; i < n; i++)
        for (size_t j = 0; j < n; j++) {
            a.re[j * width + i] = job.rho[2 * (i * n + j)];
            a.im[j * width + i] = job.rho[2 * (i * n + j) + 1];
        }
    combine<1>(job, a, b);  // P^T·rho^T
    transpose(job, b, a);   // rho·P
    combine<-1>(job, a, b); // P†·rho·P
    for (size_t i = 0; i < n; i++)
        for (size_t j = 0; j < n; j++) {
            job.rho[2 * (i * n + j)] = b.re[i * width + j];
            job.rho[2 * (i * n + j) + 1] = b.im[i * width + j];
        }
}
