// propagatorlib_avx2.cpp - the kernels for one instruction set (see CMakeLists.txt).

#define KERNEL(name) name##_avx2
#define WIDTH        4
#include "propagatorlib_lanes.h"
#include "propagatorlib_rotate_lanes.h"
