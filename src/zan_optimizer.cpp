// zan_optimizer.cpp - the pulse optimizer: its objective, the run of the minimiser with report and
// output, and the dialog for a single pulse.
//
// zan_minimiser searches; zanoptseq evaluates a pulse inside a sequence; zanmodel_optimize is the
// dialog for one sector of a model. The pulse is described by the parameters of rfpulseparam.

#include "zanoptseq.h"

#include "consoleutil.h"
#include "observablespectrumcalculator.h"
#include "platformlib.h"
#include "rfpulselib.h"
#include "rfpulseparam.h"
#include "rfpulseplot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

static const double FTOL = 0.00003;
static const double NEGLIGIBLE = 1e-12; // of the largest coefficient
// Of an objective that is no number: large, but differences and squares of it stay finite.
static const double WORST = 1e150;

// ------------------------------------------------------------------ objective

// The parameters replace the lowest frequencies of a pulse. During a search this is always the
// start pulse: conversions of conversions would drift, and the objective with them.
static struct {
    bool running;
    double xb[ZAN_MAX_RF_POINTS], yb[ZAN_MAX_RF_POINTS];
    double best; // objective
    double best_par[ZAN_MAX_PARAMETERS];
} search;

static void set_pulse(const double *p)
{
    if (search.running) {
        std::copy(search.xb, search.xb + rt.ap, rt.xb);
        std::copy(search.yb, search.yb + rt.ap, rt.yb);
    }
    ParArrayToRFPulse(rt.npar, rt.ap, p, rt.xb, rt.yb);
}

static void remember(const double *p, double objective)
{
    if (!search.running || objective >= search.best)
        return;
    search.best = objective;
    std::copy(p, p + rt.npar, search.best_par);
}

static void print_objective(const Complex2 &eval, double objective, ZANOptObjectiveMode mode)
{
    std::printf("Expectation Value <O>        : %.12e + i %.12e\n", eval[COMPLEX_RE],
                eval[COMPLEX_IM]);
    std::printf("Objective used by optimizer  : %.12e  (= %s)\n\n", objective,
                mode == ZAN_OPT_OBJECTIVE_ABS_EXPECT ? "-|<O>|" : "-Re <O>");
    std::fflush(stdout);
}

double fnc(const double *p)
{
    Complex2 eval = {};
    ZANOptObjectiveMode mode = ZAN_OPT_OBJECTIVE_RE_EXPECT;
    double objective;
    set_pulse(p);
    if (rt.optsector) {
        mode = g_zan_opt_ctx.objective_mode;
        objective =
            ZANOptEvaluatePulseObjective(&g_zan_opt_ctx, rt.n, rt.ap, rt.npar, rt.h, rt.x0_s, rt.gs,
                                         p, &eval[COMPLEX_RE], &eval[COMPLEX_IM]);
    } else {
        zanopt_expectation_after_pulse(rt.n, rt.ap, rt.h, rt.gs * rt.x0_s, &rt.densmat, &rt.Istat,
                                       &eval);
        objective = zan_objective_from_eval(mode, eval[COMPLEX_RE], eval[COMPLEX_IM]);
    }
    print_objective(eval, objective, mode);
    if (!std::isfinite(objective))
        objective = WORST;
    remember(p, objective);
    return objective;
}

// ------------------------------------------------------------------ context

void ZANOptimizationResetContext(void)
{
    ZANOptContext_Init(&g_zan_opt_ctx);
    rt.optsector = 0;
}

void ZANOptimizationUseCurrentRuntimeDefaults(void)
{
    ZANOptContext_SetDefaultsFromCurrentRuntime(&g_zan_opt_ctx);
}

void ZANOptimizationSetObjectiveMode(int mode)
{
    ZANOptContext_SetObjectiveMode(&g_zan_opt_ctx, mode == ZAN_OPT_OBJECTIVE_ABS_EXPECT
                                                       ? ZAN_OPT_OBJECTIVE_ABS_EXPECT
                                                       : ZAN_OPT_OBJECTIVE_RE_EXPECT);
}

void ZANOptimizationSetPrefixState(const CMatrix *rho)
{
    ZANOptContext_SetPrefixState(&g_zan_opt_ctx, rho);
}

void ZANOptimizationSetSuffixObservable(const CMatrix *obs)
{
    ZANOptContext_SetSuffixObservable(&g_zan_opt_ctx, obs);
}

void ZANOptimizationSetStaticSectorOffsetRad(double rad_per_s)
{
    ZANOptContext_SetStaticSectorOffsetRad(&g_zan_opt_ctx, rad_per_s);
}

// ------------------------------------------------------------------ search and report

int zan_parameters_of_groups(int groups)
{
    const int64_t parameters = 4 * (int64_t)groups;
    return (int)std::clamp<int64_t>(parameters, INT32_MIN, INT32_MAX);
}

// A rounding residue would get a step in proportion to itself, and its difference quotient would
// be noise.
void ZANOptimizationTakeStartPulse(void)
{
    RFPulseToParArray(rt.npar, rt.ap, rt.xb, rt.yb, rt.par);
    double largest = 0.0;
    for (int i = 0; i < rt.npar; i++)
        largest = std::max(largest, std::fabs(rt.par[i]));
    for (int i = 0; i < rt.npar; i++)
        if (std::fabs(rt.par[i]) < NEGLIGIBLE * largest)
            rt.par[i] = 0.0;
}

