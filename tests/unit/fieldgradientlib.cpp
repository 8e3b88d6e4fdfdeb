// fieldgradientlib - the waveforms against their formulas and trajectories; the gradient menu.
#include "fieldgradientlib.h"
#include "console.h"

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

static const double PI = std::numbers::pi;
static const double UNTOUCHED = 777.0;

typedef void (*Dialog)(const int *ap, const double *h, double *gs);
typedef fieldgrad_status (*Spiral)(size_t ap, double h, double *gs, double A, double n);

TEST(FieldgradPi, IsTheDoubleNearestToPi)
{
    EXPECT_EQ(fieldgrad_pi(), 3.141592653589793);
}

TEST(FieldgradValidInputs, NeedsSamplesAStepAndAnArray)
{
    double gs[1] = {0.0};
    EXPECT_TRUE(fieldgrad_valid_inputs(1, 1e-5, gs));
    EXPECT_FALSE(fieldgrad_valid_inputs(0, 1e-5, gs));
    EXPECT_FALSE(fieldgrad_valid_inputs(1, 0.0, gs));
    EXPECT_FALSE(fieldgrad_valid_inputs(1, -1e-5, gs));
    EXPECT_FALSE(fieldgrad_valid_inputs(1, std::nan(""), gs));
    EXPECT_FALSE(fieldgrad_valid_inputs(1, 1e-5, nullptr));
}

// ---- waveforms ----

TEST(ConstantGradient, Of1000HzPerCm)
{
    double gs[6] = {0, 0, 0, 0, 0, UNTOUCHED};
    EXPECT_EQ(gradproc1_compute(5, 1e-5, gs, 1000.0), FIELDGRAD_OK);
    for (int i = 0; i < 5; i++)
        EXPECT_NEAR(gs[i], 6283.185307179586, 1e-9) << i;
    EXPECT_EQ(gs[5], UNTOUCHED);
}

TEST(ConstantGradient, NeedsNoTimeStep)
{
    double gs[1];
    for (const double h : {0.0, -1.0}) {
        EXPECT_EQ(gradproc1_compute(1, h, gs, -2.0), FIELDGRAD_OK);
        EXPECT_DOUBLE_EQ(gs[0], -4.0 * PI);
    }
}

TEST(ConstantGradient, RefusesNoArrayAndNoSamples)
{
    double gs[1] = {UNTOUCHED};
    EXPECT_EQ(gradproc1_compute(1, 1e-5, nullptr, 1.0), FIELDGRAD_ERR_NULLPTR);
    EXPECT_EQ(gradproc1_compute(0, 1e-5, nullptr, 1.0), FIELDGRAD_ERR_NULLPTR);
    EXPECT_EQ(gradproc1_compute(0, 1e-5, gs, 1.0), FIELDGRAD_ERR_BADLEN);
    EXPECT_EQ(gs[0], UNTOUCHED);
}

TEST(SpiralGradients, FollowTheirFormulas)
{
    for (const int ap : {1, 6, 200}) {
        const size_t samples = static_cast<size_t>(ap);
        std::vector<double> cosine(samples + 1, UNTOUCHED), sine(cosine);
        const double h = 2e-5, A = -3.0, n = 4.5;
        EXPECT_EQ(gradproc2_compute(samples, h, cosine.data(), A, n), FIELDGRAD_OK);
        EXPECT_EQ(gradproc3_compute(samples, h, sine.data(), A, n), FIELDGRAD_OK);
        const long double pi = 3.14159265358979323846264338327950288L, w = 2 * pi * n;
        const long double T = static_cast<long double>(h) * ap;
        for (int i = 0; i < ap; i++) {
            const long double u = 1 - static_cast<long double>(i) / ap, phi = w * (1 - u);
            const long double cosine_i = -A / T * (std::cos(phi) + w * u * std::sin(phi));
            const long double sine_i = A / T * (w * u * std::cos(phi) - std::sin(phi));
            const double tolerance = 1e-12 * static_cast<double>(std::fabs(A / T * w));
            EXPECT_NEAR(cosine[static_cast<size_t>(i)], static_cast<double>(cosine_i), tolerance);
            EXPECT_NEAR(sine[static_cast<size_t>(i)], static_cast<double>(sine_i), tolerance);
        }
        EXPECT_EQ(cosine[samples], UNTOUCHED);
        EXPECT_EQ(sine[samples], UNTOUCHED);
    }
}

TEST(SpiralGradients, StartAtTheOuterEndOfTheSpiral)
{
    double gs[10];
    const double T = 10 * 1e-5, A = 7.0, n = 3.0;
    ASSERT_EQ(gradproc2_compute(10, 1e-5, gs, A, n), FIELDGRAD_OK);
    EXPECT_DOUBLE_EQ(gs[0], -A / T);
    ASSERT_EQ(gradproc3_compute(10, 1e-5, gs, A, n), FIELDGRAD_OK);
    EXPECT_DOUBLE_EQ(gs[0], A * 2.0 * PI * n / T);
}

