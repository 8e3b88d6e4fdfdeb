// threads.h - how many threads a piece of work gets. Threads live only inside the kernels: state,
// files and console stay single-threaded. OMP_NUM_THREADS sets the most that are used.
#ifndef ZAN_THREADS_H
#define ZAN_THREADS_H

#include <cstdint>
#ifdef _OPENMP
#include <omp.h>
#endif

// products: multiplications that the work takes in one lane; pieces: parts it can be dealt out in.
inline int threads_for(double products, int64_t pieces)
{
#ifdef _OPENMP
    const double WORTH_WAKING = 1e6;
    const int64_t most = omp_get_max_threads();
    if (products >= WORTH_WAKING)
        return (int)(pieces < most ? pieces : most);
#else
    (void)products;
    (void)pieces;
#endif
    return 1;
}

// work(i, thread) for i = 0..count-1, thread 0..threads-1. One thread does without OpenMP, which
// ends the program when memory is short. work must not throw.
template <class Work> void for_all(int threads, int64_t count, const Work &work)
{
#ifdef _OPENMP
    if (threads > 1) {
#pragma omp parallel for num_threads(threads) schedule(static)
        for (int64_t i = 0; i < count; i++)
            work(i, omp_get_thread_num());
        return;
    }
#endif
    (void)threads;
    for (int64_t i = 0; i < count; i++)
        work(i, 0);
}

#endif
