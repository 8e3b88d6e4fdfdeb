// observablespectrumcalculator_outputs.cpp - the output menu, the CSV pair, the plot script and
// its start, the PV-WAVE file.

#include "console.h"
#include "engine_fixture.h"
#include "fake_gnuplot.h"

#include "observablespectrumcalculator.h"
#include "zandatafileio.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace
{

class SpectrumOutputs : public EngineTest
{
};

void write_signal(int pp, int traces, const std::vector<Complex> &values)
{
    const int32_t header[3] = {1, pp, traces};
    std::string bytes(reinterpret_cast<const char *>(header), sizeof header);
    bytes.append(reinterpret_cast<const char *>(values.data()), values.size() * sizeof(Complex));
    write_bytes("zansign.bin", bytes);
}

template <class Work> Console typed(const std::string &answers, Work work)
{
    feed_stdin(answers);
    return captured(work);
}

std::vector<std::vector<double>> table(const std::string &path, const std::string &heading)
{
    std::vector<std::vector<double>> rows;
    std::istringstream in(read_text(path));
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, heading);
    while (std::getline(in, line)) {
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            rows.back().push_back(std::strtod(cell.c_str(), nullptr));
    }
    return rows;
}

const char TD[] = "t_s,f2_index,re,im,mag";
const char FD[] = "f1_hz,f2_hz,re,im,re_ph,im_ph,re_ph1,im_ph1,mag";

} // namespace

// ------------------------------------------------------------------ CSV

TEST_F(SpectrumOutputs, TheTimeDomainEndsAtTheAcquisitionTime)
{
    write_signal(3, 2, {{1, 0}, {0, -2}, {3, 4}, {0.1, 0}, {0, 0}, {-1, 1}});
    char name[320];
    int made = 0;
    const Console c = typed("base\n", [&] { made = Create_CSV_Files(0.5, name, sizeof name); });
    EXPECT_EQ(made, 1);
    EXPECT_EQ(c.out, "Base file name (without extension): Wrote base_td.csv and base_fd.csv\n");
    EXPECT_EQ(c.err, "");
    EXPECT_STREQ(name, "base_fd.csv");
    EXPECT_EQ(read_text("base_td.csv"), "t_s,f2_index,re,im,mag\n"
                                        "0,0,1,0,1\n"
                                        "0.25,0,0,-2,2\n"
                                        "0.5,0,3,4,5\n"
                                        "0,1,0.10000000000000001,0,0.10000000000000001\n"
                                        "0.25,1,0,0,0\n"
                                        "0.5,1,-1,1,1.4142135623730951\n");
}

// A rotation exp(+2·pi·i·2·k/8) lies at m = 2, two steps above the middle.
TEST_F(SpectrumOutputs, AForwardRotationLiesAtPositiveFrequency)
{
    std::vector<Complex> values;
    for (int k = 0; k < 8; k++)
        values.push_back(std::polar(0.5, TWO_PI * 2 * k / 8));
    write_signal(8, 1, values);
    typed("s", [] { Create_CSV_Files(0.7, nullptr, 0); });
    const auto rows = table("s_fd.csv", FD);
    ASSERT_EQ(rows.size(), 8u);
    for (int r = 0; r < 8; r++) {
        const auto &row = rows[(size_t)r];
        ASSERT_EQ(row.size(), 9u);
        EXPECT_DOUBLE_EQ(row[0], (r - 4) / 0.8); // 8 steps of 0.1 s
        EXPECT_EQ(row[1], 0.0);
        EXPECT_NEAR(row[2], r == 6 ? 4.0 : 0.0, 1e-14);
        EXPECT_NEAR(row[3], 0.0, 1e-14);
        for (size_t column : {4u, 6u}) { // reserved for phase correction, not corrected
            EXPECT_EQ(row[column], row[2]);
            EXPECT_EQ(row[column + 1], row[3]);
        }
        EXPECT_EQ(row[8], std::sqrt(row[2] * row[2] + row[3] * row[3]));
    }
}

