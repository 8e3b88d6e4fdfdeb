// zan_sequences.cpp - the sequence drivers: what they print, where they stop, which result
// they write.

#include "engine_fixture.h"

#include <cmath>
#include <fstream>
#include <limits>

using Sequences = EngineTest;

namespace
{

// What a run prints behind the summary of the spin system.
std::string output_of(void (*run)(void), std::string *err = nullptr)
{
    const Console console = captured(run);
    if (err)
        *err = console.err;
    else
        EXPECT_EQ(console.err, "");
    const size_t end = console.out.find(" Hz\n\n");
    return end == std::string::npos ? console.out : console.out.substr(end + 5);
}

void set_one_spin(void)
{
    set_spins({{1}});
}

void add_pulse(int rows = 1)
{
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-5), rows, 1e-5);
}

void add_acquisition(int samples, const char *remark = "ADC")
{
    add_2d_sector(1, constant_waveform(samples, 0, 0), 1, 0.016, 5.0, remark);
}

std::string sector_2d_text(int s, const char *type, int samples, int rows, const char *ms)
{
    char text[512];
    std::snprintf(text, sizeof text,
                  "\nCalculating sector                      : %d\n"
                  "Sector type                             : %s\n"
                  "Number of time intervals in this sector : %d\n"
                  "Number of evolution intervals           : %d\n"
                  "Sector or pulsetime                [ms] : %s\n"
                  "Reading pulse file                      : wave%d.bin\n",
                  s, type, samples, rows, ms, s);
    return text;
}

const char *const ADC_MARKED =
    "ADC sector marked for receiver/FID export; density matrix is preserved at acquisition "
    "start.\n";

} // namespace

TEST_F(Sequences, AcquisitionRemarksAreFoundInAnyLetterCase)
{
    for (const char *remark : {"ADC", "adc readout", "the aDc", "Acquisition",
                               "acquisition_frequency=3", "reACQUISITION", "broadcast"})
        EXPECT_TRUE(zan_remark_is_acquisition(remark)) << remark;
    for (const char *remark : {"", "a d c", "acquire", "pulse", "acquisitio"})
        EXPECT_FALSE(zan_remark_is_acquisition(remark)) << remark;
}

// ------------------------------------------------------------------ spatial family

TEST_F(Sequences, ASpatialRunReportsItsSteps)
{
    set_one_spin();
    set_grid(1, 2, 1);
    set_grid_x(-0.125, 0.0);
    set_grid_y(1.0 / 3.0, 0.1);
    set_grid_z(7e20, 0.0);
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-5), 1e-5, 0.0, "90x %d");
    add_spatial_sector(delay(), 0.5, 0.0, "ADC");
    add_spatial_sector(delay(), 0.5, 0.0, "never reached");
    set_result("result.bin");
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence),
              "# x-direction : 1  # y-direction : 2  # z-direction : 1\n"
              "Number of pulse sectors to calculate      : 3\n"
              "\nCalculating sector                      : 1\n"
              "Number of time intervals in this sector : 1\n"
              "Sector or pulsetime                [ms] : 0.01\n"
              "Reading pulse file                      : wave1.bin\n"
              "Spatial starting point x-direction [cm] : -0.125\n"
              "Spatial x-stepsize                 [cm] : 0\n"
              "Spatial starting point y-direction [cm] : 0.333333333333333\n"
              "Spatial y-stepsize                 [cm] : 0.1\n"
              "Spatial starting point z-direction [cm] : 7e+20\n"
              "Spatial z-stepsize                 [cm] : 0\n"
              "Remark : 90x %d\n\n"
              "[ZAN_PROGRESS] sector=1 sectors=1 voxel=1 voxels=2 percent=50\n"
              "[ZAN_PROGRESS] sector=1 sectors=1 voxel=2 voxels=2 percent=100\n\n"
              "\nSpatial propagation stops at acquisition sector 2.\n"
              "The density matrix is stored at acquisition start.\n"
              "Copied spatial density-matrix result to result.bin\n");
    EXPECT_EQ(read_text("result.bin"), read_text("dm.bin"));
}

