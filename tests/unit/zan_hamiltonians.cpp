// zan_hamiltonians.cpp - the operators built silently from the values in the runtime state.

#include "engine_fixture.h"
#include "matrices.h"

#include <cmath>
#include <limits>

using Hamiltonians = EngineTest;

namespace
{

CMatrix op, expected, term;

// expected += factor·A_i·A_j for the axis x, y or z
void add_pair_term(char axis, int i, int j, double factor)
{
    static CMatrix second;
    const auto make = axis == 'x' ? MakeMatrixIx : axis == 'y' ? MakeMatrixIy : MakeMatrixIz;
    make(rt.Ilist, rt.ket, rt.n, i, &op);
    make(rt.Ilist, rt.ket, rt.n, j, &second);
    CMatMult(rt.n, &op, &second, &term);
    CMatRMultAdd(rt.n, &expected, 1.0, &term, factor, &expected);
}

void expect_expected(const CMatrix &actual, const char *what)
{
    const std::vector<Complex> a = packed(rt.n, actual), b = packed(rt.n, expected);
    EXPECT_LE(largest_difference(a.data(), b.data(), a.size()),
              1e-13 * std::max(1.0, maxabs_cmat(rt.n, &expected)))
        << what;
}

// sum of weight[k]·Iz_k, each Iz of unit norm when asked
void expect_iz_sum(const CMatrix &actual, const std::vector<double> &weights, bool unit_norm,
                   const char *what)
{
    CMatZero(rt.n, &expected);
    for (int k = 1; k <= rt.Nspins; k++) {
        MakeMatrixIz(rt.Ilist, rt.ket, rt.n, k, &op);
        if (unit_norm)
            NormCMatrix(rt.n, &op);
        CMatRMultAdd(rt.n, &expected, 1.0, &op, weights[(size_t)k - 1], &expected);
    }
    expect_expected(actual, what);
}

// The operators in rt by whole matrices alone.
struct WholeMatrices {
    CMatrix densmat, Izee, Icoup, Izgrad, Iztot, Ixtot, Iytot;
};

typedef void SpinOperatorBuilder(const SpinIList &, const SpinKet &, int, int, CMatrix *);

void add_coupling(SpinOperatorBuilder make, int i, int j, CMatrix *sum)
{
    static CMatrix first, second;
    make(rt.Ilist, rt.ket, rt.n, i, &first);
    make(rt.Ilist, rt.ket, rt.n, j, &second);
    CMatMult(rt.n, &first, &second, &first);
    RMultCMat(rt.n, TWO_PI * rt.jc[i][j], &first, &first);
    CMatAdd(rt.n, &first, sum, sum);
}

void add_spin(int k, WholeMatrices *w)
{
    const Complex2 weight = {0.0, rt.relspinamp[k], 0.0};
    MakeMatrixIz(rt.Ilist, rt.ket, rt.n, k, &op);
    CMatAdd(rt.n, &op, &w->Izgrad, &w->Izgrad);
    CMatAdd(rt.n, &op, &w->Iztot, &w->Iztot);
    RMultCMat(rt.n, TWO_PI * rt.resofreqs[k], &op, &term);
    CMatAdd(rt.n, &term, &w->Izee, &w->Izee);
    NormCMatrix(rt.n, &op);
    CMultCMat(rt.n, &weight, &op, &op);
    CMatAdd(rt.n, &op, &w->densmat, &w->densmat);
    MakeMatrixIx(rt.Ilist, rt.ket, rt.n, k, &op);
    CMatAdd(rt.n, &op, &w->Ixtot, &w->Ixtot);
    MakeMatrixIy(rt.Ilist, rt.ket, rt.n, k, &op);
    CMatAdd(rt.n, &op, &w->Iytot, &w->Iytot);
}

const WholeMatrices &whole_matrices(void)
{
    static WholeMatrices w;
    for (CMatrix *m : {&w.densmat, &w.Izee, &w.Icoup, &w.Izgrad, &w.Iztot, &w.Ixtot, &w.Iytot}) {
        fill_all(m, 7.0);
        CMatZero(rt.n, m);
    }
    for (int i = 1; i <= rt.Nspins; i++) {
        add_spin(i, &w);
        for (int j = i + 1; j <= rt.Nspins; j++) {
            if (rt.jc[i][j] == 0.0)
                continue;
            if (rt.Jexact != 1) {
                add_coupling(MakeMatrixIx, i, j, &w.Icoup);
                add_coupling(MakeMatrixIy, i, j, &w.Icoup);
            }
            add_coupling(MakeMatrixIz, i, j, &w.Icoup);
        }
    }
    return w;
}

void expect_whole_matrices(const SpinSystem &system, const std::string &what)
{
    for (CMatrix *m :
         {&rt.densmat, &rt.Izee, &rt.Icoup, &rt.Izgrad, &rt.Iztot, &rt.Ixtot, &rt.Iytot})
        fill_all(m, 7.0);
    build_spins(system);
    const WholeMatrices &w = whole_matrices();
    EXPECT_TRUE(same_bits(rt.densmat, w.densmat)) << what;
    EXPECT_TRUE(same_bits(rt.Izee, w.Izee)) << what;
    EXPECT_TRUE(same_bits(rt.Icoup, w.Icoup)) << what;
    EXPECT_TRUE(same_bits(rt.Izgrad, w.Izgrad)) << what;
    EXPECT_TRUE(same_bits(rt.Iztot, w.Iztot)) << what;
    EXPECT_TRUE(same_bits(rt.Ixtot, w.Ixtot)) << what;
    EXPECT_TRUE(same_bits(rt.Iytot, w.Iytot)) << what;
}

} // namespace

