// observablespectrumcalculator.cpp - receiver signals of "dm.bin": the file, the messages, the
// tables. The numbers of coupled systems are in tests/engine.

#include "engine_fixture.h"

#include "observablespectrumcalculator.h"

#include <cmath>
#include <cstring>
#include <limits>

using Observables = EngineTest;

namespace
{

struct Answer {
    double time;
    std::string out, err;
};

Answer generate(int points, double time, double offset, const char *output,
                const ZANSlowBandSplitConfig *slow = nullptr, const int *n = &rt.n)
{
    Answer a;
    const Console c = captured([&] {
        a.time = SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
            n, points, time, offset, output, slow, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot,
            &rt.Iztot, rt.ket, rt.Ilist);
    });
    a.out = c.out;
    a.err = c.err;
    return a;
}

// The system, its free precession as Istat, and a dm.bin of so many times Iy of all spins.
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

void expect_no_signal(const Answer &a, const std::string &out, const std::string &err)
{
    EXPECT_EQ(a.time, 0.0);
    EXPECT_EQ(a.out, out);
    EXPECT_EQ(a.err, err);
    EXPECT_FALSE(file_is_there("signal"));
}

} // namespace

TEST_F(Observables, PiIsTheDouble)
{
    EXPECT_EQ(osc_pi(), 3.141592653589793);
}

TEST_F(Observables, OnlyFiniteValuesPass)
{
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(finite_or_zero(-2.5), -2.5);
    EXPECT_EQ(finite_or_zero(0.0), 0.0);
    for (const double v : {inf, -inf, std::nan("")})
        EXPECT_EQ(finite_or_zero(v), 0.0);
}

// ------------------------------------------------------------------ the signal file

TEST_F(Observables, EveryMatrixGivesOneTrace)
{
    prepare({{1}, {}, {25.0}}, 3);
    const Answer a = generate(6, 0.03, -10.0, "signal");
    EXPECT_EQ(a.time, 0.03);
    EXPECT_EQ(a.out + a.err, "");
    const SignalFile signal = read_signal("signal");
    EXPECT_EQ(signal.type, 1);
    ASSERT_EQ(signal.samples, 6);
    ASSERT_EQ(signal.traces, 3);
    for (int v = 1; v <= 3; v++)
        for (int k = 0; k < 6; k++) {
            // The step is time/samples: the last sample is one step before the end.
            const Complex expected =
                Complex(0, 0.5 * v) * std::polar(1.0, -TWO_PI * 15.0 * k * 0.03 / 6);
            EXPECT_LE(std::abs(signal.at(v, k + 1) - expected), 1e-13) << v << "," << k;
        }
}

TEST_F(Observables, TheDefaultFileIsZansign)
{
    prepare({{1}}, 2);
    EXPECT_EQ(generate(2, 0.1, 0.0, nullptr).time, 0.1);
    EXPECT_EQ(read_signal("zansign.bin").traces, 2);
    std::filesystem::remove("zansign.bin");
    EXPECT_EQ(generate(4, 0.1, 0.0, "").time, 0.1);
    EXPECT_EQ(read_signal("zansign.bin").samples, 4);
}

TEST_F(Observables, TheShortFormIsTheSameWithoutASplit)
{
    prepare({{1}, {}, {25.0}}, 2);
    generate(8, 0.1, 3.0, "signal");
    double time = 0.0;
    captured([&] {
        time = SeparateSpectra_GenerateSignalWithParams(&rt.n, 8, 0.1, 3.0, "short", &rt.densmat,
                                                        &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                                                        rt.ket, rt.Ilist);
    });
    EXPECT_EQ(time, 0.1);
    EXPECT_EQ(read_text("short"), read_text("signal"));
}

TEST_F(Observables, TheDensityBufferHoldsTheLastMatrix)
{
    prepare({{1}, {}, {25.0}}, 3);
    generate(8, 0.1, 0.0, "signal");
    EXPECT_EQ(packed(2, rt.densmat)[1], 3.0 * packed(2, rt.Iytot)[1]);
}

TEST_F(Observables, BadArgumentsGiveNoSignalAndNoMessage)
{
    prepare({{1}}, 1);
    expect_no_signal(generate(8, 0.1, 0.0, "signal", nullptr, nullptr), "", "");
    expect_no_signal(generate(0, 0.1, 0.0, "signal"), "", "");
    expect_no_signal(generate(-1, 0.1, 0.0, "signal"), "", "");
    expect_no_signal(generate(8, 0.0, 0.0, "signal"), "", "");
    expect_no_signal(generate(8, -0.1, 0.0, "signal"), "", "");
}

