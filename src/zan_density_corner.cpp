// zan_density_corner.cpp - the first matrix of "dm.bin" back into the runtime state, and the
// corner of a matrix on the console.
#include "zan.h"

#include "binaryfilehandling.h"

#include <algorithm>

static const int CORNER_SIZE = 4;

void DebugPrintCMatrixCorner(const char *label, int n, const CMatrix *mat)
{
    const int size = std::min(n, CORNER_SIZE);
    std::printf("%s\n", label);
    for (int row = 1; row <= size; row++) {
        for (int col = 1; col <= size; col++)
            std::printf("  (% .6e, % .6e)", (*mat)[row][col][COMPLEX_RE],
                        (*mat)[row][col][COMPLEX_IM]);
        std::printf("\n");
    }
}

bool load_density_matrix_from_dm_bin(int n_)
{
    const FilePtr in = open_input("dm.bin");
    int32_t type, n, count;
    if (!in || ReadBinFileHeader_status(in.get(), &type, &n, &count) != BINFH_OK || n != n_)
        return false;
    for (int row = 1; row <= n_; row++)
        if (!read_cmatrix_row(in.get(), n_, &rt.densmat, row))
            return false;
    DebugPrintCMatrixCorner("densmat read from file:", n_, &rt.densmat);
    return true;
}
