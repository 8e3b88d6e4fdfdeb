// rfpulselib - the pulse menus and dialogs: what stands on the screen, what is asked, and what is
// in the arrays after good and bad answers. The formulas are tested in rfpulselib_shapes.cpp.
#include "rfpulselib.h"
#include "console.h"
#include "memory.h"
#include "pulses.h"
#include "tempdir.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

typedef void (*Dialog)(int *ap, double *h, double *xb, double *yb);

// What the dialog prints when input has been typed ahead.
static std::string transcript(Dialog dialog, const std::string &input, Pulse &pulse)
{
    feed_stdin(input);
    CaptureStdout();
    dialog(&pulse.ap, &pulse.h, pulse.x.data(), pulse.y.data());
    return GetCapturedStdout();
}

// ---- prompts ----

TEST(ScanIntPrompt, PrintsThePromptAndReadsOneNumber)
{
    feed_stdin(" 12 x");
    int value = 0;
    CaptureStdout();
    EXPECT_EQ(scan_int_prompt("count : ", &value), 1);
    EXPECT_EQ(value, 12);
    EXPECT_EQ(scan_int_prompt("next : ", &value), 0);
    EXPECT_EQ(value, 12);
    EXPECT_EQ(GetCapturedStdout(), "count : next : ");
    EXPECT_EQ(rest_of_stdin(), "x");
}

TEST(ScanIntPrompt, WithoutAPromptPrintsNothing)
{
    feed_stdin("5");
    int value = 0;
    CaptureStdout();
    EXPECT_EQ(scan_int_prompt(nullptr, &value), 1);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(value, 5);
}

TEST(ScanIntPrompt, WithoutAnAnswerOnlyPrints)
{
    feed_stdin("5");
    CaptureStdout();
    EXPECT_EQ(scan_int_prompt("count : ", nullptr), 0);
    EXPECT_EQ(GetCapturedStdout(), "count : ");
    EXPECT_EQ(rest_of_stdin(), "5");
}

TEST(ScanDoublePrompt, PrintsThePromptAndReadsOneNumber)
{
    feed_stdin("-2.5e-3\nx");
    double value = 0.0;
    CaptureStdout();
    EXPECT_EQ(scan_double_prompt("q : ", &value), 1);
    EXPECT_EQ(value, -2.5e-3);
    EXPECT_EQ(scan_double_prompt(nullptr, &value), 0);
    EXPECT_EQ(value, -2.5e-3);
    EXPECT_EQ(GetCapturedStdout(), "q : ");
    EXPECT_EQ(rest_of_stdin(), "x");
}

TEST(ScanDoublePrompt, WithoutAnAnswerOnlyPrints)
{
    feed_stdin("5");
    CaptureStdout();
    EXPECT_EQ(scan_double_prompt("q : ", nullptr), 0);
    EXPECT_EQ(GetCapturedStdout(), "q : ");
    EXPECT_EQ(rest_of_stdin(), "5");
}

TEST(ClampAp, KeepsTheCountWithinTheArrays)
{
    struct Case {
        int typed, kept;
        const char *warning;
    };
    for (const Case &c :
         {Case{-5, 0, ""}, Case{0, 0, ""}, Case{1, 1, ""}, Case{8192, 8192, ""},
          Case{8193, 8192, "WARNING: ap=8193 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n"},
          Case{9000, 8192, "WARNING: ap=9000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n"}}) {
        int ap = c.typed;
        CaptureStderr();
        clamp_ap(&ap);
        EXPECT_EQ(GetCapturedStderr(), c.warning);
        EXPECT_EQ(ap, c.kept);
    }
    clamp_ap(nullptr);
}

// ---- hard pulses ----

static const std::string HARD_MENU = "\n"
                                     "Standard Hard Pulses:\n"
                                     "\n"
                                     "   1. (pi/2) (x')            5. (pi) (x')\n"
                                     "   2. (pi/2) (y')            6. (pi) (y')\n"
                                     "   3. (pi/2) (-x')           7. (pi) (-x')\n"
                                     "   4. (pi/2) (-y')           8. (pi) (-y')\n"
                                     "\n"
                                     "Your choice is [1..8] : ";

