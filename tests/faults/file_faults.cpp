// Every call for a file or for memory that the program makes, failing once, and a disk that is full
// from some call on: no crash, nothing truncated or mixed, and a message of what is lost.
#include "works.h"

static const long LIMIT = ZAN_FAULT_LIMIT; // faults of one kind in one piece of work

static void try_every_kind(const Work &work, const Expected &expected, const Tree &tree)
{
    int runs = 0;
    for (const char *kind : {"write", "small", "flush", "close", "rename", "open", "mkdir",
                             "unlink", "read", "allocation"})
        runs += try_faults(work, expected, tree, kind, "", LIMIT);
    runs += try_faults(work, expected, tree, "space", ":stay", LIMIT);
    EXPECT_GT(runs, LIMIT);
    std::printf("%d faults\n", runs);
}

static void try_work(const Work &work)
{
    const Tree tree;
    const Expected expected = undisturbed(work, tree);
    try_every_kind(work, expected, tree);
}

TEST(Faults, InASpatialRun)
{
    const Tree tree;
    try_every_kind(run_of(SPATIAL), expected_of_run(SPATIAL, tree), tree);
}

TEST(Faults, InARunOfRows)
{
    const Tree tree;
    try_every_kind(run_of(ROWS), expected_of_run(ROWS, tree), tree);
}

TEST(Faults, InSpectraOfARun)
{
    const Tree tree;
    try_every_kind(spectra_of(), undisturbed_small(spectra_of, tree), tree);
}

TEST(Faults, InExpectationValuesOfARun)
{
    const Tree tree;
    try_every_kind(expectations_of(), undisturbed_small(expectations_of, tree), tree);
}

TEST(Faults, InAnExpectationProfile)
{
    try_work(expectation_profile());
}

TEST(Faults, InAVoxelSignal)
{
    try_work(voxel_signal());
}

TEST(Faults, InSavingAModel)
{
    try_work(export_over_another_model());
}

TEST(Faults, InAnOptimization)
{
    try_work(optimization());
}

TEST(Faults, OfMemoryInReferenceChecksLeaveTheModelRight)
{
    const Tree tree;
    const Work work = export_after_reference_checks();
    const int runs = try_faults(work, undisturbed(work, tree), tree, "allocation", "", LIMIT);
    EXPECT_EQ(runs, LIMIT);
}

TEST(Faults, InTheComposer)
{
    try_work(composition());
}
