// zan-entry_models.cpp - a model into the engine and out of it: loading, summary, import, export.
//
// The prompts that find model files, and what is remembered about the loaded one, are in
// zan-entry_files.cpp.
#include "zan-entry.h"

#include "zan-entry_internal.h"

#include <cstdio>

// ---------------------------------------------------------------------------------- loading

ZANModelStatus load_shell_model(const char *path, ShellModel *model)
{
    ZANSpinSystemDef_Init(&model->spin);
    ZANPulseSequenceDef_Init(&model->seq);
    ZANRunConfig_Init(&model->cfg);
    model->error[0] = '\0';
    return ZANModel_LoadText(path, &model->spin, &model->seq, &model->cfg, model->error,
                             sizeof model->error);
}

ZANModelStatus activate_shell_model(ShellModel *model)
{
    return ZANModel_ActivateInLegacyRuntime(&model->spin, &model->seq, &model->cfg, model->error,
                                            sizeof model->error);
}

// ---------------------------------------------------------------------------------- summary

static void print_spin_summary(const ZANSpinSystemDef *spin)
{
    std::puts("[ZAN] Spin system:");
    std::printf("  nspins = %d\n", spin->nspins);
    std::printf("  spin quantum numbers:");
    for (int i = 1; i <= spin->nspins; i++)
        std::printf(" %d", spin->spin_quantum_numbers[i]);
    std::printf("\n  relative intensities:");
    for (int i = 1; i <= spin->nspins; i++)
        std::printf(" %.15g", spin->relative_intensities[i]);
    std::printf("\n  resonance offsets [Hz]:");
    for (int i = 1; i <= spin->nspins; i++)
        std::printf(" %.15g", spin->resonance_offsets_hz[i]);
    std::printf("\n  coupling mode = %d\n", spin->coupling_mode);
}

static void print_sequence_summary(const ZANPulseSequenceDef *seq)
{
    std::puts("[ZAN] Sequence:");
    std::printf("  sequence type = %d\n", seq->sequence_type);
    std::printf("  number of sectors = %d\n", seq->sector_count);
    for (int i = 1; i <= seq->sector_count; i++) {
        const ZANPulseSectorDef &sector = seq->sectors[i];
        std::printf("    sector %d: type=%d timepoints=%d evolpoints=%d duration=%.15g "
                    "pulsefile=%s statoff=%.15g remark=%s\n",
                    i, sector.sector_type, sector.number_of_timepoints, sector.number_of_evolpoints,
                    sector.total_duration_s, sector.pulse_filename, sector.offset_frequency_hz,
                    sector.remark);
    }
}

static void print_run_summary(const ZANRunConfig *cfg)
{
    std::puts("[ZAN] Grid/run config:");
    std::printf("  ndx=%d ndy=%d ndz=%d\n", cfg->ndx, cfg->ndy, cfg->ndz);
    std::printf("  origin [cm] = (%.15g, %.15g, %.15g)\n", cfg->x0_cm, cfg->y0_cm, cfg->z0_cm);
    std::printf("  delta  [cm] = (%.15g, %.15g, %.15g)\n", cfg->dx_cm, cfg->dy_cm, cfg->dz_cm);
    std::printf("  result file = %s\n", cfg->result_filename);
}

void print_model_summary(const char *path, const ZANSpinSystemDef *spin,
                         const ZANPulseSequenceDef *seq, const ZANRunConfig *cfg)
{
    std::printf("\n[ZAN] Loaded model: %s\n", path);
    print_spin_summary(spin);
    print_sequence_summary(seq);
    print_run_summary(cfg);
}

// ------------------------------------------------------------------------ import and export

void import_zan_model(void)
{
    char path[1024];
    if (!prompt_model_selection_from_default_dir(path, sizeof path))
        return;

    ShellModel model;
    ZANModelStatus status = load_shell_model(path, &model);
    if (status == ZAN_MODEL_OK)
        status = activate_shell_model(&model);
    if (status == ZAN_MODEL_OK) {
        print_model_summary(path, &model.spin, &model.seq, &model.cfg);
        set_loaded_model_path(path);
        std::puts("\n[ZAN] Import successful.");
    } else {
        std::printf("\n[ZAN] Import failed: %s (%s)\n", ZANModelStatusString(status), model.error);
        std::printf("[ZAN] Path used: %s\n", path);
    }
    wait_to_return_to_menu();
}

static void report_export_failure(ZANModelStatus status, const char *error, const char *path)
{
    if (status == ZAN_MODEL_ERR_INCOMPATIBLE) {
        std::puts("\n[ZAN] No current model is available to export yet.");
        std::puts("[ZAN] Load, import, or define a spin system first, then export it.");
        return;
    }
    std::printf("\n[ZAN] Export failed: %s (%s)\n", ZANModelStatusString(status), error);
    std::printf("[ZAN] Path used: %s\n", path);
}

void export_loaded_zan_model(void)
{
    char path[1024];
    if (!prompt_export_model_path(path, sizeof path))
        return;

    char error[512] = "";
    const ZANModelStatus status = ZANModel_SaveCurrentLegacyStateToText(path, error, sizeof error);
    if (status == ZAN_MODEL_OK) {
        set_loaded_model_path(path);
        std::printf("\n[ZAN] Exported current state to %s\n", path);
    } else {
        report_export_failure(status, error, path);
    }
    wait_to_return_to_menu();
}

void ZANExportCurrentModelInteractive(void)
{
    export_loaded_zan_model();
}
