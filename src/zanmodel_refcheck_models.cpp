// zanmodel_refcheck_models - reference cases 5 and 6: a model of three files is put together as
// it should be, and malformed models are refused with the right message.
#include "zanmodel_refcheck_internal.h"

#include "zan-entry.h"

#include <string>

namespace
{

struct RefText {
    const char *name; // below the directory of the case
    std::string text;
};

} // namespace

// ------------------------------------------------------------------ split composition

static const char split[] = "split";

static const char test_pulse_name[] = "sequences/test-gradient/waveforms/wave1-excitation";

static const char test_spin_name[] = "spin-systems/test-two-spin.zanspin";
static const char test_spin_text[] = "format_version: 1\n"
                                     "spin_system_name: test-two-spin\n"
                                     "\n"
                                     "nspins: 2\n"
                                     "spin_quantum_numbers: 1 1\n"
                                     "relative_intensities: 1 1\n"
                                     "resonance_offsets_hz: 100 -40\n"
                                     "coupling_mode: 1\n"
                                     "jcoupling_hz: 1 2 12\n";

static const char test_sequence_name[] = "sequences/test-gradient/test-gradient.zanseq";
static const char test_sequence_text[] = "format_version: 1\n"
                                         "sequence_name: test-gradient\n"
                                         "\n"
                                         "sequence_type: 1\n"
                                         "number_of_sectors: 1\n"
                                         "sector_type: 1 1\n"
                                         "sector_timepoints: 1 1\n"
                                         "sector_evolpoints: 1 1\n"
                                         "sector_duration_s: 1 1e-05\n"
                                         "sector_pulsefile: 1 waveforms/wave1-excitation\n"
                                         "sector_statoff_hz: 1 0\n"
                                         "sector_remark: 1 test\n";

static const char test_model_name[] = "models/case.zanmodel";
static const char test_model_text[] =
    "format_version: 1\n"
    "model_name: split-composition\n"
    "\n"
    "spin_system_file: ../spin-systems/test-two-spin.zanspin\n"
    "sequence_file: ../sequences/test-gradient/test-gradient.zanseq\n"
    "\n"
    "ndx: 5\nndy: 1\nndz: 1\n"
    "x0_cm: -10\ny0_cm: 0\nz0_cm: 0\n"
    "dx_cm: 5\ndy_cm: 0\ndz_cm: 0\n"
    "result_file: split-composition-result.bin\n";

namespace
{

struct SplitFiles {
    RefPath pulse, spin, sequence, model;
};

} // namespace

static int name_split_files(const char *base, SplitFiles *files)
{
    if (join2(files->pulse, sizeof files->pulse, base, test_pulse_name) &&
        join2(files->spin, sizeof files->spin, base, test_spin_name) &&
        join2(files->sequence, sizeof files->sequence, base, test_sequence_name) &&
        join2(files->model, sizeof files->model, base, test_model_name))
        return 1;
    return ref_fail(split, "could not build reference file paths");
}

static int write_split_files(const SplitFiles &files)
{
    if (!write_spatial_gradient_fixture(files.pulse))
        return ref_fail(split, "could not write pulse fixture");
    if (!write_reference_text(files.spin, test_spin_text))
        return ref_fail(split, "could not write spin-system fixture");
    if (!write_reference_text(files.sequence, test_sequence_text))
        return ref_fail(split, "could not write sequence fixture");
    if (!write_reference_text(files.model, test_model_text))
        return ref_fail(split, "could not write model fixture");
    return 1;
}

int check_split_model(const RefModel *model)
{
    const char *pulse = model->seq.sectors[1].pulse_filename, *result = model->cfg.result_filename;
    int ok = check_scalar(split, "nspins", model->spin.nspins, 2, 0.0);
    ok &= check_scalar(split, "sequence_type", model->seq.sequence_type, 1, 0.0);
    ok &= check_scalar(split, "sector_count", model->seq.sector_count, 1, 0.0);
    ok &= check_scalar(split, "ndx", model->cfg.ndx, 5, 0.0);
    if (!file_exists(pulse))
        ok = ref_fail(split, "resolved pulse fixture does not exist: %s", pulse);
    if (!std::strstr(result, "build\\runtime\\results") &&
        !std::strstr(result, "build/runtime/results"))
        ok = ref_fail(split, "relative result_file did not resolve under build runtime results: %s",
                      result);
    return ok;
}

int RunSplitCompositionReferenceCase(void)
{
    RefPath base;
    SplitFiles files;
    if (!make_reference_tree(split, "split-composition",
                             {"models", "spin-systems", "sequences", "sequences/test-gradient",
                              "sequences/test-gradient/waveforms"},
                             base) ||
        !name_split_files(base, &files) || !write_split_files(files))
        return 0;
    RefModel model;
    const ZANModelStatus status = load_reference_model(files.model, &model);
    if (status != ZAN_MODEL_OK)
        return ref_fail_status(split, "load", status, model.error);
    return check_split_model(&model) ? ref_pass("split-composition-reference") : 0;
}

// ------------------------------------------------------------------ malformed models

