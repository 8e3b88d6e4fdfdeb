// Waveform files of the composer: bytes, sizes, names, what cannot be written.
#include "pulsesequencedefiner_internal.h"
#include "zan.h"
#include "zanpaths.h"

#include "child.h"
#include "console.h"
#include "tempdir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

static std::vector<double> doubles(const std::string &bytes)
{
    std::vector<double> values(bytes.size() / sizeof(double));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    return values;
}

// ------------------------------------------------------------------ writers

TEST(BinArrayOut, WritesTheFiveBlocksInOrder)
{
    const TempDir dir;
    const double xb[] = {1, 2, -1}, yb[] = {3, 4, -1}, gx[] = {5, 6, -1}, gy[] = {7, 8, -1},
                 gz[] = {9, 10, -1};
    const int ap = 2;
    BinArrayOut(&ap, xb, yb, gx, gy, gz, dir.file("s.bin").c_str());
    EXPECT_EQ(doubles(dir.read("s.bin")), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(BinArrayOut2D, WritesTheTwoBlocksInOrder)
{
    const TempDir dir;
    const double xb[] = {1, 2, 3}, yb[] = {-1, -2, -3};
    BinArrayOut2D(3, xb, yb, dir.file("s.bin").c_str());
    EXPECT_EQ(doubles(dir.read("s.bin")), (std::vector<double>{1, 2, 3, -1, -2, -3}));
}

TEST(BinArrayOut, SamplesAreLittleEndianDoubles)
{
    const TempDir dir;
    const double one = 1.0, zero = 0.0;
    BinArrayOut2D(1, &one, &zero, dir.file("s.bin").c_str());
    EXPECT_EQ(dir.read("s.bin"), std::string("\0\0\0\0\0\0\xf0\x3f\0\0\0\0\0\0\0\0", 16));
}

TEST(BinArrayOut, AHundredSamplesAre4000BytesAnd1600WithoutGradients)
{
    const TempDir dir;
    const int ap = 100;
    BinArrayOut(&ap, rt.xb, rt.yb, rt.gx, rt.gy, rt.gz, dir.file("s.bin").c_str());
    BinArrayOut2D(ap, rt.xb, rt.yb, dir.file("d.bin").c_str());
    EXPECT_EQ(dir.read("s.bin").size(), 4000u);
    EXPECT_EQ(dir.read("d.bin").size(), 1600u);
}

TEST(BinArrayOut, ReplacesAnOldFileAndWritesNothingForNoSamples)
{
    const TempDir dir;
    for (int ap : {0, -3}) {
        dir.write("s.bin", "an old file");
        BinArrayOut(&ap, rt.xb, rt.yb, rt.gx, rt.gy, rt.gz, dir.file("s.bin").c_str());
        EXPECT_TRUE(dir.exists("s.bin"));
        EXPECT_EQ(dir.read("s.bin"), "") << ap;
    }
}

TEST(BinArrayOut, AFileThatDoesNotOpenIsToldByItsName)
{
    const TempDir dir;
    const std::string path = dir.file("missing/s.bin");
    const int ap = 1;
    testing::internal::CaptureStderr();
    BinArrayOut(&ap, rt.xb, rt.yb, rt.gx, rt.gy, rt.gz, path.c_str());
    BinArrayOut2D(ap, rt.xb, rt.yb, path.c_str());
    const std::string line = path + ": No such file or directory\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
}

TEST(BinArrayOut, EveryBlockThatTheDiskRefusesIsTold)
{
    const int ap = 1;
    testing::internal::CaptureStdout();
    BinArrayOut(&ap, rt.xb, rt.yb, rt.gx, rt.gy, rt.gz, "/dev/full");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " >>> WRITE TO BINARY FILE ERROR (xb) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (yb) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (gx) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (gy) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (gz) <<< \n");
    testing::internal::CaptureStdout();
    BinArrayOut2D(1, rt.xb, rt.yb, "/dev/full");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " >>> WRITE TO BINARY FILE ERROR (xb) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (yb) <<< \n");
}

static std::string rewrite_waveform(const std::string &path)
{
    testing::internal::CaptureStdout();
    BinArrayOut2D(8192, rt.xb, rt.yb, path.c_str());
    return testing::internal::GetCapturedStdout();
}

TEST(WaveformFiles, AWaveformThatDoesNotFitKeepsTheOldOne)
{
    const TempDir dir;
    const std::string path = dir.write("p.bin", "old");
    EXPECT_EQ(in_child(rewrite_waveform, path, RunAs::this_user, 1000),
              " >>> WRITE TO BINARY FILE ERROR (xb) <<< \n"
              " >>> WRITE TO BINARY FILE ERROR (yb) <<< \n");
    EXPECT_EQ(dir.read("p.bin"), "old");
}

