// zan_profiles.cpp - expectation profiles and voxel signals written from density files.

#include "engine_fixture.h"

#include <cmath>

using Profiles = EngineTest;

namespace
{

const char *const HEADER = "# index,x_cm,y_cm,z_cm,expectation_re,expectation_im\n";

// A density file of one spin 1/2.
void write_points(const char *path, int count)
{
    write_densities(path, {0, 2, count, std::vector<Complex>((size_t)(4 * count), 0.5)});
}

// The answer of a writer and what it printed.
struct Answer {
    int result;
    std::string out, err;
};

Answer profile(const char *density, const char *expression, const char *output)
{
    Answer a;
    const Console c =
        captured([&] { a.result = ZANWriteExpectationProfile(density, expression, output); });
    a.out = c.out;
    a.err = c.err;
    return a;
}

Answer voxel(const char *density, int point, const char *output)
{
    Answer a;
    const Console c = captured([&] { a.result = ZANWriteVoxelSignal(density, point, output); });
    a.out = c.out;
    a.err = c.err;
    return a;
}

// Result 0, one message on the error stream, no output file.
void expect_refused(const Answer &a, const std::string &err)
{
    EXPECT_EQ(a.result, 0);
    EXPECT_EQ(a.out, "");
    EXPECT_EQ(a.err, err);
    EXPECT_FALSE(file_is_there("out"));
}

std::string row(int index, double x, double y, double z, double re, double im)
{
    char text[256];
    std::snprintf(text, sizeof text, "%d,%.17g,%.17g,%.17g,%.17g,%.17g\n", index, x, y, z, re, im);
    return text;
}

void set_acquisition(int samples, double time, double offset)
{
    add_spatial_sector(delay(), 0.1, 0.0, "pulse");
    add_spatial_sector(delay(), time, offset, "The Acquisition");
    rt.noti[2] = samples;
}

const char *const NO_ADC = "Voxel signal: spatial sequence has no valid power-of-two ADC sector.\n";

} // namespace

// ------------------------------------------------------------------ expectation profile

TEST_F(Profiles, AProfileHasOneLinePerVoxelWithCoordinatesAndComplexValue)
{
    build_spins({{1, 1}});
    set_grid(2, 1, 3);
    set_grid_x(-0.1, 0.3);
    set_grid_y(5.0, 0.7);
    set_grid_z(0.2, -0.05);
    DensityFile dm = {0, 4, 6, std::vector<Complex>(6 * 16)};
    std::string expected = HEADER;
    for (int p = 0; p < 6; p++) {
        // IzSz of unit norm is diag(1, -1, -1, 1)/2: the first element counts half.
        dm.rho[(size_t)p * 16] = Complex(p + 1, -3.0);
        expected += row(p + 1, -0.1 + p / 3 * 0.3, 5.0, 0.2 + p % 3 * -0.05, 0.5 * (p + 1), -1.5);
    }
    write_densities("dm", dm);
    const Answer a = profile("dm", " IzSz ", "out");
    EXPECT_EQ(a.result, 1);
    EXPECT_EQ(a.out, "Wrote expectation profile for  IzSz  to out\n");
    EXPECT_EQ(a.err, "");
    EXPECT_EQ(read_text("out"), expected);
}

TEST_F(Profiles, PointsBehindTheGridGoOnAlongX)
{
    build_spins({{1}});
    set_grid(1, 2, 1);
    set_grid_x(0.0, 1.0);
    set_grid_y(0.0, 10.0);
    write_points("dm", 5);
    ASSERT_EQ(profile("dm", "E", "out").result, 1);
    const std::string text = read_text("out");
    EXPECT_NE(text.find("\n4,1,10,0,"), std::string::npos) << text;
    EXPECT_NE(text.find("\n5,2,0,0,"), std::string::npos) << text;
}

TEST_F(Profiles, AGridOfNoPointsPutsEverythingAtTheOrigin)
{
    build_spins({{1}});
    rt.ndz = 0;
    set_grid_x(0.5, 1.0);
    write_points("dm", 3);
    ASSERT_EQ(profile("dm", "E", "out").result, 1);
    EXPECT_NE(read_text("out").find("\n3,0.5,0,0,"), std::string::npos);
}

TEST_F(Profiles, AProfileLeavesTheCurrentObservable)
{
    build_spins({{1}});
    rt.Istat[1][1][COMPLEX_RE] = 42.0;
    write_points("dm", 1);
    ASSERT_EQ(profile("dm", "Ix", "out").result, 1);
    EXPECT_EQ(rt.Istat[1][1][COMPLEX_RE], 42.0);
}