TEST_F(Sequences, ASpatialRunSetsTheWorkingValuesOfItsLastSector)
{
    set_one_spin();
    set_grid(1, 1, 1);
    set_grid_x(0.5, 0.25);
    set_grid_y(-1.5, 0.125);
    set_grid_z(2.5, -0.75);
    rt.x0_s = rt.y0_s = rt.z0_s = rt.dx_s = rt.dy_s = rt.dz_s = 99.0;
    add_spatial_sector(constant_waveform(4, 1.0, 2.0), 0.02, 3.0);
    output_of(SimulateLoadedPulseSequence);
    EXPECT_EQ(rt.ap, 4);
    EXPECT_EQ(rt.pt, 0.02);
    EXPECT_EQ(rt.h, 0.005);
    EXPECT_EQ(rt.ti, rt.h); // one step, not the length of the pulse
    EXPECT_DOUBLE_EQ(rt.statoff_s, TWO_PI * 3.0);
    EXPECT_EQ(rt.x0_s, 0.5);
    EXPECT_EQ(rt.y0_s, -1.5);
    EXPECT_EQ(rt.z0_s, 2.5);
    EXPECT_EQ(rt.dx_s, 0.25);
    EXPECT_EQ(rt.dy_s, 0.125);
    EXPECT_EQ(rt.dz_s, -0.75);
    EXPECT_EQ(rt.calc, 1);
    EXPECT_EQ(rt.pulseflag, 1);
    EXPECT_EQ(rt.spatial_progress_sector_count, 1);
}

TEST_F(Sequences, SmokeCheckModeLeavesOnlyTheResultLine)
{
    set_one_spin();
    set_grid(2, 1, 1);
    add_spatial_sector(delay(), 0.5);
    add_spatial_sector(delay(), 0.5, 0.0, "ADC");
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence),
              "Copied spatial density-matrix result to result.bin\n");
}

TEST_F(Sequences, WithoutAResultNameNothingIsCopied)
{
    set_one_spin();
    add_spatial_sector(delay(), 0.5);
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence), "");
    EXPECT_TRUE(file_is_there("dm.bin"));
}

TEST_F(Sequences, AResultThatCannotBeWrittenIsReported)
{
    set_one_spin();
    add_spatial_sector(delay(), 0.5);
    set_result("absent/result.bin");
    ZAN_SetSmokeCheckMode(1);
    std::string err;
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence, &err),
              "Failed to copy spatial density-matrix result to absent/result.bin\n");
    EXPECT_NE(err, "");
}

TEST_F(Sequences, AMissingWaveformEndsASpatialRun)
{
    set_one_spin();
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-5), 1e-5);
    add_spatial_sector(delay(), 0.5);
    std::filesystem::remove("wave2.bin");
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    std::string err;
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence, &err), "Error reading pulse file wave2.bin\n");
    EXPECT_EQ(err, missing_file_message("wave2.bin"));
    EXPECT_FALSE(file_is_there("result.bin"));
    EXPECT_NEAR(component("y", read_densities("dm.bin").matrix(1)), 1.0, 1e-12);
    EXPECT_EQ(rt.calc, 1);
}

TEST_F(Sequences, AShortWaveformOrTooManySamplesEndTheRun)
{
    set_one_spin();
    add_spatial_sector(delay(), 0.5);
    ZAN_SetSmokeCheckMode(1);
    for (const int samples : {2, 8193}) {
        rt.noti[1] = samples;
        EXPECT_EQ(output_of(SimulateLoadedPulseSequence), "Error reading pulse file wave1.bin\n");
        EXPECT_FALSE(file_is_there("dm.bin"));
    }
}

TEST_F(Sequences, ASampleThatIsNoNumberEndsASpatialRun)
{
    const double inf = std::numeric_limits<double>::infinity();
    Waveform bad = constant_waveform(3, 1.5, -2.0);
    bad.gx = {0.0, 0.25, 0.0};
    bad.gy = {0.0, inf, inf};
    bad.gz = {0.0, -inf, 1e6};
    set_one_spin();
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-5), 1e-5);
    add_spatial_sector(bad, 0.5);
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoadedPulseSequence),
              "Bad pulse sample at l=1: xb=1.5 yb=-2 gx=0.25 gy=inf gz=-inf\n");
    EXPECT_FALSE(file_is_there("result.bin"));
    EXPECT_NEAR(component("y", read_densities("dm.bin").matrix(1)), 1.0, 1e-12);
}

TEST_F(Sequences, EveryChannelOfASpatialSectorIsChecked)
{
    set_one_spin();
    set_grid(1, 1, 1);
    ZAN_SetSmokeCheckMode(1);
    for (size_t channel = 0; channel < 5; channel++) {
        rt.nos = 0;
        Waveform w = delay();
        w.gx = w.gy = w.gz = {0.0};
        (channel == 0   ? w.xb
         : channel == 1 ? w.yb
         : channel == 2 ? w.gx
         : channel == 3 ? w.gy
                        : w.gz)[0] = std::nan("");
        add_spatial_sector(w, 0.5);
        EXPECT_EQ(count_of(output_of(SimulateLoadedPulseSequence), "Bad pulse sample at l=0:"), 1)
            << channel;
    }
}

