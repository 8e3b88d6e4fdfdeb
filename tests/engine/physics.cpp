// physics.cpp - whole runs against what a spectroscopist can write down by hand.
//
// The engine turns rho into exp(+i·H·t)·rho·exp(-i·H·t): a pulse about x takes Iz to +Iy, a
// positive offset takes Iy to +Ix, a positive coupling takes Iy to +2IxSz.

#include "engine_fixture.h"

#include <cmath>

using Physics = EngineTest;

namespace
{

constexpr double PULSE = 1e-6; // s; so short that offsets and couplings do not matter
constexpr double EXACT = 1e-10;

DensityFile run_spatial(void)
{
    const Console console = captured(SimulateLoadedPulseSequence);
    EXPECT_EQ(console.err, "") << console.out;
    return read_densities("dm.bin");
}

DensityFile run_2d(void)
{
    set_result("result.bin");
    const Console console = captured(SimulateLoaded2DPulseSequence);
    EXPECT_EQ(console.err, "") << console.out;
    return read_densities("result.bin");
}

SignalFile run_for_signal(void)
{
    set_result("signal.bin");
    const Console console = captured(SimulateLoaded2DPulseSequence);
    EXPECT_EQ(console.err, "") << console.out;
    return read_signal("signal.bin");
}

// Magnetisation of one spin 1/2 with unit polarisation.
void expect_vector(const Complex *rho, double x, double y, double z, const char *what)
{
    EXPECT_NEAR(component("x", rho), x, EXACT) << what;
    EXPECT_NEAR(component("y", rho), y, EXACT) << what;
    EXPECT_NEAR(component("z", rho), z, EXACT) << what;
}

} // namespace

// ------------------------------------------------------------------ one spin

TEST_F(Physics, AnXPulseTurnsIzTowardsIy)
{
    for (const double degrees : {0.0, 30.0, 90.0, 135.0, 180.0, 360.0}) {
        const double angle = degrees * PI_CONST / 180.0;
        rt.nos = 0;
        set_spins({{1}});
        add_spatial_sector(hard_pulse_x(angle, PULSE), PULSE);
        const DensityFile dm = run_spatial();
        expect_vector(dm.matrix(1), 0.0, std::sin(angle), std::cos(angle), "x pulse");
    }
}

TEST_F(Physics, AYPulseTurnsIzTowardsMinusIx)
{
    for (const double degrees : {30.0, 90.0, 200.0}) {
        const double angle = degrees * PI_CONST / 180.0;
        rt.nos = 0;
        set_spins({{1}});
        add_2d_sector(1, hard_pulse_y(angle, PULSE), 1, PULSE);
        const DensityFile dm = run_2d();
        expect_vector(dm.matrix(1), -std::sin(angle), 0.0, std::cos(angle), "y pulse");
    }
}

TEST_F(Physics, TheSamplesOfAPulseActInTheirOrder)
{
    Waveform x_then_y;
    x_then_y.xb = {0.5 * PI_CONST / PULSE, 0.0};
    x_then_y.yb = {0.0, 0.5 * PI_CONST / PULSE};
    set_spins({{1}});
    add_spatial_sector(x_then_y, 2 * PULSE);
    // The sector's product U_0·U_1 acts on rho with its first factor innermost: x, then y.
    const DensityFile dm = run_spatial();
    expect_vector(dm.matrix(1), 0.0, 1.0, 0.0, "90x, 90y leaves Iy");
}

TEST_F(Physics, ShiftStaticOffsetAndGradientTurnIyTowardsIxAlike)
{
    const double nu = 37.0, time = 0.004, phase = TWO_PI * nu * time;
    for (const int source : {0, 1, 2, 3, 4}) {
        rt.nos = 0;
        set_spins({{1}, {}, {source == 0 ? nu : 0.0}});
        set_grid(1, 1, 1);
        set_grid_x(0.5, 0.0);
        set_grid_y(-0.25, 0.0);
        set_grid_z(2.0, 0.0);
        Waveform free = delay();
        free.gx = {source == 2 ? TWO_PI * nu / 0.5 : 0.0};
        free.gy = {source == 3 ? TWO_PI * nu / -0.25 : 0.0};
        free.gz = {source == 4 ? TWO_PI * nu / 2.0 : 0.0};
        add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-12), 1e-12);
        add_spatial_sector(free, time, source == 1 ? nu : 0.0);
        const DensityFile dm = run_spatial();
        EXPECT_NEAR(component("x", dm.matrix(1)), std::sin(phase), 1e-9) << "source " << source;
        EXPECT_NEAR(component("y", dm.matrix(1)), std::cos(phase), 1e-9) << "source " << source;
    }
}

