// binaryfilehandling.cpp - headers, matrices in files, copies, and output files that appear
// only when complete.
#include "binaryfilehandling.h"

#include "propagatorlib.h"

#include "matrices.h"
#include "platformlib.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <vector>

namespace
{

CMatrix A, B;

// A path in the tests' temporary folder that is this process's own.
std::string temp_path(const std::string &name)
{
    return testing::TempDir() + "zan-" + std::to_string(plat_process_id()) + "-" + name;
}

void write_bytes(const std::string &path, const std::string &bytes)
{
    FilePtr f{std::fopen(path.c_str(), "wb")};
    ASSERT_TRUE(f);
    ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), f.get()), bytes.size());
}

std::string read_bytes(const std::string &path)
{
    FilePtr f{std::fopen(path.c_str(), "rb")};
    std::string bytes;
    for (int c; f && (c = std::fgetc(f.get())) != EOF;) {
        bytes.push_back(static_cast<char>(c));
    }
    return bytes;
}

// A temporary file that is read and written and goes when closed.
struct Scratch {
    FilePtr file{std::tmpfile()};
    FILE *get() { return file.get(); }
    void rewind() { std::rewind(file.get()); }
};

class BinFiles : public testing::Test
{
  protected:
    void SetUp() override { binfh_last_status = BINFH_OK; }
    void TearDown() override
    {
        for (const char *name : {"src", "dst", "out"}) {
            std::filesystem::remove_all(temp_path(name));
        }
    }
};

// ------------------------------------------------------------------------------------- header

TEST_F(BinFiles, StatusCodesHaveTheirValues)
{
    EXPECT_EQ(BINFH_OK, 0);
    EXPECT_EQ(BINFH_ERR_NULLPTR, 1);
    EXPECT_EQ(BINFH_ERR_IO, 2);
    EXPECT_EQ(BINFH_ERR_BADARG, 3);
    EXPECT_EQ(sizeof(binfh_status), 4u);
}

TEST_F(BinFiles, AHeaderIsThreeNativeIntegers)
{
    Scratch f;
    EXPECT_EQ(WriteBinFileHeader_status(f.get(), 1, -2, 0x01020304), BINFH_OK);
    EXPECT_EQ(std::ftell(f.get()), 12);
    f.rewind();
    int32_t raw[3] = {};
    ASSERT_EQ(std::fread(raw, 4, 3, f.get()), 3u);
    EXPECT_EQ(raw[0], 1);
    EXPECT_EQ(raw[1], -2);
    EXPECT_EQ(raw[2], 0x01020304);
    f.rewind();
    int32_t type = 9, num1 = 9, num2 = 9;
    EXPECT_EQ(ReadBinFileHeader_status(f.get(), &type, &num1, &num2), BINFH_OK);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(num1, -2);
    EXPECT_EQ(num2, 0x01020304);
}

TEST_F(BinFiles, AShortHeaderIsToldAndLeavesTheFields)
{
    const struct {
        size_t bytes;
        const char *call;
    } cases[] = {
        {0, "fread(type)"}, {3, "fread(type)"},  {4, "fread(num1)"},
        {8, "fread(num2)"}, {11, "fread(num2)"},
    };
    for (const auto &c : cases) {
        write_bytes(temp_path("src"), std::string(c.bytes, '\1'));
        FilePtr f{std::fopen(temp_path("src").c_str(), "rb")};
        int32_t type = 9, num1 = 8, num2 = 7;
        testing::internal::CaptureStderr();
        errno = ENOENT;
        EXPECT_EQ(ReadBinFileHeader_status(f.get(), &type, &num1, &num2), BINFH_ERR_IO);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string(c.call) + ": " + std::strerror(0) + "\n"); // not a stale error
        std::rewind(f.get());
        testing::internal::CaptureStderr();
        ReadBinFileHeader(f.get(), &type, &num1, &num2);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(binfh_last_status, BINFH_ERR_IO);
        EXPECT_EQ(type, 9);
        EXPECT_EQ(num1, 8);
        EXPECT_EQ(num2, 7);
    }
}

