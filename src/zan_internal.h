// zan_internal.h - what only the rooms of the engine (zan*.cpp) share.
#ifndef ZAN_INTERNAL_H
#define ZAN_INTERNAL_H

#include "zan.h"

#include <cstdint>

// ---- terms of the operators (zan_hamiltonians.cpp) ----
void zan_add_polarisation(int k, double weight); // densmat += weight·Iz_k, Iz_k of unit norm
void zan_add_offset(int k, double nu);           // Izee += 2·pi·nu·Iz_k, nu in Hz
// Icoup += 2·pi·J·(Iz·Iz) or the full scalar product of spins i and j, J in Hz
void zan_add_coupling(int i, int j, double J, bool weak);

#endif
