// The menu around dm.bin as whole sessions, the list of *.bin files, and the first matrix of
// dm.bin loaded into the runtime state.
#include "binaryfilehandling.h"

#include "console.h"
#include "matrices.h"
#include "tempdir.h"
#include "zan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

const std::string menu = "\n"
                         "Binary File Manipulation\n"
                         "\n"
                         "1. Copy dm.bin to {Filename}\n"
                         "2. Copy existing {Filename} to dm.bin\n"
                         "3. List *.bin files in current directory\n"
                         "4. Change number of density matrices and dimension\n"
                         "5. Quit\n"
                         "\n"
                         "Your choice [1..5] is: ";

struct Session {
    binfh_status status;
    std::string out, err;
    int ndw = 12, n = 4;
};

class BinFileMenu : public testing::Test
{
  protected:
    static Session run(const std::string &answers)
    {
        Session s;
        feed_stdin(answers);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        s.status = BinFileActions_status(&s.ndw, &s.n);
        s.out = testing::internal::GetCapturedStdout();
        s.err = testing::internal::GetCapturedStderr();
        return s;
    }

    WorkDir dir;
};

void expect_session(const Session &s, binfh_status status, const std::string &out)
{
    EXPECT_EQ(s.status, status);
    EXPECT_EQ(s.out, out);
}

