// zanoptseq_sectors.cpp - folds the sectors around the one to optimize and loads that one.
//
// Every sector but the chosen one takes part, with its waveform file: what stands before it turns
// the equilibrium state forwards, what follows turns the observable backwards. An acquisition
// sector is a sector like any other here, and an evolution sector of one row evolves once.

#include "zanoptseq.h"

#include "binaryfilehandling.h"
#include "propagatorlib.h"

#include <algorithm>
#include <cmath>

// ------------------------------------------------------------------ waveforms

int zanopt_load_waveform_xy(const char *path, int ap_local, double *bx, double *by)
{
    if (!path || !*path || !bx || !by || ap_local < 1 || ap_local > ZAN_MAX_RF_POINTS)
        return 0;
    FilePtr in = open_input(path);
    if (!in) {
        std::perror(path);
        return 0;
    }
    const size_t count = (size_t)ap_local;
    return std::fread(bx, sizeof(double), count, in.get()) == count &&
           std::fread(by, sizeof(double), count, in.get()) == count;
}

// A single sample that is no number would make every expectation value none.
static bool samples_are_finite(int ap, const double *bx, const double *by)
{
    for (int l = 0; l < ap; l++)
        if (!std::isfinite(bx[l]) || !std::isfinite(by[l])) {
            std::printf("Bad pulse sample at l=%d: xb=%g yb=%g\n", l, bx[l], by[l]);
            return false;
        }
    return true;
}

// ------------------------------------------------------------------ one sector

static bool sector_can_be_folded(int s)
{
    if (rt.sectype[s] != 1 && rt.sectype[s] != 2) {
        std::fprintf(stderr, "Sequence optimization: unsupported sector type %d in sector %d\n",
                     rt.sectype[s], s);
    } else if (rt.noti[s] < 1) {
        std::fprintf(stderr, "Sequence optimization: invalid ap in sector %d\n", s);
    } else if (rt.nevo[s] != 1) {
        std::fprintf(stderr, "Sequence optimization: sector %d has nevo=%d.\n", s, rt.nevo[s]);
        std::puts("Stage 2 only supports sectors with nevo == 1.");
    } else {
        return true;
    }
    return false;
}

int zanopt_build_sector_propagator_2d(int sector_index, CMatrix *U)
{
    static double bx[ZAN_MAX_RF_POINTS], by[ZAN_MAX_RF_POINTS];
    static std::complex<double> propagator[ZAN_MAX_STATES * ZAN_MAX_STATES];
    const int s = sector_index;
    if (!sector_can_be_folded(s))
        return 0;
    const int ap = rt.noti[s];
    if (!zanopt_load_waveform_xy(rt.fnames[s], ap, bx, by)) {
        std::fprintf(stderr,
                     "Sequence optimization: could not read waveform file for sector %d:\n"
                     "  %s\n",
                     s, rt.fnames[s]);
        return 0;
    }
    if (!samples_are_finite(ap, bx, by))
        return 0;
    zanopt_pulse_propagator(rt.n, ap, rt.sectdur[s] / ap, 2.0 * ZANOPT_PI_CONST * rt.statoff[s], bx,
                            by, propagator);
    unpack_matrix(rt.n, propagator, U);
    return 1;
}

int zanopt_apply_sector_forward_2d(int sector_index, CMatrix *rho_io)
{
    static CMatrix U;
    if (!zanopt_build_sector_propagator_2d(sector_index, &U))
        return 0;
    DoRotation(rt.n, &U, rho_io);
    return 1;
}

int zanopt_apply_sector_backward_to_observable_2d(int sector_index, CMatrix *obs_io)
{
    static CMatrix U;
    if (!zanopt_build_sector_propagator_2d(sector_index, &U))
        return 0;
    Adjungate(rt.n, &U, &U);
    DoRotation(rt.n, &U, obs_io);
    return 1;
}

// ------------------------------------------------------------------ the chosen sector