TEST_F(Observables, AMissingDensityFileIsReported)
{
    prepare({{1}}, 1);
    std::filesystem::remove("dm.bin");
    expect_no_signal(generate(8, 0.1, 0.0, "signal"), "", missing_file_message("fopen(dm.bin)"));
}

TEST_F(Observables, ASignalFileOrAnotherDimensionIsRefused)
{
    prepare({{1}}, 1);
    write_densities("dm.bin", {1, 2, 1, std::vector<Complex>(4)});
    expect_no_signal(generate(8, 0.1, 0.0, "signal"),
                     "dm.bin header mismatch: ftype=1 fn=2 expected n=2\n", "");
    write_densities("dm.bin", {0, 3, 1, std::vector<Complex>(9)});
    expect_no_signal(generate(8, 0.1, 0.0, "signal"),
                     "dm.bin header mismatch: ftype=0 fn=3 expected n=2\n", "");
}

TEST_F(Observables, OnlyTypeOneIsNoDensityFile)
{
    prepare({{1}}, 2);
    DensityFile dm = read_densities("dm.bin");
    dm.type = 5;
    write_densities("dm.bin", dm);
    EXPECT_EQ(generate(8, 0.1, 0.0, "signal").time, 0.1);
}

TEST_F(Observables, ASignalFileThatCannotBeOpenedIsReported)
{
    prepare({{1}}, 1);
    expect_no_signal(generate(8, 0.1, 0.0, "absent/signal"), "",
                     missing_file_message("fopen(signal output)"));
}

TEST_F(Observables, ACutDensityFileKeepsTheTracesBefore)
{
    prepare({{1}}, 3);
    std::filesystem::resize_file("dm.bin", 12 + 2 * 64 + 10);
    const Answer a = generate(4, 0.1, 0.0, "signal");
    EXPECT_EQ(a.time, 0.1);
    EXPECT_EQ(a.out, ">>> READ BINARY FILE ERROR (dm.bin) <<<\n");
    const std::string bytes = read_text("signal");
    ASSERT_EQ(bytes.size(), 12u + 2 * 4 * 16); // the header promises three
    int32_t header[3];
    std::memcpy(header, bytes.data(), sizeof header);
    EXPECT_EQ(header[2], 3);
}

TEST_F(Observables, AMultipleOfTheIdentityIsNotHeard)
{
    prepare({{1, 2}, {}, {10, 20}, 2, {{1, 2, 7}}}, 2);
    DensityFile dm = {0, 6, 2, std::vector<Complex>(72)};
    for (size_t i = 0; i < 6; i++)
        dm.rho[i * 7] = dm.rho[36 + i * 7] = 3.25;
    write_densities("dm.bin", dm);
    generate(16, 0.1, 5.0, "signal");
    for (const Complex &v : read_signal("signal").values)
        EXPECT_LE(std::abs(v), 1e-13);
}

// ------------------------------------------------------------------ one trace

TEST_F(Observables, ASingleSampleIsTakenAtTheStart)
{
    prepare({{1}, {}, {1e6}}, 1);
    double re = 9.0, im = 9.0;
    CopyCMatrix(2, &rt.Iytot, &rt.densmat);
    build_direct_observable_signal(2, 1, 123.0, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &re,
                                   &im);
    EXPECT_EQ(re, 0.0);
    EXPECT_EQ(im, 0.5);
}

TEST_F(Observables, NoSamplesWriteNothing)
{
    prepare({{1}}, 1);
    double re = 9.0, im = 9.0;
    build_direct_observable_signal(2, 0, 1.0, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &re,
                                   &im);
    EXPECT_EQ(re, 9.0);
    EXPECT_EQ(im, 9.0);
}

TEST_F(Observables, TheTraceFollowsItsHamiltonianAndKeepsTheDensityMatrix)
{
    // rho(t) = exp(-i·H·t)·rho·exp(i·H·t) with the matrix as it is given: Iy turns to -Ix.
    prepare({{1}, {}, {40.0}}, 1);
    CopyCMatrix(2, &rt.Iytot, &rt.densmat);
    const std::vector<Complex> before = packed(2, rt.densmat);
    double re[10], im[10];
    build_direct_observable_signal(2, 10, 0.05, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, re,
                                   im);
    for (int k = 0; k < 10; k++) {
        const double phase = TWO_PI * 40.0 * k * 0.005;
        EXPECT_NEAR(re[k], -0.5 * std::sin(phase), 1e-13) << k;
        EXPECT_NEAR(im[k], 0.5 * std::cos(phase), 1e-13) << k;
    }
    EXPECT_EQ(packed(2, rt.densmat), before);
}