// The points are turned by half their number rounded down: a constant then stands one step above
// zero, a quirk of the format.
TEST_F(SpectrumOutputs, AnOddNumberOfPointsRunsFromMinusToPlus)
{
    write_signal(5, 1, {1, 1, 1, 1, 1});
    typed("odd", [] { Create_CSV_Files(4.0, nullptr, 0); });
    const auto rows = table("odd_fd.csv", FD);
    ASSERT_EQ(rows.size(), 5u);
    for (int r = 0; r < 5; r++) {
        EXPECT_DOUBLE_EQ(rows[(size_t)r][0], (r - 2) * 0.2);
        EXPECT_NEAR(rows[(size_t)r][2], r == 3 ? 5.0 : 0.0, 1e-14) << r;
    }
}

TEST_F(SpectrumOutputs, OneSampleHasNoTimeAndNoFrequency)
{
    write_signal(1, 3, {{1, 0}, {2, 0}, {3, 0}});
    typed("one", [] { Create_CSV_Files(4.0, nullptr, 0); });
    EXPECT_EQ(read_text("one_fd.csv"), std::string(FD) + "\n0,0,1,0,1,0,1,0,1\n"
                                                         "0,1,2,0,2,0,2,0,2\n"
                                                         "0,2,3,0,3,0,3,0,3\n");
    EXPECT_EQ(read_text("one_td.csv"), std::string(TD) + "\n0,0,1,0,1\n0,1,2,0,2\n0,2,3,0,3\n");
}

TEST_F(SpectrumOutputs, TheNameIsCutToTheCallersBuffer)
{
    write_signal(1, 1, {1});
    char name[5];
    typed("base", [&] { Create_CSV_Files(1.0, name, sizeof name); });
    EXPECT_STREQ(name, "base");
}

TEST_F(SpectrumOutputs, AFailedExportSaysWhyAndLeavesNoFile)
{
    const std::string prompt = "Base file name (without extension): ";
    const std::string cut = prompt + ">>> READ BINARY FILE ERROR (zansign.bin) <<<\n";
    int made = 1;
    const auto attempt = [&](const std::string &answers) {
        return typed(answers, [&] { made = Create_CSV_Files(1.0, nullptr, 0); });
    };
    EXPECT_EQ(attempt("").out, prompt);
    EXPECT_EQ(made, 0);
    const Console missing = attempt("x");
    EXPECT_EQ(missing.err, missing_file_message("fopen(zansign.bin)"));
    EXPECT_EQ(missing.out, prompt);
    write_signal(4, 2, {1, 2, 3});
    EXPECT_EQ(attempt("x").out, cut);
    write_signal(INT32_MAX, INT32_MAX, {1, 2, 3});
    EXPECT_EQ(attempt("x").out, cut);
    for (const auto &counts : {std::pair(0, 1), std::pair(1, 0), std::pair(-1, -1)}) {
        write_signal(counts.first, counts.second, {1});
        const Console empty = attempt("x");
        EXPECT_EQ(empty.out, prompt);
        EXPECT_EQ(empty.err, "");
    }
    write_signal(1, 1, {1});
    EXPECT_EQ(attempt("missing/x").err, missing_file_message("fopen(td.csv)"));
    std::filesystem::create_directory("d_fd.csv");
    EXPECT_EQ(attempt("d").err.substr(0, 15), "fopen(fd.csv): ");
    EXPECT_EQ(made, 0);
    for (const char *name : {"x_td.csv", "x_fd.csv", "d_td.csv"})
        EXPECT_FALSE(file_is_there(name)) << name;
}

// ------------------------------------------------------------------ the plot script

TEST_F(SpectrumOutputs, TheScriptPlotsRealPartAndMagnitude)
{
    EXPECT_EQ(WriteGnuplotSpectrumScript("a.gp", "100%s_fd.csv", "A Title"), 1);
    EXPECT_EQ(read_text("a.gp"), "set terminal qt\n"
                                 "set datafile separator \",\"\n"
                                 "set key right top\n"
                                 "set grid\n"
                                 "set xlabel \"Frequency (Hz)\"\n"
                                 "set ylabel \"Intensity\"\n"
                                 "set xrange [*:*] reverse\n"
                                 "set title \"A Title\"\n"
                                 "plot \"100%s_fd.csv\" using 1:3 with lines title \"re\", \\\n"
                                 "     \"100%s_fd.csv\" using 1:9 with lines title \"mag\"\n"
                                 "pause mouse close\n");
    WriteGnuplotSpectrumScript("a.gp", "x", nullptr);
    EXPECT_EQ(count_of(read_text("a.gp"), "set title \"ZAN Spectrum\"\n"), 1);
}

