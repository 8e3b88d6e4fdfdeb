// zanmodel - a model as three plain records, its rules, its text files, and its way into and
// out of the runtime state.
//
// Spins, sectors and the per-spin arrays count from 1 (element 0 is not used); subgroups from 0.
// The records always travel in the order spin system, sequence, run configuration, followed by
// an error text: one message of the first failure, cut to errbufsz; null or size 0 is allowed.
#ifndef ZAN_ZANMODEL_H
#define ZAN_ZANMODEL_H

#include <cstddef>

enum {
    ZAN_MODEL_FORMAT_VERSION = 1,
    ZAN_MODEL_FILENAME_LEN = 256,
    ZAN_MODEL_REMARK_LEN = 512,
    ZAN_MODEL_SECTOR_CAP = 20
};

enum ZANModelStatus : int {
    ZAN_MODEL_OK = 0,
    ZAN_MODEL_ERR_NULLPTR = 1,
    ZAN_MODEL_ERR_IO = 2,
    ZAN_MODEL_ERR_PARSE = 3,
    ZAN_MODEL_ERR_RANGE = 4,
    ZAN_MODEL_ERR_DIMENSION = 5,
    ZAN_MODEL_ERR_INCOMPATIBLE = 6
};

struct ZANSpinSystemDef {
    int nspins;                     // 1..8
    int spin_quantum_numbers[9];    // 2I
    double relative_intensities[9]; // equilibrium polarisation weight
    double resonance_offsets_hz[9]; // Hz
    int coupling_mode;              // 1 weak (Iz·Iz only), else full
    double j_hz[9][9];              // Hz, symmetric, zero diagonal
    int subgroup_count;             // 0..32
    char subgroup_labels[32][64];
    int subgroup_spin_count[32]; // 0..8
    int subgroup_spins[32][9];   // entries 0..count-1 are spin numbers from 1
    int subgroup_ppm_count[32];  // shifts that were given
    double subgroup_ppm[32];     // their mean, ppm
};

struct ZANPulseSectorDef {
    int sector_type;            // 1 normal, 2 evolution
    int number_of_timepoints;   // 1..8192
    int number_of_evolpoints;   // 1..8192
    double total_duration_s;    // s
    double offset_frequency_hz; // Hz
    char pulse_filename[ZAN_MODEL_FILENAME_LEN];
    char remark[ZAN_MODEL_REMARK_LEN];
};

struct ZANPulseSequenceDef {
    int sequence_type;             // 1 spatial, 2 1D/2D NMR
    int sector_count;              // 0..20
    ZANPulseSectorDef sectors[21]; // from 1
};

struct ZANRunConfig {
    int ndx, ndy, ndz;           // voxels along each axis, 1..256
    double x0_cm, y0_cm, z0_cm;  // first voxel, cm
    double dx_cm, dy_cm, dz_cm;  // spacing, cm, >= 0
    double b0_tesla;             // T
    double receiver_carrier_ppm; // ppm
    char result_filename[ZAN_MODEL_FILENAME_LEN];
    char model_name[ZAN_MODEL_FILENAME_LEN];
};

// ---- records (zanmodel.cpp) ----
void ZANSpinSystemDef_Init(ZANSpinSystemDef *def);       // one spin 1/2 at zero offset
void ZANPulseSequenceDef_Init(ZANPulseSequenceDef *def); // no sectors
void ZANRunConfig_Init(ZANRunConfig *cfg);               // one voxel, "result.bin"

ZANModelStatus ZANSpinSystemDef_Validate(const ZANSpinSystemDef *def, char *errbuf,
                                         size_t errbufsz);
ZANModelStatus ZANPulseSequenceDef_Validate(const ZANPulseSequenceDef *def, char *errbuf,
                                            size_t errbufsz);
ZANModelStatus ZANRunConfig_Validate(const ZANRunConfig *cfg, char *errbuf, size_t errbufsz);
// All three and the rules between them: what a model must satisfy to run.
ZANModelStatus ZANModel_ValidateAll(const ZANSpinSystemDef *spin, const ZANPulseSequenceDef *seq,
                                    const ZANRunConfig *cfg, char *errbuf, size_t errbufsz);