TEST_F(Hamiltonians, EqualThoseOfWholeMatricesToTheBit)
{
    std::mt19937 random(11);
    for (const std::vector<int> &two_i : std::vector<std::vector<int>>{
             {1}, {7}, {1, 1}, {2, 3}, {7, 6}, {1, 0, 1}, {5, 1, 4}, {1, 1, 1, 1, 1}, {2, 2, 2, 3}})
        for (const int mode : {1, 2})
            expect_whole_matrices(random_spins(random, two_i, mode), testing::PrintToString(two_i));
    expect_whole_matrices(random_spins(random, std::vector<int>(8, 1), 2), "eight spins 1/2");
}

// What is no number spreads to the elements that are zero otherwise.
TEST_F(Hamiltonians, ValuesThatAreNoNumbersEqualThoseOfWholeMatrices)
{
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    for (const double odd : {inf, -inf, nan, 1e308, 1e-320, -0.0}) {
        const std::string what = std::to_string(odd);
        expect_whole_matrices({{1, 2}, {odd, 1.0}}, what);
        expect_whole_matrices({{1, 2}, {1.0, 1.0}, {3.0, odd}}, what);
        expect_whole_matrices({{1, 2, 1}, {}, {}, 2, {{1, 2, odd}, {2, 3, 4.0}}}, what);
    }
}

TEST_F(Hamiltonians, OneSpinHalfHasTwoStatesAndNoCoupling)
{
    build_spins({{1}, {0.5}, {25.0}});
    EXPECT_EQ(rt.n, 2);
    EXPECT_EQ(maxabs_cmat(2, &rt.Icoup), 0.0);
    EXPECT_NEAR(rt.densmat[1][1][COMPLEX_RE], 0.5 * std::sqrt(0.5), 1e-15);
    EXPECT_NEAR(rt.densmat[2][2][COMPLEX_RE], -0.5 * std::sqrt(0.5), 1e-15);
    EXPECT_NEAR(rt.Izee[1][1][COMPLEX_RE], PI_CONST * 25.0, 1e-12);
    EXPECT_NEAR(rt.Izee[2][2][COMPLEX_RE], -PI_CONST * 25.0, 1e-12);
}

TEST_F(Hamiltonians, EquilibriumIsTheWeightedSumOfUnitNormIz)
{
    build_spins({{1, 2, 1}, {1.0, 0.25, -2.0}});
    expect_iz_sum(rt.densmat, {1.0, 0.25, -2.0}, true, "densmat");
}

