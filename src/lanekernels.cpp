// lanekernels.cpp - which instruction sets this machine has.

#include "lanekernels.h"

bool lane_kernel_runs_here(LaneKernel kernel)
{
#if defined(__x86_64__)
    if (kernel == LANES_AVX512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512dq");
    if (kernel == LANES_AVX2)
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#endif
    return kernel == LANES_BASELINE;
}

LaneKernel best_lane_kernel(void)
{
    static const LaneKernel best = lane_kernel_runs_here(LANES_AVX512) ? LANES_AVX512
                                   : lane_kernel_runs_here(LANES_AVX2) ? LANES_AVX2
                                                                       : LANES_BASELINE;
    return best;
}

int lanes_of(LaneKernel kernel)
{
    return kernel == LANES_AVX512 ? 8 : kernel == LANES_AVX2 ? 4 : 2;
}
