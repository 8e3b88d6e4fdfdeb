// density_file - a density-matrix file for a system of two, three or four states: the expectation
// profile, the signal of a voxel, the signals of all, the first matrix into the runtime state.
// Each must succeed exactly when the file holds what it needs.
#include "fuzz_input.h"

#include "binaryfilehandling.h"
#include "observablespectrumcalculator.h"
#include "platformlib.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

enum { HEADER_BYTES = 12, SAMPLES = 4 };

// What the file says and what it has.
struct Density {
    int32_t header[3]; // type, states, matrices
    bool has_header;
    uint64_t whole_matrices; // of rt.n states

    bool fits() const { return has_header && header[0] == 0 && header[1] == rt.n; }
    bool holds(int count) const
    {
        return count >= 1 && static_cast<uint64_t>(count) <= whole_matrices;
    }
};

static Density density_of(std::string_view bytes)
{
    Density d = {{-1, -1, -1}, bytes.size() >= HEADER_BYTES, 0};
    if (d.has_header) {
        std::memcpy(d.header, bytes.data(), HEADER_BYTES);
        d.whole_matrices = (bytes.size() - HEADER_BYTES) / static_cast<size_t>(16 * rt.n * rt.n);
    }
    return d;
}

// One or two spins 1/2, or one spin 1, and an acquisition.
static void set_model(int kind)
{
    fuzz_restore_runtime();
    rt.Nspins = kind == 1 ? 2 : 1;
    rt.quantnum[1] = rt.Ilist[1] = kind == 2 ? 2 : 1;
    rt.quantnum[2] = rt.Ilist[2] = kind == 1 ? 1 : 0;
    rt.resofreqs[1] = 100.0;
    rt.Jexact = 2;
    rt.nos = 1;
    rt.noti[1] = SAMPLES;
    rt.sectdur[1] = 0.01;
    std::strcpy(rt.remarks[1], "adc");
    rt.ndx = rt.ndy = rt.ndz = 2;
    rt.dx = rt.dy = rt.dz = 0.5;
    BuildSpinSystemFromPulseSequenceGlobals();
}

static uint64_t size_of(const char *path)
{
    return static_cast<uint64_t>(fs::file_size(path));
}

static void require_profile(const Density &d)
{
    const int written = ZANWriteExpectationProfile("input", "Ix", "profile");
    const bool spins_half = rt.Ilist[1] == 1;
    FUZZ_REQUIRE(written == (spins_half && d.fits() && d.holds(d.header[2]) ? 1 : 0));
    FUZZ_REQUIRE(plat_exists("profile") == (written == 1));
    plat_remove_file("profile");
}

static void require_voxel_signal(const Density &d, int point)
{
    const bool good = d.fits() && point <= d.header[2] && d.holds(point);
    FUZZ_REQUIRE(ZANWriteVoxelSignal("input", point, "signal") == (good ? 1 : 0));
    FUZZ_REQUIRE(plat_exists("signal") == good);
    if (good)
        FUZZ_REQUIRE(size_of("signal") == HEADER_BYTES + 16 * SAMPLES);
    plat_remove_file("signal");
}

static void require_first_matrix(const Density &d)
{
    FUZZ_REQUIRE(load_density_matrix_from_dm_bin(rt.n) ==
                 (d.has_header && d.header[1] == rt.n && d.holds(1)));
}

// A file that ends early gives the signals of the matrices that it has.
static void require_signals(const Density &d)
{
    static CMatrix rho;
    zan_build_transverse_totals(1);
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    const double time = SeparateSpectra_GenerateSignalWithParams(
        &rt.n, SAMPLES, 0.01, 0.0, "signal", &rho, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
        rt.ket, rt.Ilist);
    const bool good = d.has_header && d.header[0] != 1 && d.header[1] == rt.n;
    FUZZ_REQUIRE((time > 0.0) == good);
    if (good) {
        const uint64_t announced = static_cast<uint64_t>(std::max(d.header[2], 0));
        FUZZ_REQUIRE(size_of("signal") ==
                     HEADER_BYTES + 16 * SAMPLES * std::min(announced, d.whole_matrices));
    }
    plat_remove_file("signal");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_folder();
    set_model(input.byte_below(3));
    const int point = input.byte_below(8) - 1;
    const Density d = density_of(input.rest);
    fuzz_write("input", input.rest);
    require_profile(d);
    require_voxel_signal(d, point);
    fuzz_write("dm.bin", input.rest);
    require_first_matrix(d);
    require_signals(d);
    return 0;
}