const char *ZANModelStatusString(ZANModelStatus status);

// ---- text files (zanmodel_text*.cpp); on failure the records must not be used ----
ZANModelStatus ZANModel_LoadText(const char *filename, ZANSpinSystemDef *spin,
                                 ZANPulseSequenceDef *seq, ZANRunConfig *cfg, char *errbuf,
                                 size_t errbufsz);
ZANModelStatus zan_load_spin_system_text(const char *filename, ZANSpinSystemDef *spin, char *errbuf,
                                         size_t errbufsz);
ZANModelStatus zan_load_pulse_sequence_text(const char *filename, ZANPulseSequenceDef *seq,
                                            char *errbuf, size_t errbufsz);

// ---- saving (zanmodel_save.cpp) ----
// Writes filename, and beside its directory spin-systems/NAME.zanspin and
// sequences/NAME/NAME.zanseq, NAME the model's name. b0_tesla, receiver_carrier_ppm and the
// subgroups are not written.
ZANModelStatus ZANModel_SaveText(const char *filename, const ZANSpinSystemDef *spin,
                                 const ZANPulseSequenceDef *seq, const ZANRunConfig *cfg,
                                 char *errbuf, size_t errbufsz);

// ---- runtime state (zanmodel_runtime.cpp) ----
// Records -> runtime state, operators rebuilt. A model that fails validation changes nothing.
ZANModelStatus ZANModel_ApplyToLegacyGlobals(const ZANSpinSystemDef *spin,
                                             const ZANPulseSequenceDef *seq,
                                             const ZANRunConfig *cfg, char *errbuf,
                                             size_t errbufsz);
ZANModelStatus ZANModel_ActivateInLegacyRuntime(const ZANSpinSystemDef *spin,
                                                const ZANPulseSequenceDef *seq,
                                                const ZANRunConfig *cfg, char *errbuf,
                                                size_t errbufsz);
// Runtime state -> records; subgroups, field, carrier and name are not in it.
ZANModelStatus ZANModel_CaptureFromLegacyGlobals(ZANSpinSystemDef *spin, ZANPulseSequenceDef *seq,
                                                 ZANRunConfig *cfg, char *errbuf, size_t errbufsz);
ZANModelStatus ZANModel_SaveCurrentLegacyStateToText(const char *path, char *errbuf,
                                                     size_t errbufsz);
ZANModelStatus ZANModel_LoadCurrentLegacyStateFromText(const char *path, char *errbuf,
                                                       size_t errbufsz);
// 1 when the runtime state equals the records field by field, else 0 and the first difference.
int zan_runtime_matches_model_def(const ZANSpinSystemDef *spin, const ZANPulseSequenceDef *seq,
                                  const ZANRunConfig *cfg, char *errbuf, size_t errbufsz);

// ---- optimizing one sector at the console (zanmodel_optimize.cpp): 1, or 0 after a message ----
int ZANModel_OptimizePreparedSequenceSectorInteractive(void);
int zanmodel_print_sequence_sector_optimization_summary(void);
int zanmodel_prompt_int_local(const char *prompt, int *value);
int zanmodel_prompt_menu_choice_12(const char *prompt, int *value); // 1 or 2
int zanmodel_prepare_sequence_sector_parameterization(void);        // npar
int zanmodel_prepare_sequence_sector_start_pulse(int sector_index); // xb, yb, par
int zanmodel_offer_writeback_of_optimized_sector(int sector_index); // 1 when written
// The operator that the sector's remark asks for, into Istat. The remark may hold
// "optimizeRf[key=value, ...]" with the keys targetMode, productOperator and manualRecipe.
int zanmodel_try_define_optimizer_operator_from_sector_remark(int sector_index);
// The value of key in the block "block_name[...]" of text; 0 when it is not there or does not fit.
int zanmodel_metadata_value(const char *text, const char *block_name, const char *key, char *out,
                            size_t outsz);
int zanmodel_operator_is_defined(const char *text);

#endif
