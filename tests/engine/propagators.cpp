// propagators.cpp - propagatorlib against the published recipe, one ExpMatrix per sample and
// position written out here; and grid runs against runs of one voxel, so that no sharing of
// propagators between voxels can show in a result.

#include "engine_fixture.h"

#include "propagatorlib.h"

#include <cmath>
#include <limits>

using Propagators = EngineTest;

namespace
{

CMatrix H0, H, U, P, density;

const std::vector<int> all_systems[] = {{1},       {2},          {3},          {1, 1},
                                        {2, 1},    {1, 3},       {1, 1, 1},    {1, 2, 1},
                                        {4, 1, 1}, {1, 1, 1, 1}, {1, 1, 2, 1}, {1, 1, 1, 1, 1}};

// P = product of exp(-i·H_k·tau), one exponential per sample, whatever repeats
void naive_propagator(const SectorField &f, const Position &at)
{
    CMatIdentity(f.n, &P);
    for (int k = 0; k < f.ap; k++) {
        double g = f.offset;
        if (f.gx)
            g = f.gx[k] * at.x + f.gy[k] * at.y + f.gz[k] * at.z + f.offset;
        for (int i = 1; i <= f.n; i++)
            for (int j = 1; j <= f.n; j++)
                for (int part = 1; part <= 2; part++)
                    H[i][j][part] =
                        -((*f.H0)[i][j][part] + g * (*f.Izgrad)[i][j][part] +
                          f.xb[k] * (*f.Ixtot)[i][j][part] + f.yb[k] * (*f.Iytot)[i][j][part]);
        ExpMatrix(f.n, &H, f.tau, &U);
        CMatMult(f.n, &P, &U, &P);
    }
}

SectorField field_of(const Waveform &w, double duration_s, double offset)
{
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H0);
    SectorField f = {};
    f.n = rt.n;
    f.H0 = &H0;
    f.Izgrad = &rt.Izgrad;
    f.Ixtot = &rt.Ixtot;
    f.Iytot = &rt.Iytot;
    f.ap = (int)w.xb.size();
    f.tau = f.ap < 1 ? 0.0 : duration_s / f.ap;
    f.xb = w.xb.data();
    f.yb = w.yb.data();
    if (!w.gx.empty()) {
        f.gx = w.gx.data();
        f.gy = w.gy.data();
        f.gz = w.gz.data();
    }
    f.offset = offset;
    return f;
}

void expect_naive_agreement(const SectorField &f, const std::vector<Position> &positions,
                            unsigned seed)
{
    const size_t size = (size_t)(f.n * f.n);
    std::vector<Complex> propagators(size * positions.size());
    SectorPropagators(f, positions.data(), (int)positions.size(), propagators.data());
    for (size_t p = 0; p < positions.size(); p++) {
        naive_propagator(f, positions[p]);
        const double error =
            largest_difference(&propagators[p * size], packed(f.n, P).data(), size);
        EXPECT_LE(error, 1e-11) << "seed " << seed << " n " << f.n << " position " << p;
    }
}

const std::vector<Position> three_positions = {
    {0.0, 0.0, 0.0}, {-0.7, 0.4, 1.1}, {0.3, -0.9, -0.2}};

} // namespace

TEST_F(Propagators, AgreeWithTheProductOfExponentialsOfRandomSystems)
{
    unsigned seed = 500;
    for (const std::vector<int> &two_i : all_systems)
        for (const int mode : {1, 2}) {
            std::mt19937 random(++seed);
            build_spins(random_spins(random, two_i, mode));
            const Waveform w = random_waveform(random, 12, true, true, true);
            expect_naive_agreement(field_of(w, 0.002, TWO_PI * 33.0), three_positions, seed);
        }
}

TEST_F(Propagators, AgreeWhenSamplesRepeat)
{
    for (unsigned seed = 600; seed < 606; seed++) {
        std::mt19937 random(seed);
        build_spins(random_spins(random, {1, 2}, 2));
        Waveform w = random_waveform(random, 40, true, false, true);
        // Each channel changes on its own, so that equal samples in a row occur as well as
        // samples that differ in one channel only.
        for (std::vector<double> *channel : {&w.xb, &w.yb, &w.gx, &w.gz})
            for (size_t k = 1; k < 40; k++)
                if (random() % 5 != 0)
                    (*channel)[k] = (*channel)[k - 1];
        expect_naive_agreement(field_of(w, 0.003, 0.0), three_positions, seed);
    }
}

