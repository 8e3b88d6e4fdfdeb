// zandatafileio - the text formats byte by byte and the PV-WAVE/IDL file. The dialogs are in
// zandatafileio_dialogs.cpp.
#include "zandatafileio.h"

#include "binaryfilehandling.h"
#include "child.h"
#include "tempdir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

namespace
{

namespace fs = std::filesystem;

const double three[3] = {1.0, -0.25, 6.02214076e23};

std::string error_line(const char *what, int error)
{
    return std::string(what) + ": " + std::strerror(error) + "\n";
}

// A working directory of its own, and what went to the error stream.
class DataFiles : public testing::Test
{
  protected:
    void SetUp() override { testing::internal::CaptureStderr(); }
    void TearDown() override { errors(); }
    // Ends the capture.
    std::string errors()
    {
        const std::string text = capturing ? testing::internal::GetCapturedStderr() : "";
        capturing = false;
        return text;
    }

    WorkDir dir;
    bool capturing = true;
};

// ------------------------------------------------------------------------------- status forms

TEST_F(DataFiles, StatusCodesHaveTheirValues)
{
    EXPECT_EQ(DATAIO_OK, 0);
    EXPECT_EQ(DATAIO_ERR_NULLPTR, 1);
    EXPECT_EQ(DATAIO_ERR_BADARG, 2);
    EXPECT_EQ(DATAIO_ERR_IO, 3);
    EXPECT_EQ(sizeof(dataio_status), 4u);
}

TEST_F(DataFiles, PlainAsciiIsOneValuePerLine)
{
    EXPECT_EQ(AsciiOut_status(3, three, "a.dat"), DATAIO_OK);
    EXPECT_EQ(dir.read("a.dat"), "1.000000000000E+00\n-2.500000000000E-01\n6.022140760000E+23\n");
}

TEST_F(DataFiles, SGPlotLinesAreOneIndexAndValue)
{
    EXPECT_EQ(SGFileOut_status(3, three, "a.dat"), DATAIO_OK);
    EXPECT_EQ(dir.read("a.dat"), "1   0.000000000000E+00   1.000000000000E+00\n"
                                 "1   1.000000000000E+00   -2.500000000000E-01\n"
                                 "1   2.000000000000E+00   6.022140760000E+23\n");
}

TEST_F(DataFiles, SGPlotXYLinesAreOneValueAndAxis)
{
    EXPECT_EQ(SGXYFileOut_status(3, three, "a.dat", -1.5, 0.25), DATAIO_OK);
    EXPECT_EQ(dir.read("a.dat"), "1   1.000000000000E+00   -1.500000000000E+00\n"
                                 "1   -2.500000000000E-01   -1.250000000000E+00\n"
                                 "1   6.022140760000E+23   -1.000000000000E+00\n");
}

TEST_F(DataFiles, NoValuesMakeAnEmptyFile)
{
    EXPECT_EQ(AsciiOut_status(0, three, "a.dat"), DATAIO_OK);
    EXPECT_TRUE(dir.exists("a.dat"));
    EXPECT_EQ(dir.read("a.dat"), "");
    double x = 7.0;
    EXPECT_EQ(AsciiIn_status(0, &x, "a.dat"), DATAIO_OK);
    EXPECT_EQ(x, 7.0);
}

TEST_F(DataFiles, WhatIsWrittenIsReadBack)
{
    double x[3] = {};
    ASSERT_EQ(AsciiOut_status(3, three, "plain.dat"), DATAIO_OK);
    EXPECT_EQ(AsciiIn_status(3, x, "plain.dat"), DATAIO_OK);
    EXPECT_TRUE(std::equal(x, x + 3, three));
    std::fill_n(x, 3, 0.0);
    ASSERT_EQ(SGFileOut_status(3, three, "sg.dat"), DATAIO_OK);
    EXPECT_EQ(SGFileIn_status(3, x, "sg.dat"), DATAIO_OK);
    EXPECT_TRUE(std::equal(x, x + 3, three));
}

TEST_F(DataFiles, ReadingAnXYFileAsSGPlotYieldsTheAxis)
{
    double x[3];
    ASSERT_EQ(SGXYFileOut_status(3, three, "xy.dat", 10.0, 2.0), DATAIO_OK);
    EXPECT_EQ(SGFileIn_status(3, x, "xy.dat"), DATAIO_OK);
    EXPECT_EQ(x[0], 10.0);
    EXPECT_EQ(x[1], 12.0);
    EXPECT_EQ(x[2], 14.0);
}

TEST_F(DataFiles, PlainAsciiTakesAnyWhiteSpaceAndIgnoresWhatFollows)
{
    dir.write("a.dat", "  1e3\r\n\r\n\t-2 \n.5 rest");
    double x[3];
    EXPECT_EQ(AsciiIn_status(3, x, "a.dat"), DATAIO_OK);
    EXPECT_EQ(x[0], 1000.0);
    EXPECT_EQ(x[1], -2.0);
    EXPECT_EQ(x[2], 0.5);
}

struct BadText {
    const char *text;
    int good; // values before the one that fails
};

TEST_F(DataFiles, PlainAsciiStopsAtWhatIsNoNumber)
{
    for (const BadText &c : {BadText{"", 0}, BadText{"1 2", 2}, BadText{"1 two 3", 1},
                             BadText{"1 2 ,3", 2}, BadText{"x", 0}}) {
        dir.write("a.dat", c.text);
        double x[4] = {-1.0, -1.0, -1.0, -1.0};
        EXPECT_EQ(AsciiIn_status(3, x, "a.dat"), DATAIO_ERR_IO) << c.text;
        for (int k = 0; k < 4; k++)
            EXPECT_EQ(x[k], k < c.good ? k + 1.0 : -1.0) << c.text;
    }
}

TEST_F(DataFiles, SGPlotStopsAtALineWithoutItsThreeFields)
{
    for (const BadText &c :
         {BadText{"1 0 1\none 1 2\n1 2 3", 1}, BadText{"1 0 1\n1 1 2\n1 2", 2},
          BadText{"1 0 1\n.5 1 2\n", 1}, BadText{"x 0 1", 0}, BadText{"1 0 1\n1 one 2\n", 1}}) {
        dir.write("a.dat", c.text);
        double x[4] = {-1.0, -1.0, -1.0, -1.0};
        EXPECT_EQ(SGFileIn_status(3, x, "a.dat"), DATAIO_ERR_IO) << c.text;
        for (int k = 0; k < 4; k++)
            EXPECT_EQ(x[k], k < c.good ? k + 1.0 : -1.0) << c.text;
    }
}

TEST_F(DataFiles, FailedReadsAreTold)
{
    double x[3];
    EXPECT_EQ(AsciiIn_status(3, x, "missing.dat"), DATAIO_ERR_IO);
    EXPECT_EQ(SGFileIn_status(3, x, "missing.dat"), DATAIO_ERR_IO);
    dir.write("a.dat", "1 x");
    errno = EACCES; // somebody else's
    EXPECT_EQ(AsciiIn_status(3, x, "a.dat"), DATAIO_ERR_IO);
    EXPECT_EQ(SGFileIn_status(3, x, "a.dat"), DATAIO_ERR_IO);
    EXPECT_EQ(errors(), error_line("fopen(read)", ENOENT) + error_line("fopen(read)", ENOENT) +
                            error_line("fscanf", EINVAL) + error_line("fscanf", EINVAL));
}

TEST_F(DataFiles, FilesThatCannotBeOpenedForWritingAreTold)
{
    EXPECT_EQ(AsciiOut_status(3, three, "missing/a.dat"), DATAIO_ERR_IO);
    EXPECT_EQ(SGFileOut_status(3, three, "missing/a.dat"), DATAIO_ERR_IO);
    EXPECT_EQ(SGXYFileOut_status(3, three, "missing/a.dat", 0.0, 1.0), DATAIO_ERR_IO);
    EXPECT_EQ(AsciiOut_status(3, three, ""), DATAIO_ERR_IO);
    const std::string line = error_line("fopen(write)", ENOENT);
    EXPECT_EQ(errors(), line + line + line + line);
    EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST_F(DataFiles, NullArgumentsAreRefusedSilently)
{
    double x[3] = {1.0, 2.0, 3.0};
    EXPECT_EQ(AsciiOut_status(3, nullptr, "a"), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(AsciiOut_status(3, x, nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGFileOut_status(3, nullptr, "a"), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGFileOut_status(3, x, nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGXYFileOut_status(3, nullptr, "a", 0.0, 1.0), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGXYFileOut_status(3, x, nullptr, 0.0, 1.0), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(AsciiIn_status(3, nullptr, "a"), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(AsciiIn_status(3, x, nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGFileIn_status(3, nullptr, "a"), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(SGFileIn_status(3, x, nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(Create_IDL_File_status(nullptr, "a"), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(Create_IDL_File_status("a", nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_TRUE(fs::is_empty(dir.path));
    EXPECT_EQ(errors(), "");
}

// 100 values: shorter than a stream's buffer, so that only closing finds the disk full.
std::string write_values(const std::string &path)
{
    const std::vector<double> values(path.ends_with("long.dat") ? 10000 : 100, 1.0);
    testing::internal::CaptureStderr();
    const dataio_status status = AsciiOut_status(values.size(), values.data(), path.c_str());
    return std::to_string(status) + " " + testing::internal::GetCapturedStderr();
}

TEST_F(DataFiles, AFullDiskKeepsTheOldFileAndIsTold)
{
    errors(); // the child captures its own
    for (const char *name : {"short.dat", "long.dat"}) {
        dir.write(name, "old\n");
        EXPECT_EQ(in_child(write_values, dir.file(name), RunAs::this_user, 1000),
                  "3 " + error_line("fprintf", EFBIG));
        EXPECT_EQ(dir.read(name), "old\n");
        fs::remove(dir.file(name));
    }
    EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST_F(DataFiles, ADeviceThatIsFullIsTold)
{
    fs::create_symlink("/dev/full", dir.file("full"));
    EXPECT_EQ(AsciiOut_status(3, three, "full"), DATAIO_ERR_IO);
    EXPECT_EQ(errors(), error_line("fprintf", ENOSPC));
}

TEST_F(DataFiles, ADirectoryThatIsNotWritableIsTold)
{
    if (!nobody_can_enter(dir.path))
        GTEST_SKIP() << "another user cannot come here";
    errors();
    dir.make_dir("locked");
    fs::permissions(dir.file("locked"), fs::perms::owner_write, fs::perm_options::remove);
    EXPECT_EQ(in_child(write_values, dir.file("locked/a.dat"), RunAs::nobody),
              "3 " + error_line("fopen(write)", EACCES));
    EXPECT_TRUE(fs::is_empty(dir.file("locked")));
}

// ------------------------------------------------------------------------------ PV-WAVE and IDL

template <typename T> std::string bytes_of(const std::vector<T> &values)
{
    return {reinterpret_cast<const char *>(values.data()), values.size() * sizeof(T)};
}

std::string signal_file(int32_t pp, int32_t fndw, const std::vector<double> &data)
{
    return bytes_of<int32_t>({1, pp, fndw}) + bytes_of(data);
}

std::string idl_file(int32_t pp, int32_t fndw, const std::vector<double> &data)
{
    std::vector<int32_t> words = {3, 0, 0, 2, pp, fndw, 0, 0, 1, 0, 0, 0, 0, 0, 2};
    words.resize(256);
    return bytes_of(words) + bytes_of(data);
}

TEST_F(DataFiles, AnIdlFileIsADescriptorAndTheData)
{
    const std::vector<double> data = {1.0, -2.0, 3.5, 4.0, 1e-300, 6.0,
                                      7.0, 8.0,  9.0, 0.0, -1.0,   12.0};
    dir.write("sign", signal_file(2, 3, data) + "what follows is ignored");
    EXPECT_EQ(Create_IDL_File_status("sign", "idl"), DATAIO_OK);
    EXPECT_EQ(dir.read("idl"), idl_file(2, 3, data));
    EXPECT_EQ(errors(), "");
}

TEST_F(DataFiles, AnEmptySignalFileMakes1024Bytes)
{
    dir.write("sign", "");
    EXPECT_EQ(Create_IDL_File_status("sign", "idl"), DATAIO_OK);
    EXPECT_EQ(dir.read("idl"), idl_file(0, 0, {}));
    EXPECT_EQ(dir.read("idl").size(), 1024u);
    EXPECT_EQ(errors().substr(0, 13), "fread(type): ");
}

TEST_F(DataFiles, CountsBelowOneAreNoData)
{
    const int32_t counts[][2] = {{-1, 5}, {5, -1}, {-3, -3}, {0, 4}, {4, 0}};
    for (const auto &c : counts) {
        dir.write("sign", signal_file(c[0], c[1], {1.0}));
        EXPECT_EQ(Create_IDL_File_status("sign", "idl"), DATAIO_OK);
        EXPECT_EQ(dir.read("idl"), idl_file(c[0], c[1], {}));
    }
}

TEST_F(DataFiles, MissingDataIsToldAndLeavesNoOutput)
{
    dir.write("sign", signal_file(2, 1, {1.0, 2.0, 3.0}));
    EXPECT_EQ(Create_IDL_File_status("sign", "idl"), DATAIO_ERR_IO);
    dir.write("sign", signal_file(INT32_MAX, INT32_MAX, {1.0}));
    EXPECT_EQ(Create_IDL_File_status("sign", "idl"), DATAIO_ERR_IO);
    EXPECT_FALSE(dir.exists("idl"));
    EXPECT_EQ(errors(), error_line("fread(data)", EINVAL) + error_line("fread(data)", EINVAL));
}

TEST_F(DataFiles, IdlFilesThatCannotBeOpenedAreTold)
{
    EXPECT_EQ(Create_IDL_File_status("missing", "idl"), DATAIO_ERR_IO);
    dir.write("sign", signal_file(1, 1, {1.0, 2.0}));
    EXPECT_EQ(Create_IDL_File_status("sign", "missing/idl"), DATAIO_ERR_IO);
    EXPECT_EQ(errors(), error_line("fopen(input)", ENOENT) + error_line("fopen(output)", ENOENT));
}

TEST_F(DataFiles, ASignalFileCanBeConvertedInPlace)
{
    dir.write("sign", signal_file(1, 1, {1.0, 2.0}));
    EXPECT_EQ(Create_IDL_File_status("sign", "sign"), DATAIO_OK);
    EXPECT_EQ(dir.read("sign"), idl_file(1, 1, {1.0, 2.0}));
}

TEST_F(DataFiles, AFullDiskFailsTheIdlFile)
{
    fs::create_symlink("/dev/full", dir.file("full"));
    dir.write("sign", signal_file(1, 1, {1.0, 2.0}));
    EXPECT_EQ(Create_IDL_File_status("sign", "full"), DATAIO_ERR_IO);
    dir.write("sign", signal_file(1000, 10, std::vector<double>(20000)));
    EXPECT_EQ(Create_IDL_File_status("sign", "full"), DATAIO_ERR_IO);
    EXPECT_EQ(errors(), error_line("fwrite(data)", ENOSPC) + error_line("fwrite(data)", ENOSPC));
}

TEST_F(DataFiles, ALegacyHeaderOfAShortFileIsZeros)
{
    dir.write("sign", signal_file(7, 9, {}));
    int32_t type = -1, pp = -1, fndw = -1;
    FilePtr in{std::fopen("sign", "rb")};
    EXPECT_EQ(read_legacy_bin_header(in.get(), &type, &pp, &fndw), DATAIO_OK);
    EXPECT_TRUE(type == 1 && pp == 7 && fndw == 9);
    EXPECT_EQ(read_legacy_bin_header(in.get(), &type, &pp, &fndw), DATAIO_OK);
    EXPECT_TRUE(type == 0 && pp == 0 && fndw == 0);
}

TEST_F(DataFiles, ALegacyHeaderNeedsItsArguments)
{
    int32_t field = 5;
    dir.write("sign", signal_file(7, 9, {}));
    FilePtr in{std::fopen("sign", "rb")};
    EXPECT_EQ(read_legacy_bin_header(nullptr, &field, &field, &field), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(read_legacy_bin_header(in.get(), nullptr, &field, &field), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(read_legacy_bin_header(in.get(), &field, nullptr, &field), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(read_legacy_bin_header(in.get(), &field, &field, nullptr), DATAIO_ERR_NULLPTR);
    EXPECT_EQ(field, 5);
}

} // namespace
