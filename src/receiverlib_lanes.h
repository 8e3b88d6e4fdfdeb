// receiverlib_lanes.h - one segment of a trace, eight transitions to a vector.
//
// Included by one source file per instruction set; KERNEL is the function it defines. Only plain
// loops over vectors here: nothing that the linker could share between instruction sets.

#include "receiverlib_lanes_job.h"

typedef double lanes_t __attribute__((vector_size(TRANSITIONS * sizeof(double))));

namespace
{

// Sums over the transitions of what is alike before and after the middle, and of what changes sign.
struct Sums {
    lanes_t even_x, odd_x, even_y, odd_y;
};

struct Waves {
    lanes_t re, im;           // the phases of this sample
    lanes_t step_re, step_im; // and the way to the next
    lanes_t x_re, x_im, y_re, y_im;
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

Waves start(const TransitionGroup &g)
{
    return {load(g.half_re), load(g.half_im), load(g.step_re), load(g.step_im),
            load(g.x_re),    load(g.x_im),    load(g.y_re),    load(g.y_im)};
}

void advance(Waves *w)
{
    const lanes_t re = w->re;
    w->re = re * w->step_re - w->im * w->step_im;
    w->im = re * w->step_im + w->im * w->step_re;
}

// Two groups at once: the next phases of one hide the wait for those of the other.
void add_two(const TransitionGroup &first, const TransitionGroup &second, int half, Sums *sums)
{
    Waves a = start(first), b = start(second);
    for (int j = 0; j < half; j++) {
        Sums &s = sums[j];
        s.even_x += a.x_re * a.re + b.x_re * b.re;
        s.odd_x += a.x_im * a.im + b.x_im * b.im;
        s.even_y += a.y_re * a.re + b.y_re * b.re;
        s.odd_y += a.y_im * a.im + b.y_im * b.im;
        advance(&a);
        advance(&b);
    }
}

void turn(const TransitionGroup &g, double *re, double *im)
{
    const lanes_t leap_re = load(g.leap_re), leap_im = load(g.leap_im);
    const lanes_t old_re = load(re), old_im = load(im);
    store(re, old_re * leap_re - old_im * leap_im);
    store(im, old_re * leap_im + old_im * leap_re);
}

double sum_of(lanes_t v)
{
    return ((v[0] + v[1]) + (v[2] + v[3])) + ((v[4] + v[5]) + (v[6] + v[7]));
}

} // namespace

void KERNEL(const SegmentJob &job)
{
    Sums *const sums = reinterpret_cast<Sums *>(job.work);
    for (int j = 0; j < job.half; j++)
        sums[j] = Sums{};
    for (int g = 0; g < job.count; g += 2)
        add_two(job.groups[g], job.groups[g + 1], job.half, sums);
    for (int g = 0; g < job.count; g++) {
        TransitionGroup &group = job.groups[g];
        turn(group, group.x_re, group.x_im);
        turn(group, group.y_re, group.y_im);
    }
    for (int j = 0; j < job.half; j++) {
        const Sums &s = sums[j];
        job.re[job.half + j] = sum_of(s.even_x - s.odd_x);
        job.im[job.half + j] = sum_of(s.even_y - s.odd_y);
        job.re[job.half - 1 - j] = sum_of(s.even_x + s.odd_x);
        job.im[job.half - 1 - j] = sum_of(s.even_y + s.odd_y);
    }
}
