// fuzz_input - see the header.
#include "fuzz_input.h"

#include "binaryfilehandling.h"
#include "tempdir.h"
#include "zan.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

void fuzz_require(bool condition, const char *text, const char *file, int line)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, text);
    std::abort();
}

// ------------------------------------------------------------------------------------- folder

static const WorkDir &fresh_working_directory(void)
{
    static const WorkDir folder;
    FUZZ_REQUIRE(std::freopen("/dev/null", "r", stdin) != nullptr);
    FUZZ_REQUIRE(std::freopen("/dev/null", "w", stdout) != nullptr);
    return folder;
}

static const WorkDir &work(void)
{
    static const WorkDir &folder = fresh_working_directory();
    return folder;
}

const std::string &fuzz_folder(void)
{
    return work().path;
}

void fuzz_write(const std::string &name, std::string_view bytes)
{
    const std::string path = fuzz_folder() + "/" + name;
    FilePtr out{std::fopen(path.c_str(), "wb")};
    if (!out) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        out.reset(std::fopen(path.c_str(), "wb"));
    }
    FUZZ_REQUIRE(out && std::fwrite(bytes.data(), 1, bytes.size(), out.get()) == bytes.size());
}

// ------------------------------------------------------------------------------ runtime state

// The bytes of rt before and behind its operators, which stand together.
static const size_t before_operators = offsetof(ZanRuntime, densmat);
static const size_t behind_operators = offsetof(ZanRuntime, sequencetype);

static void copy_without_operators(const ZanRuntime &from, ZanRuntime *to)
{
    const char *source = reinterpret_cast<const char *>(&from);
    char *target = reinterpret_cast<char *>(to);
    std::memcpy(target, source, before_operators);
    std::memcpy(target + behind_operators, source + behind_operators,
                sizeof from - behind_operators);
}

static std::unique_ptr<ZanRuntime> remembered(void)
{
    auto start = std::make_unique<ZanRuntime>();
    copy_without_operators(rt, start.get());
    return start;
}

void fuzz_restore_runtime(void)
{
    static const std::unique_ptr<ZanRuntime> start = remembered();
    copy_without_operators(*start, &rt);
}

// -------------------------------------------------------------------------------------- input

static bool is_separator(char c)
{
    return c == '/' || c == '\\';
}

// A separator that begins a path or stands behind a digit could belong to an absolute path. "@/"
// leads below the folder, or is a directory's name.
static bool may_begin_a_path(std::string_view text, size_t at)
{
    return at == 0 || !(std::isalpha(static_cast<unsigned char>(text[at - 1])) ||
                        std::strchr("._-@", text[at - 1]));
}

bool fuzz_paths_stay_inside(std::string_view text)
{
    int steps_up = 0;
    for (size_t at = 0; at < text.size(); at++) {
        if (is_separator(text[at]) && may_begin_a_path(text, at))
            return false;
        if (text.substr(at, 2) == ".." && ++steps_up > 3)
            return false;
    }
    return true;
}

std::string fuzz_with_absolute_paths(std::string_view text, const std::string &directory)
{
    std::string replaced;
    for (size_t at = 0; at < text.size(); at++)
        replaced += text[at] == '@' && text.substr(at + 1, 1) == "/"
                        ? fuzz_folder() + "/" + directory
                        : std::string(1, text[at]);
    return replaced;
}

int FuzzInput::byte()
{
    if (rest.empty())
        return 0;
    const int value = static_cast<unsigned char>(rest.front());
    rest.remove_prefix(1);
    return value;
}

std::string_view FuzzInput::part(std::string_view separator)
{
    const size_t at = rest.find(separator);
    const std::string_view found = rest.substr(0, at);
    rest.remove_prefix(at == std::string_view::npos ? rest.size() : at + separator.size());
    return found;
}

std::string fuzz_repeated(std::string_view bytes, size_t length)
{
    std::string whole(bytes);
    while (!bytes.empty() && whole.size() < length)
        whole += bytes.substr(0, length - whole.size());
    return whole;
}

FuzzMessage::FuzzMessage()
{
    std::memset(text, 'x', sizeof text);
}

bool FuzzMessage::is_terminated() const
{
    return fuzz_is_terminated(text);
}

