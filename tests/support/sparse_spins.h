// sparse_spins.h - spin systems in the sparse form that the propagation kernels take, and their
// propagators without any of the kernels' shortcuts.
#ifndef ZAN_TESTS_SPARSE_SPINS_H
#define ZAN_TESTS_SPARSE_SPINS_H

#include "engine_fixture.h"
#include "propagatorlib_internal.h"
#include "spinblocklib_internal.h"

// Built by the program's own operators, in rt.
SparseSystem sparse_spins(const SpinSystem &system);

SpinSplit split_of(const SpinSystem &system);

// One sample: offset and RF in rad/s, phase of the RF in rad, duration in s.
struct Sample {
    double offset, rf, phase, tau;
};

std::vector<Sample> random_samples(std::mt19937 &random, int count);

// The product of exp(-i·H·tau) of the samples, and that to the power 2^doublings, by series in
// long double.
std::vector<Complex> series_propagator(const SparseSystem &s, const std::vector<Sample> &samples,
                                       int doublings = 0);

// From the series propagators of all blocks.
std::vector<Complex> assembled_propagator(const SpinSplit &split,
                                          const std::vector<Sample> &samples, int doublings = 0);

#endif
