// zan_propagation.cpp - one sector over "dm.bin": what is printed, refused and left behind.
// The numbers are the business of tests/engine.

#include "engine_fixture.h"
#include "memory.h"
#include "run_program.h"

#include <cerrno>
#include <cstring>

using Propagation = EngineTest;

namespace
{

const char *const NO_PULSE = ">>>> NO RF-PULSE DEFINED ERROR <<<<\n";

void prepare_pulse(void)
{
    build_spins({{1}});
    set_sector_at_hand(hard_pulse_x(0.5 * PI_CONST, 1e-6), 1e-6);
    rt.spatial_progress_sector = rt.spatial_progress_sector_count = 1;
}

void rotate_2d(void)
{
    Rotate2D_internal(1, rt.h, 0.0);
}

// The sector is refused with these texts; dm.bin stays byte for byte, store is gone.
template <class Sector>
void expect_refusal(Sector sector, const std::string &out, const std::string &err)
{
    const std::string before = read_text("dm.bin");
    const int calc = rt.calc;
    const Console console = captured(sector);
    EXPECT_EQ(console.out, out);
    EXPECT_EQ(console.err, err);
    EXPECT_EQ(read_text("dm.bin"), before);
    EXPECT_EQ(rt.calc, calc);
    EXPECT_FALSE(std::filesystem::is_regular_file("store"));
}

// A dm.bin of zeros with this header.
void write_blank(int32_t type, int32_t n, int32_t count)
{
    write_densities("dm.bin", {type, n, count, std::vector<Complex>((size_t)(n * n * count))});
}

std::vector<int> progress_voxels(const std::string &out)
{
    std::vector<int> voxels;
    for (const std::string &line : lines_with(out, "[ZAN_PROGRESS]")) {
        int voxel = -1;
        std::sscanf(line.c_str(), "[ZAN_PROGRESS] sector=%*d sectors=%*d voxel=%d", &voxel);
        voxels.push_back(voxel);
    }
    return voxels;
}

} // namespace

// ------------------------------------------------------------------ spatial sectors

TEST_F(Propagation, TheFirstSectorFillsEveryVoxelWithTheEquilibrium)
{
    prepare_pulse();
    rt.ap = 0;
    rt.h = 0.0;
    const std::vector<Complex> equilibrium = packed(2, rt.densmat);
    set_grid(2, 1, 3);
    captured(Rotate3D);
    const DensityFile dm = read_densities("dm.bin");
    EXPECT_EQ(dm.type, 0);
    EXPECT_EQ(dm.n, 2);
    ASSERT_EQ(dm.count, 6);
    EXPECT_EQ(rt.ndw, 6);
    for (int v = 1; v <= 6; v++)
        EXPECT_EQ(largest_difference(dm.matrix(v), equilibrium.data(), 4), 0.0);
}

TEST_F(Propagation, EachSectorStartsWhereTheLastOneEnded)
{
    prepare_pulse();
    for (int sector = 1; sector <= 4; sector++) {
        captured(Rotate3D);
        EXPECT_EQ(rt.calc, sector);
        EXPECT_FALSE(file_is_there("store"));
    }
    // Four pulses of 90 degrees are a full turn.
    EXPECT_NEAR(component("z", read_densities("dm.bin").matrix(1)), 1.0, 1e-12);
}

// The state before the first sector is still the equilibrium after one that failed.
TEST_F(Propagation, AfterAFailedFirstSectorTheNextIsTheFirst)
{
    prepare_pulse();
    const std::vector<Complex> equilibrium = packed(2, rt.densmat);
    for (void (*sector)(void) : {Rotate3D, rotate_2d}) {
        fail_array_allocation(2); // the first is that of the first generation
        EXPECT_EQ(count_of(captured(sector).out, ": not enough memory\n"), 1);
        fail_array_allocation(0);
        EXPECT_EQ(rt.calc, 0);
        EXPECT_EQ(largest_difference(packed(2, rt.densmat).data(), equilibrium.data(), 4), 0.0);
        const DensityFile dm = read_densities("dm.bin");
        ASSERT_EQ(dm.count, 1);
        EXPECT_EQ(largest_difference(dm.matrix(1), equilibrium.data(), 4), 0.0);
        EXPECT_FALSE(file_is_there("store"));
    }
    captured(Rotate3D);
    EXPECT_EQ(rt.calc, 1);
    EXPECT_NEAR(std::abs(component("y", read_densities("dm.bin").matrix(1))), 1.0, 1e-12);
}

