// zan_runs.cpp - which driver runs the prepared model, and what the remarks announce.

#include "engine_fixture.h"

#include <cmath>

using Runs = EngineTest;

namespace
{

const char *const WORKING_FILES[] = {"dm.bin", "store", "zansign.bin", "spectra.bin"};

void make_working_files(void)
{
    for (const char *name : WORKING_FILES)
        write_bytes(name, "old");
}

int working_files(void)
{
    int count = 0;
    for (const char *name : WORKING_FILES)
        count += file_is_there(name);
    return count;
}

void expect_run_prints(const std::string &out)
{
    const Console console = captured(RunCurrentPreparedModel);
    EXPECT_EQ(console.out, out);
    EXPECT_EQ(console.err, "");
}

const char *const NO_GRID = "The current model is spatially resolved, but the spatial grid\n"
                            "is not fully defined yet.\n"
                            "Define the spatial simulation domain first.\n";

void set_sector_remark(const char *remark)
{
    rt.nos = 1;
    rt.noti[1] = 512;
    rt.sectdur[1] = 0.010;
    std::snprintf(rt.remarks[1], sizeof rt.remarks[1], "%s", remark);
}

} // namespace

// ------------------------------------------------------------------ running

TEST_F(Runs, WithoutASpinSystemARunIsRefused)
{
    const char *const message = "No spin system is currently prepared.\n"
                                "Import or define a model first.\n";
    add_spatial_sector(delay(), 0.1);
    make_working_files();
    rt.systemset = 1;
    expect_run_prints(message);
    set_spins({{1}});
    rt.systemset = 0;
    expect_run_prints(message);
    EXPECT_EQ(working_files(), 4);
}

TEST_F(Runs, WithoutAFamilyARunIsRefused)
{
    set_spins({{1}});
    make_working_files();
    for (const int family : {0, -1}) {
        rt.sequencetype = family;
        expect_run_prints("No sequence family is currently selected.\n"
                          "Choose a sequence family and define at least one sector first.\n");
    }
    EXPECT_EQ(working_files(), 4);
}

TEST_F(Runs, WithoutSectorsARunIsRefused)
{
    const char *const message = "No pulse sequence is currently prepared.\n"
                                "Compose or import a model with at least one sector first.\n";
    set_spins({{1}});
    make_working_files();
    rt.sequencetype = 1;
    rt.sectorset = 1;
    expect_run_prints(message);
    rt.nos = 1;
    rt.sectorset = 0;
    expect_run_prints(message);
    EXPECT_EQ(working_files(), 4);
}

TEST_F(Runs, WithoutAGridASpatialRunOnlyDeletesTheWorkingFiles)
{
    set_spins({{1}});
    add_spatial_sector(delay(), 0.1);
    set_result("result.bin");
    for (int missing = 0; missing < 4; missing++) {
        set_grid(1, 1, 1);
        (missing == 0 ? rt.ndx : missing == 1 ? rt.ndy : missing == 2 ? rt.ndz : rt.offsetset) = 0;
        make_working_files();
        write_bytes("kept.bin", "mine");
        expect_run_prints(NO_GRID);
        EXPECT_EQ(working_files(), 0);
        EXPECT_EQ(read_text("kept.bin"), "mine");
        EXPECT_FALSE(file_is_there("result.bin"));
    }
}

TEST_F(Runs, AnUnknownFamilyIsNamed)
{
    set_spins({{1}});
    add_spatial_sector(delay(), 0.1);
    rt.sequencetype = 3;
    make_working_files();
    expect_run_prints("Unknown sequence type (3).\n"
                      "Choose a valid sequence family and verify the current model.\n");
    EXPECT_EQ(working_files(), 0);
}

TEST_F(Runs, ASpatialModelRunsTheSpatialDriver)
{
    set_spins({{1}});
    set_grid(1, 1, 1);
    add_spatial_sector(hard_pulse_x(0.5 * PI_CONST, 1e-5), 1e-5);
    set_result("result.bin");
    make_working_files();
    const Console console = captured(RunCurrentPreparedModel);
    EXPECT_EQ(console.out.rfind("Running current prepared spatially resolved model...\n"
                                "\nBuildSpinSystemFromPulseSequenceGlobals()\n",
                                0),
              0u)
        << console.out;
    EXPECT_NEAR(component("y", read_densities("result.bin").matrix(1)), 1.0, 1e-12);
    EXPECT_EQ(working_files(), 1); // the new dm.bin
}

