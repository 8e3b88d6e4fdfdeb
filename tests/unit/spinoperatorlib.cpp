// spinoperatorlib.cpp - basis order, ladder operators and their matrices, the sums over spins.
#include "spinoperatorlib.h"

#include "matrices.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace
{

CMatrix X, Y, Z, P, M, product, plain;
SpinKet ket, other;
SpinIList Ilist;

// The basis of spins with these 2I; returns the number of states.
int make_system(const std::vector<int> &doubled)
{
    std::fill(std::begin(Ilist), std::end(Ilist), 0);
    std::copy(doubled.begin(), doubled.end(), Ilist + 1);
    MakeKets(&ket, &Ilist);
    return infer_nstates(Ilist, infer_nspins(Ilist));
}

bool table_is_zero(const SpinKet &table)
{
    for (const auto &row : table) {
        for (int entry : row) {
            if (entry != 0) {
                return false;
            }
        }
    }
    return true;
}

void fill_table(SpinKet &table, int value)
{
    for (auto &row : table) {
        std::fill(std::begin(row), std::end(row), value);
    }
}

const std::vector<std::vector<int>> systems = {
    {1}, {2}, {7}, {1, 1}, {1, 0, 1}, {3, 1, 2}, {1, 5}, {0, 2}, {4, 0, 0, 1, 2}, {1, 1, 1, 1, 1},
};

// -------------------------------------------------------------------------------- the counts

TEST(SpinCounts, VersionIsSet)
{
    EXPECT_STRNE(spinoper_version, "");
}

TEST(SpinCounts, SpinsAndStatesOfALists)
{
    const struct {
        std::vector<int> doubled;
        int spins, states;
    } cases[] = {
        {{}, 0, 1},
        {{1}, 1, 2},
        {{1, 1}, 2, 4},
        {{1, 0, 1}, 3, 4},
        {{0, 0, 0, 0, 0, 0, 0, 3}, 8, 4},
        {{3, 2, 1}, 3, 24},
        {{1, 1, 1, 1, 1, 1, 1, 1}, 8, 256},
        {{2, 2, 2, 2, 2}, 5, 243},
        {{2, 2, 2, 2, 2, 2}, 6, 0},
        {{255}, 1, 256},
        {{256}, 1, 0},
        {{2147483647}, 1, 0},
        {{127, 1}, 2, 256},
        {{128, 1}, 2, 0},
        {{1, -1, 1}, 3, 0},
        {{1, -1}, 1, 2},
    };
    for (const auto &c : cases) {
        std::fill(std::begin(Ilist), std::end(Ilist), 0);
        std::copy(c.doubled.begin(), c.doubled.end(), Ilist + 1);
        EXPECT_EQ(infer_nspins(Ilist), c.spins) << testing::PrintToString(c.doubled);
        EXPECT_EQ(infer_nstates(Ilist, c.spins), c.states) << testing::PrintToString(c.doubled);
    }
}

TEST(SpinCounts, PositionZeroOfTheListIsNotUsed)
{
    std::fill(std::begin(Ilist), std::end(Ilist), 0);
    Ilist[0] = 3;
    EXPECT_EQ(infer_nspins(Ilist), 0);
}

// --------------------------------------------------------------------------------- the basis

TEST(MakeKets, OneSpinOneHalfHasUpThenDown)
{
    EXPECT_EQ(make_system({1}), 2);
    EXPECT_EQ(ket[1][1], 1);
    EXPECT_EQ(ket[2][1], -1);
    EXPECT_EQ(ket[3][1], 0);
}

TEST(MakeKets, SpinOneVariesSlowestAndEachRunsDownwards)
{
    EXPECT_EQ(make_system({1, 1}), 4);
    const int expected[4][2] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
    for (int state = 1; state <= 4; state++) {
        EXPECT_EQ(ket[state][1], expected[state - 1][0]);
        EXPECT_EQ(ket[state][2], expected[state - 1][1]);
        EXPECT_EQ(ket[state][0], 0);
        EXPECT_EQ(ket[state][3], 0);
    }
    EXPECT_EQ(make_system({2, 3}), 12);
    EXPECT_EQ(ket[1][1], 2);
    EXPECT_EQ(ket[4][2], -3);
    EXPECT_EQ(ket[5][1], 0);
    EXPECT_EQ(ket[5][2], 3);
    EXPECT_EQ(ket[12][1], -2);
    EXPECT_EQ(ket[12][2], -3);
}

TEST(MakeKets, AZeroInTheListIsAPositionWithoutSpin)
{
    EXPECT_EQ(make_system({1, 0, 1}), 4);
    const int third[5] = {0, 1, -1, 1, -1};
    for (int state = 1; state <= 4; state++) {
        EXPECT_EQ(ket[state][1], state <= 2 ? 1 : -1);
        EXPECT_EQ(ket[state][2], 0);
        EXPECT_EQ(ket[state][3], third[state]);
    }
}

TEST(MakeKets, EightSpinsOneHalfFillTheTable)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(make_system({1, 1, 1, 1, 1, 1, 1, 1}), 256);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (int k = 1; k <= 8; k++) {
        EXPECT_EQ(ket[1][k], 1);
        EXPECT_EQ(ket[256][k], -1);
    }
    EXPECT_EQ(make_system({2, 2, 2, 2, 2}), 243);
    EXPECT_EQ(ket[243][5], -2);
    EXPECT_EQ(ket[244][5], 0);
}

