// receiverlib_baseline.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL add_segment_baseline
#define WIDTH  2
#include "receiverlib_lanes.h"
