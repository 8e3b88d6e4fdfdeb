// zan_optimizer and zan_minimiser - the objective's texts and rules, the steps of the gradient, the
// line search, the report of a search, and the dialog for a single pulse.

#include "console.h"
#include "engine_fixture.h"
#include "fake_gnuplot.h"
#include "matrices.h"
#include "memory.h"

#include "platformlib.h"
#include "rfpulselib.h"
#include "rfpulseparam.h"
#include "zanoptseq.h"

#include <algorithm>
#include <cmath>
#include <csignal>

using Optimizer = EngineTest;

namespace
{

// One spin on resonance, from z to y by a pulse of 8 samples about x that is too weak.
void set_up_rotation(int groups = 1)
{
    build_spins({{1}});
    CopyCMatrix(rt.n, &rt.densmat, &rt.Istat);
    NormCMatrix(rt.n, &rt.Istat);
    CopyCMatrix(rt.n, &rt.Iytot, &rt.Istat);
    NormCMatrix(rt.n, &rt.Istat);
    set_sector_at_hand(constant_waveform(8, 300.0, 0.0), 1e-3);
    rt.npar = 4 * groups;
    ZANOptimizationTakeStartPulse();
}

double quiet(double (*objective)(double), double x)
{
    double value = 0.0;
    captured([&] { value = objective(x); });
    return value;
}

double quiet_fnc(const double *p)
{
    double value = 0.0;
    captured([&] { value = fnc(p); });
    return value;
}

double number_after(const std::string &text, const std::string &label)
{
    const size_t at = text.rfind(label);
    return at == std::string::npos ? NAN : std::atof(text.c_str() + at + label.size());
}

Console optimize(const std::string &typed)
{
    feed_stdin(typed);
    return captured([] { StartOptimization(); });
}

const std::string OBJECTIVE = "Objective used by optimizer  : ";

} // namespace

// ------------------------------------------------------------------ objective

TEST_F(Optimizer, TheObjectivePrintsTwoLinesAndIsTheNegativeRealPart)
{
    set_up_rotation();
    CopyCMatrix(rt.n, &rt.densmat, &rt.Istat);
    std::fill(rt.par, rt.par + 4, 0.0);
    set_sector_at_hand(constant_waveform(8, 0.0, 0.0), 1e-3);
    double value = 0.0;
    const Console console = captured([&] { value = fnc(rt.par); });
    EXPECT_DOUBLE_EQ(value, -1.0);
    EXPECT_EQ(console.out,
              "Expectation Value <O>        : 1.000000000000e+00 + i 0.000000000000e+00\n"
              "Objective used by optimizer  : -1.000000000000e+00  (= -Re <O>)\n\n");
}

TEST_F(Optimizer, AnExpectationOfZeroIsMinusZero)
{
    set_up_rotation();
    CMatZero(rt.n, &rt.Istat);
    const Console console = captured([] { EXPECT_TRUE(std::signbit(fnc(rt.par))); });
    EXPECT_EQ(count_of(console.out, OBJECTIVE + "-0.000000000000e+00  (= -Re <O>)\n\n"), 1);
}

TEST_F(Optimizer, ThePreparedSectorsModeIsNamedInTheSecondLine)
{
    set_up_rotation();
    ZANOptimizationResetContext();
    ZANOptimizationUseCurrentRuntimeDefaults();
    ZANOptimizationSetObjectiveMode(1);
    rt.optsector = 1;
    EXPECT_EQ(count_of(captured([] { fnc(rt.par); }).out, "  (= -|<O>|)\n\n"), 1);
    ZANOptimizationSetObjectiveMode(0);
    EXPECT_EQ(count_of(captured([] { fnc(rt.par); }).out, "  (= -Re <O>)\n\n"), 1);
}

// The context that a single pulse leaves behind holds the static offset of some earlier sector.
TEST_F(Optimizer, WithoutAPreparedSectorTheContextDoesNotCount)
{
    set_up_rotation();
    const double plain = quiet_fnc(rt.par);
    rt.statoff_s = 1000.0;
    ZANOptimizationUseCurrentRuntimeDefaults();
    EXPECT_EQ(quiet_fnc(rt.par), plain);
    rt.optsector = 1;
    EXPECT_GT(std::fabs(quiet_fnc(rt.par) - plain), 1e-3);
    rt.optsector = 0;
    rt.gs = 500.0;
    rt.x0_s = 2.0;
    EXPECT_GT(std::fabs(quiet_fnc(rt.par) - plain), 1e-3);
}

