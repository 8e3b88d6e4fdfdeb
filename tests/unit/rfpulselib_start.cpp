// rfpulselib, start pulses - their shape and flip angle, whole dialogs, and every refusal.
#include "console.h"
#include "memory.h"
#include "rfpulselib.h"
#include "rfpulseparam.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

static const double PI = 3.141592653589793;
static const double QUIET_NAN = std::numeric_limits<double>::quiet_NaN();

static double xb[RFPULSE_MAX_POINTS], yb[RFPULSE_MAX_POINTS];

struct Outcome {
    int result;
    std::string out, err;
};

static Outcome with_input(const std::string &input, const std::function<int()> &call)
{
    feed_stdin(input);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int result = call();
    const std::string err = testing::internal::GetCapturedStderr();
    return {result, testing::internal::GetCapturedStdout(), err};
}

static Outcome core(int ap, double h, int npar, double rf_ampl_hz, double flip, double phase)
{
    return with_input("", [&] {
        return generate_optimization_start_pulse_core(ap, h, xb, yb, npar, rf_ampl_hz, flip, phase);
    });
}

static double sum_of(const double *samples, int ap)
{
    double sum = 0.0;
    for (int i = 0; i < ap; i++)
        sum += samples[i];
    return sum;
}

// Cosines about the middle sample with tapered amplitudes; its mean is 1.
static double shape(int i, int ap, int nmodes)
{
    double value = 1.0;
    for (int j = 1; j < nmodes; j++)
        value +=
            (1.0 + std::cos(PI * j / (nmodes - 1))) * std::cos(2.0 * PI * j * (i - ap / 2) / ap);
    return value;
}

TEST(StartPulse, IsATaperedSumOfCosinesWithTheWantedFlipAngle)
{
    const Outcome o = core(256, 1e-5, 40, 1000.0, 90.0, 0.0);
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.err, "");
    EXPECT_EQ(o.out, "\nOptimization start pulse generated (direct Fourier-domain):\n"
                     "  ap                   = 256\n"
                     "  h                    = 1e-05 s\n"
                     "  retained modes/ch    = 10\n"
                     "  initial phase        = 0 deg\n"
                     "  target flip angle    = 90 deg\n"
                     "  actual flip angle    = 90 deg\n"
                     "  max amplitude limit  = 1000 Hz\n"
                     "  peak |B1| (internal) = 5522.33 rad/s\n"
                     "  peak |B1|            = 878.906 Hz\n");
    EXPECT_NEAR(sum_of(xb, 256) * 1e-5, PI / 2.0, 1e-13);
    for (int i = 0; i < 256; i++) {
        EXPECT_NEAR(xb[i], PI / 2.0 / 2.56e-3 * shape(i, 256, 10), 1e-9) << i;
        EXPECT_EQ(yb[i], 0.0) << i;
    }
}

TEST(StartPulse, TooStrongAPulseIsScaledDownWithANote)
{
    const Outcome o = core(256, 5e-6, 40, 1000.0, 90.0, 0.0);
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.out, "\nOptimization start pulse generated (direct Fourier-domain):\n"
                     "  ap                   = 256\n"
                     "  h                    = 5e-06 s\n"
                     "  retained modes/ch    = 10\n"
                     "  initial phase        = 0 deg\n"
                     "  target flip angle    = 90 deg\n"
                     "  actual flip angle    = 51.2 deg\n"
                     "  max amplitude limit  = 1000 Hz\n"
                     "  peak |B1| (internal) = 6283.19 rad/s\n"
                     "  peak |B1|            = 1000 Hz\n"
                     "  NOTE: start pulse was rescaled to satisfy the RF amplitude limit.\n");
    EXPECT_NEAR(*std::max_element(xb, xb + 256), 2.0 * PI * 1000.0, 1e-9);
    EXPECT_NEAR(sum_of(xb, 256) * 5e-6, 51.2 * PI / 180.0, 1e-12);
}

