// observablespectrumcalculator_phase.cpp - unwrapping, and the straight line through a phase.

#include "observablespectrumcalculator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

static const double TURN = 2.0 * 3.141592653589793;

TEST(UnwrapPhase, TakesOutJumpsOfMoreThanAWholeTurn)
{
    double theta[] = {0.0, 7.0, 20.0, 13.0, -6.5};
    unwrap_phase(theta, 5);
    EXPECT_DOUBLE_EQ(theta[1], 7.0 - TURN);
    EXPECT_DOUBLE_EQ(theta[2], 20.0 - 3 * TURN);
    EXPECT_DOUBLE_EQ(theta[3], 13.0 - TURN);
    EXPECT_DOUBLE_EQ(theta[4], -6.5 + 2 * TURN);
}

TEST(UnwrapPhase, KeepsJumpsBetweenHalfATurnAndAWholeOne)
{
    double theta[] = {3.0, -3.0, 3.2, 3.2 - TURN, 3.2};
    unwrap_phase(theta, 5);
    EXPECT_EQ(theta[1], -3.0);
    EXPECT_EQ(theta[2], 3.2);
    EXPECT_EQ(theta[3], 3.2 - TURN);
    EXPECT_EQ(theta[4], 3.2);
}

TEST(UnwrapPhase, EveryStepEndsWithinAWholeTurn)
{
    std::vector<double> theta, before;
    for (int i = 0; i < 50; i++)
        theta.push_back(30.0 * std::sin(1.7 * i) + 2.0 * i);
    before = theta;
    unwrap_phase(theta.data(), 50);
    for (size_t i = 1; i < 50; i++) {
        EXPECT_LE(std::fabs(theta[i] - theta[i - 1]), TURN * (1 + 1e-12)) << i;
        EXPECT_NEAR(std::remainder(theta[i] - before[i], TURN), 0.0, 1e-12) << i;
    }
}

TEST(UnwrapPhase, OfOneValueOrOfWhatIsNoNumberEnds)
{
    const double inf = std::numeric_limits<double>::infinity();
    double theta[] = {100.0, inf, 1e300, std::nan(""), 2.0};
    unwrap_phase(theta, 1);
    EXPECT_EQ(theta[0], 100.0);
    unwrap_phase(theta, 5);
    EXPECT_EQ(theta[1], inf);
    EXPECT_EQ(theta[4], 2.0);
    unwrap_phase(nullptr, 0);
}

static std::vector<double> spectrum_with_phase(int pp, double df, double fref, double phi0,
                                               double phi1)
{
    std::vector<double> spec;
    for (int i = 0; i < pp; i++) {
        const double phase = phi0 + phi1 * ((i - pp / 2) * df - fref);
        const double magnitude = 1.0 + i % 3;
        spec.push_back(magnitude * std::cos(phase));
        spec.push_back(magnitude * std::sin(phase));
    }
    return spec;
}

TEST(FitPhase, FindsTheStraightLine)
{
    for (int pp : {8, 9}) {
        const std::vector<double> spec = spectrum_with_phase(pp, 0.5, 1.25, 0.3, -0.2);
        double phi0, phi1;
        fit_phase0_phase1(spec.data(), pp, 0.5, 1.25, &phi0, &phi1);
        EXPECT_NEAR(phi0, 0.3, 1e-12);
        EXPECT_NEAR(phi1, -0.2, 1e-12);
    }
}

TEST(FitPhase, LargePointsCountMoreAndEmptyOnesNotAtAll)
{
    // Phases 0, 1, (none), 0.2 at x = -2, -1, 0, 1 with magnitudes 1, 3, 0, 2.
    const double spec[] = {1.0, 0.0, 3 * std::cos(1.0), 3 * std::sin(1.0),
                           0.0, 0.0, 2 * std::cos(0.2), 2 * std::sin(0.2)};
    const double S = 6, Sx = -2 - 3 + 2, Sp = 3 + 0.4, Sxx = 4 + 3 + 2, Sxp = -3 + 0.4;
    const double slope = (S * Sxp - Sx * Sp) / (S * Sxx - Sx * Sx);
    double phi0, phi1;
    fit_phase0_phase1(spec, 4, 1.0, 0.0, &phi0, &phi1);
    EXPECT_NEAR(phi1, slope, 1e-12);
    EXPECT_NEAR(phi0, (Sp - slope * Sx) / S, 1e-12);
}

TEST(FitPhase, WithoutTwoFrequenciesIsZero)
{
    const double point[] = {0.0, 1.0}, none[] = {0.0, 0.0, 0.0, 0.0};
    double phi0 = 7.0, phi1 = 7.0;
    fit_phase0_phase1(point, 1, 1.0, 0.0, &phi0, &phi1);
    EXPECT_EQ(phi0, 0.0);
    EXPECT_EQ(phi1, 0.0);
    phi0 = phi1 = 7.0;
    fit_phase0_phase1(none, 2, 1.0, 0.0, &phi0, &phi1);
    EXPECT_EQ(phi0, 0.0);
    EXPECT_EQ(phi1, 0.0);
    fit_phase0_phase1(nullptr, 0, 1.0, 0.0, &phi0, &phi1);
    EXPECT_EQ(phi0, 0.0);
}
