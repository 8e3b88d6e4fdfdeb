// signal_file - a signal file: its spectrum in one and two dimensions, and what is made of it for
// other programs. What succeeds has the size that the header announces.
#include "fuzz_input.h"

#include "binaryfilehandling.h"
#include "observablespectrumcalculator.h"
#include "platformlib.h"
#include "zandatafileio.h"

#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

enum { HEADER_BYTES = 12, IDL_BYTES = 1024 };

struct Signal {
    int32_t header[3]; // type, samples, traces
    bool has_header;
    uint64_t data_bytes;

    uint64_t samples() const // of all traces
    {
        return header[1] > 0 && header[2] > 0
                   ? static_cast<uint64_t>(header[1]) * static_cast<uint64_t>(header[2])
                   : 0;
    }
    bool is_complete() const { return data_bytes / 16 >= samples(); }
    bool is_signal() const { return samples() > 0 && is_complete(); }
};

static Signal signal_of(std::string_view bytes)
{
    Signal s = {{0, 0, 0}, bytes.size() >= HEADER_BYTES, 0};
    if (s.has_header) {
        std::memcpy(s.header, bytes.data(), HEADER_BYTES);
        s.data_bytes = bytes.size() - HEADER_BYTES;
    }
    return s;
}

static bool is_power_of_two(int32_t count)
{
    return (count & (count - 1)) == 0;
}

static void require_spectrum_file(bool written, uint64_t data_bytes)
{
    FUZZ_REQUIRE(plat_exists("spectra.bin") == written);
    if (written)
        FUZZ_REQUIRE(fs::file_size("spectra.bin") == HEADER_BYTES + data_bytes);
    plat_remove_file("spectra.bin");
}

static void require_spectra(const Signal &s, int trace)
{
    const bool columns = s.is_signal() && is_power_of_two(s.header[1]);
    const bool plane = columns && is_power_of_two(s.header[2]);
    FUZZ_REQUIRE(Calc2Dfft(0.01, 0.001 * trace) == plane);
    require_spectrum_file(plane, 16 * s.samples());
    const bool row = columns && trace >= 1 && trace <= s.header[2];
    FUZZ_REQUIRE(DispTransvSign(0.01 * trace, trace) == row);
    require_spectrum_file(row, 16 * static_cast<uint64_t>(s.header[1]));
}

static void require_idl_file(const Signal &s)
{
    const bool good = s.is_complete();
    FUZZ_REQUIRE((Create_IDL_File_status("zansign.bin", "idl") == DATAIO_OK) == good);
    FUZZ_REQUIRE(plat_exists("idl") == good);
    if (good)
        FUZZ_REQUIRE(fs::file_size("idl") == IDL_BYTES + 16 * s.samples());
    plat_remove_file("idl");
}

static void require_pv_wave_file(void)
{
    const FilePtr in{std::fopen("zansign.bin", "rb")}, out{std::fopen("wave", "wb")};
    FUZZ_REQUIRE(in && out && write_pv_wave_file(in.get(), out.get()));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_folder();
    const int trace = input.byte_below(8);
    const Signal s = signal_of(input.rest);
    fuzz_write("zansign.bin", input.rest);
    require_spectra(s, trace);
    require_idl_file(s);
    require_pv_wave_file();
    return 0;
}