TEST(StartPulse, LiesAlongItsPhase)
{
    for (double phase : {0.0, 30.0, 90.0, 180.0, -45.0, 450.0}) {
        ASSERT_EQ(core(128, 1e-5, 40, 1e5, 70.0, phase).result, 1);
        const double flip = 70.0 * PI / 180.0, rad = phase * PI / 180.0;
        EXPECT_NEAR(sum_of(xb, 128) * 1e-5, flip * std::cos(rad), 1e-12) << phase;
        EXPECT_NEAR(sum_of(yb, 128) * 1e-5, flip * std::sin(rad), 1e-12) << phase;
        for (int i = 0; i < 128; i++)
            EXPECT_NEAR(xb[i] * std::sin(rad), yb[i] * std::cos(rad), 1e-9) << phase << " " << i;
    }
}

TEST(StartPulse, AtNinetyDegreesLiesOnY)
{
    const Outcome o = core(256, 1e-5, 40, 1000.0, 90.0, 90.0);
    EXPECT_EQ(o.result, 1);
    EXPECT_NE(o.out.find("  actual flip angle    = 90 deg\n"), std::string::npos) << o.out;
    EXPECT_NEAR(sum_of(yb, 256) * 1e-5, PI / 2.0, 1e-13);
    for (int i = 0; i < 256; i++)
        EXPECT_NEAR(xb[i], 0.0, 1e-11) << i;
}

TEST(StartPulse, AlreadyLiesInTheSearchSpace)
{
    const int ap = 64;
    ASSERT_EQ(core(ap, 1e-4, 24, 1e4, 120.0, 40.0).result, 1);
    const std::vector<double> x(xb, xb + ap), y(yb, yb + ap);
    double par[24];
    RFPulseToParArray(24, ap, xb, yb, par);
    ParArrayToRFPulseLowMode(24, ap, par, xb, yb);
    for (int i = 0; i < ap; i++) {
        EXPECT_NEAR(xb[i], x[static_cast<size_t>(i)], 1e-11) << i;
        EXPECT_NEAR(yb[i], y[static_cast<size_t>(i)], 1e-11) << i;
    }
}

TEST(StartPulse, OfASingleModeIsConstant)
{
    struct Case {
        int ap, npar;
    };
    for (const Case &c : {Case{4, 40}, Case{64, 4}, Case{64, 7}}) {
        const Outcome o = core(c.ap, 1e-5, c.npar, 1e6, 90.0, 0.0);
        EXPECT_EQ(o.result, 1);
        EXPECT_NE(o.out.find("  retained modes/ch    = 1\n"), std::string::npos) << o.out;
        for (int i = 0; i < c.ap; i++)
            EXPECT_NEAR(xb[i] * 1e-5 * c.ap, PI / 2.0, 1e-12) << c.ap << " " << c.npar;
    }
}

// Two modes taper to 1 and 0: constant as well.
TEST(StartPulse, TheHighestModeIsTaperedAway)
{
    ASSERT_EQ(core(32, 1e-5, 8, 1e6, 90.0, 0.0).result, 1);
    for (int i = 0; i < 32; i++)
        EXPECT_NEAR(xb[i] * 1e-5 * 32, PI / 2.0, 1e-12) << i;
}

TEST(StartPulse, CoreRefusals)
{
    struct Case {
        int ap;
        double h;
        int npar;
        double rf_ampl_hz, flip;
        const char *message;
    };
    const char grid[] = "GenerateOptimizationStartPulse: invalid ap/h/npar\n";
    const char wish[] = "GenerateOptimizationStartPulse: invalid RF amplitude or flip angle\n";
    const char modes[] = "GenerateOptimizationStartPulse: no usable Fourier modes\n";
    for (const Case &c : {Case{1, 1e-5, 40, 1e3, 90, grid}, Case{-8, 1e-5, 40, 1e3, 90, grid},
                          Case{8, 0, 40, 1e3, 90, grid}, Case{8, -1, 40, 1e3, 90, grid},
                          Case{8, QUIET_NAN, 40, 1e3, 90, grid}, Case{8, 1e-5, 0, 1e3, 90, grid},
                          Case{1, 1e-5, 40, 0, 0, grid}, // the grid is looked at first
                          Case{8, 1e-5, 40, 0, 90, wish}, Case{8, 1e-5, 40, -1, 90, wish},
                          Case{8, 1e-5, 40, 1e3, 0, wish}, Case{8, 1e-5, 40, 1e3, -90, wish},
                          Case{8, 1e-5, 40, 1e3, QUIET_NAN, wish}, Case{2, 1e-5, 40, 0, 90, wish},
                          Case{2, 1e-5, 40, 1e3, 90, modes}, Case{3, 1e-5, 40, 1e3, 90, modes},
                          Case{8, 1e-5, 3, 1e3, 90, modes}}) {
        const Outcome o = core(c.ap, c.h, c.npar, c.rf_ampl_hz, c.flip, 0.0);
        EXPECT_EQ(o.result, 0) << c.message;
        EXPECT_EQ(o.err, c.message);
        EXPECT_EQ(o.out, "") << c.message;
    }
}

