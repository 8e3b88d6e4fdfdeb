// zan_state.cpp - the runtime state: labels, init, start-up, smoke-check mode.

#include "engine_fixture.h"

using State = EngineTest;

TEST_F(State, SectorTypesHaveTheirLabels)
{
    const char *const expected[] = {"<unset>",
                                    "hard pulse",
                                    "AM pulse",
                                    "FM / adiabatic pulse",
                                    "pulse file Bx/By",
                                    "pulse file Bx/Bz",
                                    "waiting time / free precession"};
    for (int type = 0; type <= 6; type++)
        EXPECT_STREQ(SectorTypeLabel(type), expected[type]);
    EXPECT_STREQ(SectorTypeLabel(7), "<unknown>");
    EXPECT_STREQ(SectorTypeLabel(-1), "<unknown>");
}

TEST_F(State, SequenceFamiliesHaveTheirLabels)
{
    EXPECT_STREQ(SequenceTypeLabel(0), "<unset>");
    EXPECT_STREQ(SequenceTypeLabel(1), "spatial resolved");
    EXPECT_STREQ(SequenceTypeLabel(2), "1D/2D NMR");
    EXPECT_STREQ(SequenceTypeLabel(3), "<unknown>");
    EXPECT_STREQ(SequenceTypeLabel(-1), "<unknown>");
}

TEST_F(State, InitSetsGridFlagsAndTheSectorAtHand)
{
    rt.spinsystemdefined = rt.rfpulsedefined = rt.offsetsdefined = 1;
    rt.x0_s = rt.y0_s = rt.z0_s = rt.dx_s = rt.dy_s = rt.dz_s = rt.gs = 3.0;
    rt.ndx = rt.ndy = rt.ndz = rt.ndw = 7;
    rt.calc = 4;
    rt.pulseflag = 1;
    init();
    EXPECT_EQ(rt.spinsystemdefined, 0);
    EXPECT_EQ(rt.rfpulsedefined, 0);
    EXPECT_EQ(rt.offsetsdefined, 0);
    for (const double v : {rt.x0_s, rt.y0_s, rt.z0_s, rt.dx_s, rt.dy_s, rt.dz_s, rt.gs})
        EXPECT_EQ(v, 0.0);
    for (const int v : {rt.ndx, rt.ndy, rt.ndz, rt.ndw})
        EXPECT_EQ(v, 1);
    EXPECT_EQ(rt.calc, 0);
    EXPECT_EQ(rt.pulseflag, 2);
}

TEST_F(State, InitLeavesSpinsSequenceGridOriginAndWaveforms)
{
    set_spins({{1, 2}, {0.5, 2.0}, {10.0, -3.0}, 2, {{1, 2, 7.0}}});
    rt.n = 6;
    rt.x0 = -1.5;
    rt.dz = 0.25;
    rt.xb[0] = rt.gz[8191] = 9.0;
    add_spatial_sector(delay(), 0.1, 5.0, "wait");
    init();
    EXPECT_EQ(rt.Nspins, 2);
    EXPECT_EQ(rt.n, 6);
    EXPECT_EQ(rt.quantnum[2], 2);
    EXPECT_EQ(rt.resofreqs[2], -3.0);
    EXPECT_EQ(rt.jc[2][1], 7.0);
    EXPECT_EQ(rt.x0, -1.5);
    EXPECT_EQ(rt.dz, 0.25);
    EXPECT_EQ(rt.xb[0], 9.0);
    EXPECT_EQ(rt.gz[8191], 9.0);
    EXPECT_EQ(rt.nos, 1);
    EXPECT_STREQ(rt.remarks[1], "wait");
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.sectorset, 1);
}

static CMatrix *const operators[] = {&rt.densmat, &rt.Izee,  &rt.Icoup, &rt.Izgrad,
                                     &rt.Ixtot,   &rt.Iytot, &rt.Iztot, &rt.Istat};

static void mark_corners(int size)
{
    for (CMatrix *m : operators)
        for (const int i : {1, size, size + 1})
            for (const int j : {1, size, size + 1})
                (*m)[i][j][COMPLEX_RE] = (*m)[i][j][COMPLEX_IM] = 2.0;
}

TEST_F(State, InitClearsTheOperatorsOverTheFirstNRowsAndColumns)
{
    rt.n = 3;
    mark_corners(3);
    init();
    for (const CMatrix *m : operators) {
        EXPECT_EQ(maxabs_cmat(3, m), 0.0);
        EXPECT_EQ((*m)[1][4][COMPLEX_RE], 2.0);
        EXPECT_EQ((*m)[4][1][COMPLEX_IM], 2.0);
        EXPECT_EQ((*m)[4][4][COMPLEX_RE], 2.0);
    }
}

TEST_F(State, InitTouchesNoOperatorWithoutAnyStates)
{
    rt.n = 0;
    mark_corners(1);
    init();
    for (const CMatrix *m : operators)
        EXPECT_EQ((*m)[1][1][COMPLEX_RE], 2.0);
}

TEST_F(State, StartUpNeverBuildsASpinSystem)
{
    build_spins({{1, 1}});
    ASSERT_EQ(rt.spinsystemdefined, 1);
    const Console console = captured(TotalStartUp);
    EXPECT_EQ(console.out + console.err, "");
    EXPECT_EQ(rt.spinsystemdefined, 0);
    EXPECT_EQ(maxabs_cmat(rt.n, &rt.Ixtot), 0.0);
}

TEST_F(State, SmokeCheckModeIsZeroOrOne)
{
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
    ZAN_SetSmokeCheckMode(17);
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 1);
    init();
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 1);
    ZAN_SetSmokeCheckMode(0);
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
}
