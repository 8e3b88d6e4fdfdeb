// observablespectrumcalculator_multiplets.cpp - which spins make a multiplet, what its file is
// called and what is in it. Sums over all multiplets are in tests/engine/signals.cpp.

#include "engine_fixture.h"

#include "observablespectrumcalculator.h"

#include <cmath>
#include <cstring>
#include <filesystem>

namespace
{

class Multiplets : public EngineTest
{
};

struct Written {
    int count;
    std::string out, err;
};

ZANSlowBandSplitConfig enabled(double b0 = 0.0, double carrier_ppm = 0.0)
{
    ZANSlowBandSplitConfig config = {};
    config.enabled = 1;
    config.b0_tesla = b0;
    config.receiver_carrier_ppm = carrier_ppm;
    return config;
}

// The signal of the Iy of all spins, split.
Written split(const char *path, int points, double time,
              const ZANSlowBandSplitConfig &config = enabled(), int traces = 1)
{
    static CMatrix Hmat;
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &Hmat);
    RMultCMat(rt.n, -1.0, &Hmat, &Hmat);
    Written w;
    const Console c = captured([&] {
        w.count = write_slow_multiplet_outputs(path, rt.n, points, traces, time, &rt.Iytot, &Hmat,
                                               &rt.Ixtot, &rt.Iytot, &config, rt.Ilist);
    });
    w.out = c.out;
    w.err = c.err;
    return w;
}

void set_subgroup(int g, const std::vector<int> &spins, double ppm)
{
    rt.zan_spin_subgroup_count = std::max(rt.zan_spin_subgroup_count, g + 1);
    rt.zan_spin_subgroup_spin_count[g] = (int)spins.size();
    for (size_t i = 0; i < spins.size(); i++)
        rt.zan_spin_subgroup_spins[g][i] = spins[i];
    rt.zan_spin_subgroup_ppm_count[g] = 1;
    rt.zan_spin_subgroup_ppm[g] = ppm;
}

int files_here(void)
{
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator("."))
        count += entry.is_regular_file();
    return count;
}

const std::string HEADING = "SLOW multiplet-resolved files:\n";

} // namespace

// ------------------------------------------------------------------ names

TEST_F(Multiplets, NamesCarryShiftOrFrequency)
{
    const struct {
        const char *path;
        double center;
        ZANSlowBandSplitConfig config;
        int has_ppm;
        double ppm;
        const char *name; // null: refused
    } cases[] = {
        {"acq_td.bin", -120.0, enabled(), 0, 0.0, "acq-[-120.0Hz]_td.bin"},
        {"lac_slow_fid_td.bin", 5.0, enabled(), 1, 1.33, "lac-[1.330ppm]_slow_fid_td.bin"},
        {"x_SLOW_y_td.bin", 0.25, enabled(), 0, 0.0, "x-[0.2Hz]_SLOW_y_td.bin"},
        {"x_SLOW_y_slow_td.bin", 1.0, enabled(), 0, 0.0, "x_SLOW_y-[1.0Hz]_slow_td.bin"},
        {"a_slow_b_slow_td.bin", 1.0, enabled(), 0, 0.0, "a-[1.0Hz]_slow_b_slow_td.bin"},
        {"a_Slow_td.bin", 1.0, enabled(), 0, 0.0, "a_Slow-[1.0Hz]_td.bin"},
        {"acq_td.bin", 425.7747892, enabled(10, 4.7), 0, 0.0, "acq-[5.700ppm]_td.bin"},
        {"acq_td.bin", 425.7747892, enabled(10, 4.7), 1, 2.0, "acq-[2.000ppm]_td.bin"},
        {"acq_td.bin", 425.7747892, enabled(10, 0.0), 0, 0.0, "acq-[425.8Hz]_td.bin"},
        {"acq_td.bin", 425.7747892, enabled(-10, 4.7), 0, 0.0, "acq-[425.8Hz]_td.bin"},
        {"100%s_td.bin", 1.0, enabled(), 0, 0.0, "100%s-[1.0Hz]_td.bin"},
        {"_td.bin", 1.0, enabled(), 0, 0.0, "-[1.0Hz]_td.bin"},
        {"acq_TD.bin", 1.0, enabled(), 0, 0.0, nullptr},
        {"acq.bin", 1.0, enabled(), 0, 0.0, nullptr},
        {"td.bin", 1.0, enabled(), 0, 0.0, nullptr},
        {"", 1.0, enabled(), 0, 0.0, nullptr},
        {nullptr, 1.0, enabled(), 0, 0.0, nullptr},
    };
    for (const auto &c : cases) {
        char name[64];
        const int made = slow_multiplet_output_filename(c.path, c.center, &c.config, c.has_ppm,
                                                        c.ppm, name, sizeof name);
        EXPECT_EQ(made, c.name != nullptr);
        EXPECT_STREQ(made ? name : nullptr, c.name);
    }
}

