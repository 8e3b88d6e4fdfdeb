// zan_operators.cpp - the expression language of observables, accepted and refused texts.

#include "engine_fixture.h"
#include "matrices.h"

#include <cmath>
#include <cstring>

using Operators = EngineTest;

namespace
{

struct TermCase {
    int spins;
    const char *text, *symbols; // null: refused
};

const TermCase terms[] = {
    {3, "Ix", "xee"},
    {3, "IxSz", "xze"},
    {3, "I1x I3z", "xez"},
    {3, "ix,sy;tz", "xyz"},
    {3, "i2Y_I3x", "eyx"},
    {3, "E", "eee"},
    {3, "e", "eee"},
    {3, "E Ix", "eee"},
    {3, "e\twhatever", "eee"},
    {3, "  \t IX", "xee"},
    {3, "TZ", "eez"},
    {3, "Ix , ;_ Sz", "xze"},
    {3, "IxSz ", "xze"},
    {3, "IxIz", "zee"},
    {3, "I1xIySz", "yze"},
    {3, "i1x", "xee"},
    {3, "I01x", "xee"},
    {8, "IxSxTxUxVxWxAxBx", "xxxxxxxx"},
    {8, "I8z", "eeeeeeez"},
    {6, "Wx", "eeeeex"},
    {1, "Iz", "z"},
    {3, "2Ix", nullptr},
    {3, "Ia", nullptr},
    {3, "I4x", nullptr},
    {3, "Ix - Sz", nullptr},
    {3, "Wx", nullptr},
    {3, "", nullptr},
    {3, "   ", nullptr},
    {3, "I", nullptr},
    {3, "I1", nullptr},
    {3, "Ix S", nullptr},
    {3, "I 1x", nullptr},
    {3, "I x", nullptr},
    {3, "I0x", nullptr},
    {3, "I10x", nullptr},
    {8, "I10x", nullptr},
    {8, "I9x", nullptr},
    {8, "I4294967297x", nullptr},
    {8, "I18446744073709551617x", nullptr},
    {8, "Cx", nullptr},
    {3, "Ex", nullptr},
    {3, "E+", nullptr},
    {3, "S2x", nullptr},
    {3, "Ix.Sz", nullptr},
    {3, "Ix*Sz", nullptr},
    {3, "(Ix)", nullptr},
    {3, ",Ix", nullptr},
    {3, "Ixy", nullptr},
    {3, "I\xc3\xa9x", nullptr},
};

struct ExpressionCase {
    const char *text;
    std::vector<const char *> products; // empty: refused
};

const ExpressionCase expressions[] = {
    {"Iz + Sz + Tz", {"zee", "eze", "eez"}},
    {"Ix", {"xee"}},
    {"IxSz+Iz", {"xze", "zee"}},
    {"Ix++Sx", {"xee", "exe"}},
    {"+Ix", {"xee"}},
    {"Ix + ", {"xee"}},
    {"Ix+Ix", {"xee", "xee"}},
    {" E ", {"eee"}},
    {"E+Iz", {"eee", "zee"}},
    {"+", {}},
    {" + + ", {}},
    {"", {}},
    {"Ix+2Sx", {}},
    {"Ix-Sz", {}},
    {"Ix+Wx", {}},
    {"not defined", {}},
    {"  Not Defined ", {}},
    {"not defined yet", {}},
};

CMatrix op, expected, product;

int build(const char *text)
{
    return create_operator_expression_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, text, &op);
}

// The same by whole matrices alone.
void multiply_whole_matrices(int spins, const char *symbols, CMatrix *out)
{
    static CMatrix factor;
    make_identity_operator(rt.n, out);
    for (int k = 1; k <= spins; k++) {
        const char axis = symbols[k - 1];
        if (axis == 'e')
            continue;
        const auto make = axis == 'x' ? MakeMatrixIx : axis == 'y' ? MakeMatrixIy : MakeMatrixIz;
        make(rt.Ilist, rt.ket, rt.n, k, &factor);
        CMatMult(rt.n, out, &factor, out);
    }
    NormCMatrix(rt.n, out);
}

