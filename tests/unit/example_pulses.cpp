// The example pulses: flip angles, Bloch rotation of one spin, slice profiles, committed files.
#include "example_pulses.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>

namespace
{
constexpr double PI = 3.141592653589793;
constexpr int LOBES = 3;
constexpr int SAMPLES = 64;
constexpr double DURATION = 2.56e-3;

using Vector = std::array<double, 3>;

// M turned by -|w|·dt about w: the sense of this program's propagation.
Vector turned(const Vector &m, const Vector &w, double dt)
{
    const double size = std::hypot(w[0], w[1], w[2]);
    if (size == 0.0)
        return m;
    const Vector u = {w[0] / size, w[1] / size, w[2] / size};
    const double c = std::cos(size * dt), s = -std::sin(size * dt);
    const double along = (1.0 - c) * (u[0] * m[0] + u[1] * m[1] + u[2] * m[2]);
    return {m[0] * c + (u[1] * m[2] - u[2] * m[1]) * s + u[0] * along,
            m[1] * c + (u[2] * m[0] - u[0] * m[2]) * s + u[1] * along,
            m[2] * c + (u[0] * m[1] - u[1] * m[0]) * s + u[2] * along};
}

Vector after_pulse(const std::vector<double> &xb, const std::vector<double> &yb, double offset_hz,
                   Vector m)
{
    for (size_t k = 0; k < xb.size(); k++)
        m = turned(m, {xb[k], yb[k], 2.0 * PI * offset_hz}, DURATION / SAMPLES);
    return m;
}

std::vector<double> sinc_gauss(double flip)
{
    return ScaledToFlipAngle(SincGaussShape(SAMPLES, LOBES), DURATION / SAMPLES, flip);
}

const std::vector<double> silence(SAMPLES, 0.0);
const double bandwidth = SincGaussBandwidth(LOBES, DURATION);

Vector excited(double offset_hz)
{
    return after_pulse(sinc_gauss(0.5 * PI), silence, offset_hz, {0, 0, 1});
}

double transverse(const Vector &m)
{
    return std::hypot(m[0], m[1]);
}

// The part of transverse magnetisation that a 180 degree pulse about y refocuses.
double refocused(double offset_hz)
{
    const std::vector<double> pulse = sinc_gauss(PI);
    const Vector from_x = after_pulse(silence, pulse, offset_hz, {1, 0, 0});
    const Vector from_y = after_pulse(silence, pulse, offset_hz, {0, 1, 0});
    return 0.5 * (from_y[1] - from_x[0]);
}

double area(const std::vector<double> &rf, double dt)
{
    double sum = 0.0;
    for (const double b : rf)
        sum += b * dt;
    return sum;
}

std::vector<double> committed(const SectorWaveform &w)
{
    const std::string path =
        std::string(ZAN_SOURCE_DIR) + "/sequences/" + w.sequence + "/waveforms/" + w.name + ".bin";
    std::vector<double> values;
    std::FILE *in = std::fopen(path.c_str(), "rb");
    if (in == nullptr)
        return values;
    for (double v; std::fread(&v, sizeof v, 1, in) == 1;)
        values.push_back(v);
    std::fclose(in);
    return values;
}
} // namespace

TEST(ExamplePulses, HaveTheirFlipAngleOnResonance)
{
    for (const double flip : {0.5 * PI, PI})
        EXPECT_NEAR(area(sinc_gauss(flip), DURATION / SAMPLES), flip, 1e-12);
}

TEST(ExamplePulses, ShapeIsSymmetricWithItsPeakInTheMiddle)
{
    const std::vector<double> odd = SincGaussShape(65, LOBES);
    EXPECT_EQ(odd[32], 1.0);
    for (size_t k = 0; k < 32; k++) {
        EXPECT_NEAR(odd[k], odd[64 - k], 1e-15);
        EXPECT_LT(odd[k], 1.0);
    }
}

