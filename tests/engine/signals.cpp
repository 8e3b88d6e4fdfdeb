// signals.cpp - receiver signals of one, two and three spins against closed formulas, in all
// their forms; the spectra made of them; the sum of all multiplets.
//
// The density matrix is Iy, every spin heard with unit norm (a spin of intensity 1 counts 1).

#include "console.h"
#include "engine_fixture.h"

#include "observablespectrumcalculator.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

using Signals = EngineTest;

namespace
{

// amplitude·exp(-2·pi·i·frequency·t)
struct Line {
    double frequency; // Hz
    Complex amplitude;
};

typedef std::vector<Line> Lines;

struct System {
    const char *name;
    SpinSystem spins;
    Lines lines; // of the state Iy
};

const Complex I(0, 1);

Complex sum_of(const Lines &lines, double t)
{
    Complex sum = 0.0;
    for (const Line &line : lines)
        sum += line.amplitude * std::polar(1.0, -TWO_PI * line.frequency * t);
    return sum;
}

// A spin at nu with partners that couple weakly: every partner splits the line.
void add_multiplet(double nu, const std::vector<double> &couplings, Lines *lines)
{
    const unsigned count = 1u << couplings.size();
    for (unsigned states = 0; states < count; states++) {
        double shift = 0.0;
        for (size_t p = 0; p < couplings.size(); p++)
            shift += (states >> p & 1 ? 0.5 : -0.5) * couplings[p];
        lines->push_back({nu + shift, I / (double)count});
    }
}

System one_spin(void)
{
    return {"one spin", {{1}, {}, {42.0}}, {{42.0, I}}};
}

System ax(void)
{
    System s = {"AX", {{1, 1}, {}, {60.0, -35.0}, 1, {{1, 2, 9.0}}}, {}};
    add_multiplet(60.0, {9.0}, &s.lines);
    add_multiplet(-35.0, {9.0}, &s.lines);
    return s;
}

// Inner lines at half the sum of D and -J, outer ones at half the sum of D and J.
System ab(void)
{
    const double a = 18.0, b = -6.0, J = 11.0, mean = 0.5 * (a + b), D = std::hypot(a - b, J);
    const Complex inner = 0.5 * I * (1 + J / D), outer = 0.5 * I * (1 - J / D);
    return {"AB",
            {{1, 1}, {}, {a, b}, 2, {{1, 2, J}}},
            {{mean + 0.5 * (D - J), inner},
             {mean - 0.5 * (D - J), inner},
             {mean + 0.5 * (D + J), outer},
             {mean - 0.5 * (D + J), outer}}};
}

System amx(void)
{
    System s = {"AMX",
                {{1, 1, 1}, {}, {80.0, 10.0, -70.0}, 1, {{1, 2, 12.0}, {1, 3, 3.0}, {2, 3, -5.0}}},
                {}};
    add_multiplet(80.0, {12.0, 3.0}, &s.lines);
    add_multiplet(10.0, {12.0, -5.0}, &s.lines);
    add_multiplet(-70.0, {3.0, -5.0}, &s.lines);
    return s;
}

// Two spins of the same offset, fully coupled to each other, and a third one: their own coupling
// is not seen.
System a2x(void)
{
    System s = {"A2X", {{1, 1, 1}, {}, {25.0, 25.0, -50.0}, 2, {{1, 2, 13.0}}}, {}};
    add_multiplet(25.0, {}, &s.lines);
    add_multiplet(25.0, {}, &s.lines);
    add_multiplet(-50.0, {}, &s.lines);
    return s;
}

std::vector<System> all_systems(void)
{
    return {one_spin(), ax(), ab(), amx(), a2x()};
}

CMatrix rho, Hmat;

// The state in which every spin has Iy of unit norm, and the receiver with its offset.
void prepare(const SpinSystem &system, double offset_hz)
{
    build_spins(system);
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    zan_build_transverse_totals(1);
    CopyCMatrix(rt.n, &rt.Iytot, &rho);
    RMultCMat(rt.n, TWO_PI * offset_hz, &rt.Iztot, &Hmat);
    CMatAdd(rt.n, &rt.Istat, &Hmat, &Hmat);
    RMultCMat(rt.n, -1.0, &Hmat, &Hmat);
    write_densities("dm.bin", {0, rt.n, 1, packed(rt.n, rho)});
}

typedef std::vector<std::vector<double>> Table;

Table csv(const std::string &path)
{
    Table rows;
    std::istringstream in(read_text(path));
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            rows.back().push_back(std::strtod(cell.c_str(), nullptr));
    }
    return rows;
}

} // namespace

