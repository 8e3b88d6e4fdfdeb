// model_run - a whole run of a small model: the three texts as in model.cpp and, behind another
// "%%", the bytes of its waveforms. However the run ends, dm.bin and the result are complete
// files or not there.
#include "fuzz_input.h"
#include "testmodel.h"

#include "binaryfilehandling.h"
#include "platformlib.h"
#include "zan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

enum { LARGEST = 16, WAVEFORM_BYTES = 5 * 8 * LARGEST };

static bool is_small(const TestModel &m)
{
    int states = 1;
    for (int i = 1; i <= m.spin.nspins; i++)
        states *= m.spin.spin_quantum_numbers[i] + 1;
    if (states > 8 || m.cfg.ndx * m.cfg.ndy * m.cfg.ndz > LARGEST || m.seq.sector_count > 4)
        return false;
    for (int s = 1; s <= m.seq.sector_count; s++)
        if (m.seq.sectors[s].number_of_timepoints > LARGEST ||
            m.seq.sectors[s].number_of_evolpoints > LARGEST)
            return false;
    return true;
}

// The engine's work grows with frequency times duration, until it goes another way.
static bool is_cheap(double value, double largest_moderate)
{
    return std::fabs(value) <= largest_moderate || !(std::fabs(value) < 1e12);
}

static bool frequencies_are_cheap(const ZANSpinSystemDef &spin)
{
    bool good = true;
    for (int i = 1; i <= spin.nspins; i++) {
        good = good && is_cheap(spin.resonance_offsets_hz[i], 1e4);
        for (int k = 1; k <= spin.nspins; k++)
            good = good && is_cheap(spin.j_hz[i][k], 1e4);
    }
    return good;
}

static bool sectors_are_cheap(const ZANPulseSequenceDef &seq)
{
    bool good = true;
    for (int s = 1; s <= seq.sector_count; s++)
        good = good && is_cheap(seq.sectors[s].total_duration_s, 0.02) &&
               is_cheap(seq.sectors[s].offset_frequency_hz, 1e4);
    return good;
}

static bool samples_are_cheap(std::string_view bytes)
{
    for (double value; bytes.size() >= sizeof value; bytes.remove_prefix(sizeof value)) {
        std::memcpy(&value, bytes.data(), sizeof value);
        if (!is_cheap(value, 1e4))
            return false;
    }
    return true;
}

static bool is_cheap(const TestModel &m)
{
    return frequencies_are_cheap(m.spin) && sectors_are_cheap(m.seq) && is_cheap(m.cfg.x0_cm, 10) &&
           is_cheap(m.cfg.y0_cm, 10) && is_cheap(m.cfg.z0_cm, 10) && is_cheap(m.cfg.dx_cm, 10) &&
           is_cheap(m.cfg.dy_cm, 10) && is_cheap(m.cfg.dz_cm, 10);
}

// False when the waveforms would cost too much.
static bool write_texts(FuzzInput input)
{
    fuzz_write("tree/models/input.zanmodel", input.part("%%\n"));
    fuzz_write("tree/spin-systems/a.zanspin", input.part("%%\n"));
    fuzz_write("tree/sequences/a/a.zanseq", input.part("%%\n"));
    const std::string samples = fuzz_repeated(input.rest, WAVEFORM_BYTES);
    fuzz_write("tree/sequences/a/waveforms/adc.bin", samples);
    return samples_are_cheap(samples);
}

// Density matrices of the model, or the signal of its rows.
static bool is_complete(const char *path, bool may_be_signal)
{
    const FilePtr in{std::fopen(path, "rb")};
    int32_t type = -1, num1 = 0, num2 = 0;
    if (!in || ReadBinFileHeader_status(in.get(), &type, &num1, &num2) != BINFH_OK || num2 < 1)
        return false;
    const uintmax_t elements =
        static_cast<uintmax_t>(type == 0 ? num1 * num1 : num1) * static_cast<uintmax_t>(num2);
    const bool known = type == 0 ? num1 == rt.n : type == 1 && may_be_signal;
    return known && fs::file_size(path) == 12 + 16 * elements;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static TestModel m;
    const FuzzInput input(data, size);
    FuzzMessage message;
    fuzz_restore_runtime();
    if (!fuzz_paths_stay_inside(input.rest) || !write_texts(input))
        return 0;
    const std::string path = fuzz_folder() + "/tree/models/input.zanmodel";
    if (ZANModel_LoadText(path.c_str(), &m.spin, &m.seq, &m.cfg, message.text,
                          sizeof message.text) != ZAN_MODEL_OK ||
        !is_small(m) || !is_cheap(m))
        return 0;
    FUZZ_REQUIRE(ZANModel_ActivateInLegacyRuntime(&m.spin, &m.seq, &m.cfg, message.text,
                                                  sizeof message.text) == ZAN_MODEL_OK);
    std::strcpy(rt.resultflnm, "result_td.bin"); // never where the input wants it
    RunCurrentPreparedModel();
    FUZZ_REQUIRE(!plat_exists("dm.bin") || is_complete("dm.bin", false));
    FUZZ_REQUIRE(!plat_exists("result_td.bin") || is_complete("result_td.bin", true));
    FUZZ_REQUIRE(!plat_exists("store"));
    for (const std::string &name : plat_list_files(".", ".bin")) // multiplets have their own
        plat_remove_file(name.c_str());
    return 0;
}
