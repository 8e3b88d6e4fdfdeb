// lanekernels.h - the instruction sets for which the vector kernels are built, and the choice among
// them when the program runs. Every kernel gives the same numbers but for rounding.
#ifndef ZAN_LANEKERNELS_H
#define ZAN_LANEKERNELS_H

// The last two need a machine that has them.
enum LaneKernel { LANES_BASELINE, LANES_AVX2, LANES_AVX512 };
enum { MOST_LANES = 8 };

bool lane_kernel_runs_here(LaneKernel kernel);
LaneKernel best_lane_kernel(void);
int lanes_of(LaneKernel kernel); // doubles in a vector

#endif
