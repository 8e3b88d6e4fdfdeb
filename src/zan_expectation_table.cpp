// zan_expectation_table.cpp - expectation values of a chosen operator for every density matrix
// of "dm.bin", as a text table or as raw doubles.

#include "zan.h"

#include "binaryfilehandling.h"
#include "consoleutil.h"

#include <cstring>

static const size_t NAME_SIZE = 512;

// Every message of the table waits, so that a screen that is cleared next can be read.
static void wait_after_message(void)
{
    std::printf("Press <Enter> to continue");
    ConsolePause();
}

// dm.bin behind its header; empty after a message.
static FilePtr open_table_input(int *count)
{
    FilePtr in = open_input("dm.bin");
    int32_t type, fn, fndw;
    if (!in) {
        std::perror("ExpValNDensMat: fopen(dm.bin)");
        return in;
    }
    if (ReadBinFileHeader_status(in.get(), &type, &fn, &fndw) != BINFH_OK) {
        std::fprintf(stderr, "ExpValNDensMat: failed to read binary header from %s\n", "dm.bin");
        return nullptr;
    }
    const long at = std::ftell(in.get());
    if (at != 12)
        std::fprintf(stderr,
                     "ExpValNDensMat: warning: unexpected header size/position (ftell=%ld, "
                     "expected 12)\n",
                     at);
    if (!rt.spinsystemdefined || rt.Nspins < 1)
        std::fprintf(stderr, "ExpValNDensMat: define spin system first.\n");
    else if (fn < 1 || fn > ZAN_MAX_STATES)
        std::fprintf(stderr, "ExpValNDensMat: unsupported matrix dimension fn=%d (max %d)\n", fn,
                     ZAN_MAX_STATES);
    else if (type != 0 || fn != rt.n)
        std::fprintf(stderr, "ExpValNDensMat: dm.bin holds type=%d n=%d; expected type=0 n=%d\n",
                     type, fn, rt.n);
    else {
        *count = fndw;
        return in;
    }
    return nullptr;
}

static bool write_value(FILE *out, bool as_text, int dw, const Complex2 &value)
{
    if (as_text)
        return std::fprintf(out, "%5d   %.18g   %.18g\n", dw, value[COMPLEX_RE],
                            value[COMPLEX_IM]) > 0;
    return std::fwrite(&value[COMPLEX_RE], sizeof(double), 1, out) == 1;
}

static void print_write_error(int dw)
{
    std::fprintf(stderr, ">>> WRITE BINARY FILE ERROR <<< (dw=%d)\n", dw);
}

// One value per matrix; false after a message.
static bool write_table(FILE *in, int count, const CMatrix *op, FILE *out, bool as_text)
{
    static CMatrix rho;
    Complex2 value;
    if (as_text)
        std::fprintf(out, "# index    expectation_re    expectation_im\n");
    for (int dw = 1; dw <= count; dw++) {
        for (int row = 1; row <= rt.n; row++)
            if (!read_cmatrix_row(in, rt.n, &rho, row)) {
                std::fprintf(stderr, ">>> READ BINARY FILE ERROR <<< (dw=%d row=%d)\n", dw, row);
                return false;
            }
        ExpectationValue(rt.n, op, &rho, &value);
        if (!write_value(out, as_text, dw, value)) {
            print_write_error(dw);
            return false;
        }
    }
    return true;
}

// 1 text, 2 raw doubles; 0 after a message.
static int ask_table_format(void)
{
    int choice;
    std::printf("Create:\n");
    std::printf("       1. SG-plot file (ASCII)\n");
    std::printf("       2. Raw binary double file (one value per dw step)\n");
    std::printf("Your choice [1,2] : ");
    if (ConsoleReadInt(&choice) && (choice == 1 || choice == 2))
        return choice;
    std::fprintf(stderr, "ExpValNDensMat: invalid choice\n");
    return 0;
}

static bool ask_table_name(bool as_text, char *name)
{
    char line[NAME_SIZE + 1];
    std::printf(as_text ? "Output text file name : " : "Output binary file name : ");
    if (ConsoleReadLine(line, sizeof line) && std::strlen(line) < NAME_SIZE) {
        trim_operator_token(line);
        std::strcpy(name, line);
        if (*name)
            return true;
    }
    std::fprintf(stderr, "ExpValNDensMat: invalid output name\n");
    return false;
}

static bool make_table(void)
{
    static CMatrix op;
    char name[NAME_SIZE];
    int count = 0;
    const FilePtr in = open_table_input(&count);
    if (!in)
        return false;
    ExpectationOperator(rt.n, rt.Nspins, rt.Ilist, rt.ket, &op);
    const int format = ask_table_format();
    const bool as_text = format == 1;
    if (format == 0 || !ask_table_name(as_text, name))
        return false;
    OutputFile out;
    if (!open_output(&out, name)) {
        std::perror(as_text ? "ExpValNDensMat: fopen(out text)" : "ExpValNDensMat: fopen(out bin)");
        return false;
    }
    if (!write_table(in.get(), count, &op, out.file, as_text)) {
        discard_output(&out);
        return false;
    }
    if (!commit_output(&out)) {
        print_write_error(count);
        return false;
    }
    return true;
}

void ExpValNDensMat(void)
{
    if (make_table())
        std::printf("Done. ");
    wait_after_message();
}

void CalcExpVal(void)
{
    std::printf("****************************************************\n");
    std::printf("***       CALCULATION OF EXPECTATION VALUES      ***\n");
    std::printf("****************************************************\n\n");
    std::printf("Possible actions :\n\n");
    std::printf("          1. Calculate expectation values of operators (from dm.bin)\n");
    std::printf("          2. Continue to main menu\n\n");
    for (;;) {
        int choice = 0;
        std::printf("Your choice [1,2] : ");
        const bool read = ConsoleReadInt(&choice);
        ConsoleDropLine();
        if (choice == 1)
            ExpValNDensMat();
        if (choice == 1 || choice == 2 || (!read && ConsoleAtEnd()))
            return;
    }
}