// Samples at k·(time/samples).
TEST_F(Signals, TheDirectSignalIsThatOfTheClosedFormula)
{
    const double offset = 7.0, time = 0.3;
    for (const System &s : all_systems()) {
        prepare(s.spins, offset);
        double re[64], im[64];
        build_direct_observable_signal(rt.n, 64, time, &rho, &Hmat, &rt.Ixtot, &rt.Iytot, re, im);
        for (int k = 0; k < 64; k++) {
            const double t = k * time / 64;
            const Complex expected = sum_of(s.lines, t) * std::polar(1.0, -TWO_PI * offset * t);
            EXPECT_LE(std::abs(Complex(re[k], im[k]) - expected), 1e-11) << s.name << " " << k;
        }
    }
}

// Samples at k·(time/(samples - 1)), and every frequency with the opposite sign.
TEST_F(Signals, TheEigenbasisSignalIsThatOfTheClosedFormulaBackwards)
{
    const double time = 0.3;
    ZAN_SetSmokeCheckMode(1);
    for (const System &s : all_systems()) {
        prepare(s.spins, 0.0);
        double re[64], im[64];
        build_complex_receiver_signal(rt.n, 64, time, &rho, &Hmat, &rt.Ixtot, &rt.Iytot, re, im);
        for (int k = 0; k < 64; k++)
            EXPECT_LE(std::abs(Complex(re[k], im[k]) - sum_of(s.lines, -k * time / 63)), 1e-9)
                << s.name << " " << k;
    }
}

// The line lists of both channels, samples at k·(time/(samples - 1)). Lines within 0.05 Hz are
// merged, so the systems have none closer than that.
TEST_F(Signals, TheSignalOfTheLineListsIsThatOfTheClosedFormula)
{
    const double time = 0.3;
    static LineList csp, ssp;
    for (const System &s : all_systems()) {
        prepare(s.spins, 0.0);
        double channel[2][64];
        const CMatrix *const observables[2] = {&rt.Ixtot, &rt.Iytot};
        for (int c = 0; c < 2; c++) {
            int Nc = 0, Ns = 0;
            DoSpectrum(rt.n, &rho, &Hmat, observables[c], csp, ssp, &Nc, &Ns);
            build_scalar_signal_from_spectrum(64, time, csp, Nc, ssp, Ns, channel[c]);
        }
        for (int k = 0; k < 64; k++)
            EXPECT_LE(
                std::abs(Complex(channel[0][k], channel[1][k]) - sum_of(s.lines, k * time / 63)),
                1e-7)
                << s.name << " " << k;
    }
}

// The identity behind the line lists: Re Tr(O·rho(t)) of any state and observable of up to three
// spins is their sum of cosines and sines.
TEST_F(Signals, LineListsOfRandomStatesGiveThePropagatedSignal)
{
    std::mt19937 random(4);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    static LineList csp, ssp;
    static CMatrix O;
    for (int n : {2, 4}) {
        build_spins({std::vector<int>(n == 2 ? 1 : 2, 1),
                     {},
                     n == 2 ? std::vector<double>{31.0} : std::vector<double>{31.0, -12.0},
                     2,
                     n == 2 ? std::vector<Coupling>{} : std::vector<Coupling>{{1, 2, 9.0}}});
        CMatAdd(n, &rt.Izee, &rt.Icoup, &Hmat);
        for (CMatrix *A : {&rho, &O})
            for (int r = 1; r <= n; r++)
                for (int c = r; c <= n; c++) {
                    (*A)[r][c][COMPLEX_RE] = (*A)[c][r][COMPLEX_RE] = uniform(random);
                    (*A)[r][c][COMPLEX_IM] = r == c ? 0.0 : uniform(random);
                    (*A)[c][r][COMPLEX_IM] = -(*A)[r][c][COMPLEX_IM];
                }
        double lines[16], re[16], im[16];
        int Nc = 0, Ns = 0;
        DoSpectrum(n, &rho, &Hmat, &O, csp, ssp, &Nc, &Ns);
        build_scalar_signal_from_spectrum(16, 0.15, csp, Nc, ssp, Ns, lines);
        build_direct_observable_signal(n, 16, 0.16, &rho, &Hmat, &O, &O, re, im);
        // What does not oscillate is no line.
        for (int k = 1; k < 16; k++)
            EXPECT_NEAR(lines[k] - lines[0], re[k] - re[0], 1e-10) << n << " " << k;
    }
}

// ------------------------------------------------------------------ spectra

