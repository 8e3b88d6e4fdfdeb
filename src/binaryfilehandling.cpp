// binaryfilehandling.cpp - the binary result files: header, density matrices, copies, and
// output files that replace their target only when they are complete.
//
// Density matrices are CMatrix values (matrixmathlib) or packed as in the file. What the
// operating system does differently is in platformlib.
#include "binaryfilehandling.h"

#include "platformlib.h"

#include <cerrno>
#include <cstring>

binfh_status binfh_last_status = BINFH_OK;

void print_io_error(const char *what)
{
    std::fprintf(stderr, "%s: %s\n", what ? what : "I/O error", std::strerror(errno));
}

static binfh_status io_error(const char *what)
{
    print_io_error(what);
    return BINFH_ERR_IO;
}

// ------------------------------------------------------------------------------------ header

binfh_status ReadBinFileHeader_status(FILE *fn, int32_t *type, int32_t *num1, int32_t *num2)
{
    if (!fn || !type || !num1 || !num2) {
        return BINFH_ERR_NULLPTR;
    }
    static const char *const calls[3] = {"fread(type)", "fread(num1)", "fread(num2)"};
    int32_t fields[3];
    for (int k = 0; k < 3; k++) {
        errno = 0; // a file that ends early sets none
        if (std::fread(&fields[k], sizeof fields[k], 1, fn) != 1) {
            return io_error(calls[k]);
        }
    }
    *type = fields[0];
    *num1 = fields[1];
    *num2 = fields[2];
    return BINFH_OK;
}

binfh_status WriteBinFileHeader_status(FILE *fn, int32_t type, int32_t num1, int32_t num2)
{
    if (!fn) {
        return BINFH_ERR_NULLPTR;
    }
    static const char *const calls[3] = {"fwrite(type)", "fwrite(num1)", "fwrite(num2)"};
    const int32_t fields[3] = {type, num1, num2};
    for (int k = 0; k < 3; k++) {
        if (std::fwrite(&fields[k], sizeof fields[k], 1, fn) != 1) {
            return io_error(calls[k]);
        }
    }
    return BINFH_OK;
}

void ReadBinFileHeader(FILE *fn, int *type, int *num1, int *num2)
{
    binfh_last_status = ReadBinFileHeader_status(fn, type, num1, num2);
}

void WriteBinFileHeader(FILE *fn, const int *type, const int *num1, const int *num2)
{
    if (!type || !num1 || !num2) {
        binfh_last_status = BINFH_ERR_NULLPTR;
        return;
    }
    binfh_last_status = WriteBinFileHeader_status(fn, *type, *num1, *num2);
}

void WriteBinFileHeaderI(FILE *fn, int type, int num1, int num2)
{
    WriteBinFileHeader(fn, &type, &num1, &num2);
}

// ---------------------------------------------------------------------------------- matrices

static bool is_row_length(int n)
{
    return n >= 1 && n <= MATRIXMATH_DIM;
}

// A file row may have 257 elements, one more than a matrix: the last is written as 0 and dropped
// on reading.
static bool is_stored(int row, int col)
{
    return row < MATRIXMATH_DIM && col < MATRIXMATH_DIM;
}

bool write_cmatrix_row(FILE *out, int n, const CMatrix *mat, int row)
{
    if (!out || !is_row_length(n) || row < 1 || row > n) {
        return false;
    }
    double buffer[2 * MATRIXMATH_DIM] = {};
    for (int k = 1; k <= n && is_stored(row, k); k++) {
        buffer[2 * k - 2] = (*mat)[row][k][COMPLEX_RE];
        buffer[2 * k - 1] = (*mat)[row][k][COMPLEX_IM];
    }
    const size_t count = 2 * static_cast<size_t>(n);
    return std::fwrite(buffer, sizeof buffer[0], count, out) == count;
}

// n is 1..257 and row at least 1; nothing of mat changes on a short read.
static bool read_row(FILE *in, int n, CMatrix *mat, int row)
{
    double buffer[2 * MATRIXMATH_DIM];
    const size_t count = 2 * static_cast<size_t>(n);
    if (std::fread(buffer, sizeof buffer[0], count, in) != count) {
        return false;
    }
    for (int k = 1; k <= n && is_stored(row, k); k++) {
        (*mat)[row][k][0] = 0.0;
        (*mat)[row][k][COMPLEX_RE] = buffer[2 * k - 2];
        (*mat)[row][k][COMPLEX_IM] = buffer[2 * k - 1];
    }
    return true;
}

bool read_cmatrix_row(FILE *fp, int n_, CMatrix *mat, int row)
{
    if (!fp || !is_row_length(n_) || row < 1 || row > n_) {
        return false;
    }
    return read_row(fp, n_, mat, row);
}

int read_density_matrix(FILE *in, int n, int fn, CMatrix *mat)
{
    if (!in || !is_row_length(n) || !is_row_length(fn)) {
        return 0;
    }
    for (int row = 1; row <= fn; row++) {
        if (!read_row(in, n, mat, row)) {
            return 0;
        }
    }
    return 1;
}

static size_t packed_count(int n)
{
    return static_cast<size_t>(n) * static_cast<size_t>(n);
}

