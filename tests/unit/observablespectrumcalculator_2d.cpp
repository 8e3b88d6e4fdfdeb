// observablespectrumcalculator_2d.cpp - the transform along samples and traces, "spectra.bin" and
// what the console says of them.

#include "console.h"
#include "engine_fixture.h"

#include "observablespectrumcalculator.h"

#include <cmath>

using Spectra2D = EngineTest;

namespace
{

// amplitude·exp(-2·pi·i·(f·k/samples + g·j/traces)), f and g in turns.
struct Wave {
    Complex amplitude;
    int f, g;
};

void write_waves(int samples, int traces, const std::vector<Wave> &waves)
{
    const int32_t header[3] = {1, samples, traces};
    std::string bytes(reinterpret_cast<const char *>(header), sizeof header);
    for (int j = 0; j < traces; j++)
        for (int k = 0; k < samples; k++) {
            Complex value = 0.0;
            for (const Wave &w : waves)
                value += w.amplitude * std::polar(1.0, -TWO_PI * (w.f * (double)k / samples +
                                                                  w.g * (double)j / traces));
            bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
        }
    write_bytes("zansign.bin", bytes);
}

bool made;

Console transformed(double acq_time, double trace_step_s)
{
    return captured([=] { made = Calc2Dfft(acq_time, trace_step_s); });
}

} // namespace

TEST_F(Spectra2D, TransposingSwapsRowsAndColumnsOfComplexElements)
{
    const double from[12] = {1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 6, -6}; // 2 x 3
    const double expected[12] = {1, -1, 4, -4, 2, -2, 5, -5, 3, -3, 6, -6};
    double to[12];
    TransposeDataMatrix(2, 3, from, to);
    for (int i = 0; i < 12; i++)
        EXPECT_EQ(to[i], expected[i]) << i;
}

TEST_F(Spectra2D, EveryLineOfPositiveOffsetLiesAtItsPositiveFrequency)
{
    write_waves(16, 8, {{1.0, 3, -2}, {Complex(0, 0.25), -5, 1}});
    const Console c = transformed(0.5, 0.025);
    EXPECT_TRUE(made);
    EXPECT_EQ(c.err, "");
    EXPECT_EQ(c.out, "\n2D spectrum of 16 samples x 8 traces written to spectra.bin\n"
                     "  samples : 32 Hz wide, 2 Hz per point\n"
                     "  traces  : 40 Hz wide, 5 Hz per point\n"
                     "Largest peaks:\n"
                     "  samples [Hz]    traces [Hz]      magnitude\n"
                     "             6            -10            128\n"
                     "           -10              5             32\n");
    const SignalFile spectrum = read_signal("spectra.bin");
    EXPECT_EQ(spectrum.type, 1);
    ASSERT_EQ(spectrum.samples, 16);
    ASSERT_EQ(spectrum.traces, 8);
    for (int j = 1; j <= 8; j++)
        for (int k = 1; k <= 16; k++) {
            const Complex expected = j == 3 && k == 12  ? Complex(128, 0)
                                     : j == 6 && k == 4 ? Complex(0, 32)
                                                        : Complex(0, 0);
            EXPECT_LE(std::abs(spectrum.at(j, k) - expected), 1e-12) << j << "," << k;
        }
}

TEST_F(Spectra2D, TracesThatAreNoTimeAxisHaveCyclesPerTrace)
{
    write_waves(4, 4, {{2.0, 0, 1}});
    EXPECT_EQ(transformed(1.0, 0.0).out,
              "\n2D spectrum of 4 samples x 4 traces written to spectra.bin\n"
              "  samples : 4 Hz wide, 1 Hz per point\n"
              "  traces  : no evolution time between them\n"
              "Largest peaks:\n"
              "  samples [Hz]    [per trace]      magnitude\n"
              "             0           0.25             32\n");
}