double norm_of(const CMatrix &mat)
{
    double sum = 0.0;
    for (const Complex &c : packed(rt.n, mat))
        sum += std::norm(c);
    return std::sqrt(sum);
}

} // namespace

TEST_F(Operators, ProductTermsAreReadOrRefused)
{
    for (const TermCase &c : terms) {
        char symbols[9];
        const int ok = parse_product_operator_string(c.text, c.spins, symbols);
        EXPECT_EQ(ok, c.symbols != nullptr) << '"' << c.text << '"';
        if (ok && c.symbols) {
            EXPECT_STREQ(symbols, c.symbols) << '"' << c.text << '"';
        }
    }
}

TEST_F(Operators, ExpressionsAreUnitNormSumsOfUnitNormProducts)
{
    build_spins({{1, 1, 1}});
    for (const ExpressionCase &c : expressions) {
        const int ok = build(c.text);
        EXPECT_EQ(ok, !c.products.empty()) << '"' << c.text << '"';
        if (!ok || c.products.empty())
            continue;
        CMatZero(rt.n, &expected);
        for (const char *symbols : c.products) {
            create_norm_operator_spinhalf(rt.n, 3, rt.Ilist, rt.ket, symbols, &product);
            CMatAdd(rt.n, &expected, &product, &expected);
        }
        NormCMatrix(rt.n, &expected);
        const std::vector<Complex> a = packed(rt.n, op), b = packed(rt.n, expected);
        EXPECT_LE(largest_difference(a.data(), b.data(), a.size()), 1e-15) << c.text;
        EXPECT_NEAR(norm_of(op), 1.0, 1e-14) << c.text;
    }
}

TEST_F(Operators, AProductIsTheMatrixProductOfItsSpinOperatorsScaledToUnitNorm)
{
    build_spins({{1, 1}});
    create_norm_operator_spinhalf(4, 2, rt.Ilist, rt.ket, "xz", &op);
    // IxSz of two spins 1/2 has four elements of equal size.
    EXPECT_EQ(packed(4, op)[2], Complex(0.5));
    EXPECT_EQ(packed(4, op)[7], Complex(-0.5));
    EXPECT_EQ(packed(4, op)[8], Complex(0.5));
    EXPECT_EQ(packed(4, op)[13], Complex(-0.5));
    EXPECT_NEAR(norm_of(op), 1.0, 1e-15);
    create_norm_operator_spinhalf(4, 2, rt.Ilist, rt.ket, "ye", &op);
    EXPECT_EQ(packed(4, op)[2], Complex(0.0, -0.5));
    EXPECT_EQ(packed(4, op)[8], Complex(0.0, 0.5));
}

TEST_F(Operators, AProductEqualsThatOfWholeMatricesToTheBit)
{
    const struct {
        std::vector<int> two_i;
        const char *symbols;
    } cases[] = {
        {{1}, "e"},         {{1}, "y"},
        {{1, 1}, "xy"},     {{1, 1, 1}, "yzy"},
        {{2, 3}, "zx"},     {{7, 1, 2}, "zey"},
        {{1, 0, 1}, "xzx"}, {{4, 4}, "yy"},
        {{1, 1, 1}, "eee"}, {{1, 1, 1, 1, 1}, "yxzxy"},
    };
    for (const auto &c : cases) {
        build_spins({c.two_i});
        fill_all(&op, 7.0);
        fill_all(&expected, 7.0);
        multiply_whole_matrices(rt.Nspins, c.symbols, &expected);
        create_norm_operator_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, c.symbols, &op);
        EXPECT_TRUE(same_bits(op, expected)) << testing::PrintToString(c.two_i) << c.symbols;
    }
}