// The k-space trajectory of the pulses runs from radius B to 0: the gradient with amplitude B is
// its derivative, so the integral up to a sample is the way it has gone.
TEST(SpiralGradients, IntegrateToTheTrajectoryOfThePulses)
{
    const size_t ap = 8192;
    const double h = 1e-6, B = 9.0, n = 5.0, T = static_cast<double>(ap) * h;
    std::vector<double> gx(ap), gy(ap);
    ASSERT_EQ(gradproc2_compute(ap, h, gx.data(), B, n), FIELDGRAD_OK);
    ASSERT_EQ(gradproc3_compute(ap, h, gy.data(), B, n), FIELDGRAD_OK);
    double kx = B, ky = 0.0;
    for (size_t i = 0; i + 1 < ap; i++) {
        kx += (gx[i] + gx[i + 1]) / 2.0 * h;
        ky += (gy[i] + gy[i + 1]) / 2.0 * h;
        const double r = static_cast<double>(i + 1) * h / T;
        ASSERT_NEAR(kx, B * (1 - r) * std::cos(2 * PI * n * r), 1e-4) << i;
        ASSERT_NEAR(ky, B * (1 - r) * std::sin(2 * PI * n * r), 1e-4) << i;
    }
}

TEST(SpiralGradients, RefuseBadArgumentsAndLeaveTheArray)
{
    for (const Spiral spiral : {gradproc2_compute, gradproc3_compute}) {
        double gs[2] = {UNTOUCHED, UNTOUCHED};
        EXPECT_EQ(spiral(2, 1e-5, nullptr, 1, 1), FIELDGRAD_ERR_NULLPTR);
        EXPECT_EQ(spiral(0, 0.0, nullptr, 1, 1), FIELDGRAD_ERR_NULLPTR);
        EXPECT_EQ(spiral(2, 0.0, gs, 1, 1), FIELDGRAD_ERR_BADARG);
        EXPECT_EQ(spiral(2, -1e-5, gs, 1, 1), FIELDGRAD_ERR_BADARG);
        EXPECT_EQ(spiral(0, 1e-5, gs, 1, 1), FIELDGRAD_ERR_BADARG);
        EXPECT_EQ(gs[0], UNTOUCHED);
        EXPECT_EQ(gs[1], UNTOUCHED);
    }
}

TEST(CalcGradCompute, LeadsToTheWaveformThatIsChosen)
{
    double got[4], expected[4];
    ASSERT_EQ(CalcGrad_compute(4, 1e-5, got, 1, 2, 3, 50), FIELDGRAD_OK);
    EXPECT_DOUBLE_EQ(got[3], 100 * PI);
    ASSERT_EQ(CalcGrad_compute(4, 1e-5, got, 2, 2, 3, 50), FIELDGRAD_OK);
    gradproc2_compute(4, 1e-5, expected, 2, 3);
    EXPECT_EQ(std::vector<double>(got, got + 4), std::vector<double>(expected, expected + 4));
    ASSERT_EQ(CalcGrad_compute(4, 1e-5, got, 3, 2, 3, 50), FIELDGRAD_OK);
    gradproc3_compute(4, 1e-5, expected, 2, 3);
    EXPECT_EQ(std::vector<double>(got, got + 4), std::vector<double>(expected, expected + 4));
}

TEST(CalcGradCompute, RefusesBadArgumentsAndLeavesTheArray)
{
    double gs[1] = {UNTOUCHED};
    EXPECT_EQ(CalcGrad_compute(1, 1e-5, nullptr, 9, 1, 1, 1), FIELDGRAD_ERR_NULLPTR);
    EXPECT_EQ(CalcGrad_compute(0, 1e-5, gs, 9, 1, 1, 1), FIELDGRAD_ERR_BADLEN);
    EXPECT_EQ(CalcGrad_compute(0, 1e-5, gs, 2, 1, 1, 1), FIELDGRAD_ERR_BADLEN);
    for (const int choice : {0, 4, -1})
        EXPECT_EQ(CalcGrad_compute(1, 1e-5, gs, choice, 1, 1, 1), FIELDGRAD_ERR_BADARG);
    EXPECT_EQ(CalcGrad_compute(1, 0.0, gs, 2, 1, 1, 1), FIELDGRAD_ERR_BADARG);
    EXPECT_EQ(gs[0], UNTOUCHED);
}

// ---- dialogs ----

static const std::string MENU = "Possible gradient modulation types:\n"
                                "   1.  Constant gradient \n"
                                "   2.  cosine spiral (2D excitation)\n"
                                "   3.  sine spiral   (2D excitation)\n"
                                "Your choice [1..3] : ";
static const std::string CONSTANT = " Constant gradient strength [Hz/cm] : ";
static const std::string COSINE = "g(t) = -(A/T)*(2*pi*n*(1-(t/T))*((sin(2*pi*n*t/T)+f(t))\n"
                                  "f(t) = cos(2*pi*n*t/T)\n";
