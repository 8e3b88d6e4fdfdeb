// zanoptseq - contexts, objective modes, waveform files, and what the preparation refuses.

#include "engine_fixture.h"
#include "matrices.h"

#include "zanoptseq.h"

#include <cmath>
#include <cstring>
#include <limits>

using SectorOptimizer = EngineTest;

namespace
{

ZANOptContext context;
CMatrix some;

// Three sectors of 4 samples on one spin, ready to be prepared.
void prepare_three_sectors(void)
{
    set_spins({{1}});
    for (int s = 0; s < 3; s++)
        add_2d_sector(1, constant_waveform(4, 100.0, 0.0), 1, 1e-3);
    build_spins({{1}});
    CopyCMatrix(rt.n, &rt.Iytot, &rt.Istat);
}

Console prepare(int sector, int mode, int *result)
{
    return captured([&] { *result = ZANOptimizationPrepareCurrent2DSequenceSector(sector, mode); });
}

void expect_refused(int sector, const std::string &out, const std::string &err)
{
    int result = -1;
    const Console console = prepare(sector, 0, &result);
    const size_t summary = console.out.find("\n\n") + 2; // of the rebuilt spin system, if any
    const bool rebuilt = console.out.find("BuildSpin") != std::string::npos;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(rebuilt ? console.out.substr(summary) : console.out, out);
    EXPECT_EQ(console.err, err);
}

} // namespace

// ------------------------------------------------------------------ context

TEST_F(SectorOptimizer, AnInitialisedContextHasNothingElse)
{
    std::memset(&context, 0x55, sizeof context);
    ZANOptContext_Init(&context);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.has_prefix_state, 0);
    EXPECT_EQ(context.has_suffix_observable, 0);
    EXPECT_EQ(context.objective_mode, ZAN_OPT_OBJECTIVE_RE_EXPECT);
    EXPECT_EQ(context.sector_offset_rad, 0.0);
    EXPECT_EQ(context.rho_in[256][256][2], 0.0);
    EXPECT_EQ(context.obs_out[1][1][1], 0.0);
}

TEST_F(SectorOptimizer, EverySetterInitialisesFirst)
{
    build_spins({{1}});
    random_matrix(rt.n, 1, &some);
    std::memset(&context, 0, sizeof context);
    ZANOptContext_SetPrefixState(&context, &some);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.has_prefix_state, 1);
    EXPECT_EQ(context.has_suffix_observable, 0);
    EXPECT_TRUE(same_elements(rt.n, context.rho_in, some));

    std::memset(&context, 0, sizeof context);
    ZANOptContext_SetSuffixObservable(&context, &some);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.has_suffix_observable, 1);
    EXPECT_TRUE(same_elements(rt.n, context.obs_out, some));

    std::memset(&context, 0, sizeof context);
    ZANOptContext_SetObjectiveMode(&context, ZAN_OPT_OBJECTIVE_ABS_EXPECT);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.objective_mode, ZAN_OPT_OBJECTIVE_ABS_EXPECT);

    std::memset(&context, 0, sizeof context);
    ZANOptContext_SetStaticSectorOffsetRad(&context, 2.5);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.sector_offset_rad, 2.5);
}

TEST_F(SectorOptimizer, NullContextsAndMatricesAreIgnored)
{
    ZANOptContext_Init(nullptr);
    ZANOptContext_SetPrefixState(nullptr, &some);
    ZANOptContext_SetSuffixObservable(nullptr, &some);
    ZANOptContext_SetObjectiveMode(nullptr, ZAN_OPT_OBJECTIVE_ABS_EXPECT);
    ZANOptContext_SetStaticSectorOffsetRad(nullptr, 1.0);
    ZANOptContext_SetDefaultsFromCurrentRuntime(nullptr);
    ZANOptContext_Init(&context);
    ZANOptContext_SetPrefixState(&context, nullptr);
    ZANOptContext_SetSuffixObservable(&context, nullptr);
    EXPECT_EQ(context.has_prefix_state, 0);
    EXPECT_EQ(context.has_suffix_observable, 0);
}

TEST_F(SectorOptimizer, TheDefaultsAreTheRuntimeState)
{
    build_spins({{1, 1}});
    CopyCMatrix(rt.n, &rt.Ixtot, &rt.Istat);
    rt.statoff_s = 12.5;
    std::memset(&context, 0, sizeof context);
    ZANOptContext_SetDefaultsFromCurrentRuntime(&context);
    EXPECT_EQ(context.initialized, 1);
    EXPECT_EQ(context.has_prefix_state, 1);
    EXPECT_EQ(context.has_suffix_observable, 1);
    EXPECT_EQ(context.sector_offset_rad, 12.5);
    EXPECT_TRUE(same_elements(rt.n, context.rho_in, rt.densmat));
    EXPECT_TRUE(same_elements(rt.n, context.obs_out, rt.Istat));
}

