// propagatorlib_baseline.cpp - the kernels for one instruction set (see CMakeLists.txt).

#define KERNEL(name) name##_baseline
#define WIDTH        2
#include "propagatorlib_lanes.h"
#include "propagatorlib_rotate_lanes.h"
