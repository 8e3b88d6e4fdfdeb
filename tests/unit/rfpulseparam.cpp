// rfpulseparam - pulses to parameters and back, what is kept above the modes, and the corners.
#include "rfpulseparam.h"

#include "memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

typedef std::vector<double> Samples;

static const double TWO_PI = 6.283185307179586;

static Samples random_samples(int count, unsigned seed)
{
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    Samples s(static_cast<size_t>(count));
    for (double &x : s)
        x = value(gen);
    return s;
}

static double largest_difference(const Samples &a, const Samples &b)
{
    double largest = 0.0;
    for (size_t i = 0; i < a.size(); i++)
        largest = std::max(largest, std::fabs(a[i] - b[i]));
    return largest;
}

// amplitude·cos(2·pi·k·t + phase) with the time counted from the middle sample
static Samples wave(int ap, int k, double amplitude, double phase)
{
    Samples s;
    for (int i = 0; i < ap; i++)
        s.push_back(amplitude * std::cos(TWO_PI * k * (i - ap / 2) / ap + phase));
    return s;
}

static Samples sum(const Samples &a, const Samples &b)
{
    Samples s = a;
    for (size_t i = 0; i < s.size(); i++)
        s[i] += b[i];
    return s;
}

static Samples parameters(int npar, int ap, const Samples &xb, const Samples &yb)
{
    Samples par(static_cast<size_t>(npar), 99.0);
    RFPulseToParArray(npar, ap, xb.data(), yb.data(), par.data());
    return par;
}

TEST(PulseParameters, NumberOfModes)
{
    struct Case {
        int npar, ap, modes;
    };
    for (const Case &c :
         {Case{40, 256, 10}, Case{40, 22, 10}, Case{40, 20, 9}, Case{40, 8, 3}, Case{40, 4, 1},
          Case{40, 3, 0}, Case{40, 2, 0}, Case{40, 1, 0}, Case{40, 0, 0}, Case{43, 256, 10},
          Case{4, 256, 1}, Case{3, 256, 0}, Case{0, 256, 0}, Case{160, 8192, 40}})
        EXPECT_EQ(rfpulseparam_max_modes(c.npar, c.ap), c.modes) << c.npar << " " << c.ap;
}

TEST(PulseParameters, RealPartsStartAtFrequencyZeroAndImaginaryPartsAtOne)
{
    const int ap = 64;
    // A cosine of amplitude 1 has ap/2 at +k and -k; the imaginary part grows with +sine.
    const Samples xb = sum(wave(ap, 0, 2.0, 0.0), wave(ap, 3, 1.0, 0.0));
    const Samples yb = wave(ap, 4, 1.0, -TWO_PI / 4.0); // +sin(2·pi·4·t)
    Samples expected(40, 0.0);
    expected[0] = 2.0 * ap;
    expected[2 * 3] = 0.5 * ap;
    expected[20 + 2 * 3 + 1] = 0.5 * ap;
    EXPECT_LT(largest_difference(parameters(40, ap, xb, yb), expected), 1e-12);
}

TEST(PulseParameters, FortyForALongPulseAreTenModesOfEachChannel)
{
    const Samples xb = random_samples(256, 1), yb = random_samples(256, 2);
    const Samples par = parameters(40, 256, xb, yb), only_x = parameters(40, 256, xb, xb);
    for (size_t k = 0; k < 20; k++) {
        EXPECT_NE(par[k], 0.0) << k;
        EXPECT_EQ(par[k], only_x[k]) << k;
        EXPECT_EQ(only_x[20 + k], only_x[k]) << k;
        EXPECT_NE(par[20 + k], only_x[20 + k]) << k;
    }
}

TEST(PulseParameters, FewSamplesLeaveTheParametersBeyondTheirModesAtZero)
{
    const Samples par = parameters(40, 8, random_samples(8, 3), random_samples(8, 4));
    for (size_t k = 0; k < 20; k++) {
        EXPECT_EQ(par[k] != 0.0, k < 6) << k;
        EXPECT_EQ(par[20 + k] != 0.0, k < 6) << k;
    }
}

