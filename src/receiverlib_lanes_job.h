// receiverlib_lanes_job.h - what the kernels of the receiver work on. Plain data, as it is seen by
// sources of different instruction sets.
#ifndef ZAN_RECEIVERLIB_LANES_JOB_H
#define ZAN_RECEIVERLIB_LANES_JOB_H

// A trace goes in segments of 2·half samples. Seen from the middle of a segment, the samples lie
// at plus and minus (j + 1/2)·dt, j = 0..half-1, and share their cosines and sines.
enum { TRANSITIONS = 16, WIDEST = 8, LONGEST_HALF = 64 };

// Sixteen transitions: the sum of amplitude·exp(-i·omega·t).
struct alignas(64) TransitionGroup {
    double half_re[TRANSITIONS], half_im[TRANSITIONS]; // exp(-i·omega·dt/2)
    double step_re[TRANSITIONS], step_im[TRANSITIONS]; // exp(-i·omega·dt)
    double leap_re[TRANSITIONS], leap_im[TRANSITIONS]; // from one middle to the next
    // The amplitudes in the middle of the segment; the kernel moves them on to the next.
    double x_re[TRANSITIONS], x_im[TRANSITIONS], y_re[TRANSITIONS], y_im[TRANSITIONS];
};

struct alignas(64) SegmentSums {
    double sum[4 * LONGEST_HALF][WIDEST];
};

struct SegmentJob {
    TransitionGroup *groups;
    int count;
    int half;
    SegmentSums *work;
    double *re, *im; // 2·half samples each
};

// The same kernel for three instruction sets; the last two need a machine that has them.
void add_segment_baseline(const SegmentJob &job);
void add_segment_avx2(const SegmentJob &job);
void add_segment_avx512(const SegmentJob &job);

#endif
