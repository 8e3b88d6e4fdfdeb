// The composer's state: families, spin system, grid. Its menus are tested in tests/dialog.
#include "pulsesequencedefiner_internal.h"

#include "console.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

static std::string captured(void (*dialog)(void), const std::string &typed)
{
    feed_stdin(typed);
    testing::internal::CaptureStdout();
    dialog();
    return testing::internal::GetCapturedStdout();
}

struct Composer : testing::Test {
    void SetUp() override
    {
        Initialize();
        rt.sequencetype = 0;
        rt.spinsystemdefined = 0;
    }
};

// ------------------------------------------------------------------ families

TEST(SequenceFamilyLabel, NamesTheTwoFamilies)
{
    EXPECT_STREQ(sequence_family_label(1), "spatially resolved");
    EXPECT_STREQ(sequence_family_label(2), "1D or 2D NMR");
    EXPECT_STREQ(sequence_family_label(0), "unknown");
    EXPECT_STREQ(sequence_family_label(3), "unknown");
    EXPECT_STREQ(sequence_family_label(-1), "unknown");
}

TEST(ComposerHeading, IsUnderlinedOverItsWholeLength)
{
    testing::internal::CaptureStdout();
    ps_print_heading("Waiting time / free precession");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Waiting time / free precession\n------------------------------\n");
}

TEST_F(Composer, InitializeResetsItsPartOfTheState)
{
    rt.nos = 3;
    rt.nevo[0] = 64;
    rt.systemset = rt.sectorset = rt.offsetset = 1;
    rt.Nspins = 2;
    rt.ndx = rt.ndy = rt.ndz = 9;
    rt.resultflnm[0] = '\0';
    Initialize();
    EXPECT_EQ(rt.nos, 0);
    EXPECT_EQ(rt.nevo[0], 1);
    EXPECT_EQ(rt.systemset + rt.sectorset + rt.offsetset, 0);
    EXPECT_EQ(rt.Nspins, 0);
    EXPECT_EQ(rt.ndx * rt.ndy * rt.ndz, 1);
    EXPECT_STREQ(rt.resultflnm, "result.bin");
}

TEST_F(Composer, ANewSequenceKeepsTheSpinSystemAndTheSectorEntries)
{
    rt.Nspins = 2;
    rt.nos = 4;
    rt.noti[4] = 17;
    rt.nevo[0] = 8;
    rt.sectorset = 1;
    rt.systemset = 0;
    rt.ndx = 7;
    rt.resultflnm[0] = '\0';
    feed_stdin("6\n");
    testing::internal::CaptureStdout();
    create_new_sequence_of_type(1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(rt.sequencetype, 1);
    EXPECT_EQ(rt.Nspins, 2);
    EXPECT_EQ(rt.nos, 0);
    EXPECT_EQ(rt.noti[4], 17);
    EXPECT_EQ(rt.nevo[0], 1);
    EXPECT_EQ(rt.sectorset, 0);
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.offsetset, 1);
    EXPECT_EQ(rt.ndx, 7);
    EXPECT_STREQ(rt.resultflnm, "result.bin");
}

TEST_F(Composer, ANewSequenceWithoutSpinsStartsFromNothing)
{
    rt.ndx = 7;
    std::snprintf(rt.resultflnm, sizeof rt.resultflnm, "old.bin");
    feed_stdin("5\n");
    testing::internal::CaptureStdout();
    create_new_sequence_of_type(2);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(rt.sequencetype, 2);
    EXPECT_EQ(rt.systemset, 0);
    EXPECT_EQ(rt.offsetset, 0); // of no use to this family
    EXPECT_EQ(rt.ndx, 1);
    EXPECT_STREQ(rt.resultflnm, "result.bin");
}

TEST_F(Composer, ContinuingASequenceKeepsItsSectors)
{
    rt.Nspins = 1;
    rt.nos = 3;
    rt.nevo[0] = 0; // as an import leaves it
    rt.ndz = 0;
    feed_stdin("6\n");
    testing::internal::CaptureStdout();
    load_and_edit_sequence_of_type(1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(rt.sequencetype, 1);
    EXPECT_EQ(rt.nos, 3);
    EXPECT_EQ(rt.sectorset, 1);
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.offsetset, 0); // the count along z was missing
    EXPECT_EQ(rt.ndz, 1);       // which the editor mends
    EXPECT_EQ(rt.nevo[0], 1);
}