TEST(ExamplePulses, ExcitationAboutXEndsAlongPlusY)
{
    const Vector m = excited(0.0);
    EXPECT_LT(std::fabs(m[2]), 1e-3);
    EXPECT_NEAR(m[1], 1.0, 1e-6);
}

TEST(ExamplePulses, ExcitationIsHalfHeightAtTheEdgesOfItsBandwidth)
{
    const double edge = 0.5 * EXCITED_SHARE * bandwidth;
    for (const double side : {-1.0, 1.0}) {
        EXPECT_NEAR(transverse(excited(side * edge)), 0.5, 0.02);
        for (double share = 0.0; share <= 0.58; share += 0.02)
            EXPECT_GT(transverse(excited(side * share * edge)), 0.98) << share;
        for (double share = 1.4; share <= 6.0; share += 0.05)
            EXPECT_LT(transverse(excited(side * share * edge)), 0.04) << share;
    }
}

TEST(ExamplePulses, RefocusingIsHalfHeightAtTheEdgesOfItsBandwidth)
{
    const double edge = 0.5 * REFOCUSED_SHARE * bandwidth;
    EXPECT_NEAR(refocused(0.0), 1.0, 1e-6);
    for (const double side : {-1.0, 1.0}) {
        EXPECT_NEAR(refocused(side * edge), 0.5, 0.02);
        for (double share = 0.0; share <= 0.5; share += 0.02)
            EXPECT_GT(refocused(side * share * edge), 0.88) << share;
        for (double share = 1.5; share <= 6.0; share += 0.05)
            EXPECT_LT(std::fabs(refocused(side * share * edge)), 0.03) << share;
    }
}

TEST(ExamplePulses, RephasingShareBringsTheSliceIntoPhase)
{
    for (double share = -0.8; share <= 0.8; share += 0.05) {
        const double offset = 0.5 * share * EXCITED_SHARE * bandwidth;
        const double turns = offset * REPHASE_SHARE * DURATION;
        const Vector m = turned(excited(offset), {0, 0, -2.0 * PI * turns}, 1.0);
        EXPECT_NEAR(std::atan2(m[0], m[1]) * 180.0 / PI, 0.0, 3.0) << share;
    }
}

TEST(ExamplePulses, SliceGradientSpansTheBandwidthOverTheThickness)
{
    EXPECT_NEAR(SliceGradient(2000.0, 4.0) * 4.0, 2.0 * PI * 2000.0, 1e-9);
}

TEST(ExampleWaveforms, ExciteBy90AndRefocusBy180Degrees)
{
    int pulses = 0;
    for (const SectorWaveform &w : ExampleWaveforms()) {
        const double dt = w.duration / static_cast<double>(w.xb.size());
        const bool is_90 = w.name.find("90x") != std::string::npos;
        const bool is_180 = w.name.find("180y") != std::string::npos;
        EXPECT_NEAR(area(w.xb, dt), is_90 ? 0.5 * PI : 0.0, 1e-12) << w.sequence << " " << w.name;
        EXPECT_NEAR(area(w.yb, dt), is_180 ? PI : 0.0, 1e-12) << w.sequence << " " << w.name;
        pulses += is_90 || is_180 ? 1 : 0;
    }
    EXPECT_EQ(pulses, 7);
}

TEST(ExampleWaveforms, AreWhatTheCommittedFilesHold)
{
    for (const SectorWaveform &w : ExampleWaveforms()) {
        std::vector<double> made;
        for (const std::vector<double> *block : {&w.xb, &w.yb, &w.gx, &w.gy, &w.gz})
            made.insert(made.end(), block->begin(), block->end());
        const std::vector<double> read = committed(w);
        ASSERT_EQ(read.size(), made.size()) << w.sequence << " " << w.name;
        for (size_t k = 0; k < made.size(); k++)
            EXPECT_NEAR(read[k], made[k], 1e-9) << w.sequence << " " << w.name << " " << k;
    }
}
