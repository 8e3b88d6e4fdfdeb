// The paths of waveforms and results as the writer stores them.
#include "tempdir.h"
#include "zanmodel_internal.h"

#include <gtest/gtest.h>

namespace
{

TEST(SavedPaths, SlashesStandForBackslashes)
{
    EXPECT_EQ(zan_normalize_saved_path("C:\\a\\B/c\\"), "C:/a/B/c/");
    EXPECT_EQ(zan_normalize_saved_path(""), "");
}

TEST(SavedPaths, ParentDirectoriesAreTakenAsText)
{
    struct Case {
        const char *dir, *parent; // null: none
    };
    for (const Case &c :
         {Case{"/r/models/", "/r/"}, Case{"/r/models", "/r/"}, Case{"/r//models///", "/r//"},
          Case{"/models/", "/"}, Case{"c:\\r\\models\\", "c:\\r\\"}, Case{"models/", ""},
          Case{"./", "./../"}, Case{"../", "../../"}, Case{"/r/x/../", "/r/x/../../"},
          Case{"/", nullptr}, Case{"//", nullptr}, Case{"", nullptr}, Case{"c:/", nullptr},
          Case{"c:models/", nullptr}}) {
        std::string parent;
        EXPECT_EQ(zan_parent_dir_copy(c.dir, &parent), c.parent != nullptr) << c.dir;
        EXPECT_EQ(parent, c.parent ? c.parent : "") << c.dir;
    }
}

struct TailCase {
    const char *path, *prefix, *tail; // null: path does not begin with prefix
};

const TailCase tail_cases[] = {
    {"/r/seq/a.bin", "/r/seq", "a.bin"},
    {"/r/seq/a.bin", "/r/seq/", "a.bin"},
    {"/r/seq///a.bin", "/r/seq", "a.bin"},
    {"/R/Seq/Waveforms/A.BIN", "/r/sEQ", "waveforms/a.bin"},
    {"C:\\R\\seq\\A.bin", "c:/r", "seq/a.bin"},
    {"\\\\Server\\Share\\A.bin", "//server/share", "a.bin"},
    {"/r/seq", "/r/seq", ""},
    {"/r/seq/", "/r/seq", ""},
    {"/a.bin", "/", "a.bin"},
    // a prefix ends at a directory
    {"/r/sequence/a.bin", "/r/seq", nullptr},
    {"/r/seq.bin", "/r/seq", nullptr},
    {"/r/se", "/r/seq", nullptr},
    {"/q/seq/a.bin", "/r/seq", nullptr},
    {"d:/r/a.bin", "c:/r", nullptr},
    {"/r/a.bin", "", nullptr},
    // "." and ".." are taken out first
    {"/r/models/../seq/./a.bin", "/r/seq", "a.bin"},
    {"/r/seq/a.bin", "/r/models/../seq", "a.bin"},
    {"/r/seq/../other/a.bin", "/r/seq", nullptr},
    {"/r/seq/x/../a.bin", "/r/seq/", "a.bin"},
    {"/../r/a.bin", "/r", "a.bin"},
    {"/r/a.bin", "/x/../../r", "a.bin"},
    {"c:/../r/a.bin", "c:/r", "a.bin"},
    {"../r/a.bin", "../r", "a.bin"},
    {"../../r/a.bin", "../r", nullptr},
    {"x/../../r/a.bin", "../r", "a.bin"},
    {"/r/...", "/r", "..."},
};

TEST(SavedPaths, TailsFollowADirectoryWhateverItsSpelling)
{
    for (const TailCase &c : tail_cases) {
        std::string tail = "untouched";
        EXPECT_EQ(zan_tail_after_prefix(c.path, c.prefix, &tail), c.tail != nullptr)
            << c.path << " after " << c.prefix;
        EXPECT_EQ(tail, c.tail ? c.tail : "untouched") << c.path << " after " << c.prefix;
    }
}

// ----------------------------------------------------------------------------------- waveforms

struct PathCase {
    const char *file, *name, *stored; // stored null: refused
};

const PathCase pulse_cases[] = {
    // an empty name fails, a relative one stays
    {"/r/sequences/Lac/Lac.zanseq", "", nullptr},
    {"/r/sequences/Lac/Lac.zanseq", "A.bin", "A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "Waveforms\\A.bin", "Waveforms/A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "../Other/A.bin", "../Other/A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "./A.bin", "./A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "c:A.bin", "c:A.bin"},
    // below the directory of the sequence, then below its parent; shortened is lower case
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Lac/A.bin", "a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Lac/waveforms/Hard 90X.BIN",
     "waveforms/hard 90x.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/R/Sequences/LAC/waveforms/A.bin", "waveforms/a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Other/A.bin", "../other/a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/A.bin", "../a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Lactate/A.bin", "../lactate/a.bin"},
    // elsewhere
    {"/r/sequences/Lac/Lac.zanseq", "/r/rf-output/A.bin", "/r/rf-output/A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/Elsewhere/A.bin", "/Elsewhere/A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "D:\\r\\A.bin", "D:/r/A.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "\\\\Server\\r\\A.bin", "//Server/r/A.bin"},
    // the directories themselves are no files in them
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Lac", "../lac"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences", "/r/sequences"},
    // drives and shares
    {"C:\\r\\sequences\\Lac\\Lac.zanseq", "c:/R/sequences/Lac/A.bin", "a.bin"},
    {"C:\\r\\sequences\\Lac\\Lac.zanseq", "C:\\r\\sequences\\B\\A.bin", "../b/a.bin"},
    {"C:\\r\\sequences\\Lac\\Lac.zanseq", "D:\\r\\sequences\\Lac\\A.bin",
     "D:/r/sequences/Lac/A.bin"},
    {"\\\\Server\\r\\Lac\\Lac.zanseq", "//server/R/lac/A.bin", "a.bin"},
    // other spellings
    {"/r/sequences/Lac/Lac.zanseq", "/r/models/../sequences/Lac/waveforms/A.bin",
     "waveforms/a.bin"},
    {"/r/models/../sequences/Lac/Lac.zanseq", "/r/sequences/./Lac//A.bin", "a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/sequences/Lac/../../A.bin", "/r/sequences/Lac/../../A.bin"},
    // what cannot be read back
    {"/r/sequences/Lac/Lac.zanseq", "A#.bin", nullptr},
    {"/r/c#/Lac/Lac.zanseq", "/r/c#/Lac/A.bin", "a.bin"},
    {"/r/sequences/Lac/Lac.zanseq", "/r/c#/A.bin", nullptr},
};