TEST_F(BinFileMenu, QuitsWithoutTouchingAnything)
{
    const Session s = run("5 rest\nnext\n");
    expect_session(s, BINFH_OK, menu);
    EXPECT_EQ(s.err, "");
    EXPECT_EQ(s.ndw, 12);
    EXPECT_EQ(s.n, 4);
    EXPECT_EQ(rest_of_stdin(), "next\n");
    EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST_F(BinFileMenu, CopiesDmBinToAName)
{
    dir.write("dm.bin", "matrices");
    expect_session(run("1\nkeep%s.bin\n5\n"), BINFH_OK,
                   menu + "Copy dm.bin to filename: Copied dm.bin -> keep%s.bin\n" + menu);
    EXPECT_EQ(dir.read("keep%s.bin"), "matrices");
    EXPECT_EQ(dir.read("dm.bin"), "matrices");
}

TEST_F(BinFileMenu, CopiesANameToDmBin)
{
    dir.write("dm.bin", "old");
    dir.write("kept.bin", "matrices");
    expect_session(run("2 kept.bin 5"), BINFH_OK,
                   menu + "Copy filename to dm.bin. Filename: Copied kept.bin -> dm.bin\n" + menu);
    EXPECT_EQ(dir.read("dm.bin"), "matrices");
}

TEST_F(BinFileMenu, TellsACopyThatFailed)
{
    dir.write("kept.bin", "old");
    const Session to = run("1\nkept.bin\n5\n");
    expect_session(to, BINFH_OK, menu + "Copy dm.bin to filename: Copy failed.\n" + menu);
    EXPECT_EQ(to.err, std::string("fopen(src): ") + std::strerror(ENOENT) + "\n");
    EXPECT_EQ(dir.read("kept.bin"), "old");
    const Session from = run("2\nmissing.bin\n5\n");
    expect_session(from, BINFH_OK,
                   menu + "Copy filename to dm.bin. Filename: Copy failed.\n" + menu);
    EXPECT_EQ(from.err, std::string("fopen(src): ") + std::strerror(ENOENT) + "\n");
    EXPECT_FALSE(dir.exists("dm.bin"));
}

TEST_F(BinFileMenu, ANameOf256CharactersIsRefusedNotCut)
{
    const std::string fits(255, 'n');
    dir.write("dm.bin", "matrices");
    const Session to = run("1\n" + fits + "n\n5\n");
    expect_session(to, BINFH_OK, menu + "Copy dm.bin to filename: Copy failed.\n" + menu);
    EXPECT_EQ(to.err, std::string("fopen(dst): ") + std::strerror(ENAMETOOLONG) + "\n");
    EXPECT_FALSE(dir.exists(fits));
    dir.write(fits, "other");
    const Session from = run("2\n" + fits + "n\n5\n");
    expect_session(from, BINFH_OK,
                   menu + "Copy filename to dm.bin. Filename: Copy failed.\n" + menu);
    EXPECT_EQ(from.err, std::string("fopen(src): ") + std::strerror(ENAMETOOLONG) + "\n");
    EXPECT_EQ(dir.read("dm.bin"), "matrices");
}

TEST_F(BinFileMenu, ListsTheBinFiles)
{
    dir.write("dm.bin", "");
    dir.write("B.BIN", "");
    dir.write("a.bin.txt", "");
    dir.make_dir("folder.bin");
    expect_session(run("3\n5\n"), BINFH_OK,
                   menu + "*.bin files in current directory:\n  B.BIN\n  dm.bin\n" + menu);
}

TEST_F(BinFileMenu, ChangesTheCountsWhenAsked)
{
    const std::string actual = "Actual number density matrices = 12\n"
                               "Actual dimension of density matrix = 4\n"
                               "Change this? [1=yes, 2=no]: ";
    Session s = run("4\n1\n30\n16\n5\n");
    expect_session(s, BINFH_OK,
                   menu + actual +
                       "New number of density matrices: New dimension of the matrices: Updated.\n" +
                       menu);
    EXPECT_EQ(s.ndw, 30);
    EXPECT_EQ(s.n, 16);
    for (const char *answers : {"4\n2\n5\n", "4\n0\n5\n"}) {
        s = run(answers);
        expect_session(s, BINFH_OK, menu + actual + menu);
        EXPECT_EQ(s.ndw, 12);
        EXPECT_EQ(s.n, 4);
    }
}

TEST_F(BinFileMenu, AsksAgainAfterWhatIsNoChoice)
{
    expect_session(run("9\n0\nx 5 5\n5\n"), BINFH_OK,
                   menu + "Unknown choice.\n" + menu + "Unknown choice.\n" + menu +
                       "Invalid input.\n" + menu);
}

TEST_F(BinFileMenu, EndsWhenAnAnswerCannotBeRead)
{
    const char counts[] = "Actual number density matrices = 12\n"
                          "Actual dimension of density matrix = 4\n"
                          "Change this? [1=yes, 2=no]: ";
    expect_session(run("1"), BINFH_ERR_IO, menu + "Copy dm.bin to filename: ");
    expect_session(run("2\n"), BINFH_ERR_IO, menu + "Copy filename to dm.bin. Filename: ");
    expect_session(run("4\nx\n5\n"), BINFH_ERR_IO, menu + counts);
    expect_session(run("4\n1\nx\n5\n"), BINFH_ERR_IO,
                   menu + counts + "New number of density matrices: ");
    const Session s = run("4\n1\n30\nx\nnext\n");
    expect_session(s, BINFH_ERR_IO,
                   menu + counts +
                       "New number of density matrices: New dimension of the matrices: ");
    EXPECT_EQ(s.n, 4);
    EXPECT_EQ(rest_of_stdin(), "next\n");
    expect_session(run(""), BINFH_ERR_IO, menu + "Invalid input.\n");
}

TEST_F(BinFileMenu, NullCountsAreRefusedBeforeAnythingIsPrinted)
{
    int count = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(BinFileActions_status(nullptr, &count), BINFH_ERR_NULLPTR);
    EXPECT_EQ(BinFileActions_status(&count, nullptr), BINFH_ERR_NULLPTR);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(BinFileMenu, ThePlainFormKeepsTheStatus)
{
    int ndw = 1, n = 2;
    testing::internal::CaptureStdout();
    binfh_last_status = BINFH_ERR_BADARG;
    feed_stdin("5\n");
    BinFileActions(&ndw, &n);
    EXPECT_EQ(binfh_last_status, BINFH_OK);
    BinFileActions(nullptr, &n);
    EXPECT_EQ(binfh_last_status, BINFH_ERR_NULLPTR);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), menu);
}