TEST_F(Physics, AnOffResonancePulseTurnsAboutTheTiltedField)
{
    const double w1 = TWO_PI * 500.0, delta = TWO_PI * 700.0, time = 0.0013;
    const double field = std::hypot(w1, delta), angle = field * time;
    const double nx = w1 / field, nz = delta / field;
    set_spins({{1}});
    add_spatial_sector(constant_waveform(13, w1, 0.0), time, delta / TWO_PI);
    const DensityFile dm = run_spatial();
    expect_vector(dm.matrix(1), nx * nz * (1 - std::cos(angle)), nx * std::sin(angle),
                  std::cos(angle) + nz * nz * (1 - std::cos(angle)), "tilted field");
}

TEST_F(Physics, ASpinThreeHalvesTurnsAsAWhole)
{
    set_spins({{3}});
    add_spatial_sector(hard_pulse_x(PI_CONST / 3.0, PULSE), PULSE);
    const DensityFile dm = run_spatial();
    EXPECT_EQ(dm.n, 4);
    expect_vector(dm.matrix(1), 0.0, std::sin(PI_CONST / 3.0), 0.5, "spin 3/2");
}

// ------------------------------------------------------------------ gradients and the grid

TEST_F(Physics, ASpinEchoRefocusesOffsetAndGradientInEveryVoxel)
{
    set_spins({{1}});
    set_grid(3, 2, 2);
    set_grid_x(-0.7, 0.6);
    set_grid_y(0.2, 0.9);
    set_grid_z(-0.1, 0.5);
    Waveform dephasing = delay();
    dephasing.gx = {TWO_PI * 210.0};
    dephasing.gy = {TWO_PI * -95.0};
    dephasing.gz = {TWO_PI * 40.0};
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    add_spatial_sector(dephasing, 0.003, 61.0);
    const DensityFile dephased = run_spatial();
    add_spatial_sector(hard_pulse_y(PI_CONST, PULSE), PULSE);
    add_spatial_sector(dephasing, 0.003, 61.0);
    const DensityFile echo = run_spatial();
    double smallest = 1.0;
    for (int v = 1; v <= 12; v++) {
        smallest = std::min(smallest, component("y", dephased.matrix(v)));
        expect_vector(echo.matrix(v), 0.0, 1.0, 0.0, "echo");
    }
    EXPECT_LT(smallest, 0.0) << "nothing was dephased";
}

TEST_F(Physics, VoxelsAreStoredWithZFastestThenYThenX)
{
    set_spins({{1}});
    set_grid(2, 3, 4);
    set_grid_x(0.1, 0.2);
    set_grid_y(-0.3, 0.25);
    set_grid_z(0.05, -0.4);
    Waveform encoding = delay();
    encoding.gx = {1.1};
    encoding.gy = {0.7};
    encoding.gz = {0.3};
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    add_spatial_sector(encoding, 1.0);
    const DensityFile dm = run_spatial();
    ASSERT_EQ(dm.count, 24);
    for (int ix = 1; ix <= 2; ix++)
        for (int iy = 1; iy <= 3; iy++)
            for (int iz = 1; iz <= 4; iz++) {
                const int v = iz + ((ix - 1) * 3 + (iy - 1)) * 4;
                const double phase = 1.1 * (0.1 + 0.2 * (ix - 1)) + 0.7 * (-0.3 + 0.25 * (iy - 1)) +
                                     0.3 * (0.05 - 0.4 * (iz - 1));
                expect_vector(dm.matrix(v), std::sin(phase), std::cos(phase), 0.0, "voxel");
            }
}