TEST(SavedPaths, WaveformsAreSeenFromTheirSequence)
{
    for (const PathCase &c : pulse_cases) {
        char out[ZAN_MODEL_FILENAME_LEN] = "";
        EXPECT_EQ(zan_make_portable_sector_pulse_path(absolute_path(c.file).c_str(),
                                                      absolute_path(c.name).c_str(), out,
                                                      sizeof out),
                  c.stored ? 1 : 0)
            << c.name;
        EXPECT_EQ(out, absolute_path(c.stored ? c.stored : "")) << c.name;
    }
}

TEST(SavedPaths, ANameThatDoesNotFitIsRefused)
{
    char out[8];
    const std::string in_r = absolute_path("/r/seq/x.zanseq");
    const char *const file = in_r.c_str(), model[] = "/r/models/x.zanmodel";
    EXPECT_EQ(zan_make_portable_sector_pulse_path(file, "1234567", out, sizeof out), 1);
    EXPECT_STREQ(out, "1234567");
    EXPECT_EQ(zan_make_portable_sector_pulse_path(file, "12345678", out, sizeof out), 0);
    EXPECT_EQ(zan_make_portable_sector_pulse_path(file, absolute_path("/r/seq/1234567").c_str(),
                                                  out, sizeof out),
              1);
    EXPECT_EQ(zan_make_portable_sector_pulse_path(file, absolute_path("/r/other/67").c_str(), out,
                                                  sizeof out),
              0);
    EXPECT_EQ(zan_make_portable_result_path(model, "1234567", out, sizeof out), 1);
    EXPECT_EQ(zan_make_portable_result_path(model, "12345678", out, sizeof out), 0);
}

// Where case counts, the lower-case name could open the other file.
TEST(SavedPaths, AWaveformWithANamesakeIsStoredAsItStands)
{
    const TempDir dir;
    const std::string sequence = dir.write("sequences/Lac/Lac.zanseq", "");
    const std::string pulse = dir.write("sequences/Lac/waveforms/Pulse.bin", "");
    dir.write("sequences/Lac/waveforms/another pulse.bin", "");
    char out[ZAN_MODEL_FILENAME_LEN];
    ASSERT_EQ(zan_make_portable_sector_pulse_path(sequence.c_str(), pulse.c_str(), out, sizeof out),
              1);
    EXPECT_STREQ(out, "waveforms/pulse.bin");
    dir.write("sequences/Lac/waveforms/pulse.bin", "");
    ASSERT_EQ(zan_make_portable_sector_pulse_path(sequence.c_str(), pulse.c_str(), out, sizeof out),
              1);
    EXPECT_EQ(out, pulse);
}

