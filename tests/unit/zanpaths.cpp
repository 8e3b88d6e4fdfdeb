// zanpaths - joining and cutting paths, the default directories.
#include "zanpaths.h"
#include "platformlib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

// The system's own separator stands for every '|'.
static std::string joined(std::string text)
{
    std::replace(text.begin(), text.end(), '|', plat_separator);
    return text;
}

TEST(ZanPathsBuildPath, PutsASeparatorUnlessThereIsOne)
{
    struct Case {
        const char *dir, *leaf, *joined;
    };
    for (const Case &c :
         {Case{"a", "b", "a|b"}, Case{"a/", "b", "a/b"}, Case{"a\\", "b", "a\\b"},
          Case{"", "b", "b"}, Case{"/", "b", "/b"}, Case{"a/b", "c.bin", "a/b|c.bin"},
          Case{"a:", "b", "a:|b"}, Case{"a", "", "a|"}}) {
        char out[32];
        ASSERT_EQ(ZAN_BuildPath(out, sizeof out, c.dir, c.leaf), 1) << c.joined;
        EXPECT_EQ(out, joined(c.joined));
    }
}

TEST(ZanPathsBuildPath, FailsOnNullAndWhatDoesNotFit)
{
    char out[8];
    EXPECT_EQ(ZAN_BuildPath(nullptr, 8, "a", "b"), 0);
    EXPECT_EQ(ZAN_BuildPath(out, sizeof out, nullptr, "b"), 0);
    EXPECT_EQ(ZAN_BuildPath(out, sizeof out, "a", nullptr), 0);
    EXPECT_EQ(ZAN_BuildPath(out, sizeof out, "abc", "def"), 1); // 7 characters and the zero
    EXPECT_EQ(out, joined("abc|def"));
    EXPECT_EQ(ZAN_BuildPath(out, sizeof out, "abc", "defg"), 0);
    EXPECT_EQ(ZAN_BuildPath(out, sizeof out, "abc/", "defg"), 0);
    EXPECT_EQ(ZAN_BuildPath(out, 0, "", ""), 0);
}

TEST(ZanPathsParentDir, CutsAtTheLastBackslashElseTheLastSlash)
{
    struct Case {
        const char *path, *parent; // null: refused
    };
    for (const Case &c :
         {Case{"/a/b/c", "/a/b"}, Case{"c:\\a\\b", "c:\\a"}, Case{"a\\b/c", "a"}, Case{"/x", "/"},
          Case{"a/", "a"}, Case{"", nullptr}, Case{"name", nullptr}}) {
        std::string path = c.path;
        ASSERT_EQ(ZAN_ParentDir(path.data()), c.parent != nullptr) << c.path;
        if (c.parent) {
            EXPECT_STREQ(path.c_str(), c.parent);
        }
    }
}

TEST(ZanPathsDirectories, LieBesideTheDirectoryOfTheExecutable)
{
    char exe[4096], out[4096];
    std::string program;
    ASSERT_TRUE(plat_executable_path(&program));
    ASSERT_EQ(ZAN_GetExecutableDir(exe, sizeof exe), 1);
    const std::filesystem::path dir = std::filesystem::path(program).parent_path();
    EXPECT_EQ(exe, dir.string());

    const std::string parent = dir.parent_path().string();
    ASSERT_EQ(ZAN_GetDefaultModelsDir(out, sizeof out), 1);
    EXPECT_EQ(out, parent + joined("|models"));
    ASSERT_EQ(ZAN_GetDefaultDensityMatricesDir(out, sizeof out), 1);
    EXPECT_EQ(out, parent + joined("|density_matrices"));
    ASSERT_EQ(ZAN_GetDefaultRFOutputDir(out, sizeof out), 1);
    EXPECT_EQ(out, parent + joined("|rf-output"));
    ASSERT_EQ(ZAN_GetDefaultRFInputDir(out, sizeof out), 1);
    EXPECT_EQ(out, parent + joined("|rf-input"));
}

TEST(ZanPathsDirectories, AreNeverTruncated)
{
    char out[4096];
    ASSERT_EQ(ZAN_GetDefaultModelsDir(out, sizeof out), 1);
    const size_t length = std::string(out).size();
    EXPECT_EQ(ZAN_GetDefaultModelsDir(out, length + 1), 1);
    EXPECT_EQ(ZAN_GetDefaultModelsDir(out, length), 0);
    EXPECT_EQ(ZAN_GetExecutableDir(out, 2), 0);
    EXPECT_EQ(ZAN_GetExecutableDir(out, 0), 0);
}