// ------------------------------------------------------------------ from lines and eigenbasis

TEST_F(Observables, ASignalFromLinesEndsAtTheAcquisitionTime)
{
    static LineList csp, ssp;
    csp[1][1] = 0.5;
    csp[2][1] = 3.0;
    csp[1][2] = -1.0;
    csp[2][2] = 1.0;
    ssp[1][1] = 2.0;
    ssp[2][1] = 7.0;
    double out[5];
    build_scalar_signal_from_spectrum(5, 0.2, csp, 2, ssp, 1, out);
    for (int k = 0; k < 5; k++) {
        const double t = TWO_PI * k * 0.05;
        EXPECT_NEAR(out[k], 0.5 * std::cos(3 * t) - std::cos(t) + 2 * std::sin(7 * t), 1e-14) << k;
    }
    build_scalar_signal_from_spectrum(1, 0.2, csp, 1, ssp, 1, out);
    EXPECT_EQ(out[0], 0.5);
    out[0] = 9.0;
    build_scalar_signal_from_spectrum(0, 0.2, csp, 1, ssp, 1, out);
    EXPECT_EQ(out[0], 9.0);
}

TEST_F(Observables, TheEigenbasisSignalRunsBackwardsToTheEnd)
{
    prepare({{1, 1}, {}, {25.0, -13.0}, 2, {{1, 2, 8.0}}}, 1);
    CopyCMatrix(4, &rt.Iytot, &rt.densmat);
    static CMatrix minus_H;
    RMultCMat(4, -1.0, &rt.Istat, &minus_H);
    double re[9], im[9], direct_re[9], direct_im[9];
    const Console c = captured([&] {
        build_complex_receiver_signal(4, 9, 0.08, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, re,
                                      im);
    });
    EXPECT_EQ(count_of(c.out, "ZAN receiver transition list (complex FID synthesis)\n"), 1);
    EXPECT_EQ(lines_with(c.out, " 0.000000000000e+00").size() > 0, true);
    // 8 intervals of 0.01 s, as the direct form makes them of 9 samples in 0.09 s.
    build_direct_observable_signal(4, 9, 0.09, &rt.densmat, &minus_H, &rt.Ixtot, &rt.Iytot,
                                   direct_re, direct_im);
    for (int k = 0; k < 9; k++) {
        EXPECT_NEAR(re[k], direct_re[k], 1e-12) << k;
        EXPECT_NEAR(im[k], direct_im[k], 1e-12) << k;
    }
}

TEST_F(Observables, OneEigenbasisSampleIsTakenAtTheStart)
{
    prepare({{1}, {}, {25.0}}, 1);
    CopyCMatrix(2, &rt.Iytot, &rt.densmat);
    double re = 9.0, im = 9.0;
    ZAN_SetSmokeCheckMode(1);
    const Console c = captured([&] {
        build_complex_receiver_signal(2, 1, 123.0, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot,
                                      &re, &im);
    });
    EXPECT_EQ(c.out, "");
    EXPECT_NEAR(re, 0.0, 1e-15);
    EXPECT_NEAR(im, 0.5, 1e-15);
}

TEST_F(Observables, ATraceOfAnyLengthIsWrittenWhole)
{
    for (const int points : {1, 255, 256, 257, 1000}) {
        std::vector<double> re, im, expected;
        for (int k = 0; k < points; k++) {
            re.push_back(k + 0.25);
            im.push_back(-k - 0.5);
            expected.insert(expected.end(), {k + 0.25, -k - 0.5});
        }
        FILE *out = std::fopen("trace", "wb");
        EXPECT_TRUE(write_signal_trace(out, points, re.data(), im.data()));
        std::fclose(out);
        EXPECT_EQ(read_text("trace"), std::string(reinterpret_cast<const char *>(expected.data()),
                                                  expected.size() * sizeof(double)))
            << points;
    }
}