TEST(WaveformFiles, ASpatialFileHasTheRfBlocksOfA2DFileButNotTheReverse)
{
    const TempDir dir;
    const double xb[] = {1, 2}, yb[] = {3, 4}, g[] = {5, 6};
    const int ap = 2;
    const std::string spatial = dir.file("s.bin"), flat = dir.file("d.bin");
    BinArrayOut(&ap, xb, yb, g, g, g, spatial.c_str());
    BinArrayOut2D(ap, xb, yb, flat.c_str());
    ASSERT_EQ(Load2DSectorPulseFile(spatial.c_str(), 2), 1);
    EXPECT_EQ(rt.xb[1], 2.0);
    EXPECT_EQ(rt.yb[0], 3.0);
    ASSERT_EQ(LoadSpatialSectorPulseFile(spatial.c_str(), 2), 1);
    EXPECT_EQ(rt.gz[1], 6.0);
    EXPECT_EQ(LoadSpatialSectorPulseFile(flat.c_str(), 2), 0);
}

// ------------------------------------------------------------------ directories and names

TEST(EnsureDirExists, MakesOneLevel)
{
    const TempDir dir;
    EXPECT_TRUE(ps_ensure_dir_exists(dir.file("new").c_str()));
    EXPECT_TRUE(ps_ensure_dir_exists(dir.file("new").c_str()));
    EXPECT_TRUE(dir.exists("new"));
    EXPECT_FALSE(ps_ensure_dir_exists(dir.file("two/levels").c_str()));
}

TEST(EnsureDirExists, FailsForNoPathAndForAFile)
{
    const TempDir dir;
    dir.write("file", "");
    EXPECT_FALSE(ps_ensure_dir_exists(nullptr));
    EXPECT_FALSE(ps_ensure_dir_exists(""));
    EXPECT_FALSE(ps_ensure_dir_exists(dir.file("file").c_str()));
}

TEST(ResolveDefaultOutputPath, JoinsABareNameToTheRfOutputDirectory)
{
    char dir[1024], expected[1024], path[1024];
    ASSERT_TRUE(ZAN_GetDefaultRFOutputDir(dir, sizeof dir));
    ASSERT_TRUE(ZAN_BuildPath(expected, sizeof expected, dir, "p:1.bin"));
    EXPECT_TRUE(ps_resolve_default_output_path("p:1.bin", path, sizeof path));
    EXPECT_STREQ(path, expected);
    EXPECT_FALSE(ps_resolve_default_output_path("p:1.bin", path, std::strlen(expected)));
    EXPECT_TRUE(ps_resolve_default_output_path("p:1.bin", path, std::strlen(expected) + 1));
}

TEST(ResolveDefaultOutputPath, TakesANameWithASeparatorAsItStands)
{
    char path[8];
    for (const char *name : {"a/b.bin", "a\\b.bin", "/x.bin"}) {
        EXPECT_TRUE(ps_resolve_default_output_path(name, path, sizeof path));
        EXPECT_STREQ(path, name);
    }
    EXPECT_FALSE(ps_resolve_default_output_path("ab/c.bin", path, sizeof path));
}

TEST(ResolveDefaultOutputPath, FailsWithoutAName)
{
    char path[1024];
    EXPECT_FALSE(ps_resolve_default_output_path("", path, sizeof path));
    EXPECT_FALSE(ps_resolve_default_output_path(nullptr, path, sizeof path));
}

// ------------------------------------------------------------------ pulses from disk

TEST(ReadBxByPulse, ReadsTwoTextFilesAndMultipliesThem)
{
    const TempDir dir;
    const std::string bx = dir.write("bx.txt", "1\n2\n3\n"), by = dir.write("by.txt", "-1 4 5\n");
    double x[3] = {9, 9, 9}, y[3] = {9, 9, 9};
    int ap = 2;
    std::string typed = "1 ";
    typed += bx + " typed ahead\n1\n" + by + "\nx\n0.5\nrest\n";
    feed_stdin(typed);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(ReadBxByPulse(&ap, x, y));
    const std::string menu = "Read ASCII-file containing reals:\n"
                             "      1. Normal ASCII file\n"
                             "      2. SGplot file format\n"
                             "      3. Cancel file input\n"
                             "Your choice [1..3] : \n"
                             "<< ASCII File In >>\nEnter filename : ";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n\nFile name Bx(t)\n" + menu + "File name By(t)\n" + menu +
                  "Multiplication factor : Please enter a numeric value.\n");
    EXPECT_EQ(std::vector<double>(x, x + 3), (std::vector<double>{0.5, 1, 9}));
    EXPECT_EQ(std::vector<double>(y, y + 3), (std::vector<double>{-0.5, 2, 9}));
    EXPECT_EQ(rest_of_stdin(), "rest\n");
}

// ------------------------------------------------------------------ the result file

TEST(ResultFileName, ANameThatDoesNotFitIsAskedForAgain)
{
    const std::string question = "File name to store results in : ";
    const std::string fits(255, 'r');
    feed_stdin(fits + "r\n" + fits + "\n");
    testing::internal::CaptureStdout();
    ps_ask_result_file();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              question + "File name is too long.\n" + question);
    EXPECT_EQ(rt.resultflnm, fits);
    rt.resultflnm[0] = '\0';
}