bool FuzzMessage::is_given() const
{
    return is_terminated() && text[0] != '\0';
}

// ------------------------------------------------------------------------------------ records

static double written(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", value);
    return std::strtod(text, nullptr);
}

bool fuzz_same_number(double saved, double loaded)
{
    return written(saved) == loaded || (std::isnan(saved) && std::isnan(loaded));
}

bool fuzz_is_writable(double value)
{
    return !std::isfinite(value) || std::isfinite(written(value));
}

bool fuzz_is_writable(const ZANSpinSystemDef &spin)
{
    for (int i = 1; i <= spin.nspins; i++) {
        if (!fuzz_is_writable(spin.relative_intensities[i]) ||
            !fuzz_is_writable(spin.resonance_offsets_hz[i]))
            return false;
        for (int k = 1; k <= spin.nspins; k++)
            if (!fuzz_is_writable(spin.j_hz[i][k]))
                return false;
    }
    return true;
}

bool fuzz_is_writable(const ZANPulseSequenceDef &seq)
{
    for (int s = 1; s <= seq.sector_count; s++)
        if (!fuzz_is_writable(seq.sectors[s].total_duration_s) ||
            !fuzz_is_writable(seq.sectors[s].offset_frequency_hz))
            return false;
    return true;
}

bool fuzz_same_spins(const ZANSpinSystemDef &saved, const ZANSpinSystemDef &loaded)
{
    if (saved.nspins != loaded.nspins || saved.coupling_mode != loaded.coupling_mode)
        return false;
    for (int i = 1; i <= saved.nspins; i++) {
        if (saved.spin_quantum_numbers[i] != loaded.spin_quantum_numbers[i] ||
            !fuzz_same_number(saved.relative_intensities[i], loaded.relative_intensities[i]) ||
            !fuzz_same_number(saved.resonance_offsets_hz[i], loaded.resonance_offsets_hz[i]))
            return false;
        for (int k = 1; k <= saved.nspins; k++)
            if (!fuzz_same_number(saved.j_hz[i][k], loaded.j_hz[i][k]))
                return false;
    }
    return true;
}

// A remark that was cut may end in blanks, which the writer cannot keep.
static bool same_remark(const char *saved, const char *loaded)
{
    std::string expected = saved;
    expected.erase(expected.find_last_not_of(" \t\r\n\v\f") + 1);
    return expected == loaded;
}

static bool same_sector(const ZANPulseSectorDef &saved, const ZANPulseSectorDef &loaded)
{
    return saved.sector_type == loaded.sector_type &&
           saved.number_of_timepoints == loaded.number_of_timepoints &&
           saved.number_of_evolpoints == loaded.number_of_evolpoints &&
           fuzz_same_number(saved.total_duration_s, loaded.total_duration_s) &&
           fuzz_same_number(saved.offset_frequency_hz, loaded.offset_frequency_hz) &&
           same_remark(saved.remark, loaded.remark);
}

bool fuzz_same_sequence(const ZANPulseSequenceDef &saved, const ZANPulseSequenceDef &loaded)
{
    if (saved.sequence_type != loaded.sequence_type || saved.sector_count != loaded.sector_count)
        return false;
    for (int s = 1; s <= saved.sector_count; s++)
        if (!same_sector(saved.sectors[s], loaded.sectors[s]))
            return false;
    return true;
}

bool fuzz_is_sound(const ZANSpinSystemDef &spin)
{
    if (ZANSpinSystemDef_Validate(&spin, nullptr, 0) != ZAN_MODEL_OK)
        return false;
    for (int g = 0; g < spin.subgroup_count; g++)
        if (!fuzz_is_terminated(spin.subgroup_labels[g]) || spin.subgroup_ppm_count[g] < 0)
            return false;
    return true;
}

bool fuzz_is_sound(const ZANPulseSequenceDef &seq)
{
    if (ZANPulseSequenceDef_Validate(&seq, nullptr, 0) != ZAN_MODEL_OK)
        return false;
    for (const ZANPulseSectorDef &sector : seq.sectors)
        if (!fuzz_is_terminated(sector.pulse_filename) || !fuzz_is_terminated(sector.remark))
            return false;
    return true;
}