TEST_F(Multiplets, ANameFitsOrIsRefused)
{
    const ZANSlowBandSplitConfig config = enabled();
    char name[64];
    const size_t length = std::strlen("a-[1.0Hz]_td.bin");
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", 1.0, &config, 0, 0.0, name, length + 1),
              1);
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", 1.0, &config, 0, 0.0, name, length), 0);
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", 1.0, &config, 0, 0.0, name, 0), 0);
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", 1.0, &config, 0, 0.0, nullptr, 64), 0);
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", 1.0, nullptr, 0, 0.0, name, 64), 1);
    EXPECT_STREQ(name, "a-[1.0Hz]_td.bin");
}

TEST_F(Multiplets, ATagThatDoesNotFitIsRefusedNotCut)
{
    const ZANSlowBandSplitConfig config = enabled();
    char name[1024];
    const double fits = 1e55, too_long = 1e56; // with "-[", ".0Hz]": 63 and 64 characters
    EXPECT_EQ(slow_multiplet_output_filename("a_td.bin", fits, &config, 0, 0.0, name, sizeof name),
              1);
    EXPECT_EQ(std::strlen(name), std::strlen("a_td.bin") + 63);
    EXPECT_EQ(
        slow_multiplet_output_filename("a_td.bin", too_long, &config, 0, 0.0, name, sizeof name),
        0);
}

// ------------------------------------------------------------------ groups of spins

TEST_F(Multiplets, TheRunningMeanDecidesWhichSpinsBelongTogether)
{
    build_spins({{1, 1, 1}, {}, {100.0, 106.5, 110.4}});
    const Written w = split("s_td.bin", 64, 0.1);
    EXPECT_EQ(w.count, 2);
    EXPECT_EQ(w.out, HEADING + "  multiplet 103.250 Hz -> s-[103.2Hz]_td.bin\n"
                               "  multiplet 110.400 Hz -> s-[110.4Hz]_td.bin\n");
    EXPECT_EQ(w.err, "");
}

TEST_F(Multiplets, ASpinSevenHertzFromAMeanJoinsIt)
{
    build_spins({{1, 1}, {}, {0.0, 7.0}});
    EXPECT_EQ(split("s_td.bin", 64, 0.1).out,
              HEADING + "  multiplet 3.500 Hz -> s-[3.5Hz]_td.bin\n");
    build_spins({{1, 1}, {}, {0.0, 7.0000001}});
    EXPECT_EQ(split("s_td.bin", 64, 0.1).count, 2);
}

TEST_F(Multiplets, BetweenTwoEquallyFarMeansALaterOneWins)
{
    build_spins({{1, 1, 1}, {}, {0.0, 10.0, 5.0}});
    EXPECT_EQ(split("s_td.bin", 64, 0.1).out, HEADING +
                                                  "  multiplet 0.000 Hz -> s-[0.0Hz]_td.bin\n"
                                                  "  multiplet 7.500 Hz -> s-[7.5Hz]_td.bin\n");
}

