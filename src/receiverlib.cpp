// receiverlib.cpp - the receiver trace as a sum over transitions.
//
// In the eigenbasis of the Hamiltonian (receiverlib_basis) every element of rho turns with a
// frequency of its own, so a trace is a sum of phases over the elements that the receiver sees.
// The vector kernels (receiverlib_lanes.h) take many of them at a time.

#include "receiverlib_internal.h"

#include "receiverlib_lanes_job.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

typedef std::complex<double> Complex;

// Segments between two exact phases; in between the amplitudes are turned on by one segment.
static const int EXACT_EVERY = 8;

// ------------------------------------------------------------------ what the receiver sees

namespace
{

// amplitude·exp(-i·omega·t), x and y apart.
struct Transition {
    Complex x, y;
    double omega; // rad/s
};

// rho + rho† between two blocks, in their eigenvectors.
struct Coherences {
    Eigen::MatrixXd re, im;
};

} // namespace

static Eigen::MatrixXd in_eigenvectors(const ReceiverBlock &rows, const Eigen::MatrixXd &part,
                                       const ReceiverBlock &cols)
{
    const Eigen::Map<const Eigen::MatrixXd> left(rows.vectors.data(), part.rows(), part.rows());
    const Eigen::Map<const Eigen::MatrixXd> right(cols.vectors.data(), part.cols(), part.cols());
    return left.transpose() * part * right;
}

static Coherences coherences_between(const CMatrix *rho, const ReceiverBlock &rows,
                                     const ReceiverBlock &cols)
{
    const auto m = (Eigen::Index)rows.states.size(), n = (Eigen::Index)cols.states.size();
    Eigen::MatrixXd re(m, n), im(m, n);
    for (Eigen::Index b = 0; b < n; b++)
        for (Eigen::Index a = 0; a < m; a++) {
            const int i = rows.states[(size_t)a], j = cols.states[(size_t)b];
            re(a, b) = (*rho)[i][j][COMPLEX_RE] + (*rho)[j][i][COMPLEX_RE];
            im(a, b) = (*rho)[i][j][COMPLEX_IM] - (*rho)[j][i][COMPLEX_IM];
        }
    return {in_eigenvectors(rows, re, cols), in_eigenvectors(rows, im, cols)};
}

// For a Hermitian O, Re Tr(O·rho(t)) is the real part of the sum over all a of rows and b of cols
// of <b|O|a>·<a|rho + rho†|b>·exp(-i·(E_a - E_b)·t): the order b, a is its complex conjugate.
static void add_transitions(const ReceiverBasis &basis, const ReceiverPair &pair,
                            const CMatrix *rho, std::vector<Transition> *list)
{
    const ReceiverBlock &rows = basis.blocks[(size_t)pair.rows];
    const ReceiverBlock &cols = basis.blocks[(size_t)pair.cols];
    const Coherences c = coherences_between(rho, rows, cols);
    for (size_t b = 0, k = 0; b < cols.states.size(); b++)
        for (size_t a = 0; a < rows.states.size(); a++, k++) {
            const Complex coherence(c.re.data()[k], c.im.data()[k]);
            const Complex x = pair.x[k] * coherence, y = pair.y[k] * coherence;
            if (x != 0.0 || y != 0.0)
                list->push_back({x, y, rows.energies[a] - cols.energies[b]});
        }
}

// ------------------------------------------------------------------ segments

namespace
{

// The segments of a trace, as equal as they can be.
struct Segments {
    int count, half;
    double dt;
};

} // namespace

static Segments divide(int ap, double dt)
{
    const int count = (int)(((int64_t)ap + 2 * LONGEST_HALF - 1) / (2 * LONGEST_HALF));
    const int64_t per_half = 2 * (int64_t)count;
    return {count, count ? (int)((ap + per_half - 1) / per_half) : 0, dt};
}

static void set(Complex z, size_t lane, double *re, double *im)
{
    re[lane] = z.real();
    im[lane] = z.imag();
}

