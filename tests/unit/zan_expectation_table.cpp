// zan_expectation_table.cpp - tables of expectation values: what is written, and every message.
#include "console.h"
#include "engine_fixture.h"

#include <cstring>
#include <filesystem>

using ExpectationTable = EngineTest;

namespace
{

// Two matrices of one spin 1/2: 0.5 + Iz, and Ix + 0.25i·Iy.
DensityFile two_matrices(void)
{
    DensityFile file;
    file.type = 0;
    file.n = 2;
    file.count = 2;
    file.rho = {1.0, 0.0, 0.0, 0.0, 0.0, Complex(0.625), Complex(0.375), 0.0};
    return file;
}

void prepare(void)
{
    build_spins({{1}});
    write_densities("dm.bin", two_matrices());
}

Console typed(const std::string &answers, void dialog(void))
{
    feed_stdin(answers);
    return captured(dialog);
}

Console table(const std::string &answers)
{
    return typed(answers, ExpValNDensMat);
}

const char pause_line[] = "Press <Enter> to continue";

// Only this message and the wait.
void expect_refused(const Console &console, const std::string &message)
{
    EXPECT_EQ(console.err, message);
    EXPECT_TRUE(console.out.ends_with(pause_line)) << console.out;
    EXPECT_EQ(console.out.find("Done."), std::string::npos);
}

} // namespace

// ------------------------------------------------------------------------- what is written

TEST_F(ExpectationTable, AsTextHasALinePerMatrix)
{
    prepare();
    const Console console = table("1\nIz\n1\nout file.txt\n\n");
    EXPECT_TRUE(console.out.ends_with("Selected: IZ\n"
                                      "Create:\n"
                                      "       1. SG-plot file (ASCII)\n"
                                      "       2. Raw binary double file (one value per dw step)\n"
                                      "Your choice [1,2] : "
                                      "Output text file name : "
                                      "Done. Press <Enter> to continue"))
        << console.out;
    EXPECT_EQ(console.err, "");
    int dw[2];
    double re[2], im[2];
    char heading[64], rest;
    const std::string text = read_text("out file.txt");
    ASSERT_EQ(std::sscanf(text.c_str(), "%63[^\n] %d %lg %lg %d %lg %lg %c", heading, &dw[0],
                          &re[0], &im[0], &dw[1], &re[1], &im[1], &rest),
              7)
        << text;
    EXPECT_STREQ(heading, "# index    expectation_re    expectation_im");
    EXPECT_EQ(count_of(text, "\n    1   "), 1);
    EXPECT_EQ(count_of(text, "\n    2   "), 1);
    EXPECT_EQ(count_of(text, "\n"), 3);
}

// The values are those of ExpectationValue, in the order of the file.
TEST_F(ExpectationTable, HoldsTheExpectationValues)
{
    static CMatrix op, rho;
    prepare();
    table("1\nIz\n1\nt.txt\n");
    create_norm_operator_spinhalf(2, 1, rt.Ilist, rt.ket, "z", &op);
    std::string lines = "# index    expectation_re    expectation_im\n";
    const DensityFile file = two_matrices();
    for (int dw = 1; dw <= 2; dw++) {
        Complex2 value;
        char line[80];
        for (int i = 1; i <= 2; i++)
            for (int j = 1; j <= 2; j++) {
                rho[i][j][COMPLEX_RE] = file.at(dw, i, j).real();
                rho[i][j][COMPLEX_IM] = file.at(dw, i, j).imag();
            }
        ExpectationValue(2, &op, &rho, &value);
        std::snprintf(line, sizeof line, "%5d   %.18g   %.18g\n", dw, value[COMPLEX_RE],
                      value[COMPLEX_IM]);
        lines += line;
    }
    EXPECT_EQ(read_text("t.txt"), lines);
}