TEST(MakeKets, TooManyStatesOrANegativeEntryIsToldAndLeavesZeros)
{
    const struct {
        std::vector<int> doubled;
        std::string message;
    } cases[] = {
        {{2, 2, 2, 2, 2, 2}, "MakeKets: too many states for Nspins=6 (max 256)\n"},
        {{1, -1, 1}, "MakeKets: too many states for Nspins=3 (max 256)\n"},
        {{300}, "MakeKets: too many states for Nspins=1 (max 256)\n"},
    };
    for (const auto &c : cases) {
        fill_table(ket, 9);
        testing::internal::CaptureStderr();
        make_system(c.doubled);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
        EXPECT_TRUE(table_is_zero(ket));
    }
}

TEST(MakeKets, AnEmptyListLeavesZerosSilently)
{
    fill_table(ket, 9);
    testing::internal::CaptureStderr();
    make_system({});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(table_is_zero(ket));
}

TEST(MakeKets, NullArgumentsAreIgnored)
{
    make_system({1});
    MakeKets(nullptr, &Ilist);
    MakeKets(&ket, nullptr);
    EXPECT_EQ(ket[1][1], 1);
}

TEST(KetProc, CopiesTheFirstSpinsOnly)
{
    fill_table(ket, 9);
    const int m[9] = {5, 1, -1, 3, 0, 0, 0, 0, 0};
    ketproc(ket, 4, m, 2);
    EXPECT_EQ(ket[4][0], 9);
    EXPECT_EQ(ket[4][1], 1);
    EXPECT_EQ(ket[4][2], -1);
    EXPECT_EQ(ket[4][3], 9);
}

TEST(KetEqual, ComparesTheFirstSpinsOnly)
{
    const int a[9] = {1, 1, -1, 3, 0, 0, 0, 0, 0};
    const int b[9] = {2, 1, -1, 5, 0, 0, 0, 0, 0};
    EXPECT_EQ(ket_equal(a, b, 2), 1);
    EXPECT_EQ(ket_equal(a, b, 3), 0);
    EXPECT_EQ(ket_equal(a, b, 0), 1);
}

// -------------------------------------------------------------------------- raising, lowering