TEST(StartPulse, MissingArraysAreRefusedFirst)
{
    const Outcome no_x = with_input("", [] {
        return generate_optimization_start_pulse_core(0, 0.0, nullptr, yb, 0, 0.0, 0.0, 0.0);
    });
    const Outcome no_y = with_input("", [] {
        return generate_optimization_start_pulse_core(8, 1e-5, xb, nullptr, 8, 1.0, 1.0, 0.0);
    });
    EXPECT_EQ(no_x.result + no_y.result, 0);
    EXPECT_EQ(no_x.err, "GenerateOptimizationStartPulse: null pulse arrays\n");
    EXPECT_EQ(no_y.err, "GenerateOptimizationStartPulse: null pulse arrays\n");
}

TEST(StartPulse, NoMemoryForTheParametersIsTold)
{
    fail_array_allocation(1);
    const Outcome o = core(8, 1e-5, 8, 1e3, 90.0, 0.0);
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, "Memory allocation failed (par)\n");
}

// With npar = 42 the conversion begins y at 21, the start pulse at 20: on y only sines are left,
// and they have no flip angle.
TEST(StartPulse, ANumberOfParametersThatIsNoMultipleOfFourMissesY)
{
    const Outcome o = core(256, 1e-5, 42, 1000.0, 90.0, 90.0);
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, "GenerateOptimizationStartPulse: initial flip angle is zero\n");
    EXPECT_EQ(core(256, 1e-5, 42, 1000.0, 90.0, 0.0).result, 1);
}

TEST(StartPulse, ATimeStepOfAlmostNothingHasNoFlipAngle)
{
    EXPECT_EQ(core(256, 9e-16, 40, 1000.0, 90.0, 0.0).err,
              "GenerateOptimizationStartPulse: initial flip angle is zero\n");
    EXPECT_EQ(core(256, 1.1e-15, 40, 1000.0, 90.0, 0.0).result, 1);
}

// ------------------------------------------------------------------------------------- dialogs

static const char ASK_POINTS[] = "Total number of RF pulse sample points : ";
static const char ASK_AMPLITUDE[] = "RF-amplitude A [Hz]                    : ";
static const char ASK_FLIP[] = "Target flip angle [deg]                : ";
static const char ASK_PHASE[] = "Initial RF phase [deg]                 : ";
static const char ASK_STEP[] = "Pulse time step h [ms]                 : ";

TEST(StartPulseDialog, WholeTranscript)
{
    int ap = 0;
    double h = 0.0;
    const Outcome o = with_input("128\n2000\n180\n-90\n0.03\nrest", [&] {
        return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 16);
    });
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.err, "");
    EXPECT_EQ(o.out, std::string(ASK_POINTS) + ASK_AMPLITUDE + ASK_FLIP + ASK_PHASE + ASK_STEP +
                         "\nOptimization start pulse generated (direct Fourier-domain):\n"
                         "  ap                   = 128\n"
                         "  h                    = 3e-05 s\n"
                         "  retained modes/ch    = 4\n"
                         "  initial phase        = -90 deg\n"
                         "  target flip angle    = 180 deg\n"
                         "  actual flip angle    = 180 deg\n"
                         "  max amplitude limit  = 2000 Hz\n"
                         "  peak |B1| (internal) = 2454.37 rad/s\n"
                         "  peak |B1|            = 390.625 Hz\n");
    EXPECT_EQ(ap, 128);
    EXPECT_DOUBLE_EQ(h, 3e-5);
    EXPECT_NEAR(sum_of(yb, 128) * h, -PI, 1e-12);
    EXPECT_EQ(rest_of_stdin(), "\nrest");
}

