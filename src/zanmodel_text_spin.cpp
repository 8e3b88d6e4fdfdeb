// zanmodel_text_spin - the spin-system file: spins, couplings and the subgroups that name which
// spins of which molecular group are meant (metadata of the multiplet outputs).
#include "zanmodel_internal.h"

#include <vector>

namespace
{

enum SpinKey {
    KEY_FORMAT_VERSION,
    KEY_NSPINS,
    KEY_QUANTUM_NUMBERS,
    KEY_INTENSITIES,
    KEY_OFFSETS,
    KEY_COUPLING_MODE,
    REQUIRED_KEYS,
    KEY_SPIN_SYSTEM_NAME = REQUIRED_KEYS,
    KEY_MODEL_NAME,
    SCALAR_KEYS,
    KEY_JCOUPLING = SCALAR_KEYS,
    KEY_SUBGROUP,
    SPIN_KEYS
};

} // namespace

static const char *const spin_keys[SPIN_KEYS] = {
    "format_version",       "nspins",         "spin_quantum_numbers", "relative_intensities",
    "resonance_offsets_hz", "coupling_mode",  "spin_system_name",     "model_name",
    "jcoupling_hz",         "orvane_subgroup"};

namespace
{

struct SpinSystemText {
    ZANTextReader in;
    bool seen[SCALAR_KEYS];
    ZANSpinSystemDef *spin;
};

} // namespace

// ---- orvane_subgroup: label=... spins=1,2 ppm=1.2,1.4 ----

// The value of the first "name=" that begins text or follows white space, up to the next one.
static bool zan_extract_metadata_token(const char *text, const char *name, std::string *token)
{
    const std::string whole = text, field = std::string(name) + "=";
    size_t at = whole.find(field);
    while (at != std::string::npos && at > 0 && !std::strchr(zan_white_space, whole[at - 1]))
        at = whole.find(field, at + 1);
    if (at == std::string::npos)
        return false;
    const size_t start = at + field.size();
    *token = whole.substr(start, whole.find_first_of(zan_white_space, start) - start);
    return true;
}

// At least one item; "1,,2" has an empty one.
static std::vector<std::string> split_at_commas(const std::string &text)
{
    std::vector<std::string> items(1);
    for (char c : text) {
        if (c == ',')
            items.emplace_back();
        else
            items.back() += c;
    }
    return items;
}

static bool zan_parse_spin_index_list(const std::string &text, int (&spins)[9], int *count)
{
    *count = 0;
    if (text == "not_modeled")
        return true;
    for (const std::string &item : split_at_commas(text)) {
        int spin = 0;
        if (*count == ZAN_MODEL_SPIN_CAP || !parse_int_strict(item.c_str(), &spin) || spin < 1 ||
            spin > ZAN_MODEL_SPIN_CAP)
            return false;
        spins[(*count)++] = spin;
    }
    return true;
}

static bool zan_parse_ppm_list_average(const std::string &text, double *average, int *count)
{
    *average = 0.0;
    *count = 0;
    if (text == "not_listed" || text == "none")
        return true;
    double sum = 0.0;
    for (const std::string &item : split_at_commas(text)) {
        double ppm = 0.0;
        if (!parse_double_strict(item.c_str(), &ppm))
            return false;
        sum += ppm;
        ++*count;
    }
    *average = sum / *count;
    return true;
}

static ZANModelStatus zan_parse_orvane_subgroup(SpinSystemText *system, const char *value)
{
    ZANSpinSystemDef *spin = system->spin;
    const int g = spin->subgroup_count;
    if (g == ZAN_MODEL_SUBGROUP_CAP)
        return zan_line_error(&system->in, "too many orvane_subgroup records");
    std::string token;
    if (zan_extract_metadata_token(value, "label", &token))
        zan_copy_text(spin->subgroup_labels[g], token.c_str());
    if (!zan_extract_metadata_token(value, "spins", &token) ||
        !zan_parse_spin_index_list(token, spin->subgroup_spins[g], &spin->subgroup_spin_count[g]))
        return zan_line_error(&system->in, "bad orvane_subgroup spins field");
    if (!zan_extract_metadata_token(value, "ppm", &token) ||
        !zan_parse_ppm_list_average(token, &spin->subgroup_ppm[g], &spin->subgroup_ppm_count[g]))
        return zan_line_error(&system->in, "bad orvane_subgroup ppm field");
    spin->subgroup_count++;
    return ZAN_MODEL_OK;
}

// ---- spins and couplings ----

static ZANModelStatus read_int(const SpinSystemText *system, int key, const char *value, int *field)
{
    return parse_int_strict(value, field) ? ZAN_MODEL_OK
                                          : zan_bad_value(&system->in, spin_keys[key]);
}

