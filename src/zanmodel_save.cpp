// zanmodel_save.cpp - writes a model as its three text files.
//
// The model file lies where the user wants it; the spin system and the sequence go to
// directories beside its directory. The grammar is the loader's (zanmodel_text*.cpp); stored
// paths are made relative where they can be (zanmodel_paths.cpp). Every file appears complete
// or not at all.
#include "zanmodel_internal.h"

#include "platformlib.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace
{

// Where the three files go.
struct SaveTargets {
    std::string name; // of spin system and sequence
    std::string spin_dir, sequences_dir, sequence_dir;
    std::string spin_file, sequence_file, model_file;
};

} // namespace

// ------------------------------------------------------------------ targets

static std::string name_of_model(const char *filename, const ZANRunConfig *cfg)
{
    const std::string name =
        cfg->model_name[0] ? cfg->model_name : zan_base_name_without_extension(filename);
    return name.empty() ? "model" : name;
}

// It becomes the name of files and of one directory, and a value in the model file.
static bool is_usable_name(const std::string &name)
{
    return zan_is_storable(name) && name.find_first_of("\\/") == std::string::npos && name != "." &&
           name != "..";
}

static ZANModelStatus derive_targets(const char *filename, const ZANRunConfig *cfg, SaveTargets *to,
                                     char *errbuf, size_t errbufsz)
{
    std::string root;
    to->name = name_of_model(filename, cfg);
    const bool derived = zan_parent_dir_copy(zan_directory_of(filename), &root);
    to->spin_dir = root + "spin-systems";
    to->sequences_dir = root + "sequences";
    to->sequence_dir = to->sequences_dir + plat_separator + to->name;
    if (!derived || !is_usable_name(to->name) || to->sequence_dir.size() >= SAVE_PATH_LEN) {
        set_error(errbuf, errbufsz, "could not derive split output directories for '%s'", filename);
        return ZAN_MODEL_ERR_IO;
    }
    to->spin_file = to->spin_dir + plat_separator + to->name + ".zanspin";
    to->sequence_file = to->sequence_dir + plat_separator + to->name + ".zanseq";
    to->model_file = filename;
    return ZAN_MODEL_OK;
}

static ZANModelStatus make_target_dirs(const SaveTargets &to, char *errbuf, size_t errbufsz)
{
    if (!plat_make_dir(to.spin_dir.c_str()) || !plat_make_dir(to.sequences_dir.c_str()) ||
        !plat_make_dir(to.sequence_dir.c_str())) {
        set_error(errbuf, errbufsz, "could not create split output directories");
        return ZAN_MODEL_ERR_IO;
    }
    const size_t longest_leaf = ZAN_MODEL_FILENAME_LEN - sizeof ".zanspin";
    if (to.name.size() > longest_leaf || to.spin_file.size() >= SAVE_PATH_LEN ||
        to.sequence_file.size() >= SAVE_PATH_LEN) {
        set_error(errbuf, errbufsz, "split output path is too long");
        return ZAN_MODEL_ERR_IO;
    }
    return ZAN_MODEL_OK;
}

// ------------------------------------------------------------------ one file

static ZANModelStatus open_for_writing(const std::string &path, OutputFile *out, char *errbuf,
                                       size_t errbufsz)
{
    if (open_output(out, path.c_str()))
        return ZAN_MODEL_OK;
    set_error(errbuf, errbufsz, "could not open '%s' for writing", path.c_str());
    return ZAN_MODEL_ERR_IO;
}

static ZANModelStatus close_written(const std::string &path, OutputFile *out, char *errbuf,
                                    size_t errbufsz)
{
    if (commit_output(out))
        return ZAN_MODEL_OK;
    set_error(errbuf, errbufsz, "failed while closing '%s'", path.c_str());
    return ZAN_MODEL_ERR_IO;
}

