// zanmodel - the three records of a model: initial values, validation, status texts.
//
// The other rooms fill and empty the records: zanmodel_text*.cpp from files, zanmodel_runtime.cpp
// from and to the runtime state. Nothing here reads either.
#include "zanmodel_internal.h"

#include <cstdarg>
#include <cstdio>

enum { GRID_CAP = 256, STATE_CAP = 256, PAIR_CAP = 28, POINT_CAP = 8192 };

static bool within(int value, int low, int high)
{
    return value >= low && value <= high;
}

void set_error(char *errbuf, size_t errbufsz, const char *fmt, ...)
{
    if (!errbuf || errbufsz == 0)
        return;
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(errbuf, errbufsz, fmt, args);
    va_end(args);
}

const char *ZANModelStatusString(ZANModelStatus status)
{
    switch (status) {
    case ZAN_MODEL_OK:
        return "ok";
    case ZAN_MODEL_ERR_NULLPTR:
        return "null pointer";
    case ZAN_MODEL_ERR_IO:
        return "i/o error";
    case ZAN_MODEL_ERR_PARSE:
        return "parse error";
    case ZAN_MODEL_ERR_RANGE:
        return "range error";
    case ZAN_MODEL_ERR_DIMENSION:
        return "dimension error";
    case ZAN_MODEL_ERR_INCOMPATIBLE:
        return "incompatible with legacy globals";
    }
    return "unknown error";
}

// ---------------------------------------------------------------------------- initial values

void ZANSpinSystemDef_Init(ZANSpinSystemDef *def)
{
    if (!def)
        return;
    *def = {};
    def->nspins = 1;
    def->spin_quantum_numbers[1] = 1;
    def->relative_intensities[1] = 1.0;
    def->coupling_mode = 1;
}

void ZANPulseSequenceDef_Init(ZANPulseSequenceDef *def)
{
    if (!def)
        return;
    *def = {};
    def->sequence_type = 1;
    for (ZANPulseSectorDef &sector : def->sectors) {
        sector.sector_type = 1;
        sector.number_of_timepoints = 1;
        sector.number_of_evolpoints = 1;
    }
}

void ZANRunConfig_Init(ZANRunConfig *cfg)
{
    if (!cfg)
        return;
    *cfg = {};
    cfg->ndx = 1;
    cfg->ndy = 1;
    cfg->ndz = 1;
    zan_copy_text(cfg->result_filename, "result.bin");
}

// ------------------------------------------------------------------------------- spin system

// Spin by spin, so that the first spin that is wrong is the one named.
static ZANModelStatus validate_spins(const ZANSpinSystemDef *def, char *errbuf, size_t errbufsz)
{
    unsigned long long states = 1;
    for (int i = 1; i <= def->nspins; i++) {
        const int twice_spin = def->spin_quantum_numbers[i];
        if (twice_spin < 1) {
            set_error(errbuf, errbufsz,
                      "spin_quantum_numbers[%d]=%d must be >= 1 (legacy stores 2I)", i, twice_spin);
            return ZAN_MODEL_ERR_RANGE;
        }
        states *= static_cast<unsigned long long>(twice_spin) + 1;
        if (states > STATE_CAP) {
            set_error(errbuf, errbufsz, "Hilbert dimension %llu exceeds ZAN_MAX_STATES=%d", states,
                      STATE_CAP);
            return ZAN_MODEL_ERR_DIMENSION;
        }
    }
    return ZAN_MODEL_OK;
}

// Written so that a NaN fails.
static ZANModelStatus validate_couplings(const ZANSpinSystemDef *def, char *errbuf, size_t errbufsz)
{
    int pairs = 0;
    for (int i = 1; i <= def->nspins; i++) {
        if (!(def->j_hz[i][i] == 0.0)) {
            set_error(errbuf, errbufsz, "j_hz[%d][%d] must be zero on the diagonal", i, i);
            return ZAN_MODEL_ERR_RANGE;
        }
        for (int k = i + 1; k <= def->nspins; k++) {
            if (!(def->j_hz[i][k] == def->j_hz[k][i])) {
                set_error(errbuf, errbufsz, "j_hz matrix is not symmetric at (%d,%d) and (%d,%d)",
                          i, k, k, i);
                return ZAN_MODEL_ERR_RANGE;
            }
            pairs++;
        }
    }
    if (pairs > PAIR_CAP) {
        set_error(errbuf, errbufsz, "pair count %d exceeds current legacy coupling capacity %d",
                  pairs, PAIR_CAP);
        return ZAN_MODEL_ERR_INCOMPATIBLE;
    }
    return ZAN_MODEL_OK;
}

