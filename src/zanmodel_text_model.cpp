// zanmodel_text_model - the model file: run configuration and the names of the other two files,
// which zanmodel_text_spin.cpp and zanmodel_text_sequence.cpp read.
#include "zanmodel_internal.h"

#include <iterator>

namespace
{

enum ModelKey {
    KEY_FORMAT_VERSION,
    KEY_SPIN_SYSTEM_FILE,
    KEY_SEQUENCE_FILE,
    KEY_NDX,
    KEY_NDY,
    KEY_NDZ,
    KEY_X0,
    KEY_Y0,
    KEY_Z0,
    KEY_DX,
    KEY_DY,
    KEY_DZ,
    KEY_RESULT_FILE,
    REQUIRED_KEYS,
    KEY_MODEL_NAME = REQUIRED_KEYS,
    MODEL_KEYS
};

} // namespace

// The required ones first, in the order in which a missing one is reported.
static const char *const model_keys[MODEL_KEYS] = {"format_version",
                                                   "spin_system_file",
                                                   "sequence_file",
                                                   "ndx",
                                                   "ndy",
                                                   "ndz",
                                                   "x0_cm",
                                                   "y0_cm",
                                                   "z0_cm",
                                                   "dx_cm",
                                                   "dy_cm",
                                                   "dz_cm",
                                                   "result_file",
                                                   "model_name"};

static int ZANRunConfig::*const grid_counts[] = {&ZANRunConfig::ndx, &ZANRunConfig::ndy,
                                                 &ZANRunConfig::ndz};
static double ZANRunConfig::*const grid_lengths[] = {&ZANRunConfig::x0_cm, &ZANRunConfig::y0_cm,
                                                     &ZANRunConfig::z0_cm, &ZANRunConfig::dx_cm,
                                                     &ZANRunConfig::dy_cm, &ZANRunConfig::dz_cm};

namespace
{

struct ModelText {
    ZANTextReader in;
    bool seen[MODEL_KEYS];
    ZANSpinSystemDef *spin;
    ZANPulseSequenceDef *seq;
    ZANRunConfig *cfg;
};

} // namespace

// Keys of the days when one file held the whole model.
static bool zan_is_inline_model_key(const char *line)
{
    static const char *const keys[] = {
        "nspins",           "spin_quantum_numbers", "relative_intensities", "resonance_offsets_hz",
        "coupling_mode",    "jcoupling_hz",         "sequence_type",        "number_of_sectors",
        "sector_type",      "sector_timepoints",    "sector_evolpoints",    "sector_duration_s",
        "sector_pulsefile", "sector_statoff_hz",    "sector_remark"};
    const char *value = nullptr;
    return zan_find_key(line, keys, static_cast<int>(std::size(keys)), &value) >= 0;
}

// Settings that stand in comments, so that readers without them skip the line. A value that is
// no number changes nothing.
static bool read_comment_setting(const char *line, ZANRunConfig *cfg)
{
    const char *value = nullptr;
    if (starts_with_key(line, "# zan_gui_b0_tesla", &value)) {
        parse_double_strict(value, &cfg->b0_tesla);
        return true;
    }
    if (starts_with_key(line, "# zan_gui_receiver_carrier_ppm", &value)) {
        parse_double_strict(value, &cfg->receiver_carrier_ppm);
        return true;
    }
    return false;
}

static ZANModelStatus unresolved(const ZANTextReader *in, const char *key)
{
    zan_line_error(in, "could not resolve %s", key);
    return ZAN_MODEL_ERR_IO;
}

static ZANModelStatus read_spin_system_file(ModelText *model, const char *value)
{
    const ZANTextReader *in = &model->in;
    std::string path;
    if (!zan_resolve_model_relative_path(in->filename, value, &path))
        return unresolved(in, "spin_system_file");
    return zan_load_spin_system_text(path.c_str(), model->spin, in->errbuf, in->errbufsz);
}

static ZANModelStatus read_sequence_file(ModelText *model, const char *value)
{
    const ZANTextReader *in = &model->in;
    std::string path;
    if (!zan_resolve_model_relative_path(in->filename, value, &path))
        return unresolved(in, "sequence_file");
    return zan_load_pulse_sequence_text(path.c_str(), model->seq, in->errbuf, in->errbufsz);
}

