// propagatorlib_avx512.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL propagate_lanes_avx512
#include "propagatorlib_lanes.h"
