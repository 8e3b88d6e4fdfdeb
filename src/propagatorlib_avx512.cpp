// propagatorlib_avx512.cpp - the kernels for one instruction set (see CMakeLists.txt).

#define KERNEL(name) name##_avx512
#define WIDTH        8
#include "propagatorlib_lanes.h"
#include "propagatorlib_rotate_lanes.h"