TEST_F(Propagation, ASpatialSectorPrintsItsProgressAndALineEnd)
{
    prepare_pulse();
    set_grid(1, 2, 1);
    const Console console = captured(Rotate3D);
    EXPECT_EQ(console.out, "[ZAN_PROGRESS] sector=1 sectors=1 voxel=1 voxels=2 percent=50\n"
                           "[ZAN_PROGRESS] sector=1 sectors=1 voxel=2 voxels=2 percent=100\n\n");
    EXPECT_EQ(console.err, "");
}

TEST_F(Propagation, Of250VoxelsEverySecondIsReported)
{
    prepare_pulse();
    set_grid(5, 5, 10);
    std::vector<int> expected = {1};
    for (int v = 2; v <= 250; v += 2)
        expected.push_back(v);
    EXPECT_EQ(progress_voxels(captured(Rotate3D).out), expected);
}

TEST_F(Propagation, Of50VoxelsEveryOneIsReported)
{
    prepare_pulse();
    set_grid(50, 1, 1);
    std::vector<int> expected;
    for (int v = 1; v <= 50; v++)
        expected.push_back(v);
    EXPECT_EQ(progress_voxels(captured(Rotate3D).out), expected);
}

TEST_F(Propagation, TheLastVoxelIsReportedWhenItIsNoMultiple)
{
    prepare_pulse();
    set_grid(1, 1, 301);
    const std::vector<int> voxels = progress_voxels(captured(Rotate3D).out);
    ASSERT_EQ(voxels.size(), 102u);
    EXPECT_EQ(voxels[0], 1);
    EXPECT_EQ(voxels[1], 3);
    EXPECT_EQ(voxels[100], 300);
    EXPECT_EQ(voxels[101], 301);
}

TEST_F(Propagation, ThePercentageCountsTheSectorsBefore)
{
    prepare_pulse();
    set_grid(1, 1, 4);
    rt.spatial_progress_sector = 2;
    rt.spatial_progress_sector_count = 3;
    const std::vector<std::string> lines = lines_with(captured(Rotate3D).out, "PROGRESS");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "[ZAN_PROGRESS] sector=2 sectors=3 voxel=1 voxels=4 percent=41");
    EXPECT_EQ(lines[3], "[ZAN_PROGRESS] sector=2 sectors=3 voxel=4 voxels=4 percent=66");
}

TEST_F(Propagation, WithoutASectorCountThePercentageIs100)
{
    prepare_pulse();
    rt.spatial_progress_sector = rt.spatial_progress_sector_count = 0;
    EXPECT_EQ(captured(Rotate3D).out,
              "[ZAN_PROGRESS] sector=0 sectors=0 voxel=1 voxels=1 percent=100\n\n");
}

TEST_F(Propagation, SmokeCheckModeIsSilent)
{
    prepare_pulse();
    ZAN_SetSmokeCheckMode(1);
    const Console spatial = captured(Rotate3D);
    EXPECT_EQ(spatial.out + spatial.err, "");
    rt.ndw = 3;
    const Console rows = captured(rotate_2d);
    EXPECT_EQ(rows.out + rows.err, "");
    EXPECT_EQ(rt.calc, 2);
}

TEST_F(Propagation, WithoutAPulseASectorIsRefused)
{
    prepare_pulse();
    rt.pulseflag = 2;
    expect_refusal(Rotate3D, NO_PULSE, "");
    expect_refusal(rotate_2d, NO_PULSE, "");
    EXPECT_FALSE(file_is_there("dm.bin"));
}

TEST_F(Propagation, AMissingDensityFileIsReported)
{
    prepare_pulse();
    rt.calc = 1;
    expect_refusal(Rotate3D, "", missing_file_message("dm.bin"));
    expect_refusal(rotate_2d, "", missing_file_message("dm.bin"));
}

TEST_F(Propagation, ACutHeaderIsReported)
{
    prepare_pulse();
    rt.calc = 1;
    write_bytes("dm.bin", "12345");
    Console console = captured(Rotate3D);
    EXPECT_EQ(console.out, "Rotate3D: failed to read dm.bin header\n");
    EXPECT_EQ(console.err.rfind("fread(num1): ", 0), 0u) << console.err;
    console = captured(rotate_2d);
    EXPECT_EQ(console.out, "Rotate2D: failed to read dm.bin header\n");
    EXPECT_EQ(read_text("dm.bin"), "12345");
    EXPECT_EQ(rt.calc, 1);
}

