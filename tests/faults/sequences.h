// sequences.h - small models of both families whose sectors can be left out.
#ifndef ZAN_TESTS_FAULTS_SEQUENCES_H
#define ZAN_TESTS_FAULTS_SEQUENCES_H

#include "run_program.h"

#include <string>

enum Family { SPATIAL = 1, ROWS = 2 };

constexpr unsigned SECTORS = 3; // to be propagated; the acquisition comes behind them
constexpr unsigned ALL = (1u << SECTORS) - 1;
constexpr int ROW_COUNT = 4; // of ROWS, from the second sector on

// models/small.zanmodel: two coupled spins; a pulse, a sector that tells the positions or rows
// apart, another pulse, an acquisition of 16 samples. Result: runtime/results/small.bin. Of the
// propagated sectors only those in used (bit s for sector s, from 0) are in the sequence.
std::string write_small_model(const Tree &tree, Family family, unsigned used = ALL,
                              int lines = 1); // positions of SPATIAL along y

#endif
