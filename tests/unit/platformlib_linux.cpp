// platformlib on Linux - links, limits on files, programs in the background.
#include "platformlib.h"
#include "run_program.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

namespace fs = std::filesystem;

static const Tree &tree()
{
    static const Tree the_tree;
    return the_tree;
}

static std::string in_tree(const std::string &relative)
{
    return tree_path(tree(), relative);
}

TEST(Platform, TheProcessIdIsThatOfTheSystem)
{
    EXPECT_EQ(plat_process_id(), static_cast<unsigned long>(getpid()));
}

TEST(PlatformKinds, TellFilesDirectoriesAndLinksApart)
{
    const std::string file = in_tree("kinds/file"), dir = in_tree("kinds/dir"),
                      link = in_tree("kinds/link");
    write_file(file, "x");
    fs::create_directory(dir);
    fs::create_symlink(file, link);
    struct Case {
        std::string path;
        bool is_dir, is_regular, exists;
    };
    for (const Case &c : {Case{file, false, true, true}, Case{dir, true, false, true},
                          Case{link, false, false, true}, Case{file + "x", false, false, false}}) {
        EXPECT_EQ(plat_is_dir(c.path.c_str()), c.is_dir) << c.path;
        EXPECT_EQ(plat_is_regular_file(c.path.c_str()), c.is_regular) << c.path;
        EXPECT_EQ(plat_exists(c.path.c_str()), c.exists) << c.path;
    }
}

static int write_beyond_the_limit(const std::string &path)
{
    plat_startup();
    const rlimit limit = {64, 64};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return 2;
    FILE *out = std::fopen(path.c_str(), "wb");
    if (!out)
        return 3;
    for (int i = 0; i < 1000; i++)
        std::fputc('x', out);
    return std::fclose(out) == 0 ? 1 : 0;
}

TEST(PlatformStartup, AFullQuotaIsAnErrorAndNotTheEnd)
{
    EXPECT_EXIT(std::_Exit(write_beyond_the_limit(in_tree("quota"))), testing::ExitedWithCode(0),
                "");
}

// ------------------------------------------------------------------------------- background

namespace
{

// What a shell script that goes on by itself writes into the file named by its first word.
std::string written_in_background(const std::string &script, const std::string &path)
{
    EXPECT_TRUE(plat_start_in_background("sh", {"-c", script, "name", path}));
    for (int tries = 0; tries < 1000 && !plat_exists(path.c_str()); tries++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(PlatformBackground, AProgramHasASessionOfItsOwn)
{
    const std::string text = written_in_background(
        "cut -d' ' -f1,6 /proc/$$/stat > $1.part && mv $1.part $1", in_tree("session"));
    long pid = 0, session = -1;
    ASSERT_EQ(std::sscanf(text.c_str(), "%ld %ld", &pid, &session), 2) << text;
    EXPECT_EQ(pid, session);
}

TEST(PlatformBackground, AProgramHasNoneOfOurStreams)
{
    EXPECT_EQ(written_in_background("for fd in 0 1 2; do readlink /proc/$$/fd/$fd; done > $1.part;"
                                    "mv $1.part $1",
                                    in_tree("streams")),
              "/dev/null\n" + in_tree("streams") + ".part\n/dev/null\n");
}

// What a full disk and a broken pipe send ends it, as it ends any program.
TEST(PlatformBackground, AProgramIgnoresNoneOfOurSignals)
{
    plat_startup();
    const std::string text = written_in_background(
        "grep SigIgn /proc/$$/status > $1.part; mv $1.part $1", in_tree("signals"));
    unsigned long ignored = ~0ul; // bits of the signals, from 1
    ASSERT_EQ(std::sscanf(text.c_str(), "SigIgn: %lx", &ignored), 1) << text;
    EXPECT_EQ(ignored & (1ul << (SIGXFSZ - 1) | 1ul << (SIGPIPE - 1)), 0ul) << text;
}

TEST(PlatformBackground, WordsReachAProgramAsTheyAre)
{
    const std::string word = "a b;$(c) `d` \"e\" 'f' %g \\h *";
    EXPECT_TRUE(plat_start_in_background(
        "sh", {"-c", "printf %s \"$1\" > $2.part; mv $2.part $2", "name", word, in_tree("words")}));
    EXPECT_EQ(written_in_background("true", in_tree("words")), word);
}

TEST(PlatformBackground, AMissingProgramIsAnError)
{
    errno = 0;
    EXPECT_FALSE(plat_start_in_background("zan-there-is-no-such-program", {}));
    EXPECT_EQ(errno, ENOENT);
}