std::string printed_list()
{
    testing::internal::CaptureStdout();
    list_bin_files_in_cwd();
    return testing::internal::GetCapturedStdout();
}

TEST_F(BinFileMenu, SaysSoWhenNoBinFileIsThere)
{
    dir.write("a.txt", "");
    dir.write("bin", "");
    EXPECT_EQ(printed_list(), "(no .bin files found in current directory)\n");
}

TEST_F(BinFileMenu, ListsNothingWhenAllMatchesAreDirectories)
{
    dir.make_dir("one.bin");
    dir.make_dir("two.BIN");
    EXPECT_EQ(printed_list(), "");
}

// ----------------------------------------------------------------- the first matrix of dm.bin

CMatrix first, second;

// Two matrices of dimension n behind a header that says type and n.
void write_dm_bin(int type, int n)
{
    const FilePtr out{std::fopen("dm.bin", "wb")};
    random_matrix(n, 1, &first);
    random_matrix(n, 2, &second);
    ASSERT_EQ(WriteBinFileHeader_status(out.get(), type, n, 2), BINFH_OK);
    for (const CMatrix *mat : {&first, &second})
        for (int row = 1; row <= n; row++)
            ASSERT_TRUE(write_cmatrix_row(out.get(), n, mat, row));
}

bool load(int n, std::string *out)
{
    testing::internal::CaptureStdout();
    const bool loaded = load_density_matrix_from_dm_bin(n);
    *out = testing::internal::GetCapturedStdout();
    return loaded;
}

TEST_F(BinFileMenu, TheFirstMatrixOfDmBinIsLoadedAndShown)
{
    std::string out;
    for (const int type : {0, 1, 77}) { // the type is not looked at
        write_dm_bin(type, 5);
        fill_all(&rt.densmat, -9.0);
        EXPECT_TRUE(load(5, &out));
        EXPECT_TRUE(same_elements(5, rt.densmat, first));
        EXPECT_EQ(rt.densmat[6][6][COMPLEX_RE], -9.0);
        EXPECT_EQ(out.substr(0, out.find('\n') + 1), "densmat read from file:\n");
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 5); // of five rows, four
    }
}

TEST_F(BinFileMenu, ADmBinThatDoesNotFitIsRefused)
{
    std::string out;
    EXPECT_FALSE(load(4, &out)); // missing
    write_dm_bin(0, 4);
    EXPECT_FALSE(load(5, &out));
    EXPECT_FALSE(load(3, &out));
    EXPECT_TRUE(load(4, &out));
    fs::resize_file("dm.bin", 12 + 4 * 4 * 16 - 1);
    EXPECT_FALSE(load(4, &out));
    EXPECT_EQ(out, "");
    testing::internal::CaptureStderr();
    fs::resize_file("dm.bin", 8);
    EXPECT_FALSE(load(4, &out));
    EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 13), "fread(num2): ");
}

TEST(MatrixCorner, IsTheLabelAndAtMostFourRowsAndColumns)
{
    fill_all(&first, 9.0);
    for (int row = 1; row <= 6; row++)
        for (int col = 1; col <= 6; col++) {
            first[row][col][COMPLEX_RE] = row;
            first[row][col][COMPLEX_IM] = -0.5 * col;
        }
    testing::internal::CaptureStdout();
    DebugPrintCMatrixCorner("100%s of it:", 2, &first);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "100%s of it:\n"
              "  ( 1.000000e+00, -5.000000e-01)  ( 1.000000e+00, -1.000000e+00)\n"
              "  ( 2.000000e+00, -5.000000e-01)  ( 2.000000e+00, -1.000000e+00)\n");
    testing::internal::CaptureStdout();
    DebugPrintCMatrixCorner("corner", 6, &first);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 5);
    EXPECT_EQ(std::count(out.begin(), out.end(), '('), 16);
    EXPECT_EQ(out.find("( 5."), std::string::npos);
}

} // namespace