// ------------------------------------------------------------------ spin system

TEST_F(Composer, AsksForSpinsUntilTheyFit)
{
    const std::string number = "Number of Spins = ";
    const std::string text = captured(PS_IspinsParams, "7\n2\n8\n7\n2\n7\n7\n");
    EXPECT_EQ(text, "\nDefinition of the spinsystem: \n" + number + number +
                        "I quantum number of spin(1) = x/2  with   x = "
                        "I quantum number of spin(2) = x/2  with   x = " +
                        number +
                        "I quantum number of spin(1) = x/2  with   x = "
                        "I quantum number of spin(2) = x/2  with   x = n = 64\n");
    EXPECT_EQ(rt.Nspins, 2);
    EXPECT_EQ(rt.quantnum[1], 7);
    EXPECT_EQ(rt.quantnum[2], 7);
}

TEST_F(Composer, AcceptsUpToSixSpinsAndSixtyFourStates)
{
    struct Case {
        const char *typed, *last_line;
    };
    for (const Case &c :
         {Case{"3\n3\n3\n3\n", "n = 64\n"}, Case{"6\n1\n1\n1\n1\n1\n1\n", "n = 64\n"},
          Case{"1\n63\n", "n = 64\n"}, Case{"0\n", "n = 1\n"}, Case{"-4\n", "n = 1\n"},
          Case{"1\n64\n1\n2\n", "n = 3\n"}}) {
        const std::string text = captured(PS_IspinsParams, c.typed);
        EXPECT_TRUE(text.ends_with(c.last_line)) << text;
        EXPECT_EQ(rest_of_stdin(), "") << c.typed;
    }
}

TEST_F(Composer, QuantumNumbersBeyondAnySystemStartTheEntryAgain)
{
    const std::string text = captured(
        PS_IspinsParams, "3\n2147483647\n2147483647\n2147483647\n2\n-9\n2147483647\n1\n1\n");
    EXPECT_TRUE(text.ends_with("n = 2\n")) << text;
}

TEST_F(Composer, ClearsTheQuantumNumbersOfTheSystemBefore)
{
    captured(PS_IspinsParams, "2\n3\n3\n");
    captured(PS_IspinsParams, "1\n1\n");
    EXPECT_EQ(rt.quantnum[1], 1);
    EXPECT_EQ(rt.quantnum[2], 0);
}

TEST_F(Composer, AsksForOneCouplingPerPairInOrder)
{
    rt.Nspins = 3;
    rt.jc[1][2] = rt.jc[7][8] = 99.0; // of an imported system
    const std::string text = captured(PS_SpinSpinCouplingParams, "2\n12\n13\n23\n");
    EXPECT_EQ(text, "1. Weak-Coupling approximation. \n2. Exact calculation. \n"
                    " Your choice [1,2] : Give all Scalar coupling constants J(i,j)\n"
                    "from the term J(i,j).I(i).S(j)\n"
                    "Scalar Coupling Constant J(1,2)  = Scalar Coupling Constant J(1,3)  = "
                    "Scalar Coupling Constant J(2,3)  = ");
    EXPECT_EQ(rt.Jexact, 2);
    EXPECT_EQ(rt.Jcount, 3);
    for (int pair = 1; pair <= 3; pair++) {
        const int i = pair < 3 ? 1 : 2, j = pair == 1 ? 2 : 3;
        EXPECT_EQ(rt.couplings[pair], 10.0 * i + j);
        EXPECT_EQ(rt.jc[i][j], 10.0 * i + j);
        EXPECT_EQ(rt.jc[j][i], 10.0 * i + j);
    }
    EXPECT_EQ(rt.jc[7][8], 0.0);
}

TEST_F(Composer, OneSpinHasNoCouplings)
{
    rt.Nspins = 1;
    rt.Jcount = 3;
    rt.Jexact = 2;
    EXPECT_EQ(captured(PS_SpinSpinCouplingParams, ""), "");
    EXPECT_EQ(rt.Jcount, 0);
    EXPECT_EQ(rt.Jexact, 1);
}

