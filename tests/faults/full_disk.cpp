// Files that may not grow beyond a size, which is how a full disk or a quota ends a write in the
// middle.
#include "works.h"

#include <algorithm>
#include <set>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

// The console goes through a pipe: it has no length.
static ProgramResult run_with_limit(const Work &work, const Tree &tree, rlim_t bytes)
{
    int ends[2];
    if (pipe2(ends, O_NONBLOCK) != 0)
        std::abort();
    ProgramResult result = run_under(work, tree, {[&ends, bytes] {
                                         const rlimit limit = {bytes, bytes};
                                         setrlimit(RLIMIT_FSIZE, &limit);
                                         dup2(ends[1], STDOUT_FILENO);
                                         dup2(ends[1], STDERR_FILENO);
                                     }});
    close(ends[1]);
    char part[4096];
    for (ssize_t got = read(ends[0], part, sizeof part); got > 0;
         got = read(ends[0], part, sizeof part))
        result.out.append(part, static_cast<size_t>(got));
    close(ends[0]);
    return result;
}

// From nothing to a little more than the longest file.
static std::set<size_t> limits_of(const Expected &expected)
{
    size_t longest = 0;
    for (const std::string &densities : expected.densities)
        longest = std::max(longest, densities.size());
    for (const auto &[output, bytes] : expected.complete)
        longest = std::max(longest, bytes.size());
    std::set<size_t> limits = {0, 1, 11, 12, 13, longest - 1, longest, longest + 1};
    for (size_t k = 1; k < 24; k++)
        limits.insert(k * longest / 24);
    return limits;
}

static void try_limits(const Work &work, const Expected &expected, const Tree &tree)
{
    for (size_t bytes : limits_of(expected)) {
        start_over(work, tree);
        const ProgramResult result = run_with_limit(work, tree, bytes);
        EXPECT_EQ(wrong_after(work, expected, tree, result) + wrong_leftovers(tree), "")
            << bytes << " bytes\n"
            << result.out;
    }
}

TEST(FullDisk, InASpatialRun)
{
    const Tree tree;
    try_limits(run_of(SPATIAL), expected_of_run(SPATIAL, tree), tree);
}

TEST(FullDisk, InARunOfRows)
{
    const Tree tree;
    try_limits(run_of(ROWS), expected_of_run(ROWS, tree), tree);
}

TEST(FullDisk, InSpectraOfARun)
{
    const Tree tree;
    try_limits(spectra_of(), undisturbed_small(spectra_of, tree), tree);
}

TEST(FullDisk, InSavingAModel)
{
    const Tree tree;
    const Work work = export_over_another_model();
    try_limits(work, undisturbed(work, tree), tree);
}

TEST(FullDisk, InAnOptimization)
{
    const Tree tree;
    const Work work = optimization();
    try_limits(work, undisturbed(work, tree), tree);
}