TEST_F(Optimizer, TheObjectiveLeavesTheDensityMatrixAlone)
{
    static CMatrix before;
    set_up_rotation();
    CopyCMatrix(rt.n, &rt.densmat, &before);
    quiet_fnc(rt.par);
    EXPECT_TRUE(same_elements(rt.n, rt.densmat, before));
}

TEST_F(Optimizer, WhatIsNoNumberIsWorseThanAnything)
{
    set_up_rotation();
    for (const double bad : {(double)NAN, (double)INFINITY, -(double)INFINITY}) {
        rt.par[0] = bad;
        const double value = quiet_fnc(rt.par);
        EXPECT_TRUE(std::isfinite(value));
        EXPECT_GT(value, 1e100);
        set_sector_at_hand(constant_waveform(8, 300.0, 0.0), 1e-3);
    }
}

// ------------------------------------------------------------------ start parameters

TEST_F(Optimizer, CoefficientsThatAreRoundingBecomeZero)
{
    set_up_rotation(3);
    rt.npar = 12;
    for (int i = 0; i < 8; i++) {
        rt.xb[i] = 1000.0 + 1e-10 * std::cos(TWO_PI * i / 8.0); // 1e-13 of the largest
        rt.yb[i] = 1e-6 * std::cos(TWO_PI * i / 8.0);           // 1e-9 of it
    }
    ZANOptimizationTakeStartPulse();
    EXPECT_NE(rt.par[0], 0.0);
    EXPECT_EQ(rt.par[2], 0.0);
    EXPECT_NE(rt.par[8], 0.0);
}

TEST_F(Optimizer, GroupsOfFourAreHeldAtTheRangeOfAnInt)
{
    EXPECT_EQ(zan_parameters_of_groups(10), 40);
    EXPECT_EQ(zan_parameters_of_groups(-1), -4);
    EXPECT_EQ(zan_parameters_of_groups(INT32_MAX), INT32_MAX);
    EXPECT_EQ(zan_parameters_of_groups(INT32_MIN), INT32_MIN);
}

// ------------------------------------------------------------------ gradient

// A step of 1e5 s makes the objective bend within a step of the gradient, so that the quotient
// tells which step was taken.
TEST_F(Optimizer, TheGradientStepsInProportionToItsParameter)
{
    set_up_rotation();
    set_sector_at_hand(constant_waveform(8, 0.0, 0.0), 8e5);
    const double p[4] = {2.0, 0.0, -3.0, 0.0}, step[4] = {2.0 / 1e7, 1e-7, -3.0 / 1e7, 1e-7};
    double grad[4];
    const double f0 = quiet_fnc(p);
    const Console console = captured([&] { dfnc(f0, p, 4, grad); });
    EXPECT_EQ(count_of(console.out, OBJECTIVE), 4);
    for (int i = 0; i < 4; i++) {
        const auto quotient = [&](double s) {
            double trial[4];
            std::copy(p, p + 4, trial);
            trial[i] += s;
            return (quiet_fnc(trial) - f0) / s;
        };
        const double expected = quotient(step[i]);
        EXPECT_NEAR(grad[i], expected, 1e-7 * std::fabs(expected)) << i;
        EXPECT_GT(std::fabs(quotient(0.7 * step[i]) - expected), 1e-6 * std::fabs(expected)) << i;
    }
}

TEST_F(Optimizer, MoreParametersThanTheScratchHoldsGetTheirOwn)
{
    set_up_rotation();
    std::vector<double> p(200, 1.0), grad(200, 7.0);
    captured([&] { dfnc(fnc(p.data()), p.data(), 200, grad.data()); });
    EXPECT_NE(grad[199], 7.0);
}

// ------------------------------------------------------------------ line search