TEST(PulseParameters, BeyondTheModesTheyAreIgnored)
{
    Samples par = parameters(40, 8, random_samples(8, 3), random_samples(8, 4));
    Samples x(8), y(8), x2(8), y2(8);
    ParArrayToRFPulseLowMode(40, 8, par.data(), x.data(), y.data());
    for (size_t k = 6; k < 20; k++)
        par[k] = par[20 + k] = 1e6;
    ParArrayToRFPulseLowMode(40, 8, par.data(), x2.data(), y2.data());
    EXPECT_EQ(x2, x);
    EXPECT_EQ(y2, y);
}

// An odd half: y begins at npar/2, rounded down.
TEST(PulseParameters, TheSecondHalfBeginsAtHalfTheirNumber)
{
    const Samples yb = wave(64, 0, 1.0, 0.0);
    for (int npar : {40, 41, 42, 43}) {
        const Samples par = parameters(npar, 64, Samples(64, 0.0), yb);
        EXPECT_NEAR(par[static_cast<size_t>(npar / 2)], 64.0, 1e-12) << npar;
    }
}

TEST(PulseParameters, APulseOfLowModesComesBack)
{
    const int ap = 128;
    // Frequencies 0..9 fit ten modes entirely; of frequency 10 only the sine does.
    const Samples xb =
        sum(sum(wave(ap, 0, 3.0, 0.0), wave(ap, 9, 1.0, 0.7)), wave(ap, 2, 2.0, 1.9));
    const Samples yb = sum(wave(ap, 1, 1.0, -2.0), wave(ap, 10, 1.0, TWO_PI / 4.0));
    const Samples par = parameters(40, ap, xb, yb);
    Samples x = random_samples(ap, 5), y = random_samples(ap, 6);
    ParArrayToRFPulseLowMode(40, ap, par.data(), x.data(), y.data());
    EXPECT_LT(largest_difference(x, xb), 1e-13);
    EXPECT_LT(largest_difference(y, yb), 1e-13);
    EXPECT_LT(largest_difference(parameters(40, ap, x, y), par), 1e-12);
}

TEST(PulseParameters, OwnParametersLeaveAnyPulseAsItIs)
{
    for (int ap : {2, 4, 8, 256}) {
        const Samples xb = random_samples(ap, 7), yb = random_samples(ap, 8);
        const Samples par = parameters(40, ap, xb, yb);
        Samples x = xb, y = yb;
        ParArrayToRFPulse(40, ap, par.data(), x.data(), y.data());
        EXPECT_LT(largest_difference(x, xb), 1e-13) << ap;
        EXPECT_LT(largest_difference(y, yb), 1e-13) << ap;
    }
}

TEST(PulseParameters, PreservingKeepsTheFrequenciesAboveTheModes)
{
    const int ap = 64;
    const Samples old_low = wave(ap, 1, 5.0, 0.3), high = wave(ap, 12, 1.0, 0.4);
    const Samples wanted = wave(ap, 2, 3.0, -0.8);
    const Samples par = parameters(40, ap, wanted, wanted);
    Samples x = sum(old_low, high), y = x;
    ParArrayToRFPulse(40, ap, par.data(), x.data(), y.data());
    EXPECT_LT(largest_difference(x, sum(wanted, high)), 1e-13);
    EXPECT_LT(largest_difference(y, sum(wanted, high)), 1e-13);

    ParArrayToRFPulseLowMode(40, ap, par.data(), x.data(), y.data());
    EXPECT_LT(largest_difference(x, wanted), 1e-13);
    EXPECT_LT(largest_difference(y, wanted), 1e-13);
}

TEST(PulseParameters, OneChannelIsFoundAtItsBase)
{
    const int ap = 32;
    const Samples s = wave(ap, 1, 1.0, 0.5);
    Samples par(12, 9.0);
    signal_to_par_centered(8, ap, s.data(), par.data(), 5);
    EXPECT_EQ(par[4], 9.0);
    EXPECT_NEAR(par[7], 0.5 * ap * std::cos(0.5), 1e-13);
    EXPECT_NEAR(par[6], -0.5 * ap * std::sin(0.5), 1e-13);
    EXPECT_EQ(par[9], 9.0);

    Samples back(ap), kept = s;
    par_to_signal_centered_zero(8, ap, par.data(), 5, back.data());
    par_to_signal_centered_preserve(8, ap, par.data(), 5, kept.data());
    EXPECT_LT(largest_difference(back, s), 1e-14);
    EXPECT_LT(largest_difference(kept, s), 1e-14);
}