TEST_F(Multiplets, SpinsBeyondTheSpectralWidthAreLeftOut)
{
    // Half width 320 Hz and 5 Hz more.
    build_spins({{1, 1, 1}, {}, {-325.0, 325.0001, 20.0}});
    EXPECT_EQ(split("s_td.bin", 64, 0.1).out, HEADING +
                                                  "  multiplet -325.000 Hz -> s-[-325.0Hz]_td.bin\n"
                                                  "  multiplet 20.000 Hz -> s-[20.0Hz]_td.bin\n");
    build_spins({{1}, {}, {500.0}});
    const Written none = split("t_td.bin", 64, 0.1);
    EXPECT_EQ(none.count, 0);
    EXPECT_EQ(none.out, "");
}

TEST_F(Multiplets, TransitionsBeyondTheSpectralWidthAreDropped)
{
    // A doublet at 320 and 340 Hz of a spin at 330 Hz that lies within 320 + 20 - ... : only the
    // inner line is inside the 330 Hz of half width and edge.
    build_spins({{1, 1}, {}, {330.0, 0.0}, 1, {{1, 2, 20.0}}});
    EXPECT_EQ(split("s_td.bin", 32, 0.05).count, 2); // 320 Hz + 10 Hz
    const SignalFile s = read_signal("s-[330.0Hz]_td.bin");
    for (int k = 0; k < 32; k++) {
        const Complex expected = Complex(0, 0.5) * std::polar(1.0, -TWO_PI * 320.0 * k * 0.05 / 32);
        EXPECT_LE(std::abs(s.at(1, k + 1) - expected), 1e-12) << k;
    }
}

TEST_F(Multiplets, WithoutTimeThereIsNoSpectralWidth)
{
    build_spins({{1}, {}, {1e6}});
    EXPECT_EQ(split("s_td.bin", 4, 0.0).count, 1);
    EXPECT_EQ(split("s_td.bin", 0, 0.1).count, 1);
    EXPECT_EQ(read_signal("s-[1000000.0Hz]_td.bin").samples, 0);
}

// ------------------------------------------------------------------ shifts

TEST_F(Multiplets, ASubgroupNamesTheFirstMultipletThatHoldsAllItsSpins)
{
    build_spins({{1, 1, 1}, {}, {0.0, 1.0, 50.0}});
    set_subgroup(0, {1, 3}, 9.0); // in no single multiplet
    set_subgroup(1, {1}, 1.0);    // overwritten
    set_subgroup(2, {2, 1}, 1.33);
    set_subgroup(3, {0, 32}, 8.0); // no spin at all
    set_subgroup(4, {}, 8.0);
    set_subgroup(5, {3}, 7.0);
    rt.zan_spin_subgroup_ppm_count[5] = 0;
    // Without a field the report can only give the frequency.
    EXPECT_EQ(split("s_td.bin", 64, 0.1).out, HEADING +
                                                  "  multiplet 0.500 Hz -> s-[1.330ppm]_td.bin\n"
                                                  "  multiplet 50.000 Hz -> s-[50.0Hz]_td.bin\n");
    EXPECT_EQ(split("s_td.bin", 64, 0.1, enabled(10.0, 4.7)).out,
              HEADING + "  multiplet 1.330 ppm -> s-[1.330ppm]_td.bin\n"
                        "  multiplet 4.817 ppm -> s-[4.817ppm]_td.bin\n");
}

// ------------------------------------------------------------------ files