TEST_F(Optimizer, ALineOfNoUsableLengthIsTheParametersThemselves)
{
    set_up_rotation();
    rt.pcom[0] = rt.xicom[0] = 1000.0;
    const double at_par = quiet_fnc(rt.par);
    for (const int length : {0, -1, 161}) {
        rt.zan_ncom = length;
        EXPECT_EQ(quiet(func, 1.0), at_par) << length;
    }
    rt.zan_ncom = 4;
    const double on_line[4] = {3000.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(quiet(func, 2.0), quiet_fnc(on_line));
}

TEST_F(Optimizer, ABracketHoldsAMinimum)
{
    set_up_rotation();
    rt.zan_ncom = 4;
    std::fill(rt.pcom, rt.pcom + 4, 0.0);
    for (const double direction : {-1e-3, 1.0, 400.0, 1e5}) {
        double ax = 0.0, bx = 1.0, cx = 2.0, fa, fb, fc;
        std::fill(rt.xicom, rt.xicom + 4, 0.0);
        rt.xicom[0] = direction;
        captured([&] { mnbrak(&ax, &bx, &cx, &fa, &fb, &fc); });
        EXPECT_LE(fb, fa) << direction;
        EXPECT_LE(fb, fc) << direction;
        EXPECT_GT((bx - ax) * (cx - bx), 0.0) << direction;
    }
}

// par[0] is the sum of the samples: a quarter turn needs pi/2 of it times the step.
TEST_F(Optimizer, ALineMinimumIsTheQuarterTurn)
{
    set_up_rotation();
    double p[4] = {1000.0, 0.0, 0.0, 0.0}, xi[4] = {10.0, 0.0, 0.0, 0.0}, minimum = 0.0;
    captured([&] { linmin(p, xi, 4, &minimum); });
    EXPECT_NEAR(minimum, -1.0, 1e-7);
    EXPECT_NEAR(std::sin(p[0] * rt.h), 1.0, 1e-7);
    EXPECT_EQ(xi[0], p[0] - 1000.0);
    EXPECT_EQ(rt.zan_ncom, 4);
    EXPECT_EQ(rt.pcom[0], 1000.0);
}

TEST_F(Optimizer, AFlatLineEndsAtOnce)
{
    set_up_rotation();
    CMatZero(rt.n, &rt.Istat);
    double p[4] = {1.0, 2.0, 3.0, 4.0}, minimum = 7.0;
    int iterations = 0;
    captured([&] { frprmn(p, 4, 3e-5, &iterations, &minimum); });
    EXPECT_EQ(iterations, 1);
    EXPECT_EQ(minimum, 0.0);
    EXPECT_EQ(p[3], 4.0);
}

TEST_F(Optimizer, WithoutMemoryNothingIsSearchedAndItIsTold)
{
    set_up_rotation();
    for (int failing = 1; failing <= 3; failing++) {
        double p[4] = {1.0, 2.0, 3.0, 4.0}, minimum = 7.0;
        int iterations = 5;
        fail_array_allocation(failing);
        const Console console = captured([&] { frprmn(p, 4, 3e-5, &iterations, &minimum); });
        fail_array_allocation(0);
        EXPECT_EQ(console.err, "Optimization: not enough memory\n");
        EXPECT_EQ(p[0], 1.0);
        EXPECT_EQ(p[3], 4.0);
    }
}

TEST_F(Optimizer, SignsAreTakenFromTheSecondNumber)
{
    EXPECT_EQ(sign_double(-2.0, 3.0), 2.0);
    EXPECT_EQ(sign_double(-2.0, 0.0), 2.0);
    EXPECT_EQ(sign_double(2.0, -1e-300), -2.0);
}

// ------------------------------------------------------------------ search and report

TEST_F(Optimizer, ASearchReportsItsMinimumAndLeavesThePulse)
{
    set_up_rotation(2);
    const Console console = optimize("2\n");
    EXPECT_EQ(console.out.find("\nOptimization start density matrix:\n"), 0u);
    const std::string report = console.out.substr(console.out.find("Optimization finished.\n"));
    const double minimum = number_after(report, "Minimum             : ");
    char expected[512];
    std::snprintf(expected, sizeof expected,
                  "Optimization finished.\nIterations          : %d\n"
                  "Minimum             : %.12g\n\n"
                  "Write RF pulse to CSV file:\n  1. Write CSV file\n  2. Cancel\n"
                  "Your choice [1..2] : ",
                  (int)number_after(report, "Iterations          : "), minimum);
    EXPECT_EQ(report, expected);
    EXPECT_NEAR(minimum, -1.0, 1e-4);
    Complex2 eval;
    zanopt_expectation_after_pulse(rt.n, rt.ap, rt.h, 0.0, &rt.densmat, &rt.Istat, &eval);
    EXPECT_NEAR(-eval[COMPLEX_RE], minimum, 1e-11);
}

TEST_F(Optimizer, WithoutParametersThereIsNoSearch)
{
    set_up_rotation();
    rt.npar = 0;
    const Console console = optimize("");
    EXPECT_EQ(console.err, "StartOptimization: npar not set\n");
    EXPECT_EQ(count_of(console.out, "Optimization start density matrix:"), 1);
    EXPECT_EQ(count_of(console.out, "finished"), 0);
}

TEST_F(Optimizer, ASampleCountThatTheTransformRefusesIsSaidOnce)
{
    set_up_rotation();
    rt.ap = 6;
    EXPECT_EQ(optimize("2\n").err,
              "Warning: 6 samples are no power of two; the parameters are samples about the "
              "pulse's middle instead of Fourier modes\n");
    rt.ap = 8;
    EXPECT_EQ(optimize("2\n").err, "");
}

TEST_F(Optimizer, FrequenciesAboveTheModesStayThoseOfTheStartPulse)
{
    std::mt19937 random(41);
    build_spins({{1}});
    CopyCMatrix(rt.n, &rt.Iytot, &rt.Istat);
    set_sector_at_hand(random_waveform(random, 16, false, false, false), 1e-3);
    rt.npar = 8;
    ZANOptimizationTakeStartPulse();
    double before[28], after[28];
    std::vector<double> xb(rt.xb, rt.xb + 16), yb(rt.yb, rt.yb + 16);
    RFPulseToParArray(28, rt.ap, rt.xb, rt.yb, before);
    optimize("2\n");
    RFPulseToParArray(28, rt.ap, rt.xb, rt.yb, after);
    // Two modes per channel: its first four parameters are free.
    for (const int channel : {0, 14})
        for (int i = 4; i < 14; i++)
            EXPECT_NEAR(after[channel + i], before[channel + i], 1e-7) << channel << " " << i;
    EXPECT_GT(std::fabs(after[0] - before[0]), 1.0);
    // To the bit one conversion of the start pulse, whatever the search tried in between.
    ParArrayToRFPulse(rt.npar, rt.ap, rt.par, xb.data(), yb.data());
    EXPECT_TRUE(std::equal(xb.begin(), xb.end(), rt.xb));
    EXPECT_TRUE(std::equal(yb.begin(), yb.end(), rt.yb));
}

TEST_F(Optimizer, ThePulseIsWrittenAsCsvAndPlotted)
{
    set_up_rotation();
    const FakeGnuplot gnuplot(std::filesystem::current_path().string());
    const Console console = optimize("1\nbest.csv\n");
    EXPECT_EQ(arguments_of_gnuplot("."), "-persist\nbest.csv.gp\n");
    EXPECT_EQ(count_of(console.out,
                       "Your choice [1..2] : Enter output CSV filename: RF pulse written to "
                       "'best.csv'\n"),
              1);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(count_of(read_text("best.csv"), "\n"), 9);
    EXPECT_EQ(count_of(read_text("best.csv.gp"), "'best.csv'"), 4);
}

TEST_F(Optimizer, ANameThatIsMissingOrTooLongIsInvalid)
{
    set_up_rotation();
    EXPECT_EQ(optimize("1\n").err, "Invalid filename\n");
    EXPECT_EQ(optimize("1\n" + std::string(256, 'n') + "\n").err, "Invalid filename\n");
    EXPECT_EQ(optimize("1\nno/such/dir.csv\n").err, "WritePulseCSV: cannot open no/such/dir.csv\n");
    EXPECT_EQ(optimize("3\nx.csv\n").err, "");
    EXPECT_FALSE(file_is_there("x.csv"));
}

// ------------------------------------------------------------------ interrupt

static int handled;

static void count_interrupt(int)
{
    handled++;
}

TEST_F(Optimizer, AnInterruptIsNotedWhileItIsCaught)
{
    handled = 0;
    void (*before)(int) = std::signal(SIGINT, count_interrupt);
    EXPECT_FALSE(plat_interrupted());
    plat_catch_interrupt();
    EXPECT_FALSE(plat_interrupted());
    std::raise(SIGINT);
    EXPECT_TRUE(plat_interrupted());
    EXPECT_EQ(handled, 0);
    plat_release_interrupt();
    EXPECT_FALSE(plat_interrupted());
    std::raise(SIGINT);
    EXPECT_EQ(handled, 1);
    std::signal(SIGINT, before);
}

TEST_F(Optimizer, AfterAnInterruptThePartsReturnAtOnce)
{
    set_up_rotation();
    rt.zan_ncom = 4;
    rt.xicom[0] = 1.0;
    double grad[4] = {7.0, 7.0, 7.0, 7.0}, a = 0.0, b = 1.0, c = 2.0, fa, fb, fc, x, f = 0.0;
    int iterations = 0;
    plat_catch_interrupt();
    std::raise(SIGINT);
    EXPECT_EQ(count_of(captured([&] { dfnc(0.0, rt.par, 4, grad); }).out, OBJECTIVE), 0);
    EXPECT_EQ(count_of(captured([&] { mnbrak(&a, &b, &c, &fa, &fb, &fc); }).out, OBJECTIVE), 3);
    EXPECT_EQ(count_of(captured([&] { brent(0.0, 1.0, 2.0, 1e-4, &x); }).out, OBJECTIVE), 1);
    EXPECT_EQ(count_of(captured([&] { frprmn(rt.par, 4, 3e-5, &iterations, &f); }).out, OBJECTIVE),
              1);
    EXPECT_EQ(iterations, 0);
    plat_release_interrupt();
}

// ------------------------------------------------------------------ dialog

namespace
{

const std::string one_spin = "1\n1\n1\n0\n";   // one spin 1/2, intensity 1, offset 0
const std::string operator_y = "1\nIy\n";      // from the list
const std::string pulse = "8 1000 45 0 0.1\n"; // samples, peak, flip, phase, step

Console dialog(const std::string &typed)
{
    feed_stdin(typed);
    return captured([] { Optimize(); });
}

} // namespace

TEST_F(Optimizer, TheDialogOptimizesASinglePulse)
{
    const Console console = dialog(one_spin + operator_y + "2\n" + pulse + "2\n");
    EXPECT_EQ(console.out.find("****************************************************\n"
                               "***                OPTIMIZATION                  ***\n"
                               "****************************************************\n\n"
                               "Optimization requires:\n"
                               "  1. a spin system\n"
                               "  2. a pulse Hamiltonian\n"
                               "  3. a gradient definition\n"
                               "  4. an operator O whose expectation value <O>\n"
                               "     has to be optimized\n\n"
                               "\nNumber of Spins (1..8) = "),
              0u);
    EXPECT_EQ(count_of(console.out, "Define operator whose expectation value is to be optimized :\n"
                                    "*******************************************************\n"),
              1);
    EXPECT_EQ(count_of(console.out, "******************* OPTIMIZE *******************\n\n"
                                    "The number of parameters is : "
                                    "Total number of RF pulse sample points : "),
              1);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(rt.npar, 8);
    EXPECT_EQ(rt.ap, 8);
    EXPECT_DOUBLE_EQ(rt.ti, 8e-4);
    EXPECT_EQ(rt.rfpulsedefined, 1);
    EXPECT_EQ(rt.pulseflag, 1);
    EXPECT_EQ(rt.optsector, 0);
    EXPECT_NEAR(number_after(console.out, "Minimum             : "), -1.0, 1e-4);
}

TEST_F(Optimizer, TheDialogRefusesParameterCounts)
{
    const std::string start = one_spin + operator_y;
    EXPECT_EQ(dialog(start + "x\n").err, "Optimize: failed to read npar\n");
    EXPECT_EQ(dialog(start + "0\n").err, "Optimize: invalid npar\n");
    EXPECT_EQ(dialog(start + "-1\n").err, "Optimize: invalid npar\n");
    const std::string refused = "Optimize: RF optimization start pulse not generated\n";
    EXPECT_EQ(dialog(start + "10\n1\n").err, "Invalid number of points\n" + refused);
    EXPECT_EQ(rt.npar, 40);
    EXPECT_EQ(dialog(start + "40\n1\n").err, "Invalid number of points\n" + refused);
    EXPECT_EQ(rt.npar, 160);
    EXPECT_EQ(dialog(start + "41\n1\n").err,
              "Optimize: npar=164 exceeds par[160]; clamping to 160\nInvalid number of points\n" +
                  refused);
    EXPECT_EQ(rt.npar, 160);
}

TEST_F(Optimizer, WithoutASpinSystemTheDialogEnds)
{
    const Console console = dialog("1\n-3\n1\n");
    EXPECT_EQ(count_of(console.out, "Define operator"), 0);
}