static ZANModelStatus read_result_file(ModelText *model, const char *value)
{
    std::string path;
    if (!zan_resolve_result_path(value, &path))
        return unresolved(&model->in, "result_file");
    zan_copy_text(model->cfg->result_filename, path.c_str());
    return ZAN_MODEL_OK;
}

static ZANModelStatus read_grid_value(ModelText *model, int key, const char *value)
{
    const bool good = key <= KEY_NDZ
                          ? parse_int_strict(value, &(model->cfg->*grid_counts[key - KEY_NDX]))
                          : parse_double_strict(value, &(model->cfg->*grid_lengths[key - KEY_X0]));
    return good ? ZAN_MODEL_OK : zan_bad_value(&model->in, model_keys[key]);
}

static ZANModelStatus read_model_value(ModelText *model, int key, const char *value)
{
    switch (key) {
    case KEY_FORMAT_VERSION:
        return zan_read_format_version(&model->in, value);
    case KEY_MODEL_NAME:
        zan_copy_text(model->cfg->model_name, value);
        return ZAN_MODEL_OK;
    case KEY_SPIN_SYSTEM_FILE:
        return read_spin_system_file(model, value);
    case KEY_SEQUENCE_FILE:
        return read_sequence_file(model, value);
    case KEY_RESULT_FILE:
        return read_result_file(model, value);
    default:
        return read_grid_value(model, key, value);
    }
}

static ZANModelStatus read_model_line(ModelText *model)
{
    const ZANTextReader *in = &model->in;
    if (zan_is_inline_model_key(in->text)) {
        return zan_line_error(in, "inline spin-system/sequence keys are no longer supported in "
                                  ".zanmodel; use spin_system_file and sequence_file");
    }
    if (zan_is_spin_system_metadata_key(in->text))
        return ZAN_MODEL_OK;
    const char *value = nullptr;
    const int key = zan_find_key(in->text, model_keys, MODEL_KEYS, &value);
    if (key < 0)
        return zan_line_error(in, "unknown key");
    const ZANModelStatus status =
        zan_reject_duplicate_scalar_key(in, model_keys[key], &model->seen[key]);
    return status == ZAN_MODEL_OK ? read_model_value(model, key, value) : status;
}

static ZANModelStatus read_model_lines(ModelText *model)
{
    while (zan_read_line(&model->in)) {
        if (read_comment_setting(model->in.text, model->cfg) || !zan_remove_comment(&model->in))
            continue;
        const ZANModelStatus status = read_model_line(model);
        if (status != ZAN_MODEL_OK)
            return status;
    }
    return zan_close_text(&model->in);
}

static ZANModelStatus require_model_keys(const ModelText *model)
{
    for (int key = 0; key < REQUIRED_KEYS; key++) {
        if (!model->seen[key]) {
            set_error(model->in.errbuf, model->in.errbufsz, "missing required key '%s'",
                      model_keys[key]);
            return ZAN_MODEL_ERR_PARSE;
        }
    }
    return ZAN_MODEL_OK;
}

ZANModelStatus ZANModel_LoadText(const char *filename, ZANSpinSystemDef *spin,
                                 ZANPulseSequenceDef *seq, ZANRunConfig *cfg, char *errbuf,
                                 size_t errbufsz)
{
    if (!filename || !spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "load arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    ZANSpinSystemDef_Init(spin);
    ZANPulseSequenceDef_Init(seq);
    ZANRunConfig_Init(cfg);

    ModelText model = {{}, {}, spin, seq, cfg};
    if (!zan_open_text(&model.in, filename, errbuf, errbufsz)) {
        set_error(errbuf, errbufsz, "could not open '%s' for reading", filename);
        return ZAN_MODEL_ERR_IO;
    }
    ZANModelStatus status = read_model_lines(&model);
    if (status != ZAN_MODEL_OK)
        return status;
    if (cfg->model_name[0] == '\0')
        zan_copy_text(cfg->model_name, zan_base_name_without_extension(filename).c_str());
    status = require_model_keys(&model);
    return status == ZAN_MODEL_OK ? ZANModel_ValidateAll(spin, seq, cfg, errbuf, errbufsz) : status;
}
