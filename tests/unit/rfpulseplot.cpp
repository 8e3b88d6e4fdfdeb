// rfpulseplot - the bytes of the pulse table and of its plot script, and failing writes.
#include "rfpulseplot.h"

#include "tempdir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

static const char HEADER[] = "# t[s], B1x[Hz], B1y[Hz], |B1|, phase[rad]\n";

static std::string csv_of(int ap, double h, const double *xb, const double *yb)
{
    const TempDir dir;
    EXPECT_EQ(WritePulseCSV(dir.file("pulse.csv").c_str(), ap, h, xb, yb), 1);
    return dir.read("pulse.csv");
}

TEST(PulseCsv, HasTimeBothComponentsMagnitudeAndPhase)
{
    const double xb[] = {3.0, -1500.25, 0.0, 1.0, 1e-7};
    const double yb[] = {4.0, 0.0, -2.0, -1.0, 0.0};
    EXPECT_EQ(csv_of(5, 1e-5, xb, yb), std::string(HEADER) +
                                           "0, 3, 4, 5, 0.927295\n"
                                           "1e-05, -1500.25, 0, 1500.25, 3.14159\n"
                                           "2e-05, 0, -2, 2, 4.71239\n"
                                           "3e-05, 1, -1, 1.41421, 5.49779\n"
                                           "4e-05, 1e-07, 0, 1e-07, 0\n");
}

TEST(PulseCsv, AZeroSampleRepeatsThePhaseBefore)
{
    const double xb[] = {0.0, 0.0, 0.0, 9e-13, 1.0};
    const double yb[] = {0.0, 1.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(csv_of(5, 0.5, xb, yb), std::string(HEADER) + "0, 0, 0, 0, 0\n"
                                                            "0.5, 0, 1, 1, 1.5708\n"
                                                            "1, 0, 0, 0, 1.5708\n"
                                                            "1.5, 9e-13, 0, 9e-13, 1.5708\n"
                                                            "2, 1, 0, 1, 0\n");
}

TEST(PulseCsv, APhaseIsHeldBelowOnePicoradianPerSecondOnly)
{
    const double xb[] = {-1.0, 1e-12};
    const double yb[] = {0.0, 0.0};
    EXPECT_EQ(csv_of(2, 1.0, xb, yb),
              std::string(HEADER) + "0, -1, 0, 1, 3.14159\n1, 1e-12, 0, 1e-12, 0\n");
}

TEST(PulseCsv, NoSamplesGiveTheHeaderAlone)
{
    EXPECT_EQ(csv_of(0, 1.0, nullptr, nullptr), HEADER);
    EXPECT_EQ(csv_of(-3, 1.0, nullptr, nullptr), HEADER);
}

TEST(PulseCsv, ANameThatCannotBeWrittenIsTold)
{
    const TempDir dir;
    const std::string path = dir.file("missing/%s%n.csv");
    const double zero = 0.0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(WritePulseCSV(path.c_str(), 1, 1.0, &zero, &zero), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "WritePulseCSV: cannot open " + path + "\n");
}

TEST(PulseCsv, ReplacesAnOlderTable)
{
    const TempDir dir;
    const std::string path = dir.write("pulse.csv", std::string(5000, 'x'));
    const double one = 1.0, zero = 0.0;
    EXPECT_EQ(WritePulseCSV(path.c_str(), 1, 1.0, &one, &zero), 1);
    EXPECT_EQ(dir.read("pulse.csv"), std::string(HEADER) + "0, 1, 0, 1, 0\n");
}

static const char SCRIPT[] = R"(set title 'Optimized RF Pulse'
set xlabel 'Time (s)'
set ylabel 'Amplitude / Phase'
set grid
set key left top

plot \
  'out/pulse 1.csv' using 1:2 with lines title 'B1x', \
  'out/pulse 1.csv' using 1:3 with lines title 'B1y', \
  'out/pulse 1.csv' using 1:4 with lines title '|B1|', \
  'out/pulse 1.csv' using 1:5 with lines title 'phase'

pause -1
)";

TEST(PulsePlotScript, NamesTheTableFourTimes)
{
    const TempDir dir;
    EXPECT_EQ(WriteGnuplotPulseScript(dir.file("p.gp").c_str(), "out/pulse 1.csv"), 1);
    EXPECT_EQ(dir.read("p.gp"), SCRIPT);
}

TEST(PulsePlotScript, ANameStaysWithinItsQuotesAndIsNoFormat)
{
    const TempDir dir;
    ASSERT_EQ(WriteGnuplotPulseScript(dir.file("p.gp").c_str(), "a';system('x')#%s.csv"), 1);
    EXPECT_NE(dir.read("p.gp").find("\n  'a'';system(''x'')#%s.csv' using 1:2 with"),
              std::string::npos);
}

TEST(PulsePlotScript, ANameThatCannotBeWrittenIsTold)
{
    const TempDir dir;
    const std::string path = dir.file("missing/p.gp");
    testing::internal::CaptureStderr();
    EXPECT_EQ(WriteGnuplotPulseScript(path.c_str(), "p.csv"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WriteGnuplotPulseScript: cannot open " + path + "\n");
}

#ifdef __linux__
TEST(PulsePlotFiles, AFullDiskIsNoSuccess)
{
    const TempDir dir;
    const std::string full = dir.file("full");
    std::filesystem::create_symlink("/dev/full", full); // never the machine's own device
    const double one = 1.0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(WritePulseCSV(full.c_str(), 1, 1.0, &one, &one), 0);
    EXPECT_EQ(WriteGnuplotPulseScript(full.c_str(), "p.csv"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              full + ": No space left on device\n" + full + ": No space left on device\n");
}
#endif