TEST(StartPulseDialog, AnswersMayStandOnOneLine)
{
    int ap = 0;
    double h = 0.0;
    const Outcome o = with_input(
        "64 1e3 90 45 0.1\n", [&] { return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 40); });
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(ap, 64);
    EXPECT_DOUBLE_EQ(h, 1e-4);
}

TEST(StartPulseDialog, EachBadAnswerEndsItWithItsMessage)
{
    struct Case {
        const char *input, *message;
        int prompts, ap;
    };
    for (const Case &c : {Case{"", "Invalid number of points\n", 1, 77},
                          Case{"many\n", "Invalid number of points\n", 1, 77},
                          Case{"1\n", "Invalid number of points\n", 1, 1},
                          Case{"-5\n", "Invalid number of points\n", 1, -5},
                          Case{"64\n", "Invalid RF amplitude\n", 2, 64},
                          Case{"64 0\n", "Invalid RF amplitude\n", 2, 64},
                          Case{"64 inf\n", "Invalid RF amplitude\n", 2, 64},
                          Case{"64 1e3 x\n", "Invalid target flip angle\n", 3, 64},
                          Case{"64 1e3 0\n", "Invalid target flip angle\n", 3, 64},
                          Case{"64 1e3 -90\n", "Invalid target flip angle\n", 3, 64},
                          Case{"64 1e3 nan\n", "Invalid target flip angle\n", 3, 64},
                          Case{"64 1e3 90 x\n", "Invalid initial RF phase\n", 4, 64},
                          Case{"64 1e3 90 inf\n", "Invalid initial RF phase\n", 4, 64},
                          Case{"64 1e3 90 0 x\n", "Invalid time step\n", 5, 64},
                          Case{"64 1e3 90 0 0\n", "Invalid time step\n", 5, 64},
                          Case{"64 1e3 90 0 -0.1\n", "Invalid time step\n", 5, 64},
                          Case{"64 1e3 90 0\n", "Invalid time step\n", 5, 64}}) {
        int ap = 77;
        double h = 0.5;
        xb[0] = 123.0;
        const Outcome o = with_input(
            c.input, [&] { return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 40); });
        std::string prompts;
        const char *const all[] = {ASK_POINTS, ASK_AMPLITUDE, ASK_FLIP, ASK_PHASE, ASK_STEP};
        for (int k = 0; k < c.prompts; k++)
            prompts += all[k];
        EXPECT_EQ(o.result, 0) << c.input;
        EXPECT_EQ(o.out, prompts) << c.input;
        EXPECT_EQ(o.err, c.message) << c.input;
        EXPECT_EQ(ap, c.ap) << c.input;
        EXPECT_EQ(h, 0.5) << c.input;
        EXPECT_EQ(xb[0], 123.0) << c.input;
    }
}

// The answer stays for the menu that follows.
TEST(StartPulseDialog, LeavesWhatIsNoNumberUnread)
{
    int ap = 0;
    double h = 0.0;
    with_input("64\nquit\n6\n",
               [&] { return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 40); });
    EXPECT_EQ(rest_of_stdin(), "quit\n6\n");
}

TEST(StartPulseDialog, MoreSamplesThanTheArraysHoldAreCutWithAWarning)
{
    int ap = 0;
    double h = 0.0;
    const Outcome o = with_input("1000000\n1000\n90\n0\n0.001\n", [&] {
        return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 40);
    });
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(ap, RFPULSE_MAX_POINTS);
    EXPECT_EQ(o.err, "WARNING: ap=1000000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n");
}

