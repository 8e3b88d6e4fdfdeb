// platformlib - directories, listings, paths that differ in letter case.
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

TEST(Platform, TheExecutablePathNamesTheRunningProgram)
{
    std::string path;
    ASSERT_TRUE(plat_executable_path(&path));
    EXPECT_TRUE(plat_is_regular_file(path.c_str()));
    EXPECT_EQ(fs::path(path).filename(), "unit_tests");
}

TEST(Platform, TheProcessIdIsThatOfTheSystem)
{
    EXPECT_EQ(plat_process_id(), static_cast<unsigned long>(getpid()));
}

TEST(PlatformMakeDir, AnExistingDirectoryIsSuccess)
{
    const std::string dir = in_tree("made");
    EXPECT_TRUE(plat_make_dir(dir.c_str()));
    EXPECT_TRUE(plat_make_dir(dir.c_str()));
    EXPECT_TRUE(plat_is_dir(dir.c_str()));
}

TEST(PlatformMakeDir, AFileOfThatNameFailsAndLeavesTheReason)
{
    const std::string file = in_tree("no-dir");
    write_file(file, "");
    errno = 0;
    EXPECT_FALSE(plat_make_dir(file.c_str()));
    EXPECT_EQ(errno, EEXIST);
}

TEST(PlatformMakeDir, MakesOneLevelOnly)
{
    errno = 0;
    EXPECT_FALSE(plat_make_dir(in_tree("missing/level").c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(PlatformChangeDir, TheCurrentDirectoryIsTheOneEntered)
{
    std::string before, after;
    ASSERT_TRUE(plat_current_dir(&before));
    ASSERT_TRUE(plat_change_dir(in_tree("models").c_str()));
    ASSERT_TRUE(plat_current_dir(&after));
    EXPECT_EQ(after, in_tree("models"));
    EXPECT_FALSE(plat_change_dir(in_tree("nowhere").c_str()));
    ASSERT_TRUE(plat_change_dir(before.c_str()));
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

TEST(PlatformListFiles, SortsByNameIgnoringCaseAndSkipsDirectoriesAndOtherSuffixes)
{
    for (const char *name : {"b.bin", "A.BIN", "c.Bin", "a2.bin", "_.bin", "bin", "b.bin.txt"})
        write_file(in_tree("list/") + name, "");
    fs::create_directory(in_tree("list/dir.bin"));
    const std::vector<std::string> expected = {"A.BIN", "a2.bin", "b.bin", "c.Bin", "_.bin"};
    EXPECT_EQ(plat_list_files(in_tree("list").c_str(), ".bin"), expected);
}

TEST(PlatformListEntries, KeepTheDirectories)
{
    write_file(in_tree("entries/a.bin"), "");
    write_file(in_tree("entries/B.BIN/inside.bin"), "");
    write_file(in_tree("entries/c.bin.txt"), "");
    const std::vector<std::string> expected = {"a.bin", "B.BIN"};
    EXPECT_EQ(plat_list_entries(in_tree("entries").c_str(), ".bin"), expected);
}

TEST(PlatformListFiles, AMissingDirectoryGivesNone)
{
    EXPECT_TRUE(plat_list_files(in_tree("not-there").c_str(), ".bin").empty());
}

TEST(PlatformFindIgnoringCase, FindsWhatDiffersInTheLastComponents)
{
    const std::string file = in_tree("Case/Sub Dir/Pulse.BIN");
    write_file(file, "");
    for (const char *typed : {"Case/Sub Dir/Pulse.BIN", "Case/Sub Dir/pulse.bin",
                              "Case/sub dir/PULSE.bin", "case/sub dir/pulse.bin"}) {
        std::string found;
        EXPECT_TRUE(plat_find_ignoring_case(in_tree(typed).c_str(), &found)) << typed;
        EXPECT_EQ(found, file) << typed;
    }
}

TEST(PlatformFindIgnoringCase, KeepsParentStepsAndDoubleSlashes)
{
    write_file(in_tree("Steps/File"), "");
    std::string found;
    EXPECT_TRUE(plat_find_ignoring_case(in_tree("models/../steps//file").c_str(), &found));
    EXPECT_EQ(found, in_tree("models/../Steps/File"));
}

TEST(PlatformFindIgnoringCase, TakesARelativeNameFromTheWorkingDirectory)
{
    write_file(in_tree("Here/Name.txt"), "");
    std::string before, found;
    ASSERT_TRUE(plat_current_dir(&before));
    ASSERT_TRUE(plat_change_dir(in_tree("Here").c_str()));
    EXPECT_TRUE(plat_find_ignoring_case("name.TXT", &found));
    EXPECT_EQ(found, "Name.txt");
    ASSERT_TRUE(plat_change_dir(before.c_str()));
}

TEST(PlatformFindIgnoringCase, FailsWithoutAMatch)
{
    std::string found = "untouched";
    for (const char *typed : {"none", "none/such", "models/", "no/", ""})
        EXPECT_FALSE(plat_find_ignoring_case((in_tree("models/") + typed + "x/").c_str(), &found));
    EXPECT_FALSE(plat_find_ignoring_case("", &found));
    EXPECT_FALSE(plat_find_ignoring_case("/no-such-root-entry", &found));
    EXPECT_EQ(found, "untouched");
}

TEST(PlatformReplaceFile, PutsTheNewContentInPlaceOfTheOld)
{
    const std::string from = in_tree("store"), to = in_tree("dm");
    write_file(from, "new");
    write_file(to, "old");
    EXPECT_TRUE(plat_replace_file(from.c_str(), to.c_str()));
    EXPECT_EQ(read_file(to), "new");
    EXPECT_FALSE(plat_exists(from.c_str()));
    errno = 0;
    EXPECT_FALSE(plat_replace_file(from.c_str(), to.c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(PlatformRemoveFile, RemovesFilesOnly)
{
    const std::string file = in_tree("gone"), dir = in_tree("stays");
    write_file(file, "");
    fs::create_directory(dir);
    EXPECT_TRUE(plat_remove_file(file.c_str()));
    EXPECT_FALSE(plat_remove_file(file.c_str()));
    EXPECT_FALSE(plat_remove_file(dir.c_str()));
    EXPECT_TRUE(plat_is_dir(dir.c_str()));
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

TEST(PlatformConsole, ClearingWritesNothingIntoAFile)
{
    testing::internal::CaptureStdout();
    plat_console_clear();
    plat_console_utf8();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
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
