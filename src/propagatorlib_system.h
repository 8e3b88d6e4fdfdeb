// propagatorlib_system.h - a spin system as the sector propagators take it: whole, and in parts
// that evolve by themselves.
#ifndef ZAN_PROPAGATORLIB_SYSTEM_H
#define ZAN_PROPAGATORLIB_SYSTEM_H

#include "propagatorlib_internal.h"
#include "spinblocklib_internal.h"

struct SectorSystem {
    bool fits; // the operators have the sparse form; else the rest is empty
    bool splits;
    SystemPart whole;
    SpinSplit split;
    std::vector<SystemPart> parts; // the blocks of split, group after group
};

#endif
