// platformlib on Windows - paths in any letter case, names in UTF-8, what start gets to see.
#include "fake_gnuplot.h"
#include "platformlib.h"
#include "run_program.h"
#include "tempdir.h"

#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

TEST(PlatformWindows, NamesAreUtf8)
{
    const TempDir dir;
    const std::vector<std::string> names = {"b\xc3\xa4r.bin", "\xce\xbc-\xe6\xa0\xb8.bin"};
    const fs::path same_names[] = {L"b\u00e4r.bin", L"\u03bc-\u6838.bin"};
    for (const std::string &name : names)
        write_file(dir.path + "/" + name, name);
    EXPECT_EQ(plat_list_files(dir.path.c_str(), ".bin"), names);
    for (const fs::path &name : same_names)
        EXPECT_TRUE(fs::exists(dir.path / name)) << name;
    for (const std::string &name : names) {
        const std::string plain = dir.path + "\\" + name, other = dir.path + "/./" + name;
        EXPECT_TRUE(plat_is_file(plain.c_str())) << name;
        EXPECT_TRUE(plat_same_file(plain.c_str(), other.c_str())) << name;
        EXPECT_FALSE(plat_same_file(plain.c_str(), dir.path.c_str())) << name;
    }
}

TEST(PlatformWindows, ADeviceIsNoFileToRead)
{
    const TempDir dir;
    for (const std::string &name : {std::string("NUL"), std::string("CON"), dir.path}) {
        EXPECT_FALSE(plat_is_file(name.c_str())) << name;
        FILE *const file = plat_open_file(name.c_str());
        EXPECT_EQ(file, nullptr) << name;
        if (file)
            std::fclose(file);
    }
    FILE *const file = plat_open_file(dir.write("file", "x").c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file), 'x');
    std::fclose(file);
}

TEST(PlatformWindows, APathIsFoundInAnyCaseAndStaysAsTyped)
{
    const TempDir dir;
    dir.write("Case/Sub Dir/Pulse.BIN", "");
    for (const char *typed : {"\\Case\\Sub Dir\\Pulse.BIN", "/case/sub dir\\PULSE.bin"}) {
        std::string found;
        EXPECT_TRUE(plat_find_ignoring_case((dir.path + typed).c_str(), &found)) << typed;
        EXPECT_EQ(found, dir.path + typed);
    }
    std::string found;
    EXPECT_FALSE(plat_find_ignoring_case((dir.path + "\\none").c_str(), &found));
}

TEST(PlatformWindows, AReplacedFileMayBeOneThatIsThere)
{
    const TempDir dir;
    const std::string from = dir.write("store", "new"), to = dir.write("dm.bin", "old");
    EXPECT_TRUE(plat_replace_file(from.c_str(), to.c_str()));
    EXPECT_EQ(dir.read("dm.bin"), "new");
    errno = 0;
    EXPECT_FALSE(plat_replace_file(from.c_str(), to.c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(PlatformWindows, StartHandsOnOptionsAndQuotedWords)
{
    const WorkDir dir;
    const FakeGnuplot gnuplot(dir.path);
    EXPECT_TRUE(plat_start_in_background("gnuplot", {"-persist", "a & b\xc3\xa4.gp"}));
    EXPECT_EQ(arguments_of_gnuplot(dir.path), "-persist\na & b\xc3\xa4.gp\n");
}

TEST(PlatformWindows, StartNeverGetsAWordThatTheInterpreterWouldRead)
{
    for (const char *word : {"a\"b", "%PATH%", "a\nb", "a\rb"}) {
        errno = 0;
        EXPECT_FALSE(plat_start_in_background("gnuplot", {"-persist", word})) << word;
        EXPECT_EQ(errno, EINVAL) << word;
    }
}
