// operators - an operator expression for one to four spins 1/2. What is accepted is Hermitian and
// of unit norm.
#include "fuzz_input.h"
#include "zan.h"

#include <cmath>
#include <cstring>
#include <vector>

static bool is_near(double a, double b)
{
    return std::fabs(a - b) <= 1e-12;
}

static bool is_hermitian(int n, const CMatrix &m)
{
    for (int i = 1; i <= n; i++)
        for (int k = 1; k <= n; k++)
            if (!is_near(m[i][k][COMPLEX_RE], m[k][i][COMPLEX_RE]) ||
                !is_near(m[i][k][COMPLEX_IM], -m[k][i][COMPLEX_IM]))
                return false;
    return true;
}

static double squared_norm(int n, const CMatrix &m)
{
    double sum = 0.0;
    for (int i = 1; i <= n; i++)
        for (int k = 1; k <= n; k++)
            sum += m[i][k][COMPLEX_RE] * m[i][k][COMPLEX_RE] +
                   m[i][k][COMPLEX_IM] * m[i][k][COMPLEX_IM];
    return sum;
}

// True for a product; its symbols, one for each spin, must be what they may be.
static bool parses_as_product(const std::string &text, int spins)
{
    const size_t count = static_cast<size_t>(spins);
    std::vector<char> symbols(count + 1, '?'); // no room behind them
    const int good = parse_product_operator_string(text.c_str(), spins, symbols.data());
    FUZZ_REQUIRE(symbols[count] == '\0');
    FUZZ_REQUIRE(std::strspn(symbols.data(), "exyz") == count);
    return good != 0;
}

static std::string trimmed(const std::string &text)
{
    std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
    trim_operator_token(copy.data());
    std::string result = copy.data();
    FUZZ_REQUIRE(text.find(result) != std::string::npos);
    return result;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const size_t longest = 511;
    FuzzInput input(data, size);
    fuzz_folder(); // silence
    fuzz_restore_runtime();
    rt.Nspins = 1 + input.byte_below(4);
    rt.n = 1 << rt.Nspins;
    rt.spinsystemdefined = 1;
    for (int k = 1; k <= rt.Nspins; k++)
        rt.Ilist[k] = 1;
    MakeKets(&rt.ket, &rt.Ilist);

    const std::string text(input.part(std::string_view("\0", 1)));
    const bool product = parses_as_product(text, rt.Nspins);
    const std::string core = trimmed(text);
    const bool defined = !is_undefined_operator_expression(text.c_str());
    const int good = ZANDefineCurrentExpectationOperatorExpression(text.c_str());
    FUZZ_REQUIRE(defined || !good);
    if (text.find('+') == std::string::npos && text.size() <= longest)
        FUZZ_REQUIRE((good != 0) == (defined && parses_as_product(core, rt.Nspins)));
    FUZZ_REQUIRE(!product || !core.empty());
    if (good) {
        FUZZ_REQUIRE(is_near(squared_norm(rt.n, rt.Istat), 1.0));
        FUZZ_REQUIRE(is_hermitian(rt.n, rt.Istat));
    }
    return 0;
}
