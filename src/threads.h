// threads.h - how many threads a piece of work gets. Threads live only inside the kernels: state,
// files and console stay single-threaded. OMP_NUM_THREADS sets the most that are used.
#ifndef ZAN_THREADS_H
#define ZAN_THREADS_H

#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

// products: multiplications that the work takes in one lane; pieces: parts it can be dealt out in.
int threads_for(double products, int64_t pieces);

// work(i, thread) for i = 0..count-1, thread 0..threads-1, neighbours by the same thread. Threads
// that the system refuses, or that find no memory, leave their part to this one. work must not
// throw.
template <class Work> void for_all(int threads, int64_t count, const Work &work)
{
    const auto do_part = [&](int thread) {
        for (int64_t i = count * thread / threads; i < count * (thread + 1) / threads; i++)
            work(i, thread);
    };
    std::vector<std::jthread> others;
    int next = 1;
    try {
        others.reserve((size_t)threads - 1);
        for (; next < threads; next++)
            others.emplace_back(do_part, next);
    } catch (const std::exception &) {
        // The parts from next on are left.
    }
    do_part(0);
    for (; next < threads; next++)
        do_part(next);
}

#endif
