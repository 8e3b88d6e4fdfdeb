// example_pulses.cpp - pulse shapes and the sectors of the example sequences.
//
// The durations and counts here stand once more in sequences/*/*.zanseq; a test compares them.
#include "example_pulses.h"

#include <cmath>
#include <utility>

static constexpr double PI = 3.141592653589793;

std::vector<double> SincGaussShape(int n, int lobes)
{
    std::vector<double> shape;
    for (int k = 0; k < n; k++) {
        const double u = (2.0 * k + 1.0) / n - 1.0; // -1 … 1 over the pulse
        const double x = PI * lobes * u;
        const double sinc = x == 0.0 ? 1.0 : std::sin(x) / x;
        shape.push_back(sinc * std::exp(-2.0 * u * u));
    }
    return shape;
}

std::vector<double> ScaledToFlipAngle(std::vector<double> shape, double dt, double flip)
{
    double area = 0.0;
    for (const double s : shape)
        area += s * dt;
    for (double &s : shape)
        s *= flip / area;
    return shape;
}

double SincGaussBandwidth(int lobes, double duration)
{
    return 2.0 * lobes / duration;
}

double SliceGradient(double bandwidth_hz, double thickness_cm)
{
    return 2.0 * PI * bandwidth_hz / thickness_cm;
}

// ---- sectors ----

static SectorWaveform delay_2d(const char *sequence, const char *name, size_t n, double duration)
{
    SectorWaveform w{sequence, name, duration, {}, {}, {}, {}, {}};
    w.xb.assign(n, 0.0);
    w.yb.assign(n, 0.0);
    return w;
}

static SectorWaveform delay(const char *sequence, const char *name, size_t n, double duration)
{
    SectorWaveform w = delay_2d(sequence, name, n, duration);
    w.gx.assign(n, 0.0);
    w.gy.assign(n, 0.0);
    w.gz.assign(n, 0.0);
    return w;
}

static SectorWaveform hard_90x(const char *sequence, const char *name, double duration)
{
    SectorWaveform w = delay_2d(sequence, name, 1, duration);
    w.xb = ScaledToFlipAngle({1.0}, duration, 0.5 * PI);
    return w;
}

static constexpr int LOBES = 3;

// 90 degrees about x; half the maximum at the edges of the slice.
static SectorWaveform excite_slice_x(const char *sequence, int n, double duration, double thickness)
{
    const size_t count = static_cast<size_t>(n);
    SectorWaveform w = delay(sequence, "excite-90x", count, duration);
    const double bandwidth = EXCITED_SHARE * SincGaussBandwidth(LOBES, duration);
    w.xb = ScaledToFlipAngle(SincGaussShape(n, LOBES), duration / n, 0.5 * PI);
    w.gx.assign(count, SliceGradient(bandwidth, thickness));
    return w;
}

static SectorWaveform rephase_slice_x(const SectorWaveform &excite, double duration)
{
    SectorWaveform w = delay(excite.sequence.c_str(), "rephase-x", 1, duration);
    w.gx[0] = -excite.gx[0] * REPHASE_SHARE * excite.duration / duration;
    return w;
}

// 180 degrees about y during n samples; before and after it the gradient stays on for
// n_crusher samples at another strength. Those two areas cancel for what the pulse refocuses
// and dephase what it leaves or excites.
static SectorWaveform refocus_slice(const char *sequence, const char *name, int n, int n_crusher,
                                    double dt, double thickness, double crusher, bool along_z)
{
    const int count = n + 2 * n_crusher;
    SectorWaveform w = delay(sequence, name, static_cast<size_t>(count), count * dt);
    const double bandwidth = REFOCUSED_SHARE * SincGaussBandwidth(LOBES, n * dt);
    const std::vector<double> pulse = ScaledToFlipAngle(SincGaussShape(n, LOBES), dt, PI);
    std::vector<double> gradient(static_cast<size_t>(count), crusher);
    for (size_t k = 0; k < pulse.size(); k++) {
        w.yb[k + static_cast<size_t>(n_crusher)] = pulse[k];
        gradient[k + static_cast<size_t>(n_crusher)] = SliceGradient(bandwidth, thickness);
    }
    (along_z ? w.gz : w.gy) = std::move(gradient);
    return w;
}

// ---- sequences ----

static void add_lactate_slice(std::vector<SectorWaveform> *all)
{
    const SectorWaveform excite = excite_slice_x("lactate-slice", 256, 2.56e-3, 1.0);
    all->push_back(excite);
    all->push_back(rephase_slice_x(excite, 1.484e-3));
}

// Voxel 2 x 2 x 2 cm, TE 144 ms: 36 ms from the pulse to the first 180 degrees, 72 ms to the
// second, 36 ms to the acquisition.
static void add_lactate_press(std::vector<SectorWaveform> *all)
{
    const char *const name = "lactate-press";
    // 3/8 of a turn over 0.25 cm, the step of the model's grid, in 1.28 ms: summed over the eight
    // positions of an axis, what the crushers dephase cancels.
    const double crusher = 2.0 * PI * 0.375 / 0.25 / 1.28e-3;
    const SectorWaveform excite = excite_slice_x(name, 64, 2.56e-3, 2.0);
    const SectorWaveform refocus_y =
        refocus_slice(name, "refocus-180y-slice-y", 64, 32, 40e-6, 2.0, crusher, false);
    const SectorWaveform refocus_z =
        refocus_slice(name, "refocus-180y-slice-z", 64, 32, 40e-6, 2.0, crusher, true);
    all->push_back(excite);
    all->push_back(rephase_slice_x(excite, 1.0e-3));
    all->push_back(delay(name, "delay-1", 1, 31.11136e-3));
    all->push_back(refocus_y);
    all->push_back(delay(name, "delay-2", 1, 66.88e-3));
    all->push_back(refocus_z);
    all->push_back(delay(name, "delay-3", 1, 33.44e-3));
    all->push_back(delay(name, "adc", 1024, 0.512));
}

static void add_gaba_fid(std::vector<SectorWaveform> *all)
{
    all->push_back(hard_90x("gaba-fid", "hard-90x", 10e-6));
    all->push_back(delay_2d("gaba-fid", "adc", 2048, 0.512));
}

static void add_three_spin_cosy(std::vector<SectorWaveform> *all)
{
    all->push_back(hard_90x("three-spin-cosy", "hard-90x", 10e-6));
    all->push_back(delay_2d("three-spin-cosy", "evolution", 1, 0.8e-3));
    all->push_back(delay_2d("three-spin-cosy", "adc", 256, 0.2048));
}

// A rectangular pulse, where an optimization begins.
static void add_lactate_select(std::vector<SectorWaveform> *all)
{
    SectorWaveform w = delay_2d("lactate-select", "flat-90x", 256, 8e-3);
    const std::vector<double> flat(256, 1.0);
    w.xb = ScaledToFlipAngle(flat, w.duration / 256.0, 0.5 * PI);
    all->push_back(w);
}

std::vector<SectorWaveform> ExampleWaveforms(void)
{
    std::vector<SectorWaveform> all;
    add_lactate_slice(&all);
    add_lactate_press(&all);
    add_gaba_fid(&all);
    add_three_spin_cosy(&all);
    add_lactate_select(&all);
    return all;
}
