// receiverlib_baseline.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL add_segment_baseline
#include "receiverlib_lanes.h"