TEST_F(SpectrumOutputs, ANameCannotLeaveItsStringInTheScript)
{
    WriteGnuplotSpectrumScript("a.gp", "x\"`date`\\t", nullptr);
    EXPECT_EQ(count_of(read_text("a.gp"), "\"x\\\"\\`date\\`\\\\t\" using"), 2);
}

TEST_F(SpectrumOutputs, AScriptThatCannotBeWrittenIsReported)
{
    int made = 1;
    const Console c =
        captured([&] { made = WriteGnuplotSpectrumScript("missing/a.gp", "x", nullptr); });
    EXPECT_EQ(made, 0);
    EXPECT_EQ(c.err, missing_file_message("missing/a.gp"));
}

TEST_F(SpectrumOutputs, OnlyAYesOpensThePlot)
{
    const struct {
        const char *answer;
        int yes;
    } cases[] = {{"y\n", 1}, {"Yes", 1}, {"n\n", 0}, {"", 0}, {"ny", 0}, {" \n y", 1}, {"1", 0}};
    for (const auto &c : cases) {
        int yes = -1;
        const Console console = typed(c.answer, [&] { yes = AskOpenPlotNow(); });
        EXPECT_EQ(yes, c.yes) << c.answer;
        EXPECT_EQ(console.out, "Open spectrum in gnuplot now? [y/n] : ");
    }
}

TEST_F(SpectrumOutputs, GnuplotGetsTheScriptAsItIsAndNoneOfTheAnswers)
{
    const FakeGnuplot gnuplot(std::filesystem::current_path().string());
    const Console c = typed("answer\n", [] { LaunchGnuplotScript("$(touch x);a b'\".gp"); });
    EXPECT_EQ(arguments_of_gnuplot("."), "-persist\n$(touch x);a b'\".gp\n");
    EXPECT_EQ(c.out + c.err, "");
    EXPECT_EQ(rest_of_stdin(), "answer\n");
    EXPECT_FALSE(file_is_there("x"));
    captured([] { LaunchGnuplotScript("-e"); });
    EXPECT_EQ(arguments_of_gnuplot("."), "-persist\n./-e\n");
}

TEST_F(SpectrumOutputs, AMissingGnuplotIsReported)
{
    const ProgramPath nowhere("/missing");
    const Console c = captured([] { LaunchGnuplotScript("a.gp"); });
    EXPECT_EQ(c.err, missing_file_message("gnuplot"));
}

// ------------------------------------------------------------------ PV-WAVE

TEST_F(SpectrumOutputs, APvWaveFileIsADescriptorAndTheSignal)
{
    write_signal(2, 1, {{1, 2}, {3, 4}});
    const Console c = typed("out\n", Create_PV_WAVE_File);
    EXPECT_EQ(c.out, "File name PV-Wave file : ");
    const std::string bytes = read_text("out");
    ASSERT_EQ(bytes.size(), 1024u + 32u);
    int32_t words[256];
    std::memcpy(words, bytes.data(), sizeof words);
    const int32_t expected[15] = {3, 0, 0, 2, 2, 1, 0, 0, 1, 0, 0, 0, 0, 0, 2};
    for (int i = 0; i < 256; i++)
        EXPECT_EQ(words[i], i < 15 ? expected[i] : 0) << i;
    EXPECT_EQ(bytes.substr(1024), read_text("zansign.bin").substr(12));
}

TEST_F(SpectrumOutputs, ACutSignalEndsThePvWaveFileSilently)
{
    write_signal(2, 5, {{1, 2}, {3, 4}});
    const Console c = typed("out\n", Create_PV_WAVE_File);
    EXPECT_EQ(c.err, "");
    EXPECT_EQ(read_text("out").size(), 1024u + 32u);
}