TEST(AMHardPulseDefinition, OffersEightPulsesOfOneSample)
{
    const double b = 50000.0 * std::numbers::pi;
    const double directions[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    for (int choice = 1; choice <= 8; choice++) {
        SCOPED_TRACE(choice);
        Pulse pulse(3, 5e-4);
        EXPECT_EQ(transcript(AMHardPulseDefinition, std::to_string(choice) + "\n", pulse),
                  HARD_MENU + "\n");
        const double *direction = directions[(choice - 1) % 4];
        const double amp = choice > 4 ? 2.0 : 1.0;
        EXPECT_EQ(pulse.ap, 1);
        EXPECT_EQ(pulse.h, 1e-5);
        EXPECT_NEAR(pulse.x[0], amp * b * direction[0], 1e-9);
        EXPECT_NEAR(pulse.y[0], amp * b * direction[1], 1e-9);
        EXPECT_TRUE(pulse.untouched_from(1));
    }
}

TEST(AMHardPulseDefinition, AnotherChoiceChangesTheTimeStepOnly)
{
    for (const char *answer : {"0\n", "9\n", "-1\n"}) {
        Pulse pulse(3, 5e-4);
        EXPECT_EQ(transcript(AMHardPulseDefinition, answer, pulse), HARD_MENU + "\n") << answer;
        EXPECT_EQ(pulse.ap, 3);
        EXPECT_EQ(pulse.h, 1e-5);
        EXPECT_TRUE(pulse.untouched_from(0));
    }
    for (const char *answer : {"x\n", ""}) {
        Pulse pulse(3, 5e-4);
        EXPECT_EQ(transcript(AMHardPulseDefinition, answer, pulse), HARD_MENU) << answer;
        EXPECT_EQ(pulse.ap, 3);
        EXPECT_EQ(pulse.h, 1e-5);
        EXPECT_TRUE(pulse.untouched_from(0));
    }
}

TEST(AMHardPulseDefinition, NeedsNoTimeStep)
{
    Pulse pulse(3);
    feed_stdin("1\n");
    CaptureStdout();
    AMHardPulseDefinition(&pulse.ap, nullptr, pulse.x.data(), pulse.y.data());
    EXPECT_EQ(GetCapturedStdout(), HARD_MENU + "\n");
    EXPECT_EQ(pulse.ap, 1);
    EXPECT_TRUE(pulse.untouched_from(1));
}

TEST(AMHardPulseDefinition, WithoutAnArgumentItNeedsDoesNothing)
{
    Pulse pulse(3, 5e-4);
    double *x = pulse.x.data(), *y = pulse.y.data();
    feed_stdin("1\n");
    CaptureStdout();
    AMHardPulseDefinition(nullptr, &pulse.h, x, y);
    AMHardPulseDefinition(&pulse.ap, &pulse.h, nullptr, y);
    AMHardPulseDefinition(&pulse.ap, &pulse.h, x, nullptr);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(pulse.ap, 3);
    EXPECT_EQ(pulse.h, 5e-4);
    EXPECT_TRUE(pulse.untouched_from(0));
    EXPECT_EQ(rest_of_stdin(), "1\n");
}

// ---- the dialogs, each as a heading and its prompts ----

static const std::string CENTRED_FORMULAS = "f(t)  = sqrt((2*pi*n*(1-(t/T)))^2 + 1)\n"
                                            "kx(t) = B*(1-(t/T))*cos(2*pi*n*t/T)\n"
                                            "ky(t) = B*(1-(t/T))*sin(2*pi*n*t/T)\n";

struct Screen {
    Dialog dialog;
    std::string heading;
    std::vector<std::string> prompts;
};

static const Screen RECTANGULAR = {
    ampulseproc1,
    " Rectangular pulse or hard pulse\n",
    {" pulse-phase (in degrees) : ", " pulse amplitude [Hz]     : "},
};
static const Screen SINC_GAUSS = {
    ampulseproc2,
    " sinc Gauss - AM-pulse shape :\n"
    "\n"
    " q*sin(2*pi*f*t)*exp(-(b*b*t*t))/ (pi*t)\n",
    {" pulse-phase (in degrees) : ", " q  (teta = q*180/pi)     : ", " f (pulse bandwidth)      : ",
     " b (damping constant)     : "},
};
static const Screen GAUSS_SPIRAL = {
    ampulseproc3,
    "bx(t) = (a.A/T)*exp(-(B*(1-t/T))^2)*sqrt(f(t))\n"
    "With : f(t) = ((2*pi*n(1-(t/T))^2)+1\n"
    "\n",
    {"a   : ", "A   : ", "B   : ", "n   : "},
};
static const Screen SINC_SPIRAL = {
    ampulseproc4,
    "bx(t) = (a.A/T)*sinc(kx(t).dx/2)*sinc(ky(t).dy/2).f(t)\n" + CENTRED_FORMULAS,
    {"a     : ", "A     : ", "B     : ", "n     : ", "dx    : ", "dy    : "},
};
static const Screen SECH_FULL = {
    fmpulseproc1,
    " 180 degree FM sech-tanh pulse (-T,T) :\n"
    "\n"
    " x  : w*sech(b*t)*cos(2*pi*u*ln(sech(bt)))\n"
    " y  : w*sech(b*t)*sin(2*pi*u*ln(sech(bt)))\n",
    {" pulse-phase (in degrees) : ", " w  [Hz]                  : ", " b (damping constant)     : ",
     " u (selectivity constant) : "},
};
static const Screen SECH_HALF = {
    fmpulseproc2,
    " 90 degree FM sech-tanh pulse (-T,0) :\n"
    "\n"
    " x : w*sech(b*t)*cos(2*pi*u*ln(sech(bt)))\n"
    " y : w*sech(b*t)*sin(2*pi*u*ln(sech(bt)))\n",
    SECH_FULL.prompts,
};
static const Screen SECH_TWICE = {
    fmpulseproc3,
    " 360 degree FM sech-tanh pulse 2*(-T,T) :\n"
    "\n"
    " x  : w*sech(b*t)*cos(2*pi*u*ln(sech(bt)))\n"
    " y  : w*sech(b*t)*sin(2*pi*u*ln(sech(bt)))\n"
    "\n",
    {" pulse-phase (in degrees)  : ", " w                    [Hz] : ",
     " b (damping constant)      : ", " u (selectivity constant)  : "},
};
static const Screen OFFCENTRE = {
    fmpulseproc4,
    "A 2D sinc pulse which excites a rectangular area\n"
    "with a shifted centre from (0,0) to (x0,y0)\n"
    "\n"
    "b1(t) = (a.A/T)*sinc(kx(t).dx/2)*sinc(ky(t).dy/2)\n"
    "        * exp(i kx(t).x0) * exp(i ky(t).y0) * f(t)\n" +
        CENTRED_FORMULAS + "\n",
    {"a     : ", "A     : ", "B     : ", "n     : ", "dx    : ", "dy    : ", "x0    : ",
     "y0    : "},
};

// The screen after `good` answers and, if one is left to give, an answer that is no number.
static std::string expected_screen(const Screen &screen, size_t good)
{
    std::string text = screen.heading;
    for (size_t i = 0; i < screen.prompts.size() && i <= good; i++)
        text += screen.prompts[i] + (i < good ? "\n" : "");
    return text;
}

// Answers 30, 2, 3, 4, … to the first `good` prompts.
static std::string answers(size_t good)
{
    std::string text;
    for (size_t i = 0; i < good; i++)
        text += i == 0 ? "30\n" : std::to_string(i + 1) + "\n";
    return text;
}

// All answers given: the screen, and the samples that the formula has for them.
static void expect_answers_reach_the_shape(const Screen &screen, const Pulse &formula)
{
    const size_t all = screen.prompts.size();
    Pulse pulse(formula.ap, formula.h);
    EXPECT_EQ(transcript(screen.dialog, answers(all), pulse), expected_screen(screen, all));
    EXPECT_EQ(pulse.x, formula.x);
    EXPECT_EQ(pulse.y, formula.y);
    EXPECT_EQ(pulse.ap, formula.ap);
    EXPECT_EQ(pulse.h, formula.h);
}

TEST(PulseDialogs, TakeTheirParametersInTheOrderOfThePrompts)
{
    const double phase = std::numbers::pi / 6;
    const int ap = 11;
    const double h = 0.02;
    Pulse f(ap, h);
    double *x = f.x.data(), *y = f.y.data();
    rectangular_shape(ap, phase, 2, x, y);
    expect_answers_reach_the_shape(RECTANGULAR, f);
    sinc_gauss_shape(ap, h, phase, 2, 3, 4, x, y);
    expect_answers_reach_the_shape(SINC_GAUSS, f);
    gauss_spiral_shape(ap, h, 30, 2, 3, 4, x, y);
    expect_answers_reach_the_shape(GAUSS_SPIRAL, f);
    sinc_spiral_shape(ap, h, 30, 2, 3, 4, 5, 6, x, y);
    expect_answers_reach_the_shape(SINC_SPIRAL, f);
    compute_2d_sinc_offcentre(ap, h, 30, 2, 3, 4, 5, 6, 7, 8, x, y);
    expect_answers_reach_the_shape(OFFCENTRE, f);
    sech_full_shape(ap, h, phase, 2, 3, 4, x, y);
    expect_answers_reach_the_shape(SECH_FULL, f);
    sech_half_shape(ap, h, phase, 2, 3, 4, x, y);
    expect_answers_reach_the_shape(SECH_HALF, f);
    f = Pulse(ap, h);
    sech_double_shape(ap, h, phase, 2, 3, 4, f.x.data(), f.y.data());
    expect_answers_reach_the_shape(SECH_TWICE, f);
}

TEST(PulseDialogs, ABadAnswerAtAnyPromptLeavesTheArrays)
{
    for (const Screen &screen : {RECTANGULAR, SINC_GAUSS, GAUSS_SPIRAL, SINC_SPIRAL, SECH_FULL,
                                 SECH_HALF, SECH_TWICE, OFFCENTRE})
        for (size_t good = 0; good < screen.prompts.size(); good++)
            for (const char *bad : {"x\n", ""}) { // no number, end of input
                SCOPED_TRACE(screen.heading + std::to_string(good) + bad);
                Pulse pulse(4);
                EXPECT_EQ(transcript(screen.dialog, answers(good) + bad, pulse),
                          expected_screen(screen, good));
                EXPECT_TRUE(pulse.untouched_from(0));
            }
}

TEST(PulseDialogs, TakeAnswersTypedAheadOnOneLineAndLeaveTheRest)
{
    Pulse pulse(4);
    EXPECT_EQ(transcript(ampulseproc1, "90 250 next\n", pulse), expected_screen(RECTANGULAR, 2));
    EXPECT_NEAR(pulse.x[3], 0.0, 1e-9);
    EXPECT_NEAR(pulse.y[3], 500.0 * std::numbers::pi, 1e-9);
    EXPECT_EQ(rest_of_stdin(), " next\n");
}

TEST(PulseDialogs, WithoutAnArgumentTheyNeedDoNothing)
{
    for (const Dialog dialog :
         {ampulseproc2, ampulseproc3, ampulseproc4, fmpulseproc1, fmpulseproc2, fmpulseproc3,
          fmpulseproc4, fmpulseproc5, fmpulseproc6, AMPulseDefinition, FMPulseDefinition}) {
        Pulse p(3);
        double *x = p.x.data(), *y = p.y.data();
        feed_stdin("1 1 1 1 1 1 1 1 1\n");
        CaptureStdout();
        dialog(nullptr, &p.h, x, y);
        dialog(&p.ap, nullptr, x, y);
        dialog(&p.ap, &p.h, nullptr, y);
        dialog(&p.ap, &p.h, x, nullptr);
        EXPECT_EQ(GetCapturedStdout(), "");
        EXPECT_TRUE(p.untouched_from(0));
        EXPECT_EQ(rest_of_stdin(), "1 1 1 1 1 1 1 1 1\n");
    }
}

TEST(PulseDialogs, TheRectangularPulseNeedsNoTimeStep)
{
    Pulse p(3);
    double *x = p.x.data(), *y = p.y.data();
    feed_stdin("0 10\n");
    CaptureStdout();
    ampulseproc1(nullptr, &p.h, x, y);
    ampulseproc1(&p.ap, &p.h, nullptr, y);
    ampulseproc1(&p.ap, &p.h, x, nullptr);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_TRUE(p.untouched_from(0));
    CaptureStdout();
    ampulseproc1(&p.ap, nullptr, x, y);
    EXPECT_EQ(GetCapturedStdout(), expected_screen(RECTANGULAR, 2));
    EXPECT_DOUBLE_EQ(p.x[2], 20.0 * std::numbers::pi);
}

TEST(PulseDialogs, NeverWritePastTheArrays)
{
    Pulse pulse(RFPULSE_MAX_POINTS);
    pulse.ap = 100000;
    CaptureStderr();
    transcript(ampulseproc1, "0 10\n", pulse);
    EXPECT_EQ(GetCapturedStderr(),
              "WARNING: ap=100000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n");
    EXPECT_EQ(pulse.ap, RFPULSE_MAX_POINTS);
    EXPECT_NE(pulse.x[8191], UNTOUCHED);
    EXPECT_EQ(pulse.x[8192], UNTOUCHED);
}

// ---- menus ----

static const std::string AM_MENU = "What Amplitude Modulated Pulse-shape is to be used\n"
                                   "\n"
                                   "   1. rectangular or hard-pulse\n"
                                   "   2. sinc-Gauss pulse\n"
                                   "   3. 2D - GauB pulse\n"
                                   "   4. 2D - sinc-Pulse (centre (x,y) = (0,0)\n"
                                   "\n"
                                   "Your Choice is [1..4] : ";

static const std::string FM_MENU =
    "What Frequency Modulated Pulse-shape is to be used\n"
    "\n"
    "      1. 180 sech-tanh (-T,T)\n"
    "      2. 90  sech-tanh (-T,0)\n"
    "      3. 360 sech-tanh 2*(-T,T)\n"
    "      4. 2D - sinc-Pulses off centre\n"
    "      5. Sum of off centre 2D-sinc-Pulses\n"
    "      6. Sum of off centre 2D-sinc-Pulses using file parameters\n"
    "\n"
    "Your choice is [1..6] : ";

static const std::string STARS = "*************************************************************\n";
static const std::string SUM_LINES =
    "** A sum of 2D sinc pulses which excite rectangular areas   **\n"
    "** with shifted centres from (0,0) to (x0,y0)               **\n";
static const std::string SUM_BANNER = STARS + SUM_LINES + STARS + "\n";
static const std::string FILE_BANNER =
    STARS + SUM_LINES + "** using pulse parameters read from a text file             **\n" + STARS +
    "\n";
static const std::string SUM_MENU = "    1. Add new 2D pulse\n"
                                    "    2. Exit\n"
                                    "Your choice [1,2] : ";

TEST(AMPulseDefinition, LeadsToTheShapeThatIsChosen)
{
    int choice = 0;
    for (const Screen &screen : {RECTANGULAR, SINC_GAUSS, GAUSS_SPIRAL, SINC_SPIRAL}) {
        Pulse pulse(4), direct(4);
        const size_t all = screen.prompts.size();
        EXPECT_EQ(
            transcript(AMPulseDefinition, std::to_string(++choice) + "\n" + answers(all), pulse),
            AM_MENU + "\n" + expected_screen(screen, all));
        transcript(screen.dialog, answers(all), direct);
        EXPECT_EQ(pulse.x, direct.x) << choice;
        EXPECT_EQ(pulse.y, direct.y) << choice;
    }
}

TEST(FMPulseDefinition, LeadsToTheShapeThatIsChosen)
{
    int choice = 0;
    for (const Screen &screen : {SECH_FULL, SECH_HALF, SECH_TWICE, OFFCENTRE}) {
        Pulse pulse(4), direct(4);
        const size_t all = screen.prompts.size();
        EXPECT_EQ(
            transcript(FMPulseDefinition, std::to_string(++choice) + "\n" + answers(all), pulse),
            FM_MENU + "\n" + expected_screen(screen, all));
        transcript(screen.dialog, answers(all), direct);
        EXPECT_EQ(pulse.x, direct.x) << choice;
        EXPECT_EQ(pulse.y, direct.y) << choice;
    }
}

TEST(FMPulseDefinition, LeadsToTheSums)
{
    Pulse typed(4), read(4);
    EXPECT_EQ(transcript(FMPulseDefinition, "5\n2\n", typed),
              FM_MENU + "\n" + SUM_BANNER + SUM_MENU + "\n");
    EXPECT_TRUE(typed.all_zero());
    EXPECT_EQ(transcript(FMPulseDefinition, "6\n", read),
              FM_MENU + "\n" + FILE_BANNER + "Pulse parameter file name: ");
    EXPECT_TRUE(read.all_zero());
}

TEST(PulseMenus, AnotherChoiceReturnsSilently)
{
    struct Case {
        Dialog menu;
        std::string screen;
        const char *answer;
    };
    for (const Case &c :
         {Case{AMPulseDefinition, AM_MENU + "\n", "0\n"},
          Case{AMPulseDefinition, AM_MENU + "\n", "5\n"},
          Case{AMPulseDefinition, AM_MENU + "\n", "-1\n"}, Case{AMPulseDefinition, AM_MENU, "x\n"},
          Case{AMPulseDefinition, AM_MENU, ""}, Case{FMPulseDefinition, FM_MENU + "\n", "0\n"},
          Case{FMPulseDefinition, FM_MENU + "\n", "7\n"}, Case{FMPulseDefinition, FM_MENU, "x\n"},
          Case{FMPulseDefinition, FM_MENU, ""}}) {
        Pulse pulse(4);
        EXPECT_EQ(transcript(c.menu, c.answer, pulse), c.screen) << c.answer;
        EXPECT_TRUE(pulse.untouched_from(0));
        EXPECT_EQ(pulse.ap, 4);
        EXPECT_EQ(pulse.h, 1e-5);
    }
}

// ---- the typed sum ----

static Pulse sum_of(const std::vector<std::vector<double>> &records, int ap)
{
    Pulse sum(ap), one(ap);
    std::fill_n(sum.x.begin(), ap, 0.0);
    std::fill_n(sum.y.begin(), ap, 0.0);
    for (const std::vector<double> &r : records) {
        compute_2d_sinc_offcentre(ap, one.h, r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7],
                                  one.x.data(), one.y.data());
        add_samples(ap, one.x.data(), sum.x.data());
        add_samples(ap, one.y.data(), sum.y.data());
    }
    return sum;
}