TEST_F(Hamiltonians, ASpinOfZeroIntensityIsNotPolarised)
{
    build_spins({{1, 1}, {1.0, 0.0}});
    expect_iz_sum(rt.densmat, {1.0, 0.0}, true, "densmat");
    EXPECT_EQ(rt.densmat[1][1][COMPLEX_RE], rt.densmat[2][2][COMPLEX_RE]);
}

TEST_F(Hamiltonians, OffsetsEnterAsTwoPiTimesHertz)
{
    build_spins({{1, 3}, {}, {40.0, -15.0}});
    expect_iz_sum(rt.Izee, {TWO_PI * 40.0, TWO_PI * -15.0}, false, "Izee");
}

TEST_F(Hamiltonians, TheGradientOperatorIsUnweighted)
{
    build_spins({{1, 3}, {0.1, 7.0}, {40.0, -15.0}});
    expect_iz_sum(rt.Izgrad, {1.0, 1.0}, false, "Izgrad");
    expect_iz_sum(rt.Iztot, {1.0, 1.0}, false, "Iztot");
}

TEST_F(Hamiltonians, WeakCouplingKeepsOnlyTheIzIzTerm)
{
    build_spins({{1, 2}, {}, {}, 1, {{1, 2, 9.0}}});
    CMatZero(rt.n, &expected);
    add_pair_term('z', 1, 2, TWO_PI * 9.0);
    expect_expected(rt.Icoup, "weak");
}

TEST_F(Hamiltonians, EveryOtherModeIsTheFullScalarProduct)
{
    for (const int mode : {2, 0, 7, -1}) {
        build_spins({{1, 2, 1}, {}, {}, mode, {{1, 2, 9.0}, {2, 3, -4.0}}});
        CMatZero(rt.n, &expected);
        for (const char axis : {'x', 'y', 'z'}) {
            add_pair_term(axis, 1, 2, TWO_PI * 9.0);
            add_pair_term(axis, 2, 3, TWO_PI * -4.0);
        }
        expect_expected(rt.Icoup, "full");
        EXPECT_EQ(rt.Jexact, mode);
    }
}

TEST_F(Hamiltonians, TheMatrixOfCouplingsWinsOverTheList)
{
    rt.Jcount = 3;
    rt.couplings[1] = rt.couplings[2] = rt.couplings[3] = 99.0;
    build_spins({{1, 1, 1}, {}, {}, 1, {{2, 3, 4.0}}});
    CMatZero(rt.n, &expected);
    add_pair_term('z', 2, 3, TWO_PI * 4.0);
    expect_expected(rt.Icoup, "from the matrix");
    EXPECT_EQ(rt.jc[1][2], 0.0);
    EXPECT_EQ(rt.couplings[1], 99.0);
}

TEST_F(Hamiltonians, WithoutAMatrixTheListIsTakenInPairOrder)
{
    rt.Jcount = 3;
    rt.couplings[1] = 1.0; // (1,2)
    rt.couplings[2] = 2.0; // (1,3)
    rt.couplings[3] = 3.0; // (2,3)
    build_spins({{1, 1, 1}});
    EXPECT_EQ(rt.jc[1][2], 1.0);
    EXPECT_EQ(rt.jc[3][1], 2.0);
    EXPECT_EQ(rt.jc[2][3], 3.0);
    EXPECT_EQ(rt.Jcount, 3);
    CMatZero(rt.n, &expected);
    add_pair_term('z', 1, 2, TWO_PI * 1.0);
    add_pair_term('z', 1, 3, TWO_PI * 2.0);
    add_pair_term('z', 2, 3, TWO_PI * 3.0);
    expect_expected(rt.Icoup, "from the list");
}

TEST_F(Hamiltonians, PairsBehindTheEndOfTheListAreNotCoupled)
{
    rt.Jcount = 1;
    rt.couplings[1] = 5.0;
    rt.couplings[2] = rt.couplings[3] = 99.0;
    build_spins({{1, 1, 1}});
    EXPECT_EQ(rt.jc[1][2], 5.0);
    EXPECT_EQ(rt.jc[1][3], 0.0);
    EXPECT_EQ(rt.jc[2][3], 0.0);
}

