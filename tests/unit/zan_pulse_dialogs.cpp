// A pulse and its grid without a sequence, and the menu of single steps around them.
#include "pulsesequencedefiner.h"
#include "zan.h"

#include "console.h"
#include "tempdir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

static std::string dialog(void (*run)(void), const std::string &typed)
{
    feed_stdin(typed);
    testing::internal::CaptureStdout();
    run();
    return testing::internal::GetCapturedStdout();
}

struct SinglePulse : testing::Test {
    void SetUp() override
    {
        init();
        rt.Nspins = rt.quantnum[1] = 1;
        rt.relspinamp[1] = 1.0;
        rt.resofreqs[1] = 0.0;
        rt.sequencetype = 0;
        rt.nos = 0;
        ZAN_SetSmokeCheckMode(1);
        BuildSpinSystemFromPulseSequenceGlobals();
        ZAN_SetSmokeCheckMode(0);
        rt.rfpulsedefined = rt.offsetsdefined = 0;
        rt.ap = 4;
        rt.ti = rt.h = 0.001;
        for (double *samples : {rt.xb, rt.yb, rt.gx, rt.gy, rt.gz})
            std::fill_n(samples, ZAN_MAX_RF_POINTS, 7.0);
    }
};

// ------------------------------------------------------------------ pulse

TEST_F(SinglePulse, ThePulseMenuListsItsChoices)
{
    EXPECT_EQ(dialog(RedefinePulseHamiltonian, "0\n"),
              "Pulse definition:\n"
              "  1. AM hard pulse\n"
              "  2. AM pulse\n"
              "  3. FM pulse\n"
              "  4. Read Bx/By pulse from disk\n"
              "  5. Optimization start RF-pulse (Bx/By waveform)\n"
              "  6. Edit current prepared spatial pulse sequence / sectors\n"
              "  0. Back\n"
              "Your choice [0..6] : \n");
    EXPECT_EQ(rt.rfpulsedefined, 0);
    EXPECT_EQ(rt.pulseflag, 2);
}

TEST_F(SinglePulse, AnythingElseDefinesNothing)
{
    for (const char *typed : {"7\n", "-1\n", "x\n", ""}) {
        dialog(RedefinePulseHamiltonian, typed);
        EXPECT_EQ(rt.rfpulsedefined, 0) << typed;
        EXPECT_EQ(rt.pulseflag, 2) << typed;
    }
}

TEST_F(SinglePulse, AHardPulseIsOneSampleOfTenMicroseconds)
{
    dialog(RedefinePulseHamiltonian, "1\n1\n");
    EXPECT_EQ(rt.ap, 1);
    EXPECT_EQ(rt.ti, 1e-5);
    EXPECT_EQ(rt.h, 1e-5);
    EXPECT_NEAR(rt.xb[0], 50000.0 * PI_CONST, 1e-9);
    EXPECT_EQ(rt.rfpulsedefined, 1);
    EXPECT_EQ(rt.pulseflag, 1);
}

TEST_F(SinglePulse, AShapedPulseDividesThePulseTimeByItsSamples)
{
    rt.h = 0.0;
    dialog(RedefinePulseHamiltonian, "2\n1\n0\n100\n");
    EXPECT_EQ(rt.h, 0.00025);
    EXPECT_NEAR(rt.xb[3], 200.0 * PI_CONST, 1e-9);
    EXPECT_EQ(rt.xb[4], 7.0);
    rt.pulseflag = 2;
    dialog(RedefinePulseHamiltonian, "3\n1\n90\n100\n0\n0\n");
    EXPECT_EQ(rt.pulseflag, 1);
    EXPECT_NEAR(rt.yb[3], 200.0 * PI_CONST, 1e-9);
}

