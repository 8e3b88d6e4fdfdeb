// propagatorlib_baseline.cpp - the kernel for one instruction set (see CMakeLists.txt).

#define KERNEL propagate_lanes_baseline
#include "propagatorlib_lanes.h"