TEST_F(Composer, TheEntryBuildsTheOperatorsQuietly)
{
    rt.jc[1][2] = rt.jc[2][1] = 99.0; // of an imported system
    const std::string text = captured(ps_redefine_spin_system, "2\n1\n1\n1\n0.5\n100\n-50\n1\n8\n");
    EXPECT_EQ(text.find("BuildSpinSystem"), std::string::npos) << text;
    EXPECT_NE(text.find("n = 4\n"
                        "Relative Intensity of Spin (1) = Relative Intensity of Spin (2) = "
                        "Offset-frequency [Hz] of Spin (1) = Offset-frequency [Hz] of Spin (2) = "),
              std::string::npos)
        << text;
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.spinsystemdefined, 1);
    EXPECT_EQ(rt.n, 4);
    EXPECT_EQ(rt.relspinamp[2], 0.5);
    EXPECT_NEAR(rt.Izee[1][1][COMPLEX_RE], PI_CONST * (100.0 - 50.0), 1e-9);
    EXPECT_NEAR(rt.Icoup[1][1][COMPLEX_RE], 2.0 * PI_CONST * 8.0 / 4.0, 1e-9);
}

TEST_F(Composer, WithoutSpinsNoOperatorsAreLeft)
{
    rt.spinsystemdefined = 1;
    captured(ps_redefine_spin_system, "0\n");
    EXPECT_EQ(rt.spinsystemdefined, 0);
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.Nspins, 0);
}

// ------------------------------------------------------------------ grid

TEST(ClampSpatialGrid, HoldsEachAxisAt1To256)
{
    rt.ndx = -3;
    rt.ndy = 257;
    rt.ndz = 12;
    clamp_spatial_grid();
    EXPECT_EQ(rt.ndx, 1);
    EXPECT_EQ(rt.ndy, 256);
    EXPECT_EQ(rt.ndz, 12);
    rt.ndx = rt.ndy = rt.ndz = 1000000000;
    clamp_spatial_grid();
    EXPECT_EQ(rt.ndx * rt.ndy * rt.ndz, 16777216);
}

TEST(ApplyGlobalSpatialGrid, ClampsAndStores)
{
    rt.ndx = 0;
    apply_global_spatial_grid(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(rt.ndx, 1);
    EXPECT_EQ(rt.x0, 1);
    EXPECT_EQ(rt.dx, 2);
    EXPECT_EQ(rt.y0, 3);
    EXPECT_EQ(rt.dy, 4);
    EXPECT_EQ(rt.z0, 5);
    EXPECT_EQ(rt.dz, 6);
}

TEST(GridFovFromStep, IsTheDistanceOfTheOuterPoints)
{
    EXPECT_EQ(grid_fov_from_step(5, 0.5), 2.0);
    EXPECT_EQ(grid_fov_from_step(2, -0.5), -0.5);
    EXPECT_EQ(grid_fov_from_step(1, 0.5), 0.0);
    EXPECT_EQ(grid_fov_from_step(0, 0.5), 0.0);
    EXPECT_EQ(grid_fov_from_step(-3, 0.5), 0.0);
}

TEST(AskSpatialGrid, AsksEachAxisForPointsOffsetAndStep)
{
    rt.offsetset = 0;
    const std::string text =
        captured(ps_ask_spatial_grid, "5\n-1\n0.5\n0\n2\n0.25\n300\n-3\n0.125\n");
    EXPECT_EQ(text,
              "Number of x-grid points   : x-offset coordinate [cm]  : x-step size         [cm]  : "
              "Number of y-grid points   : y-offset coordinate [cm]  : y-step size         [cm]  : "
              "Number of z-grid points   : z-offset coordinate [cm]  : "
              "z-step size         [cm]  : ");
    EXPECT_EQ(rt.ndx, 5);
    EXPECT_EQ(rt.ndy, 1);
    EXPECT_EQ(rt.ndz, 256);
    EXPECT_EQ(rt.x0, -1.0);
    EXPECT_EQ(rt.dx, 0.5);
    EXPECT_EQ(rt.y0, 2.0);
    EXPECT_EQ(rt.dy, 0.25);
    EXPECT_EQ(rt.z0, -3.0);
    EXPECT_EQ(rt.dz, 0.125);
    EXPECT_EQ(rt.offsetset, 1);
}