TEST_F(Physics, AGradientThatStartsAndEndsWithZeroStillActs)
{
    set_spins({{1}});
    set_grid(3, 2, 2);
    set_grid_x(0.1, 0.2);
    set_grid_y(-0.3, 0.25);
    set_grid_z(0.05, -0.4);
    Waveform encoding = constant_waveform(4, 0.0, 0.0);
    encoding.gx = {0.0, 4.0, 0.0, 0.0};
    encoding.gy = {0.0, 0.0, 6.0, 0.0};
    encoding.gz = {0.0, 3.0, -8.0, 0.0};
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    add_spatial_sector(encoding, 4.0);
    const DensityFile dm = run_spatial();
    for (int v = 0; v < 12; v++) {
        const int ix = v / 4, iy = v / 2 % 2, iz = v % 2;
        const double phase =
            4.0 * (0.1 + 0.2 * ix) + 6.0 * (-0.3 + 0.25 * iy) - 5.0 * (0.05 - 0.4 * iz);
        expect_vector(dm.matrix(v + 1), std::sin(phase), std::cos(phase), 0.0, "voxel");
    }
}

TEST_F(Physics, AGradientActsOnEverySpinWhateverItsWeightAndShift)
{
    const double phase = 1.3;
    set_spins({{1, 1}, {1.0, 0.25}});
    set_grid(1, 1, 1);
    set_grid_x(1.0, 0.0);
    Waveform encoding = delay();
    encoding.gx = {phase};
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    add_spatial_sector(encoding, 1.0);
    // Unit-norm Iz of one spin among two spins 1/2 carries the whole polarisation weight.
    const DensityFile dm = run_spatial();
    EXPECT_NEAR(component("xe", dm.matrix(1)), std::sin(phase), EXACT);
    EXPECT_NEAR(component("ex", dm.matrix(1)), 0.25 * std::sin(phase), EXACT);
}

// ------------------------------------------------------------------ coupled spins

TEST_F(Physics, JCouplingTurnsIyIntoAntiphase)
{
    for (const double J : {8.0, -8.0}) {
        rt.nos = 0;
        set_spins({{1, 1}, {1.0, 0.0}, {}, 1, {{1, 2, J}}});
        add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-12), 1e-12);
        add_spatial_sector(delay(), 0.25 / 8.0);
        const DensityFile half = run_spatial();
        EXPECT_NEAR(component("ye", half.matrix(1)), std::sqrt(0.5), 1e-9);
        EXPECT_NEAR(component("xz", half.matrix(1)), std::copysign(std::sqrt(0.5), J), 1e-9);
        rt.sectdur[2] = 0.5 / 8.0;
        const DensityFile antiphase = run_spatial();
        EXPECT_NEAR(component("xz", antiphase.matrix(1)), std::copysign(1.0, J), 1e-9);
        EXPECT_NEAR(component("ye", antiphase.matrix(1)), 0.0, 1e-9);
    }
}

TEST_F(Physics, WeakAndFullCouplingDifferWhenTheShiftsAreClose)
{
    std::vector<Complex> signal[2];
    for (const int mode : {1, 2}) {
        rt.nos = 0;
        set_spins({{1, 1}, {}, {5, -5}, mode, {{1, 2, 10}}});
        add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, PULSE), 1, PULSE);
        add_2d_sector(1, constant_waveform(64, 0, 0), 1, 0.4, 0, "ADC");
        signal[mode - 1] = run_for_signal().values;
    }
    EXPECT_GT(largest_difference(signal[0].data(), signal[1].data(), 64), 0.1);
}

