// A program that is killed: whenever that is, finished sectors and older outputs are still there,
// and the next run goes on as if nothing had been.
#include "works.h"

#include <chrono>
#include <random>

static const int KILLED = 128 + 9;

static void expect_next_run_complete(const Work &work, const Expected &expected, const Tree &tree)
{
    run_under(work, tree, {});
    for (const auto &[output, bytes] : expected.complete)
        EXPECT_EQ(read_file(tree_path(tree, output)), bytes) << output;
}

static void kill_at_every_call(const Work &work, const Expected &expected, const Tree &tree)
{
    const long count = count_calls(work, tree, "call");
    const std::vector<long> numbers = sample_numbers(count, ZAN_FAULT_LIMIT);
    for (long number : numbers) {
        start_over(work, tree);
        const std::string fault = "call:" + std::to_string(number) + ":kill";
        const ProgramResult result = run_with_fault(work, tree, fault);
        EXPECT_EQ(result.exit_code, KILLED) << fault;
        EXPECT_EQ(wrong_files(work, expected, tree), "") << fault << " of " << count;
    }
    std::printf("%zu kills\n", numbers.size());
}

TEST(Killed, InASpatialRun)
{
    const Tree tree;
    const Work work = run_of(SPATIAL);
    const Expected expected = expected_of_run(SPATIAL, tree);
    kill_at_every_call(work, expected, tree);
    expect_next_run_complete(work, expected, tree);
}

TEST(Killed, InARunOfRows)
{
    const Tree tree;
    const Work work = run_of(ROWS);
    const Expected expected = expected_of_run(ROWS, tree);
    kill_at_every_call(work, expected, tree);
    expect_next_run_complete(work, expected, tree);
}

TEST(Killed, InSpectraOfARun)
{
    const Tree tree;
    kill_at_every_call(spectra_of(), undisturbed_small(spectra_of, tree), tree);
}

TEST(Killed, InSavingAModel)
{
    const Tree tree;
    const Work work = export_over_another_model();
    kill_at_every_call(work, undisturbed(work, tree), tree);
}

TEST(Killed, InAnOptimization)
{
    const Tree tree;
    const Work work = optimization();
    kill_at_every_call(work, undisturbed(work, tree), tree);
}

static long duration_us(const Work &work, const Tree &tree)
{
    start_over(work, tree);
    const auto start = std::chrono::steady_clock::now();
    run_under(work, tree, {});
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration_cast<std::chrono::microseconds>(end - start).count();
}

// With many positions most of the time goes into sectors and their files.
TEST(Killed, AtTwoHundredRandomMomentsOfASpatialRun)
{
    const int lines = 250; // 1500 positions
    const Tree tree;
    const Work work = run_of(SPATIAL, ALL, lines);
    const Expected expected = expected_of_run(SPATIAL, tree, lines);
    std::uniform_int_distribution<long> moment(1, duration_us(work, tree));
    std::mt19937 random(20240607);
    int killed = 0;
    for (int run = 0; run < 200; run++) {
        start_over(work, tree);
        Conditions conditions;
        conditions.kill_after_us = moment(random);
        const ProgramResult result = run_under(work, tree, conditions);
        killed += result.exit_code == KILLED;
        EXPECT_TRUE(result.exit_code == KILLED || result.exit_code == 0) << result.exit_code;
        EXPECT_EQ(wrong_files(work, expected, tree), "") << conditions.kill_after_us << " us";
    }
    EXPECT_GT(killed, 0);
    std::printf("%d of 200 killed\n", killed);
    expect_next_run_complete(work, expected, tree);
}