TEST_F(SinglePulse, APulseFromDiskKeepsThePulseTimeThatStoodBefore)
{
    const TempDir dir;
    const std::string x = dir.write("x.txt", "1 2 3 4"), y = dir.write("y.txt", "5 6 7 8");
    rt.h = 0.0;
    dialog(RedefinePulseHamiltonian, "4\n1\n" + x + "\n1\n" + y + "\n10\n");
    EXPECT_EQ(rt.xb[3], 40.0);
    EXPECT_EQ(rt.yb[0], 50.0);
    EXPECT_EQ(rt.ti, 0.001);
    EXPECT_EQ(rt.h, 0.00025);
    EXPECT_EQ(rt.rfpulsedefined, 1);
}

TEST_F(SinglePulse, APulseThatCannotBeReadFromDiskIsNone)
{
    const TempDir dir;
    const std::string good = dir.write("good.txt", "1 2 3 4"), bad = dir.write("bad.txt", "1 2 x");
    for (const auto &[x, y] : {std::pair(good, bad), {bad, good}, {good, dir.file("none.txt")}}) {
        rt.rfpulsedefined = 0;
        rt.xb[0] = rt.yb[3] = 7.0;
        testing::internal::CaptureStderr();
        dialog(RedefinePulseHamiltonian, "4\n1\n" + x + "\n1\n" + y + "\n10\n");
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_NE(err.find("The pulse was not read.\n"), std::string::npos) << err;
        EXPECT_EQ(rt.rfpulsedefined, 0) << x << y;
        EXPECT_EQ(rt.xb[0], 7.0) << x << y;
        EXPECT_EQ(rt.yb[3], 7.0) << x << y;
    }
}

TEST_F(SinglePulse, ASectorWhosePulseCannotBeReadGetsNoWaveform)
{
    const TempDir dir;
    const std::string good = dir.write("good.txt", "1 2"), bad = dir.write("bad.txt", "1 x");
    std::strcpy(rt.fnames[2], "old.bin");
    testing::internal::CaptureStderr();
    const std::string printed =
        dialog([] { DefineSeqSector(2); },
               "4\n2\n1\n1\n" + good + "\n1\n" + bad + "\n1\n0\n1\n1\n1\n1\nwave.bin\n\n");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("The pulse was not read.\n"),
              std::string::npos);
    EXPECT_EQ(printed.find("Unknown"), std::string::npos) << printed;
    EXPECT_EQ(printed.find("Static offset"), std::string::npos) << printed;
    EXPECT_STREQ(rt.fnames[2], "");
}

TEST_F(SinglePulse, WithoutSamplesTheStepIsZero)
{
    rt.ap = 0;
    dialog(RedefinePulseHamiltonian, "2\n1\n0\n100\n");
    EXPECT_EQ(rt.h, 0.0);
    EXPECT_EQ(rt.xb[0], 7.0);
}

TEST_F(SinglePulse, ACountThatARunLeftIsHeldToTheArrays)
{
    rt.ap = 10000;
    testing::internal::CaptureStderr();
    dialog(RedefinePulseHamiltonian, "2\n1\n0\n100\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING: ap=10000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n");
    EXPECT_EQ(rt.ap, 8192);
}

TEST_F(SinglePulse, AStartPulseWithoutParametersIsNotGenerated)
{
    rt.npar = 0;
    const std::string text = dialog(RedefinePulseHamiltonian, "5\n16\n1\n1000\n90\n0\n");
    EXPECT_TRUE(text.ends_with("Optimization start pulse was not generated.\n")) << text;
    EXPECT_EQ(rt.rfpulsedefined, 0);
    EXPECT_EQ(rt.pulseflag, 2);
}

TEST_F(SinglePulse, TheSpatialEditorOpensFromThePulseMenu)
{
    const std::string text = dialog(RedefinePulseHamiltonian, "6\n6\nrest\n");
    EXPECT_NE(text.find("Edit Current Spatially Resolved Model"), std::string::npos);
    EXPECT_EQ(rest_of_stdin(), "rest\n");
    EXPECT_EQ(rt.rfpulsedefined, 0);
}

