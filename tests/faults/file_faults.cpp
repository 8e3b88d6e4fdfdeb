// Calls for a file or for memory that the program makes, failing once, at most LIMIT of each kind
// evenly over the work, and a disk that is full from some call on: no crash, nothing truncated or
// mixed, and a message of what is lost.
#include "works.h"

#include <cstdlib>

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

// The kernels of this run have work for several threads.
static Work run_of_eight_spins(void)
{
    Work work = run_of(SPATIAL, 1);
    work.prepare = [](const Tree &tree) {
        write_small_model(tree, SPATIAL, 1);
        std::string system = "format_version: 1\nnspins: 8\nspin_quantum_numbers: 1 1 1 1 1 1 1 1\n"
                             "relative_intensities: 1 1 1 1 1 1 1 1\n"
                             "resonance_offsets_hz: 60 -25 10 5 80 -70 30 95\ncoupling_mode: 2\n";
        for (int k = 1; k < 8; k++)
            system += "jcoupling_hz: " + std::to_string(k) + " " + std::to_string(k + 1) + " 7\n";
        write_file(tree_path(tree, "spin-systems/small.zanspin"), system);
    };
    return work;
}

TEST(Faults, OfThreadsLeaveTheirPartToTheOthers)
{
    setenv("OMP_NUM_THREADS", "4", 1);
    const Tree tree;
    const Work work = run_of_eight_spins();
    const std::string output = tree_path(tree, work.outputs[0]);
    start_over(work, tree);
    run_under(work, tree, {});
    const std::string whole = read_file(output);
    EXPECT_NE(whole, "");
    EXPECT_GE(count_calls(work, tree, "thread"), 3);
    for (const char *fault : {"thread:1", "thread:3", "thread:1:stay"}) {
        start_over(work, tree);
        const ProgramResult result = run_with_fault(work, tree, fault);
        EXPECT_EQ(result.exit_code, 0) << fault;
        EXPECT_EQ(result.err, "") << fault;
        EXPECT_TRUE(read_file(output) == whole) << fault;
    }
    unsetenv("OMP_NUM_THREADS");
}