TEST_F(SectorOptimizer, TheProcessWideContextIsReachedByItsOwnNames)
{
    build_spins({{1}});
    random_matrix(rt.n, 2, &some);
    rt.optsector = 1;
    ZANOptimizationResetContext();
    EXPECT_EQ(rt.optsector, 0);
    EXPECT_EQ(g_zan_opt_ctx.initialized, 1);
    EXPECT_EQ(g_zan_opt_ctx.has_prefix_state, 0);
    ZANOptimizationSetObjectiveMode(1);
    ZANOptimizationSetPrefixState(&some);
    ZANOptimizationSetSuffixObservable(&some);
    ZANOptimizationSetStaticSectorOffsetRad(3.0);
    EXPECT_EQ(g_zan_opt_ctx.objective_mode, ZAN_OPT_OBJECTIVE_ABS_EXPECT);
    EXPECT_TRUE(same_elements(rt.n, g_zan_opt_ctx.rho_in, some));
    EXPECT_TRUE(same_elements(rt.n, g_zan_opt_ctx.obs_out, some));
    EXPECT_EQ(g_zan_opt_ctx.sector_offset_rad, 3.0);
    ZANOptimizationUseCurrentRuntimeDefaults();
    EXPECT_TRUE(same_elements(rt.n, g_zan_opt_ctx.rho_in, rt.densmat));
}

// ------------------------------------------------------------------ objective

TEST_F(SectorOptimizer, TheMagnitudeModeDoesNotSeeThePhase)
{
    EXPECT_DOUBLE_EQ(zan_objective_from_eval(ZAN_OPT_OBJECTIVE_ABS_EXPECT, 0.6, 0.8), -1.0);
    EXPECT_DOUBLE_EQ(zan_objective_from_eval(ZAN_OPT_OBJECTIVE_ABS_EXPECT, 1.0, 0.0), -1.0);
    EXPECT_DOUBLE_EQ(zan_objective_from_eval(ZAN_OPT_OBJECTIVE_RE_EXPECT, 0.6, 0.8), -0.6);
    EXPECT_DOUBLE_EQ(zan_objective_from_eval(ZAN_OPT_OBJECTIVE_RE_EXPECT, 1.0, 0.0), -1.0);
}

TEST_F(SectorOptimizer, WithoutPulseOrParametersTheObjectiveIsZero)
{
    build_spins({{1}});
    const double par[4] = {};
    double re = 7.0, im = 7.0;
    const auto objective = [&](int n, int ap, int npar, const double *p) {
        re = im = 7.0;
        return ZANOptEvaluatePulseObjective(nullptr, n, ap, npar, 1e-5, 0.0, 0.0, p, &re, &im);
    };
    for (const double value : {objective(2, 4, 4, nullptr), objective(0, 4, 4, par),
                               objective(2, 0, 4, par), objective(2, 4, 0, par)}) {
        EXPECT_EQ(value, 0.0);
        EXPECT_EQ(re, 0.0);
        EXPECT_EQ(im, 0.0);
    }
    EXPECT_EQ(ZANOptEvaluatePulseObjective(nullptr, 0, 1, 1, 1.0, 0.0, 0.0, par, nullptr, nullptr),
              0.0);
}

TEST_F(SectorOptimizer, WithoutAContextTheRuntimeStateTakesPart)
{
    build_spins({{1}});
    CopyCMatrix(rt.n, &rt.densmat, &rt.Istat);
    const double par[4] = {};
    double re, im;
    EXPECT_NEAR(ZANOptEvaluatePulseObjective(nullptr, rt.n, 4, 4, 1e-5, 0, 0, par, &re, &im), -1.0,
                1e-14);
    EXPECT_NEAR(re, 1.0, 1e-14);
    ZANOptContext_Init(&context); // nothing is set in it
    EXPECT_NEAR(ZANOptEvaluatePulseObjective(&context, rt.n, 4, 4, 1e-5, 0, 0, par, &re, &im), -1.0,
                1e-14);
    RMultCMat(rt.n, 0.25, &rt.densmat, &some);
    ZANOptContext_SetPrefixState(&context, &some);
    EXPECT_NEAR(ZANOptEvaluatePulseObjective(&context, rt.n, 4, 4, 1e-5, 0, 0, par, &re, &im),
                -0.25, 1e-14);
    ZANOptContext_SetSuffixObservable(&context, &some);
    EXPECT_NEAR(ZANOptEvaluatePulseObjective(&context, rt.n, 4, 4, 1e-5, 0, 0, par, &re, &im),
                -0.0625, 1e-14);
}