TEST_F(SinglePulse, PulseOutputWritesBothArrays)
{
    const TempDir dir;
    rt.ap = 2;
    dialog(OutputPulse, "1\n" + dir.file("x.txt") + "\n2 0\n" + dir.file("y.txt") + "\n");
    EXPECT_EQ(dir.read("x.txt"), "7.000000000000E+00\n7.000000000000E+00\n");
    EXPECT_EQ(dir.read("y.txt"), "1   0.000000000000E+00   7.000000000000E+00\n"
                                 "1   1.000000000000E+00   7.000000000000E+00\n");
}

// ------------------------------------------------------------------ grid and gradients

static const std::string grid_heading = "\n"
                                        "           ***************************************\n"
                                        "           ***  SPATIAL GRID / OFFSET SETUP    ***\n"
                                        "           ***************************************\n";

TEST_F(SinglePulse, TheGridNeedsASpinSystem)
{
    rt.spinsystemdefined = 0;
    EXPECT_EQ(dialog(DefinegradientOffset, "\nnext\n"),
              grid_heading + ">>>> No spin system is defined. Define spins first. <<<<\n");
    EXPECT_EQ(rest_of_stdin(), "next\n");
    EXPECT_EQ(rt.offsetsdefined, 0);
}

TEST_F(SinglePulse, TheGridAsksAxisByAxis)
{
    rt.y0_s = rt.dy_s = 3.0;
    const std::string text =
        dialog(DefinegradientOffset, "y\n5 0.5 -1\n1 100\n\nmaybe\n no\nYes\n999\n.25\n2\n1\n0\n");
    const std::string menu = "Possible gradient modulation types:\n"
                             "   1.  Constant gradient \n"
                             "   2.  cosine spiral (2D excitation)\n"
                             "   3.  sine spiral   (2D excitation)\n"
                             "Your choice [1..3] : \n Constant gradient strength [Hz/cm] : \n";
    const std::string ask_y = "Use y-direction spatial offsets / gradient? [y/n]: ";
    EXPECT_EQ(text, grid_heading +
                        "\nDefine the spatial grid and optional gradient waveforms.\n"
                        "If a gradient axis is not used, ZAN keeps one point in that direction.\n\n"
                        "Use x-direction spatial offsets / gradient? [y/n]: "
                        "Number of spatial grid points in x-direction (1..256): "
                        "Grid spacing dx_s [cm]                          : "
                        "Minimum x-coordinate x0_s [cm]                  : "
                        "\nDefine x-gradient waveform:\n" +
                        menu + ask_y + ask_y + "Please answer y or n.\n" + ask_y +
                        "Use z-direction spatial offsets / gradient? [y/n]: "
                        "Number of spatial grid points in z-direction (1..256): "
                        "Grid spacing dz_s [cm]                          : "
                        "Minimum z-coordinate z0_s [cm]                  : "
                        "\nDefine z-gradient waveform:\n" +
                        menu +
                        "\nSpatial grid / offset setup completed.\n"
                        "  ndx=5  ndy=1  ndz=256\n"
                        "  x0_s=-1  y0_s=0  z0_s=2 [cm]\n"
                        "  dx_s=0.5  dy_s=0  dz_s=0.25 [cm]\n");
    EXPECT_NEAR(rt.gx[3], 200.0 * PI_CONST, 1e-9);
    EXPECT_EQ(rt.gx[4], 7.0);
    EXPECT_EQ(rt.gy[3], 0.0);
    EXPECT_EQ(rt.gy[4], 7.0);
    EXPECT_EQ(rt.offsetsdefined, 1);
}

TEST_F(SinglePulse, AnAnswerThatIsNoNumberEndsTheGridAtOnce)
{
    struct Case {
        const char *typed;
        int ndx;
        double dx_s;
    };
    for (const Case &c : {Case{"y\nmany\n", 1, 0.0}, Case{"y\n5\nwide\n", 5, 0.0},
                          Case{"y\n6\n0.5\nleft\n", 6, 0.5}}) {
        rt.ndx = 1;
        rt.dx_s = rt.x0_s = 0.0;
        const std::string text = dialog(DefinegradientOffset, c.typed);
        EXPECT_EQ(text.find("completed"), std::string::npos);
        EXPECT_EQ(rt.ndx, c.ndx);
        EXPECT_EQ(rt.dx_s, c.dx_s);
        EXPECT_EQ(rt.offsetsdefined, 0);
        EXPECT_EQ(rest_of_stdin(), "");
    }
}