TEST(Ladder, CoefficientsOfEverySpin)
{
    for (int I2 = 1; I2 <= 7; I2++) {
        const int n = make_system({I2});
        for (int state = 1; state <= n; state++) {
            const double I = I2 / 2.0, m = ket[state][1] / 2.0;
            double up = 9.0, down = 9.0;
            operateIplus(Ilist, state, 1, ket, other, &up);
            EXPECT_EQ(other[state][1], ket[state][1] + (state > 1 ? 2 : 0));
            EXPECT_EQ(up, std::sqrt((I - m) * (I + m + 1)));
            operateImin(Ilist, state, 1, ket, other, &down);
            EXPECT_EQ(other[state][1], ket[state][1] - (state < n ? 2 : 0));
            EXPECT_EQ(down, std::sqrt((I + m) * (I - m + 1)));
        }
    }
}

TEST(Ladder, CopiesAllEightColumnsOfTheRowAndNothingElse)
{
    make_system({1});
    for (int k = 0; k <= 8; k++) {
        ket[2][k] = k == 1 ? -1 : 10 + k;
    }
    fill_table(other, 99);
    operateIplus(Ilist, 2, 1, ket, other, nullptr);
    EXPECT_EQ(other[2][0], 99);
    EXPECT_EQ(other[2][1], 1);
    for (int k = 2; k <= 8; k++) {
        EXPECT_EQ(other[2][k], 10 + k);
    }
    EXPECT_EQ(other[1][1], 99);
    EXPECT_EQ(other[3][1], 99);
    fill_table(other, 99);
    operateImin(Ilist, 2, 1, ket, other, nullptr);
    EXPECT_EQ(other[2][1], -1);
    EXPECT_EQ(other[2][8], 18);
    EXPECT_EQ(other[2][0], 99);
}

TEST(InnerProduct, IsRealAndZeroWhenTheKetCannotBeMoved)
{
    make_system({1});
    double re = 9.0, im = 9.0;
    InproductIplus(Ilist, ket, 1, 2, 1, &re, &im);
    EXPECT_EQ(re, 1.0);
    EXPECT_EQ(im, 0.0);
    // Raising |up> leaves the ket as it is, but its coefficient is zero: no element.
    re = im = 9.0;
    InproductIplus(Ilist, ket, 1, 1, 1, &re, &im);
    EXPECT_EQ(re, 0.0);
    EXPECT_EQ(im, 0.0);
    inproductImin(Ilist, ket, 2, 1, 1, &re, &im);
    EXPECT_EQ(re, 1.0);
    inproductImin(Ilist, ket, 2, 2, 1, &re, &im);
    EXPECT_EQ(re, 0.0);
    InproductIplus(Ilist, ket, 1, 2, 1, nullptr, nullptr);
    inproductImin(Ilist, ket, 1, 2, 1, nullptr, nullptr);
}

// -------------------------------------------------------------------------------- the matrices

TEST(MakeMatrix, LadderMatricesEqualTheElementFunctionsToTheBit)
{
    for (const auto &system : systems) {
        const int n = make_system(system);
        for (int spin = 1; spin <= infer_nspins(Ilist); spin++) {
            fill_all(&P, 7.0);
            fill_all(&M, 7.0);
            MakeMatrixIplus(Ilist, ket, n, spin, &P);
            MakeMatrixImin(Ilist, ket, n, spin, &M);
            for (int i = 1; i <= n; i++) {
                for (int j = 1; j <= n; j++) {
                    InproductIplus(Ilist, ket, i, j, spin, &X[i][j][1], &X[i][j][2]);
                    inproductImin(Ilist, ket, i, j, spin, &Y[i][j][1], &Y[i][j][2]);
                }
            }
            EXPECT_TRUE(same_elements(n, P, X)) << testing::PrintToString(system);
            EXPECT_TRUE(same_elements(n, M, Y)) << testing::PrintToString(system);
            EXPECT_TRUE(outside_is(n, P, 7.0));
            EXPECT_TRUE(outside_is(n, M, 7.0));
        }
    }
}

