// zan_waveforms.cpp - reads the waveform file of a sector into the runtime state.
//
// A file is blocks of n little-endian doubles without header: xb, yb for a 1D/2D sector, and
// gx, gy, gz behind them for a spatial one. What follows the blocks is ignored.

#include "zan.h"

#include "binaryfilehandling.h"

#include <initializer_list>

static int load_blocks(const char *path, int n, std::initializer_list<double *> blocks)
{
    if (!path || !*path || n < 0 || n > ZAN_MAX_RF_POINTS)
        return 0;
    FilePtr in = open_input(path);
    if (!in) {
        std::perror(path);
        return 0;
    }
    const size_t count = (size_t)n;
    for (double *block : blocks)
        if (std::fread(block, sizeof(double), count, in.get()) != count)
            return 0;
    return 1;
}

int LoadSpatialSectorPulseFile(const char *path, int n)
{
    return load_blocks(path, n, {rt.xb, rt.yb, rt.gx, rt.gy, rt.gz});
}

int Load2DSectorPulseFile(const char *path, int n)
{
    return load_blocks(path, n, {rt.xb, rt.yb});
}