TEST_F(Operators, TheIdentityTermIsTheUnitNormIdentity)
{
    build_spins({{1, 1}});
    ASSERT_EQ(build("E Ix"), 1);
    for (int i = 1; i <= 4; i++)
        for (int j = 1; j <= 4; j++)
            EXPECT_EQ(op[i][j][COMPLEX_RE], i == j ? 0.5 : 0.0);
    make_identity_operator(3, &op);
    EXPECT_EQ(packed(3, op), (std::vector<Complex>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST_F(Operators, ASpinAboveOneHalfRefusesEveryExpression)
{
    build_spins({{1, 2}});
    for (const char *text : {"Ix", "E", "Sz", "Ix+Sx"})
        EXPECT_EQ(build(text), 0) << text;
}

TEST_F(Operators, OnlyTheFirst511CharactersCount)
{
    build_spins({{1, 1}});
    std::string long_text = "Iz" + std::string(509, ' ') + "+ nonsense";
    ASSERT_EQ(build(long_text.c_str()), 1);
    EXPECT_NEAR(op[1][1][COMPLEX_RE], 0.5, 1e-15);
    long_text = "Iz" + std::string(400, ' ') + "+ nonsense";
    EXPECT_EQ(build(long_text.c_str()), 0);
}

TEST_F(Operators, UndefinedExpressionsAreRecognised)
{
    const std::string blanks(100, ' ');
    const std::string late = std::string(60, ' ') + "not defined";
    EXPECT_TRUE(is_undefined_operator_expression(nullptr));
    for (const char *text : {"", "  \t\n ", "not defined", "NOT DEFINED", "\t Not defined  "})
        EXPECT_TRUE(is_undefined_operator_expression(text)) << text;
    EXPECT_TRUE(is_undefined_operator_expression(blanks.c_str()));
    for (const char *text : {"Ix", "not defined yet", "notdefined", "not  defined", "undefined"})
        EXPECT_FALSE(is_undefined_operator_expression(text)) << text;
    EXPECT_FALSE(is_undefined_operator_expression(late.c_str()));
    // What follows the first 63 characters is not looked at.
    const std::string padded = "not defined" + std::string(60, ' ') + "Ix";
    EXPECT_TRUE(is_undefined_operator_expression(padded.c_str()));
}

TEST_F(Operators, LabelsNameSpinsInEitherCase)
{
    const char labels[] = "ISTUVWABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (int k = 1; k <= 32; k++) {
        EXPECT_EQ(spin_labels_for(k)[0], labels[k - 1]);
        EXPECT_EQ(std::strlen(spin_labels_for(k)), 1u);
    }
    EXPECT_STREQ(spin_labels_for(0), "I");
    EXPECT_STREQ(spin_labels_for(-5), "I");
    EXPECT_STREQ(spin_labels_for(33), "Z");
    for (int k = 1; k <= 8; k++) {
        EXPECT_EQ(spin_index_from_label(labels[k - 1], 8), k);
        EXPECT_EQ(spin_index_from_label(labels[k - 1], k - 1), 0);
    }
    EXPECT_EQ(spin_index_from_label('b', 8), 8);
    EXPECT_EQ(spin_index_from_label('i', 32), 1); // the first of equal labels
    EXPECT_EQ(spin_index_from_label('1', 8), 0);
    EXPECT_EQ(spin_index_from_label('I', 0), 0);
    EXPECT_EQ(spin_index_from_label('\0', 8), 0);
}

TEST_F(Operators, TokensAreTrimmedInPlace)
{
    struct {
        const char *text, *trimmed;
    } const cases[] = {{"  Ix \t\n", "Ix"}, {"Ix", "Ix"},   {"", ""},
                       {" \t ", ""},        {"I x", "I x"}, {"\rIx\v\f", "Ix"}};
    for (const auto &c : cases) {
        char text[32];
        std::snprintf(text, sizeof text, "%s", c.text);
        trim_operator_token(text);
        EXPECT_STREQ(text, c.trimmed);
    }
}

TEST_F(Operators, TheParserPrintsNothing)
{
    build_spins({{1, 1}});
    const Console console = captured([] {
        for (const char *text : {"2Ix", "Ia", "", "not defined", "I9x"})
            build(text);
    });
    EXPECT_EQ(console.out + console.err, "");
}