int read_packed_matrices(FILE *in, int n, int count, Complex *packed)
{
    if (!in || !packed || !is_row_length(n) || count < 1) {
        return 0;
    }
    return (int)std::fread(packed, packed_count(n) * sizeof *packed, (size_t)count, in);
}

bool write_packed_matrices(FILE *out, int n, int count, const Complex *packed)
{
    if (!out || !packed || !is_row_length(n) || count < 0) {
        return false;
    }
    const size_t elements = packed_count(n) * (size_t)count;
    return std::fwrite(packed, sizeof *packed, elements, out) == elements;
}

// -------------------------------------------------------------------------------- whole files

FilePtr open_input(const char *path)
{
    return FilePtr{plat_open_file(path)};
}

static binfh_status copy_stream(FILE *in, FILE *out)
{
    char chunk[65536];
    for (;;) {
        const size_t got = std::fread(chunk, 1, sizeof chunk, in);
        if (got == 0) {
            break;
        }
        if (std::fwrite(chunk, 1, got, out) != got) {
            return io_error("fwrite");
        }
    }
    return std::ferror(in) ? io_error("fread") : BINFH_OK;
}

binfh_status copy_file_binary(const char *src, const char *dst)
{
    if (!src || !dst) {
        return BINFH_ERR_NULLPTR;
    }
    FilePtr in = open_input(src);
    if (!in) {
        return io_error("fopen(src)");
    }
    if (std::strcmp(src, dst) == 0) {
        return BINFH_OK; // opening it for writing would empty it
    }
    FilePtr out{std::fopen(dst, "wb")};
    if (!out) {
        return io_error("fopen(dst)");
    }
    const binfh_status status = copy_stream(in.get(), out.get());
    if (std::fclose(out.release()) != 0 && status == BINFH_OK) {
        return io_error("fwrite"); // what was buffered did not reach the disk
    }
    return status;
}

// ---------------------------------------------------------------------------------- safe output

OutputFile::~OutputFile()
{
    discard_output(this);
}

// A device or a link is still there after something was written to it.
static bool is_special(const char *path)
{
    return path[0] == '\0' || (plat_exists(path) && !plat_is_regular_file(path));
}

static bool may_be_written(const char *path)
{
    return !plat_exists(path) || FilePtr{std::fopen(path, "ab")};
}

// The directory takes no new name, or not this one. With a full disk, for one, the target must not
// be opened: that would empty it.
static bool is_about_the_name(int error)
{
    return error == EACCES || error == EPERM || error == ENAMETOOLONG || error == ENOENT ||
           error == EISDIR;
}

// PATH.PROCESS.part, and with a number before ".part" while that name is taken: a killed process
// of the same id may have left it.
static bool open_beside(OutputFile *out)
{
    const std::string start = out->path + "." + std::to_string(plat_process_id());
    out->beside = start + ".part";
    out->file = plat_create_file(out->beside.c_str());
    for (int k = 2; !out->file && errno == EEXIST && k < 100; k++) {
        out->beside = start + "." + std::to_string(k) + ".part";
        out->file = plat_create_file(out->beside.c_str());
    }
    if (!out->file)
        out->beside.clear();
    return out->file != nullptr;
}

bool open_output(OutputFile *out, const char *path)
{
    discard_output(out);
    out->path = path;
    if (!is_special(path)) {
        if (!may_be_written(path))
            return false;
        if (open_beside(out))
            return true;
        if (!is_about_the_name(errno))
            return false;
    }
    out->file = std::fopen(path, "wb");
    return out->file != nullptr;
}

// errno of what has just failed; never 0.
static int last_error(void)
{
    return errno != 0 ? errno : EIO;
}

// Flushes and closes; 0, or the first failure's errno.
static int close_file(FILE *file)
{
    int error = 0;
    if (std::fflush(file) != 0 || std::ferror(file)) {
        error = last_error();
    }
    if (std::fclose(file) != 0 && error == 0) {
        error = last_error();
    }
    return error;
}

bool commit_output(OutputFile *out)
{
    if (!out->file) {
        return false;
    }
    int error = close_file(out->file);
    out->file = nullptr;
    if (error == 0 && !out->beside.empty() &&
        !plat_replace_file(out->beside.c_str(), out->path.c_str())) {
        error = last_error();
    }
    if (error != 0) {
        errno = error;
        discard_output(out);
        return false;
    }
    out->beside.clear();
    return true;
}

void discard_output(OutputFile *out)
{
    const int error = errno;
    if (out->file) {
        std::fclose(out->file);
        out->file = nullptr;
    }
    if (!out->beside.empty()) {
        plat_remove_file(out->beside.c_str());
        out->beside.clear();
    }
    errno = error;
}

binfh_status copy_file_complete(const char *src, const char *dst)
{
    if (!src || !dst) {
        return BINFH_ERR_NULLPTR;
    }
    const FilePtr in = open_input(src);
    if (!in) {
        return io_error("fopen(src)");
    }
    OutputFile out;
    if (!open_output(&out, dst)) {
        return io_error("fopen(dst)");
    }
    const binfh_status status = copy_stream(in.get(), out.file);
    if (status != BINFH_OK) {
        discard_output(&out);
        return status;
    }
    return commit_output(&out) ? BINFH_OK : io_error("fwrite");
}