static ZANModelStatus read_list(SpinSystemText *system, int key, const char *value)
{
    ZANSpinSystemDef *spin = system->spin;
    bool good = false;
    if (key == KEY_QUANTUM_NUMBERS)
        good = parse_int_list(value, spin->nspins, spin->spin_quantum_numbers);
    else if (key == KEY_INTENSITIES)
        good = parse_double_list(value, spin->nspins, spin->relative_intensities);
    else
        good = parse_double_list(value, spin->nspins, spin->resonance_offsets_hz);
    return good ? ZAN_MODEL_OK
                : zan_set_list_length_error(&system->in, spin_keys[key], value, spin->nspins);
}

// Text after the third number is ignored.
static ZANModelStatus read_coupling(SpinSystemText *system, const char *value)
{
    int i = 0, k = 0;
    double j_hz = 0.0;
    if (!zan_scan_number(&value, &i) || !zan_scan_number(&value, &k) ||
        !zan_scan_number(&value, &j_hz))
        return zan_line_error(&system->in, "bad jcoupling_hz entry");
    if (i < 1 || i > ZAN_MODEL_SPIN_CAP || k < 1 || k > ZAN_MODEL_SPIN_CAP || i == k)
        return zan_line_error(&system->in, "jcoupling indices out of range");
    system->spin->j_hz[i][k] = j_hz;
    system->spin->j_hz[k][i] = j_hz;
    return ZAN_MODEL_OK;
}

static bool needs_nspins(int key)
{
    return key == KEY_QUANTUM_NUMBERS || key == KEY_INTENSITIES || key == KEY_OFFSETS ||
           key == KEY_JCOUPLING;
}

static ZANModelStatus read_spin_value(SpinSystemText *system, int key, const char *value)
{
    switch (key) {
    case KEY_FORMAT_VERSION:
        return zan_read_format_version(&system->in, value);
    case KEY_SPIN_SYSTEM_NAME:
    case KEY_MODEL_NAME:
        return ZAN_MODEL_OK;
    case KEY_SUBGROUP:
        return zan_parse_orvane_subgroup(system, value);
    case KEY_NSPINS:
        return read_int(system, key, value, &system->spin->nspins);
    case KEY_COUPLING_MODE:
        return read_int(system, key, value, &system->spin->coupling_mode);
    case KEY_JCOUPLING:
        return read_coupling(system, value);
    default:
        return read_list(system, key, value);
    }
}

static ZANModelStatus read_spin_line(SpinSystemText *system)
{
    const ZANTextReader *in = &system->in;
    const char *value = nullptr;
    const int key = zan_find_key(in->text, spin_keys, SPIN_KEYS, &value);
    if (key < 0) {
        return zan_is_spin_system_metadata_key(in->text)
                   ? ZAN_MODEL_OK
                   : zan_line_error(in, "unknown spin-system key");
    }
    if (needs_nspins(key) && !system->seen[KEY_NSPINS])
        return zan_line_error(in, "key 'nspins' must appear before '%s'", spin_keys[key]);
    if (key < SCALAR_KEYS) {
        const ZANModelStatus status =
            zan_reject_duplicate_scalar_key(in, spin_keys[key], &system->seen[key]);
        if (status != ZAN_MODEL_OK)
            return status;
    }
    return read_spin_value(system, key, value);
}

static ZANModelStatus require_spin_keys(const SpinSystemText *system)
{
    const ZANTextReader *in = &system->in;
    if (!system->seen[KEY_FORMAT_VERSION]) {
        set_error(in->errbuf, in->errbufsz, "missing required key 'format_version'");
        return ZAN_MODEL_ERR_PARSE;
    }
    for (int key = 0; key < REQUIRED_KEYS; key++) {
        if (!system->seen[key]) {
            set_error(in->errbuf, in->errbufsz,
                      "spin-system file is missing one or more required spin keys");
            return ZAN_MODEL_ERR_PARSE;
        }
    }
    return ZAN_MODEL_OK;
}

ZANModelStatus zan_load_spin_system_text(const char *filename, ZANSpinSystemDef *spin, char *errbuf,
                                         size_t errbufsz)
{
    if (!filename || !spin) {
        set_error(errbuf, errbufsz, "spin-system load arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    ZANSpinSystemDef_Init(spin);
    SpinSystemText system = {{}, {}, spin};
    if (!zan_open_text(&system.in, filename, errbuf, errbufsz)) {
        set_error(errbuf, errbufsz, "could not open spin system '%s'", filename);
        return ZAN_MODEL_ERR_IO;
    }
    ZANModelStatus status = ZAN_MODEL_OK;
    while (status == ZAN_MODEL_OK && zan_read_content_line(&system.in))
        status = read_spin_line(&system);
    if (status == ZAN_MODEL_OK)
        status = zan_close_text(&system.in);
    if (status == ZAN_MODEL_OK)
        status = require_spin_keys(&system);
    return status == ZAN_MODEL_OK ? ZANSpinSystemDef_Validate(spin, errbuf, errbufsz) : status;
}