static const std::string OFFCENTRE_ANSWERED = expected_screen(OFFCENTRE, 8);

TEST(TypedSum, AddsPulsesUntilExit)
{
    Pulse pulse(20);
    EXPECT_EQ(
        transcript(fmpulseproc5, "1\n30 2 3 4 5 6 7 8\n1\n2 1 9 2 1 1 0.5 -0.5\n2\nrest", pulse),
        SUM_BANNER + SUM_MENU + "\n" + OFFCENTRE_ANSWERED + SUM_MENU + "\n" + OFFCENTRE_ANSWERED +
            SUM_MENU + "\n");
    const Pulse sum = sum_of({{30, 2, 3, 4, 5, 6, 7, 8}, {2, 1, 9, 2, 1, 1, 0.5, -0.5}}, 20);
    EXPECT_EQ(pulse.x, sum.x);
    EXPECT_EQ(pulse.y, sum.y);
    EXPECT_EQ(rest_of_stdin(), "\nrest");
}

TEST(TypedSum, WithoutPulsesIsZero)
{
    for (const char *answer : {"2\n", "0\n", "3\n"}) {
        Pulse pulse(5);
        EXPECT_EQ(transcript(fmpulseproc5, answer, pulse), SUM_BANNER + SUM_MENU + "\n");
        EXPECT_TRUE(pulse.all_zero()) << answer;
    }
    for (const char *answer : {"x\n", ""}) {
        Pulse pulse(5);
        EXPECT_EQ(transcript(fmpulseproc5, answer, pulse), SUM_BANNER + SUM_MENU);
        EXPECT_TRUE(pulse.all_zero()) << answer;
    }
}