TEST(StartPulseDialog, MissingArgumentsAreRefusedBeforeAnyQuestion)
{
    int ap = 5;
    double h = 0.5;
    const std::string null = "GenerateOptimizationStartPulse: null pointer argument\n";
    const std::string input = "64 1e3 90 0 0.1\n";
    EXPECT_EQ(
        with_input(input, [&] { return GenerateOptimizationStartPulse(nullptr, &h, xb, yb, 40); })
            .err,
        null);
    EXPECT_EQ(
        with_input(input, [&] { return GenerateOptimizationStartPulse(&ap, nullptr, xb, yb, 40); })
            .err,
        null);
    EXPECT_EQ(
        with_input(input, [&] { return GenerateOptimizationStartPulse(&ap, &h, nullptr, yb, 40); })
            .err,
        null);
    EXPECT_EQ(
        with_input(input, [&] { return GenerateOptimizationStartPulse(&ap, &h, xb, nullptr, 0); })
            .err,
        null);
    const Outcome o =
        with_input(input, [&] { return GenerateOptimizationStartPulse(&ap, &h, xb, yb, 0); });
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, "GenerateOptimizationStartPulse: npar not initialized\n");
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(ap, 5);
    EXPECT_EQ(rest_of_stdin(), input);
}

// -------------------------------------------------------------------------- dialog, fixed grid

static Outcome fixed_grid(const std::string &input, int ap, double h, int npar)
{
    return with_input(input, [&] {
        return GenerateOptimizationStartPulseFixedGridInteractive(ap, h, xb, yb, npar);
    });
}

TEST(FixedGridStartPulseDialog, WholeTranscript)
{
    const Outcome o = fixed_grid("500\n90\n0\n", 256, 1.0 / 300000.0, 40);
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.err, "");
    EXPECT_EQ(o.out, std::string("Selected sector grid is fixed:\n"
                                 "  ap = 256\n"
                                 "  h  = 3.33333333333e-06 s  (0.00333333 ms)\n") +
                         ASK_AMPLITUDE + ASK_FLIP + ASK_PHASE +
                         "\nOptimization start pulse generated (direct Fourier-domain):\n"
                         "  ap                   = 256\n"
                         "  h                    = 3.33333e-06 s\n"
                         "  retained modes/ch    = 10\n"
                         "  initial phase        = 0 deg\n"
                         "  target flip angle    = 90 deg\n"
                         "  actual flip angle    = 17.0667 deg\n"
                         "  max amplitude limit  = 500 Hz\n"
                         "  peak |B1| (internal) = 3141.59 rad/s\n"
                         "  peak |B1|            = 500 Hz\n"
                         "  NOTE: start pulse was rescaled to satisfy the RF amplitude limit.\n");
}

TEST(FixedGridStartPulseDialog, EachBadAnswerEndsItWithItsMessage)
{
    struct Case {
        const char *input, *message;
    };
    for (const Case &c :
         {Case{"", "Invalid RF amplitude\n"}, Case{"-1\n", "Invalid RF amplitude\n"},
          Case{"1000 0\n", "Invalid target flip angle\n"},
          Case{"1000 90 east\n", "Invalid initial RF phase\n"}}) {
        const Outcome o = fixed_grid(c.input, 64, 1e-5, 40);
        EXPECT_EQ(o.result, 0) << c.input;
        EXPECT_EQ(o.err, c.message);
    }
}

TEST(FixedGridStartPulseDialog, ABadGridOrNoParametersAreRefusedBeforeAnyQuestion)
{
    const std::string name = "GenerateOptimizationStartPulseFixedGridInteractive: ";
    struct Case {
        int ap;
        double h;
        int npar;
        const char *message;
    };
    for (const Case &c :
         {Case{1, 1e-5, 40, "invalid ap/h\n"}, Case{64, 0.0, 40, "invalid ap/h\n"},
          Case{64, -1e-5, 0, "invalid ap/h\n"}, Case{64, 1e-5, 0, "npar not initialized\n"}}) {
        const Outcome o = fixed_grid("1000 90 0\n", c.ap, c.h, c.npar);
        EXPECT_EQ(o.result, 0) << c.message;
        EXPECT_EQ(o.err, name + c.message);
        EXPECT_EQ(o.out, "");
    }
}

TEST(FixedGridStartPulseDialog, MissingArraysAreRefusedByTheCore)
{
    const Outcome o = with_input("1000 90 0\n", [] {
        return GenerateOptimizationStartPulseFixedGridInteractive(64, 1e-5, nullptr, yb, 40);
    });
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, "GenerateOptimizationStartPulse: null pulse arrays\n");
}
