// propagatorlib_rotate.cpp - density matrices through propagators, on all cores.
//
// A propagator without RF joins few states: what it does not join is left out of the products.

#include "propagatorlib_internal.h"
#include "threads.h"

#include <cstdint>
#include <new>
#include <numeric>

// ------------------------------------------------------------------ a propagator as weights

namespace
{

// What one thread works with: one propagator, ready for the kernel, and its scratch.
struct RotationWorker {
    int at = -1; // number of the propagator
    std::vector<int> root, first, member;
    std::vector<double> weight;
    AlignedDoubles work;
};

} // namespace

static int root_of(std::vector<int> &root, int i)
{
    while (root[(size_t)i] != i)
        i = root[(size_t)i] = root[(size_t)root[(size_t)i]];
    return i;
}

// States that P joins, directly or through others, are one component.
static void find_components(int n, const std::complex<double> *P, RotationWorker *w)
{
    w->root.resize((size_t)n);
    std::iota(w->root.begin(), w->root.end(), 0);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++)
            if (P[(int64_t)i * n + j] != 0.0)
                w->root[(size_t)root_of(w->root, i)] = root_of(w->root, j);
    w->first.clear();
    w->member.clear();
    for (int r = 0; r < n; r++) {
        if (w->root[(size_t)r] != r)
            continue;
        w->first.push_back((int)w->member.size());
        for (int i = 0; i < n; i++)
            if (root_of(w->root, i) == r)
                w->member.push_back(i);
    }
    w->first.push_back(n);
}

static void take_propagator(int n, const std::complex<double> *P, RotationWorker *w)
{
    find_components(n, P, w);
    w->weight.clear();
    for (size_t c = 0; c + 1 < w->first.size(); c++)
        for (int k = w->first[c]; k < w->first[c + 1]; k++)
            for (int j = w->first[c]; j < w->first[c + 1]; j++) {
                const std::complex<double> p =
                    P[(int64_t)w->member[(size_t)k] * n + w->member[(size_t)j]];
                w->weight.push_back(p.real());
                w->weight.push_back(p.imag());
            }
}

// ------------------------------------------------------------------ running the kernels

static void rotate_lanes(LaneKernel kernel, const RotationJob &job)
{
    switch (kernel) {
    case LANES_AVX512:
        rotate_lanes_avx512(job);
        break;
    case LANES_AVX2:
        rotate_lanes_avx2(job);
        break;
    case LANES_BASELINE:
        rotate_lanes_baseline(job);
        break;
    }
}

static int padded_width(int n)
{
    return (n + MOST_LANES - 1) / MOST_LANES * MOST_LANES;
}

static void rotate_one(LaneKernel kernel, int n, const RotationWorker &w, std::complex<double> *rho)
{
    RotationJob job;
    job.n = n;
    job.width = padded_width(n);
    job.components = (int)w.first.size() - 1;
    job.first = w.first.data();
    job.member = w.member.data();
    job.weight = w.weight.data();
    job.rho = reinterpret_cast<double *>(rho); // re, im in turn: the layout of std::complex
    job.work = w.work.get();
    rotate_lanes(kernel, job);
}

static RotationWorker make_worker(int n)
{
    RotationWorker w;
    const size_t doubles = 4 * (size_t)n * (size_t)padded_width(n);
    w.work = aligned_doubles(doubles);
    std::fill_n(w.work.get(), doubles, 0.0);
    w.root.reserve((size_t)n);
    w.first.reserve((size_t)n + 1);
    w.member.reserve((size_t)n);
    w.weight.reserve(2 * (size_t)n * (size_t)n);
    return w;
}

void rotate_fast(LaneKernel kernel, int n, const std::complex<double> *propagators,
                 const int *which, int count, std::complex<double> *rho)
{
    const int64_t size = (int64_t)n * n;
    const int threads = threads_for((double)size * n * count, count);
    std::vector<RotationWorker> workers;
    for (int t = 0; t < threads; t++)
        workers.push_back(make_worker(n));
    for_all(threads, count, [&](int64_t v, int thread) {
        RotationWorker &w = workers[(size_t)thread];
        if (which[v] < 0)
            return;
        if (which[v] != w.at)
            take_propagator(n, propagators + which[v] * size, &w);
        w.at = which[v];
        rotate_one(kernel, n, w, rho + v * size);
    });
}

void RotateDensities(int n, const std::complex<double> *propagators, const int *which, int count,
                     std::complex<double> *rho)
{
    try {
        rotate_fast(best_lane_kernel(), n, propagators, which, count, rho);
    } catch (const std::bad_alloc &) {
        RotateDensitiesPlain(n, propagators, which, count, rho); // takes no memory
    }
}