TEST_F(BinFiles, AHeaderThatCannotBeWrittenIsTold)
{
    write_bytes(temp_path("src"), "");
    FilePtr f{std::fopen(temp_path("src").c_str(), "rb")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(WriteBinFileHeader_status(f.get(), 0, 1, 2), BINFH_ERR_IO);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(told.substr(0, 14), "fwrite(type): ");
    testing::internal::CaptureStderr();
    WriteBinFileHeaderI(f.get(), 0, 1, 2);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(binfh_last_status, BINFH_ERR_IO);
}

TEST_F(BinFiles, NullArgumentsOfHeaders)
{
    Scratch f;
    int32_t a = 9, b = 9, c = 9;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ReadBinFileHeader_status(nullptr, &a, &b, &c), BINFH_ERR_NULLPTR);
    EXPECT_EQ(ReadBinFileHeader_status(f.get(), nullptr, &b, &c), BINFH_ERR_NULLPTR);
    EXPECT_EQ(ReadBinFileHeader_status(f.get(), &a, nullptr, &c), BINFH_ERR_NULLPTR);
    EXPECT_EQ(ReadBinFileHeader_status(f.get(), &a, &b, nullptr), BINFH_ERR_NULLPTR);
    EXPECT_EQ(WriteBinFileHeader_status(nullptr, 0, 1, 2), BINFH_ERR_NULLPTR);
    ReadBinFileHeader(f.get(), &a, &b, nullptr);
    EXPECT_EQ(binfh_last_status, BINFH_ERR_NULLPTR);
    binfh_last_status = BINFH_OK;
    WriteBinFileHeader(f.get(), &a, nullptr, &c);
    EXPECT_EQ(binfh_last_status, BINFH_ERR_NULLPTR);
    binfh_last_status = BINFH_OK;
    WriteBinFileHeader(nullptr, &a, &b, &c);
    EXPECT_EQ(binfh_last_status, BINFH_ERR_NULLPTR);
    binfh_last_status = BINFH_OK;
    WriteBinFileHeaderI(nullptr, 0, 1, 2);
    EXPECT_EQ(binfh_last_status, BINFH_ERR_NULLPTR);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(a, 9);
    EXPECT_EQ(std::ftell(f.get()), 0);
}

TEST_F(BinFiles, PlainHeaderFormsWriteReadAndResetTheStatus)
{
    Scratch f;
    const int type = 0, num1 = 4, num2 = 27;
    binfh_last_status = BINFH_ERR_IO;
    WriteBinFileHeader(f.get(), &type, &num1, &num2);
    EXPECT_EQ(binfh_last_status, BINFH_OK);
    binfh_last_status = BINFH_ERR_IO;
    WriteBinFileHeaderI(f.get(), 1, 2, 3);
    EXPECT_EQ(binfh_last_status, BINFH_OK);
    f.rewind();
    int t = 9, a = 9, b = 9;
    binfh_last_status = BINFH_ERR_IO;
    ReadBinFileHeader(f.get(), &t, &a, &b);
    EXPECT_EQ(binfh_last_status, BINFH_OK);
    EXPECT_EQ(t, 0);
    EXPECT_EQ(a, 4);
    EXPECT_EQ(b, 27);
    ReadBinFileHeader(f.get(), &t, &a, &b);
    EXPECT_EQ(t, 1);
    EXPECT_EQ(b, 3);
}

// --------------------------------------------------------------------------------------- rows

TEST_F(BinFiles, ARowIsRealAndImaginaryPartsInColumnOrder)
{
    Scratch f;
    random_matrix(3, 1, &A);
    ASSERT_TRUE(write_cmatrix_row(f.get(), 3, &A, 2));
    EXPECT_EQ(std::ftell(f.get()), 48);
    f.rewind();
    double raw[6];
    ASSERT_EQ(std::fread(raw, 8, 6, f.get()), 6u);
    for (int k = 1; k <= 3; k++) {
        EXPECT_EQ(raw[2 * k - 2], A[2][k][COMPLEX_RE]);
        EXPECT_EQ(raw[2 * k - 1], A[2][k][COMPLEX_IM]);
    }
    f.rewind();
    fill_all(&B, 7.0);
    ASSERT_TRUE(read_cmatrix_row(f.get(), 3, &B, 1));
    for (int k = 1; k <= 3; k++) {
        EXPECT_EQ(B[1][k][0], 0.0);
        EXPECT_EQ(B[1][k][COMPLEX_RE], A[2][k][COMPLEX_RE]);
        EXPECT_EQ(B[1][k][COMPLEX_IM], A[2][k][COMPLEX_IM]);
    }
    EXPECT_EQ(B[1][0][0], 7.0);
    EXPECT_EQ(B[1][4][0], 7.0);
    EXPECT_EQ(B[2][1][1], 7.0);
}