TEST_F(Hamiltonians, TheCouplingMatrixIsSymmetricAndHoldsNothingElse)
{
    set_spins({{1, 1}});
    rt.jc[1][2] = 6.0; // the upper half is what counts
    rt.jc[2][1] = 1.0;
    rt.jc[1][1] = rt.jc[3][4] = rt.jc[0][2] = 8.0;
    ZAN_SetSmokeCheckMode(1);
    BuildSpinSystemFromPulseSequenceGlobals();
    for (int i = 0; i < 9; i++)
        for (int j = 0; j < 9; j++)
            EXPECT_EQ(rt.jc[i][j], i + j == 3 && i * j == 2 ? 6.0 : 0.0) << i << "," << j;
}

TEST_F(Hamiltonians, OneSpinClearsTheCouplingMatrix)
{
    set_spins({{1}});
    rt.jc[1][2] = rt.jc[2][1] = 8.0;
    ZAN_SetSmokeCheckMode(1);
    BuildSpinSystemFromPulseSequenceGlobals();
    EXPECT_EQ(rt.jc[1][2], 0.0);
    EXPECT_EQ(maxabs_cmat(rt.n, &rt.Icoup), 0.0);
}

TEST_F(Hamiltonians, TheNumberOfSpinsIsClampedToOneToEight)
{
    ZAN_SetSmokeCheckMode(1);
    rt.Nspins = 0;
    rt.quantnum[1] = 1;
    BuildSpinSystemFromPulseSequenceGlobals();
    EXPECT_EQ(rt.Nspins, 1);
    EXPECT_EQ(rt.n, 2);
    rt.Nspins = 9;
    BuildSpinSystemFromPulseSequenceGlobals();
    EXPECT_EQ(rt.Nspins, 8);
    EXPECT_EQ(rt.n, 2);
}

TEST_F(Hamiltonians, NegativeQuantumNumbersCountAsNoSpin)
{
    build_spins({{1, -3, 1}});
    EXPECT_EQ(rt.quantnum[2], -3);
    EXPECT_EQ(rt.Ilist[2], 0);
    EXPECT_EQ(rt.n, 4);
}

TEST_F(Hamiltonians, ALargerSystemLeavesNothingInTheWorkingList)
{
    build_spins({{1, 1, 1}});
    build_spins({{2}});
    EXPECT_EQ(rt.n, 3);
    EXPECT_EQ(rt.Ilist[2], 0);
    EXPECT_EQ(rt.Ilist[3], 0);
}

TEST_F(Hamiltonians, EightSpinsHalfGive256States)
{
    build_spins({std::vector<int>(8, 1)});
    EXPECT_EQ(rt.n, 256);
    EXPECT_NEAR(rt.Iztot[1][1][COMPLEX_RE], 4.0, 1e-12);
    EXPECT_NEAR(rt.Iztot[256][256][COMPLEX_RE], -4.0, 1e-12);
}

TEST_F(Hamiltonians, TotalsArePhysicalSums)
{
    build_spins({{1, 2}});
    for (const char axis : {'x', 'y', 'z'}) {
        const auto make = axis == 'x' ? MakeMatrixIx : axis == 'y' ? MakeMatrixIy : MakeMatrixIz;
        make(rt.Ilist, rt.ket, rt.n, 1, &op);
        make(rt.Ilist, rt.ket, rt.n, 2, &term);
        CMatAdd(rt.n, &op, &term, &expected);
        expect_expected(axis == 'x' ? rt.Ixtot : axis == 'y' ? rt.Iytot : rt.Iztot, "total");
    }
}