static void warn_of_sample_count(void)
{
    if (!zan_is_power_of_two_int(rt.ap))
        std::fprintf(
            stderr,
            "Warning: %d samples are no power of two; the parameters are samples about the "
            "pulse's middle instead of Fourier modes\n",
            rt.ap);
}

static void start_search(void)
{
    std::copy(rt.xb, rt.xb + rt.ap, search.xb);
    std::copy(rt.yb, rt.yb + rt.ap, search.yb);
    search.best = WORST;
    search.running = true;
    plat_catch_interrupt();
}

// Where the search was interrupted, the best pulse that it has seen is the result.
static void end_search(double *minimum)
{
    if (plat_interrupted() && search.best < WORST) {
        *minimum = search.best;
        std::copy(search.best_par, search.best_par + rt.npar, rt.par);
    }
    plat_release_interrupt();
    set_pulse(rt.par);
    search.running = false;
}

static void write_csv(void)
{
    char name[ZAN_PULSE_NAME_LEN + 1], script[ZAN_PULSE_NAME_LEN + sizeof ".gp"];
    std::printf("Enter output CSV filename: ");
    if (!ConsoleReadWord(name, sizeof name) || std::strlen(name) >= ZAN_PULSE_NAME_LEN) {
        std::fprintf(stderr, "Invalid filename\n");
        return;
    }
    if (!WritePulseCSV(name, rt.ap, rt.h, rt.xb, rt.yb))
        return;
    std::printf("RF pulse written to '%s'\n", name);
    std::snprintf(script, sizeof script, "%s.gp", name);
    if (WriteGnuplotPulseScript(script, name))
        LaunchGnuplotScript(script);
}

static void offer_csv(void)
{
    int choice;
    std::printf("Write RF pulse to CSV file:\n");
    std::printf("  1. Write CSV file\n");
    std::printf("  2. Cancel\n");
    std::printf("Your choice [1..2] : ");
    if (ConsoleReadInt(&choice) && choice == 1)
        write_csv();
}

void StartOptimization(void)
{
    int iterations = 0;
    double minimum = 0.0;
    std::printf("\nOptimization start density matrix:\n");
    ShowCMatElements(rt.n, &rt.densmat);
    if (rt.npar < 1) {
        std::fprintf(stderr, "StartOptimization: npar not set\n");
        return;
    }
    warn_of_sample_count();
    start_search();
    frprmn(rt.par, rt.npar, FTOL, &iterations, &minimum);
    end_search(&minimum);
    std::printf("Optimization finished.\n");
    std::printf("Iterations          : %d\n", iterations);
    std::printf("Minimum             : %.12g\n\n", minimum);
    offer_csv();
}

// ------------------------------------------------------------------ a single pulse

static void print_requirements(void)
{
    std::printf("****************************************************\n");
    std::printf("***                OPTIMIZATION                  ***\n");
    std::printf("****************************************************\n\n");
    std::printf("Optimization requires:\n");
    std::printf("  1. a spin system\n");
    std::printf("  2. a pulse Hamiltonian\n");
    std::printf("  3. a gradient definition\n");
    std::printf("  4. an operator O whose expectation value <O>\n");
    std::printf("     has to be optimized\n\n");
}

static bool ask_parameter_count(void)
{
    std::printf("******************* OPTIMIZE *******************\n\n");
    std::printf("The number of parameters is : ");
    int groups;
    if (!ConsoleReadInt(&groups)) {
        std::fprintf(stderr, "Optimize: failed to read npar\n");
        return false;
    }
    rt.npar = zan_parameters_of_groups(groups);
    if (rt.npar <= 0) {
        std::fprintf(stderr, "Optimize: invalid npar\n");
        return false;
    }
    if (rt.npar > ZAN_MAX_PARAMETERS) {
        std::fprintf(stderr, "Optimize: npar=%d exceeds par[160]; clamping to 160\n", rt.npar);
        rt.npar = ZAN_MAX_PARAMETERS;
    }
    return true;
}

void Optimize(void)
{
    print_requirements();
    RedefineSpinSystem();
    if (!rt.systemset)
        return;
    std::printf("Define operator whose expectation value is to be optimized :\n");
    ExpectationOperator(rt.n, rt.Nspins, rt.Ilist, rt.ket, &rt.Istat);
    if (!ask_parameter_count())
        return;
    const int generated = GenerateOptimizationStartPulse(&rt.ap, &rt.h, rt.xb, rt.yb, rt.npar);
    ConsoleDropLine();
    if (!generated) {
        std::fprintf(stderr, "Optimize: RF optimization start pulse not generated\n");
        return;
    }
    rt.ti = rt.h * rt.ap;
    rt.rfpulsedefined = 1;
    rt.pulseflag = 1;
    ZANOptimizationTakeStartPulse();
    MakeGradientOperator();
    ZANOptimizationResetContext();
    ZANOptimizationUseCurrentRuntimeDefaults();
    StartOptimization();
}