// ------------------------------------------------------------ the matrices, element by element

// The operators by the element functions and whole matrices alone.
enum Operator { I_PLUS, I_MINUS, I_X, I_Y, I_Z };

void ladder_by_elements(int n, int spin)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            InproductIplus(Ilist, ket, i, j, spin, &P[i][j][1], &P[i][j][2]);
            inproductImin(Ilist, ket, i, j, spin, &M[i][j][1], &M[i][j][2]);
        }
    }
}

// From P and M.
void operator_by_elements(Operator op, int n, CMatrix *out)
{
    if (op == I_Z) {
        CMatCommutator(n, &P, &M, out);
        RMultCMat(n, 0.5, out, out);
        return;
    }
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const double up = P[i][j][COMPLEX_RE], down = M[i][j][COMPLEX_RE];
            double *const re = &(*out)[i][j][COMPLEX_RE], *const im = &(*out)[i][j][COMPLEX_IM];
            *re = op == I_PLUS ? up : op == I_MINUS ? down : op == I_X ? 0.5 * (up + down) : 0.0;
            *im = op == I_Y ? 0.5 * (down - up) : 0.0;
        }
    }
}

void make_operator(Operator op, int n, int spin, CMatrix *out)
{
    typedef void Builder(const SpinIList &, const SpinKet &, int, int, CMatrix *);
    Builder *const builders[] = {MakeMatrixIplus, MakeMatrixImin, MakeMatrixIx, MakeMatrixIy,
                                 MakeMatrixIz};
    builders[op](Ilist, ket, n, spin, out);
}

// All operators of all spins and the totals of the table at hand.
void expect_operators_by_elements(int n, const std::string &what)
{
    typedef void Total(int, int, const SpinKet &, const SpinIList &, int, CMatrix *);
    Total *const total[] = {MakeTotalIx, MakeTotalIy, MakeTotalIz};
    static CMatrix sum[2][3];
    const int spins = infer_nspins(Ilist);
    for (auto &sums : sum) {
        for (CMatrix &S : sums) {
            fill_all(&S, 7.0);
            CMatZero(n, &S);
        }
    }
    for (int spin = 1; spin <= spins; spin++) {
        ladder_by_elements(n, spin);
        for (Operator op : {I_PLUS, I_MINUS, I_X, I_Y, I_Z}) {
            fill_all(&X, 7.0);
            fill_all(&Y, 7.0);
            operator_by_elements(op, n, &X);
            make_operator(op, n, spin, &Y);
            EXPECT_TRUE(same_bits(X, Y)) << what << " spin " << spin << " operator " << op;
            if (op >= I_X) {
                CMatAdd(n, &X, &sum[0][op - I_X], &sum[0][op - I_X]);
                NormCMatrix(n, &X);
                CMatAdd(n, &X, &sum[1][op - I_X], &sum[1][op - I_X]);
            }
        }
    }
    for (int Norm : {0, 1}) {
        for (int axis = 0; axis < 3; axis++) {
            fill_all(&Y, 7.0);
            total[axis](n, spins, ket, Ilist, Norm, &Y);
            EXPECT_TRUE(same_bits(sum[Norm][axis], Y)) << what << " total " << axis << Norm;
        }
    }
}

const std::vector<std::vector<int>> mixed_systems = {
    {1},          {2},     {3},          {4},          {5},          {6},
    {7},          {1, 1},  {1, 0, 1},    {3, 1, 2},    {7, 6, 1},    {2, 7, 3},
    {0, 2},       {5, 4},  {2, 2, 2, 2}, {1, 2, 3, 4}, {4, 0, 0, 1}, {7, 1, 0, 1, 2},
    {1, 1, 1, 5}, {63, 1},
};

TEST(MakeMatrixByElements, SystemsOfMixedSpins)
{
    for (const auto &system : mixed_systems) {
        const int n = make_system(system);
        expect_operators_by_elements(n, testing::PrintToString(system));
    }
}