static int fail_malformed(const std::string &message)
{
    return ref_fail("malformed", ": %s", message.c_str());
}

static const char malformed_spin_text[] = "format_version: 1\n"
                                          "spin_system_name: malformed\n"
                                          "\n"
                                          "nspins: 1\n"
                                          "spin_quantum_numbers: 1\n"
                                          "relative_intensities: 1\n"
                                          "resonance_offsets_hz: 0\n"
                                          "coupling_mode: 2\n";

static std::string malformed_sequence(const char *name, const char *type, const char *remark)
{
    return std::string("format_version: 1\nsequence_name: ") + name + "\n\nsequence_type: " + type +
           "\n"
           "number_of_sectors: 1\n"
           "sector_type: 1 1\n"
           "sector_timepoints: 1 1\n"
           "sector_evolpoints: 1 1\n"
           "sector_duration_s: 1 0.001\n"
           "sector_pulsefile: 1 waveforms/dummy.bin\n"
           "sector_statoff_hz: 1 0\n"
           "sector_remark: 1 " +
           remark + "\n";
}

static const char malformed_spin_line[] = "spin_system_file: ../spin-systems/malformed.zanspin\n";

static std::string malformed_model(const char *spin_lines, const char *sequence, const char *result)
{
    return std::string("format_version: 1\n") + spin_lines +
           "sequence_file: ../sequences/malformed/" + sequence +
           "\n"
           "ndx: 1\nndy: 1\nndz: 1\n"
           "x0_cm: 0\ny0_cm: 0\nz0_cm: 0\n"
           "dx_cm: 0\ndy_cm: 0\ndz_cm: 0\n"
           "result_file: " +
           result + "\n";
}

static const char duplicate_key_model[] = "malformed-models/duplicate-sequence-type.zanmodel";
static const char invalid_type_model[] = "malformed-models/invalid-sequence-type.zanmodel";

static int make_malformed_directories(const char *work)
{
    if (!ensure_dir(work))
        return fail_malformed(std::string("could not create ") + work);
    for (const char *name : {"malformed-models", "spin-systems", "sequences", "sequences/malformed",
                             "sequences/malformed/waveforms"}) {
        RefPath path;
        if (!join2(path, sizeof path, work, name))
            return fail_malformed("could not build malformed-models path");
        if (!ensure_dir(path))
            return fail_malformed("could not create malformed-models directory");
    }
    return 1;
}

static int write_malformed_text(const char *work, const RefText &file)
{
    RefPath path;
    if (!join2(path, sizeof path, work, file.name))
        return fail_malformed("could not build malformed-model file paths");
    if (!write_reference_text(path, file.text.c_str()))
        return fail_malformed(std::string("could not create ") +
                              (std::strrchr(file.name, '/') + 1));
    return 1;
}

static int write_dummy_pulse(const char *work)
{
    RefPath path;
    if (!join2(path, sizeof path, work, "sequences/malformed/waveforms/dummy.bin"))
        return fail_malformed("could not build malformed-model file paths");
    return write_zero_byte(path) || fail_malformed("could not create dummy pulse file");
}

int make_malformed_models(const char *work)
{
    const std::string spin_twice = std::string(malformed_spin_line) + malformed_spin_line;
    const RefText files[] = {
        {"spin-systems/malformed.zanspin", malformed_spin_text},
        {"sequences/malformed/valid.zanseq", malformed_sequence("valid", "2", "valid split case")},
        {duplicate_key_model, malformed_model(spin_twice.c_str(), "valid.zanseq", "dup.bin")},
        {"sequences/malformed/invalid.zanseq",
         malformed_sequence("invalid", "9", "invalid semantic case")},
        {invalid_type_model, malformed_model(malformed_spin_line, "invalid.zanseq", "badseq.bin")},
    };
    if (!make_malformed_directories(work) || !write_dummy_pulse(work))
        return 0;
    for (const RefText &file : files)
        if (!write_malformed_text(work, file))
            return 0;
    return 1;
}

int check_model_is_rejected(const char *what, const char *path, const char *expected)
{
    RefModel model;
    const ZANModelStatus status = load_reference_model(path, &model);
    if (status == ZAN_MODEL_OK)
        return fail_malformed(std::string(what) + " model unexpectedly loaded");
    if (!std::strstr(model.error, expected)) {
        fail_malformed(std::string(what) + " model failed for unexpected reason");
        std::printf("      status : %s\n", ZANModelStatusString(status));
        std::printf("      error  : %s\n", model.error);
        return 0;
    }
    return ref_pass((std::string("malformed-") + what).c_str());
}

static int check_malformed_model(const char *what, const char *name, const char *expected)
{
    return check_model_is_rejected(what, (std::string(ref_work_dir) + "/" + name).c_str(),
                                   expected);
}

int RunMalformedModelRejectCases(void)
{
    if (!make_malformed_models(ref_work_dir))
        return 0;
    const int ok = check_malformed_model("duplicate-key", duplicate_key_model,
                                         "duplicate key 'spin_system_file'");
    return check_malformed_model("invalid-sequence-type", invalid_type_model,
                                 "sequence_type=9 is invalid") &
           ok;
}