TEST_F(Observables, ATraceIsWrittenWithoutWhatIsNoNumber)
{
    const double re[] = {1.0, std::nan(""), 3.0}, im[] = {-1.0, 2.0, HUGE_VAL};
    FILE *out = std::fopen("trace", "wb");
    EXPECT_TRUE(write_signal_trace(out, 3, re, im));
    for (const double *missing : {re, im})
        EXPECT_TRUE(
            write_signal_trace(out, 3, missing == re ? nullptr : re, missing == im ? nullptr : im));
    std::fclose(out);
    EXPECT_TRUE(write_signal_trace(nullptr, 3, re, im));
    const double expected[] = {1.0, -1.0, 0.0, 2.0, 3.0, 0.0};
    EXPECT_EQ(read_text("trace"),
              std::string(reinterpret_cast<const char *>(expected), sizeof expected));
}

// ------------------------------------------------------------------ tables

TEST_F(Observables, OneTracePrintsItsTables)
{
    prepare({{1}, {}, {25.0}}, 1);
    EXPECT_EQ(generate(4, 0.1, 0.0, "signal").out,
              "\nZAN ADC-start per-spin transverse expectations\n"
              "  columns: spin  <Ix>_re  <Iy>_re\n"
              "   1   0.000000000000e+00   7.071067811865e-01\n"
              "\nZAN legacy DoSpectrum component list: Ix absorption channel\n"
              "  COS components: amplitude * cos(2*pi*frequency_hz*t)\n"
              "  SIN components: amplitude * sin(2*pi*frequency_hz*t)\n"
              "     5.000000000000e-01   25\n"
              "\nZAN legacy DoSpectrum component list: Iy dispersion channel\n"
              "  COS components: amplitude * cos(2*pi*frequency_hz*t)\n"
              "     5.000000000000e-01   25\n"
              "  SIN components: amplitude * sin(2*pi*frequency_hz*t)\n");
}

TEST_F(Observables, SeveralTracesPrintNoTables)
{
    prepare({{1}, {}, {25.0}}, 2);
    EXPECT_EQ(generate(4, 0.1, 0.0, "signal").out, "");
}

TEST_F(Observables, SmokeCheckModePrintsNoTables)
{
    prepare({{1}, {}, {25.0}}, 1);
    ZAN_SetSmokeCheckMode(1);
    const Answer a = generate(4, 0.1, 0.0, "signal");
    EXPECT_EQ(a.out + a.err, "");
    EXPECT_EQ(a.time, 0.1);
    static LineList lines;
    const Console console = captured([] {
        print_legacy_spectrum_component_diagnostics("label", lines, lines, 1, 1);
        print_adc_start_transverse_expectations(rt.n, &rt.densmat, rt.ket, rt.Ilist);
    });
    EXPECT_EQ(console.out, "");
}

TEST_F(Observables, TheTransitionTableListsLinesAndGroupsThem)
{
    // E = 0, 10, 10.04, 30 Hz; only the elements (r, c) of the receiver with (c, r) of rho count.
    static CMatrix rho, rec;
    const double eigval[5] = {0.0, 0.0, TWO_PI * 10.0, TWO_PI * 10.04, TWO_PI * 30.0};
    CMatZero(4, &rho);
    CMatZero(4, &rec);
    rec[2][1][COMPLEX_RE] = rec[3][1][COMPLEX_RE] = rec[1][4][COMPLEX_RE] = 1.0;
    rec[1][1][COMPLEX_RE] = rec[4][2][COMPLEX_RE] = 1.0;
    rho[1][2][COMPLEX_RE] = 0.5;
    rho[1][3][COMPLEX_IM] = 0.5;
    rho[4][1][COMPLEX_RE] = -2.0;
    rho[1][1][COMPLEX_RE] = 0.25;
    rho[2][4][COMPLEX_RE] = 1e-10;
    const Console c =
        captured([&] { print_receiver_transition_diagnostics(4, &rho, &rec, eigval); });
    EXPECT_EQ(
        c.out,
        "\nZAN receiver transition list (complex FID synthesis)\n"
        "  columns: r c  frequency_hz  amplitude_re  amplitude_im  magnitude  phase_deg\n"
        "   1  1   0   2.500000000000e-01   0.000000000000e+00  2.500000000000e-01  0.000000\n"
        "   1  4   30  -2.000000000000e+00   0.000000000000e+00  2.000000000000e+00  "
        "180.000000\n"
        "   2  1  -10   5.000000000000e-01   0.000000000000e+00  5.000000000000e-01  0.000000\n"
        "   3  1  -10.04   0.000000000000e+00   5.000000000000e-01  5.000000000000e-01  "
        "90.000000\n"
        "ZAN receiver transition aggregate by frequency (tol 0.05 Hz)\n"
        "  columns: frequency_hz  amplitude_re  amplitude_im  magnitude  phase_deg\n"
        "  -10.04   5.000000000000e-01   5.000000000000e-01  7.071067811865e-01  45.000000\n"
        "   0   2.500000000000e-01   0.000000000000e+00  2.500000000000e-01  0.000000\n"
        "   30  -2.000000000000e+00   0.000000000000e+00  2.000000000000e+00  180.000000\n");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(captured([&] { print_receiver_transition_diagnostics(4, &rho, &rec, eigval); }).out,
              "");
}