TEST_F(Propagation, AnotherTypeDimensionOrVoxelCountIsRefused)
{
    struct {
        int type, n, count;
    } const headers[] = {{1, 2, 4}, {0, 3, 4}, {0, 2, 3}, {0, 2, 5}};
    prepare_pulse();
    set_grid(2, 2, 1);
    rt.calc = 1;
    for (const auto &h : headers) {
        write_blank(h.type, h.n, h.count);
        char expected[160];
        std::snprintf(expected, sizeof expected,
                      "Rotate3D: dm.bin dimensions mismatch (type=%d n=%d ndw=%d), expected (0 2 "
                      "4)\n",
                      h.type, h.n, h.count);
        expect_refusal(Rotate3D, expected, "");
    }
}

TEST_F(Propagation, ACutDensityFileEndsTheSectorAndStaysAsItIs)
{
    prepare_pulse();
    set_grid(3, 1, 1);
    write_blank(0, 2, 3);
    rt.calc = 1;
    std::filesystem::resize_file("dm.bin", 12 + 3 * 64 - 1);
    expect_refusal(Rotate3D,
                   "[ZAN_PROGRESS] sector=1 sectors=1 voxel=1 voxels=3 percent=33\n"
                   "[ZAN_PROGRESS] sector=1 sectors=1 voxel=2 voxels=3 percent=66\n"
                   "Rotate3D: read error from dm.bin\n",
                   "");
}

TEST_F(Propagation, AStoreThatCannotBeMadeIsReported)
{
    prepare_pulse();
    write_blank(0, 2, 1);
    rt.calc = 1;
    std::filesystem::create_directory("store");
    expect_refusal(Rotate3D, "", directory_message("store"));
    EXPECT_NE(read_text("dm.bin"), "");
}

TEST_F(Propagation, AStoreThatCannotBeOpenedIsNotRemoved)
{
    prepare_pulse();
    write_blank(0, 2, 1);
    rt.calc = 1;
    std::error_code failure;
    std::filesystem::create_symlink("nowhere/store", "store", failure);
    if (failure)
        GTEST_SKIP() << "no symbolic links here";
    expect_refusal(Rotate3D, "", missing_file_message("store"));
    EXPECT_TRUE(std::filesystem::is_symlink("store"));
}

TEST_F(Propagation, ADensityFileThatCannotBeStartedIsReportedUnderItsName)
{
    prepare_pulse();
    std::filesystem::create_directory("store");
    expect_refusal(Rotate3D, "", directory_message("dm.bin"));
    expect_refusal(rotate_2d, "", directory_message("dm.bin"));
}

TEST_F(Propagation, AStoreLeftByAKilledRunIsReplaced)
{
    prepare_pulse();
    write_bytes("store", std::string(100000, 'x'));
    captured(Rotate3D);
    EXPECT_EQ(rt.calc, 1);
    EXPECT_EQ(read_densities("dm.bin").count, 1);
    EXPECT_FALSE(file_is_there("store"));
}

// ------------------------------------------------------------------ 1D/2D sectors

TEST_F(Propagation, A2DSectorPrintsAStarPerRowAndALineEnd)
{
    prepare_pulse();
    rt.ndw = 5;
    const Console console = captured(rotate_2d);
    EXPECT_EQ(console.out, "*****\n");
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(rt.calc, 1);
    EXPECT_EQ(read_densities("dm.bin").count, 5);
    EXPECT_FALSE(file_is_there("store"));
}

TEST_F(Propagation, ASectorTypeOtherThanTwoIsANormalSector)
{
    prepare_pulse();
    rt.ndw = 2;
    captured([] { Rotate2D_internal(7, rt.h, 0.0); });
    const DensityFile dm = read_densities("dm.bin");
    EXPECT_NEAR(component("y", dm.matrix(1)), 1.0, 1e-12);
    EXPECT_NEAR(component("y", dm.matrix(2)), 1.0, 1e-12);
}

