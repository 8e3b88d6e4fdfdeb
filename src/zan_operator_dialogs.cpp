// zan_operator_dialogs.cpp - choosing an observable at the console: from the list of product
// operators, or built by hand from single-spin operators.
//
// zan_operators has the expression language; what is chosen ends in the caller's matrix.

#include "zan.h"

#include "consoleutil.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

static const int LIST_LINE = 128;

// ------------------------------------------------------------------ names of product operators

void decimal_to_base4_symbols(int value, int N, char *out)
{
    for (int k = 0; k < N; k++, value /= 4)
        out[k] = "exyz"[value & 3];
    out[N] = '\0';
}

void format_operator_label(const char *symbols, int N, char *buf, size_t size)
{
    size_t length = 0;
    if (size == 0)
        return;
    buf[0] = '\0';
    bool identity = true;
    for (int k = 1; k <= N; k++) {
        if (symbols[k - 1] == 'e')
            continue;
        identity = false;
        if (length + 3 > size)
            break;
        buf[length++] = spin_labels_for(k)[0];
        buf[length++] = (char)std::toupper((unsigned char)symbols[k - 1]);
        buf[length] = '\0';
    }
    if (identity && size > 1)
        std::strcpy(buf, "E");
}

// ------------------------------------------------------------------ from the list

static void print_operator_list(int N, int count)
{
    char symbols[ZAN_MAX_SPINS + 1], label[2 * ZAN_MAX_SPINS + 1];
    std::printf("Product-operator list (spin-1/2):\n");
    std::printf("Spins are labeled: ");
    for (int k = 1; k <= N; k++)
        std::printf("%s ", spin_labels_for(k));
    std::printf("\nOperator components: X, Y, Z. Identity is E.\n\n");
    if (N >= 4) {
        std::printf("There are %d operators; enter by name (e.g. IxSzUz) or by number [0..%d].\n\n",
                    count, count - 1);
        return;
    }
    std::printf("Available operators:\n");
    for (int opno = 0; opno < count; opno++) {
        decimal_to_base4_symbols(opno, N, symbols);
        format_operator_label(symbols, N, label, sizeof label);
        std::printf("  %3d : %s\n", opno, label);
    }
    std::printf("\n");
}

static int clamped_number(const char *text, int largest)
{
    const long number = std::strtol(text, nullptr, 10);
    return number > largest ? largest : (int)number;
}

// The answer as one symbol per spin; the identity when it cannot be understood.
static void choose_from_answer(const char *answer, int N, int count, char *symbols)
{
    char label[2 * ZAN_MAX_SPINS + 1];
    while (std::isspace((unsigned char)*answer))
        answer++;
    if (std::isdigit((unsigned char)*answer)) {
        const int opno = clamped_number(answer, count - 1);
        decimal_to_base4_symbols(opno, N, symbols);
        format_operator_label(symbols, N, label, sizeof label);
        std::printf("Selected: %s (opno=%d)\n", label, opno);
    } else if (parse_product_operator_string(answer, N, symbols)) {
        format_operator_label(symbols, N, label, sizeof label);
        std::printf("Selected: %s\n", label);
    } else {
        std::printf("Could not parse operator string. Examples: Ix  Iy  Iz  IxSz  IxSzTz\n");
        std::printf("Falling back to E (identity).\n");
        decimal_to_base4_symbols(0, N, symbols);
    }
}

void create_operator_from_list(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                               CMatrix *out)
{
    char answer[LIST_LINE], symbols[ZAN_MAX_SPINS + 1];
    for (int k = 1; k <= N; k++)
        if (Ilist[k] != 1) {
            std::printf("This list is only valid for spin-1/2 systems (2I must be 1).\n");
            std::printf("Falling back to manual operator construction.\n");
            make_identity_operator(n, out);
            return;
        }
    const int count = 1 << (2 * N);
    print_operator_list(N, count);
    std::printf("Enter operator (e.g. IxSz) or number [0..%d]: ", count - 1);
    if (!ConsoleReadLine(answer, sizeof answer)) {
        make_identity_operator(n, out);
        return;
    }
    choose_from_answer(answer, N, count, symbols);
    create_norm_operator_spinhalf(n, N, Ilist, ket, symbols, out);
}

// ------------------------------------------------------------------ by hand

static int clamp_spin(int spin, int N)
{
    return spin < 1 ? 1 : spin > N ? N : spin;
}