TEST_F(Observables, LineTablesListAmplitudeThenFrequency)
{
    static LineList csp, ssp;
    csp[1][1] = 0.25;
    csp[2][1] = 123.456789012345;
    csp[1][2] = -1.0;
    csp[2][2] = 0.5;
    ssp[1][1] = 1e-9;
    ssp[2][1] = 1e7;
    const Console console =
        captured([] { print_legacy_spectrum_component_diagnostics("100%", csp, ssp, 2, 1); });
    EXPECT_EQ(console.out, "\nZAN legacy DoSpectrum component list: 100%\n"
                           "  COS components: amplitude * cos(2*pi*frequency_hz*t)\n"
                           "     2.500000000000e-01   123.456789012\n"
                           "    -1.000000000000e+00   0.5\n"
                           "  SIN components: amplitude * sin(2*pi*frequency_hz*t)\n"
                           "     1.000000000000e-09   10000000\n");
}

TEST_F(Observables, TheTransverseTableListsEverySpinWithUnitNorm)
{
    build_spins({{1, 0, 2}});
    CMatrix &rho = rt.densmat;
    MakeMatrixIx(rt.Ilist, rt.ket, rt.n, 3, &rho);
    const Console console = captured(
        [] { print_adc_start_transverse_expectations(rt.n, &rt.densmat, rt.ket, rt.Ilist); });
    // Tr(Ix·Ix) of a spin 1 beside a spin 1/2 is 2·2; the position without spin hears nothing.
    EXPECT_EQ(console.out, "\nZAN ADC-start per-spin transverse expectations\n"
                           "  columns: spin  <Ix>_re  <Iy>_re\n"
                           "   1   0.000000000000e+00   0.000000000000e+00\n"
                           "   2   0.000000000000e+00   0.000000000000e+00\n"
                           "   3   2.000000000000e+00   0.000000000000e+00\n");
}

TEST_F(Observables, MoreThan64StatesSkipTheLineLists)
{
    prepare({std::vector<int>(7, 1)}, 1);
    const Console console = captured([] {
        double re[2], im[2];
        build_legacy_separate_spectra_signal(128, 2, 0.1, &rt.densmat, &rt.Istat, &rt.Ixtot,
                                             &rt.Iytot, re, im, true);
    });
    EXPECT_EQ(console.out,
              "\nZAN legacy DoSpectrum diagnostics skipped for n=128 (>64).\n"
              "Direct density-matrix FID propagation is still used for receiver export.\n");
}

TEST_F(Observables, WithoutDiagnosticsATraceIsSilent)
{
    prepare({{1}}, 1);
    const Console console = captured([] {
        double re[2], im[2];
        build_legacy_separate_spectra_signal(2, 2, 0.1, &rt.densmat, &rt.Istat, &rt.Ixtot,
                                             &rt.Iytot, re, im, false);
    });
    EXPECT_EQ(console.out + console.err, "");
}

// ------------------------------------------------------------------ slow band split

TEST_F(Observables, ASplitOfSeveralTracesIsSkippedWithANotice)
{
    prepare({{1}}, 2);
    ZANSlowBandSplitConfig slow = {};
    slow.enabled = 1;
    EXPECT_EQ(generate(4, 0.1, 0.0, "signal", &slow).out,
              "SLOW multiplet-resolved export skipped for 2 traces; complete receiver signal is "
              "still written.\n");
    EXPECT_EQ(read_signal("signal").traces, 2);
    slow.enabled = 0;
    EXPECT_EQ(generate(4, 0.1, 0.0, "signal", &slow).out, "");
    slow.enabled = 1;
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(generate(4, 0.1, 0.0, "signal", &slow).out, "");
}