TEST_F(Runs, A2DModelRunsThe2DDriverWithoutAGrid)
{
    set_spins({{1}});
    add_2d_sector(1, hard_pulse_x(0.5 * PI_CONST, 1e-5), 1, 1e-5);
    rt.ndx = 0;
    const Console console = captured(RunCurrentPreparedModel);
    EXPECT_EQ(console.out.rfind("Running current prepared 1D / 2D NMR model...\n"
                                "\nBuildSpinSystemFromPulseSequenceGlobals()\n",
                                0),
              0u)
        << console.out;
    EXPECT_EQ(read_densities("dm.bin").count, 1);
}

TEST_F(Runs, TheAliasesRunTheModel)
{
    set_spins({{1}});
    add_2d_sector(1, delay(), 1, 0.1);
    for (void (*run)(void) : {ZAN_RunCurrentPreparedModel, ZANRunCurrentPreparedModel}) {
        std::filesystem::remove("dm.bin");
        captured(run);
        EXPECT_TRUE(file_is_there("dm.bin"));
    }
}

TEST_F(Runs, SmokeCheckModeSilencesARun)
{
    set_spins({{1}});
    set_grid(1, 1, 1);
    add_spatial_sector(delay(), 0.1);
    ZAN_SetSmokeCheckMode(1);
    expect_run_prints("");
    rt.nos = 0;
    add_2d_sector(1, delay(), 1, 0.1);
    expect_run_prints("");
    rt.ndx = 0;
    rt.sequencetype = 1; // refusals are always told
    expect_run_prints(NO_GRID);
}

// ------------------------------------------------------------------ remarks

TEST_F(Runs, TextIsFoundIgnoringASCIICase)
{
    const char *const text = "a SlowEdit[x] slow";
    EXPECT_EQ(zan_strcasestr_local(text, "slow"), text + 2);
    EXPECT_EQ(zan_strcasestr_local(text, "SLOW"), text + 2);
    EXPECT_EQ(zan_strcasestr_local(text, " slow"), text + 1);
    EXPECT_EQ(zan_strcasestr_local(text, "x] S"), text + 11);
    EXPECT_EQ(zan_strcasestr_local(text, "slower"), nullptr);
    EXPECT_EQ(zan_strcasestr_local(text, ""), text);
    EXPECT_EQ(zan_strcasestr_local("", ""), std::string());
    EXPECT_EQ(zan_strcasestr_local("", "a"), nullptr);
    EXPECT_EQ(zan_strcasestr_local("aab", "ab"), std::string("ab"));
    EXPECT_EQ(zan_strcasestr_local("[", "{"), nullptr); // no letters
    EXPECT_EQ(zan_strcasestr_local("\xc4", "\xe4"), nullptr);
    EXPECT_EQ(zan_text_contains_ci("The ADC", "adc"), 1);
    EXPECT_EQ(zan_text_contains_ci("The A DC", "adc"), 0);
    EXPECT_EQ(zan_text_contains_ci("anything", ""), 1);
}

TEST_F(Runs, PowersOfTwoArePositiveWithASingleBit)
{
    for (int bit = 0; bit < 31; bit++)
        EXPECT_EQ(zan_is_power_of_two_int(1 << bit), 1);
    for (const int v : {0, -1, -2, -2147483647 - 1, 3, 6, 12, 1023, 2147483647})
        EXPECT_EQ(zan_is_power_of_two_int(v), 0) << v;
}

