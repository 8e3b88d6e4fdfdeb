// observablespectrumcalculator.cpp - the analyses that ask: their questions, their order, what
// ends them; and the choices that lead to them.

#include "console.h"
#include "engine_fixture.h"

#include "observablespectrumcalculator.h"

#include <cmath>
#include <filesystem>

namespace
{

class Analyses : public EngineTest
{
};

const std::string SEPARATE = "----------------------------------------------------------\n"
                             "-    Calculation spectra of density matrix / matrices    -\n"
                             "----------------------------------------------------------\n\n";
const std::string AVERAGE = "**********************************************************\n"
                            "*** Calculation of average spectrum of density matrices ***\n"
                            "**********************************************************\n\n";
const std::string POINTS = "How many time-points (power of 2): ";
const std::string TIME = "\nAcquisition time [seconds] : ";
const std::string OFFSET = "\nOffset frequency [Hz] = ";
const std::string QUESTIONS = POINTS + TIME + OFFSET + "\n";
const std::string MENU = "\nOutput format:\n"
                         "  1. PV-Wave/IDL (legacy)\n"
                         "  2. CSV (_td.csv and _fd.csv)\n"
                         "Your choice [1,2] : ";
const std::string FFT_2D = "\nDo 2D FFT? (1=no, 2=yes)\nYour choice [1,2] : ";

int points;
double time_used;

// The system, its free precession, and a dm.bin of Iy, 2·Iy, 3·Iy …
void prepare(const SpinSystem &system, int count)
{
    build_spins(system);
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    const std::vector<Complex> iy = packed(rt.n, rt.Iytot);
    DensityFile file = {0, rt.n, count, {}};
    for (int v = 1; v <= count; v++)
        for (const Complex &c : iy)
            file.rho.push_back((double)v * c);
    write_densities("dm.bin", file);
}

template <class Work> Console typed(const std::string &answers, Work work)
{
    feed_stdin(answers);
    return captured(work);
}

void generate(void)
{
    time_used = SeparateSpectra_GenerateSignal(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot,
                                               &rt.Iytot, &rt.Iztot, rt.ket, rt.Ilist);
}

void separate(void)
{
    SeparateSpectra(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot, rt.ket,
                    rt.Ilist);
}

void average(void)
{
    AverageSpectrum(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot, rt.ket,
                    rt.Ilist);
}

void two_dimensional(void)
{
    Determine2DSpectrum(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                        rt.ket, rt.Ilist);
}

} // namespace

// ------------------------------------------------------------------ separate

TEST_F(Analyses, SeparateSignalsAskForSamplesTimeAndOffset)
{
    prepare({{1}, {}, {25.0}}, 2);
    const Console c = typed("8\n0.08\n-5\n", generate);
    EXPECT_EQ(c.out, SEPARATE + QUESTIONS);
    EXPECT_EQ(time_used, 0.08);
    EXPECT_EQ(points, 8);
    const SignalFile s = read_signal("zansign.bin");
    ASSERT_EQ(s.samples, 8);
    ASSERT_EQ(s.traces, 2);
    EXPECT_LE(std::abs(s.at(2, 8) - Complex(0, 1) * std::polar(1.0, -TWO_PI * 20.0 * 0.07)), 1e-13);
}