TEST_F(Profiles, AProfileNeedsASpinSystem)
{
    write_points("dm", 1);
    const char *const message = "Expectation profile: no prepared spin system.\n";
    expect_refused(profile("dm", "Iz", "out"), message);
    build_spins({{1}});
    rt.Nspins = 0;
    expect_refused(profile("dm", "Iz", "out"), message);
}

TEST_F(Profiles, AnInvalidExpressionIsNamed)
{
    build_spins({{1}});
    for (const char *text : {"Sz", "not defined", "", "2Ix", "%s%n"})
        expect_refused(profile("dm", text, "out"),
                       std::string("Expectation profile: invalid operator expression '") + text +
                           "'.\n");
}

TEST_F(Profiles, AMissingDensityFileIsReported)
{
    build_spins({{1}});
    expect_refused(profile("absent", "Iz", "out"),
                   missing_file_message("Expectation profile: input density file"));
}

TEST_F(Profiles, AnotherHeaderIsRefused)
{
    struct {
        int type, n, count;
    } const headers[] = {{1, 2, 1}, {0, 3, 1}, {0, 2, 0}, {0, 2, -1}};
    build_spins({{1}});
    for (const auto &h : headers) {
        write_densities("dm", {h.type, h.n, h.count, std::vector<Complex>(9)});
        char expected[160];
        std::snprintf(expected, sizeof expected,
                      "Expectation profile: incompatible density header type=%d n=%d points=%d; "
                      "expected type=0 n=2.\n",
                      h.type, h.n, h.count);
        expect_refused(profile("dm", "Iz", "out"), expected);
    }
}

TEST_F(Profiles, ACutHeaderIsRefused)
{
    build_spins({{1}});
    write_bytes("dm", "1234");
    const Answer a = profile("dm", "Iz", "out");
    EXPECT_EQ(a.result, 0);
    EXPECT_EQ(count_of(a.err, "Expectation profile: incompatible density header type="), 1);
}

TEST_F(Profiles, ACutMatrixIsRefusedByItsPoint)
{
    build_spins({{1}});
    write_points("dm", 4);
    std::filesystem::resize_file("dm", 12 + 3 * 64 - 8);
    expect_refused(profile("dm", "Iz", "out"),
                   "Expectation profile: truncated density matrix at point 3.\n");
}

TEST_F(Profiles, AnOutputThatCannotBeOpenedIsReported)
{
    build_spins({{1}});
    write_points("dm", 1);
    expect_refused(profile("dm", "Iz", "absent/out"),
                   missing_file_message("Expectation profile: output file"));
}

// ------------------------------------------------------------------ voxel signal

TEST_F(Profiles, AVoxelSignalIsTheReceiverSignalOfThatPoint)
{
    const double nu = 30.0, offset = 12.0, time = 0.08;
    build_spins({{1}, {}, {nu}});
    set_acquisition(8, time, offset);
    DensityFile dm = {0, 2, 3, std::vector<Complex>(12)};
    MakeMatrixIy(rt.Ilist, rt.ket, 2, 1, &rt.densmat);
    const std::vector<Complex> iy = packed(2, rt.densmat);
    std::copy(iy.begin(), iy.end(), dm.rho.begin() + 4);
    write_densities("dm", dm);
    const Answer a = voxel("dm", 2, "out");
    EXPECT_EQ(a.result, 1);
    EXPECT_EQ(a.err, "");
    const std::string last =
        "Wrote voxel 2 receiver signal to out (samples=8 acquisition=0.08 s).\n";
    EXPECT_EQ(a.out.substr(a.out.size() - std::min(a.out.size(), last.size())), last);
    const SignalFile signal = read_signal("out");
    EXPECT_EQ(signal.type, 1);
    ASSERT_EQ(signal.samples, 8);
    ASSERT_EQ(signal.traces, 1);
    // Unit-norm Ix and Iy see Iy with 1/sqrt(2); the phase runs with shift plus offset.
    for (int k = 0; k < 8; k++) {
        const Complex expected =
            Complex(0, std::sqrt(0.5)) * std::polar(1.0, -TWO_PI * (nu + offset) * k * time / 8);
        EXPECT_LE(std::abs(signal.at(1, k + 1) - expected), 1e-12) << k;
    }
    ASSERT_EQ(voxel("dm", 3, "out").result, 1);
    EXPECT_EQ(read_signal("out").at(1, 1), Complex(0.0));
}

