// zanoptseq.cpp - the context of the sector optimizer and its objective.
//
// zanoptseq_sectors fills the context from a sequence; zan_optimizer minimises the objective.

#include "zanoptseq.h"

#include "propagatorlib.h"
#include "rfpulseparam.h"

#include <cmath>
#include <cstring>

ZANOptContext g_zan_opt_ctx;

// ------------------------------------------------------------------ context

void ZANOptContext_Init(ZANOptContext *ctx)
{
    if (!ctx)
        return;
    std::memset(ctx, 0, sizeof *ctx);
    ctx->initialized = 1;
}

// False for a null context.
static bool ready(ZANOptContext *ctx)
{
    if (ctx && !ctx->initialized)
        ZANOptContext_Init(ctx);
    return ctx != nullptr;
}

void ZANOptContext_SetObjectiveMode(ZANOptContext *ctx, ZANOptObjectiveMode mode)
{
    if (ready(ctx))
        ctx->objective_mode = mode;
}

void ZANOptContext_SetPrefixState(ZANOptContext *ctx, const CMatrix *rho)
{
    if (!ready(ctx) || !rho)
        return;
    CopyCMatrix(rt.n, rho, &ctx->rho_in);
    ctx->has_prefix_state = 1;
}

void ZANOptContext_SetSuffixObservable(ZANOptContext *ctx, const CMatrix *obs)
{
    if (!ready(ctx) || !obs)
        return;
    CopyCMatrix(rt.n, obs, &ctx->obs_out);
    ctx->has_suffix_observable = 1;
}

void ZANOptContext_SetStaticSectorOffsetRad(ZANOptContext *ctx, double rad_per_s)
{
    if (ready(ctx))
        ctx->sector_offset_rad = rad_per_s;
}

void ZANOptContext_SetDefaultsFromCurrentRuntime(ZANOptContext *ctx)
{
    ZANOptContext_SetPrefixState(ctx, &rt.densmat);
    ZANOptContext_SetSuffixObservable(ctx, &rt.Istat);
    ZANOptContext_SetStaticSectorOffsetRad(ctx, rt.statoff_s);
}

// ------------------------------------------------------------------ objective

double zan_objective_from_eval(ZANOptObjectiveMode mode, double re, double im)
{
    return mode == ZAN_OPT_OBJECTIVE_ABS_EXPECT ? -std::hypot(re, im) : -re;
}

// One position, the origin: a sector to optimize has no gradients of its own.
void zanopt_pulse_propagator(int n, int ap, double tau, double offset, const double *xb,
                             const double *yb, std::complex<double> *propagator)
{
    static CMatrix H0;
    const Position origin = {};
    SectorField field = {};
    CMatAdd(n, &rt.Izee, &rt.Icoup, &H0);
    field.n = n;
    field.H0 = &H0;
    field.Izgrad = &rt.Izgrad;
    field.Ixtot = &rt.Ixtot;
    field.Iytot = &rt.Iytot;
    field.ap = ap;
    field.tau = tau;
    field.xb = xb;
    field.yb = yb;
    field.offset = offset;
    field.spins = rt.Nspins;
    field.twice_spin = rt.Ilist + 1;
    SectorPropagators(field, &origin, 1, propagator);
}

void zanopt_expectation_after_pulse(int n, int ap, double h, double offset, const CMatrix *rho,
                                    const CMatrix *observable, Complex2 *eval)
{
    static std::complex<double> propagator[ZAN_MAX_STATES * ZAN_MAX_STATES];
    static std::complex<double> state[ZAN_MAX_STATES * ZAN_MAX_STATES];
    static CMatrix final_state;
    const int first = 0;
    zanopt_pulse_propagator(n, ap, h, offset, rt.xb, rt.yb, propagator);
    pack_matrix(n, rho, state);
    RotateDensities(n, propagator, &first, 1, state);
    unpack_matrix(n, state, &final_state);
    ExpectationValue(n, observable, &final_state, eval);
}

double ZANOptEvaluatePulseObjective(const ZANOptContext *ctx, int n_local, int ap_local,
                                    int npar_local, double h_local, double x0_s_local,
                                    double gs_local, const double *parvec, double *re_out,
                                    double *im_out)
{
    Complex2 eval = {};
    double objective = 0.0;
    const bool set = ctx && ctx->initialized;
    if (parvec && n_local > 0 && ap_local >= 1 && npar_local > 0) {
        const CMatrix *rho = set && ctx->has_prefix_state ? &ctx->rho_in : &rt.densmat;
        const CMatrix *observable = set && ctx->has_suffix_observable ? &ctx->obs_out : &rt.Istat;
        const double offset = x0_s_local * gs_local + (set ? ctx->sector_offset_rad : 0.0);
        ParArrayToRFPulse(npar_local, ap_local, parvec, rt.xb, rt.yb);
        zanopt_expectation_after_pulse(n_local, ap_local, h_local, offset, rho, observable, &eval);
        objective = zan_objective_from_eval(set ? ctx->objective_mode : ZAN_OPT_OBJECTIVE_RE_EXPECT,
                                            eval[COMPLEX_RE], eval[COMPLEX_IM]);
    }
    if (re_out)
        *re_out = eval[COMPLEX_RE];
    if (im_out)
        *im_out = eval[COMPLEX_IM];
    return objective;
}
