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
    const double WORTH_WAKING = 1e5;
    const int64_t most = omp_get_max_threads();
    if (products >= WORTH_WAKING)
        return (int)(pieces < most ? pieces : most);
#else
    (void)products;
    (void)pieces;
#endif
    return 1;
}

inline int thread_number(void)
{
#ifdef _OPENMP
    return omp_get_thread_num();
#else
    return 0;
#endif
}

#endif