TEST_F(Runs, DoublesAreReadBehindTheirKey)
{
    struct {
        const char *text, *key;
        int ok;
        double value;
    } const cases[] = {
        {"mu=4", "mu", 1, 4.0},
        {"MU = \t= -2.5e1,", "mu", 1, -25.0},
        {"offsetHz 120 mu=4", "offsethz", 1, 120.0},
        {"mu4", "mu", 1, 4.0},
        {"mu=.5]", "mu", 1, 0.5},
        {"simulated mu=4", "mu", 0, 0.0}, // the first occurrence counts
        {"mu=x mu=4", "mu", 0, 0.0},
        {"mu=", "mu", 0, 0.0},
        {"mu:4", "mu", 0, 0.0},
        {"mu=nan", "mu", 0, 0.0},
        {"mu=inf", "mu", 0, 0.0},
        {"mu=1e999", "mu", 0, 0.0},
        {"beta=4", "mu", 0, 0.0},
        {"", "mu", 0, 0.0},
    };
    for (const auto &c : cases) {
        double value = 77.0;
        EXPECT_EQ(zan_parse_double_after_key(c.text, c.key, &value), c.ok) << c.text;
        EXPECT_EQ(value, c.ok ? c.value : 77.0) << c.text;
    }
}

TEST_F(Runs, IntegersAreReadBehindTheirKey)
{
    struct {
        const char *text;
        int ok, value;
    } const cases[] = {
        {"samples=512", 1, 512}, {"Samples  =\t-7 x", 1, -7},
        {"samples=3.9", 1, 3},   {"samples=010", 1, 10},
        {"samples=", 0, 0},      {"samples=x", 0, 0},
        {"n=4", 0, 0},           {"samples=99999999999", 0, 0},
    };
    for (const auto &c : cases) {
        int value = 77;
        EXPECT_EQ(zan_parse_int_after_key(c.text, "samples", &value), c.ok) << c.text;
        EXPECT_EQ(value, c.ok ? c.value : 77) << c.text;
    }
}

TEST_F(Runs, APulseAndAnAcquisitionAreAPulseAcquireFID)
{
    add_2d_sector(1, delay(), 1, 0.1, 0.0, "pulse");
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 0);
    add_2d_sector(1, delay(), 1, 0.1, 0.0, "ADC");
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 1);
    rt.sectype[1] = 2;
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 0);
    rt.sectype[1] = 1;
    rt.sectype[2] = 2;
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 0);
    rt.sectype[2] = 1;
    std::snprintf(rt.remarks[1], sizeof rt.remarks[1], "acquisition");
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 0);
    rt.remarks[1][0] = '\0';
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 1);
    add_2d_sector(1, delay(), 1, 0.1, 0.0, "after");
    EXPECT_EQ(zan_current_sequence_is_pulse_acquire_fid(), 0);
}

// ------------------------------------------------------------------ slow band split

TEST_F(Runs, ASlowEditRemarkGivesItsPulseWithDefaults)
{
    set_sector_remark("slowEdit[sech offsetHz=120 mu=4 beta=800]");
    rt.zan_gui_b0_tesla = 7.0;
    rt.zan_gui_receiver_carrier_ppm = 4.7;
    ZANSlowBandSplitConfig c;
    int found = 0;
    const Console console = captured([&] { found = zan_try_slow_band_split_config(&c); });
    EXPECT_EQ(found, 1);
    EXPECT_EQ(c.enabled, 1);
    EXPECT_EQ(c.pulse_center_offset_hz, 120.0);
    EXPECT_EQ(c.mu, 4.0);
    EXPECT_EQ(c.beta, 800.0);
    EXPECT_DOUBLE_EQ(c.pulse_duration_s, 0.01);
    EXPECT_EQ(c.pulse_amplitude_hz, 1000.0);
    EXPECT_EQ(c.pulse_samples, 512);
    EXPECT_EQ(c.pulse_phase_rad, 0.0);
    EXPECT_EQ(c.b0_tesla, 7.0);
    EXPECT_EQ(c.receiver_carrier_ppm, 4.7);
    EXPECT_EQ(console.out, "Detected SLOW sequence for multiplet-resolved receiver export:\n"
                           "  sector=1 offsetHz=120 durationMs=10 amplitudeHz=1000 samples=512 "
                           "mu=4 beta=800 phaseDeg=0 B0=7 receiverPpm=4.7\n");
    EXPECT_EQ(console.err, "");
}