TEST_F(Propagators, AgreeForOneLongRunOfEqualSamples)
{
    std::mt19937 random(610);
    build_spins(random_spins(random, {1, 1, 1}, 2));
    const Waveform w = constant_waveform(777, TWO_PI * 120.0, TWO_PI * -30.0);
    expect_naive_agreement(field_of(w, 0.02, TWO_PI * 9.0), {{0, 0, 0}}, 610);
}

TEST_F(Propagators, AgreeWithoutRF)
{
    for (const int mode : {1, 2}) {
        std::mt19937 random(620);
        build_spins(random_spins(random, {1, 2, 1}, mode));
        Waveform w = random_waveform(random, 5, true, true, true);
        w.xb.assign(5, 0.0);
        w.yb.assign(5, 0.0);
        expect_naive_agreement(field_of(w, 0.01, 0.0), three_positions, 620);
    }
}

TEST_F(Propagators, WithoutGradientSamplesAreTheSameEverywhere)
{
    std::mt19937 random(630);
    build_spins(random_spins(random, {1, 1}, 2));
    Waveform w = random_waveform(random, 6, false, false, false);
    w.gx.clear(); // no gradients at all
    const SectorField f = field_of(w, 0.001, TWO_PI * 20.0);
    expect_naive_agreement(f, three_positions, 630);
    std::vector<Complex> p(3 * 16);
    SectorPropagators(f, three_positions.data(), 3, p.data());
    EXPECT_EQ(largest_difference(&p[0], &p[16], 16), 0.0);
    EXPECT_EQ(largest_difference(&p[0], &p[32], 16), 0.0);
}

TEST_F(Propagators, OfNoSamplesAreTheIdentity)
{
    build_spins({{1, 1}, {}, {100, 200}});
    const SectorField f = field_of(Waveform(), 0.0, 5.0);
    const std::vector<Complex> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<Complex> p(16);
    SectorPropagators(f, three_positions.data(), 1, p.data());
    EXPECT_EQ(p, identity);
}

TEST_F(Propagators, AreUnitary)
{
    std::mt19937 random(640);
    build_spins(random_spins(random, {3, 1, 1}, 2));
    const int n = rt.n;
    const Waveform w = random_waveform(random, 200, true, true, true);
    std::vector<Complex> p((size_t)(n * n));
    SectorPropagators(field_of(w, 0.01, 0.0), &three_positions[1], 1, p.data());
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) {
            Complex product = 0.0;
            for (int k = 0; k < n; k++)
                product += std::conj(p[(size_t)(k * n + i)]) * p[(size_t)(k * n + j)];
            EXPECT_LE(std::abs(product - Complex(i == j)), 1e-11) << i << "," << j;
        }
}

TEST_F(Propagators, NoPositionsWriteNothing)
{
    build_spins({{1}});
    Complex untouched = {3.0, 4.0};
    SectorPropagators(field_of(delay(), 1.0, 1.0), nullptr, 0, &untouched);
    EXPECT_EQ(untouched, Complex(3.0, 4.0));
}

// ------------------------------------------------------------------ rotation

TEST_F(Propagators, RotateDensitiesAgreesWithDoRotation)
{
    unsigned seed = 700;
    for (const std::vector<int> &two_i : all_systems) {
        std::mt19937 random(++seed);
        std::uniform_real_distribution<double> unit(-1.0, 1.0);
        build_spins(random_spins(random, two_i, 2));
        const size_t size = (size_t)(rt.n * rt.n);
        const int which[] = {2, 0, 0, 1, 2, 2, 0};
        std::vector<Complex> propagators(3 * size), rho(7 * size);
        const Waveform w = random_waveform(random, 3, true, true, true);
        SectorPropagators(field_of(w, 0.001, 0.0), three_positions.data(), 3, propagators.data());
        for (Complex &c : rho)
            c = {unit(random), unit(random)};
        const std::vector<Complex> before = rho;
        RotateDensities(rt.n, propagators.data(), which, 7, rho.data());
        for (size_t v = 0; v < 7; v++) {
            unpack_matrix(rt.n, &propagators[(size_t)which[v] * size], &P);
            unpack_matrix(rt.n, &before[v * size], &density);
            DoRotation(rt.n, &P, &density);
            EXPECT_LE(largest_difference(&rho[v * size], packed(rt.n, density).data(), size),
                      1e-12 * rt.n)
                << "seed " << seed << " matrix " << v;
        }
    }
}