TEST_F(Propagation, AnEvolutionSectorLeavesRowOneAlone)
{
    prepare_pulse();
    const std::vector<Complex> equilibrium = packed(2, rt.densmat);
    rt.ndw = 3;
    captured([] { Rotate2D_internal(2, rt.h, 0.0); });
    const DensityFile dm = read_densities("dm.bin");
    EXPECT_EQ(largest_difference(dm.matrix(1), equilibrium.data(), 4), 0.0);
    EXPECT_NEAR(component("y", dm.matrix(2)), 1.0, 1e-12);
    EXPECT_NEAR(component("z", dm.matrix(3)), -1.0, 1e-12);
}

TEST_F(Propagation, AnotherTypeOrDimensionOfRowsIsRefusedAndKept)
{
    struct {
        int type, n, count;
    } const headers[] = {{1, 2, 4}, {0, 3, 4}, {0, 4, 4}, {0, 3, 1}, {0, 4, 9}, {2, 2, 1}};
    prepare_pulse();
    rt.ndw = 4;
    rt.calc = 1;
    for (const auto &h : headers) {
        write_blank(h.type, h.n, h.count);
        char expected[160];
        std::snprintf(expected, sizeof expected,
                      "Rotate2D: dm.bin dimensions mismatch (type=%d n=%d ndw=%d), expected (0 2 "
                      "4)\n",
                      h.type, h.n, h.count);
        expect_refusal(rotate_2d, expected, "");
    }
}

TEST_F(Propagation, ARowCountIsChangedOnlyAfterTheFirstSector)
{
    prepare_pulse();
    write_blank(0, 2, 9);
    rt.ndw = 2; // calc is 0: what lies there is replaced, not widened
    captured(rotate_2d);
    EXPECT_NEAR(component("y", read_densities("dm.bin").matrix(2)), 1.0, 1e-12);
}

TEST_F(Propagation, ACutRowEndsThe2DSector)
{
    prepare_pulse();
    rt.ndw = 3;
    write_blank(0, 2, 3);
    rt.calc = 1;
    std::filesystem::resize_file("dm.bin", 12 + 2 * 64);
    expect_refusal(rotate_2d, "**Rotate2D: read error from dm.bin\n", "");
}

TEST_F(Propagation, ACutFirstRowEndsTheResizingQuietly)
{
    prepare_pulse();
    rt.ndw = 3;
    write_blank(0, 2, 1);
    rt.calc = 1;
    std::filesystem::resize_file("dm.bin", 12 + 63);
    expect_refusal(rotate_2d, "", "");
}

TEST_F(Propagation, AStoreThatCannotBeMadeIsReportedAsStoreOnlyWhenResizing)
{
    prepare_pulse();
    write_blank(0, 2, 1);
    rt.calc = 1;
    rt.ndw = 2;
    std::filesystem::create_directory("store");
    expect_refusal(rotate_2d, "", directory_message("store"));
    rt.ndw = 1;
    expect_refusal(rotate_2d, "", directory_message("dm.bin"));
}

// ------------------------------------------------------------------ what both leave behind

TEST_F(Propagation, TheRuntimeStateHoldsTheMatrixThatWasPropagatedLast)
{
    prepare_pulse();
    set_grid(1, 1, 3);
    captured(Rotate3D);
    EXPECT_EQ(
        largest_difference(packed(2, rt.densmat).data(), read_densities("dm.bin").matrix(3), 4),
        0.0);
    rt.ndw = 3;
    captured(rotate_2d);
    EXPECT_EQ(
        largest_difference(packed(2, rt.densmat).data(), read_densities("dm.bin").matrix(3), 4),
        0.0);
}

TEST_F(Propagation, WithoutASpinSystemThereIsNothingToPropagate)
{
    rt.pulseflag = 1;
    EXPECT_EQ(captured(Rotate3D).out, "Rotate3D: cannot propagate n=0 states, 1 matrices\n");
    EXPECT_EQ(captured(rotate_2d).out, "Rotate2D: cannot propagate n=0 states, 1 matrices\n");
    EXPECT_FALSE(file_is_there("dm.bin"));
}

TEST_F(Propagation, AGridThatAFileCannotCountIsRefused)
{
    prepare_pulse();
    set_grid(65536, 65536, 1);
    EXPECT_EQ(captured(Rotate3D).out,
              "Rotate3D: cannot propagate n=2 states, 4294967296 matrices\n");
}
