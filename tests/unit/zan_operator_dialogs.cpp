// zan_operator_dialogs.cpp - names and numbers of product operators, the list, the manual menu.
#include "console.h"
#include "engine_fixture.h"

#include <cmath>

using OperatorDialogs = EngineTest;

namespace
{

CMatrix chosen, expected;

typedef void Dialog(int n, int N, const SpinIList &Ilist, const SpinKet &ket, CMatrix *out);

// The dialog with these answers on the system in rt; the operator is in chosen.
Console typed(const std::string &answers, Dialog *dialog)
{
    feed_stdin(answers);
    CMatZero(MATRIXMATH_DIM - 1, &chosen);
    return captured([&] { dialog(rt.n, rt.Nspins, rt.Ilist, rt.ket, &chosen); });
}

void expect_chosen(const char *what, double tolerance = 0.0)
{
    const std::vector<Complex> a = packed(rt.n, chosen), b = packed(rt.n, expected);
    EXPECT_LE(largest_difference(a.data(), b.data(), a.size()), tolerance) << what;
}

// The operator is exactly the unit-norm product of these symbols.
void expect_product(const char *symbols, const char *what)
{
    create_norm_operator_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, symbols, &expected);
    expect_chosen(what);
}

std::string last_line(const std::string &text)
{
    const size_t end = text.size() - 1;
    const size_t begin = text.rfind('\n', end - 1);
    return text.substr(begin + 1, end - begin - 1);
}

const char list_prompt_2[] = "Enter operator (e.g. IxSz) or number [0..15]: ";
const char not_parsed[] = "Could not parse operator string. Examples: Ix  Iy  Iz  IxSz  IxSzTz\n"
                          "Falling back to E (identity).\n";

} // namespace

// ------------------------------------------------------------------------ names and numbers

TEST_F(OperatorDialogs, NumbersAreSymbolsInBaseFourFromSpinOneUp)
{
    struct {
        int number, spins;
        const char *symbols, *label;
    } const cases[] = {
        {0, 1, "e", "E"},
        {1, 1, "x", "IX"},
        {3, 1, "z", "IZ"},
        {6, 3, "yxe", "IYSX"},
        {63, 3, "zzz", "IZSZTZ"},
        {16, 3, "eex", "TX"},
        {0, 8, "eeeeeeee", "E"},
        {65535, 8, "zzzzzzzz", "IZSZTZUZVZWZAZBZ"},
        {2 << 14, 8, "eeeeeeey", "BY"},
    };
    for (const auto &c : cases) {
        char symbols[9], label[17];
        decimal_to_base4_symbols(c.number, c.spins, symbols);
        EXPECT_STREQ(symbols, c.symbols) << c.number;
        format_operator_label(symbols, c.spins, label, sizeof label);
        EXPECT_STREQ(label, c.label) << c.number;
    }
}

TEST_F(OperatorDialogs, ALabelStopsBeforeAPairThatDoesNotFit)
{
    char buf[8] = "1234567";
    format_operator_label("xyz", 3, buf, 7);
    EXPECT_STREQ(buf, "IXSYTZ");
    for (const size_t size : {6u, 5u}) {
        format_operator_label("xyz", 3, buf, size);
        EXPECT_STREQ(buf, "IXSY") << size;
    }
    for (const size_t size : {2u, 1u}) {
        format_operator_label("xyz", 3, buf, size);
        EXPECT_STREQ(buf, "") << size;
    }
    format_operator_label("eee", 3, buf, 2);
    EXPECT_STREQ(buf, "E");
    format_operator_label("eee", 3, buf, 1);
    EXPECT_STREQ(buf, "");
    buf[0] = '?';
    format_operator_label("xyz", 3, buf, 0);
    EXPECT_EQ(buf[0], '?');
}

// -------------------------------------------------------------------------------- the list

TEST_F(OperatorDialogs, UpToThreeSpinsHaveEveryOperatorListed)
{
    build_spins({{1, 1, 1}});
    const Console console = typed("6\n", create_operator_from_list);
    EXPECT_TRUE(console.out.starts_with("Product-operator list (spin-1/2):\n"
                                        "Spins are labeled: I S T \n"
                                        "Operator components: X, Y, Z. Identity is E.\n"
                                        "\n"
                                        "Available operators:\n"
                                        "    0 : E\n"
                                        "    1 : IX\n"));
    EXPECT_EQ(lines_with(console.out, " : ").size(), 64u);
    EXPECT_EQ(count_of(console.out, "\n    6 : IYSX\n"), 1);
    EXPECT_TRUE(console.out.ends_with("\n   63 : IZSZTZ\n"
                                      "\n"
                                      "Enter operator (e.g. IxSz) or number [0..63]: "
                                      "Selected: IYSX (opno=6)\n"));
    EXPECT_EQ(console.err, "");
    expect_product("yxe", "6");
}

