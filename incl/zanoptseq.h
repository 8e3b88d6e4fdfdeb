// zanoptseq - the objective of the pulse optimizer for one sector of a 1D/2D sequence: the sectors
// before it folded into a start state, those after it into the observable.
//
// Sectors count from 1. Works on the runtime state (zan.h); the minimiser and its dialog are
// zan_optimizer. What refuses tells why and returns 0, otherwise 1.
#ifndef ZAN_ZANOPTSEQ_H
#define ZAN_ZANOPTSEQ_H

#include "zan.h"

#include <complex>

constexpr double ZANOPT_PI_CONST = 3.141592653589793;

enum ZANOptObjectiveMode {
    ZAN_OPT_OBJECTIVE_RE_EXPECT = 0, // -Re<O>
    ZAN_OPT_OBJECTIVE_ABS_EXPECT = 1 // -|<O>|
};

struct ZANOptContext {
    int initialized;
    int has_prefix_state;
    int has_suffix_observable;
    ZANOptObjectiveMode objective_mode;
    double sector_offset_rad; // rad/s
    CMatrix rho_in;           // state that enters the sector
    CMatrix obs_out;          // observable as it acts at the sector's end
};
extern ZANOptContext g_zan_opt_ctx;

// ---- context (zanoptseq.cpp); a null context or matrix is ignored ----
void ZANOptContext_Init(ZANOptContext *ctx);
void ZANOptContext_SetDefaultsFromCurrentRuntime(ZANOptContext *ctx); // densmat, Istat, statoff_s
void ZANOptContext_SetObjectiveMode(ZANOptContext *ctx, ZANOptObjectiveMode mode);
void ZANOptContext_SetPrefixState(ZANOptContext *ctx, const CMatrix *rho);
void ZANOptContext_SetSuffixObservable(ZANOptContext *ctx, const CMatrix *obs);
void ZANOptContext_SetStaticSectorOffsetRad(ZANOptContext *ctx, double rad_per_s);

// ---- objective ----
double zan_objective_from_eval(ZANOptObjectiveMode mode, double re, double im);
// U_0·U_1·…·U_(ap-1) of the current spin system at the origin, packed; tau in s, offset in rad/s.
void zanopt_pulse_propagator(int n, int ap, double tau, double offset, const double *xb,
                             const double *yb, std::complex<double> *propagator);
// <observable> after the pulse in rt.xb, rt.yb; h in s, offset in rad/s.
void zanopt_expectation_after_pulse(int n, int ap, double h, double offset, const CMatrix *rho,
                                    const CMatrix *observable, Complex2 *eval);
// Of the pulse that parvec makes of rt.xb, rt.yb. Without a context, or a flag in it, densmat
// and Istat take part. re_out and im_out (may be null) are <O>.
double ZANOptEvaluatePulseObjective(const ZANOptContext *ctx, int n_local, int ap_local,
                                    int npar_local, double h_local, double x0_s_local,
                                    double gs_local, const double *parvec, double *re_out,
                                    double *im_out);

// ---- sectors (zanoptseq_sectors.cpp) ----
int zanopt_load_waveform_xy(const char *path, int ap_local, double *bx, double *by);
int zanopt_build_sector_propagator_2d(int sector_index, CMatrix *U);
int zanopt_apply_sector_forward_2d(int sector_index, CMatrix *rho_io); // U†·rho·U
int zanopt_apply_sector_backward_to_observable_2d(int sector_index, CMatrix *obs_io); // U·O·U†
int zanopt_load_selected_sector_into_runtime(int sector_index);
// Everything for the minimiser: operators rebuilt, observable Istat, the sector's pulse in xb, yb.
int ZANOptimizationPrepareCurrent2DSequenceSector(int sector_index, int objective_mode);

#endif