static void ask_single_spin_operator(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                     CMatrix *op)
{
    int spin, type;
    double factor;
    std::printf("Spin number [1..%d]: ", N);
    if (!ConsoleReadInt(&spin))
        spin = 1;
    spin = clamp_spin(spin, N);
    std::printf("Operator type:\n  1. I+\n  2. I-\n  3. Ix\n  4. Iy\n  5. Iz\n");
    std::printf("Your choice [1..5]: ");
    if (!ConsoleReadInt(&type))
        type = 5;
    std::printf("Multiply by factor (real): ");
    if (!ConsoleReadDouble(&factor))
        factor = 1.0;
    switch (type) {
    case 1:
        MakeMatrixIplus(Ilist, ket, n, spin, op);
        break;
    case 2:
        MakeMatrixImin(Ilist, ket, n, spin, op);
        break;
    case 3:
        MakeMatrixIx(Ilist, ket, n, spin, op);
        break;
    case 4:
        MakeMatrixIy(Ilist, ket, n, spin, op);
        break;
    default:
        MakeMatrixIz(Ilist, ket, n, spin, op);
        break;
    }
    RMultCMat(n, factor, op, op);
}

static void print_manual_menu(void)
{
    std::printf("*******************************************************\n");
    std::printf("***   EXPECTATION VALUES OF AN ARBITRARY OPERATOR   ***\n");
    std::printf("***                  (MANUAL MODE)                 ***\n");
    std::printf("*******************************************************\n\n");
    std::printf("OP1 and OP2 can be defined as single-spin operators.\n");
    std::printf("You can add or multiply them to build more complex operators.\n\n");
    std::printf("Possible actions:\n");
    std::printf("  1. Define OP1\n");
    std::printf("  2. Define OP2\n");
    std::printf("  3. OP1 := OP1 + OP2\n");
    std::printf("  4. OP1 := OP1 * OP2\n");
    std::printf("  5. Use OP1 as expectation operator\n\n");
    std::printf("Your choice [1..5]: ");
}

void manual_expectation_operator(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                 CMatrix *out)
{
    static CMatrix op1, op2;
    int choice = 0;
    CMatZero(n, &op1);
    CMatZero(n, &op2);
    while (choice != 5) {
        print_manual_menu();
        if (!ConsoleReadInt(&choice)) {
            ConsoleDropCharacter();
            choice = 0;
        }
        switch (choice) {
        case 1:
            ask_single_spin_operator(n, N, Ilist, ket, &op1);
            break;
        case 2:
            ask_single_spin_operator(n, N, Ilist, ket, &op2);
            break;
        case 3:
            CMatAdd(n, &op1, &op2, &op1);
            break;
        case 4:
            CMatMult(n, &op1, &op2, &op1);
            NormCMatrix(n, &op1);
            break;
        default:
            break;
        }
    }
    NormCMatrix(n, &op1);
    CopyCMatrix(n, &op1, out);
}

// ------------------------------------------------------------------ either way

void ExpectationOperator(int n, int N, const SpinIList &Ilist, const SpinKet &ket, CMatrix *out)
{
    int choice;
    std::printf("*******************************************************\n");
    std::printf("***   EXPECTATION VALUES OF AN ARBITRARY OPERATOR   ***\n");
    std::printf("***                  OR PRODUCT OPERATOR            ***\n");
    std::printf("*******************************************************\n\n");
    std::printf("Define operator:\n\n");
    std::printf("    1. Choose from product-operator list (spin-1/2 only)\n");
    std::printf("    2. Create manually\n\n");
    std::printf("Your choice [1,2] : ");
    if (ConsoleReadInt(&choice) && choice == 1)
        create_operator_from_list(n, N, Ilist, ket, out);
    else
        manual_expectation_operator(n, N, Ilist, ket, out);
    ConsoleDropLine();
}

static bool spin_system_is_prepared(void)
{
    if (rt.spinsystemdefined && rt.Nspins > 0)
        return true;
    std::printf("No current prepared spin system is available.\n");
    return false;
}

void ZANDefineCurrentExpectationOperatorInteractive(void)
{
    if (!spin_system_is_prepared())
        return;
    std::printf("Define operator whose expectation value is to be optimized:\n");
    ExpectationOperator(rt.n, rt.Nspins, rt.Ilist, rt.ket, &rt.Istat);
}

int ZANDefineCurrentExpectationOperatorExpression(const char *expression)
{
    static CMatrix op;
    char text[512] = "";
    if (!spin_system_is_prepared())
        return 0;
    if (!create_operator_expression_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, expression, &op))
        return 0;
    CopyCMatrix(rt.n, &op, &rt.Istat);
    std::strncpy(text, expression, sizeof text - 1);
    trim_operator_token(text);
    std::printf("Using GUI-defined expectation operator: %s\n", text);
    return 1;
}