TEST(PulseParameters, NothingHappensWithoutParametersOrWithFewerThanTwoSamples)
{
    struct Case {
        int npar, ap;
    };
    for (const Case &c : {Case{40, 1}, Case{40, 0}, Case{40, -4}, Case{0, 8}, Case{-1, 8}}) {
        const Samples before(40, 7.0);
        Samples xb = before, yb = before, par = before;
        RFPulseToParArray(c.npar, c.ap, xb.data(), yb.data(), par.data());
        ParArrayToRFPulse(c.npar, c.ap, par.data(), xb.data(), yb.data());
        ParArrayToRFPulseLowMode(c.npar, c.ap, par.data(), xb.data(), yb.data());
        EXPECT_EQ(par, before) << c.npar << " " << c.ap;
        EXPECT_EQ(xb, before) << c.npar << " " << c.ap;
        EXPECT_EQ(yb, before) << c.npar << " " << c.ap;
    }
}

TEST(PulseParameters, OneChannelOfNoSamplesIsLeftAlone)
{
    double value = 7.0;
    for (int ap : {0, -1, -1000}) {
        signal_to_par_centered(40, ap, &value, &value, 0);
        par_to_signal_centered_preserve(40, ap, &value, 0, &value);
        par_to_signal_centered_zero(40, ap, &value, 0, &value);
        EXPECT_EQ(value, 7.0) << ap;
    }
}

// Sample counts must be powers of two: other counts are not transformed at all.
TEST(PulseParameters, OfAnotherSampleCountAreTheRawSamples)
{
    const int ap = 100;
    const Samples xb = random_samples(ap, 9), yb = random_samples(ap, 10);
    const Samples par = parameters(40, ap, xb, yb);
    for (size_t j = 0; j < 10; j++) {
        EXPECT_EQ(par[2 * j], xb[50 + j]) << j;
        EXPECT_EQ(par[2 * j + 1], 0.0) << j;
        EXPECT_EQ(par[20 + 2 * j], yb[50 + j]) << j;
    }
    Samples x = xb, y = yb;
    ParArrayToRFPulse(40, ap, par.data(), x.data(), y.data());
    for (size_t i = 0; i < 100; i++) {
        const bool is_mirrored = i > 40 && i < 50;
        EXPECT_EQ(x[i], is_mirrored ? xb[100 - i] : xb[i]) << i;
    }
    ParArrayToRFPulseLowMode(40, ap, par.data(), x.data(), y.data());
    EXPECT_EQ(x[40], 0.0);
    EXPECT_EQ(x[59], xb[59]);
    EXPECT_EQ(x[60], 0.0);
}

TEST(PulseParameters, WithoutMemoryNothingChanges)
{
    const int ap = 16;
    const Samples before = random_samples(ap, 11);
    testing::internal::CaptureStderr();
    for (int failing = 1; failing <= 3; failing++) { // real part, imaginary part, transform
        Samples par(8, 9.0), signal = before;
        fail_array_allocation(failing);
        signal_to_par_centered(8, ap, signal.data(), par.data(), 0);
        EXPECT_EQ(par, Samples(8, 9.0)) << failing;
        fail_array_allocation(failing);
        par_to_signal_centered_zero(8, ap, par.data(), 0, signal.data());
        EXPECT_EQ(signal, before) << failing;
    }
    for (int failing = 1; failing <= 4; failing++) { // and the transform back
        Samples par(8, 9.0), signal = before;
        fail_array_allocation(failing);
        par_to_signal_centered_preserve(8, ap, par.data(), 0, signal.data());
        EXPECT_EQ(signal, before) << failing;
    }
    fail_array_allocation(0);
    std::string messages;
    for (int failed = 1; failed <= 10; failed++)
        messages += "RF pulse conversion: not enough memory\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), messages);
}
