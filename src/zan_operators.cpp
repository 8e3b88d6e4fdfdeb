// zan_operators.cpp - the expression language of observables: "IxSz + Iz" becomes a matrix.
//
// An expression is a sum of products, "+" between them. A factor is a spin (a label letter, or I
// and a number) and an axis; blanks, commas, semicolons and underscores may stand between.

#include "zan.h"

#include <cctype>
#include <cstring>
#include <utility>

static const char spin_labels[] = "ISTUVWABCDEFGHIJKLMNOPQRSTUVWXYZ";

static bool is_space(char c)
{
    return std::isspace((unsigned char)c) != 0;
}

static bool is_digit(char c)
{
    return std::isdigit((unsigned char)c) != 0;
}

static const char *skip_spaces(const char *s)
{
    while (is_space(*s))
        s++;
    return s;
}

const char *spin_labels_for(int k)
{
    static char label[2];
    label[0] = spin_labels[k < 1 ? 0 : k > 32 ? 31 : k - 1];
    return label;
}

int spin_index_from_label(char c, int N)
{
    const char upper = (char)std::toupper((unsigned char)c);
    for (int k = 1; k <= N && k <= 32; k++)
        if (spin_labels[k - 1] == upper)
            return k;
    return 0;
}

void trim_operator_token(char *s)
{
    const char *start = skip_spaces(s);
    size_t length = std::strlen(start);
    while (length > 0 && is_space(start[length - 1]))
        length--;
    std::memmove(s, start, length);
    s[length] = '\0';
}

bool is_undefined_operator_expression(const char *s)
{
    char text[64] = "";
    if (!s)
        return true;
    std::strncpy(text, s, sizeof text - 1);
    trim_operator_token(text);
    for (char *c = text; *c; c++)
        *c = (char)std::tolower((unsigned char)*c);
    return *skip_spaces(s) == '\0' || std::strcmp(text, "not defined") == 0;
}

// The spin named at *s, which moves behind it; 0 when there is none.
static int parse_spin(const char **s, int N)
{
    const char first = **s;
    if (first == '\0')
        return 0;
    (*s)++;
    if ((first != 'I' && first != 'i') || !is_digit(**s))
        return spin_index_from_label(first, N);
    int number = 0;
    for (; is_digit(**s); (*s)++)
        number = number > N ? number : 10 * number + (**s - '0');
    return number <= N ? number : 0;
}

int parse_product_operator_string(const char *text, int N, char *symbols)
{
    if (N < 0)
        return 0;
    std::memset(symbols, 'e', (size_t)N);
    symbols[N] = '\0';
    const char *s = skip_spaces(text);
    if (*s == '\0')
        return 0;
    if ((*s == 'E' || *s == 'e') && (s[1] == '\0' || is_space(s[1])))
        return 1;
    while (*s) {
        const int spin = parse_spin(&s, N);
        const char axis = (char)std::tolower((unsigned char)*s);
        if (spin < 1 || axis < 'x' || axis > 'z')
            return 0;
        symbols[spin - 1] = axis;
        for (s++; is_space(*s) || *s == ',' || *s == '_' || *s == ';'; s++)
            continue;
    }
    return 1;
}

void make_identity_operator(int n, CMatrix *out)
{
    CMatIdentity(n, out);
}

// The factor of a spin. False when the spin has none.
static bool list_factor(char axis, int n, int k, const SpinIList &Ilist, const SpinKet &ket,
                        SparseCMatrix *factor)
{
    switch (axis) {
    case 'x':
        ListIx(Ilist, ket, n, k, factor);
        return true;
    case 'y':
        ListIy(Ilist, ket, n, k, factor);
        return true;
    case 'z':
        ListIz(Ilist, ket, n, k, factor);
        return true;
    default:
        return false;
    }
}

void create_norm_operator_spinhalf(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                   const char *symbols, CMatrix *out)
{
    static SparseCMatrix factor, products[2];
    SparseCMatrix *product = &products[0], *longer = &products[1];
    SparseIdentity(n, product);
    for (int k = 1; k <= N; k++)
        if (list_factor(symbols[k - 1], n, k, Ilist, ket, &factor)) {
            SparseMult(n, product, &factor, longer);
            std::swap(product, longer);
        }
    SparseNorm(n, product);
    SparseToCMatrix(n, product, out);
}

static bool all_spins_are_half(int N, const SpinIList &Ilist)
{
    for (int k = 1; k <= N; k++)
        if (Ilist[k] != 1)
            return false;
    return true;
}

int create_operator_expression_spinhalf(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                        const char *expression, CMatrix *out)
{
    static CMatrix term;
    char text[512] = "", symbols[ZAN_MAX_SPINS + 1];
    int terms = 0;
    if (is_undefined_operator_expression(expression) || N > ZAN_MAX_SPINS ||
        !all_spins_are_half(N, Ilist))
        return 0;
    std::strncpy(text, expression, sizeof text - 1);
    CMatZero(n, out);
    for (char *start = text, *next = text; next; start = next) {
        next = std::strchr(start, '+');
        if (next)
            *next++ = '\0';
        trim_operator_token(start);
        if (*start == '\0')
            continue;
        if (!parse_product_operator_string(start, N, symbols))
            return 0;
        create_norm_operator_spinhalf(n, N, Ilist, ket, symbols, &term);
        AccumulateCMat(n, &term, out);
        terms++;
    }
    NormCMatrix(n, out);
    return terms > 0;
}
