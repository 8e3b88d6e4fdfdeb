// receiverlib_avx2.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL add_segment_avx2
#define WIDTH  4
#include "receiverlib_lanes.h"
