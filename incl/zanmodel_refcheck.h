// zanmodel_refcheck - the program checks itself: fixed cases through its own operators,
// Hamiltonians, spectra, a spatial run and its model files, compared with known values.
//
// Every case prints one PASS line (the malformed models one each), or a FAIL line for every
// comparison that does not hold, and returns 1 or 0. Files lie below zan-refcheck-work in the
// working directory and stay there. The suite leaves the loaded model as it was; the spatial run
// replaces dm.bin in the working directory and the samples of the sector at hand.
#ifndef ZAN_ZANMODEL_REFCHECK_H
#define ZAN_ZANMODEL_REFCHECK_H

#include "zan.h"

// All cases in the order below, each one even after a failure, and a summary: 1 when all passed.
int ZANModel_RunReferenceChecks(void);

int RunSpinOperatorReferenceCases(void);
int RunHamiltonianReferenceCases(void);
int RunWeakTwoSpinSpectrumReferenceCase(void);
int RunSpatialGradientReferenceCase(void);
int RunSplitCompositionReferenceCase(void);
int RunMalformedModelRejectCases(void);

// ---- the loaded model, kept while the cases run (zanmodel_refcheck_snapshot.cpp) ----

// What of the runtime state (zan.h, where units and meanings stand) makes the loaded model.
struct ZANLegacySnapshot {
    int Nspins, n, Jexact, Jcount, sequencetype, nos, ndx, ndy, ndz;
    int systemset, offsetset, sectorset, spinsystemdefined, rfpulsedefined, offsetsdefined;
    int calc, pulseflag, ap, ndw;
    int quantnum[9];
    double relspinamp[9];
    double resofreqs[9];
    double jc[9][9];
    double couplings[29];
    int sectype[21], noti[21], nevo[21];
    double sectdur[21], statoff[21];
    double x0, y0, z0, dx, dy, dz;
    char resultflnm[ZAN_RESULT_FILE_LEN];
    char fnames[21][ZAN_PULSE_NAME_LEN];
    char remarks[21][ZAN_REMARK_LEN];

    // Written by every activation of a model, so the spatial case changes them, too.
    int zan_spin_subgroup_count;
    char zan_spin_subgroup_labels[32][64];
    int zan_spin_subgroup_spin_count[32];
    int zan_spin_subgroup_spins[32][9];
    int zan_spin_subgroup_ppm_count[32];
    double zan_spin_subgroup_ppm[32];
    double zan_gui_b0_tesla, zan_gui_receiver_carrier_ppm;
};

void CaptureLegacySnapshot(ZANLegacySnapshot *snap);
// Also rebuilds the operators, quietly, when a spin system was prepared.
void RestoreLegacySnapshot(const ZANLegacySnapshot *snap);

#endif
