// zan-entry_modes.cpp - the three command-line modes: load a model, run or evaluate it, end.
//
// What went wrong is told on the error stream; models are opened by zan-entry_models.cpp.
#include "zan-entry.h"

#include "platformlib.h"
#include "zan-entry_internal.h"
#include "zan.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

namespace
{

// How a mode words its failures.
struct ModeTexts {
    const char *state;             // what could not be allocated
    const char *load, *activation; // what failed
    bool with_path;                // a second line names the model file
};

} // namespace

static const ModeTexts run_texts = {"model run", "Load", "Activate", true};
static const ModeTexts profile_texts = {"expectation-profile", "Expectation profile model load",
                                        "Expectation profile model activation", false};
static const ModeTexts voxel_texts = {"voxel-signal", "Voxel signal model load",
                                      "Voxel signal model activation", false};

// The model of a mode, active in the engine; nothing when that failed, which has been told.
static std::unique_ptr<ShellModel> open_model(const char *path, const ModeTexts &texts)
{
    std::unique_ptr<ShellModel> model{new (std::nothrow) ShellModel};
    if (!model) {
        std::fprintf(stderr, "[ZAN] Could not allocate %s state\n", texts.state);
        return nullptr;
    }
    const char *step = texts.load;
    ZANModelStatus status = load_shell_model(path, model.get());
    if (status == ZAN_MODEL_OK) {
        step = texts.activation;
        status = activate_shell_model(model.get());
    }
    if (status == ZAN_MODEL_OK)
        return model;
    std::fprintf(stderr, "[ZAN] %s failed: %s (%s)\n", step, ZANModelStatusString(status),
                 model->error);
    if (texts.with_path)
        std::fprintf(stderr, "[ZAN] Path used: %s\n", path);
    return nullptr;
}

// The run's own directory is entered before the model is opened: a relative model path starts
// there.
int run_zan_model_file(const char *model_path)
{
    if (!model_path || !*model_path) {
        std::fprintf(stderr, "[ZAN] --run-model requires a .zanmodel path\n");
        return 1;
    }
    enter_private_model_run_work_dir(model_path);
    const std::unique_ptr<ShellModel> model = open_model(model_path, run_texts);
    if (!model)
        return 1;
    print_model_summary(model_path, &model->spin, &model->seq, &model->cfg);
    set_loaded_model_path(model_path);
    ZANRunCurrentPreparedModel();
    return 0;
}

// False, and told, when the output is the model or the file of density matrices.
static bool output_is_new(const char *output, const char *model, const char *densities)
{
    if (!plat_same_file(output, model) && !plat_same_file(output, densities))
        return true;
    std::fprintf(stderr, "[ZAN] The output would replace its own input: %s\n", output);
    return false;
}

// Stays in the runtime directory, unlike the other two modes.
int write_expectation_profile_file(const char *model_path, const char *density_path,
                                   const char *operator_expression, const char *output_path)
{
    if (!open_model(model_path, profile_texts) ||
        !output_is_new(output_path, model_path, density_path))
        return 1;
    return ZANWriteExpectationProfile(density_path, operator_expression, output_path) ? 0 : 1;
}

// The whole text as a number from 1; 0 when it is none or does not fit an int.
static int voxel_index(const char *text)
{
    char *end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    const bool whole = end != text && *end == '\0';
    return whole && value > 0 && value <= INT_MAX ? static_cast<int>(value) : 0;
}

int write_voxel_signal_file(const char *model_path, const char *density_path,
                            const char *point_text, const char *output_path)
{
    const int point_index = voxel_index(point_text ? point_text : "");
    if (point_index == 0) {
        std::fprintf(stderr, "[ZAN] Voxel signal point index must be a positive integer.\n");
        return 1;
    }
    enter_private_model_run_work_dir(model_path);
    if (!open_model(model_path, voxel_texts) ||
        !output_is_new(output_path, model_path, density_path))
        return 1;
    return ZANWriteVoxelSignal(density_path, point_index, output_path) ? 0 : 1;
}
