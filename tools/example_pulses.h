// example_pulses - pulse shapes, gradients and the waveforms of the example sequences.
//
// make_waveforms writes them below sequences/, where the .zanseq files name them; the tests
// check flip angles and slice profiles. Sample k of n acts during [k·dt, (k+1)·dt), shapes are
// taken at the middle of the samples. Times in s, RF in rad/s, gradients in rad/s per cm,
// lengths in cm, bandwidths in Hz.
#ifndef ZAN_EXAMPLE_PULSES_H
#define ZAN_EXAMPLE_PULSES_H

#include <string>
#include <vector>

// Bandwidth that a sinc-Gauss pulse really covers, as a share of 2·lobes/duration: full width
// at half height of |Mxy| after a 90 degree pulse, of the refocused part for a 180 degree pulse.
constexpr double EXCITED_SHARE = 1.03;
constexpr double REFOCUSED_SHARE = 0.70;
// Where the spins of a 90 degree sinc-Gauss pulse are in phase, as a share of the duration before
// its end: what the rephasing lobe has to undo, and where chemical shift starts to count.
constexpr double REPHASE_SHARE = 0.519;

// sinc with `lobes` zeros on either side of its centre, under a Gauss window whose standard
// deviation is a quarter of the pulse. Peak about 1, no unit.
std::vector<double> SincGaussShape(int n, int lobes);
// The shape times what makes sum(shape)·dt equal flip (rad).
std::vector<double> ScaledToFlipAngle(std::vector<double> shape, double dt, double flip);
// 2·lobes/duration, Hz.
double SincGaussBandwidth(int lobes, double duration);
// Gradient under which bandwidth_hz spans thickness_cm.
double SliceGradient(double bandwidth_hz, double thickness_cm);

// One sector: what its .zanseq lines say in points and duration, and its five blocks. The
// gradient blocks are empty in 1D/2D sequences.
struct SectorWaveform {
    std::string sequence, name; // sequences/SEQUENCE/waveforms/NAME.bin
    double duration;
    std::vector<double> xb, yb, gx, gy, gz;
};

std::vector<SectorWaveform> ExampleWaveforms(void);

#endif