TEST_F(BinFiles, RowsRefuseBadArgumentsWithoutReading)
{
    Scratch f;
    random_matrix(4, 1, &A);
    for (int n : {0, -1, 258}) {
        EXPECT_FALSE(write_cmatrix_row(f.get(), n, &A, 1)) << n;
        EXPECT_EQ(std::ftell(f.get()), 0);
    }
    for (int row = 1; row <= 4; row++) {
        ASSERT_TRUE(write_cmatrix_row(f.get(), 4, &A, row));
    }
    f.rewind();
    fill_all(&B, 7.0);
    const struct {
        int n, row;
    } refused[] = {{4, 0}, {4, 5}, {4, 257}, {4, -1}, {0, 1}, {-1, 1}, {258, 1}};
    for (const auto &c : refused) {
        EXPECT_FALSE(read_cmatrix_row(f.get(), c.n, &B, c.row)) << c.n << " " << c.row;
        EXPECT_EQ(std::ftell(f.get()), 0);
    }
    EXPECT_FALSE(read_cmatrix_row(nullptr, 4, &B, 1));
    EXPECT_TRUE(outside_is(0, B, 7.0));
}

TEST_F(BinFiles, AShortRowChangesNothingAndSaysNothing)
{
    Scratch f;
    random_matrix(3, 1, &A);
    ASSERT_TRUE(write_cmatrix_row(f.get(), 3, &A, 1));
    f.rewind();
    fill_all(&B, 7.0);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(read_cmatrix_row(f.get(), 4, &B, 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(outside_is(0, B, 7.0));
}

TEST_F(BinFiles, ARowThatCannotBeWrittenIsFalse)
{
    write_bytes(temp_path("src"), "");
    FilePtr f{std::fopen(temp_path("src").c_str(), "rb")};
    EXPECT_FALSE(write_cmatrix_row(f.get(), 3, &A, 1));
}

TEST_F(BinFiles, RowsOf257ElementsAreAcceptedAndStayInsideTheMatrix)
{
    Scratch f;
    fill_all(&A, 3.0);
    ASSERT_TRUE(write_cmatrix_row(f.get(), 257, &A, 256));
    EXPECT_EQ(std::ftell(f.get()), 257 * 16);
    f.rewind();
    fill_all(&B, 7.0);
    ASSERT_TRUE(read_cmatrix_row(f.get(), 257, &B, 256));
    EXPECT_EQ(B[256][256][COMPLEX_RE], 3.0);
    EXPECT_EQ(B[256][0][COMPLEX_RE], 7.0);
    EXPECT_EQ(B[255][256][COMPLEX_RE], 7.0);
    f.rewind();
    fill_all(&B, 7.0);
    ASSERT_TRUE(read_cmatrix_row(f.get(), 257, &B, 1));
    EXPECT_EQ(B[1][256][COMPLEX_RE], 3.0);
    EXPECT_EQ(B[2][0][COMPLEX_RE], 7.0);
    f.rewind();
    fill_all(&B, 7.0);
    EXPECT_TRUE(read_cmatrix_row(f.get(), 257, &B, 257));
    EXPECT_TRUE(outside_is(0, B, 7.0));
}

TEST_F(BinFiles, ADensityMatrixIsReadFromTheCurrentPosition)
{
    Scratch f;
    const int n = 4;
    random_matrix(n, 2, &A);
    WriteBinFileHeader_status(f.get(), 0, n, 1);
    for (int row = 1; row <= n; row++) {
        ASSERT_TRUE(write_cmatrix_row(f.get(), n, &A, row));
    }
    EXPECT_EQ(std::ftell(f.get()), 12 + n * n * 16);
    ASSERT_EQ(std::fseek(f.get(), 12, SEEK_SET), 0);
    fill_all(&B, 7.0);
    EXPECT_EQ(read_density_matrix(f.get(), n, n, &B), 1);
    EXPECT_TRUE(same_elements(n, B, A));
    EXPECT_EQ(B[2][3][0], 0.0);

    // Fewer rows than columns, then a file that ends in the second row.
    ASSERT_EQ(std::fseek(f.get(), 12, SEEK_SET), 0);
    fill_all(&B, 7.0);
    EXPECT_EQ(read_density_matrix(f.get(), n, 2, &B), 1);
    EXPECT_EQ(B[2][4][COMPLEX_RE], A[2][4][COMPLEX_RE]);
    EXPECT_EQ(B[3][1][COMPLEX_RE], 7.0);
    ASSERT_EQ(std::fseek(f.get(), 12 + 2 * n * 16 + 16, SEEK_SET), 0);
    fill_all(&B, 7.0);
    EXPECT_EQ(read_density_matrix(f.get(), n, n, &B), 0);
    EXPECT_EQ(B[1][1][COMPLEX_RE], A[3][2][COMPLEX_RE]);
    EXPECT_EQ(B[2][1][COMPLEX_RE], 7.0);
}

TEST_F(BinFiles, ADensityMatrixOfBadDimensionsIsRefused)
{
    Scratch f;
    EXPECT_EQ(read_density_matrix(nullptr, 2, 2, &B), 0);
    for (int bad : {0, -1, 258}) {
        EXPECT_EQ(read_density_matrix(f.get(), bad, 2, &B), 0);
        EXPECT_EQ(read_density_matrix(f.get(), 2, bad, &B), 0);
    }
}

// ------------------------------------------------------------------------------------- packed

TEST_F(BinFiles, PackedMatricesHaveTheLayoutOfTheRows)
{
    Scratch f;
    const int n = 5;
    random_matrix(n, 3, &A);
    std::vector<Complex> packed(n * n);
    pack_matrix(n, &A, packed.data());
    EXPECT_EQ(packed[1 * n + 2], Complex(A[2][3][COMPLEX_RE], A[2][3][COMPLEX_IM]));
    ASSERT_TRUE(write_packed_matrices(f.get(), n, 1, packed.data()));
    f.rewind();
    EXPECT_EQ(read_density_matrix(f.get(), n, n, &B), 1);
    EXPECT_TRUE(same_elements(n, A, B));

    f.rewind();
    std::vector<Complex> again(n * n);
    ASSERT_TRUE(read_packed_matrices(f.get(), n, 1, again.data()));
    EXPECT_EQ(again, packed);
    fill_all(&B, 7.0);
    unpack_matrix(n, again.data(), &B);
    EXPECT_TRUE(same_elements(n, A, B));
    EXPECT_TRUE(outside_is(n, B, 7.0));
}

TEST_F(BinFiles, CountsTheWholeMatricesThatAFileStillHolds)
{
    Scratch f;
    std::vector<Complex> packed(4 * 9, Complex(1.0, 2.0)), again(4 * 9);
    ASSERT_TRUE(write_packed_matrices(f.get(), 3, 3, packed.data()));
    ASSERT_TRUE(write_packed_matrices(f.get(), 2, 1, packed.data())); // not a whole one
    f.rewind();
    EXPECT_EQ(read_packed_matrices(f.get(), 3, 2, again.data()), 2);
    EXPECT_EQ(read_packed_matrices(f.get(), 3, 4, again.data()), 1);
    EXPECT_EQ(read_packed_matrices(f.get(), 3, 0, again.data()), 0);
}

TEST_F(BinFiles, PackedTransfersRefuseBadArgumentsAndShortFiles)
{
    Scratch f;
    std::vector<Complex> packed(257 * 257, Complex(1.0, 2.0));
    EXPECT_FALSE(write_packed_matrices(nullptr, 2, 1, packed.data()));
    EXPECT_FALSE(write_packed_matrices(f.get(), 2, 1, nullptr));
    EXPECT_FALSE(read_packed_matrices(nullptr, 2, 1, packed.data()));
    EXPECT_FALSE(read_packed_matrices(f.get(), 2, 1, nullptr));
    for (int bad : {0, -1, 258}) {
        EXPECT_FALSE(write_packed_matrices(f.get(), bad, 1, packed.data()));
        EXPECT_FALSE(read_packed_matrices(f.get(), bad, 1, packed.data()));
    }
    EXPECT_EQ(std::ftell(f.get()), 0);
    ASSERT_TRUE(write_packed_matrices(f.get(), 257, 1, packed.data()));
    f.rewind();
    EXPECT_TRUE(read_packed_matrices(f.get(), 257, 1, packed.data()));
    EXPECT_FALSE(read_packed_matrices(f.get(), 1, 1, packed.data()));
}

// ---------------------------------------------------------------------------------- whole files

TEST_F(BinFiles, CopiesOfEverySizeAreByteForByte)
{
    for (size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u}) {
        std::string bytes(size, '\0');
        for (size_t k = 0; k < size; k++) {
            bytes[k] = static_cast<char>(k * 7 + k / 251);
        }
        write_bytes(temp_path("src"), bytes);
        write_bytes(temp_path("dst"), "what was there before");
        EXPECT_EQ(copy_file_binary(temp_path("src").c_str(), temp_path("dst").c_str()), BINFH_OK);
        EXPECT_TRUE(std::filesystem::exists(temp_path("dst")));
        EXPECT_EQ(read_bytes(temp_path("dst")), bytes) << size;
    }
}

TEST_F(BinFiles, CopyTellsWhatCannotBeOpened)
{
    const std::string src = temp_path("src"), dst = temp_path("dst");
    testing::internal::CaptureStderr();
    EXPECT_EQ(copy_file_binary(src.c_str(), dst.c_str()), BINFH_ERR_IO);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("fopen(src): ") + std::strerror(ENOENT) + "\n");
    EXPECT_FALSE(std::filesystem::exists(dst));

    write_bytes(src, "x");
    const std::string nowhere = temp_path("no-such-folder") + "/dst";
    testing::internal::CaptureStderr();
    EXPECT_EQ(copy_file_binary(src.c_str(), nowhere.c_str()), BINFH_ERR_IO);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("fopen(dst): ") + std::strerror(ENOENT) + "\n");

    EXPECT_EQ(copy_file_binary(nullptr, dst.c_str()), BINFH_ERR_NULLPTR);
    EXPECT_EQ(copy_file_binary(src.c_str(), nullptr), BINFH_ERR_NULLPTR);
}

