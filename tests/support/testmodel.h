// testmodel - a small valid model as records, for tests to change.
#ifndef ZAN_TESTS_TESTMODEL_H
#define ZAN_TESTS_TESTMODEL_H

#include "zanmodel.h"

struct TestModel {
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
};

// Three spins 1/2 with distinct values everywhere, a 1D/2D sequence of two sectors (the second
// an evolution), a grid of 2 x 3 x 1 voxels.
TestModel three_spin_model();

#endif