// 15 digits; all 17 where these round up to more than a double holds.
static std::string number_text(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", value);
    if (std::isfinite(value) && !std::isfinite(std::strtod(text, nullptr)))
        std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

static void print_double(FILE *out, const char *key, double value)
{
    std::fprintf(out, "%s: %s\n", key, number_text(value).c_str());
}

static void print_doubles(FILE *out, const char *key, const double *values, int count)
{
    std::fprintf(out, "%s:", key);
    for (int k = 1; k <= count; k++)
        std::fprintf(out, " %s", number_text(values[k]).c_str());
    std::fprintf(out, "\n");
}

void zan_print_couplings(FILE *out, const ZANSpinSystemDef *spin)
{
    for (int i = 1; i <= spin->nspins; i++)
        for (int k = i + 1; k <= spin->nspins; k++)
            if (spin->j_hz[i][k] != 0.0)
                std::fprintf(out, "jcoupling_hz: %d %d %s\n", i, k,
                             number_text(spin->j_hz[i][k]).c_str());
}

static ZANModelStatus write_spin_system(const SaveTargets &to, const ZANSpinSystemDef *spin,
                                        char *errbuf, size_t errbufsz)
{
    OutputFile out;
    const ZANModelStatus status = open_for_writing(to.spin_file, &out, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    std::fprintf(out.file, "format_version: %d\n", ZAN_MODEL_FORMAT_VERSION);
    std::fprintf(out.file, "spin_system_name: %s\n\n", to.name.c_str());
    std::fprintf(out.file, "nspins: %d\n", spin->nspins);
    std::fprintf(out.file, "spin_quantum_numbers:");
    for (int k = 1; k <= spin->nspins; k++)
        std::fprintf(out.file, " %d", spin->spin_quantum_numbers[k]);
    std::fprintf(out.file, "\n");
    print_doubles(out.file, "relative_intensities", spin->relative_intensities, spin->nspins);
    print_doubles(out.file, "resonance_offsets_hz", spin->resonance_offsets_hz, spin->nspins);
    std::fprintf(out.file, "coupling_mode: %d\n", spin->coupling_mode);
    zan_print_couplings(out.file, spin);
    return close_written(to.spin_file, &out, errbuf, errbufsz);
}

static void print_sector(FILE *out, int s, const ZANPulseSectorDef &sector, const char *pulse)
{
    std::fprintf(out, "sector_type: %d %d\n", s, sector.sector_type);
    std::fprintf(out, "sector_timepoints: %d %d\n", s, sector.number_of_timepoints);
    std::fprintf(out, "sector_evolpoints: %d %d\n", s, sector.number_of_evolpoints);
    std::fprintf(out, "sector_duration_s: %d %s\n", s,
                 number_text(sector.total_duration_s).c_str());
    std::fprintf(out, "sector_pulsefile: %d %s\n", s, pulse);
    std::fprintf(out, "sector_statoff_hz: %d %s\n", s,
                 number_text(sector.offset_frequency_hz).c_str());
    std::fprintf(out, "sector_remark: %d %s\n", s, sector.remark);
}

static ZANModelStatus write_sequence(const SaveTargets &to, const ZANPulseSequenceDef *seq,
                                     char *errbuf, size_t errbufsz)
{
    OutputFile out;
    const ZANModelStatus status = open_for_writing(to.sequence_file, &out, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    std::fprintf(out.file, "format_version: %d\n", ZAN_MODEL_FORMAT_VERSION);
    std::fprintf(out.file, "sequence_name: %s\n\n", to.name.c_str());
    std::fprintf(out.file, "sequence_type: %d\n", seq->sequence_type);
    std::fprintf(out.file, "number_of_sectors: %d\n", seq->sector_count);
    for (int s = 1; s <= seq->sector_count; s++) {
        char pulse[ZAN_MODEL_FILENAME_LEN];
        if (!zan_make_portable_sector_pulse_path(
                to.sequence_file.c_str(), seq->sectors[s].pulse_filename, pulse, sizeof pulse)) {
            discard_output(&out);
            set_error(errbuf, errbufsz, "could not derive portable sector path for sector %d", s);
            return ZAN_MODEL_ERR_IO;
        }
        print_sector(out.file, s, seq->sectors[s], pulse);
    }
    return close_written(to.sequence_file, &out, errbuf, errbufsz);
}

static ZANModelStatus write_model(const SaveTargets &to, const ZANRunConfig *cfg, char *errbuf,
                                  size_t errbufsz)
{
    char result[ZAN_MODEL_FILENAME_LEN];
    if (!zan_make_portable_result_path(to.model_file.c_str(), cfg->result_filename, result,
                                       sizeof result)) {
        set_error(errbuf, errbufsz, "could not derive portable result_file path");
        return ZAN_MODEL_ERR_IO;
    }
    OutputFile out;
    const ZANModelStatus status = open_for_writing(to.model_file, &out, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    const char *name = to.name.c_str();
    std::fprintf(out.file, "format_version: %d\n", ZAN_MODEL_FORMAT_VERSION);
    std::fprintf(out.file, "model_name: %s\n\n", name);
    std::fprintf(out.file, "spin_system_file: ../spin-systems/%s.zanspin\n", name);
    std::fprintf(out.file, "sequence_file: ../sequences/%s/%s.zanseq\n\n", name, name);
    std::fprintf(out.file, "ndx: %d\nndy: %d\nndz: %d\n", cfg->ndx, cfg->ndy, cfg->ndz);
    print_double(out.file, "x0_cm", cfg->x0_cm);
    print_double(out.file, "y0_cm", cfg->y0_cm);
    print_double(out.file, "z0_cm", cfg->z0_cm);
    print_double(out.file, "dx_cm", cfg->dx_cm);
    print_double(out.file, "dy_cm", cfg->dy_cm);
    print_double(out.file, "dz_cm", cfg->dz_cm);
    std::fprintf(out.file, "result_file: %s\n", result);
    return close_written(to.model_file, &out, errbuf, errbufsz);
}

ZANModelStatus ZANModel_SaveText(const char *filename, const ZANSpinSystemDef *spin,
                                 const ZANPulseSequenceDef *seq, const ZANRunConfig *cfg,
                                 char *errbuf, size_t errbufsz)
{
    if (!filename || !spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "save arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    SaveTargets to;
    ZANModelStatus status = ZANModel_ValidateAll(spin, seq, cfg, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = derive_targets(filename, cfg, &to, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = make_target_dirs(to, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = write_spin_system(to, spin, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = write_sequence(to, seq, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = write_model(to, cfg, errbuf, errbufsz);
    return status;
}
