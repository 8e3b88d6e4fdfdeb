// zanmodel_runtime - a model's way into the runtime state (zan.cpp) and back out of it.
#include "zanmodel_internal.h"

#include "zan.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

// ------------------------------------------------------------------- records -> runtime state

static void clear_spins(void)
{
    std::fill_n(rt.Ilist, 9, 0);
    std::fill_n(rt.quantnum, 9, 0);
    std::fill_n(rt.relspinamp, 9, 0.0);
    std::fill_n(rt.resofreqs, 9, 0.0);
    for (double(&row)[9] : rt.jc)
        std::fill_n(row, 9, 0.0);
    rt.Jcount = 0;
    std::fill_n(rt.couplings, 29, 0.0);
}

static void apply_spins(const ZANSpinSystemDef *spin)
{
    clear_spins();
    rt.Nspins = spin->nspins;
    rt.n = 1;
    for (int i = 1; i <= spin->nspins; i++) {
        rt.Ilist[i] = spin->spin_quantum_numbers[i];
        rt.quantnum[i] = spin->spin_quantum_numbers[i];
        rt.relspinamp[i] = spin->relative_intensities[i];
        rt.resofreqs[i] = spin->resonance_offsets_hz[i];
        rt.n *= spin->spin_quantum_numbers[i] + 1;
    }
    rt.Jexact = spin->coupling_mode;
    for (int i = 1; i <= spin->nspins; i++) {
        for (int k = i + 1; k <= spin->nspins; k++) {
            rt.jc[i][k] = spin->j_hz[i][k];
            rt.jc[k][i] = spin->j_hz[i][k];
            rt.couplings[++rt.Jcount] = spin->j_hz[i][k];
        }
    }
}

static void apply_subgroups(const ZANSpinSystemDef *spin)
{
    rt.zan_spin_subgroup_count = spin->subgroup_count;
    for (int g = 0; g < ZAN_MODEL_SUBGROUP_CAP; g++) {
        const bool used = g < spin->subgroup_count;
        const int spins = used ? spin->subgroup_spin_count[g] : 0;
        zan_copy_text(rt.zan_spin_subgroup_labels[g], used ? spin->subgroup_labels[g] : "");
        rt.zan_spin_subgroup_spin_count[g] = spins;
        std::fill_n(rt.zan_spin_subgroup_spins[g], 9, 0);
        std::copy_n(spin->subgroup_spins[g], spins, rt.zan_spin_subgroup_spins[g]);
        rt.zan_spin_subgroup_ppm_count[g] = used ? spin->subgroup_ppm_count[g] : 0;
        rt.zan_spin_subgroup_ppm[g] = used ? spin->subgroup_ppm[g] : 0.0;
    }
}

static void apply_sector(int s, const ZANPulseSectorDef *sector)
{
    rt.sectype[s] = sector->sector_type;
    rt.noti[s] = sector->number_of_timepoints;
    rt.nevo[s] = sector->number_of_evolpoints;
    rt.sectdur[s] = sector->total_duration_s;
    rt.statoff[s] = sector->offset_frequency_hz;
    zan_copy_text(rt.fnames[s], sector->pulse_filename);
    zan_copy_text(rt.remarks[s], sector->remark);
}

static void apply_sequence(const ZANPulseSequenceDef *seq)
{
    static const ZANPulseSectorDef unset = {};
    rt.sequencetype = seq->sequence_type;
    rt.nos = seq->sector_count;
    for (int s = 0; s <= ZAN_MODEL_SECTOR_CAP; s++)
        apply_sector(s, s >= 1 && s <= seq->sector_count ? &seq->sectors[s] : &unset);
}

static void apply_run_config(const ZANRunConfig *cfg)
{
    rt.ndx = cfg->ndx;
    rt.ndy = cfg->ndy;
    rt.ndz = cfg->ndz;
    rt.x0 = cfg->x0_cm;
    rt.y0 = cfg->y0_cm;
    rt.z0 = cfg->z0_cm;
    rt.dx = cfg->dx_cm;
    rt.dy = cfg->dy_cm;
    rt.dz = cfg->dz_cm;
    zan_copy_text(rt.resultflnm, cfg->result_filename);
    rt.zan_gui_b0_tesla = cfg->b0_tesla;
    rt.zan_gui_receiver_carrier_ppm = cfg->receiver_carrier_ppm;
}

