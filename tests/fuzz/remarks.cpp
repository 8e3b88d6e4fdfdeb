// remarks - what sector remarks and waveform names say, line by line: keys with numbers, blocks
// of metadata, the band-selective pulse, the optimizer's target.
#include "fuzz_input.h"
#include "zan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

template <size_t N> static void set_text(char (&field)[N], std::string_view text)
{
    const size_t length = std::min(text.find('\0'), std::min(text.size(), N - 1));
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

// Two spins 1/2 and up to three sectors, each with a line for its remark.
static int set_sectors(FuzzInput input)
{
    fuzz_restore_runtime();
    rt.Nspins = 2;
    rt.n = 4;
    rt.Ilist[1] = rt.Ilist[2] = 1;
    rt.spinsystemdefined = 1;
    MakeKets(&rt.ket, &rt.Ilist);
    rt.nos = 1 + input.byte_below(3);
    for (int s = 1; s <= rt.nos; s++) {
        rt.noti[s] = input.byte();
        rt.sectype[s] = 1 + input.byte_below(2);
        rt.sectdur[s] = 0.01 * input.byte();
        set_text(rt.fnames[s], s == 1 ? "SLOW.bin" : "pulse.bin");
        set_text(rt.remarks[s], input.part("\n"));
    }
    return rt.nos;
}

static void require_sound_numbers(const char *remark)
{
    for (const char *key : {"offsetHz", "mu", "durationMs", "samples", "a"}) {
        double real = -7.0;
        int whole = -7;
        if (zan_parse_double_after_key(remark, key, &real))
            FUZZ_REQUIRE(std::isfinite(real) && zan_text_contains_ci(remark, key));
        else
            FUZZ_REQUIRE(real == -7.0);
        if (!zan_parse_int_after_key(remark, key, &whole))
            FUZZ_REQUIRE(whole == -7);
    }
    FUZZ_REQUIRE(
        zan_remark_is_acquisition(remark) ==
        (zan_text_contains_ci(remark, "adc") || zan_text_contains_ci(remark, "acquisition")));
}

// In buffers of any size: all of the value, ended, or nothing changed.
static void require_sound_metadata(const char *remark)
{
    for (const char *key : {"targetMode", "productOperator", "manualRecipe", ""})
        for (const size_t size : {0u, 1u, 2u, 16u, 512u}) {
            std::vector<char> value(size, '?');
            if (zanmodel_metadata_value(remark, "optimizeRf", key, value.data(), size)) {
                FUZZ_REQUIRE(std::memchr(value.data(), '\0', size) != nullptr);
                FUZZ_REQUIRE(std::strstr(remark, value.data()) != nullptr);
            } else {
                for (const char c : value)
                    FUZZ_REQUIRE(c == '?');
            }
        }
}

static void require_sound_pulse(void)
{
    ZANSlowBandSplitConfig c;
    std::memset(&c, 0x55, sizeof c);
    const int found = zan_try_slow_band_split_config(&c);
    FUZZ_REQUIRE(found == c.enabled);
    if (found)
        FUZZ_REQUIRE(c.pulse_samples >= 1 && c.pulse_duration_s > 0.0 &&
                     c.pulse_amplitude_hz > 0.0 && std::isfinite(c.pulse_center_offset_hz) &&
                     std::isfinite(c.mu) && std::isfinite(c.beta) &&
                     std::isfinite(c.pulse_phase_rad) && std::isfinite(c.pulse_duration_s));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz_folder(); // silence
    const int sectors = set_sectors(FuzzInput(data, size));
    for (int s = 1; s <= sectors; s++) {
        require_sound_numbers(rt.remarks[s]);
        require_sound_metadata(rt.remarks[s]);
        zanmodel_try_define_optimizer_operator_from_sector_remark(s);
    }
    require_sound_pulse();
    zan_current_sequence_is_pulse_acquire_fid();
    return 0;
}
