// propagatorlib_lanes.h - rows of propagators of one sector, WIDTH positions to a vector.
//
// Included by one source file per instruction set, which defines WIDTH and KERNEL(name). A bundle
// is one row of P at WIDTH positions, or WIDTH rows at one position. ROWS bundles go through all
// samples together: their sums stay in registers, and an element of H is read once for all of
// them.
//
// Vectors lie as [column][bundle][re, im].

#include "propagatorlib_lanes_job.h"
#include "vectors.h"

namespace
{

// What a job works on, all in job.work.
struct Workspace {
    lanes_t *q, *y, *z; // the rows, and two stages of the series
    lanes_t *diagonal;  // of H·tau, per column
    double *value;      // the other elements of H·tau
};

// q turned by the phase of each level.
template <int ROWS> void turn(const LaneJob &job, const double *phase, Workspace *w)
{
    for (int j = 0; j < job.n; j++) {
        const double c = phase[2 * job.level[j]], s = phase[2 * job.level[j] + 1];
        lanes_t *q = w->q + 2 * ROWS * j;
        for (int r = 0; r < 2 * ROWS; r += 2) {
            const lanes_t re = q[r], im = q[r + 1];
            q[r] = re * c - im * s;
            q[r + 1] = re * s + im * c;
        }
    }
}

template <int ROWS> void start_series(const LaneJob &job, double scale, Workspace *w)
{
    for (int e = 0; e < 2 * ROWS * job.n; e++)
        w->y[e] = scale * w->q[e];
}

// out = a·q - i·y·(H·tau): one stage of the series by Horner's rule, a column at a time.
template <int ROWS>
void stage(const LaneJob &job, const Workspace &w, double a, const lanes_t *y, lanes_t *out)
{
    const lanes_t *q = w.q, *mine = y;
    const double *value = w.value;
    const int *row = job.row;
    for (int j = 0; j < job.n; j++, q += 2 * ROWS, mine += 2 * ROWS, out += 2 * ROWS) {
        const lanes_t diagonal = w.diagonal[j];
        lanes_t re[ROWS], im[ROWS];
        for (int r = 0; r < ROWS; r++) {
            re[r] = a * q[2 * r] + diagonal * mine[2 * r + 1];
            im[r] = a * q[2 * r + 1] - diagonal * mine[2 * r];
        }
        for (const int *const end = job.row + job.start[j + 1]; row < end; row++, value++) {
            const lanes_t *const from = y + (size_t)(unsigned)*row * (2 * ROWS);
            for (int r = 0; r < ROWS; r++) {
                re[r] += *value * from[2 * r + 1];
                im[r] -= *value * from[2 * r];
            }
        }
        for (int r = 0; r < ROWS; r++) {
            out[2 * r] = re[r];
            out[2 * r + 1] = im[r];
        }
    }
}

// q <- q·exp(-i·H·T): the polynomial in H·tau, substeps times.
template <int ROWS> void driven_step(const LaneJob &job, const Step &s, Workspace *w)
{
    for (int sub = 0; sub < s.substeps; sub++) {
        start_series<ROWS>(job, s.series[s.terms], w);
        for (int t = s.terms - 1; t >= 0; t--) {
            stage<ROWS>(job, *w, s.series[t], w->y, w->z);
            lanes_t *const swap = w->y;
            w->y = w->z;
            w->z = swap;
        }
        lanes_t *const swap = w->q;
        w->q = w->y;
        w->y = swap;
    }
}

// q <- q·exp(-i·(diag(d) + F)·T), component by component, then the phase of each position.
template <int ROWS> void free_step(const LaneJob &job, const Step &s, Workspace *w)
{
    const double *block_re = s.blocks_re, *block_im = s.blocks_im;
    for (int c = 0; c < job.components; c++) {
        const int *member = job.member + job.first[c];
        const int size = job.first[c + 1] - job.first[c];
        for (int b = 0; b < size; b++) {
            lanes_t re[ROWS] = {}, im[ROWS] = {};
            for (int a = 0; a < size; a++) {
                const double ur = block_re[a * size + b], ui = block_im[a * size + b];
                const lanes_t *const q = w->q + 2 * ROWS * member[a];
                for (int r = 0; r < ROWS; r++) {
                    re[r] += ur * q[2 * r];
                    re[r] -= ui * q[2 * r + 1];
                    im[r] += ur * q[2 * r + 1];
                    im[r] += ui * q[2 * r];
                }
            }
            const double *phase = s.free_phase + 2 * WIDTH * job.level[member[b]];
            const lanes_t pr = load(phase), pi = load(phase + WIDTH);
            lanes_t *const y = w->y + 2 * ROWS * member[b];
            for (int r = 0; r < ROWS; r++) {
                y[2 * r] = re[r] * pr - im[r] * pi;
                y[2 * r + 1] = re[r] * pi + im[r] * pr;
            }
        }
        block_re += size * size;
        block_im += size * size;
    }
    lanes_t *const swap = w->q;
    w->q = w->y;
    w->y = swap;
}

void prepare_step(const LaneJob &job, const Step &s, Workspace *w)
{
    const lanes_t g = load(s.offset);
    for (int j = 0; j < job.n; j++)
        w->diagonal[j] = s.tau * (job.d[j] + g * job.m[j]);
    for (int e = 0; e < job.start[job.n]; e++)
        w->value[e] = s.tau * (job.fixed[e] + s.b * job.flip[e]);
}

template <int ROWS> void start_rows(const LaneJob &job, Workspace *w)
{
    for (int e = 0; e < 2 * ROWS * job.n; e++)
        w->q[e] = lanes_t{};
    for (int r = 0; r < ROWS; r++)
        for (int l = 0; l < WIDTH; l++)
            w->q[2 * ROWS * job.rows[r][l] + 2 * r][l] = 1.0;
}

template <int ROWS> void propagate(const LaneJob &job)
{
    lanes_t *const lanes = reinterpret_cast<lanes_t *>(job.work);
    const size_t size = 2 * ROWS * (size_t)job.n;
    Workspace w = {lanes, lanes + size, lanes + 2 * size, lanes + 3 * size, nullptr};
    w.value = reinterpret_cast<double *>(w.diagonal + job.n);
    start_rows<ROWS>(job, &w);
    for (int k = 0; k < job.step_count; k++) {
        const Step &s = job.steps[k];
        if (s.turn)
            turn<ROWS>(job, s.turn, &w);
        if (s.free) {
            free_step<ROWS>(job, s, &w);
        } else {
            prepare_step(job, s, &w);
            driven_step<ROWS>(job, s, &w);
        }
    }
    turn<ROWS>(job, job.last_turn, &w);
    for (int e = 0; e < 2 * ROWS * job.n; e++)
        store(job.out + WIDTH * e, w.q[e]);
}

} // namespace

void KERNEL(propagate_lanes)(const LaneJob &job)
{
    switch (job.bundles) {
    case 4:
        propagate<4>(job);
        break;
    case 2:
        propagate<2>(job);
        break;
    default:
        propagate<1>(job);
        break;
    }
}
