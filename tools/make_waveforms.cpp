// make_waveforms.cpp - writes the waveform files of the example sequences:
//
//     build/make_waveforms [CHECKOUT]       CHECKOUT: the folder that holds sequences/, here "."
//
// The files are committed; run this after changing example_pulses.cpp.
#include "binaryfilehandling.h"
#include "example_pulses.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

static_assert(std::endian::native == std::endian::little, "waveform files are little-endian");

static bool write_block(FILE *out, const std::vector<double> &block)
{
    return std::fwrite(block.data(), sizeof(double), block.size(), out) == block.size();
}

static bool write_waveform(const std::string &path, const SectorWaveform &w)
{
    FilePtr out{std::fopen(path.c_str(), "wb")};
    if (!out)
        return false;
    for (const std::vector<double> *block : {&w.xb, &w.yb, &w.gx, &w.gy, &w.gz}) {
        if (!write_block(out.get(), *block))
            return false;
    }
    return std::fclose(out.release()) == 0;
}

int main(int argc, char **argv)
{
    if (argc > 2) {
        std::fprintf(stderr, "usage: make_waveforms [CHECKOUT]\n");
        return 1;
    }
    const std::string root = argc == 2 ? argv[1] : ".";
    for (const SectorWaveform &w : ExampleWaveforms()) {
        const std::string dir = root + "/sequences/" + w.sequence + "/waveforms";
        const std::string path = dir + "/" + w.name + ".bin";
        std::error_code failure;
        std::filesystem::create_directories(dir, failure);
        if (failure || !write_waveform(path, w)) {
            std::fprintf(stderr, "make_waveforms: %s: %s\n", path.c_str(),
                         failure ? failure.message().c_str() : std::strerror(errno));
            return 1;
        }
        std::printf("%s  %zu samples, %g ms\n", path.c_str(), w.xb.size(), 1e3 * w.duration);
    }
    return 0;
}