TEST_F(ExpectationTable, AsDoublesHasTheRealParts)
{
    prepare();
    const Console console = table("2\n1 1 1 1\n5\n2\nt.bin\n"); // I+
    EXPECT_EQ(count_of(console.out, "Output binary file name : "), 1);
    const std::string bytes = read_text("t.bin");
    double values[2];
    ASSERT_EQ(bytes.size(), sizeof values);
    std::memcpy(values, bytes.data(), sizeof values);
    EXPECT_EQ(values[0], 0.0);
    EXPECT_EQ(values[1], 0.375);
}

TEST_F(ExpectationTable, ReplacesAnOlderFile)
{
    prepare();
    write_bytes("t.txt", std::string(1000, 'x'));
    table("1\nIz\n1\nt.txt\n");
    EXPECT_TRUE(read_text("t.txt").starts_with("# index"));
    EXPECT_EQ(count_of(read_text("t.txt"), "x"), 3);
}

TEST_F(ExpectationTable, TheOperatorOfTheStateIsLeftAlone)
{
    prepare();
    ASSERT_EQ(ZANDefineCurrentExpectationOperatorExpression("Iy"), 1);
    const std::vector<Complex> before = packed(2, rt.Istat);
    table("1\nIz\n1\nt.txt\n");
    EXPECT_EQ(packed(2, rt.Istat), before);
}

TEST_F(ExpectationTable, ANameOf511CharactersFits)
{
    prepare();
    const std::string directory(200, 'd');
    std::filesystem::create_directories(directory + "/" + directory);
    const std::string name = directory + "/" + directory + "/" + std::string(109, 'n');
    ASSERT_EQ(name.size(), 511u);
    EXPECT_EQ(table("1\nIz\n1\n" + name + "\n").err, "");
    EXPECT_TRUE(file_is_there(name));
    // One more, be it a blank, and the end of the name could be missing.
    expect_refused(table("1\nIz\n1\n " + name + "\n"), "ExpValNDensMat: invalid output name\n");
}

// -------------------------------------------------------------------------------- messages

TEST_F(ExpectationTable, NeedsAFile)
{
    build_spins({{1}});
    const Console console = table("");
    expect_refused(console, missing_file_message("ExpValNDensMat: fopen(dm.bin)"));
    EXPECT_EQ(console.out, pause_line);
}

TEST_F(ExpectationTable, NeedsAWholeHeader)
{
    build_spins({{1}});
    for (const char *bytes : {"", "12345678901"}) {
        write_bytes("dm.bin", bytes);
        const Console console = table("");
        EXPECT_TRUE(
            console.err.ends_with("ExpValNDensMat: failed to read binary header from dm.bin\n"));
        EXPECT_EQ(console.out, pause_line);
    }
}

TEST_F(ExpectationTable, NeedsASpinSystem)
{
    write_densities("dm.bin", two_matrices());
    expect_refused(table(""), "ExpValNDensMat: define spin system first.\n");
    rt.spinsystemdefined = 1;
    expect_refused(table(""), "ExpValNDensMat: define spin system first.\n");
}

TEST_F(ExpectationTable, NeedsAnUnderstandableDimension)
{
    build_spins({{1}});
    DensityFile file;
    file.type = 0;
    for (const int n : {0, -1, 257, 2147483647}) {
        file.n = n;
        write_densities("dm.bin", file);
        expect_refused(table(""), "ExpValNDensMat: unsupported matrix dimension fn=" +
                                      std::to_string(n) + " (max 256)\n");
    }
}

TEST_F(ExpectationTable, NeedsMatricesOfTheSpinSystem)
{
    build_spins({{1, 1}});
    write_densities("dm.bin", two_matrices());
    expect_refused(table(""), "ExpValNDensMat: dm.bin holds type=0 n=2; expected type=0 n=4\n");
    build_spins({{1}});
    DensityFile file = two_matrices();
    file.type = 1;
    write_densities("dm.bin", file);
    expect_refused(table(""), "ExpValNDensMat: dm.bin holds type=1 n=2; expected type=0 n=2\n");
}

