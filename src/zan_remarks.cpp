// zan_remarks.cpp - what the sector remarks say: acquisition sectors, a plain pulse-acquire
// sequence, the band-selective pulse whose multiplets are written apart.

#include "zan.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// ------------------------------------------------------------------ remarks

static char ascii_lower(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c - 'A' + 'a') : c;
}

const char *zan_strcasestr_local(const char *text, const char *pattern)
{
    if (!text || !pattern)
        return nullptr;
    for (const char *start = text;; start++) {
        size_t k = 0;
        while (pattern[k] && ascii_lower(start[k]) == ascii_lower(pattern[k]))
            k++;
        if (!pattern[k])
            return start;
        if (!*start)
            return nullptr;
    }
}

int zan_text_contains_ci(const char *text, const char *pattern)
{
    return zan_strcasestr_local(text, pattern) != nullptr;
}

int zan_is_power_of_two_int(int v)
{
    return v >= 1 && (v & (v - 1)) == 0;
}

// Where the value of key begins; null without the key.
static const char *value_after_key(const char *text, const char *key)
{
    const char *s = zan_strcasestr_local(text, key);
    if (!s)
        return nullptr;
    s += std::strlen(key);
    while (*s == ' ' || *s == '\t' || *s == '=')
        s++;
    return s;
}

int zan_parse_double_after_key(const char *text, const char *key, double *out)
{
    const char *s = value_after_key(text, key);
    if (!s)
        return 0;
    char *end;
    const double value = std::strtod(s, &end);
    if (end == s || !std::isfinite(value))
        return 0;
    *out = value;
    return 1;
}

int zan_parse_int_after_key(const char *text, const char *key, int *out)
{
    const char *s = value_after_key(text, key);
    if (!s)
        return 0;
    char *end;
    const long long value = std::strtoll(s, &end, 10);
    if (end == s || value < INT32_MIN || value > INT32_MAX)
        return 0;
    *out = (int)value;
    return 1;
}

// ------------------------------------------------------------------ recognised sequences

bool zan_remark_is_acquisition(const char *remark)
{
    return zan_text_contains_ci(remark, "adc") ||
           zan_text_contains_ci(remark, "acquisition_frequency") ||
           zan_text_contains_ci(remark, "acquisition");
}

int zan_current_sequence_is_pulse_acquire_fid(void)
{
    return rt.nos == 2 && rt.sectype[1] == 1 && rt.sectype[2] == 1 &&
           !zan_remark_is_acquisition(rt.remarks[1]) && zan_remark_is_acquisition(rt.remarks[2]);
}

static bool sector_is_slow_candidate(int s)
{
    return zan_text_contains_ci(rt.remarks[s], "slowEdit[") ||
           zan_text_contains_ci(rt.fnames[s], "SLOW");
}

static bool read_slow_sector(int s, ZANSlowBandSplitConfig *out)
{
    const char *remark = rt.remarks[s];
    if (!sector_is_slow_candidate(s) || !zan_text_contains_ci(remark, "sech") ||
        !zan_parse_double_after_key(remark, "offsetHz", &out->pulse_center_offset_hz) ||
        !zan_parse_double_after_key(remark, "mu", &out->mu) ||
        !zan_parse_double_after_key(remark, "beta", &out->beta))
        return false;
    double duration_ms = 1000.0 * rt.sectdur[s], phase_deg = 0.0;
    out->pulse_amplitude_hz = 1000.0;
    out->pulse_samples = rt.noti[s];
    zan_parse_double_after_key(remark, "durationMs", &duration_ms);
    zan_parse_double_after_key(remark, "amplitudeHz", &out->pulse_amplitude_hz);
    zan_parse_int_after_key(remark, "samples", &out->pulse_samples);
    zan_parse_double_after_key(remark, "phaseDeg", &phase_deg);
    if (out->pulse_samples < 1)
        out->pulse_samples = rt.noti[s] < 1 ? 256 : rt.noti[s];
    out->pulse_duration_s = duration_ms / 1000.0;
    out->pulse_phase_rad = PI_CONST * phase_deg / 180.0;
    if (!(duration_ms > 0.0) || !(out->pulse_amplitude_hz > 0.0))
        return false;
    if (!ZAN_GetSmokeCheckMode()) {
        std::printf("Detected SLOW sequence for multiplet-resolved receiver export:\n");
        std::printf("  sector=%d offsetHz=%.12g durationMs=%.12g amplitudeHz=%.12g samples=%d "
                    "mu=%.12g beta=%.12g phaseDeg=%.12g B0=%.12g receiverPpm=%.12g\n",
                    s, out->pulse_center_offset_hz, duration_ms, out->pulse_amplitude_hz,
                    out->pulse_samples, out->mu, out->beta, phase_deg, rt.zan_gui_b0_tesla,
                    rt.zan_gui_receiver_carrier_ppm);
    }
    return true;
}

int zan_try_slow_band_split_config(ZANSlowBandSplitConfig *out)
{
    for (int s = 1; s <= rt.nos; s++)
        if (read_slow_sector(s, out)) {
            out->enabled = 1;
            out->b0_tesla = rt.zan_gui_b0_tesla;
            out->receiver_carrier_ppm = rt.zan_gui_receiver_carrier_ppm;
            return 1;
        }
    *out = {};
    return 0;
}