// A whole number of periods: every line falls on one point of the spectrum, at minus its offset
// because the transform is exp(-2·pi·i·m·k/samples).
TEST_F(Signals, TheCsvSpectrumHasEveryLineAtMinusItsOffset)
{
    const System s = ax(); // 64.5, 55.5, -30.5, -39.5 Hz
    prepare(s.spins, 0.0);
    int points = 512;
    feed_stdin("512\n2\n0\n2\nax\nn\n");
    captured([&] {
        SeparateSpectra(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                        rt.ket, rt.Ilist);
    });
    const Table td = csv("ax_td.csv"), fd = csv("ax_fd.csv");
    ASSERT_EQ(td.size(), 512u);
    ASSERT_EQ(fd.size(), 512u);
    // The table's times are stretched: the last one is the acquisition time.
    EXPECT_EQ(td[511][0], 2.0);
    const double df = 511.0 / 512.0 / 2.0;
    for (size_t r = 0; r < 512; r++) {
        const double offset = -0.5 * ((double)r - 256.0); // Hz
        Complex expected = 0.0;
        for (const Line &line : s.lines)
            if (std::fabs(line.frequency - offset) < 0.1)
                expected += 512.0 * line.amplitude;
        EXPECT_DOUBLE_EQ(fd[r][0], ((double)r - 256.0) * df);
        EXPECT_NEAR(fd[r][2], expected.real(), 1e-8) << r;
        EXPECT_NEAR(fd[r][3], expected.imag(), 1e-8) << r;
        EXPECT_NEAR(fd[r][8], std::abs(expected), 1e-8) << r;
    }
}

// An evolution at +20 Hz, heard at +20 Hz: the phase of the evolution is in the signal.
TEST_F(Signals, TheTwoDimensionalSpectrumHasALineAtItsOffsetInBothDimensions)
{
    set_spins({{1}, {}, {20.0}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(2, delay(), 32, 0.005);
    feed_stdin("64\n0.4\n0\n2\n0\n");
    const Console c = captured(SimulateLoaded2DPulseSequence);
    EXPECT_NE(c.out.find("\n2D spectrum of 64 samples x 32 traces written to spectra.bin\n"
                         "  samples : 160 Hz wide, 2.5 Hz per point\n"
                         "  traces  : 200 Hz wide, 6.25 Hz per point\n"
                         "Largest peaks:\n"
                         "  samples [Hz]    traces [Hz]      magnitude\n"
                         "            20          18.75 "),
              std::string::npos)
        << c.out;
}

// ------------------------------------------------------------------ multiplets

namespace
{

// The complete signal and the sum of all its multiplets, as a run writes them.
void expect_multiplets_add_up(const SpinSystem &system, int files, double tolerance)
{
    set_spins(system);
    rt.nos = 0;
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12, 0.0,
                  "slowEdit[sech offsetHz=120 mu=4 beta=800 durationMs=10]");
    add_2d_sector(1, constant_waveform(256, 0, 0), 1, 0.5, 0.0, "ADC");
    for (const auto &entry : std::filesystem::directory_iterator("."))
        if (entry.path().extension() == ".bin" &&
            entry.path().string().find("Hz]") != std::string::npos)
            std::filesystem::remove(entry.path());
    set_result("s_td.bin");
    const Console c = captured(SimulateLoaded2DPulseSequence);
    const SignalFile whole = read_signal("s_td.bin");
    ASSERT_EQ(whole.samples, 256) << c.out << c.err;
    std::vector<Complex> sum(256);
    int found = 0;
    for (const auto &entry : std::filesystem::directory_iterator("."))
        if (entry.path().string().find("Hz]_td.bin") != std::string::npos) {
            const SignalFile part = read_signal(entry.path().string());
            ASSERT_EQ(part.samples, 256);
            for (size_t k = 0; k < 256; k++)
                sum[k] += part.values[k];
            found++;
        }
    EXPECT_EQ(found, files);
    EXPECT_LE(largest_difference(whole.values.data(), sum.data(), 256), tolerance);
}

} // namespace

TEST_F(Signals, AllMultipletsAddUpToTheCompleteSignal)
{
    const int files[] = {1, 2, 2, 3, 2};
    int i = 0;
    for (const System &s : all_systems())
        expect_multiplets_add_up(s.spins, files[i++], 1e-9);
}

// Seven spins are 128 states, more than hermit takes: the accurate eigensolver splits them.
TEST_F(Signals, MultipletsOfManySpinsAddUpToo)
{
    expect_multiplets_add_up({{1, 1, 1, 1, 1, 1, 1},
                              {},
                              {100.0, 103.0, 60.0, 20.0, -20.0, -60.0, -63.0},
                              2,
                              {{1, 3, 7.0}, {2, 3, 6.0}, {3, 4, 8.0}, {4, 5, 9.0}, {6, 7, -12.0}}},
                             5, 1e-9);
}
