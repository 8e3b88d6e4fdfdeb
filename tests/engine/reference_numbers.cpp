// reference_numbers.cpp - whole runs against numbers that another program computed by
// eigen-decomposition of every step. Agreement is to 1e-9 of the largest value.

#include "engine_fixture.h"

#include <cmath>

using ReferenceNumbers = EngineTest;

namespace
{

struct Element {
    int number, i, j; // voxel, row, column, from 1
    double re, im;
};

struct Sample {
    int trace, sample; // from 1
    double re, im;
};

std::vector<double> hz(std::vector<double> values)
{
    for (double &v : values)
        v *= TWO_PI;
    return values;
}

void run_spatial_into(DensityFile *result)
{
    set_result("result.bin");
    const Console console = captured(SimulateLoadedPulseSequence);
    EXPECT_EQ(console.err, "");
    EXPECT_NE(console.out.find("Copied spatial density-matrix result to result.bin\n"),
              std::string::npos)
        << console.out;
    *result = read_densities("result.bin");
    EXPECT_EQ(result->type, 0);
    EXPECT_EQ(result->n, rt.n);
    EXPECT_EQ(result->count, rt.ndx * rt.ndy * rt.ndz);
}

void run_2d_into(SignalFile *result)
{
    set_result("signal.bin");
    const Console console = captured(SimulateLoaded2DPulseSequence);
    EXPECT_EQ(console.err, "");
    *result = read_signal("signal.bin");
    EXPECT_EQ(result->type, 1);
}

void expect_elements(const DensityFile &file, const std::vector<Element> &expected)
{
    const double tolerance = 1e-9 * file.largest();
    for (const Element &e : expected) {
        const Complex actual = file.at(e.number, e.i, e.j);
        EXPECT_LE(std::abs(actual - Complex(e.re, e.im)), tolerance)
            << "matrix " << e.number << " element " << e.i << "," << e.j << ": " << actual;
    }
}

void expect_trace_of_square(const DensityFile &file, double expected)
{
    for (int number = 1; number <= file.count; number++)
        EXPECT_LE(std::abs(trace_of_square(file.n, file.matrix(number)) - expected),
                  1e-9 * expected)
            << "matrix " << number;
}

void expect_samples(const SignalFile &file, const std::vector<Sample> &expected)
{
    double largest = 0.0;
    for (const Complex &v : file.values)
        largest = std::max(largest, std::abs(v));
    for (const Sample &e : expected) {
        const Complex actual = file.at(e.trace, e.sample);
        EXPECT_LE(std::abs(actual - Complex(e.re, e.im)), 1e-9 * largest)
            << "trace " << e.trace << " sample " << e.sample << ": " << actual;
    }
}

} // namespace

TEST_F(ReferenceNumbers, OfAShapedPulseOnThreeSpinsInAGradient)
{
    set_spins({{1, 1, 1}, {1, 0.5, 2}, {120, -85, 40}, 2, {{1, 2, 7}, {1, 3, -12.5}, {2, 3, 2.2}}});
    set_grid(4, 1, 1);
    set_grid_x(-0.9, 0.6);
    Waveform w;
    for (int k = 0; k < 64; k++) {
        const double amplitude = TWO_PI * 400 * std::sin(PI_CONST * (k + 0.5) / 64);
        w.xb.push_back(amplitude * std::cos(0.05 * k));
        w.yb.push_back(amplitude * std::sin(0.05 * k));
        w.gx.push_back(TWO_PI * 350);
    }
    add_spatial_sector(w, 0.002, 25.0);

    DensityFile result;
    run_spatial_into(&result);
    expect_elements(result, {{1, 1, 1, -1.1493012252280805, -3.9320372719564375e-18},
                             {1, 1, 2, -0.02039553113347286, -0.03844870593514179},
                             {2, 1, 5, -0.10049146678629421, -0.34033736744126025},
                             {3, 2, 7, -9.231500944106283e-05, 0.00020390584960802805},
                             {4, 8, 8, -1.2165007982534792, 0.0},
                             {4, 3, 6, 8.699992060464418e-05, -7.032296197347135e-05}});
    expect_trace_of_square(result, 5.25);
}