// An offset of 250 Hz for 1 ms turns x to y, in either of the two ways it can come in.
TEST_F(SectorOptimizer, OffsetsTurnTheTransverseState)
{
    build_spins({{1}});
    CopyCMatrix(rt.n, &rt.Ixtot, &rt.densmat);
    CopyCMatrix(rt.n, &rt.Iytot, &rt.Istat);
    const double par[4] = {}, quarter = TWO_PI * 250.0;
    double re, im;
    ZANOptContext_Init(&context);
    ZANOptEvaluatePulseObjective(&context, rt.n, 4, 4, 2.5e-4, 0.5, 2.0 * quarter, par, &re, &im);
    const double by_gradient = re;
    ZANOptContext_SetStaticSectorOffsetRad(&context, quarter);
    ZANOptEvaluatePulseObjective(&context, rt.n, 4, 4, 2.5e-4, 0.0, 0.0, par, &re, &im);
    EXPECT_NEAR(std::fabs(re), 0.5, 1e-12);
    EXPECT_NEAR(by_gradient, re, 1e-12);
}

// ------------------------------------------------------------------ waveform files

TEST_F(SectorOptimizer, WaveformsAreReadIntoTheGivenArrays)
{
    double x[3] = {}, y[3] = {};
    write_samples("w.bin", {1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(zanopt_load_waveform_xy("w.bin", 3, x, y), 1);
    EXPECT_EQ(x[2], 3.0);
    EXPECT_EQ(y[0], 4.0);
    EXPECT_EQ(y[2], 6.0);
}

TEST_F(SectorOptimizer, UnusableWaveformsAreRefused)
{
    static double x[8193], y[8193];
    write_samples("short.bin", {1, 2, 3});
    const Console quiet = captured([&] {
        EXPECT_EQ(zanopt_load_waveform_xy(nullptr, 1, x, y), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("", 1, x, y), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("short.bin", 1, nullptr, y), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("short.bin", 1, x, nullptr), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("short.bin", 0, x, y), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("missing.bin", 8193, x, y), 0); // not even opened
        EXPECT_EQ(zanopt_load_waveform_xy("short.bin", 2, x, y), 0);
        EXPECT_EQ(zanopt_load_waveform_xy("short.bin", 4, x, y), 0);
    });
    EXPECT_EQ(quiet.out + quiet.err, "");
    const Console console = captured([&] { zanopt_load_waveform_xy("missing.bin", 1, x, y); });
    EXPECT_EQ(console.err, missing_file_message("missing.bin"));
}

// ------------------------------------------------------------------ preparation

TEST_F(SectorOptimizer, PreparingTheFirstOfTwoSectorsLeavesOneBehindIt)
{
    prepare_three_sectors();
    rt.nos = 2;
    rt.statoff[1] = 10.0;
    rt.gs = rt.x0_s = rt.gx[2] = 5.0;
    rt.calc = 3;
    int result = 0;
    const Console console = prepare(1, 1, &result);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(console.out.substr(console.out.find("\nPrepared")),
              "\nPrepared current 1D/2D sequence for sector optimization:\n"
              "  chosen sector          : 1 / 2\n"
              "  sector waveform file   : wave1.bin\n"
              "  sector type            : 1\n"
              "  ap                     : 4\n"
              "  h                      : 0.00025 s\n"
              "  duration               : 0.001 s\n"
              "  static sector offset   : 62.8318530718 rad/s\n"
              "  objective mode         : |<O>|\n"
              "  prefix sectors cached  : 0\n"
              "  suffix sectors cached  : 1\n\n");
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(rt.optsector, 1);
    EXPECT_EQ(rt.ap, 4);
    EXPECT_EQ(rt.ti, 1e-3);
    EXPECT_EQ(rt.h, 2.5e-4);
    EXPECT_EQ(rt.gs, 0.0);
    EXPECT_EQ(rt.x0_s, 0.0);
    EXPECT_EQ(rt.gx[2], 0.0);
    EXPECT_EQ(rt.calc, 0);
    EXPECT_EQ(rt.ndw, 1);
    EXPECT_EQ(rt.pulseflag, 1);
    EXPECT_EQ(rt.rfpulsedefined, 1);
    EXPECT_EQ(rt.xb[3], 100.0);
    EXPECT_TRUE(same_elements(rt.n, g_zan_opt_ctx.rho_in, rt.densmat));
    EXPECT_FALSE(same_elements(rt.n, g_zan_opt_ctx.obs_out, rt.Istat));
    EXPECT_EQ(g_zan_opt_ctx.sector_offset_rad, rt.statoff_s);
    EXPECT_EQ(g_zan_opt_ctx.objective_mode, ZAN_OPT_OBJECTIVE_ABS_EXPECT);
}

TEST_F(SectorOptimizer, ThePhaseSensitiveModeIsNamed)
{
    prepare_three_sectors();
    int result = 0;
    EXPECT_EQ(count_of(prepare(3, 0, &result).out, "  objective mode         : Re <O>\n"
                                                   "  prefix sectors cached  : 2\n"
                                                   "  suffix sectors cached  : 0\n"),
              1);
}

TEST_F(SectorOptimizer, WhatIsNotPreparedIsRefused)
{
    prepare_three_sectors();
    rt.systemset = 0;
    expect_refused(1, "Sequence optimization: no current prepared spin system.\n", "");
    rt.systemset = 1;
    rt.Nspins = 0;
    expect_refused(1, "Sequence optimization: no current prepared spin system.\n", "");
    rt.Nspins = 1;
    rt.sectorset = 0;
    expect_refused(1, "Sequence optimization: no current prepared pulse sequence.\n", "");
    rt.sectorset = 1;
    rt.nos = 0;
    expect_refused(1, "Sequence optimization: no current prepared pulse sequence.\n", "");
    rt.nos = 3;
    rt.sequencetype = 1;
    expect_refused(1,
                   "Sequence optimization: stage 2 currently supports only the\n"
                   "prepared 1D/2D sequence family (sequencetype == 2).\n",
                   "");
    rt.sequencetype = 2;
    expect_refused(0, "", "Sequence optimization: invalid sector index 0 (nos=3)\n");
    expect_refused(4, "", "Sequence optimization: invalid sector index 4 (nos=3)\n");
    rt.noti[2] = 0;
    expect_refused(2, "", "Sequence optimization: invalid ap in selected sector 2\n");
    rt.noti[2] = 4;
    rt.nevo[2] = 2;
    expect_refused(2, "Stage 2 only supports optimizable sectors with nevo == 1.\n",
                   "Sequence optimization: selected sector 2 has nevo=2.\n");
}

TEST_F(SectorOptimizer, AnEvolutionOfSeveralRowsAnywhereIsRefused)
{
    const std::string prefix = "Sequence optimization: failed while building prefix at sector 1\n";
    const std::string suffix = "Sequence optimization: failed while building suffix at sector 3\n";
    const std::string only = "Stage 2 only supports sectors with nevo == 1.\n";
    prepare_three_sectors();
    rt.nevo[1] = 4;
    expect_refused(2, only, "Sequence optimization: sector 1 has nevo=4.\n" + prefix);
    rt.nevo[1] = 1;
    rt.nevo[3] = 4;
    expect_refused(2, only, "Sequence optimization: sector 3 has nevo=4.\n" + suffix);
}

TEST_F(SectorOptimizer, SectorsThatCannotBeFoldedAreNamed)
{
    const std::string prefix = "Sequence optimization: failed while building prefix at sector 1\n";
    prepare_three_sectors();
    rt.sectype[1] = 3;
    expect_refused(2, "",
                   "Sequence optimization: unsupported sector type 3 in sector 1\n" + prefix);
    rt.sectype[1] = 2;
    rt.noti[1] = 0;
    expect_refused(2, "", "Sequence optimization: invalid ap in sector 1\n" + prefix);
    rt.noti[1] = 5;
    expect_refused(2, "",
                   "Sequence optimization: could not read waveform file for sector 1:\n"
                   "  wave1.bin\n" +
                       prefix);
    rt.noti[1] = 4;
    write_samples("wave1.bin", {0, 0, 0, 0, 0, 0, 0, std::numeric_limits<double>::infinity()});
    expect_refused(2, "Bad pulse sample at l=3: xb=0 yb=inf\n", prefix);
}

TEST_F(SectorOptimizer, AChosenSectorThatCannotBeReadIsRefused)
{
    const std::string failed =
        "Sequence optimization: failed to load selected sector 2 into runtime.\n";
    prepare_three_sectors();
    rt.noti[2] = 5;
    expect_refused(2, "", failed);
    rt.noti[2] = 8193;
    expect_refused(2, "", failed);
    rt.noti[2] = 4;
    write_samples("wave2.bin", {0, std::nan(""), 0, 0, 0, 0, 0, 0});
    expect_refused(2, "Bad pulse sample at l=1: xb=nan yb=0\n", failed);
    std::filesystem::remove("wave2.bin");
    expect_refused(2, "", missing_file_message("wave2.bin") + failed);
    EXPECT_EQ(rt.optsector, 0);
}
