// testmodel - see the header.
#include "testmodel.h"

#include <cstdio>

static void set_coupling(ZANSpinSystemDef *spin, int i, int k, double j_hz)
{
    spin->j_hz[i][k] = j_hz;
    spin->j_hz[k][i] = j_hz;
}

static void fill_spins(ZANSpinSystemDef *spin)
{
    ZANSpinSystemDef_Init(spin);
    spin->nspins = 3;
    spin->coupling_mode = 2;
    for (int i = 1; i <= 3; i++) {
        spin->spin_quantum_numbers[i] = 1;
        spin->relative_intensities[i] = 1.0 + 0.25 * i;
        spin->resonance_offsets_hz[i] = -100.0 * i;
    }
    set_coupling(spin, 1, 2, 7.5);
    set_coupling(spin, 1, 3, 0.0);
    set_coupling(spin, 2, 3, -2.25);
}

static void fill_sequence(ZANPulseSequenceDef *seq)
{
    ZANPulseSequenceDef_Init(seq);
    seq->sequence_type = 2;
    seq->sector_count = 2;
    for (int s = 1; s <= 2; s++) {
        ZANPulseSectorDef *sector = &seq->sectors[s];
        sector->sector_type = s;
        sector->number_of_timepoints = 64 * s;
        sector->number_of_evolpoints = 8;
        sector->total_duration_s = 0.001 * s;
        sector->offset_frequency_hz = 10.0 * s;
        std::snprintf(sector->pulse_filename, sizeof sector->pulse_filename, "wave-%d.bin", s);
        std::snprintf(sector->remark, sizeof sector->remark, "sector  %d", s);
    }
}

static void fill_run_config(ZANRunConfig *cfg)
{
    ZANRunConfig_Init(cfg);
    cfg->ndx = 2;
    cfg->ndy = 3;
    cfg->x0_cm = -1.5;
    cfg->y0_cm = 0.5;
    cfg->z0_cm = 2.5;
    cfg->dx_cm = 0.1;
    cfg->dy_cm = 0.2;
    cfg->dz_cm = 0.3;
    cfg->b0_tesla = 3.0;
    cfg->receiver_carrier_ppm = 4.7;
    std::snprintf(cfg->model_name, sizeof cfg->model_name, "three spins");
}

TestModel three_spin_model()
{
    TestModel model;
    fill_spins(&model.spin);
    fill_sequence(&model.seq);
    fill_run_config(&model.cfg);
    return model;
}