TEST_F(Hamiltonians, TransverseTotalsOfUnitNormSumUnitNormTerms)
{
    build_spins({{1, 2}});
    zan_build_transverse_totals(1);
    MakeMatrixIx(rt.Ilist, rt.ket, rt.n, 1, &op);
    MakeMatrixIx(rt.Ilist, rt.ket, rt.n, 2, &term);
    NormCMatrix(rt.n, &op);
    NormCMatrix(rt.n, &term);
    CMatAdd(rt.n, &op, &term, &expected);
    expect_expected(rt.Ixtot, "normalised");
    zan_build_transverse_totals(0);
    MakeTotalIy(rt.n, 2, rt.ket, rt.Ilist, 0, &expected);
    expect_expected(rt.Iytot, "physical again");
}

TEST_F(Hamiltonians, BuildingSetsTheThreeDefinedFlags)
{
    build_spins({{1}});
    EXPECT_EQ(rt.spinsystemdefined, 1);
    EXPECT_EQ(rt.rfpulsedefined, 1);
    EXPECT_EQ(rt.offsetsdefined, 1);
}

TEST_F(Hamiltonians, BuildingPrintsASummary)
{
    set_spins({{1, -2}, {0.5, 1e-7}, {12.25, -3000000}});
    const Console console = captured(ZAN_RebuildSpinSystemFromPulseSequenceGlobals);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(console.out, "\nBuildSpinSystemFromPulseSequenceGlobals()\n"
                           "  Nspins = 2\n"
                           "  n      = 2\n"
                           "  spin 1: quantnum=1  Ilist=1  relspinamp=0.5  resofreq=12.25 Hz\n"
                           "  spin 2: quantnum=-2  Ilist=0  relspinamp=1e-07  resofreq=-3e+06 Hz\n"
                           "\n");
}

TEST_F(Hamiltonians, BuildingIsSilentInSmokeCheckMode)
{
    set_spins({{1, 1}});
    ZAN_SetSmokeCheckMode(1);
    const Console console = captured(BuildSpinSystemFromPulseSequenceGlobals);
    EXPECT_EQ(console.out + console.err, "");
}

TEST_F(Hamiltonians, TheGradientOperatorNeedsASpinSystem)
{
    rt.Izgrad[1][1][COMPLEX_RE] = 4.0;
    Console console = captured(MakeGradientOperator);
    EXPECT_EQ(console.err, "MakeGradientOperator: spin system not set up (n=0, Nspins=0)\n");
    rt.n = 2;
    console = captured(MakeGradientOperator);
    EXPECT_EQ(console.err, "MakeGradientOperator: spin system not set up (n=2, Nspins=0)\n");
    EXPECT_EQ(console.out, "");
    EXPECT_EQ(rt.Izgrad[1][1][COMPLEX_RE], 4.0);
}

TEST_F(Hamiltonians, AccumulateAddsTheFirstToTheSecond)
{
    CMatIdentity(2, &op);
    CMatIdentity(2, &term);
    RMultCMat(2, 3.0, &term, &term);
    AccumulateCMat(2, &op, &term);
    EXPECT_EQ(packed(2, term), (std::vector<Complex>{4.0, 0.0, 0.0, 4.0}));
    EXPECT_EQ(packed(2, op), (std::vector<Complex>{1.0, 0.0, 0.0, 1.0}));
}

TEST_F(Hamiltonians, Complex2FromRealClearsTheOtherElements)
{
    Complex2 c = {9.0, 9.0, 9.0};
    Complex2FromReal(-2.5, c);
    EXPECT_EQ(c[0], 0.0);
    EXPECT_EQ(c[COMPLEX_RE], -2.5);
    EXPECT_EQ(c[COMPLEX_IM], 0.0);
}

TEST_F(Hamiltonians, MoreStatesThanAMatrixHoldsAreRefused)
{
    build_spins({{1}});
    rt.systemset = 1;
    rt.Nspins = 3;
    rt.quantnum[1] = rt.quantnum[2] = rt.quantnum[3] = 2147483647;
    const Console console = captured(BuildSpinSystemFromPulseSequenceGlobals);
    EXPECT_EQ(console.err, "BuildSpinSystemFromPulseSequenceGlobals: more than 256 states\n");
    EXPECT_EQ(console.out, "");
    EXPECT_EQ(rt.n, 2);
    EXPECT_EQ(rt.spinsystemdefined, 0);
    EXPECT_EQ(rt.systemset, 0);
}