static ZANModelStatus validate_subgroup(const ZANSpinSystemDef *def, int g, char *errbuf,
                                        size_t errbufsz)
{
    const int count = def->subgroup_spin_count[g];
    if (!within(count, 0, ZAN_MODEL_SPIN_CAP)) {
        set_error(errbuf, errbufsz, "subgroup %d has invalid spin count %d", g + 1, count);
        return ZAN_MODEL_ERR_RANGE;
    }
    for (int k = 0; k < count; k++) {
        const int spin = def->subgroup_spins[g][k];
        if (!within(spin, 1, def->nspins)) {
            set_error(errbuf, errbufsz, "subgroup %d references spin %d outside 1..%d", g + 1, spin,
                      def->nspins);
            return ZAN_MODEL_ERR_RANGE;
        }
    }
    return ZAN_MODEL_OK;
}

static ZANModelStatus validate_subgroups(const ZANSpinSystemDef *def, char *errbuf, size_t errbufsz)
{
    if (!within(def->subgroup_count, 0, ZAN_MODEL_SUBGROUP_CAP)) {
        set_error(errbuf, errbufsz, "subgroup_count=%d is outside 0..%d", def->subgroup_count,
                  ZAN_MODEL_SUBGROUP_CAP);
        return ZAN_MODEL_ERR_RANGE;
    }
    ZANModelStatus status = ZAN_MODEL_OK;
    for (int g = 0; g < def->subgroup_count && status == ZAN_MODEL_OK; g++)
        status = validate_subgroup(def, g, errbuf, errbufsz);
    return status;
}