TEST_F(Propagators, PackedMatricesAreRowsFromZero)
{
    CMatZero(2, &density);
    density[1][2][COMPLEX_RE] = 5.0;
    density[2][1][COMPLEX_IM] = -7.0;
    std::vector<Complex> four(4);
    pack_matrix(2, &density, four.data());
    EXPECT_EQ(four, (std::vector<Complex>{0.0, 5.0, {0.0, -7.0}, 0.0}));
    unpack_matrix(2, four.data(), &P);
    EXPECT_EQ(packed(2, P), four);
}

// ------------------------------------------------------------------ voxels share propagators

namespace
{

// The matrix that a one-voxel run gives at this place.
std::vector<Complex> run_alone(double x, double y, double z)
{
    set_grid(1, 1, 1);
    set_grid_x(x, 0.0);
    set_grid_y(y, 0.0);
    set_grid_z(z, 0.0);
    captured(SimulateLoadedPulseSequence);
    return read_densities("dm.bin").rho;
}

} // namespace

TEST_F(Propagators, AGridRunEqualsARunOfEachVoxelForEveryCombinationOfGradients)
{
    for (int axes = 0; axes < 8; axes++) {
        std::mt19937 random(800u + (unsigned)axes);
        rt.nos = 0;
        set_spins(random_spins(random, {1, 2}, 2));
        const bool x = axes & 1, y = axes & 2, z = axes & 4;
        add_spatial_sector(random_waveform(random, 4, x, y, z), 0.001, 10.0);
        add_spatial_sector(random_waveform(random, 3, z, x, y), 0.002, 0.0);
        set_grid(2, 3, 4);
        set_grid_x(-0.4, 0.7);
        set_grid_y(0.2, -0.15);
        set_grid_z(0.05, 0.3);
        captured(SimulateLoadedPulseSequence);
        const DensityFile dm = read_densities("dm.bin");
        ASSERT_EQ(dm.count, 24);
        for (int v = 0; v < 24; v++) {
            const int ix = v / 12, iy = v / 4 % 3, iz = v % 4;
            const std::vector<Complex> alone =
                run_alone(-0.4 + 0.7 * ix, 0.2 - 0.15 * iy, 0.05 + 0.3 * iz);
            EXPECT_LE(largest_difference(dm.matrix(v + 1), alone.data(), alone.size()), 1e-11)
                << "axes " << axes << " voxel " << v + 1;
        }
    }
}

TEST_F(Propagators, AGridWithMorePositionsThanAreKeptIsRightInEveryVoxel)
{
    const int ndx = 2, ndy = 260, ndz = 256;
    const double w1 = TWO_PI * 300.0, time = 0.0007;
    ZAN_SetSmokeCheckMode(1);
    build_spins({{1}});
    Waveform w = constant_waveform(1, w1, 0.0);
    w.gy = {TWO_PI * 400.0};
    w.gz = {TWO_PI * 55.0};
    set_sector_at_hand(w, time);
    set_grid(ndx, ndy, ndz);
    set_grid_y(-1.0, 2.0 / ndy);
    set_grid_z(-2.0, 4.0 / ndz);
    Rotate3D();
    const DensityFile dm = read_densities("dm.bin");
    ASSERT_EQ(dm.count, ndx * ndy * ndz);
    double worst = 0.0;
    for (int v = 0; v < dm.count; v++) {
        const int iy = v / ndz % ndy, iz = v % ndz;
        const double delta = w.gy[0] * (-1.0 + 2.0 / ndy * iy) + w.gz[0] * (-2.0 + 4.0 / ndz * iz);
        const double field = std::hypot(w1, delta), nz = delta / field;
        const double mz = std::cos(field * time) + nz * nz * (1.0 - std::cos(field * time));
        // Iz of one spin 1/2 with unit norm is diag(1, -1)/sqrt(2).
        worst = std::max(worst, std::abs(dm.at(v + 1, 1, 1) - mz * std::sqrt(0.5)));
    }
    EXPECT_LE(worst, 1e-11);
}