TEST_F(BinFiles, AFileCopiedOntoItselfKeepsItsContents)
{
    write_bytes(temp_path("src"), "precious");
    EXPECT_EQ(copy_file_binary(temp_path("src").c_str(), temp_path("src").c_str()), BINFH_OK);
    EXPECT_EQ(read_bytes(temp_path("src")), "precious");
}

#ifdef __linux__
TEST_F(BinFiles, AFullDiskIsNoSuccessfulCopy)
{
    // Shorter than a stream's buffer: only closing finds out.
    for (size_t size : {100u, 200000u}) {
        write_bytes(temp_path("src"), std::string(size, 'x'));
        testing::internal::CaptureStderr();
        EXPECT_EQ(copy_file_binary(temp_path("src").c_str(), "/dev/full"), BINFH_ERR_IO);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("fwrite: ") + std::strerror(ENOSPC) + "\n");
    }
}

TEST_F(BinFiles, ADirectoryIsNoSource)
{
    std::filesystem::create_directory(temp_path("src"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(copy_file_binary(temp_path("src").c_str(), temp_path("dst").c_str()), BINFH_ERR_IO);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("fopen(src): ") + std::strerror(EISDIR) + "\n");
}
#endif

TEST_F(BinFiles, IoErrorsNameTheCallAndTheSystemsText)
{
    const std::string denied = std::strerror(EACCES), missing = std::strerror(ENOENT);
    testing::internal::CaptureStderr();
    errno = EACCES;
    print_io_error("fopen(%s)");
    errno = ENOENT;
    print_io_error(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "fopen(%s): " + denied + "\nI/O error: " + missing + "\n");
}

// -------------------------------------------------------------------------------- safe output

std::string part_path()
{
    return temp_path("out") + "." + std::to_string(plat_process_id()) + ".part";
}

TEST_F(BinFiles, OutputAppearsUnderItsNameWhenCommitted)
{
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    EXPECT_EQ(out.path, temp_path("out"));
    EXPECT_EQ(out.beside, part_path());
    std::fputs("new", out.file);
    EXPECT_FALSE(std::filesystem::exists(temp_path("out")));
    EXPECT_TRUE(std::filesystem::exists(part_path()));
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(out.file, nullptr);
    EXPECT_EQ(read_bytes(temp_path("out")), "new");
    EXPECT_FALSE(std::filesystem::exists(part_path()));
}

TEST_F(BinFiles, OutputKeepsTheOldFileUntilCommitted)
{
    write_bytes(temp_path("out"), "old and longer");
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::fputs("new", out.file);
    std::fflush(out.file);
    EXPECT_EQ(read_bytes(temp_path("out")), "old and longer");
    errno = ENOSPC;
    discard_output(&out);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(out.file, nullptr);
    EXPECT_EQ(read_bytes(temp_path("out")), "old and longer");
    EXPECT_FALSE(std::filesystem::exists(part_path()));

    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::fputs("new", out.file);
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(read_bytes(temp_path("out")), "new");
}

TEST_F(BinFiles, OutputThatIsForgottenIsDiscarded)
{
    write_bytes(temp_path("out"), "old");
    {
        OutputFile out;
        ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
        std::fputs("new", out.file);
    }
    EXPECT_EQ(read_bytes(temp_path("out")), "old");
    EXPECT_FALSE(std::filesystem::exists(part_path()));
}

TEST_F(BinFiles, OutputThatIsNotOpenCannotBeCommittedAndMayBeDiscarded)
{
    OutputFile out;
    EXPECT_FALSE(commit_output(&out));
    discard_output(&out);
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    EXPECT_TRUE(commit_output(&out));
    EXPECT_FALSE(commit_output(&out));
    discard_output(&out);
    EXPECT_TRUE(std::filesystem::exists(temp_path("out")));
}

TEST_F(BinFiles, OutputWithoutANameFailsWithTheSystemsError)
{
    OutputFile out;
    EXPECT_FALSE(open_output(&out, ""));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(BinFiles, OutputIntoAMissingFolderFailsWithTheSystemsError)
{
    OutputFile out;
    errno = 0;
    EXPECT_FALSE(open_output(&out, (temp_path("no-such-folder") + "/out").c_str()));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(out.file, nullptr);
    EXPECT_EQ(out.beside, "");
}

TEST_F(BinFiles, OutputThatCannotBePutInPlaceLeavesNoRest)
{
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::filesystem::create_directories(temp_path("out") + "/in the way");
    EXPECT_FALSE(commit_output(&out));
    EXPECT_NE(errno, 0);
    EXPECT_FALSE(std::filesystem::exists(part_path()));
    EXPECT_EQ(out.file, nullptr);
}

TEST_F(BinFiles, OutputBesideTakesNoNameThatIsThere)
{
    const std::string second = temp_path("out") + "." + std::to_string(plat_process_id()) + ".2";
    write_bytes(part_path(), "left over");
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    EXPECT_EQ(out.beside, second + ".part");
    std::fputs("new", out.file);
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(read_bytes(temp_path("out")), "new");
    EXPECT_EQ(read_bytes(part_path()), "left over");
    EXPECT_FALSE(std::filesystem::exists(second + ".part"));
    std::filesystem::remove(part_path());
}

#ifdef __linux__
TEST_F(BinFiles, OutputIsWrittenDirectlyWhereNothingCanBeCreatedBeside)
{
    std::string path = temp_path("n");
    path.resize(path.rfind('/') + 251, 'n'); // a name that is too long with ".part" behind it
    write_bytes(path, "old");
    OutputFile out;
    ASSERT_TRUE(open_output(&out, path.c_str()));
    EXPECT_EQ(out.beside, "");
    std::fputs("new", out.file);
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(read_bytes(path), "new");
}

TEST_F(BinFiles, ALinkUnderTheNameBesideIsNotFollowed)
{
    write_bytes(temp_path("src"), "precious");
    std::filesystem::create_symlink(temp_path("src"), part_path());
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::fputs("new", out.file);
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(read_bytes(temp_path("out")), "new");
    EXPECT_EQ(read_bytes(temp_path("src")), "precious");
    EXPECT_TRUE(std::filesystem::is_symlink(part_path()));
    std::filesystem::remove(part_path());
}

TEST_F(BinFiles, ADeviceIsWrittenDirectlyAndItsFailureIsSeen)
{
    // Through a link, so that a mistake here never replaces the machine's own device.
    std::filesystem::create_symlink("/dev/full", temp_path("out"));
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    EXPECT_EQ(out.beside, "");
    std::fputs("x", out.file);
    EXPECT_FALSE(commit_output(&out));
    EXPECT_EQ(errno, ENOSPC);

    // An earlier write failed and nothing is left to flush.
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::setvbuf(out.file, nullptr, _IONBF, 0);
    std::fputs("x", out.file);
    EXPECT_FALSE(commit_output(&out));
    EXPECT_EQ(errno, ENOSPC);

    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    discard_output(&out);
    EXPECT_TRUE(std::filesystem::is_symlink(temp_path("out")));
}

TEST_F(BinFiles, ASymbolicLinkIsWrittenThrough)
{
    write_bytes(temp_path("src"), "old");
    std::filesystem::create_symlink(temp_path("src"), temp_path("out"));
    OutputFile out;
    ASSERT_TRUE(open_output(&out, temp_path("out").c_str()));
    std::fputs("new", out.file);
    EXPECT_TRUE(commit_output(&out));
    EXPECT_EQ(read_bytes(temp_path("src")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(temp_path("out")));
}
#endif

} // namespace