static const std::string SINE = "g(t) = (A/T)*(2*pi*n*(1-(t/T))*((cos(2*pi*n*t/T)+f(t))\n"
                                "f(t) = -sin(2*pi*n*t/T)\n";

static double gs[4];

static std::string transcript(Dialog dialog, const std::string &input, int ap = 3, double h = 1e-5)
{
    for (double &sample : gs)
        sample = UNTOUCHED;
    fieldgrad_last_status = FIELDGRAD_ERR_NULLPTR;
    feed_stdin(input);
    CaptureStdout();
    dialog(&ap, &h, gs);
    return GetCapturedStdout();
}

static void expect_untouched(void)
{
    for (const double sample : gs)
        EXPECT_EQ(sample, UNTOUCHED);
}

static void expect_samples(const double *expected)
{
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(gs[i], expected[i]) << i;
    EXPECT_EQ(gs[3], UNTOUCHED);
    EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_OK);
}

TEST(CalcGrad, LeadsToTheWaveformThatIsChosen)
{
    double expected[3];
    EXPECT_EQ(transcript(CalcGrad, "1\n250\nrest"), MENU + "\n" + CONSTANT + "\n");
    EXPECT_EQ(rest_of_stdin(), "\nrest");
    gradproc1_compute(3, 1e-5, expected, 250);
    expect_samples(expected);

    EXPECT_EQ(transcript(CalcGrad, "2\n12\n5\n"), MENU + "\n" + COSINE + "A    : \nn    : \n");
    gradproc2_compute(3, 1e-5, expected, 12, 5);
    expect_samples(expected);

    EXPECT_EQ(transcript(CalcGrad, "3 12 5\n"), MENU + "\n" + SINE + "A : \nn : \n");
    gradproc3_compute(3, 1e-5, expected, 12, 5);
    expect_samples(expected);
}

TEST(CalcGrad, BadAnswersLeaveTheArrayAndSetTheStatus)
{
    struct Case {
        const char *input;
        std::string screen;
        fieldgrad_status status;
    };
    for (const Case &c : {
             Case{"x\n", MENU, FIELDGRAD_ERR_IO},
             Case{"", MENU, FIELDGRAD_ERR_IO},
             Case{"0\n", MENU + "\n", FIELDGRAD_ERR_BADARG},
             Case{"4\n", MENU + "\n", FIELDGRAD_ERR_BADARG},
             Case{"-1\n", MENU + "\n", FIELDGRAD_ERR_BADARG},
             Case{"1\nx\n", MENU + "\n" + CONSTANT, FIELDGRAD_ERR_IO},
             Case{"1\n", MENU + "\n" + CONSTANT, FIELDGRAD_ERR_IO},
             Case{"2\nx\n", MENU + "\n" + COSINE + "A    : ", FIELDGRAD_ERR_IO},
             Case{"2\n1\nx\n", MENU + "\n" + COSINE + "A    : \nn    : ", FIELDGRAD_ERR_IO},
             Case{"3\nx\n", MENU + "\n" + SINE + "A : ", FIELDGRAD_ERR_IO},
             Case{"3\n1\nx\n", MENU + "\n" + SINE + "A : \nn : ", FIELDGRAD_ERR_IO},
         }) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(transcript(CalcGrad, c.input), c.screen);
        EXPECT_EQ(fieldgrad_last_status, c.status);
        expect_untouched();
    }
}

TEST(GradientDialogs, WithoutAnArgumentSetTheStatusAndReturn)
{
    for (const Dialog dialog : {CalcGrad, gradproc1, gradproc2, gradproc3}) {
        const int ap = 3;
        const double h = 1e-5;
        feed_stdin("1 2 3\n");
        CaptureStdout();
        for (int missing = 0; missing < 3; missing++) {
            fieldgrad_last_status = FIELDGRAD_OK;
            dialog(missing == 0 ? nullptr : &ap, missing == 1 ? nullptr : &h,
                   missing == 2 ? nullptr : gs);
            EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_ERR_NULLPTR) << missing;
        }
        EXPECT_EQ(GetCapturedStdout(), "");
        EXPECT_EQ(rest_of_stdin(), "1 2 3\n");
    }
}

TEST(GradientDialogs, RefuseASpiralWithoutDuration)
{
    for (const Dialog dialog : {gradproc2, gradproc3}) {
        transcript(dialog, "12 5\n", 3, 0.0);
        EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_ERR_BADARG);
        expect_untouched();
    }
    transcript(gradproc1, "12\n", 3, 0.0);
    EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_OK);
}

TEST(GradientDialogs, RefuseACountThatTheArraysDoNotHold)
{
    for (const int ap : {0, -1, 8193}) {
        transcript(gradproc1, "12\n", ap);
        EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_ERR_BADLEN) << ap;
        expect_untouched();
        transcript(gradproc2, "12 5\n", ap);
        EXPECT_EQ(fieldgrad_last_status, FIELDGRAD_ERR_BADARG) << ap;
        expect_untouched();
    }
}