TEST_F(OperatorDialogs, FromFourSpinsOnOnlyTheirNumberIsTold)
{
    build_spins({{1, 1, 1, 1}});
    const Console console = typed("izuz\n", create_operator_from_list);
    EXPECT_EQ(console.out, "Product-operator list (spin-1/2):\n"
                           "Spins are labeled: I S T U \n"
                           "Operator components: X, Y, Z. Identity is E.\n"
                           "\n"
                           "There are 256 operators; enter by name (e.g. IxSzUz) or by number "
                           "[0..255].\n"
                           "\n"
                           "Enter operator (e.g. IxSz) or number [0..255]: Selected: IZUZ\n");
    expect_product("zeez", "izuz");
}

struct ListAnswer {
    const char *answer, *symbols, *printed;
};

TEST_F(OperatorDialogs, ListAnswersAreNumbersOrOneProduct)
{
    build_spins({{1, 1}});
    const ListAnswer cases[] = {
        {"0\n", "ee", "Selected: E (opno=0)\n"},
        {" 5 or so\n", "xx", "Selected: IXSX (opno=5)\n"},
        {"16\n", "zz", "Selected: IZSZ (opno=15)\n"},
        {"99999999999999999999\n", "zz", "Selected: IZSZ (opno=15)\n"},
        {"2Ix\n", "ye", "Selected: IY (opno=2)\n"},
        {"IxSz\n", "xz", "Selected: IXSZ\n"},
        {"  i2y , i1x\r\n", "xy", "Selected: IXSY\n"},
        {"E\n", "ee", "Selected: E\n"},
        {"Sx", "ex", "Selected: SX\n"},
        {"Tx\n", "ee", not_parsed},
        {"-1\n", "ee", not_parsed},
        {"\n", "ee", not_parsed},
        {"Ix+Sx\n", "ee", not_parsed},
    };
    for (const ListAnswer &c : cases) {
        const Console console = typed(c.answer, create_operator_from_list);
        EXPECT_TRUE(console.out.ends_with(std::string(list_prompt_2) + c.printed))
            << c.answer << console.out;
        expect_product(c.symbols, c.answer);
    }
}

TEST_F(OperatorDialogs, OfALongListAnswer127CharactersCount)
{
    build_spins({{1, 1}});
    const std::string blanks(126, ' ');
    typed("Ix" + blanks.substr(1) + "nonsense\n", create_operator_from_list);
    expect_product("xe", "cut before the nonsense");
    const Console console =
        typed("Ix" + blanks.substr(2) + "nonsense\n", create_operator_from_list);
    EXPECT_TRUE(console.out.ends_with(not_parsed));
}

TEST_F(OperatorDialogs, AtTheEndOfInputTheListGivesTheIdentity)
{
    build_spins({{1, 1}});
    const Console console = typed("", create_operator_from_list);
    EXPECT_TRUE(console.out.ends_with(list_prompt_2));
    make_identity_operator(4, &expected);
    expect_chosen("end of input");
}

// It says manual, and it is the identity.
TEST_F(OperatorDialogs, ASpinAboveOneHalfHasNoListAndGetsTheIdentity)
{
    build_spins({{1, 2}});
    const Console console = typed("5\n", create_operator_from_list);
    EXPECT_EQ(console.out, "This list is only valid for spin-1/2 systems (2I must be 1).\n"
                           "Falling back to manual operator construction.\n");
    EXPECT_EQ(rest_of_stdin(), "5\n");
    make_identity_operator(6, &expected);
    expect_chosen("spin 1");
}

// ---------------------------------------------------------------------------------- by hand

static const char manual_menu[] = "*******************************************************\n"
                                  "***   EXPECTATION VALUES OF AN ARBITRARY OPERATOR   ***\n"
                                  "***                  (MANUAL MODE)                 ***\n"
                                  "*******************************************************\n"
                                  "\n"
                                  "OP1 and OP2 can be defined as single-spin operators.\n"
                                  "You can add or multiply them to build more complex operators.\n"
                                  "\n"
                                  "Possible actions:\n"
                                  "  1. Define OP1\n"
                                  "  2. Define OP2\n"
                                  "  3. OP1 := OP1 + OP2\n"
                                  "  4. OP1 := OP1 * OP2\n"
                                  "  5. Use OP1 as expectation operator\n"
                                  "\n"
                                  "Your choice [1..5]: ";