TEST_F(ExpectationTable, NeedsAFormatAndAName)
{
    prepare();
    for (const char *format : {"0\n", "3\n", "x\n", "-1\n", ""})
        expect_refused(table("1\nIz\n" + std::string(format)), "ExpValNDensMat: invalid choice\n");
    for (const std::string &name :
         {std::string("\n"), std::string(" \t \n"), std::string(), std::string(512, 'n')})
        for (const char *format : {"1\n", "2\n"})
            expect_refused(table("1\nIz\n" + std::string(format) + name),
                           "ExpValNDensMat: invalid output name\n");
}

TEST_F(ExpectationTable, NeedsAFileThatCanBeWritten)
{
    prepare();
    expect_refused(table("1\nIz\n1\nno/such/file\n"),
                   missing_file_message("ExpValNDensMat: fopen(out text)"));
    expect_refused(table("1\nIz\n2\nno/such/file\n"),
                   missing_file_message("ExpValNDensMat: fopen(out bin)"));
}

TEST_F(ExpectationTable, AShortFileNamesMatrixAndRow)
{
    prepare();
    write_bytes("t.txt", "old");
    const std::string bytes = read_text("dm.bin");
    struct {
        size_t kept;
        const char *message;
    } const cases[] = {
        {12, ">>> READ BINARY FILE ERROR <<< (dw=1 row=1)\n"},
        {12 + 32, ">>> READ BINARY FILE ERROR <<< (dw=1 row=2)\n"},
        {12 + 64 + 31, ">>> READ BINARY FILE ERROR <<< (dw=2 row=1)\n"},
        {12 + 127, ">>> READ BINARY FILE ERROR <<< (dw=2 row=2)\n"},
    };
    for (const auto &c : cases) {
        write_bytes("dm.bin", bytes.substr(0, c.kept));
        expect_refused(table("1\nIz\n1\nt.txt\n"), c.message);
        EXPECT_EQ(read_text("t.txt"), "old"); // no table rather than half of one
    }
    int files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(".")) {
        (void)entry;
        files++;
    }
    EXPECT_EQ(files, 2); // nothing else stays behind
}

TEST_F(ExpectationTable, AFullDiskIsAWriteError)
{
    if (!file_is_there("/dev/full"))
        GTEST_SKIP() << "no /dev/full here";
    prepare();
    for (const char *format : {"1", "2"})
        expect_refused(table("1\nIz\n" + std::string(format) + "\n/dev/full\n"),
                       ">>> WRITE BINARY FILE ERROR <<< (dw=2)\n");
}

// ------------------------------------------------------------------------------------ menu

static const char menu[] = "****************************************************\n"
                           "***       CALCULATION OF EXPECTATION VALUES      ***\n"
                           "****************************************************\n"
                           "\n"
                           "Possible actions :\n"
                           "\n"
                           "          1. Calculate expectation values of operators (from dm.bin)\n"
                           "          2. Continue to main menu\n"
                           "\n";

TEST_F(ExpectationTable, TheMenuAsksUntilOneOrTwo)
{
    const std::string question = "Your choice [1,2] : ";
    EXPECT_EQ(typed("2\n", CalcExpVal).out, menu + question);
    EXPECT_EQ(typed("0\n3 2\nx 2\n-1\n2\n", CalcExpVal).out,
              menu + question + question + question + question + question);
    EXPECT_EQ(typed("", CalcExpVal).out, menu + question);
    EXPECT_EQ(typed("x\n", CalcExpVal).out, menu + question + question);
}

TEST_F(ExpectationTable, TheMenuReturnsAfterATable)
{
    prepare();
    const Console console = typed("1 1 1\n1\nIz\n1\nt.txt\n\n2\n", CalcExpVal);
    EXPECT_TRUE(console.out.ends_with("Done. Press <Enter> to continue"));
    EXPECT_EQ(rest_of_stdin(), "2\n");
    EXPECT_TRUE(file_is_there("t.txt"));
}
