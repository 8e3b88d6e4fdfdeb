// binaryfilehandling - the binary result files: header, density matrices, copies, safe output.
//
// Header: three int32 in the machine's byte order: type, num1, num2. Density-matrix files have
// type 0, num1 = n states, num2 = number of matrices; then each matrix by rows 1..n, each row n
// complex elements as (re, im) doubles. Signal files have type 1, num1 = samples, num2 = traces.
#ifndef ZAN_BINARYFILEHANDLING_H
#define ZAN_BINARYFILEHANDLING_H

#include "matrixmathlib.h"

#include <complex>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

enum binfh_status : int32_t {
    BINFH_OK = 0,
    BINFH_ERR_NULLPTR = 1,
    BINFH_ERR_IO = 2,
    BINFH_ERR_BADARG = 3
};
extern binfh_status binfh_last_status; // of the forms without a status result

struct FileCloser {
    void operator()(FILE *f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

// ---- header; a short read or write is reported on the error stream ----
binfh_status ReadBinFileHeader_status(FILE *fn, int32_t *type, int32_t *num1, int32_t *num2);
binfh_status WriteBinFileHeader_status(FILE *fn, int32_t type, int32_t num1, int32_t num2);
void ReadBinFileHeader(FILE *fn, int *type, int *num1, int *num2);
void WriteBinFileHeader(FILE *fn, const int *type, const int *num1, const int *num2);
void WriteBinFileHeaderI(FILE *fn, int type, int num1, int num2);

// ---- matrices; silent, false on a short transfer or a bad argument (n 1..257) ----
bool write_cmatrix_row(FILE *out, int n, const CMatrix *mat, int row);
bool read_cmatrix_row(FILE *fp, int n_, CMatrix *mat, int row);
// One whole matrix, fn rows of n elements, from the current position: 1 or 0.
int read_density_matrix(FILE *in, int n, int fn, CMatrix *mat);

// The file's own layout: matrix after matrix, n·n elements by rows from 0. Reading returns how many
// whole matrices there were, count at most.
typedef std::complex<double> Complex;
int read_packed_matrices(FILE *in, int n, int count, Complex *packed);
bool write_packed_matrices(FILE *out, int n, int count, const Complex *packed);

// ---- whole files ----
FilePtr open_input(const char *path); // the one way to read a file; errno tells why not
binfh_status copy_file_binary(const char *src, const char *dst);
// The same, but dst appears, or changes, only when the copy is complete.
binfh_status copy_file_complete(const char *src, const char *dst);
// "what: system error text" on the error stream; null is "I/O error".
void print_io_error(const char *what);

// ---- the menu around dm.bin (binaryfilehandling_menu.cpp) ----
// Ends with choice 5, or as an i/o error when an answer cannot be read. Changes no more than the
// caller's two counts and the files that the user names.
binfh_status BinFileActions_status(int *ndw, int *n);
void BinFileActions(int *ndw, int *n);
void list_bin_files_in_cwd(void); // nothing when all that is named so is directories

// A file that appears under its name only when it is complete: written beside its target, then
// put in its place. A target that is no regular file (a device, a link) is written directly, and
// so is one in a directory that takes no new names. Discarded at its end unless committed.
struct OutputFile {
    FILE *file = nullptr;
    std::string path, beside; // beside is empty when written directly

    OutputFile() = default;
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();
};
bool open_output(OutputFile *out, const char *path); // for bytes; errno tells why not
bool commit_output(OutputFile *out);  // flush, close, replace; false: the old file is kept
void discard_output(OutputFile *out); // close, remove what was written

#endif