TEST_F(OperatorDialogs, TheManualMenuAsksSpinTypeAndFactor)
{
    build_spins({{1, 1}});
    const Console console = typed("1 2 3 0.5\n5\n", manual_expectation_operator);
    EXPECT_EQ(console.out, std::string(manual_menu) +
                               "Spin number [1..2]: "
                               "Operator type:\n"
                               "  1. I+\n"
                               "  2. I-\n"
                               "  3. Ix\n"
                               "  4. Iy\n"
                               "  5. Iz\n"
                               "Your choice [1..5]: "
                               "Multiply by factor (real): " +
                               manual_menu);
    expect_product("ex", "0.5·Sx, normalised");
}

struct ManualCase {
    const char *answers, *symbols;
};

TEST_F(OperatorDialogs, SingleSpinOperatorsByHandAreNormalised)
{
    build_spins({{1, 1, 1}});
    const ManualCase cases[] = {
        {"1 1 3 1 5", "xee"},  {"1 2 4 7 5", "eye"},        {"1 3 5 0.1 5", "eez"},
        {"1 0 3 1 5", "xee"}, // spins are clamped
        {"1 -7 3 1 5", "xee"}, {"1 99 3 1 5", "eex"},       {"1 1 0 1 5", "zee"},
        {"1 1 6 1 5", "zee"}, // any other type is Iz
        {"1 1 -3 1 5", "zee"}, {"0 6 1 1 3 1 -1 5", "xee"}, {"2 1 3 1 3 5", "xee"}, // 0 + OP2
    };
    for (const ManualCase &c : cases) {
        typed(std::string(c.answers) + "\n", manual_expectation_operator);
        create_norm_operator_spinhalf(rt.n, 3, rt.Ilist, rt.ket, c.symbols, &expected);
        expect_chosen(c.answers, 1e-15);
    }
}

TEST_F(OperatorDialogs, RaisingAndLoweringByHand)
{
    build_spins({{1}});
    typed("1 1 1 3\n5\n", manual_expectation_operator);
    EXPECT_EQ(packed(2, chosen), (std::vector<Complex>{0, 1, 0, 0}));
    typed("1 1 2 3\n5\n", manual_expectation_operator);
    EXPECT_EQ(packed(2, chosen), (std::vector<Complex>{0, 0, 1, 0}));
}

TEST_F(OperatorDialogs, ASumKeepsTheFactorsUntilItIsUsed)
{
    build_spins({{1}});
    typed("1 1 3 3\n2 1 5 4\n3\n5\n", manual_expectation_operator);
    const double norm = std::sqrt(2.0) * 5.0;
    EXPECT_NEAR(chosen[1][2][COMPLEX_RE], 3.0 / norm, 1e-15);
    EXPECT_NEAR(chosen[1][1][COMPLEX_RE], 4.0 / norm, 1e-15);
    EXPECT_NEAR(chosen[2][2][COMPLEX_RE], -4.0 / norm, 1e-15);
}

// After the product OP1 has unit norm: what is added then weighs in full.
TEST_F(OperatorDialogs, AProductIsNormalisedAtOnce)
{
    build_spins({{1, 1}});
    typed("1 1 3 100\n2 2 3 1\n4\n5\n", manual_expectation_operator);
    create_norm_operator_spinhalf(4, 2, rt.Ilist, rt.ket, "xx", &expected);
    expect_chosen("product", 1e-15);
    MakeMatrixIx(rt.Ilist, rt.ket, 4, 2, &chosen);
    CMatAdd(4, &expected, &chosen, &expected);
    NormCMatrix(4, &expected);
    typed("1 1 3 100\n2 2 3 1\n4\n3\n5\n", manual_expectation_operator);
    expect_chosen("product and sum", 1e-15);
}

TEST_F(OperatorDialogs, TheOrderOfAProductCounts)
{
    build_spins({{1}});
    typed("1 1 1 1\n2 1 2 1\n4\n5\n", manual_expectation_operator); // I+ I-
    EXPECT_EQ(packed(2, chosen), (std::vector<Complex>{1, 0, 0, 0}));
    typed("1 1 2 1\n2 1 1 1\n4\n5\n", manual_expectation_operator); // I- I+
    EXPECT_EQ(packed(2, chosen), (std::vector<Complex>{0, 0, 0, 1}));
}

TEST_F(OperatorDialogs, NothingDefinedIsTheZeroOperator)
{
    build_spins({{1}});
    typed("1 1 3 1\n5\n", manual_expectation_operator);
    typed("5\n", manual_expectation_operator); // also after an earlier dialog
    EXPECT_EQ(packed(2, chosen), std::vector<Complex>(4));
}

TEST_F(OperatorDialogs, AFactorThatIsNoNumberIsOne)
{
    build_spins({{1}});
    const Console console = typed("1 1 3 x\n5\n", manual_expectation_operator);
    EXPECT_EQ(count_of(console.out, manual_menu), 3); // the x costs one round
    expect_product("x", "factor x");
}