TEST_F(ReferenceNumbers, OfASpinOneOnAnAsymmetricGridWithAllGradients)
{
    set_spins({{2, 1}, {}, {60, -140}, 2, {{1, 2, 9}}});
    set_grid(2, 3, 2);
    set_grid_x(-0.4, 0.5);
    set_grid_y(0.1, 0.3);
    set_grid_z(-0.2, 0.7);
    Waveform pulse;
    pulse.xb = hz({300, 500, 700, 500, 300});
    pulse.yb = hz({0, 50, 100, 50, 0});
    pulse.gx = hz({200, 200, 200, 200, 200});
    pulse.gy = hz({-130, -130, -130, -130, -130});
    pulse.gz = hz({90, 90, 90, 90, 90});
    add_spatial_sector(pulse, 0.001);
    Waveform phase_encoding = delay();
    phase_encoding.gy = hz({60});
    add_spatial_sector(phase_encoding, 0.004, -30);

    DensityFile result;
    run_spatial_into(&result);
    expect_elements(result, {{1, 1, 2, 0.1642872044791264, -0.2629254702524857},
                             {2, 1, 2, 0.17301073531151848, -0.1820319675468604},
                             {3, 1, 2, 0.26742111684720465, -0.21126621602975854},
                             {7, 1, 2, 0.16740762519285635, -0.13126828246062694},
                             {12, 1, 2, 0.224956514937649, 0.04027061706504065},
                             {6, 3, 4, 0.2933212777700057, -0.13333621550861446},
                             {11, 2, 5, -0.0001935436297920627, -0.0007799681930194728}});
    expect_trace_of_square(result, 2.0);
}

TEST_F(ReferenceNumbers, OfTheSignalOfTwoStronglyCoupledSpins)
{
    set_spins({{1, 1}, {}, {31, -22}, 2, {{1, 2, 11}}});
    add_2d_sector(1, constant_waveform(1, 0.5 * PI_CONST / 1e-5, 0), 1, 1e-5);
    add_2d_sector(1, constant_waveform(256, 0, 0), 1, 0.5, 15, "ADC");

    SignalFile signal;
    run_2d_into(&signal);
    EXPECT_EQ(signal.samples, 256);
    EXPECT_EQ(signal.traces, 1);
    expect_samples(signal, {{1, 1, 0.00035999973708009244, 1.999998844000227},
                            {1, 2, 0.44940895259212005, 1.840582530408156},
                            {1, 3, 0.7338288203617613, 1.4137548159404094},
                            {1, 18, -0.3524254977251545, -0.26464461254516924},
                            {1, 101, 0.21017453896216892, -0.08111672966612692},
                            {1, 256, -0.0793963563294855, -0.01935566184091364}});
}

TEST_F(ReferenceNumbers, OfATwoDimensionalSequenceOnThreeSpins)
{
    set_spins({{1, 1, 1}, {}, {150, -60, 20}, 1, {{1, 2, 8}, {2, 3, -3}}});
    add_2d_sector(1, constant_waveform(1, 0.5 * PI_CONST / 1e-5, 0), 1, 1e-5);
    add_2d_sector(2, delay(), 8, 0.0025);
    add_2d_sector(1, constant_waveform(1, 0, 0.5 * PI_CONST / 1e-5), 8, 1e-5);
    add_2d_sector(1, constant_waveform(64, 0, 0), 8, 0.064, 0, "acquisition");

    SignalFile signal;
    run_2d_into(&signal);
    EXPECT_EQ(signal.samples, 64);
    EXPECT_EQ(signal.traces, 8);
    expect_samples(signal, {{1, 1, 0.004390550437276275, 2.999893990936507},
                            {2, 1, -0.004926334361138951, 0.8187596034014503},
                            {2, 6, 0.7185200237036257, 0.585519256148255},
                            {4, 64, 0.5063270521932616, 0.17215679132481582},
                            {8, 21, -0.8667879725355656, 0.25474866240058924}});
}

TEST_F(ReferenceNumbers, OfEightCoupledSpins)
{
    SpinSystem chain = {std::vector<int>(8, 1), {}, {10, -20, 35, -50, 75, -90, 110, -130}, 2, {}};
    for (int i = 1; i < 8; i++)
        chain.couplings.push_back({i, i + 1, 4.0 + 0.5 * i});
    set_spins(chain);
    set_grid(2, 1, 1);
    set_grid_x(-0.5, 1.0);
    Waveform w;
    w.xb = hz({100, 250, 400, 400, 250, 100});
    w.yb = hz({0, 30, -60, 90, -30, 10});
    w.gx = hz({80, 80, 80, 80, 80, 80});
    add_spatial_sector(w, 0.0006);

    DensityFile result;
    run_spatial_into(&result);
    expect_elements(result, {{1, 1, 1, 0.29488059872712113, -1.0963354757544744e-18},
                             {1, 1, 2, -0.017976750355563037, -0.04699899789024343},
                             {2, 1, 129, 0.003763438357221138, -0.0503819964254979},
                             {2, 100, 200, -8.135320000970047e-17, -4.347310839696787e-15},
                             {1, 256, 255, -0.01792575005298596, 0.046794971332244736}});
    expect_trace_of_square(result, 8.0);
}