TEST_F(Profiles, AVoxelSignalRestoresTheTotalsAndRemovesTheWorkingFile)
{
    build_spins({{1, 1}, {}, {10, 20}, 1, {{1, 2, 5}}});
    set_acquisition(2, 0.1, 0.0);
    write_densities("dm", {0, 4, 1, std::vector<Complex>(16)});
    write_bytes("dm.bin", "an older one");
    ASSERT_EQ(voxel("dm", 1, "out").result, 1);
    EXPECT_FALSE(file_is_there("dm.bin"));
    EXPECT_NEAR(rt.Ixtot[1][2][COMPLEX_RE], 0.5, 1e-15);
    EXPECT_NEAR(rt.Iytot[1][2][COMPLEX_IM], -0.5, 1e-15);
    static CMatrix sum;
    CMatAdd(4, &rt.Izee, &rt.Icoup, &sum);
    EXPECT_EQ(packed(4, rt.Istat), packed(4, sum));
}

TEST_F(Profiles, AVoxelSignalNeedsASpinSystem)
{
    set_acquisition(8, 0.1, 0.0);
    const char *const message = "Voxel signal: no prepared spin system.\n";
    expect_refused(voxel("dm", 1, "out"), message);
    rt.Nspins = 1;
    expect_refused(voxel("dm", 1, "out"), message);
}

TEST_F(Profiles, AVoxelSignalNeedsAUsableAcquisitionSector)
{
    build_spins({{1}});
    expect_refused(voxel("dm", 1, "out"), NO_ADC);
    set_acquisition(8, 0.1, 0.0);
    for (const int samples : {-4, 0, 1, 3, 12}) {
        rt.noti[2] = samples;
        expect_refused(voxel("dm", 1, "out"), NO_ADC);
    }
    rt.noti[2] = 8;
    for (const double time : {0.0, -1.0, std::nan("")}) {
        rt.sectdur[2] = time;
        expect_refused(voxel("dm", 1, "out"), NO_ADC);
    }
}

TEST_F(Profiles, TheFirstAcquisitionSectorIsTheOneThatCounts)
{
    build_spins({{1}});
    set_acquisition(12, 0.1, 0.0);
    add_spatial_sector(delay(), 0.1, 0.0, "ADC");
    rt.noti[3] = 16;
    expect_refused(voxel("dm", 1, "out"), NO_ADC);
    rt.noti[2] = 4;
    write_points("dm", 1);
    ASSERT_EQ(voxel("dm", 1, "out").result, 1);
    EXPECT_EQ(read_signal("out").samples, 4);
}

TEST_F(Profiles, AMissingDensityFileOfAVoxelIsReported)
{
    build_spins({{1}});
    set_acquisition(8, 0.1, 0.0);
    expect_refused(voxel("absent", 1, "out"),
                   missing_file_message("Voxel signal: input density file"));
}

TEST_F(Profiles, AnotherHeaderOrPointIsRefused)
{
    struct {
        int type, n, count, point;
    } const cases[] = {{1, 2, 3, 1}, {0, 3, 1, 1}, {0, 2, 3, 0}, {0, 2, 3, -7}, {0, 2, 3, 4}};
    build_spins({{1}});
    set_acquisition(8, 0.1, 0.0);
    for (const auto &c : cases) {
        write_densities("dm", {c.type, c.n, c.count, std::vector<Complex>(12)});
        char expected[200];
        std::snprintf(expected, sizeof expected,
                      "Voxel signal: incompatible density file or point index (type=%d n=%d "
                      "points=%d requested=%d expected_n=2).\n",
                      c.type, c.n, c.count, c.point);
        expect_refused(voxel("dm", c.point, "out"), expected);
    }
}

TEST_F(Profiles, ACutMatrixOfAVoxelIsRefusedByThePointBeingRead)
{
    build_spins({{1}});
    set_acquisition(8, 0.1, 0.0);
    write_points("dm", 4);
    std::filesystem::resize_file("dm", 12 + 64 + 63);
    expect_refused(voxel("dm", 4, "out"), "Voxel signal: truncated density matrix at point 2.\n");
    EXPECT_EQ(voxel("dm", 1, "out").result, 1);
}

TEST_F(Profiles, AWorkingFileThatCannotBeMadeIsReported)
{
    build_spins({{1}});
    set_acquisition(8, 0.1, 0.0);
    write_points("dm", 1);
    std::filesystem::create_directory("dm.bin");
    expect_refused(voxel("dm", 1, "out"),
                   "Voxel signal: cannot create temporary single-voxel density file.\n");
}

TEST_F(Profiles, ASignalThatCannotBeWrittenIsAFailure)
{
    build_spins({{1}});
    set_acquisition(8, 0.1, 0.0);
    write_points("dm", 1);
    expect_refused(voxel("dm", 1, "absent/out"), missing_file_message("fopen(signal output)") +
                                                     "Voxel signal: receiver signal generation "
                                                     "failed.\n");
    EXPECT_FALSE(file_is_there("dm.bin"));
    EXPECT_NEAR(rt.Ixtot[1][2][COMPLEX_RE], 0.5, 1e-15);
}
