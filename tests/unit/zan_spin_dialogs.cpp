// zan_spin_dialogs.cpp - spin systems asked for at the console and read from text files.
#include "console.h"
#include "engine_fixture.h"

#include <cstring>

using SpinDialogs = EngineTest;

namespace
{

// The dialog with these answers.
Console typed(const std::string &answers, void dialog(void))
{
    feed_stdin(answers);
    return captured(dialog);
}

// The operators of the runtime state, packed one after another.
std::vector<Complex> operators(void)
{
    std::vector<Complex> all;
    for (const CMatrix *m : {&rt.densmat, &rt.Izee, &rt.Icoup, &rt.Ixtot, &rt.Iytot, &rt.Iztot}) {
        const std::vector<Complex> one = packed(rt.n, *m);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

void expect_operators(const std::vector<Complex> &expected)
{
    const std::vector<Complex> got = operators();
    ASSERT_EQ(got.size(), expected.size());
    EXPECT_LE(largest_difference(got.data(), expected.data(), got.size()), 1e-12);
}

void forget_spins(void)
{
    std::memset(&rt, 0, sizeof rt);
    init();
}

const SpinSystem full = {
    {1, 2, 1}, {1.0, 0.5, -2.0}, {100.0, -50.5, 0.0}, 2, {{1, 2, 7.0}, {2, 3, -1.5}}};
const SpinSystem weak = {
    {1, 2, 1}, {1.0, 0.5, -2.0}, {100.0, -50.5, 0.0}, 1, {{1, 2, 7.0}, {2, 3, -1.5}}};

#define FULL_VALUES "1 0.5 -2\n100 -50.5 0\n"

} // namespace

// -------------------------------------------------------------------------- at the console

TEST_F(SpinDialogs, AllOfThemBuildWhatTheValuesInTheStateBuild)
{
    for (const SpinSystem &system : {full, weak}) {
        build_spins(system);
        const std::vector<Complex> expected = operators();
        forget_spins();
        typed("3\n1 2 1\n" FULL_VALUES + std::to_string(system.coupling_mode) + "\n7 0 -1.5\n",
              RedefineSpinSystem);
        expect_operators(expected);
        EXPECT_EQ(rt.Jexact, system.coupling_mode);
        EXPECT_EQ(rt.systemset, 1);
        EXPECT_EQ(rt.spinsystemdefined, 1);
    }
}

TEST_F(SpinDialogs, TypedValuesAreKept)
{
    typed("3\n1 2 1\n" FULL_VALUES "2\n7 0 -1.5\n", RedefineSpinSystem);
    EXPECT_EQ(rt.Nspins, 3);
    EXPECT_EQ(rt.n, 12);
    const double intensities[] = {1.0, 0.5, -2.0}, offsets[] = {100.0, -50.5, 0.0};
    for (int k = 1; k <= 3; k++) {
        EXPECT_EQ(rt.quantnum[k], k == 2 ? 2 : 1);
        EXPECT_EQ(rt.Ilist[k], rt.quantnum[k]);
        EXPECT_EQ(rt.relspinamp[k], intensities[k - 1]);
        EXPECT_EQ(rt.resofreqs[k], offsets[k - 1]);
    }
    EXPECT_EQ(rt.Jcount, 3);
    EXPECT_EQ(rt.couplings[1], 7.0);
    EXPECT_EQ(rt.couplings[2], 0.0);
    EXPECT_EQ(rt.couplings[3], -1.5);
    EXPECT_EQ(rt.jc[1][2], 7.0);
    EXPECT_EQ(rt.jc[2][1], 7.0);
    EXPECT_EQ(rt.jc[1][3], 0.0);
    EXPECT_EQ(rt.jc[3][2], -1.5);
}

TEST_F(SpinDialogs, OldCouplingsAreForgotten)
{
    build_spins(full);
    rt.Jcount = 3;
    rt.couplings[3] = 9.0;
    typed("1\n1\n1\n0\n", RedefineSpinSystem);
    EXPECT_EQ(rt.Jcount, 0);
    EXPECT_EQ(rt.couplings[3], 0.0);
    EXPECT_EQ(rt.jc[1][2], 0.0);
    EXPECT_EQ(rt.Jexact, 1);
    EXPECT_EQ(rt.Ilist[2], 0);
    const std::vector<Complex> none(4);
    EXPECT_EQ(packed(2, rt.Icoup), none);
}

TEST_F(SpinDialogs, OneSpinIsAskedForNoCoupling)
{
    const Console console = typed("1\n1\n0.5\n-20\n7\n", RedefineSpinSystem);
    EXPECT_EQ(console.out, "\nNumber of Spins (1..8) = "
                           "I quantum number of spin(1) = x/2  with x = "
                           "\nNumber of states n = 2\n"
                           "Spin system defined: Nspins=1, n=2\n"
                           "\nRelative Intensity of Spin (1) : "
                           "\nOffset-frequency [Hz] of Spin(1) : ");
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(rest_of_stdin(), "\n7\n");
}

TEST_F(SpinDialogs, TheCouplingDialogPrintsATermForEveryCouplingButZero)
{
    build_spins({{1, 1, 1}});
    const Console console = typed("2 3.5 0 -1\n", SpinSpinCoupling);
    EXPECT_EQ(console.out, "*************************************\n"
                           "***  Define J coupling constants  ***\n"
                           "*************************************\n"
                           "\n"
                           "1. Weak-Coupling approximation\n"
                           "2. Exact calculation\n"
                           "Your choice [1,2] : \n"
                           "Give all scalar coupling constants J(i,j) [Hz]\n"
                           "Hamiltonian term: 2\xCF\x80 J(i,j) (Ix_i Ix_j + Iy_i Iy_j + Iz_i "
                           "Iz_j)\n"
                           "(weak coupling drops transverse terms)\n"
                           "\n"
                           "J(1,2) = Calculating coupling term for (1,2)\n"
                           "J(1,3) = J(2,3) = Calculating coupling term for (2,3)\n");
    EXPECT_EQ(rt.Jcount, 3);
}

TEST_F(SpinDialogs, EveryModeButOneIsTheFullCoupling)
{
    for (const int mode : {1, 2, 0, 7, -1}) {
        build_spins({{1, 1}, {}, {}, mode, {{1, 2, 10.0}}});
        const std::vector<Complex> expected = packed(4, rt.Icoup);
        typed(std::to_string(mode) + " 10\n", SpinSpinCoupling);
        EXPECT_EQ(packed(4, rt.Icoup), expected) << mode;
        EXPECT_EQ(rt.Jexact, mode);
        EXPECT_EQ(rt.Icoup[2][3][COMPLEX_RE] == 0.0, mode == 1) << mode;
    }
}

TEST_F(SpinDialogs, AModeThatIsNoNumberIsTheWeakCoupling)
{
    build_spins({{1, 1}});
    typed("weak\n", SpinSpinCoupling);
    EXPECT_EQ(rt.Jexact, 1);
    EXPECT_EQ(rt.couplings[1], 0.0);
    EXPECT_EQ(rest_of_stdin(), "weak\n");
}

TEST_F(SpinDialogs, AValueThatIsNoNumberIsZeroAndStaysUnread)
{
    build_spins({{1, 1}, {}, {3.0, 4.0}});
    typed("0.5 x 2\n", MakeBoltzmann);
    EXPECT_EQ(rt.relspinamp[1], 0.5);
    EXPECT_EQ(rt.relspinamp[2], 0.0);
    EXPECT_EQ(rest_of_stdin(), "x 2\n");
    typed("x 2\n", MakeZeeman);
    EXPECT_EQ(rt.resofreqs[1], 0.0);
    EXPECT_EQ(rt.resofreqs[2], 0.0);
    const std::vector<Complex> none(16);
    EXPECT_EQ(packed(4, rt.Izee), none);
}

TEST_F(SpinDialogs, ASpinOfZeroIntensityIsNotPolarised)
{
    build_spins({{1, 1}, {1.0, 0.0}});
    const std::vector<Complex> expected = packed(4, rt.densmat);
    typed("1 0\n", MakeBoltzmann);
    EXPECT_EQ(packed(4, rt.densmat), expected);
}

TEST_F(SpinDialogs, TheSpinsAreAskedForUntilTheirStatesFit)
{
    const Console console = typed("9\n0\n-1\nx\n2\n1 y\n2\n15 16\n2\n15 15\n", Ispins);
    EXPECT_EQ(rt.n, 256);
    EXPECT_EQ(count_of(console.out, "\nNumber of Spins (1..8) = "), 7);
    EXPECT_EQ(count_of(console.out, "\nToo many states (n=272 > 256). Redefine spins.\n"), 1);
    EXPECT_TRUE(console.out.ends_with("\nNumber of states n = 256\n"));
    EXPECT_EQ(rt.ket[1][1], 15);
    EXPECT_EQ(rt.ket[256][2], -15);
}

TEST_F(SpinDialogs, TheRestOfARefusedLineAnswersNothing)
{
    typed("9 1 1 1\n3 200 1 1 2 2\n1\n2\n", Ispins);
    EXPECT_EQ(rt.Nspins, 1);
    EXPECT_EQ(rt.n, 3);
}

TEST_F(SpinDialogs, EightSpinsOneHalfFillTheStates)
{
    typed("8 1 1 1 1 1 1 1 1\n", SetupSpins);
    EXPECT_EQ(rt.n, 256);
    EXPECT_EQ(rt.spinsystemdefined, 1);
}

TEST_F(SpinDialogs, ASpinOneAmongEightIsTooMuch)
{
    const Console console = typed("8 1 1 1 2 1 1 1 1\n1 1\n", SetupSpins);
    EXPECT_EQ(count_of(console.out, "\nToo many states (n=384 > 256). Redefine spins.\n"), 1);
    EXPECT_EQ(rt.n, 2);
}

struct RefusedSpins {
    const char *answers;
    int spin; // the first that is none
};

TEST_F(SpinDialogs, NegativeQuantumNumbersLeaveNoSystem)
{
    for (const RefusedSpins &c :
         {RefusedSpins{"1 -1\n", 1}, RefusedSpins{"2 1 -1\n", 2}, RefusedSpins{"2 -3 -3\n", 1},
          RefusedSpins{"3 1 -5 2\n", 2}, RefusedSpins{"1 -2147483648\n", 1}}) {
        build_spins(full);
        const Console console = typed(c.answers, RedefineSpinSystem);
        EXPECT_NE(console.err.find("SetupSpins: invalid spin quantum number for spin " +
                                   std::to_string(c.spin) +
                                   "\n"
                                   "SetupSpins: resulting dimension n=0 out of supported range "
                                   "(1..MATRIXMATH_DIM)\n"),
                  std::string::npos)
            << c.answers << console.err;
        EXPECT_EQ(console.out.find("Spin system defined"), std::string::npos);
        EXPECT_EQ(rt.n, 0);
        EXPECT_EQ(rt.spinsystemdefined, 0);
        EXPECT_EQ(rt.systemset, 0);
    }
}

// ------------------------------------------------------------------------- from a text file

namespace
{

void read_spins_from(const std::string &text)
{
    write_bytes("spins.txt", text);
    const FilePtr in{std::fopen("spins.txt", "r")};
    ASSERT_TRUE(in);
    NonIntIspins(in.get());
    NonIntMakeBoltzmann(in.get());
    NonIntMakeZeeman(in.get());
    NonIntSpinSpinCoupling(in.get());
}

std::vector<Complex> hamiltonians(void)
{
    std::vector<Complex> all;
    for (const CMatrix *m : {&rt.densmat, &rt.Izee, &rt.Icoup}) {
        const std::vector<Complex> one = packed(rt.n, *m);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

} // namespace

TEST_F(SpinDialogs, FilesHoldTheSameValuesWithoutQuestions)
{
    for (const SpinSystem &system : {full, weak}) {
        build_spins(system);
        const std::vector<Complex> expected = hamiltonians();
        forget_spins();
        const Console console = captured([&] {
            read_spins_from("3\n1 2 1\n" FULL_VALUES + std::to_string(system.coupling_mode) +
                            " 99\n7 0 -1.5\n");
        });
        EXPECT_EQ(console.out + console.err, "");
        EXPECT_EQ(rt.n, 12);
        const std::vector<Complex> got = hamiltonians();
        EXPECT_LE(largest_difference(got.data(), expected.data(), got.size()), 1e-12);
    }
}

TEST_F(SpinDialogs, FilesLeaveTheValuesOfTheDialogsAlone)
{
    rt.quantnum[1] = 5;
    rt.resofreqs[1] = 17.0;
    rt.Jexact = 2;
    rt.Jcount = 1;
    rt.couplings[1] = 8.0;
    rt.jc[1][3] = 99.0;
    read_spins_from("2\n1 1\n1 2\n30 40\n1 0\n6\n");
    EXPECT_EQ(rt.quantnum[1], 5);
    EXPECT_EQ(rt.resofreqs[1], 17.0);
    EXPECT_EQ(rt.Jexact, 2);
    EXPECT_EQ(rt.Jcount, 1);
    EXPECT_EQ(rt.couplings[1], 8.0);
    EXPECT_EQ(rt.relspinamp[2], 2.0);
    EXPECT_EQ(rt.jc[1][2], 6.0);
    EXPECT_EQ(rt.jc[2][1], 6.0);
    EXPECT_EQ(rt.jc[1][3], 0.0);
}

TEST_F(SpinDialogs, WhatIsMissingInAFileHasDefaults)
{
    read_spins_from("");
    EXPECT_EQ(rt.Nspins, 1);
    EXPECT_EQ(rt.Ilist[1], 1);
    EXPECT_EQ(rt.n, 2);
    EXPECT_EQ(rt.relspinamp[1], 0.0);
    const std::vector<Complex> none(12);
    EXPECT_EQ(hamiltonians(), none);
    read_spins_from("3 2");
    EXPECT_EQ(rt.Nspins, 3);
    EXPECT_EQ(rt.n, 3 * 2 * 2);
}

TEST_F(SpinDialogs, TheNumberOfSpinsInAFileIsClamped)
{
    struct {
        const char *text;
        int spins;
    } const cases[] = {{"0\n", 1}, {"-4\n", 1}, {"x\n", 1}, {"9\n", 8}, {"1000000\n", 8}};
    for (const auto &c : cases) {
        read_spins_from(c.text);
        EXPECT_EQ(rt.Nspins, c.spins) << c.text;
    }
}

TEST_F(SpinDialogs, OneSpinInAFileHasNoCoupling)
{
    build_spins(full);
    read_spins_from("1\n1\n1\n0\n1 0 5\n");
    const std::vector<Complex> none(4);
    EXPECT_EQ(packed(2, rt.Icoup), none);
    EXPECT_EQ(rt.jc[1][2], 0.0);
}

// The values are kept for others to judge; there is no room for their operators.
TEST_F(SpinDialogs, AFileWithTooManyStatesBuildsNoOperators)
{
    build_spins(full);
    const std::vector<Complex> before = operators();
    captured([] { read_spins_from("8\n9 9 9 9 9 9 9 9\n1 1 1 1 1 1 1 1\n"); });
    EXPECT_EQ(rt.n, 100'000'000);
    rt.n = 12;
    EXPECT_EQ(operators(), before);
}

TEST_F(SpinDialogs, WithoutAFileNothingHappens)
{
    build_spins(full);
    const std::vector<Complex> before = operators();
    NonIntIspins(nullptr);
    NonIntMakeBoltzmann(nullptr);
    NonIntMakeZeeman(nullptr);
    NonIntSpinSpinCoupling(nullptr);
    EXPECT_EQ(rt.Nspins, 3);
    EXPECT_EQ(rt.jc[1][2], 7.0);
    EXPECT_EQ(operators(), before);
}