TEST_F(Analyses, AFailedAnswerEndsSeparateSignals)
{
    prepare({{1}}, 2);
    const struct {
        const char *answers;
        std::string out;
    } cases[] = {
        {"x", SEPARATE + POINTS},
        {"8\nx", SEPARATE + POINTS + TIME},
        {"8\n1\n", SEPARATE + POINTS + TIME + OFFSET},
        {"0\n1\n0", SEPARATE + QUESTIONS},
        {"8\n0\n0", SEPARATE + QUESTIONS},
        {"8\nnan\n0", SEPARATE + QUESTIONS},
        {"2000000000 1 0", SEPARATE + QUESTIONS +
                               "2000000000 time-points are more than the "
                               "largest number, 16777216.\n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(typed(c.answers, separate).out, c.out) << c.answers;
        EXPECT_FALSE(file_is_there("zansign.bin"));
    }
    EXPECT_EQ(SeparateSpectra_GenerateSignal(nullptr, &points, &rt.densmat, &rt.Istat, &rt.Ixtot,
                                             &rt.Iytot, &rt.Iztot, rt.ket, rt.Ilist),
              0.0);
    EXPECT_EQ(SeparateSpectra_GenerateSignal(&rt.n, nullptr, &rt.densmat, &rt.Istat, &rt.Ixtot,
                                             &rt.Iytot, &rt.Iztot, rt.ket, rt.Ilist),
              0.0);
}

TEST_F(Analyses, SmokeCheckModeAsksNothing)
{
    prepare({{1}, {}, {25.0}}, 2);
    ZAN_SetSmokeCheckMode(1);
    points = -3;
    EXPECT_EQ(typed("", generate).out, "");
    EXPECT_EQ(time_used, 0.001);
    EXPECT_EQ(points, 1);
    points = 4;
    captured(generate);
    const SignalFile s = read_signal("zansign.bin");
    ASSERT_EQ(s.samples, 4);
    EXPECT_LE(std::abs(s.at(1, 4) - Complex(0, 0.5) * std::polar(1.0, -TWO_PI * 25.0 * 0.00075)),
              1e-13);
}

TEST_F(Analyses, SeparateSpectraEndInTheOutputMenu)
{
    prepare({{1}}, 2);
    EXPECT_EQ(typed("8 0.08 0 0", separate).out, SEPARATE + QUESTIONS + MENU);
    std::filesystem::remove("dm.bin");
    EXPECT_EQ(typed("8 0.08 0 0", separate).out, SEPARATE + QUESTIONS);
}

// ------------------------------------------------------------------ average

TEST_F(Analyses, TheAverageIsTheSumOverAllMatrices)
{
    prepare({{1}, {}, {25.0}}, 3);
    const Console c = typed("9\n0.08\n-5\n0\n", average);
    EXPECT_EQ(c.out, AVERAGE + QUESTIONS + MENU);
    EXPECT_EQ(c.err, "");
    const SignalFile s = read_signal("zansign.bin");
    ASSERT_EQ(s.samples, 9);
    ASSERT_EQ(s.traces, 1);
    for (int k = 0; k < 9; k++) // 1 + 2 + 3 times Iy; the last sample lies at the end
        EXPECT_LE(
            std::abs(s.at(1, k + 1) - Complex(0, 3.0) * std::polar(1.0, -TWO_PI * 20.0 * k * 0.01)),
            1e-12)
            << k;
    EXPECT_EQ(packed(2, rt.densmat)[1], 6.0 * packed(2, rt.Iytot)[1]);
}

TEST_F(Analyses, AnAverageThatCannotBeMadeSaysWhy)
{
    prepare({{1}}, 2);
    EXPECT_EQ(typed("x", average).out, AVERAGE + POINTS);
    EXPECT_EQ(typed("8 1 x", average).out, AVERAGE + POINTS + TIME + OFFSET);
    EXPECT_EQ(typed("0 1 0", average).out,
              AVERAGE + QUESTIONS + "A signal needs at least one time-point.\n");
    write_densities("dm.bin", {1, 2, 1, std::vector<Complex>(4)});
    EXPECT_EQ(typed("", average).out,
              AVERAGE + "dm.bin header mismatch: ftype=1 fn=2 expected n=2\n");
    std::filesystem::resize_file("dm.bin", 20);
    write_densities("dm.bin", {0, 2, 2, std::vector<Complex>(4)});
    EXPECT_EQ(typed("8 1 0", average).out,
              AVERAGE + QUESTIONS + ">>> READ BINARY FILE ERROR (dm.bin) <<<\n");
    std::filesystem::remove("dm.bin");
    EXPECT_EQ(typed("8 1 0", average).err, missing_file_message("fopen(dm.bin)"));
    EXPECT_FALSE(file_is_there("zansign.bin"));
    EXPECT_EQ(captured([] {
                  AverageSpectrum(nullptr, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot,
                                  &rt.Iztot, rt.ket, rt.Ilist);
                  AverageSpectrum(&rt.n, nullptr, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot,
                                  &rt.Iztot, rt.ket, rt.Ilist);
              }).out,
              "");
}

TEST_F(Analyses, ASignalFileThatCannotBeWrittenIsReported)
{
    prepare({{1}}, 2);
    std::filesystem::create_directory("zansign.bin");
    EXPECT_EQ(typed("8 1 0", average).err.substr(0, 20), "fopen(zansign.bin): ");
}

TEST_F(Analyses, MoreThan64StatesHaveNoAverage)
{
    prepare({std::vector<int>(7, 1)}, 1);
    const Console c = typed("8 1 0", average);
    EXPECT_EQ(c.out,
              AVERAGE + "Average spectra are limited to 64 states; this spin system has 128.\n");
    EXPECT_EQ(c.err, "");
}

// ------------------------------------------------------------------ two dimensions

TEST_F(Analyses, TheTwoDimensionalSpectrumIsMadeWhenWanted)
{
    prepare({{1}, {}, {25.0}}, 2);
    EXPECT_EQ(typed("8 0.08 0 1 0", two_dimensional).out, SEPARATE + QUESTIONS + FFT_2D + MENU);
    EXPECT_FALSE(file_is_there("spectra.bin"));
    const std::string out = typed("8 0.08 0 2 0", two_dimensional).out;
    EXPECT_EQ(out.find(SEPARATE + QUESTIONS + FFT_2D +
                       "\n2D spectrum of 8 samples x 2 traces written to spectra.bin\n"),
              0u);
    EXPECT_TRUE(out.ends_with(MENU));
    EXPECT_TRUE(file_is_there("spectra.bin"));
}

TEST_F(Analyses, AnUnansweredQuestionEndsTheTwoDimensionalSpectrum)
{
    prepare({{1}}, 2);
    EXPECT_EQ(typed("8 0.08 0 x", two_dimensional).out, SEPARATE + QUESTIONS + FFT_2D);
    EXPECT_EQ(typed("8 0.08", two_dimensional).out, SEPARATE + POINTS + TIME + OFFSET);
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(typed("", two_dimensional).out, "");
}

TEST_F(Analyses, TheEvolutionSectorsGiveTheTimeBetweenTraces)
{
    prepare({{1}}, 2);
    add_2d_sector(1, delay(), 1, 3.0);
    add_2d_sector(2, delay(), 2, 0.01);
    add_2d_sector(2, delay(), 2, 0.015);
    const std::string out = typed("8 0.08 0 2 0", two_dimensional).out;
    EXPECT_EQ(count_of(out, "  traces  : 40 Hz wide, 20 Hz per point\n"), 1) << out;
}

// Without a result file an evolution ends in the two-dimensional analysis of its signal.
TEST_F(Analyses, AnEvolutionWithoutResultFileIsAnalysedAtOnce)
{
    set_spins({{1}, {}, {25.0}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(2, delay(), 4, 0.01);
    const Console c = typed("4 0.08 0 1 0", SimulateLoaded2DPulseSequence);
    EXPECT_TRUE(c.out.ends_with("****\n" + SEPARATE + QUESTIONS + FFT_2D + MENU)) << c.out;
    const SignalFile s = read_signal("zansign.bin");
    ASSERT_EQ(s.traces, 4);
    // Unit norm is heard: Iy of intensity 1 is 1.
    EXPECT_LE(std::abs(s.at(1, 1) - Complex(0, 1)), 1e-9);
    EXPECT_LE(std::abs(s.at(2, 1) - Complex(0, 1) * std::polar(1.0, -TWO_PI * 0.25)), 1e-9);
    EXPECT_EQ(rt.Iytot[1][2][COMPLEX_IM], -0.5);
    set_result("result.bin");
    EXPECT_EQ(count_of(typed("", SimulateLoaded2DPulseSequence).out, SEPARATE), 0);
}

// ------------------------------------------------------------------ choices

TEST_F(Analyses, WithoutASpinSystemThereAreNoSpectra)
{
    for (void (*menu)() : {ZANCalculateSpectraInteractive, InteractiveSpectrumAnalyses})
        EXPECT_EQ(typed("1", menu).out, "No spin system is currently prepared.\n");
}

static const std::string TWO_CHOICES = "Options:\n"
                                       "  1. Calculate average spectrum\n"
                                       "  2. Calculate spectra separately\n";

TEST_F(Analyses, TheRunMenuOffersAverageAndSeparateSpectra)
{
    prepare({{1}, {}, {25.0}}, 2);
    const std::string choice = TWO_CHOICES + "Your choice [1,2] : ";
    for (const char *answer : {"1\n", "x\n", "x 5 6\n"})
        EXPECT_EQ(typed(std::string(answer) + "8 0.08 0 0", ZANCalculateSpectraInteractive).out,
                  choice + AVERAGE + QUESTIONS + MENU)
            << answer;
    for (const char *answer : {"2\n", "3\n", "0\n"})
        EXPECT_EQ(typed(std::string(answer) + "8 0.08 0 0", ZANCalculateSpectraInteractive).out,
                  choice + SEPARATE + QUESTIONS + MENU)
            << answer;
}

TEST_F(Analyses, SpectraHearUnitNormAndLeaveThePhysicalTotals)
{
    prepare({{1, 1}, {}, {25.0, 25.0}}, 1);
    rt.ap = 3;
    const std::vector<Complex> iz = packed(4, rt.Iztot), ix = packed(4, rt.Ixtot);
    typed("2\n4 0.04 10 0", ZANCalculateSpectraInteractive);
    // Two spins, each <Iy> of its unit-norm operator in Iy: 1. The offset acts on the unit-norm
    // Iz, half the physical one here, whose norm over four states is 1 as well.
    EXPECT_LE(std::abs(read_signal("zansign.bin").at(1, 2) -
                       Complex(0, 2) * std::polar(1.0, -TWO_PI * 35.0 * 0.01)),
              1e-12);
    EXPECT_EQ(packed(4, rt.Iztot), iz);
    EXPECT_EQ(packed(4, rt.Ixtot), ix);
    EXPECT_EQ(rt.ap, 3);
}

TEST_F(Analyses, TheStepMenuOffersMore)
{
    prepare({{1}, {}, {25.0}}, 2);
    const std::string choice = TWO_CHOICES + "  3. Calculate 2D spectrum\n"
                                             "  4. Display signals of zansign.bin\n"
                                             "Your choice [1..4] : ";
    const auto out = [](const std::string &answers) {
        return typed(answers, InteractiveSpectrumAnalyses).out;
    };
    EXPECT_EQ(out("1 8 0.08 0 0"), choice + AVERAGE + QUESTIONS + MENU);
    EXPECT_EQ(out("2 8 0.08 0 0"), choice + SEPARATE + QUESTIONS + MENU);
    EXPECT_EQ(out("3 8 0.08 0 1 0"), choice + SEPARATE + QUESTIONS + FFT_2D + MENU);
    EXPECT_EQ(out("4 0.08 0").find(choice + "Acquisition time [seconds] : \nzansign.bin: 2 traces"),
              0u);
    EXPECT_EQ(out("5"), choice + "Unknown choice.\n");
    EXPECT_EQ(out("0"), choice + "Unknown choice.\n");
}