TEST_F(Spectra2D, ASingleTraceIsAnOrdinarySpectrum)
{
    write_waves(4, 1, {{1.0, 1, 0}});
    EXPECT_EQ(transformed(2.0, 0.1).out,
              "\n2D spectrum of 4 samples x 1 traces written to spectra.bin\n"
              "  samples : 2 Hz wide, 0.5 Hz per point\n"
              "  traces  : 10 Hz wide, 10 Hz per point\n"
              "Largest peaks:\n"
              "  samples [Hz]      magnitude\n"
              "           0.5              4\n");
    write_waves(1, 1, {{1.0, 0, 0}});
    EXPECT_EQ(lines_with(transformed(2.0, 0.1).out, "             0 ").size(), 1u);
}

TEST_F(Spectra2D, OnlyTheTenLargestPeaksAreListed)
{
    std::vector<Wave> waves;
    for (int p = 0; p < 12; p++)
        waves.push_back({1.0 + p, 2 * p - 12, 0});
    write_waves(32, 2, waves);
    const std::string out = transformed(1.0, 0.0).out;
    const std::string peaks = out.substr(out.find("magnitude\n") + 10);
    EXPECT_EQ(count_of(peaks, "\n"), 10);
    EXPECT_EQ(peaks.substr(0, peaks.find('\n')), "            10              0            768");
    EXPECT_EQ(count_of(peaks, "            128\n"), 0); // p = 1
    EXPECT_EQ(count_of(peaks, "            192\n"), 1); // p = 2
}

TEST_F(Spectra2D, PeaksBelowAHundredthOfTheLargestAreLeftOut)
{
    write_waves(16, 2, {{1.0, 2, 0}, {0.0099, 6, 0}, {0.0101, -4, 0}});
    const std::string out = transformed(1.0, 0.0).out;
    EXPECT_EQ(count_of(out.substr(out.find("magnitude\n") + 10), "\n"), 2) << out;
}

TEST_F(Spectra2D, NothingIsNoPeak)
{
    write_waves(4, 2, {});
    EXPECT_NE(transformed(1.0, 0.1).out.find("There is no signal in it.\n"), std::string::npos);
}

TEST_F(Spectra2D, OtherSizesThanPowersOfTwoAreRefused)
{
    write_waves(12, 4, {{1.0, 1, 1}});
    const Console samples = transformed(1.0, 0.1);
    EXPECT_FALSE(made);
    EXPECT_EQ(samples.out,
              "The 2D FFT needs powers of two; zansign.bin holds 12 samples in 4 traces.\n");
    write_waves(4, 3, {{1.0, 1, 1}});
    EXPECT_EQ(transformed(1.0, 0.1).out,
              "The 2D FFT needs powers of two; zansign.bin holds 4 samples in 3 traces.\n");
    EXPECT_FALSE(made);
    EXPECT_FALSE(file_is_there("spectra.bin"));
}

TEST_F(Spectra2D, MissingCutAndEmptySignalsMakeNoSpectrum)
{
    EXPECT_EQ(transformed(1.0, 0.1).err, missing_file_message("fopen(zansign.bin)"));
    EXPECT_FALSE(made);
    const int32_t promise[3] = {1, 1 << 30, 1 << 30};
    write_bytes("zansign.bin", std::string(reinterpret_cast<const char *>(promise), 12));
    EXPECT_EQ(transformed(1.0, 0.1).out, ">>> READ BINARY FILE ERROR (zansign.bin) <<<\n");
    EXPECT_FALSE(made);
    write_bytes("zansign.bin", std::string(12, '\0'));
    EXPECT_EQ(transformed(1.0, 0.1).out, "");
    EXPECT_FALSE(made);
    EXPECT_FALSE(file_is_there("spectra.bin"));
}

TEST_F(Spectra2D, ASpectrumThatCannotBeWrittenIsReported)
{
    write_waves(4, 2, {{1.0, 1, 1}});
    std::filesystem::create_directory("spectra.bin");
    EXPECT_EQ(transformed(1.0, 0.1).err.substr(0, 20), "fopen(spectra.bin): ");
    EXPECT_FALSE(made);
}

// ------------------------------------------------------------------ signals on the console

static std::string without_number_after(std::string text, const std::string &mark)
{
    const size_t at = text.find(mark);
    return at == std::string::npos
               ? text
               : text.erase(at + mark.size(), text.find('\n', at) - at - mark.size());
}