TEST_F(Runs, ASlowEditRemarkMayGiveEverything)
{
    set_sector_remark("SLOWEDIT[SECH OFFSETHZ=-5.5 durationms 20 amplitudehz=250 samples=64 "
                      "mu=2 beta=1e3 phasedeg=90]");
    ZANSlowBandSplitConfig c;
    ZAN_SetSmokeCheckMode(1);
    const Console console = captured([&] { zan_try_slow_band_split_config(&c); });
    EXPECT_EQ(console.out, "");
    EXPECT_EQ(c.pulse_center_offset_hz, -5.5);
    EXPECT_DOUBLE_EQ(c.pulse_duration_s, 0.02);
    EXPECT_EQ(c.pulse_amplitude_hz, 250.0);
    EXPECT_EQ(c.pulse_samples, 64);
    EXPECT_DOUBLE_EQ(c.pulse_phase_rad, 0.5 * PI_CONST);
}

TEST_F(Runs, AFileNamedSlowIsACandidateToo)
{
    set_sector_remark("sech offsetHz=1 mu=2 beta=3");
    ZANSlowBandSplitConfig c;
    ZAN_SetSmokeCheckMode(1);
    EXPECT_EQ(zan_try_slow_band_split_config(&c), 0);
    std::snprintf(rt.fnames[1], sizeof rt.fnames[1], "waves/my_slow_pulse.bin");
    EXPECT_EQ(zan_try_slow_band_split_config(&c), 1);
}

TEST_F(Runs, ASampleCountBelowOneFallsBackToTheSectorThen256)
{
    set_sector_remark("slowEdit[sech offsetHz=1 mu=2 beta=3 samples=0]");
    ZANSlowBandSplitConfig c;
    ZAN_SetSmokeCheckMode(1);
    ASSERT_EQ(zan_try_slow_band_split_config(&c), 1);
    EXPECT_EQ(c.pulse_samples, 512);
    rt.noti[1] = 0;
    ASSERT_EQ(zan_try_slow_band_split_config(&c), 1);
    EXPECT_EQ(c.pulse_samples, 256);
}

TEST_F(Runs, IncompleteOrUselessSlowEditsAreSkipped)
{
    ZAN_SetSmokeCheckMode(1);
    for (const char *remark : {"", "slowEdit[offsetHz=1 mu=2 beta=3]", "slowEdit[sech mu=2 beta=3]",
                               "slowEdit[sech offsetHz=1 beta=3]", "slowEdit[sech offsetHz=1 mu=2]",
                               "slowEdit[sech offsetHz=1 mu=nan beta=3]",
                               "slowEdit[sech offsetHz=1 mu=2 beta=3 durationMs=0]",
                               "slowEdit[sech offsetHz=1 mu=2 beta=3 amplitudeHz=-1]",
                               "slow Edit[sech offsetHz=1 mu=2 beta=3]"}) {
        set_sector_remark(remark);
        ZANSlowBandSplitConfig c;
        c.enabled = 9;
        c.mu = 9.0;
        EXPECT_EQ(zan_try_slow_band_split_config(&c), 0) << remark;
        EXPECT_EQ(c.enabled, 0) << remark;
        EXPECT_EQ(c.mu, 0.0) << remark;
    }
}

TEST_F(Runs, TheFirstQualifyingSectorCounts)
{
    set_sector_remark("slowEdit[sech offsetHz=1 mu=2 beta=3 durationMs=-4]");
    for (int s = 2; s <= 3; s++) {
        rt.nos = s;
        rt.noti[s] = 100 * s;
        rt.sectdur[s] = 0.1;
        std::snprintf(rt.remarks[s], sizeof rt.remarks[s], "slowEdit[sech offsetHz=%d mu=2 beta=3]",
                      10 * s);
    }
    ZANSlowBandSplitConfig c;
    ZAN_SetSmokeCheckMode(1);
    ASSERT_EQ(zan_try_slow_band_split_config(&c), 1);
    EXPECT_EQ(c.pulse_center_offset_hz, 20.0);
    EXPECT_EQ(c.pulse_samples, 200);
    EXPECT_DOUBLE_EQ(c.pulse_duration_s, 0.1);
}