ZANModelStatus ZANModel_ApplyToLegacyGlobals(const ZANSpinSystemDef *spin,
                                             const ZANPulseSequenceDef *seq,
                                             const ZANRunConfig *cfg, char *errbuf, size_t errbufsz)
{
    if (!spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "apply arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    const ZANModelStatus status = ZANModel_ValidateAll(spin, seq, cfg, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    apply_spins(spin);
    apply_subgroups(spin);
    apply_sequence(seq);
    apply_run_config(cfg);
    rt.systemset = 1;
    rt.sectorset = seq->sector_count > 0 ? 1 : 0;
    rt.offsetset = 1;
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    return ZAN_MODEL_OK;
}

ZANModelStatus ZANModel_ActivateInLegacyRuntime(const ZANSpinSystemDef *spin,
                                                const ZANPulseSequenceDef *seq,
                                                const ZANRunConfig *cfg, char *errbuf,
                                                size_t errbufsz)
{
    if (!spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "activate arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    return ZANModel_ApplyToLegacyGlobals(spin, seq, cfg, errbuf, errbufsz);
}

// ------------------------------------------------------------------- runtime state -> records

// The dialogs may have entered a quantum number in one of the two arrays only.
static void capture_spins(ZANSpinSystemDef *spin)
{
    spin->nspins = rt.Nspins;
    spin->coupling_mode = rt.Jexact;
    int pair = 0;
    for (int i = 1; i <= rt.Nspins; i++) {
        const bool use_list = rt.quantnum[i] < 1 && rt.Ilist[i] > 0;
        spin->spin_quantum_numbers[i] = use_list ? rt.Ilist[i] : rt.quantnum[i];
        spin->relative_intensities[i] = rt.relspinamp[i];
        spin->resonance_offsets_hz[i] = rt.resofreqs[i];
        for (int k = i + 1; k <= rt.Nspins; k++) {
            pair++;
            const double j_hz = pair <= rt.Jcount ? rt.couplings[pair] : rt.jc[i][k];
            spin->j_hz[i][k] = j_hz;
            spin->j_hz[k][i] = j_hz;
        }
    }
}

// The composer's spatial sectors may have no type and no evolution count.
static void capture_sequence(ZANPulseSequenceDef *seq)
{
    seq->sequence_type = rt.sequencetype;
    seq->sector_count = rt.nos;
    for (int s = 1; s <= rt.nos; s++) {
        ZANPulseSectorDef *sector = &seq->sectors[s];
        const bool spatial = rt.sequencetype == 1;
        sector->sector_type = spatial && rt.sectype[s] == 0 ? 1 : rt.sectype[s];
        sector->number_of_evolpoints = spatial && rt.nevo[s] < 1 ? 1 : rt.nevo[s];
        sector->number_of_timepoints = rt.noti[s];
        sector->total_duration_s = rt.sectdur[s];
        sector->offset_frequency_hz = rt.statoff[s];
        zan_copy_text(sector->pulse_filename, rt.fnames[s]);
        zan_copy_text(sector->remark, rt.remarks[s]);
    }
}

static void capture_run_config(ZANRunConfig *cfg)
{
    cfg->ndx = rt.ndx;
    cfg->ndy = rt.ndy;
    cfg->ndz = rt.ndz;
    cfg->x0_cm = rt.x0;
    cfg->y0_cm = rt.y0;
    cfg->z0_cm = rt.z0;
    cfg->dx_cm = rt.dx;
    cfg->dy_cm = rt.dy;
    cfg->dz_cm = rt.dz;
    const bool named = rt.resultflnm[0] != '\0';
    zan_copy_text(cfg->result_filename, named ? rt.resultflnm : "unnamed_result.bin");
}

ZANModelStatus ZANModel_CaptureFromLegacyGlobals(ZANSpinSystemDef *spin, ZANPulseSequenceDef *seq,
                                                 ZANRunConfig *cfg, char *errbuf, size_t errbufsz)
{
    if (!spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "capture arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    ZANSpinSystemDef_Init(spin);
    ZANPulseSequenceDef_Init(seq);
    ZANRunConfig_Init(cfg);
    if (rt.Nspins < 1 || rt.Nspins > ZAN_MODEL_SPIN_CAP) {
        set_error(errbuf, errbufsz,
                  "legacy spin system is not captureable: Nspins=%d outside 1..%d", rt.Nspins,
                  ZAN_MODEL_SPIN_CAP);
        return ZAN_MODEL_ERR_INCOMPATIBLE;
    }
    if (rt.nos < 0 || rt.nos > ZAN_MODEL_SECTOR_CAP) {
        set_error(errbuf, errbufsz,
                  "legacy pulse sequence is not captureable: nos=%d outside 0..%d", rt.nos,
                  ZAN_MODEL_SECTOR_CAP);
        return ZAN_MODEL_ERR_INCOMPATIBLE;
    }
    capture_spins(spin);
    capture_sequence(seq);
    capture_run_config(cfg);
    return ZANModel_ValidateAll(spin, seq, cfg, errbuf, errbufsz);
}

// ---------------------------------------------------------------------------------- matching

// A NaN differs from everything.
static bool differs(double a, double b)
{
    return !(a == b);
}

template <size_t N> static bool texts_differ(const char (&a)[N], const char (&b)[N])
{
    return std::strncmp(a, b, N) != 0;
}

namespace
{

// Where a difference is told. The functions below return true when all is equal.
struct Verification {
    char *errbuf;
    size_t errbufsz;
};

} // namespace

static bool mismatch(const Verification *to, const char *fmt, ...) ZAN_PRINTF_FORMAT(2, 3);

static bool mismatch(const Verification *to, const char *fmt, ...)
{
    char difference[128];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(difference, sizeof difference, fmt, args);
    va_end(args);
    set_error(to->errbuf, to->errbufsz, "legacy-runtime verification failed: %s", difference);
    return false;
}

template <typename Number>
static bool per_spin_match(const char *name, int nspins, const Number (&runtime)[9],
                           const Number (&model)[9], const Verification *to)
{
    for (int i = 1; i <= nspins; i++)
        if (differs(runtime[i], model[i]))
            return mismatch(to, "%s[%d] mismatch", name, i);
    return true;
}

static bool couplings_match(const ZANSpinSystemDef *runtime, const ZANSpinSystemDef *model,
                            const Verification *to)
{
    for (int i = 1; i <= model->nspins; i++) {
        for (int k = 1; k <= model->nspins; k++)
            if (differs(runtime->j_hz[i][k], model->j_hz[i][k]))
                return mismatch(to, "j_hz[%d][%d] mismatch", i, k);
    }
    return true;
}

static bool spins_match(const ZANSpinSystemDef *runtime, const ZANSpinSystemDef *model,
                        const Verification *to)
{
    const int nspins = runtime->nspins;
    if (nspins != model->nspins)
        return mismatch(to, "nspins mismatch (%d vs %d)", nspins, model->nspins);
    if (runtime->coupling_mode != model->coupling_mode) {
        return mismatch(to, "coupling_mode mismatch (%d vs %d)", runtime->coupling_mode,
                        model->coupling_mode);
    }
    return per_spin_match("spin_quantum_numbers", nspins, runtime->spin_quantum_numbers,
                          model->spin_quantum_numbers, to) &&
           per_spin_match("relative_intensities", nspins, runtime->relative_intensities,
                          model->relative_intensities, to) &&
           per_spin_match("resonance_offsets_hz", nspins, runtime->resonance_offsets_hz,
                          model->resonance_offsets_hz, to) &&
           couplings_match(runtime, model, to);
}

// The key of the first field that differs, nullptr when none does.
static const char *differing_sector_key(const ZANPulseSectorDef *a, const ZANPulseSectorDef *b)
{
    if (a->sector_type != b->sector_type)
        return "sector_type";
    if (a->number_of_timepoints != b->number_of_timepoints)
        return "sector_timepoints";
    if (a->number_of_evolpoints != b->number_of_evolpoints)
        return "sector_evolpoints";
    if (differs(a->total_duration_s, b->total_duration_s))
        return "sector_duration_s";
    if (differs(a->offset_frequency_hz, b->offset_frequency_hz))
        return "sector_statoff_hz";
    if (texts_differ(a->pulse_filename, b->pulse_filename))
        return "sector_pulsefile";
    return texts_differ(a->remark, b->remark) ? "sector_remark" : nullptr;
}

static bool sequence_matches(const ZANPulseSequenceDef *runtime, const ZANPulseSequenceDef *model,
                             const Verification *to)
{
    if (runtime->sequence_type != model->sequence_type) {
        return mismatch(to, "sequence_type mismatch (%d vs %d)", runtime->sequence_type,
                        model->sequence_type);
    }
    if (runtime->sector_count != model->sector_count) {
        return mismatch(to, "sector_count mismatch (%d vs %d)", runtime->sector_count,
                        model->sector_count);
    }
    for (int s = 1; s <= model->sector_count; s++) {
        const char *key = differing_sector_key(&runtime->sectors[s], &model->sectors[s]);
        if (key)
            return mismatch(to, "%s mismatch in sector %d", key, s);
    }
    return true;
}

static bool run_config_matches(const ZANRunConfig *runtime, const ZANRunConfig *model,
                               const Verification *to)
{
    if (runtime->ndx != model->ndx || runtime->ndy != model->ndy || runtime->ndz != model->ndz)
        return mismatch(to, "grid dimension mismatch");
    if (differs(runtime->x0_cm, model->x0_cm) || differs(runtime->y0_cm, model->y0_cm) ||
        differs(runtime->z0_cm, model->z0_cm) || differs(runtime->dx_cm, model->dx_cm) ||
        differs(runtime->dy_cm, model->dy_cm) || differs(runtime->dz_cm, model->dz_cm))
        return mismatch(to, "grid coordinate mismatch");
    if (texts_differ(runtime->result_filename, model->result_filename))
        return mismatch(to, "result_filename mismatch");
    return true;
}

int zan_runtime_matches_model_def(const ZANSpinSystemDef *spin, const ZANPulseSequenceDef *seq,
                                  const ZANRunConfig *cfg, char *errbuf, size_t errbufsz)
{
    ZANSpinSystemDef runtime_spin;
    ZANPulseSequenceDef runtime_seq;
    ZANRunConfig runtime_cfg;
    if (!spin || !seq || !cfg) {
        set_error(errbuf, errbufsz, "match arguments must be non-null");
        return 0;
    }
    if (ZANModel_CaptureFromLegacyGlobals(&runtime_spin, &runtime_seq, &runtime_cfg, errbuf,
                                          errbufsz) != ZAN_MODEL_OK)
        return 0;
    const Verification to = {errbuf, errbufsz};
    return spins_match(&runtime_spin, spin, &to) && sequence_matches(&runtime_seq, seq, &to) &&
                   run_config_matches(&runtime_cfg, cfg, &to)
               ? 1
               : 0;
}

// ------------------------------------------------------------------- files <-> runtime state

namespace
{

struct ModelRecords {
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
};

} // namespace

static void init_records(ModelRecords *m)
{
    ZANSpinSystemDef_Init(&m->spin);
    ZANPulseSequenceDef_Init(&m->seq);
    ZANRunConfig_Init(&m->cfg);
}

ZANModelStatus ZANModel_SaveCurrentLegacyStateToText(const char *path, char *errbuf,
                                                     size_t errbufsz)
{
    static ModelRecords m;
    if (!path || path[0] == '\0') {
        set_error(errbuf, errbufsz, "output path must be non-empty");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    init_records(&m);
    const ZANModelStatus status =
        ZANModel_CaptureFromLegacyGlobals(&m.spin, &m.seq, &m.cfg, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    return ZANModel_SaveText(path, &m.spin, &m.seq, &m.cfg, errbuf, errbufsz);
}

ZANModelStatus ZANModel_LoadCurrentLegacyStateFromText(const char *path, char *errbuf,
                                                       size_t errbufsz)
{
    static ModelRecords m;
    if (!path || path[0] == '\0') {
        set_error(errbuf, errbufsz, "input path must be non-empty");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    init_records(&m);
    const ZANModelStatus status =
        ZANModel_LoadText(path, &m.spin, &m.seq, &m.cfg, errbuf, errbufsz);
    if (status != ZAN_MODEL_OK)
        return status;
    return ZANModel_ActivateInLegacyRuntime(&m.spin, &m.seq, &m.cfg, errbuf, errbufsz);
}