TEST_F(OperatorDialogs, WhatIsNoNumberCostsTheMenuOneCharacterEach)
{
    build_spins({{1}});
    const Console console = typed("abc\n1 1 4 1\n5\n", manual_expectation_operator);
    EXPECT_EQ(count_of(console.out, manual_menu), 5);
    expect_product("y", "after abc");
}

// ------------------------------------------------------------------------------- either way

TEST_F(OperatorDialogs, OneIsTheListAndAnythingElseIsByHand)
{
    build_spins({{1}});
    const std::string heading = "*******************************************************\n"
                                "***   EXPECTATION VALUES OF AN ARBITRARY OPERATOR   ***\n"
                                "***                  OR PRODUCT OPERATOR            ***\n"
                                "*******************************************************\n"
                                "\n"
                                "Define operator:\n"
                                "\n"
                                "    1. Choose from product-operator list (spin-1/2 only)\n"
                                "    2. Create manually\n"
                                "\n"
                                "Your choice [1,2] : ";
    const Console list = typed("1\nIy\n", ExpectationOperator);
    EXPECT_TRUE(list.out.starts_with(heading + "Product-operator list (spin-1/2):\n"));
    expect_product("y", "list");
    for (const char *choice : {"2\n", "0 ", "7\n", "x", "-1\n"}) {
        const Console manual = typed(std::string(choice) + "1 1 3 1\n5\n", ExpectationOperator);
        EXPECT_TRUE(manual.out.starts_with(heading + manual_menu)) << choice;
        expect_product("x", choice);
    }
}

TEST_F(OperatorDialogs, NoAnswerIsLeftForTheNextQuestion)
{
    build_spins({{1}});
    typed("2\n1 1 3 1\n5 rest\nnext\n", ExpectationOperator);
    EXPECT_EQ(rest_of_stdin(), "next\n");
    typed("1 rest\nIx\nnext\n", ExpectationOperator);
    expect_product("x", "the list's whole line");
    EXPECT_EQ(rest_of_stdin(), "next\n");
}

// ----------------------------------------------------------------------- the current operator

TEST_F(OperatorDialogs, TheCurrentOperatorIsDefinedInteractively)
{
    build_spins({{1}});
    feed_stdin("1\nIz\n");
    const Console console = captured(ZANDefineCurrentExpectationOperatorInteractive);
    EXPECT_TRUE(console.out.starts_with(
        "Define operator whose expectation value is to be optimized:\n*****"));
    EXPECT_EQ(last_line(console.out), "Enter operator (e.g. IxSz) or number [0..3]: Selected: IZ");
    CopyCMatrix(2, &rt.Istat, &chosen);
    expect_product("z", "Istat");
}

static int defined;

TEST_F(OperatorDialogs, TheCurrentOperatorIsDefinedByAnExpression)
{
    build_spins({{1, 1}});
    const Console console =
        captured([] { defined = ZANDefineCurrentExpectationOperatorExpression(" \tIx + %s\n"); });
    EXPECT_EQ(defined, 0);
    EXPECT_EQ(console.out + console.err, "");
    const Console good =
        captured([] { defined = ZANDefineCurrentExpectationOperatorExpression("  ixsz \t"); });
    EXPECT_EQ(defined, 1);
    EXPECT_EQ(good.out, "Using GUI-defined expectation operator: ixsz\n");
    create_operator_expression_spinhalf(4, 2, rt.Ilist, rt.ket, "IxSz", &expected);
    CopyCMatrix(4, &rt.Istat, &chosen);
    expect_chosen("Istat");
}

TEST_F(OperatorDialogs, ABadExpressionKeepsTheCurrentOperator)
{
    build_spins({{1}});
    ASSERT_EQ(ZANDefineCurrentExpectationOperatorExpression("Iy"), 1);
    const std::vector<Complex> before = packed(2, rt.Istat);
    for (const char *expression : {"Sx", "", "not defined", "2Ix"}) {
        ASSERT_EQ(ZANDefineCurrentExpectationOperatorExpression("Iy"), 1);
        EXPECT_EQ(ZANDefineCurrentExpectationOperatorExpression(expression), 0) << expression;
        EXPECT_EQ(packed(2, rt.Istat), before) << expression;
    }
    EXPECT_EQ(ZANDefineCurrentExpectationOperatorExpression(nullptr), 0);
}

TEST_F(OperatorDialogs, WithoutASpinSystemThereIsNoCurrentOperator)
{
    const char none[] = "No current prepared spin system is available.\n";
    EXPECT_EQ(captured(ZANDefineCurrentExpectationOperatorInteractive).out, none);
    const Console console =
        captured([] { defined = ZANDefineCurrentExpectationOperatorExpression("Ix"); });
    EXPECT_EQ(console.out, none);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(defined, 0);
}