TEST_F(Multiplets, WeakCouplingGivesEverySpinItsMultiplet)
{
    build_spins({{1, 1}, {}, {100.0, -60.0}, 1, {{1, 2, 12.0}}});
    EXPECT_EQ(split("s_td.bin", 128, 0.2).count, 2);
    const struct {
        const char *name;
        double offset;
    } files[] = {{"s-[100.0Hz]_td.bin", 100.0}, {"s-[-60.0Hz]_td.bin", -60.0}};
    for (const auto &file : files) {
        const SignalFile s = read_signal(file.name);
        EXPECT_EQ(s.type, 1);
        ASSERT_EQ(s.samples, 128);
        ASSERT_EQ(s.traces, 1);
        for (int k = 0; k < 128; k++) {
            const double t = k * 0.2 / 128;
            const Complex expected = Complex(0, 1.0) * std::cos(TWO_PI * 6.0 * t) *
                                     std::polar(1.0, -TWO_PI * file.offset * t);
            EXPECT_LE(std::abs(s.at(1, k + 1) - expected), 1e-11) << file.name << k;
        }
    }
}

TEST_F(Multiplets, WithoutOccasionNothingIsWritten)
{
    build_spins({{1}, {}, {10.0}});
    ZANSlowBandSplitConfig off = enabled();
    off.enabled = 0;
    for (const Written &w :
         {split(nullptr, 4, 0.1), split("", 4, 0.1), split("s_td.bin", 4, 0.1, off),
          split("s_td.bin", 4, 0.1, enabled(), 2), split("s_td.bin", 4, 0.1, enabled(), 0)}) {
        EXPECT_EQ(w.count, 0);
        EXPECT_EQ(w.out + w.err, "");
    }
    EXPECT_EQ(write_slow_multiplet_outputs("s_td.bin", 2, 4, 1, 0.1, &rt.Iytot, &rt.Izee, &rt.Ixtot,
                                           &rt.Iytot, nullptr, rt.Ilist),
              0);
    EXPECT_EQ(files_here(), 0);
}

TEST_F(Multiplets, ANameWithoutTheEndingWritesNothingSilently)
{
    build_spins({{1}, {}, {10.0}});
    const Written w = split("signal.bin", 4, 0.1);
    EXPECT_EQ(w.count, 0);
    EXPECT_EQ(w.out, HEADING);
    EXPECT_EQ(w.err, "");
    EXPECT_EQ(split((std::string(1020, 'a') + "_td.bin").c_str(), 4, 0.1).count, 0);
    EXPECT_EQ(files_here(), 0);
}

TEST_F(Multiplets, AFileThatDoesNotOpenKeepsNoOtherFromBeingWritten)
{
    build_spins({{1, 1}, {}, {10.0, 50.0}});
    std::filesystem::create_directory("s-[10.0Hz]_td.bin");
    const Written w = split("s_td.bin", 4, 0.01);
    EXPECT_EQ(w.count, 1);
    EXPECT_EQ(w.err.substr(0, 30), "fopen(SLOW multiplet output): ");
    EXPECT_EQ(w.out, HEADING + "  multiplet 50.000 Hz -> s-[50.0Hz]_td.bin\n");
}

TEST_F(Multiplets, SmokeCheckModeWritesSilently)
{
    build_spins({{1}, {}, {10.0}});
    ZAN_SetSmokeCheckMode(1);
    const Written w = split("s_td.bin", 4, 0.1);
    EXPECT_EQ(w.count, 1);
    EXPECT_EQ(w.out, "");
}

TEST_F(Multiplets, ASingleTraceIsWrittenWithItsMultiplets)
{
    build_spins({{1}, {}, {10.0}});
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    write_densities("dm.bin", {0, 2, 1, packed(2, rt.Iytot)});
    const ZANSlowBandSplitConfig config = enabled();
    captured([&] {
        SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
            &rt.n, 8, 0.1, 0.0, "s_td.bin", &config, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot,
            &rt.Iztot, rt.ket, rt.Ilist);
    });
    const SignalFile whole = read_signal("s_td.bin"), part = read_signal("s-[10.0Hz]_td.bin");
    ASSERT_EQ(part.values.size(), 8u);
    EXPECT_LE(largest_difference(whole.values.data(), part.values.data(), 8), 1e-14);
}