int zanopt_load_selected_sector_into_runtime(int sector_index)
{
    const int s = sector_index, ap = rt.noti[s];
    if (ap < 1 || ap > ZAN_MAX_RF_POINTS ||
        !zanopt_load_waveform_xy(rt.fnames[s], ap, rt.xb, rt.yb) ||
        !samples_are_finite(ap, rt.xb, rt.yb))
        return 0;
    for (double *gradient : {rt.gx, rt.gy, rt.gz})
        std::fill(gradient, gradient + ap, 0.0);
    rt.ap = ap;
    rt.h = rt.sectdur[s] / ap;
    rt.ti = rt.sectdur[s];
    rt.ndw = 1;
    rt.x0_s = rt.y0_s = rt.z0_s = 0.0;
    rt.dx_s = rt.dy_s = rt.dz_s = 0.0;
    rt.gs = 0.0;
    rt.statoff_s = 2.0 * ZANOPT_PI_CONST * rt.statoff[s];
    rt.pulseflag = 1;
    rt.rfpulsedefined = 1;
    rt.calc = 0;
    return 1;
}

// ------------------------------------------------------------------ preparation

static bool sequence_can_be_prepared(int k)
{
    if (!rt.systemset || rt.Nspins <= 0) {
        std::puts("Sequence optimization: no current prepared spin system.");
    } else if (!rt.sectorset || rt.nos <= 0) {
        std::puts("Sequence optimization: no current prepared pulse sequence.");
    } else if (rt.sequencetype != 2) {
        std::puts("Sequence optimization: stage 2 currently supports only the");
        std::puts("prepared 1D/2D sequence family (sequencetype == 2).");
    } else if (k < 1 || k > rt.nos) {
        std::fprintf(stderr, "Sequence optimization: invalid sector index %d (nos=%d)\n", k,
                     rt.nos);
    } else if (rt.noti[k] <= 0) {
        std::fprintf(stderr, "Sequence optimization: invalid ap in selected sector %d\n", k);
    } else if (rt.nevo[k] != 1) {
        std::fprintf(stderr, "Sequence optimization: selected sector %d has nevo=%d.\n", k,
                     rt.nevo[k]);
        std::puts("Stage 2 only supports optimizable sectors with nevo == 1.");
    } else {
        return true;
    }
    return false;
}

static bool fold_sectors(int k, CMatrix *prefix, CMatrix *suffix)
{
    for (int s = 1; s < k; s++)
        if (!zanopt_apply_sector_forward_2d(s, prefix)) {
            std::fprintf(stderr,
                         "Sequence optimization: failed while building prefix at sector %d\n", s);
            return false;
        }
    for (int s = rt.nos; s > k; s--)
        if (!zanopt_apply_sector_backward_to_observable_2d(s, suffix)) {
            std::fprintf(stderr,
                         "Sequence optimization: failed while building suffix at sector %d\n", s);
            return false;
        }
    return true;
}

static void print_prepared_sector(int k, int mode)
{
    std::printf("\nPrepared current 1D/2D sequence for sector optimization:\n");
    std::printf("  chosen sector          : %d / %d\n", k, rt.nos);
    std::printf("  sector waveform file   : %s\n", rt.fnames[k]);
    std::printf("  sector type            : %d\n", rt.sectype[k]);
    std::printf("  ap                     : %d\n", rt.ap);
    std::printf("  h                      : %.12g s\n", rt.h);
    std::printf("  duration               : %.12g s\n", rt.ti);
    std::printf("  static sector offset   : %.12g rad/s\n", rt.statoff_s);
    std::printf("  objective mode         : %s\n",
                mode == ZAN_OPT_OBJECTIVE_ABS_EXPECT ? "|<O>|" : "Re <O>");
    std::printf("  prefix sectors cached  : %d\n", k - 1);
    std::printf("  suffix sectors cached  : %d\n\n", rt.nos - k);
}

int ZANOptimizationPrepareCurrent2DSequenceSector(int sector_index, int objective_mode)
{
    static CMatrix prefix, suffix;
    const int k = sector_index;
    if (!sequence_can_be_prepared(k))
        return 0;
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    CopyCMatrix(rt.n, &rt.densmat, &prefix);
    CopyCMatrix(rt.n, &rt.Istat, &suffix);
    if (!fold_sectors(k, &prefix, &suffix))
        return 0;
    if (!zanopt_load_selected_sector_into_runtime(k)) {
        std::fprintf(stderr,
                     "Sequence optimization: failed to load selected sector %d into runtime.\n", k);
        return 0;
    }
    ZANOptimizationResetContext();
    ZANOptimizationSetPrefixState(&prefix);
    ZANOptimizationSetSuffixObservable(&suffix);
    ZANOptimizationSetStaticSectorOffsetRad(rt.statoff_s);
    ZANOptimizationSetObjectiveMode(objective_mode);
    rt.optsector = k;
    print_prepared_sector(k, objective_mode);
    return 1;
}
