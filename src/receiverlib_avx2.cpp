// receiverlib_avx2.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL add_segment_avx2
#include "receiverlib_lanes.h"
