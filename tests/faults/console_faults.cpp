// A console that is closed, broken or full: what is printed is lost, files are not.
#include "works.h"

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace fs = std::filesystem;

// All outputs are complete and the program ended well.
static std::string wrong_without_console(const Work &work, const Tree &tree,
                                         const Expected &expected, const Conditions &conditions)
{
    start_over(work, tree);
    const ProgramResult result = run_under(work, tree, conditions);
    std::string wrong = wrong_after(work, expected, tree, result);
    for (const auto &[output, bytes] : expected.complete)
        if (read_file(tree_path(tree, output)) != bytes)
            wrong += output + " is not complete\n";
    if (result.exit_code != 0)
        wrong += "exit code " + std::to_string(result.exit_code) + "\n";
    return wrong;
}

static void put_in_place(int fd, std::initializer_list<int> streams)
{
    for (int stream : streams)
        dup2(fd, stream);
    close(fd);
}

static void close_output(void)
{
    close(STDOUT_FILENO);
}

static void close_both(void)
{
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
}

static void close_all(void)
{
    close_both();
    close(STDIN_FILENO);
}

static void only_for_reading(void)
{
    put_in_place(open("/dev/null", O_RDONLY), {STDOUT_FILENO, STDERR_FILENO});
}

// Nobody reads from the pipe any more.
static void break_pipe(void)
{
    int ends[2];
    if (pipe(ends) != 0)
        _exit(127);
    close(ends[0]);
    std::signal(SIGPIPE, SIG_DFL);
    put_in_place(ends[1], {STDOUT_FILENO, STDERR_FILENO});
}

static void full_pipe(void)
{
    int ends[2];
    if (pipe2(ends, O_NONBLOCK) != 0)
        _exit(127);
    const char block[4096] = {};
    while (write(ends[1], block, sizeof block) > 0) {
    }
    put_in_place(ends[1], {STDOUT_FILENO, STDERR_FILENO}); // and the reading end stays open
}

// A file that can take so many bytes more; all others are shorter than the limit anyway.
static void output_of_length(const std::string &path, long bytes)
{
    const rlim_t most = 1 << 30;
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    const rlimit limit = {most, most};
    if (ftruncate(fd, static_cast<long>(most) - bytes) != 0 || setrlimit(RLIMIT_FSIZE, &limit) != 0)
        _exit(127);
    put_in_place(fd, {STDOUT_FILENO, STDERR_FILENO});
}

static void try_consoles(const Work &work, const Tree &tree, const Expected &expected)
{
    for (void (*in_child)(void) :
         {close_output, close_both, only_for_reading, break_pipe, full_pipe})
        EXPECT_EQ(wrong_without_console(work, tree, expected, {in_child}), "");
    if (work.typed.empty()) {
        EXPECT_EQ(wrong_without_console(work, tree, expected, {close_all}), "");
    }
    const std::string path = tree_path(tree, "io/long");
    for (long bytes : {0, 1, 100, 1000, 2000, 4000}) {
        fs::remove(path);
        EXPECT_EQ(
            wrong_without_console(work, tree, expected, {[&] { output_of_length(path, bytes); }}),
            "")
            << bytes;
    }
}

TEST(ConsoleFaults, InASpatialRun)
{
    const Tree tree;
    try_consoles(run_of(SPATIAL), tree, expected_of_run(SPATIAL, tree));
}

TEST(ConsoleFaults, InARunOfRows)
{
    const Tree tree;
    try_consoles(run_of(ROWS), tree, expected_of_run(ROWS, tree));
}

TEST(ConsoleFaults, InSpectraOfARun)
{
    const Tree tree;
    try_consoles(spectra_of(), tree, undisturbed_small(spectra_of, tree));
}

TEST(ConsoleFaults, InAVoxelSignal)
{
    const Tree tree;
    const Work work = voxel_signal();
    try_consoles(work, tree, undisturbed(work, tree));
}

TEST(ConsoleFaults, InSavingAModel)
{
    const Tree tree;
    const Work work = export_over_another_model();
    try_consoles(work, tree, undisturbed(work, tree));
}

// Menus and every dialog of the run and prepare menus, without an answer.
TEST(ConsoleFaults, AnInputThatCannotBeReadEndsTheProgram)
{
    const Tree tree;
    for (const char *typed :
         {"", "1\n1\n", "1\n2\n", "1\n3\n", "2\n1\n", "2\n3\n1\n", "3\n", "4\n"}) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0); // typed, then a read that fails
        const std::string text = typed;
        ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        const ProgramResult result =
            run_zan_under(tree, {}, "", {[&ends] { dup2(ends[0], STDIN_FILENO); }});
        close(ends[0]);
        close(ends[1]);
        EXPECT_EQ(result.exit_code, 0) << typed;
        EXPECT_LT(result.out.size(), 100000u) << typed;
        EXPECT_NE(result.out.find("[ZAN] Exiting."), std::string::npos) << typed;
    }
}

TEST(ConsoleFaults, AClosedInputEndsTheProgram)
{
    const Tree tree;
    const ProgramResult result = run_zan_under(tree, {}, "", {[] { close(STDIN_FILENO); }});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_NE(result.out.find("[ZAN] Exiting."), std::string::npos);
}