TEST_F(Sequences, ASectorWithoutSamplesLeavesEveryMatrix)
{
    set_one_spin();
    add_spatial_sector(Waveform(), 0.5, 100.0);
    captured(SimulateLoadedPulseSequence);
    EXPECT_EQ(rt.h, 0.0);
    EXPECT_EQ(rt.calc, 1);
    build_spins({{1}});
    EXPECT_EQ(read_densities("dm.bin").rho, packed(2, rt.densmat)); // the equilibrium
}

TEST_F(Sequences, AFailedSectorDoesNotStopTheSpatialRun)
{
    set_one_spin();
    add_spatial_sector(delay(), 0.5);
    add_spatial_sector(delay(), 0.5);
    std::filesystem::create_directory("store");
    std::string err;
    const std::string out = output_of(SimulateLoadedPulseSequence, &err);
    EXPECT_EQ(count_of(out, "Calculating sector "), 2);
    EXPECT_EQ(count_of(err, "dm.bin: "), 2) << err;
    EXPECT_EQ(count_of(err, "Of 2 sectors 2 failed: the density matrices lack them.\n"), 1) << err;
}

TEST_F(Sequences, TheSectorTypeDoesNotChangeASpatialSector)
{
    set_one_spin();
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-5), 1e-5);
    for (int type = 0; type <= 6; type++) {
        rt.sectype[1] = type;
        captured(SimulateLoadedPulseSequence);
        EXPECT_NEAR(component("y", read_densities("dm.bin").matrix(1)), 1.0, 1e-12) << type;
    }
}

// ------------------------------------------------------------------ 1D/2D family

TEST_F(Sequences, AFailedSectorLeavesTheOldResultOfARunOfRows)
{
    set_one_spin();
    add_pulse();
    add_acquisition(16);
    std::ofstream("signal.bin") << "old";
    set_result("signal.bin");
    std::filesystem::create_directory("store");
    std::string err;
    const std::string out = output_of(SimulateLoaded2DPulseSequence, &err);
    EXPECT_EQ(count_of(out, "Calculating sector "), 2);
    EXPECT_EQ(count_of(err, "Of 2 sectors 1 failed: no result is written.\n"), 1) << err;
    EXPECT_EQ(std::filesystem::file_size("signal.bin"), 3u);
}

TEST_F(Sequences, APulseAcquireRunReportsItsSteps)
{
    set_one_spin();
    add_pulse();
    add_acquisition(16);
    set_result("signal.bin");
    const std::string out = output_of(SimulateLoaded2DPulseSequence);
    const std::string start = "Number of pulse sectors to calculate    : 2\n"
                              "Detected sequence subtype               : pulse-acquire FID\n" +
                              sector_2d_text(1, "1  # normal sector", 1, 1, "0.01") +
                              "Remark on sector                        : \n*\n" +
                              sector_2d_text(2, "1  # normal sector", 16, 1, "16") +
                              "Remark on sector                        : ADC\n" + ADC_MARKED;
    EXPECT_EQ(out.substr(0, start.size()), start);
    const std::string end =
        "Wrote complex receiver signal to signal.bin (samples=16, acquisition=0.016 s)\n";
    EXPECT_EQ(out.substr(out.size() - std::min(out.size(), end.size())), end);
    EXPECT_EQ(read_signal("signal.bin").samples, 16);
}

TEST_F(Sequences, ATwoDimensionalRunReportsItsSteps)
{
    set_one_spin();
    add_pulse();
    add_2d_sector(2, delay(), 3, 0.001, 0.0, "t1");
    add_acquisition(4, "the Acquisition");
    set_result("signal.bin");
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence),
              "Number of pulse sectors to calculate    : 3\n" +
                  sector_2d_text(1, "1  # normal sector", 1, 1, "0.01") +
                  "Remark on sector                        : \n*\n" +
                  sector_2d_text(2, "2  # evolution sector", 1, 3, "1") +
                  "Remark on sector                        : t1\n***\n" +
                  sector_2d_text(3, "1  # normal sector", 4, 1, "16") +
                  "Remark on sector                        : the Acquisition\n" + ADC_MARKED +
                  "Wrote 2D complex receiver signal to signal.bin (samples=4, evolution rows=3, "
                  "acquisition=0.016 s)\n");
    EXPECT_EQ(read_signal("signal.bin").traces, 3);
}

TEST_F(Sequences, WithoutAnAcquisitionTheDensityMatricesAreTheResult)
{
    set_one_spin();
    add_pulse(2);
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence),
              "Copied density-matrix result to result.bin\n");
    EXPECT_EQ(read_text("result.bin"), read_text("dm.bin"));
    set_result("absent/result.bin");
    std::string err;
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence, &err),
              "Failed to copy density-matrix result to absent/result.bin\n");
}

