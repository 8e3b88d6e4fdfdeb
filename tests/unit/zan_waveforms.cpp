// zan_waveforms.cpp - sector waveform files: blocks of n doubles, nothing else.

#include "engine_fixture.h"

using Waveforms = EngineTest;

namespace
{

std::vector<double> ramp(int count)
{
    std::vector<double> values;
    for (int k = 0; k < count; k++)
        values.push_back(k + 0.5);
    return values;
}

// What a reader answers and prints to either stream.
template <class Reader> int answer(Reader reader, const char *path, int n, std::string *printed)
{
    int result = -1;
    const Console console = captured([&] { result = reader(path, n); });
    EXPECT_EQ(console.out, "");
    *printed = console.err;
    return result;
}

} // namespace

TEST_F(Waveforms, ASpatialFileIsFiveBlocksInOrder)
{
    write_samples("w.bin", ramp(5 * 100));
    EXPECT_EQ(std::filesystem::file_size("w.bin"), 4000u);
    ASSERT_EQ(LoadSpatialSectorPulseFile("w.bin", 100), 1);
    for (int k = 0; k < 100; k++) {
        EXPECT_EQ(rt.xb[k], k + 0.5);
        EXPECT_EQ(rt.yb[k], 100 + k + 0.5);
        EXPECT_EQ(rt.gx[k], 200 + k + 0.5);
        EXPECT_EQ(rt.gy[k], 300 + k + 0.5);
        EXPECT_EQ(rt.gz[k], 400 + k + 0.5);
    }
    EXPECT_EQ(rt.xb[100], 0.0);
}

TEST_F(Waveforms, A2DFileIsTwoBlocksAndLeavesTheGradients)
{
    rt.gx[0] = 77.0;
    write_samples("w.bin", ramp(2 * 100));
    EXPECT_EQ(std::filesystem::file_size("w.bin"), 1600u);
    ASSERT_EQ(Load2DSectorPulseFile("w.bin", 100), 1);
    EXPECT_EQ(rt.xb[99], 99.5);
    EXPECT_EQ(rt.yb[0], 100.5);
    EXPECT_EQ(rt.yb[99], 199.5);
    EXPECT_EQ(rt.gx[0], 77.0);
}

TEST_F(Waveforms, The2DReaderTakesTheRFOfASpatialFile)
{
    write_samples("w.bin", ramp(5 * 4));
    ASSERT_EQ(Load2DSectorPulseFile("w.bin", 4), 1);
    EXPECT_EQ(rt.yb[3], 7.5);
}

TEST_F(Waveforms, TheSpatialReaderRefusesA2DFile)
{
    std::string printed;
    write_samples("w.bin", ramp(2 * 4));
    EXPECT_EQ(answer(LoadSpatialSectorPulseFile, "w.bin", 4, &printed), 0);
    EXPECT_EQ(printed, "");
}

TEST_F(Waveforms, AFileTooShortByOneByteIsRefused)
{
    std::string bytes(16 * 3, '\0'), printed;
    bytes.pop_back();
    write_bytes("w.bin", bytes);
    EXPECT_EQ(answer(Load2DSectorPulseFile, "w.bin", 3, &printed), 0);
    EXPECT_EQ(answer(Load2DSectorPulseFile, "w.bin", 2, &printed), 1);
}

TEST_F(Waveforms, AnEmptyNameIsRefusedSilently)
{
    std::string printed;
    for (const char *path : {(const char *)nullptr, ""}) {
        EXPECT_EQ(answer(LoadSpatialSectorPulseFile, path, 1, &printed), 0);
        EXPECT_EQ(printed, "");
        EXPECT_EQ(answer(Load2DSectorPulseFile, path, 1, &printed), 0);
        EXPECT_EQ(printed, "");
    }
}

TEST_F(Waveforms, AMissingFileIsReportedUnderItsName)
{
    std::string printed;
    EXPECT_EQ(answer(LoadSpatialSectorPulseFile, "100%s.bin", 1, &printed), 0);
    EXPECT_EQ(printed, missing_file_message("100%s.bin"));
    EXPECT_EQ(answer(Load2DSectorPulseFile, "absent.bin", 1, &printed), 0);
    EXPECT_EQ(printed, missing_file_message("absent.bin"));
}

TEST_F(Waveforms, MoreThan8192SamplesAreRefusedBeforeTheFileIsOpened)
{
    std::string printed;
    for (const int n : {8193, 2147483647, -1}) {
        EXPECT_EQ(answer(LoadSpatialSectorPulseFile, "absent.bin", n, &printed), 0);
        EXPECT_EQ(printed, "") << n;
        EXPECT_EQ(answer(Load2DSectorPulseFile, "absent.bin", n, &printed), 0);
        EXPECT_EQ(printed, "") << n;
    }
}

TEST_F(Waveforms, TheFull8192SamplesAreRead)
{
    write_samples("w.bin", ramp(5 * 8192));
    ASSERT_EQ(LoadSpatialSectorPulseFile("w.bin", 8192), 1);
    EXPECT_EQ(rt.gz[8191], 5 * 8192 - 0.5);
}

TEST_F(Waveforms, NoSamplesAreReadFromAnEmptyFile)
{
    write_bytes("w.bin", "");
    EXPECT_EQ(LoadSpatialSectorPulseFile("w.bin", 0), 1);
    EXPECT_EQ(Load2DSectorPulseFile("w.bin", 0), 1);
}