TEST(MakeMatrixByElements, EightSpinsOneHalf)
{
    const int n = make_system({1, 1, 1, 1, 1, 1, 1, 1});
    expect_operators_by_elements(n, "eight spins 1/2");
}

TEST(MakeMatrixByElements, FewerStatesThanTheTableHas)
{
    make_system({2, 1, 3});
    for (int n : {0, 1, 2, 5, 23}) {
        expect_operators_by_elements(n, "n=" + std::to_string(n));
    }
}

// The states need not stand in the order of MakeKets, nor be those of the spins, nor differ.
TEST(MakeMatrixByElements, TablesThatMakeKetsDidNotMake)
{
    unsigned seed = 1;
    for (const auto &system : mixed_systems) {
        const int n = std::min(make_system(system), 48);
        std::mt19937 engine(seed++);
        std::shuffle(&ket[1], &ket[n + 1], engine);
        expect_operators_by_elements(n, "shuffled " + testing::PrintToString(system));
        std::copy(ket[1], ket[1] + 9, ket[n]);
        expect_operators_by_elements(n, "repeated " + testing::PrintToString(system));
        for (int i = 1; i <= n; i++) {
            ket[i][1 + engine() % 8] += static_cast<int>(engine() % 5) - 2;
        }
        expect_operators_by_elements(n, "strange " + testing::PrintToString(system));
        fill_table(ket, 0);
        expect_operators_by_elements(n, "zero " + testing::PrintToString(system));
        make_system(system);
        ket[n][infer_nspins(Ilist)] += 2;
        expect_operators_by_elements(n, "last one changed " + testing::PrintToString(system));
    }
}

// Nothing but the list says how the rows lie: a table made for other spins.
TEST(MakeMatrixByElements, TheTableOfOtherSpins)
{
    make_system({3, 1});
    Ilist[1] = 1;
    Ilist[2] = 3;
    expect_operators_by_elements(8, "3/2 and 1/2 exchanged");
    make_system({1, 1});
    Ilist[2] = -1;
    Ilist[3] = 1;
    expect_operators_by_elements(4, "negative entry");
}

// As many states as an int counts would overflow the distance of two rows.
TEST(MakeMatrixByElements, AListThatNoTableHolds)
{
    std::fill(std::begin(Ilist), std::end(Ilist), 0);
    fill_table(ket, 0);
    Ilist[1] = ket[1][1] = ket[2][1] = 1;
    Ilist[2] = ket[1][2] = 2147483647;
    ket[2][2] = 2147483645;
    MakeMatrixImin(Ilist, ket, 2, 1, &M);
    EXPECT_EQ(maxabs_cmat(2, &M), 0.0);
}

TEST(MakeMatrix, SpinOneHalf)
{
    make_system({1});
    MakeMatrixIplus(Ilist, ket, 2, 1, &P);
    EXPECT_EQ(P[1][2][COMPLEX_RE], 1.0);
    EXPECT_EQ(P[2][1][COMPLEX_RE], 0.0);
    MakeMatrixImin(Ilist, ket, 2, 1, &M);
    EXPECT_EQ(M[2][1][COMPLEX_RE], 1.0);
    EXPECT_EQ(M[1][2][COMPLEX_RE], 0.0);
    MakeMatrixIx(Ilist, ket, 2, 1, &X);
    EXPECT_EQ(X[1][1][COMPLEX_RE], 0.0);
    EXPECT_EQ(X[1][2][COMPLEX_RE], 0.5);
    EXPECT_EQ(X[2][1][COMPLEX_RE], 0.5);
    EXPECT_EQ(X[1][2][COMPLEX_IM], 0.0);
    MakeMatrixIy(Ilist, ket, 2, 1, &Y);
    EXPECT_EQ(Y[1][2][COMPLEX_RE], 0.0);
    EXPECT_EQ(Y[1][2][COMPLEX_IM], -0.5);
    EXPECT_EQ(Y[2][1][COMPLEX_IM], 0.5);
    MakeMatrixIz(Ilist, ket, 2, 1, &Z);
    EXPECT_EQ(Z[1][1][COMPLEX_RE], 0.5);
    EXPECT_EQ(Z[2][2][COMPLEX_RE], -0.5);
    EXPECT_EQ(Z[1][2][COMPLEX_RE], 0.0);
}