TEST(TypedSum, WithoutMemoryItIsZeroAndItIsTold)
{
    for (int failing : {1, 2}) {
        Pulse pulse(5);
        testing::internal::CaptureStderr();
        fail_array_allocation(failing);
        EXPECT_EQ(transcript(fmpulseproc5, "1\n30 2 3 4 5 6 7 8\n2\n", pulse), SUM_BANNER);
        fail_array_allocation(0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "2D pulses: not enough memory\n");
        EXPECT_TRUE(pulse.all_zero());
    }
}

TEST(TypedSum, ABadAnswerInAPulseAddsNothing)
{
    for (size_t good = 0; good < 8; good++) {
        SCOPED_TRACE(good);
        Pulse pulse(20);
        EXPECT_EQ(
            transcript(fmpulseproc5, "1\n30 2 3 4 5 6 7 8\n1\n" + answers(good) + "x\n2\n", pulse),
            SUM_BANNER + SUM_MENU + "\n" + OFFCENTRE_ANSWERED + SUM_MENU + "\n" +
                expected_screen(OFFCENTRE, good) + SUM_MENU); // the x answers the menu too
        const Pulse sum = sum_of({{30, 2, 3, 4, 5, 6, 7, 8}}, 20);
        EXPECT_EQ(pulse.x, sum.x);
        EXPECT_EQ(pulse.y, sum.y);
    }
}

