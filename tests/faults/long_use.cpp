// A program that is used for long, and several at once.
#include "works.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

// ------------------------------------------------------------------ one program for long

namespace
{

// The program at its menu, typed to through a pipe with a name. What it prints is in io/stdout.
struct Session {
    const Tree &tree;
    std::string pipe_path = tree_path(tree, "io/typed"), pid_path = tree_path(tree, "io/pid");
    std::thread program;
    ProgramResult result;
    int keyboard = -1;

    explicit Session(const Tree &t) : tree(t)
    {
        fs::create_directory(tree_path(tree, "io"));
        EXPECT_EQ(mkfifo(pipe_path.c_str(), 0600), 0);
        program = std::thread([this] {
            result = run_zan_under(tree, {}, "", {[this] {
                                       write_file(pid_path, std::to_string(getpid()));
                                       // The sanitizer would keep what was freed for a while.
                                       setenv("ASAN_OPTIONS",
                                              "quarantine_size_mb=0:"
                                              "thread_local_quarantine_size_kb=0",
                                              1);
                                       const int fd = open(pipe_path.c_str(), O_RDONLY);
                                       dup2(fd, STDIN_FILENO);
                                       close(fd);
                                   }});
        });
        keyboard = open(pipe_path.c_str(), O_WRONLY);
    }
    void type(const std::string &text) const
    {
        EXPECT_EQ(write(keyboard, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    ~Session()
    {
        if (keyboard >= 0)
            close(keyboard);
        if (program.joinable())
            program.join();
    }
};

struct Use {
    long memory_kb, files, names; // resident; open; in the runtime directory
};

int count_of(const std::string &text, const std::string &part)
{
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

} // namespace

static long entries_of(const std::string &dir)
{
    return std::distance(fs::recursive_directory_iterator(dir), fs::recursive_directory_iterator());
}

static Use use_of(const Session &session)
{
    const std::string process = "/proc/" + read_file(session.pid_path);
    std::istringstream memory(read_file(process + "/statm"));
    long whole, resident = 0;
    memory >> whole >> resident;
    return {resident * (sysconf(_SC_PAGESIZE) / 1024), entries_of(process + "/fd"),
            entries_of(tree_path(session.tree, "build/runtime"))};
}

// It waits at the main menu for the time after so many rounds.
static bool wait_for_rounds(const Session &session, int rounds)
{
    const std::string out = tree_path(session.tree, "io/stdout");
    for (int tries = 0; tries < 20000; tries++) {
        if (count_of(read_file(out), "Select [1-6]: ") > 2 * rounds)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

// A model is imported, saved and run, its signals become tables; two visits to the main menu.
static std::string rounds_of_work(int rounds)
{
    std::string typed;
    for (int round = 0; round < rounds; round++)
        typed += "3\n1\n\n2\n6\nsmall\n1\n\n2\n\n4\n2\n4\n0.016\n-100\n2\nout\nn\n\n7\n";
    return typed;
}

TEST(LongUse, AThousandModelsInOneProgramTakeNoMoreThanAHundred)
{
    const Tree tree;
    write_small_model(tree, ROWS);
    Session session(tree);
    session.type(rounds_of_work(100));
    ASSERT_TRUE(wait_for_rounds(session, 100));
    const Use after_100 = use_of(session);
    for (int hundred = 2; hundred <= 10; hundred++)
        session.type(rounds_of_work(100));
    ASSERT_TRUE(wait_for_rounds(session, 1000));
    const Use after_1000 = use_of(session);
    session.type("6\n");
    close(session.keyboard);
    session.keyboard = -1;
    session.program.join();
    EXPECT_EQ(session.result.exit_code, 0);
    EXPECT_EQ(session.result.err, "");
    EXPECT_EQ(count_of(session.result.out, "Wrote 2D complex receiver signal"), 1000);
    EXPECT_EQ(count_of(session.result.out, "Wrote out_td.csv and out_fd.csv"), 1000);
    EXPECT_LE(after_1000.memory_kb, after_100.memory_kb + 256);
    EXPECT_EQ(after_1000.files, after_100.files);
    EXPECT_EQ(after_1000.names, after_100.names);
    std::printf("after 100: %ld kB, %ld files; after 1000: %ld kB, %ld files\n",
                after_100.memory_kb, after_100.files, after_1000.memory_kb, after_1000.files);
}

// ------------------------------------------------------------------ several at once

static pid_t start_silent_run(const Tree &tree)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    const std::string program = tree_path(tree, "build/zan");
    const std::string model = tree_path(tree, "models/small.zanmodel");
    const int nowhere = open("/dev/null", O_RDWR);
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, stream);
    execl(program.c_str(), program.c_str(), "--run-model", model.c_str(), nullptr);
    _exit(127);
}

// The result, looked at until all have ended, is always the old or the new one.
static int wait_and_watch(std::vector<pid_t> programs, const std::string &result,
                          const std::set<std::string> &good)
{
    int wrong = 0;
    while (!programs.empty()) {
        wrong += !good.contains(read_file(result));
        std::erase_if(programs, [&](pid_t pid) {
            int status = 0;
            const bool ended = waitpid(pid, &status, WNOHANG) == pid;
            wrong += ended && status != 0;
            return ended;
        });
    }
    return wrong;
}

static void run_together(Family family)
{
    const Tree tree;
    const Work work = run_of(family);
    const Expected expected = undisturbed(work, tree);
    start_over(work, tree);
    const int rounds = 20, together = 3;
    const std::string &output = work.outputs[0];
    for (int round = 0; round < rounds; round++) {
        std::vector<pid_t> programs;
        for (int number = 0; number < together; number++)
            programs.push_back(start_silent_run(tree));
        EXPECT_EQ(wait_and_watch(programs, tree_path(tree, output), expected.good.at(output)), 0);
        EXPECT_EQ(read_file(tree_path(tree, output)), expected.complete.at(output));
    }
    EXPECT_EQ(wrong_files(work, expected, tree), "");
    EXPECT_EQ(wrong_leftovers(tree), "");
    // One directory of each run, with its density matrices; and the result.
    EXPECT_EQ(entries_of(tree_path(tree, "build/runtime/runs")), 2 * rounds * together);
    EXPECT_EQ(entries_of(tree_path(tree, "build/runtime/results")), 1);
}

TEST(SeveralAtOnce, SpatialRunsOfOneModelDoNotDisturbEachOther)
{
    run_together(SPATIAL);
}

TEST(SeveralAtOnce, RunsOfRowsOfOneModelDoNotDisturbEachOther)
{
    run_together(ROWS);
}