TEST_F(SpectrumOutputs, PvWaveFailuresAreReported)
{
    EXPECT_EQ(typed("", Create_PV_WAVE_File).err, "");
    EXPECT_EQ(typed("out", Create_PV_WAVE_File).err, missing_file_message("fopen(zansign.bin)"));
    EXPECT_FALSE(file_is_there("out"));
    write_signal(1, 1, {1});
    EXPECT_EQ(typed("missing/out", Create_PV_WAVE_File).err, missing_file_message("fopen(output)"));
}

TEST_F(SpectrumOutputs, ASignalThatCannotBeReadMakesNoPvWaveFile)
{
    write_signal(1, 2, {1, 2});
    const FilePtr in{std::fopen("unreadable", "wb")}, out{std::fopen("out", "wb")};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(write_pv_wave_file(in.get(), out.get()));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

// ------------------------------------------------------------------ names

TEST_F(SpectrumOutputs, ANameOf256CharactersIsRefusedNotCut)
{
    const std::string name(256, 'n'), refusal = std::string(": ") + std::strerror(ENAMETOOLONG);
    write_signal(1, 1, {1});
    EXPECT_EQ(typed(name + "\n", Create_PV_WAVE_File).err, "fopen(output)" + refusal + "\n");
    EXPECT_FALSE(file_is_there(name.substr(1)));
    // Only "./././..." can be that long and still lead to a file.
    std::string long_way;
    while (long_way.size() < 254)
        long_way += "./";
    int made = -1;
    const Console c = typed(long_way + "ab\n", [&] { made = Create_CSV_Files(1.0, nullptr, 0); });
    EXPECT_EQ(made, 0);
    EXPECT_EQ(c.err, "fopen(td.csv)" + refusal + "\n");
    EXPECT_FALSE(file_is_there("a_td.csv"));
}

// ------------------------------------------------------------------ menu

static const std::string MENU = "\nOutput format:\n"
                                "  1. PV-Wave/IDL (legacy)\n"
                                "  2. CSV (_td.csv and _fd.csv)\n"
                                "Your choice [1,2] : ";

TEST_F(SpectrumOutputs, TheMenuReturnsOnAnythingElse)
{
    for (const char *answer : {"", "x", "0", "3"})
        EXPECT_EQ(typed(answer, [] { SpectrumOutputMenu(1.0); }).out, MENU) << answer;
}

TEST_F(SpectrumOutputs, TheMenuWritesPvWave)
{
    write_signal(1, 1, {1});
    EXPECT_EQ(typed("1 out", [] { SpectrumOutputMenu(1.0); }).out,
              MENU + "File name PV-Wave file : ");
    EXPECT_TRUE(file_is_there("out"));
}

TEST_F(SpectrumOutputs, TheMenuWritesCsvAndScriptAndStartsNothingUnasked)
{
    const FakeGnuplot gnuplot(std::filesystem::current_path().string());
    write_signal(1, 1, {1});
    const std::string written = MENU + "Base file name (without extension): "
                                       "Wrote a_td.csv and a_fd.csv\n"
                                       "Frequency-domain CSV: a_fd.csv\n"
                                       "Wrote gnuplot script: a_fd.csv.gp\n"
                                       "Open spectrum in gnuplot now? [y/n] : ";
    EXPECT_EQ(typed("2\na\nn\n", [] { SpectrumOutputMenu(1.0); }).out, written);
    EXPECT_EQ(count_of(read_text("a_fd.csv.gp"), "\"a_fd.csv\""), 2);
    EXPECT_FALSE(file_is_there("args"));
    EXPECT_EQ(typed("2\na\ny\n", [] { SpectrumOutputMenu(1.0); }).out, written);
    EXPECT_EQ(arguments_of_gnuplot("."), "-persist\na_fd.csv.gp\n");
}

TEST_F(SpectrumOutputs, AFailedCsvEndsTheMenu)
{
    EXPECT_EQ(typed("2\na\ny\n", [] { SpectrumOutputMenu(1.0); }).out,
              MENU + "Base file name (without extension): ");
    EXPECT_FALSE(file_is_there("a_fd.csv.gp"));
}
