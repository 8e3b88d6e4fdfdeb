// receiverlib_lanes.h - one segment of a trace, WIDTH transitions to a vector.
//
// Included by one source file per instruction set; KERNEL is the function it defines, WIDTH what
// its vectors hold. Only plain loops over vectors here: nothing that the linker could share between
// instruction sets.

#include "receiverlib_lanes_job.h"

#include "vectors.h"

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

Waves start(const TransitionGroup &g, int lane)
{
    return {load(g.half_re + lane), load(g.half_im + lane), load(g.step_re + lane),
            load(g.step_im + lane), load(g.x_re + lane),    load(g.x_im + lane),
            load(g.y_re + lane),    load(g.y_im + lane)};
}

void advance(Waves *w)
{
    const lanes_t re = w->re;
    w->re = re * w->step_re - w->im * w->step_im;
    w->im = re * w->step_im + w->im * w->step_re;
}

// Two vectors at once: the next phases of one hide the wait for those of the other.
void add_two(const TransitionGroup &g, int lane, int half, Sums *sums)
{
    Waves a = start(g, lane), b = start(g, lane + WIDTH);
    for (int j = 0; j < half; j++) {
        Sums &s = sums[j];
        s.even_x = s.even_x + a.x_re * a.re + b.x_re * b.re;
        s.odd_x = s.odd_x + a.x_im * a.im + b.x_im * b.im;
        s.even_y = s.even_y + a.y_re * a.re + b.y_re * b.re;
        s.odd_y = s.odd_y + a.y_im * a.im + b.y_im * b.im;
        advance(&a);
        advance(&b);
    }
}

void turn(const TransitionGroup &g, double *re, double *im)
{
    for (int lane = 0; lane < TRANSITIONS; lane += WIDTH) {
        const lanes_t leap_re = load(g.leap_re + lane), leap_im = load(g.leap_im + lane);
        const lanes_t old_re = load(re + lane), old_im = load(im + lane);
        store(re + lane, old_re * leap_re - old_im * leap_im);
        store(im + lane, old_re * leap_im + old_im * leap_re);
    }
}

double sum_of(lanes_t v)
{
    double sum = v[0];
    for (int lane = 1; lane < WIDTH; lane++)
        sum += v[lane];
    return sum;
}

} // namespace

void KERNEL(const SegmentJob &job)
{
    Sums *const sums = reinterpret_cast<Sums *>(job.work);
    for (int j = 0; j < job.half; j++)
        sums[j] = Sums{};
    for (int k = 0; k < job.count; k++) {
        TransitionGroup &g = job.groups[k];
        for (int lane = 0; lane < TRANSITIONS; lane += 2 * WIDTH)
            add_two(g, lane, job.half, sums);
        turn(g, g.x_re, g.x_im);
        turn(g, g.y_re, g.y_im);
    }
    for (int j = 0; j < job.half; j++) {
        const Sums &s = sums[j];
        job.re[job.half + j] = sum_of(s.even_x - s.odd_x);
        job.im[job.half + j] = sum_of(s.even_y - s.odd_y);
        job.re[job.half - 1 - j] = sum_of(s.even_x + s.odd_x);
        job.im[job.half - 1 - j] = sum_of(s.even_y + s.odd_y);
    }
}