// ---- the sum from a file ----

TEST(FileSum, AddsTheRecordsOfTheFile)
{
    struct Case {
        const char *text;
        std::vector<std::vector<double>> records;
    };
    const std::vector<double> first = {30, 2, 3, 4, 5, 6, 7, 8};
    const std::vector<double> second = {2, 1, 9, 2, 1, 1, 0.5, -0.5};
    TempDir dir;
    for (const Case &c :
         {Case{"30 2 3 4 5 6 7 8\n2 1 9 2 1 1 0.5 -0.5\n", {first, second}},
          Case{"30 2 3 4\r\n5 6 7 8\r\n2 1 9 2\r\n1 1 0.5 -0.5", {first, second}},
          Case{"30 2 3 4 5 6 7 8\n0 1 9 2 1 1 0.5 -0.5\n", {first}},
          Case{"30 2 3 4 5 6 7 8\n2 1 9 2 1 1 0.5\n", {first}}, Case{"30 2 3 4 5 6 7\n", {}},
          Case{"0 2 3 4 5 6 7 8\n2 1 9 2 1 1 0.5 -0.5\n", {}}, Case{"", {}}}) {
        SCOPED_TRACE(c.text);
        const std::string name = dir.write("rectangles.txt", c.text);
        Pulse pulse(20);
        EXPECT_EQ(transcript(fmpulseproc6, name + " rest", pulse),
                  FILE_BANNER + "Pulse parameter file name: \n");
        const Pulse sum = sum_of(c.records, 20);
        EXPECT_EQ(pulse.x, sum.x);
        EXPECT_EQ(pulse.y, sum.y);
        EXPECT_EQ(rest_of_stdin(), " rest");
    }
}