// What is left over in the last group has no amplitude.
static std::vector<TransitionGroup> make_groups(const std::vector<Transition> &list,
                                                const Segments &segments)
{
    std::vector<TransitionGroup> groups((list.size() + TRANSITIONS - 1) / TRANSITIONS);
    for (size_t t = 0; t < list.size(); t++) {
        TransitionGroup &g = groups[t / TRANSITIONS];
        const size_t lane = t % TRANSITIONS;
        const double angle = -list[t].omega * segments.dt;
        set(std::polar(1.0, 0.5 * angle), lane, g.half_re, g.half_im);
        set(std::polar(1.0, angle), lane, g.step_re, g.step_im);
        set(std::polar(1.0, 2 * segments.half * angle), lane, g.leap_re, g.leap_im);
    }
    return groups;
}

// The amplitudes in the middle of a segment, from exact phases.
static void set_amplitudes(const std::vector<Transition> &list, const Segments &segments,
                           int segment, std::vector<TransitionGroup> *groups)
{
    const double middle = (2.0 * segment + 1.0) * segments.half - 0.5; // in samples
    for (size_t t = 0; t < list.size(); t++) {
        TransitionGroup &g = (*groups)[t / TRANSITIONS];
        const size_t lane = t % TRANSITIONS;
        const Complex phase = std::polar(1.0, -list[t].omega * (middle * segments.dt));
        set(list[t].x * phase, lane, g.x_re, g.x_im);
        set(list[t].y * phase, lane, g.y_re, g.y_im);
    }
}

static void add_segment(LaneKernel kernel, const SegmentJob &job)
{
    switch (kernel) {
    case LANES_AVX512:
        add_segment_avx512(job);
        break;
    case LANES_AVX2:
        add_segment_avx2(job);
        break;
    case LANES_BASELINE:
        add_segment_baseline(job);
        break;
    }
}

static void add_all_segments(LaneKernel kernel, const std::vector<Transition> &list, int ap,
                             double dt, double *re, double *im)
{
    const Segments segments = divide(ap, dt);
    std::vector<TransitionGroup> groups = make_groups(list, segments);
    const std::unique_ptr<SegmentSums> work{new SegmentSums};
    double segment_re[2 * LONGEST_HALF], segment_im[2 * LONGEST_HALF];
    const SegmentJob job = {groups.data(), (int)groups.size(), segments.half,
                            work.get(),    segment_re,         segment_im};
    for (int s = 0, first = 0; s < segments.count; s++) {
        if (s % EXACT_EVERY == 0)
            set_amplitudes(list, segments, s, &groups);
        add_segment(kernel, job);
        const int samples = std::min(2 * segments.half, ap - first);
        std::copy_n(segment_re, samples, re + first);
        std::copy_n(segment_im, samples, im + first);
        first += samples;
    }
}

// ------------------------------------------------------------------ traces

void trace_by_kernel(LaneKernel kernel, const ReceiverBasis &basis, int ap, double dt,
                     const CMatrix *densmat, double *re, double *im)
{
    std::vector<Transition> list;
    for (const ReceiverPair &pair : basis.pairs)
        add_transitions(basis, pair, densmat, &list);
    add_all_segments(kernel, list, ap, dt, re, im);
}

void ReceiverTraceInBasis(const ReceiverBasis &basis, int ap, double dt, const CMatrix *densmat,
                          double *re, double *im)
{
    if (basis.has_blocks)
        try {
            trace_by_kernel(best_lane_kernel(), basis, ap, dt, densmat, re, im);
            return;
        } catch (const std::bad_alloc &) {
            // The plain path takes no memory.
        }
    ReceiverTracePlain(basis.n, ap, dt, densmat, basis.Hmat, basis.Ixtot, basis.Iytot, re, im);
}

void ReceiverTrace(int n, int ap, double dt, const CMatrix *densmat, const CMatrix *Hmat,
                   const CMatrix *Ixtot, const CMatrix *Iytot, double *re, double *im)
{
    ReceiverTraceInBasis(MakeReceiverBasis(n, Hmat, Ixtot, Iytot), ap, dt, densmat, re, im);
}
