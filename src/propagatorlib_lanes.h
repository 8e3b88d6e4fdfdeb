// propagatorlib_lanes.h - eight rows of propagators of one sector at once.
//
// Included by one source file per instruction set; KERNEL is the function it defines. A row goes
// through all samples by itself, so that all it touches stays in the first-level cache. Only
// plain loops over vectors here: nothing that the linker could share between instruction sets.

#include "propagatorlib_internal.h"

typedef double lanes_t __attribute__((vector_size(LANES * sizeof(double))));

namespace
{

struct Row {
    lanes_t *re, *im; // n each
};

lanes_t load(const double *from)
{
    lanes_t v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

void store(double *to, lanes_t v)
{
    __builtin_memcpy(to, &v, sizeof v);
}

// Column j times the phase of its level.
void turn(const LaneJob &job, const double *phase, Row q)
{
    for (int j = 0; j < job.n; j++) {
        const double c = phase[2 * job.level[j]], s = phase[2 * job.level[j] + 1];
        const lanes_t x = q.re[j];
        q.re[j] = x * c - q.im[j] * s;
        q.im[j] = x * s + q.im[j] * c;
    }
}

// out = q - i·step·(y·H): one stage of the series by Horner's rule.
void stage(const LaneJob &job, const lanes_t *diagonal, const double *value, double step, Row q,
           Row y, Row out)
{
    for (int j = 0; j < job.n; j++) {
        lanes_t re = diagonal[j] * y.re[j], im = diagonal[j] * y.im[j];
        for (int e = job.start[j]; e < job.start[j + 1]; e++) {
            const double v = value[e];
            re += v * y.re[job.row[e]];
            im += v * y.im[job.row[e]];
        }
        out.re[j] = q.re[j] + step * im;
        out.im[j] = q.im[j] - step * re;
    }
}

// q <- q·exp(-i·H·tau), the Taylor series in stages; y and z are scratch.
void driven_step(const LaneJob &job, const Step &s, const lanes_t *diagonal, const double *value,
                 Row *q, Row *y, Row *z)
{
    for (int sub = 0; sub < s.substeps; sub++) {
        stage(job, diagonal, value, s.tau / s.terms, *q, *q, *y);
        for (int t = s.terms - 1; t >= 1; t--) {
            stage(job, diagonal, value, s.tau / t, *q, *y, *z);
            const Row swap = *y;
            *y = *z;
            *z = swap;
        }
        const Row swap = *q;
        *q = *y;
        *y = swap;
    }
}

// q <- q·exp(-i·(diag(d) + F)·T), component by component, then the phase of each position.
void free_step(const LaneJob &job, const Step &s, Row *q, Row *y)
{
    const double *block_re = s.blocks_re, *block_im = s.blocks_im;
    for (int c = 0; c < job.components; c++) {
        const int *member = job.member + job.first[c];
        const int size = job.first[c + 1] - job.first[c];
        for (int b = 0; b < size; b++) {
            lanes_t re = {}, im = {};
            for (int a = 0; a < size; a++) {
                const double ur = block_re[a * size + b], ui = block_im[a * size + b];
                re += ur * q->re[member[a]] - ui * q->im[member[a]];
                im += ur * q->im[member[a]] + ui * q->re[member[a]];
            }
            const double *phase = s.free_phase + 2 * LANES * job.level[member[b]];
            const lanes_t pr = load(phase), pi = load(phase + LANES);
            y->re[member[b]] = re * pr - im * pi;
            y->im[member[b]] = re * pi + im * pr;
        }
        block_re += size * size;
        block_im += size * size;
    }
    const Row swap = *q;
    *q = *y;
    *y = swap;
}

void prepare_step(const LaneJob &job, const Step &s, lanes_t *diagonal, double *value)
{
    const lanes_t g = load(s.offset);
    for (int j = 0; j < job.n; j++)
        diagonal[j] = job.d[j] + g * job.m[j];
    for (int e = 0; e < job.start[job.n]; e++)
        value[e] = job.fixed[e] + s.b * job.flip[e];
}

void start_rows(const LaneJob &job, Row q)
{
    for (int j = 0; j < job.n; j++)
        q.re[j] = q.im[j] = lanes_t{};
    for (int l = 0; l < LANES; l++)
        q.re[job.rows[l]][l] = 1.0;
}

void store_rows(const LaneJob &job, Row q)
{
    for (int j = 0; j < job.n; j++) {
        store(job.out + 2 * LANES * j, q.re[j]);
        store(job.out + 2 * LANES * j + LANES, q.im[j]);
    }
}

} // namespace

void KERNEL(const LaneJob &job)
{
    lanes_t *const lanes = reinterpret_cast<lanes_t *>(job.work);
    const int n = job.n;
    Row q = {lanes, lanes + n}, y = {lanes + 2 * n, lanes + 3 * n};
    Row z = {lanes + 4 * n, lanes + 5 * n};
    lanes_t *const diagonal = lanes + 6 * n;
    double *const value = reinterpret_cast<double *>(lanes + 7 * n);
    start_rows(job, q);
    for (int k = 0; k < job.step_count; k++) {
        const Step &s = job.steps[k];
        if (s.turn)
            turn(job, s.turn, q);
        if (s.free) {
            free_step(job, s, &q, &y);
        } else {
            prepare_step(job, s, diagonal, value);
            driven_step(job, s, diagonal, value, &q, &y, &z);
        }
    }
    turn(job, job.last_turn, q);
    store_rows(job, q);
}