TEST(FileSum, OfAMissingFileIsZeroWithAMessage)
{
    TempDir dir;
    Pulse pulse(5);
    CaptureStderr();
    EXPECT_EQ(transcript(fmpulseproc6, dir.path + "/missing.txt\n", pulse),
              FILE_BANNER + "Pulse parameter file name: \n");
    EXPECT_EQ(GetCapturedStderr(), "fopen(parameter file): No such file or directory\n");
    EXPECT_TRUE(pulse.all_zero());
}

TEST(FileSum, WithoutANameIsZeroWithoutAMessage)
{
    Pulse pulse(5);
    CaptureStderr();
    EXPECT_EQ(transcript(fmpulseproc6, " \n", pulse), FILE_BANNER + "Pulse parameter file name: ");
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_TRUE(pulse.all_zero());
}

TEST(FileSum, TakesANameOf255CharactersAndRefusesALongerOne)
{
    TempDir dir;
    const std::string start = dir.path + "/";
    ASSERT_LT(start.size(), 240u);
    const std::string leaf(255 - start.size(), 'n');
    dir.write(leaf, "30 2 3 4 5 6 7 8\n");
    Pulse pulse(5);
    transcript(fmpulseproc6, start + leaf + "\n", pulse);
    EXPECT_EQ(pulse.x, sum_of({{30, 2, 3, 4, 5, 6, 7, 8}}, 5).x);
    CaptureStderr();
    EXPECT_EQ(transcript(fmpulseproc6, start + leaf + "n\n", pulse),
              FILE_BANNER + "Pulse parameter file name: ");
    EXPECT_EQ(GetCapturedStderr(),
              std::string("fopen(parameter file): ") + std::strerror(ENAMETOOLONG) + "\n");
    EXPECT_TRUE(pulse.all_zero());
}
