// propagatorlib_avx2.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL propagate_lanes_avx2
#include "propagatorlib_lanes.h"
