// zan-entry - the application shell: start, command-line modes, main menu, model locations.
#ifndef ZAN_ZAN_ENTRY_H
#define ZAN_ZAN_ENTRY_H

#include "zanmodel.h"

#include <cstddef>

// The whole program; returns the exit code. argv is not read when argc is 0.
int ZANMain(int argc, char **argv);

// ---- command-line modes (zan-entry_modes.cpp): exit code 0 or 1 ----
int run_zan_model_file(const char *model_path);
int write_expectation_profile_file(const char *model_path, const char *density_path,
                                   const char *operator_expression, const char *output_path);
int write_voxel_signal_file(const char *model_path, const char *density_path,
                            const char *point_text, const char *output_path);

// ---- main menu (zan-entry_menu.cpp) ----
int read_menu_choice(void); // 1..6; end of input is 6

// ---- import and export (zan-entry_models.cpp) ----
void import_zan_model(void);
void export_loaded_zan_model(void);
void ZANExportCurrentModelInteractive(void);
void print_model_summary(const char *path, const ZANSpinSystemDef *spin,
                         const ZANPulseSequenceDef *seq, const ZANRunConfig *cfg);

// ---- working directories, loaded model, model files (zan-entry_files.cpp) ----
extern char g_loaded_model_path[1024]; // where the current state came from or went to
extern int g_loaded_model_path_valid;
extern char g_current_model_short_name[128]; // prefix of default waveform names
extern int g_current_model_short_name_valid;

void enter_runtime_work_dir(void);
void enter_private_model_run_work_dir(const char *model_path);

// 1 on success, 0 on failure (nothing usable, or it does not fit).
int basename_without_extension(const char *path, char *dst, size_t dstsz);
int sanitize_model_short_name(const char *src, char *dst, size_t dstsz);
void set_current_model_short_name(const char *name);
void clear_current_model_short_name(void);
void seed_current_model_short_name_from_path(const char *path);
int ZANEnsureCurrentModelShortName(char *dst, size_t dstsz); // asks when there is none

void set_loaded_model_path(const char *path);
void clear_loaded_model_path(void);
void ZANPrintCurrentModelFileHint(void);

int file_exists(const char *path); // opens for reading and is no directory
int text_file_contains_literal(const char *path, const char *needle);
int is_split_model_file(const char *dir, const char *name);
int has_zanmodel_extension_ci(const char *name);
int ensure_zanmodel_extension(char *path, size_t pathsz);
int collect_model_files(const char *dir, char names[][260], int max_names);
int prompt_model_selection_from_default_dir(char *full_path, size_t full_path_sz);
int prompt_model_path(const char *prompt, char *path, size_t pathsz);
int path_has_separator(const char *s);
int resolve_model_path(char *out, size_t outsz, const char *user_path);
int prompt_export_model_path(char *full_path, size_t full_path_sz);

#endif