TEST_F(Physics, TwoStronglyCoupledSpinsGiveTheABQuartet)
{
    const double nu_a = 18.0, nu_b = -6.0, J = 11.0, center = 0.5 * (nu_a + nu_b);
    const double C = std::hypot(nu_a - nu_b, J);
    const double shifts[] = {0.5 * (C - J), -0.5 * (C - J), 0.5 * (C + J), -0.5 * (C + J)};
    const double amplitudes[] = {1 + J / C, 1 + J / C, 1 - J / C, 1 - J / C};
    set_spins({{1, 1}, {}, {nu_a, nu_b}, 2, {{1, 2, J}}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(1, constant_waveform(128, 0, 0), 1, 0.8, 0, "ADC");
    const SignalFile signal = run_for_signal();
    for (int k = 0; k < 128; k++) {
        const double t = k * 0.8 / 128;
        Complex expected = 0.0;
        for (int line = 0; line < 4; line++)
            expected += Complex(0, 0.5) * amplitudes[line] *
                        std::polar(1.0, -TWO_PI * (center + shifts[line]) * t);
        EXPECT_LE(std::abs(signal.at(1, k + 1) - expected), 1e-9) << "sample " << k;
    }
}

TEST_F(Physics, TheReceiverOffsetAddsToTheShift)
{
    const double nu = 42.0, offset = 17.0;
    set_spins({{1}, {}, {nu}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(1, constant_waveform(32, 0, 0), 1, 0.1, offset, "ADC");
    const SignalFile signal = run_for_signal();
    for (int k = 0; k < 32; k++) {
        const Complex expected =
            Complex(0, 1) * std::polar(1.0, -TWO_PI * (nu + offset) * k * 0.1 / 32);
        EXPECT_LE(std::abs(signal.at(1, k + 1) - expected), 1e-9) << "sample " << k;
    }
}

// ------------------------------------------------------------------ evolution rows

namespace
{

void prepare_iy_with_shift(double nu)
{
    set_spins({{1}, {}, {nu}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
}

void expect_phases(const DensityFile &dm, const std::vector<double> &phases)
{
    ASSERT_EQ(dm.count, (int)phases.size());
    for (int w = 1; w <= dm.count; w++) {
        EXPECT_NEAR(component("x", dm.matrix(w)), std::sin(phases[(size_t)w - 1]), 1e-9) << w;
        EXPECT_NEAR(component("y", dm.matrix(w)), std::cos(phases[(size_t)w - 1]), 1e-9) << w;
    }
}

} // namespace

TEST_F(Physics, EvolutionRowWEvolvesForWMinusOneTimesTheDuration)
{
    const double nu = 23.0, T = 0.005, p = TWO_PI * nu * T;
    prepare_iy_with_shift(nu);
    add_2d_sector(2, delay(), 5, T);
    expect_phases(run_2d(), {0, p, 2 * p, 3 * p, 4 * p});
}

TEST_F(Physics, ThousandsOfEvolutionRowsKeepCounting)
{
    const double nu = 3.0, T = 1e-4;
    std::vector<double> phases;
    for (int w = 0; w < 5000; w++)
        phases.push_back(TWO_PI * nu * T * w);
    prepare_iy_with_shift(nu);
    add_2d_sector(2, delay(), 5000, T);
    expect_phases(run_2d(), phases);
}

TEST_F(Physics, AnEvolutionSectorOfManySamplesLastsItsDurationOnce)
{
    const double nu = 23.0, T = 0.005, p = TWO_PI * (nu + 4.0) * T;
    prepare_iy_with_shift(nu);
    add_2d_sector(2, constant_waveform(7, 0, 0), 3, T, 4.0);
    expect_phases(run_2d(), {0, p, 2 * p});
}

TEST_F(Physics, ANormalSectorTreatsEveryRowAlike)
{
    const double nu = 23.0, T = 0.005, p = TWO_PI * nu * T;
    prepare_iy_with_shift(nu);
    add_2d_sector(2, delay(), 3, T);
    add_2d_sector(1, delay(), 3, 2 * T);
    expect_phases(run_2d(), {2 * p, 3 * p, 4 * p});
}

TEST_F(Physics, ASectorWithMoreRowsStartsThemAllFromRowOne)
{
    const double nu = 23.0, T = 0.005, p = TWO_PI * nu * T;
    prepare_iy_with_shift(nu);
    add_2d_sector(2, delay(), 2, T);
    add_2d_sector(1, delay(), 4, T);
    expect_phases(run_2d(), {p, p, p, p});
}

TEST_F(Physics, ASectorWithFewerRowsKeepsOnlyRowOne)
{
    const double nu = 23.0, T = 0.005, p = TWO_PI * nu * T;
    prepare_iy_with_shift(nu);
    add_2d_sector(1, delay(), 4, T);
    add_2d_sector(2, delay(), 4, T);
    add_2d_sector(2, delay(), 2, T);
    expect_phases(run_2d(), {p, 2 * p});
}

// ------------------------------------------------------------------ acquisition sectors

TEST_F(Physics, SpatialPropagationStopsAtTheFirstAcquisitionSector)
{
    set_spins({{1}});
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    add_spatial_sector(delay(), 1.0, 0.0, "Acquisition of the echo");
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, PULSE), PULSE);
    const DensityFile dm = run_spatial();
    expect_vector(dm.matrix(1), 0.0, 1.0, 0.0, "only the first pulse acts");
    EXPECT_EQ(rt.calc, 1);
}

TEST_F(Physics, SectorsAfterAnAcquisitionStillActInOneDimension)
{
    set_spins({{1}, {}, {10}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(1, constant_waveform(8, 0, 0), 1, 0.1, 0, "ADC");
    add_2d_sector(1, hard_pulse_x(PI_CONST, 1e-12), 1, 1e-12);
    const SignalFile signal = run_for_signal();
    EXPECT_EQ(rt.calc, 2);
    EXPECT_LE(std::abs(signal.at(1, 1) - Complex(0, -1)), 1e-9);
}

TEST_F(Physics, TheLastAcquisitionSectorIsTheOneThatIsWritten)
{
    set_spins({{1}, {}, {10}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-12), 1, 1e-12);
    add_2d_sector(1, constant_waveform(8, 0, 0), 1, 0.1, 0, "ADC");
    add_2d_sector(1, constant_waveform(16, 0, 0), 1, 0.4, 3, "second adc");
    const SignalFile signal = run_for_signal();
    EXPECT_EQ(signal.samples, 16);
    const Complex second = Complex(0, 1) * std::polar(1.0, -TWO_PI * 13.0 * 0.4 / 16);
    EXPECT_LE(std::abs(signal.at(1, 2) - second), 1e-9);
}

TEST_F(Physics, AnAcquisitionRemarkDoesNotKeepAnEvolutionSectorFromActing)
{
    prepare_iy_with_shift(23.0);
    add_2d_sector(2, delay(), 2, 0.005, 0, "adc");
    expect_phases(run_2d(), {0, TWO_PI * 23.0 * 0.005});
}

// ------------------------------------------------------------------ conserved quantities

TEST_F(Physics, TraceHermiticityAndNormsAreConserved)
{
    const std::vector<int> systems[] = {{1}, {2}, {1, 1}, {3, 1}, {1, 2, 1}, {1, 1, 1, 1}};
    unsigned seed = 40;
    for (const std::vector<int> &two_i : systems)
        for (const int mode : {1, 2}) {
            std::mt19937 random(++seed);
            rt.nos = 0;
            build_spins(random_spins(random, two_i, mode));
            const std::vector<Complex> start = packed(rt.n, rt.densmat);
            const Complex square = trace_of_square(rt.n, start.data());
            set_grid(2, 1, 2);
            set_grid_x(-0.5, 0.8);
            set_grid_z(0.3, 0.2);
            add_spatial_sector(random_waveform(random, 20, true, false, true), 0.002, 11.0);
            add_spatial_sector(random_waveform(random, 9, true, true, false), 0.001, -50.0);
            const DensityFile dm = run_spatial();
            for (int v = 1; v <= dm.count; v++) {
                Complex trace = 0.0;
                double frobenius = 0.0, skew = 0.0;
                for (int i = 1; i <= dm.n; i++) {
                    trace += dm.at(v, i, i);
                    for (int j = 1; j <= dm.n; j++) {
                        frobenius += std::norm(dm.at(v, i, j));
                        skew = std::max(skew, std::abs(dm.at(v, i, j) - std::conj(dm.at(v, j, i))));
                    }
                }
                const double limit = 1e-11 * std::max(1.0, square.real());
                EXPECT_LE(std::abs(trace), limit) << "seed " << seed;
                EXPECT_LE(skew, limit) << "seed " << seed;
                EXPECT_NEAR(frobenius, square.real(), limit) << "seed " << seed;
                EXPECT_LE(std::abs(trace_of_square(dm.n, dm.matrix(v)) - square), limit)
                    << "seed " << seed;
            }
        }
}

TEST_F(Physics, AMultipleOfTheIdentityIsNeverChanged)
{
    std::mt19937 random(7);
    build_spins(random_spins(random, {1, 1}, 2));
    CMatIdentity(rt.n, &rt.densmat);
    set_sector_at_hand(random_waveform(random, 6, false, false, false), 0.001);
    captured(Rotate3D);
    const std::vector<Complex> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_LE(largest_difference(read_densities("dm.bin").matrix(1), identity.data(), 16), 1e-13);
}
