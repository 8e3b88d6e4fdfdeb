// works.h - the pieces of work that faults are tried on.
#ifndef ZAN_TESTS_FAULTS_WORKS_H
#define ZAN_TESTS_FAULTS_WORKS_H

#include "faulty_runs.h"
#include "sequences.h"

// Of a small model: a run from the command line; a run from the menu with signals of rows as
// tables and their average for another program, or with expectation values of a spatial model.
Work run_of(Family family, unsigned used = ALL, int lines = 1);
Work spectra_of(unsigned used = ALL);
Work expectations_of(unsigned used = ALL);
Expected expected_of_run(Family family, const Tree &tree, int lines = 1);

// From the density matrices of a spatial run: the other two modes of the command line.
Work expectation_profile(void);
Work voxel_signal(void);

Work export_over_another_model(void);
Work optimization(void); // with a table of the pulse, and the pulse put back
Work export_after_reference_checks(void);
Work composition(void); // two waveforms of a spatial sequence

#endif