TEST_F(SinglePulse, AtTheEndOfInputNoAxisIsUsed)
{
    rt.ndx = 9;
    dialog(DefinegradientOffset, "");
    EXPECT_EQ(rt.ndx * rt.ndy * rt.ndz, 1);
    EXPECT_EQ(rt.offsetsdefined, 1);
}

// ------------------------------------------------------------------ single steps

static const std::string step_menu = "========================================\n"
                                     "==       MAIN INTERACTIVE MENU        ==\n"
                                     "========================================\n"
                                     "  1. Define/Redefine spin system\n"
                                     "  2. Define/Redefine pulse Hamiltonian\n"
                                     "  3. Define gradient offsets\n"
                                     "  4. Run rotation / propagate (generate dm.bin)\n"
                                     "  5. Spectral analyses (from dm.bin)\n"
                                     "  6. Expectation values (from dm.bin)\n"
                                     "  7. Output pulse arrays\n"
                                     "  8. Optimize a spinstate selective RF-pulse\n"
                                     "  0. Exit\n"
                                     "Your choice [0..8] : ";

TEST_F(SinglePulse, TheStepMenuEndsWithItsExitOrWithoutANumber)
{
    EXPECT_EQ(dialog(LiouvilleInteractive, "0 and more\n"), step_menu + "\n");
    EXPECT_EQ(rest_of_stdin(), "");
    EXPECT_EQ(dialog(LiouvilleInteractive, "x\nnext\n"), step_menu);
    EXPECT_EQ(rest_of_stdin(), "next\n");
    EXPECT_EQ(dialog(LiouvilleInteractive, ""), step_menu);
}

TEST_F(SinglePulse, TheStepMenuRefusesUnknownNumbers)
{
    EXPECT_EQ(dialog(LiouvilleInteractive, "9\n-1\n0\n"), step_menu + "\nUnknown choice.\n" +
                                                              step_menu + "\nUnknown choice.\n" +
                                                              step_menu + "\n");
}

TEST_F(SinglePulse, TheStepMenuDefinesPulseAndGrid)
{
    dialog(LiouvilleInteractive, "2\n1\n2\n3\nn\nn\nn\n0\n");
    EXPECT_EQ(rt.ap, 1);
    EXPECT_NEAR(rt.yb[0], 50000.0 * PI_CONST, 1e-9);
    EXPECT_EQ(rt.rfpulsedefined, 1);
    EXPECT_EQ(rt.offsetsdefined, 1);
}

TEST_F(SinglePulse, TheStepMenuDefinesASpinSystem)
{
    dialog(LiouvilleInteractive, "1\n1\n3\n1\n0\n0\n");
    EXPECT_EQ(rt.Nspins, 1);
    EXPECT_EQ(rt.n, 4);
    EXPECT_EQ(rt.systemset, 1);
}

TEST_F(SinglePulse, TheStepMenuReachesWhatUsesThem)
{
    const struct {
        const char *answers, *printed;
    } steps[] = {
        {"3\nn\nn\nn\n", "           ***  SPATIAL GRID / OFFSET SETUP    ***\n"},
        {"4\n\n", ">>>> NO RF-PULSE DEFINED ERROR <<<<\n"},
        {"5\n9\n", "  3. Calculate 2D spectrum\n"},
        {"6\n2\n", "***       CALCULATION OF EXPECTATION VALUES      ***\n"},
        {"7\n3\n\n3\n\n", "Bx(t)\n"},
    };
    for (const auto &step : steps) {
        const std::string printed = dialog(LiouvilleInteractive, step.answers);
        EXPECT_EQ(printed.find(step_menu + "\n"), 0u);
        EXPECT_NE(printed.find(step.printed), std::string::npos) << printed;
    }
}
