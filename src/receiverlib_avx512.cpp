// receiverlib_avx512.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL add_segment_avx512
#define WIDTH  8
#include "receiverlib_lanes.h"
