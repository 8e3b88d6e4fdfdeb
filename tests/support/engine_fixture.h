// engine_fixture.h - for the tests of the engine: a fresh runtime state in a fresh working
// directory, models set up in a few words, density files read back, console output captured.
#ifndef ZAN_ENGINE_FIXTURE_H
#define ZAN_ENGINE_FIXTURE_H

#include "binaryfilehandling.h"
#include "zan.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

constexpr double TWO_PI = 2.0 * PI_CONST;

// Every test starts with an empty runtime state in an empty working directory; standard input
// is empty, so that no pause ever waits. Suites are aliases: using Propagation = EngineTest;
class EngineTest : public testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

  private:
    std::filesystem::path before, work;
};

// ---- models ----

struct Coupling {
    int i, j;  // spins from 1
    double hz; // Hz
};

struct SpinSystem {
    std::vector<int> two_i = {};
    std::vector<double> intensities = {}; // empty: 1 each
    std::vector<double> offsets_hz = {};  // empty: 0 each
    int coupling_mode = 1;                // 1 weak, 2 full
    std::vector<Coupling> couplings = {};
};

// RF in rad/s, gradients in rad/s per cm. An empty gradient is none; all others have one length.
struct Waveform {
    std::vector<double> xb = {}, yb = {}, gx = {}, gy = {}, gz = {};
};

void set_spins(const SpinSystem &system); // values only: the drivers build the operators
void build_spins(const SpinSystem &system);
void set_grid(int ndx, int ndy, int ndz);
void set_grid_x(double x0, double dx);
void set_grid_y(double y0, double dy);
void set_grid_z(double z0, double dz);

Waveform constant_waveform(int samples, double xb, double yb);
Waveform delay(void); // one sample, no field
// A rotation by angle (rad) about x in one step of duration_s.
Waveform hard_pulse_x(double angle, double duration_s);
Waveform hard_pulse_y(double angle, double duration_s);

// One more sector with its waveform file; the family becomes that of the sector.
void add_spatial_sector(const Waveform &w, double duration_s, double offset_hz = 0.0,
                        const char *remark = "");
void add_2d_sector(int type, const Waveform &w, int rows, double duration_s, double offset_hz = 0.0,
                   const char *remark = "");
void set_result(const char *name);

// The waveform as the sector at hand, with the spin system built and a pulse defined.
void set_sector_at_hand(const Waveform &w, double duration_s);

SpinSystem random_spins(std::mt19937 &random, const std::vector<int> &two_i, int coupling_mode);
Waveform random_waveform(std::mt19937 &random, int samples, bool along_x, bool along_y,
                         bool along_z);

// ---- files ----

struct DensityFile {
    int32_t type = -1, n = 0, count = 0; // type -1: not readable
    std::vector<Complex> rho = {};       // packed, one matrix after another

    const Complex *matrix(int number) const; // from 1
    Complex at(int number, int i, int j) const;
    double largest(void) const; // largest modulus of all elements
};

struct SignalFile {
    int32_t type = -1, samples = 0, traces = 0;
    std::vector<Complex> values = {}; // <Ix> + i<Iy>, trace after trace

    Complex at(int trace, int sample) const; // from 1
};

DensityFile read_densities(const std::string &path); // also the size of the file must fit
void write_densities(const std::string &path, const DensityFile &file);
SignalFile read_signal(const std::string &path);
std::string read_text(const std::string &path);
void write_bytes(const std::string &path, const std::string &bytes);
void write_samples(const std::string &path, const std::vector<double> &values);
bool file_is_there(const std::string &path);
std::vector<Complex> packed(int n, const CMatrix &mat);

// ---- numbers ----

// The coefficient of the unit-norm product operator of these symbols ("xz" = Ix·Sz, 'e' for no
// operator) in a packed matrix of the system in rt.
double component(const char *symbols, const Complex *rho);
Complex trace_of_square(int n, const Complex *rho);
double largest_difference(const Complex *a, const Complex *b, size_t count);

// ---- console ----

struct Console {
    std::string out, err;
};

template <class Work> Console captured(Work work)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    work();
    Console console;
    console.out = testing::internal::GetCapturedStdout();
    console.err = testing::internal::GetCapturedStderr();
    return console;
}

// "what: No such file or directory\n" in the system's words
std::string missing_file_message(const std::string &what);
int count_of(const std::string &text, const std::string &part);
std::vector<std::string> lines_with(const std::string &text, const std::string &part);

#endif