TEST_F(Propagators, ManyMatricesPassThroughInBatchesWithoutMixing)
{
    // 16 states: 4 kB a matrix, so 2500 voxels do not fit into one batch of a few MB.
    ZAN_SetSmokeCheckMode(1);
    std::mt19937 random(900);
    set_spins(random_spins(random, {1, 1, 1, 1}, 1));
    add_spatial_sector(random_waveform(random, 2, true, false, false), 0.001);
    set_grid(2, 50, 25);
    set_grid_x(-0.5, 1.0);
    captured(SimulateLoadedPulseSequence);
    const DensityFile dm = read_densities("dm.bin");
    ASSERT_EQ(dm.count, 2500);
    const size_t size = (size_t)(dm.n * dm.n);
    EXPECT_GT(largest_difference(dm.matrix(1), dm.matrix(1251), size), 0.01);
    for (int v = 1; v <= 1250; v++) {
        ASSERT_EQ(largest_difference(dm.matrix(v), dm.matrix(1), size), 0.0) << v;
        ASSERT_EQ(largest_difference(dm.matrix(1250 + v), dm.matrix(1251), size), 0.0) << v;
    }
}

// A number that is none, or infinite, makes the whole propagator none, as in the published recipe.
TEST_F(Propagators, WhatIsNoNumberEndsWhereTheRecipePutsIt)
{
    const double nan = std::nan(""), inf = std::numeric_limits<double>::infinity();
    const std::vector<Position> positions = {{0.5, 0, 0}, {0.25, 0, 0}};
    const auto expect_same_kinds = [&](const SectorField &f, const char *what) {
        const size_t count = (size_t)(f.n * f.n) * positions.size();
        std::vector<Complex> fast(count), plain(count);
        SectorPropagators(f, positions.data(), (int)positions.size(), fast.data());
        SectorPropagatorsPlain(f, positions.data(), (int)positions.size(), plain.data());
        for (size_t k = 0; k < count; k++) {
            EXPECT_EQ(std::isnan(fast[k].real()), std::isnan(plain[k].real())) << what << k;
            EXPECT_EQ(std::isnan(fast[k].imag()), std::isnan(plain[k].imag())) << what << k;
            EXPECT_EQ(std::isinf(fast[k].real()), std::isinf(plain[k].real())) << what << k;
            EXPECT_EQ(std::isinf(fast[k].imag()), std::isinf(plain[k].imag())) << what << k;
        }
    };
    std::mt19937 random(620);
    build_spins(random_spins(random, {1, 1, 1}, 2));
    for (const double bad : {nan, inf, -inf})
        for (const bool driven : {true, false}) {
            SCOPED_TRACE(testing::Message() << bad << (driven ? " driven" : " free"));
            Waveform w = random_waveform(random, 6, true, true, true);
            if (!driven)
                w.xb.assign(6, 0.0), w.yb.assign(6, 0.0);
            SectorField f = field_of(w, 0.002, TWO_PI * 33.0);
            f.offset = bad;
            expect_same_kinds(f, "offset ");
            f = field_of(w, 0.002, TWO_PI * 33.0);
            f.gx = f.gy = f.gz = nullptr;
            f.offset = bad;
            expect_same_kinds(f, "offset without gradients ");
            f = field_of(w, 0.002, TWO_PI * 33.0);
            w.gx[3] = bad;
            expect_same_kinds(f, "gradient ");
            w.gx[3] = 0.0;
            H0[2][2][COMPLEX_RE] = bad;
            expect_same_kinds(f, "Hamiltonian ");
        }
}