TEST_F(Spectra2D, ATraceIsShownAsSamplesAndAsSpectrum)
{
    write_waves(4, 2, {{2.0, 1, 1}});
    const Console c = captured([] { made = DispTransvSign(0.5, 2); });
    EXPECT_TRUE(made);
    // Its imaginary part is what the C library leaves of sin(pi).
    EXPECT_EQ(without_number_after(c.out, "-2.000000000e+00  "),
              "\nTrace 2 of 2: 4 samples in 0.5 s\n"
              "  first sample      : -2.000000000e+00  \n"
              "  largest magnitude :  2.000000000e+00 at 0 s\n"
              "Its spectrum is in spectra.bin, 2 Hz per point.\n"
              "Largest peaks:\n"
              "  samples [Hz]      magnitude\n"
              "             2              8\n");
    const SignalFile spectrum = read_signal("spectra.bin");
    EXPECT_EQ(spectrum.samples, 4);
    EXPECT_EQ(spectrum.traces, 1);
    EXPECT_LE(std::abs(spectrum.at(1, 4) - Complex(-8, 0)), 1e-12);
}

TEST_F(Spectra2D, ATraceOfAnotherLengthHasNoSpectrum)
{
    write_waves(3, 1, {{2.0, 0, 0}});
    const Console c = captured([] { made = DispTransvSign(0.3, 1); });
    EXPECT_FALSE(made);
    EXPECT_TRUE(c.out.ends_with(
        "Its spectrum needs powers of two; zansign.bin holds 3 samples in 1 traces.\n"));
}

TEST_F(Spectra2D, ATraceThatIsNotThereIsRefused)
{
    write_waves(4, 2, {{2.0, 1, 1}});
    for (int trace : {-1, 0, 3}) {
        const Console c = captured([=] { made = DispTransvSign(0.5, trace); });
        EXPECT_FALSE(made);
        EXPECT_EQ(c.out, "zansign.bin holds the traces 1 to 2.\n");
    }
}

TEST_F(Spectra2D, SignalsAreListedAndShownUntilZero)
{
    write_waves(2, 2, {{2.0, 0, 0}});
    feed_stdin("0.5\n2\n0\n7\n");
    const Console c = captured(DisplaySignals);
    EXPECT_EQ(c.out, "Acquisition time [seconds] : \n"
                     "zansign.bin: 2 traces of 2 samples\n"
                     "  trace   first sample (re, im)           largest magnitude\n"
                     "      1   2.000000e+00   0.000000e+00   2.000000e+00\n"
                     "      2   2.000000e+00   0.000000e+00   2.000000e+00\n"
                     "Trace to show (0 = back): "
                     "\nTrace 2 of 2: 2 samples in 0.5 s\n"
                     "  first sample      :  2.000000000e+00   0.000000000e+00\n"
                     "  largest magnitude :  2.000000000e+00 at 0 s\n"
                     "Its spectrum is in spectra.bin, 2 Hz per point.\n"
                     "Largest peaks:\n"
                     "  samples [Hz]      magnitude\n"
                     "             0              4\n"
                     "Trace to show (0 = back): ");
}

TEST_F(Spectra2D, OfManySignalsTheFirstTwentyAreListed)
{
    write_waves(1, 32, {{1.0, 0, 0}});
    feed_stdin("0.5\n");
    const Console c = captured(DisplaySignals);
    EXPECT_EQ(lines_with(c.out, "1.000000e+00   ").size(), 20u);
    EXPECT_EQ(count_of(c.out, "  and 12 more\n"), 1);
}

TEST_F(Spectra2D, WithoutAnswerOrSignalNothingIsListed)
{
    feed_stdin("x");
    EXPECT_EQ(captured(DisplaySignals).out, "Acquisition time [seconds] : ");
    feed_stdin("1\n");
    const Console c = captured(DisplaySignals);
    EXPECT_EQ(c.out, "Acquisition time [seconds] : \n");
    EXPECT_EQ(c.err, missing_file_message("fopen(zansign.bin)"));
}
