// platformlib - directories, listings, paths that differ in letter case.
#include "platformlib.h"
#include "run_program.h"

#include <cerrno>
#include <filesystem>

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
    EXPECT_EQ(fs::path(path).stem(), "unit_tests");
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
    EXPECT_EQ(fs::path(after), in_tree("models"));
    EXPECT_FALSE(plat_change_dir(in_tree("nowhere").c_str()));
    ASSERT_TRUE(plat_change_dir(before.c_str()));
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

TEST(PlatformConsole, ClearingWritesNothingIntoAFile)
{
    testing::internal::CaptureStdout();
    plat_console_clear();
    plat_console_utf8();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