// ------------------------------------------------------------------------------------- results

const PathCase result_cases[] = {
    {"/r/models/Lac.zanmodel", "", nullptr},
    {"/r/models/Lac.zanmodel", "Lac.bin", "Lac.bin"},
    {"/r/models/Lac.zanmodel", "sub\\Lac.bin", "sub/Lac.bin"},
    {"/r/models/Lac.zanmodel", "/r/models/Lac.bin", "lac.bin"},
    {"/r/models/Lac.zanmodel", "/r/models/Sub/Lac.bin", "sub/lac.bin"},
    {"/r/models/Lac.zanmodel", "/r/Lac.bin", "../lac.bin"},
    {"/r/models/Lac.zanmodel", "/R/density_matrices/Lac.bin", "../density_matrices/lac.bin"},
    {"/r/models/Lac.zanmodel", "/q/Lac.bin", "/q/Lac.bin"},
    {"/r/models/Lac.zanmodel", "C:\\q\\Lac.bin", "C:/q/Lac.bin"},
    {"C:\\r\\models\\Lac.zanmodel", "C:\\r\\models\\..\\Lac.bin", "../lac.bin"},
    {"/r/models/Lac.zanmodel", "\\\\Server\\q\\Lac.bin", "//Server/q/Lac.bin"},
    {"/r/models/Lac.zanmodel", "/q/#1.bin", nullptr},
};

TEST(SavedPaths, ResultsAreSeenFromTheirModel)
{
    for (const PathCase &c : result_cases) {
        char out[ZAN_MODEL_FILENAME_LEN] = "";
        EXPECT_EQ(zan_make_portable_result_path(absolute_path(c.file).c_str(),
                                                absolute_path(c.name).c_str(), out, sizeof out),
                  c.stored ? 1 : 0)
            << c.name;
        EXPECT_EQ(out, absolute_path(c.stored ? c.stored : "")) << c.name;
    }
}

TEST(SavedPaths, AResultInTheRunResultsDirectoryIsItsBareName)
{
    std::string results;
    ASSERT_TRUE(zan_run_results_dir(&results));
    char out[ZAN_MODEL_FILENAME_LEN];
    for (const std::string &result :
         {results + "/Lac.bin", results + "/sub/../LAC.bin", results + "//lac.bin"}) {
        ASSERT_EQ(zan_make_portable_result_path("/r/models/x", result.c_str(), out, sizeof out), 1);
        EXPECT_STREQ(out, "lac.bin") << result;
    }
    // also when the model lies there or above
    ASSERT_EQ(zan_make_portable_result_path((results + "/x").c_str(), (results + "/A").c_str(), out,
                                            sizeof out),
              1);
    EXPECT_STREQ(out, "a");
}

TEST(SavedPaths, AResultDeeperInTheRunResultsDirectoryIsNoBareName)
{
    std::string results;
    ASSERT_TRUE(zan_run_results_dir(&results));
    char out[ZAN_MODEL_FILENAME_LEN];
    const std::string deeper = results + "/Sub/Lac.bin";
    ASSERT_EQ(zan_make_portable_result_path("/r/models/x", deeper.c_str(), out, sizeof out), 1);
    EXPECT_EQ(out, zan_normalize_saved_path(deeper));
    const std::string beside = results + "-old/Lac.bin";
    ASSERT_EQ(zan_make_portable_result_path("/r/models/x", beside.c_str(), out, sizeof out), 1);
    EXPECT_EQ(out, zan_normalize_saved_path(beside));
    ASSERT_EQ(zan_make_portable_result_path("/r/models/x", results.c_str(), out, sizeof out), 1);
    EXPECT_EQ(out, zan_normalize_saved_path(results));
}

} // namespace

TEST(SavedPulsePath, IsShortenedOnlyWhenItLeadsBackToItsFile)
{
    const TempDir dir;
    const std::string lower = dir.write("sequences/foo/waveforms/p.bin", "a");
    const std::string capital = dir.write("sequences/Foo/waveforms/p.bin", "b");
    const std::string sequence = dir.write("sequences/other/other.zanseq", "");
    char out[256];
    EXPECT_EQ(zan_make_portable_sector_pulse_path(sequence.c_str(), lower.c_str(), out, sizeof out),
              1);
    EXPECT_STREQ(out, "../foo/waveforms/p.bin");
    EXPECT_EQ(
        zan_make_portable_sector_pulse_path(sequence.c_str(), capital.c_str(), out, sizeof out), 1);
    EXPECT_EQ(out, capital);
}