TEST(MakeMatrix, IzCarriesTheRoundingOfTheCommutator)
{
    make_system({2});
    MakeMatrixIplus(Ilist, ket, 3, 1, &P);
    MakeMatrixImin(Ilist, ket, 3, 1, &M);
    CMatMult(3, &P, &M, &product);
    EXPECT_EQ(product[1][1][COMPLEX_RE], 2.0000000000000004);
    MakeMatrixIz(Ilist, ket, 3, 1, &Z);
    EXPECT_EQ(Z[1][1][COMPLEX_RE], 1.0000000000000002);
    EXPECT_EQ(Z[2][2][COMPLEX_RE], 0.0);
    EXPECT_EQ(Z[3][3][COMPLEX_RE], -1.0000000000000002);
}

TEST(MakeMatrix, CommutatorOfIxAndIyIsIzTimesI)
{
    for (int I2 = 1; I2 <= 7; I2++) {
        const int n = make_system({1, I2});
        MakeMatrixIx(Ilist, ket, n, 2, &X);
        MakeMatrixIy(Ilist, ket, n, 2, &Y);
        MakeMatrixIz(Ilist, ket, n, 2, &Z);
        CMatCommutator(n, &X, &Y, &product);
        const Complex2 i = {0.0, 0.0, 1.0};
        CMultCMat(n, &i, &Z, &plain);
        EXPECT_LT(largest_difference(n, product, plain), 1e-14) << "2I=" << I2;
    }
}

TEST(MakeMatrix, IzIsTheMagneticQuantumNumberAndISquaredIsConstant)
{
    for (int I2 = 1; I2 <= 7; I2++) {
        const int n = make_system({I2});
        MakeMatrixIx(Ilist, ket, n, 1, &X);
        MakeMatrixIy(Ilist, ket, n, 1, &Y);
        MakeMatrixIz(Ilist, ket, n, 1, &Z);
        CMatZero(n, &plain);
        for (int k = 1; k <= n; k++) {
            EXPECT_NEAR(Z[k][k][COMPLEX_RE], ket[k][1] / 2.0, 1e-14);
        }
        CMatMultAdd(n, &X, &X, 1.0, &plain);
        CMatMultAdd(n, &Y, &Y, 1.0, &plain);
        CMatMultAdd(n, &Z, &Z, 1.0, &plain);
        const double I = I2 / 2.0;
        RMultCMat(n, 1.0 / (I * (I + 1.0)), &plain, &plain);
        EXPECT_LT(distance_from_identity(n, plain), 1e-14) << "2I=" << I2;
    }
}

TEST(MakeMatrix, EveryOperatorOfAPositionWithoutSpinIsZero)
{
    const int n = make_system({1, 0, 1});
    typedef void Builder(const SpinIList &, const SpinKet &, int, int, CMatrix *);
    Builder *const builders[] = {MakeMatrixIplus, MakeMatrixImin, MakeMatrixIx, MakeMatrixIy,
                                 MakeMatrixIz};
    for (Builder *build : builders) {
        fill_all(&X, 7.0);
        build(Ilist, ket, n, 2, &X);
        EXPECT_EQ(maxabs_cmat(n, &X), 0.0);
        build(Ilist, ket, n, 3, &X);
        EXPECT_GT(maxabs_cmat(n, &X), 0.4);
    }
}

// ------------------------------------------------------------------------------------ the sums