ZANModelStatus ZANSpinSystemDef_Validate(const ZANSpinSystemDef *def, char *errbuf, size_t errbufsz)
{
    if (!def) {
        set_error(errbuf, errbufsz, "spin definition is null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    if (!within(def->nspins, 1, ZAN_MODEL_SPIN_CAP)) {
        set_error(errbuf, errbufsz, "nspins=%d is outside 1..%d", def->nspins, ZAN_MODEL_SPIN_CAP);
        return ZAN_MODEL_ERR_RANGE;
    }
    ZANModelStatus status = validate_spins(def, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = validate_couplings(def, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = validate_subgroups(def, errbuf, errbufsz);
    return status;
}

// ---------------------------------------------------------------------------------- sequence

static ZANModelStatus validate_sector(const ZANPulseSectorDef *sector, int s, char *errbuf,
                                      size_t errbufsz)
{
    if (!within(sector->sector_type, 1, 2)) {
        set_error(errbuf, errbufsz, "sector %d has invalid sector_type=%d", s, sector->sector_type);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (!within(sector->number_of_timepoints, 1, POINT_CAP)) {
        set_error(errbuf, errbufsz, "sector %d number_of_timepoints=%d is outside 1..%d", s,
                  sector->number_of_timepoints, POINT_CAP);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (!within(sector->number_of_evolpoints, 1, POINT_CAP)) {
        set_error(errbuf, errbufsz, "sector %d number_of_evolpoints=%d is outside 1..%d", s,
                  sector->number_of_evolpoints, POINT_CAP);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (sector->total_duration_s < 0.0) {
        set_error(errbuf, errbufsz, "sector %d total_duration_s=%g must be >= 0", s,
                  sector->total_duration_s);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (sector->pulse_filename[0] == '\0') {
        set_error(errbuf, errbufsz, "sector %d pulse_filename is required", s);
        return ZAN_MODEL_ERR_RANGE;
    }
    return ZAN_MODEL_OK;
}

ZANModelStatus ZANPulseSequenceDef_Validate(const ZANPulseSequenceDef *def, char *errbuf,
                                            size_t errbufsz)
{
    if (!def) {
        set_error(errbuf, errbufsz, "pulse-sequence definition is null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    if (!within(def->sector_count, 0, ZAN_MODEL_SECTOR_CAP)) {
        set_error(errbuf, errbufsz, "sector_count=%d is outside 0..%d", def->sector_count,
                  ZAN_MODEL_SECTOR_CAP);
        return ZAN_MODEL_ERR_RANGE;
    }
    ZANModelStatus status = ZAN_MODEL_OK;
    for (int s = 1; s <= def->sector_count && status == ZAN_MODEL_OK; s++)
        status = validate_sector(&def->sectors[s], s, errbuf, errbufsz);
    return status;
}

// Incompatible, not out of range: such a sector is well formed, but the engine cannot run an
// evolution inside a spatial sequence.
static ZANModelStatus validate_spatial_sector(const ZANPulseSectorDef *sector, int s, char *errbuf,
                                              size_t errbufsz)
{
    if (sector->sector_type != 1) {
        set_error(errbuf, errbufsz,
                  "spatial sequence sector %d has invalid sector_type=%d; expected 1", s,
                  sector->sector_type);
        return ZAN_MODEL_ERR_INCOMPATIBLE;
    }
    if (sector->number_of_evolpoints != 1) {
        set_error(errbuf, errbufsz,
                  "spatial sequence sector %d has number_of_evolpoints=%d; expected 1", s,
                  sector->number_of_evolpoints);
        return ZAN_MODEL_ERR_INCOMPATIBLE;
    }
    return ZAN_MODEL_OK;
}

static ZANModelStatus validate_nmr_sector(const ZANPulseSectorDef *sector, int s, char *errbuf,
                                          size_t errbufsz)
{
    if (!within(sector->sector_type, 1, 2)) {
        set_error(errbuf, errbufsz, "1D/2D sequence sector %d has invalid sector_type=%d", s,
                  sector->sector_type);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (sector->sector_type == 2 && sector->number_of_evolpoints < 1) {
        set_error(errbuf, errbufsz, "evolution sector %d must have number_of_evolpoints >= 1", s);
        return ZAN_MODEL_ERR_RANGE;
    }
    return ZAN_MODEL_OK;
}

static ZANModelStatus validate_runnable_sector(const ZANPulseSequenceDef *seq, int s, char *errbuf,
                                               size_t errbufsz)
{
    const ZANPulseSectorDef *sector = &seq->sectors[s];
    if (sector->total_duration_s <= 0.0) {
        set_error(errbuf, errbufsz, "sector %d total_duration_s=%g must be > 0", s,
                  sector->total_duration_s);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (sector->pulse_filename[0] == '\0') {
        set_error(errbuf, errbufsz, "sector %d pulse_filename is required", s);
        return ZAN_MODEL_ERR_RANGE;
    }
    return seq->sequence_type == 1 ? validate_spatial_sector(sector, s, errbuf, errbufsz)
                                   : validate_nmr_sector(sector, s, errbuf, errbufsz);
}

ZANModelStatus zan_validate_runnable_sequence(const ZANPulseSequenceDef *seq, char *errbuf,
                                              size_t errbufsz)
{
    if (!seq) {
        set_error(errbuf, errbufsz, "pulse-sequence definition is null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    if (!within(seq->sequence_type, 1, 2)) {
        set_error(errbuf, errbufsz,
                  "sequence_type=%d is invalid; expected 1 (spatial) or 2 (1D/2D NMR)",
                  seq->sequence_type);
        return ZAN_MODEL_ERR_RANGE;
    }
    if (seq->sector_count <= 0) {
        set_error(errbuf, errbufsz, "sector_count=%d is invalid; at least one sector is required",
                  seq->sector_count);
        return ZAN_MODEL_ERR_RANGE;
    }
    ZANModelStatus status = ZAN_MODEL_OK;
    for (int s = 1; s <= seq->sector_count && status == ZAN_MODEL_OK; s++)
        status = validate_runnable_sector(seq, s, errbuf, errbufsz);
    return status;
}

// ------------------------------------------------------------------------- run configuration

static bool grid_axis_in_range(char axis, int points, char *errbuf, size_t errbufsz)
{
    if (within(points, 1, GRID_CAP))
        return true;
    set_error(errbuf, errbufsz, "nd%c=%d is outside 1..%d", axis, points, GRID_CAP);
    return false;
}

ZANModelStatus ZANRunConfig_Validate(const ZANRunConfig *cfg, char *errbuf, size_t errbufsz)
{
    if (!cfg) {
        set_error(errbuf, errbufsz, "run configuration is null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    if (!grid_axis_in_range('x', cfg->ndx, errbuf, errbufsz) ||
        !grid_axis_in_range('y', cfg->ndy, errbuf, errbufsz) ||
        !grid_axis_in_range('z', cfg->ndz, errbuf, errbufsz))
        return ZAN_MODEL_ERR_RANGE;
    if (cfg->dx_cm < 0.0 || cfg->dy_cm < 0.0 || cfg->dz_cm < 0.0) {
        set_error(errbuf, errbufsz, "dx_cm/dy_cm/dz_cm must be >= 0");
        return ZAN_MODEL_ERR_RANGE;
    }
    if (cfg->result_filename[0] == '\0') {
        set_error(errbuf, errbufsz, "result_filename is required");
        return ZAN_MODEL_ERR_RANGE;
    }
    return ZAN_MODEL_OK;
}

ZANModelStatus ZANModel_ValidateAll(const ZANSpinSystemDef *spin, const ZANPulseSequenceDef *seq,
                                    const ZANRunConfig *cfg, char *errbuf, size_t errbufsz)
{
    ZANModelStatus status = ZANSpinSystemDef_Validate(spin, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = ZANPulseSequenceDef_Validate(seq, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = ZANRunConfig_Validate(cfg, errbuf, errbufsz);
    if (status == ZAN_MODEL_OK)
        status = zan_validate_runnable_sequence(seq, errbuf, errbufsz);
    return status;
}