TEST_F(Sequences, ACountThatIsNoPowerOfTwoIsNotWritten)
{
    set_one_spin();
    add_pulse();
    add_acquisition(12);
    set_result("signal.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence),
              "ADC sample count 12 is not a power of two; not writing receiver signal.\n");
    rt.nos = 1;
    add_2d_sector(2, delay(), 2, 0.001);
    add_acquisition(12);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence),
              "ADC sample count 12 is not a power of two; not writing 2D receiver signal.\n");
    EXPECT_FALSE(file_is_there("signal.bin"));
}

TEST_F(Sequences, ASignalThatCannotBeWrittenIsReported)
{
    set_one_spin();
    add_pulse();
    add_acquisition(4);
    set_result("absent/signal.bin");
    ZAN_SetSmokeCheckMode(1);
    std::string err;
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence, &err),
              "Failed to write complex receiver signal to absent/signal.bin\n");
    EXPECT_EQ(err, missing_file_message("fopen(signal output)"));
    rt.nos = 1;
    add_2d_sector(2, delay(), 2, 0.001);
    add_acquisition(4);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence, &err),
              "Failed to write 2D complex receiver signal to absent/signal.bin\n");
}

TEST_F(Sequences, AnAcquisitionTimeOfZeroWritesNoSignal)
{
    set_one_spin();
    add_pulse();
    add_acquisition(4);
    rt.sectdur[2] = 0.0;
    set_result("signal.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence),
              "Failed to write complex receiver signal to signal.bin\n");
}

TEST_F(Sequences, TheReceiverHearsUnitNormSpinsAndTheTotalsAreRestored)
{
    set_spins({{1, 1, 1}});
    add_pulse();
    add_acquisition(2);
    set_result("signal.bin");
    captured(SimulateLoaded2DPulseSequence);
    EXPECT_NEAR(read_signal("signal.bin").at(1, 1).imag(), 3.0, 1e-12);
    EXPECT_NEAR(rt.Ixtot[1][2][COMPLEX_RE], 0.5, 1e-15);
    EXPECT_NEAR(rt.Iytot[1][2][COMPLEX_IM], -0.5, 1e-15);
}

TEST_F(Sequences, TheStaticHamiltonianIsLeftInTheObservable)
{
    set_spins({{1, 1}, {}, {30, -20}, 2, {{1, 2, 8}}});
    add_pulse();
    captured(SimulateLoaded2DPulseSequence);
    static CMatrix sum;
    CMatAdd(4, &rt.Izee, &rt.Icoup, &sum);
    EXPECT_EQ(packed(4, rt.Istat), packed(4, sum));
    EXPECT_GT(maxabs_cmat(4, &rt.Istat), 1.0);
}

TEST_F(Sequences, AnInvalid2DSectorEndsTheRun)
{
    struct {
        int type, samples, rows;
        const char *message;
    } const cases[] = {
        {0, 1, 1, "Invalid 1D/2D sector type in sector 2 : 0\n"},
        {3, 0, 0, "Invalid 1D/2D sector type in sector 2 : 3\n"},
        {1, 0, 0, "Invalid number of time intervals in sector 2 : 0\n"},
        {2, -5, 1, "Invalid number of time intervals in sector 2 : -5\n"},
        {2, 1, 0, "Invalid number of evolution intervals in sector 2 : 0\n"},
    };
    set_one_spin();
    add_pulse();
    add_pulse();
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    for (const auto &c : cases) {
        rt.sectype[2] = c.type;
        rt.noti[2] = c.samples;
        rt.nevo[2] = c.rows;
        EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence), c.message);
        EXPECT_FALSE(file_is_there("result.bin"));
        EXPECT_EQ(rt.calc, 1);
    }
}

TEST_F(Sequences, ABadSampleEndsA2DRun)
{
    set_one_spin();
    add_pulse();
    Waveform bad = constant_waveform(3, 0.5, 7.0);
    bad.xb[2] = std::numeric_limits<double>::infinity();
    add_2d_sector(1, bad, 1, 0.1);
    set_result("result.bin");
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence), "Bad pulse sample at l=2: xb=inf yb=7\n");
    EXPECT_FALSE(file_is_there("result.bin"));
    EXPECT_EQ(rt.calc, 1);
}

TEST_F(Sequences, AMissingWaveformEndsA2DRun)
{
    set_one_spin();
    add_pulse();
    rt.fnames[1][0] = '\0';
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(output_of(SimulateLoaded2DPulseSequence), "Error reading pulse file \n");
}

TEST_F(Sequences, AnAcquisitionSectorNeedsNoWaveformFile)
{
    set_one_spin();
    add_pulse();
    add_acquisition(4);
    std::filesystem::remove("wave2.bin");
    set_result("signal.bin");
    output_of(SimulateLoaded2DPulseSequence);
    EXPECT_TRUE(file_is_there("signal.bin"));
}