TEST(MakeTotal, TwoSpinsOneHalfAddUp)
{
    const int n = make_system({1, 1});
    fill_all(&plain, 7.0);
    MakeTotalIx(n, 2, ket, Ilist, 0, &plain);
    MakeMatrixIx(Ilist, ket, n, 1, &X);
    MakeMatrixIx(Ilist, ket, n, 2, &Y);
    CMatAdd(n, &X, &Y, &product);
    EXPECT_TRUE(same_elements(n, plain, product));
    EXPECT_EQ(plain[1][2][COMPLEX_RE], 0.5);
    EXPECT_EQ(plain[1][3][COMPLEX_RE], 0.5);
    EXPECT_EQ(plain[1][4][COMPLEX_RE], 0.0);
    MakeTotalIy(n, 2, ket, Ilist, 0, &plain);
    EXPECT_EQ(plain[1][2][COMPLEX_IM], -0.5);
    EXPECT_EQ(plain[3][1][COMPLEX_IM], 0.5);
    MakeTotalIz(n, 2, ket, Ilist, 0, &plain);
    EXPECT_EQ(plain[1][1][COMPLEX_RE], 1.0);
    EXPECT_EQ(plain[2][2][COMPLEX_RE], 0.0);
    EXPECT_EQ(plain[4][4][COMPLEX_RE], -1.0);
}

TEST(MakeTotal, NormOneScalesEachTermAndNotTheSum)
{
    typedef void Single(const SpinIList &, const SpinKet &, int, int, CMatrix *);
    typedef void Total(int, int, const SpinKet &, const SpinIList &, int, CMatrix *);
    Single *const single[] = {MakeMatrixIx, MakeMatrixIy, MakeMatrixIz};
    Total *const total[] = {MakeTotalIx, MakeTotalIy, MakeTotalIz};
    const int n = make_system({1, 2, 0, 1});
    for (int axis = 0; axis < 3; axis++) {
        for (int Norm : {0, 1, 2}) {
            CMatZero(n, &plain);
            for (int k = 1; k <= 4; k++) {
                single[axis](Ilist, ket, n, k, &X);
                if (Norm == 1) {
                    NormCMatrix(n, &X);
                }
                CMatAdd(n, &X, &plain, &plain);
            }
            total[axis](n, 4, ket, Ilist, Norm, &product);
            EXPECT_TRUE(same_elements(n, product, plain)) << "axis " << axis << " Norm " << Norm;
        }
        // Three orthogonal unit-norm terms (the position without spin adds nothing).
        total[axis](n, 4, ket, Ilist, 1, &product);
        Complex2 square;
        ExpectationValue(n, &product, &product, &square);
        EXPECT_NEAR(square[COMPLEX_RE], 3.0, 1e-13);
    }
}

TEST(MakeTotal, WithoutSpinsIsZero)
{
    fill_all(&plain, 7.0);
    MakeTotalIz(3, 0, ket, Ilist, 0, &plain);
    EXPECT_EQ(maxabs_cmat(3, &plain), 0.0);
    EXPECT_TRUE(outside_is(3, plain, 7.0));
}

TEST(MakeTotal, EightSpinsOneHalf)
{
    const int n = make_system({1, 1, 1, 1, 1, 1, 1, 1});
    MakeTotalIz(n, 8, ket, Ilist, 0, &Z);
    MakeTotalIx(n, 8, ket, Ilist, 0, &X);
    MakeTotalIy(n, 8, ket, Ilist, 0, &Y);
    EXPECT_EQ(Z[1][1][COMPLEX_RE], 4.0);
    EXPECT_EQ(Z[256][256][COMPLEX_RE], -4.0);
    CMatCommutator(n, &X, &Y, &product);
    const Complex2 i = {0.0, 0.0, 1.0};
    CMultCMat(n, &i, &Z, &plain);
    EXPECT_LT(largest_difference(n, product, plain), 1e-13);
}

} // namespace
