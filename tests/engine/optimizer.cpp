// optimizer.cpp - the folded objective against the whole sequence written out with one exponential
// per sample, the gradient against central differences, and searches in both modes.

#include "engine_fixture.h"

#include "console.h"
#include "rfpulseparam.h"
#include "zanoptseq.h"

#include <algorithm>
#include <cmath>

using OptimizerEngine = EngineTest;

namespace
{

CMatrix H, U, P, rho, observable;

struct Case {
    std::vector<int> two_i;
    int coupling_mode;
    std::vector<int> samples; // of the sectors
    int chosen;
    const char *observable; // for spins 1/2
};

const Case cases[] = {
    {{1}, 1, {8}, 1, "Iy"},
    {{1, 1}, 2, {8, 16}, 1, "IxSz + Iz"},
    {{1, 1}, 1, {3, 16, 5}, 2, "IySz + IzSx"},
    {{1, 1, 1}, 2, {4, 1, 8, 7}, 3, "IxSyTz + Tx"},
    {{1, 1, 1, 1}, 2, {2, 8, 3}, 2, "IzUy + SxTx"},
    {{2, 1}, 2, {5, 8, 4}, 2, nullptr},
    {{3, 1, 1}, 2, {3, 3, 16}, 3, nullptr},
};

void prepare(const Case &c, unsigned seed, int mode)
{
    std::mt19937 random(seed);
    const SpinSystem system = random_spins(random, c.two_i, c.coupling_mode);
    std::uniform_real_distribution<double> hz(-200.0, 200.0);
    rt.nos = 0;
    for (const int samples : c.samples)
        add_2d_sector(rt.nos % 2 + 1, random_waveform(random, samples, false, false, false), 1,
                      1e-3 * (1 + rt.nos), hz(random), rt.nos == 1 ? "ADC" : "");
    build_spins(system);
    if (c.observable) {
        ASSERT_TRUE(create_operator_expression_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket,
                                                        c.observable, &rt.Istat));
    } else {
        CMatMult(rt.n, &rt.Ixtot, &rt.Iztot, &rt.Istat); // not Hermitian: <O> is complex
    }
    captured([&] { ASSERT_TRUE(ZANOptimizationPrepareCurrent2DSequenceSector(c.chosen, mode)); });
    rt.npar = 4 * rfpulseparam_max_modes(400, rt.ap);
    ZANOptimizationTakeStartPulse();
}

// rho through one sector by the recipe
void propagate(const double *xb, const double *yb, int ap, double tau, double offset)
{
    CMatIdentity(rt.n, &P);
    for (int k = 0; k < ap; k++) {
        CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H);
        CMatRMultAdd(rt.n, &H, 1.0, &rt.Izgrad, offset, &H);
        CMatRMultAdd(rt.n, &H, 1.0, &rt.Ixtot, xb[k], &H);
        CMatRMultAdd(rt.n, &H, 1.0, &rt.Iytot, yb[k], &H);
        RMultCMat(rt.n, -1.0, &H, &H);
        ExpMatrix(rt.n, &H, tau, &U);
        CMatMult(rt.n, &P, &U, &P);
    }
    DoRotation(rt.n, &P, &rho);
}

// <Istat> after all sectors, the chosen one with the pulse in rt.xb, rt.yb.
Complex whole_sequence(int chosen)
{
    static double xb[ZAN_MAX_RF_POINTS], yb[ZAN_MAX_RF_POINTS];
    CopyCMatrix(rt.n, &rt.densmat, &rho);
    for (int s = 1; s <= rt.nos; s++) {
        const double tau = rt.sectdur[s] / rt.noti[s], offset = TWO_PI * rt.statoff[s];
        if (s == chosen) {
            propagate(rt.xb, rt.yb, rt.noti[s], tau, offset);
            continue;
        }
        EXPECT_TRUE(zanopt_load_waveform_xy(rt.fnames[s], rt.noti[s], xb, yb));
        propagate(xb, yb, rt.noti[s], tau, offset);
    }
    Complex2 eval;
    ExpectationValue(rt.n, &rt.Istat, &rho, &eval);
    return {eval[COMPLEX_RE], eval[COMPLEX_IM]};
}

double objective(const double *p)
{
    double value = 0.0;
    captured([&] { value = fnc(p); });
    return value;
}

double number_after(const std::string &text, const std::string &label, bool last)
{
    const size_t at = last ? text.rfind(label) : text.find(label);
    return at == std::string::npos ? NAN : std::atof(text.c_str() + at + label.size());
}

double norm(const CMatrix &A)
{
    double square = 0.0;
    for (int i = 1; i <= rt.n; i++)
        for (int j = 1; j <= rt.n; j++)
            square += A[i][j][1] * A[i][j][1] + A[i][j][2] * A[i][j][2];
    return std::sqrt(square);
}

} // namespace

TEST_F(OptimizerEngine, TheFoldedObjectiveIsThatOfTheWholeSequence)
{
    unsigned seed = 700;
    for (const Case &c : cases)
        for (const int mode : {0, 1}) {
            prepare(c, ++seed, mode);
            std::mt19937 random(seed);
            std::uniform_real_distribution<double> change(-300.0, 300.0);
            for (int i = 0; i < rt.npar; i++)
                rt.par[i] += change(random);
            double re, im;
            const double folded = ZANOptEvaluatePulseObjective(
                &g_zan_opt_ctx, rt.n, rt.ap, rt.npar, rt.h, rt.x0_s, rt.gs, rt.par, &re, &im);
            const Complex whole = whole_sequence(c.chosen);
            const double scale = norm(rt.densmat) * norm(rt.Istat);
            EXPECT_NEAR(re, whole.real(), 1e-10 * scale) << "seed " << seed;
            EXPECT_NEAR(im, whole.imag(), 1e-10 * scale) << "seed " << seed;
            EXPECT_NEAR(folded, mode ? -std::abs(whole) : -whole.real(), 1e-10 * scale)
                << "seed " << seed;
        }
}

TEST_F(OptimizerEngine, TheGradientAgreesWithCentralDifferences)
{
    unsigned seed = 800;
    for (const Case &c : cases)
        for (const int mode : {0, 1}) {
            prepare(c, ++seed, mode);
            std::vector<double> grad((size_t)rt.npar), p(rt.par, rt.par + rt.npar);
            captured([&] { dfnc(fnc(rt.par), rt.par, rt.npar, grad.data()); });
            double largest = 0.0;
            for (const double g : grad)
                largest = std::max(largest, std::fabs(g));
            const double scale = *std::max_element(p.begin(), p.end()) * 1e-4;
            for (size_t i = 0; i < p.size(); i++) {
                std::vector<double> above = p, below = p;
                above[i] += scale;
                below[i] -= scale;
                const double central =
                    (objective(above.data()) - objective(below.data())) / (2.0 * scale);
                EXPECT_NEAR(grad[i], central, 1e-4 * largest) << "seed " << seed << " par " << i;
            }
        }
}

// The reported minimum is that of the pulse that is left, in the whole sequence.
TEST_F(OptimizerEngine, ASearchNeverEndsAboveItsStart)
{
    unsigned seed = 900;
    for (const Case &c : cases)
        for (const int mode : {0, 1}) {
            prepare(c, ++seed, mode);
            rt.npar = std::min(rt.npar, 12);
            ZANOptimizationTakeStartPulse();
            feed_stdin("2\n");
            const std::string out = captured([] { StartOptimization(); }).out;
            const double start = number_after(out, "Objective used by optimizer  : ", false);
            const double minimum = number_after(out, "Minimum             : ", true);
            const Complex whole = whole_sequence(c.chosen);
            EXPECT_LT(minimum, start) << "seed " << seed;
            EXPECT_NEAR(minimum, mode ? -std::abs(whole) : -whole.real(), 1e-9) << "seed " << seed;
        }
}

// Where all sectors are pulses and delays the sequence driver must find the same state.
TEST_F(OptimizerEngine, ARunOfTheModelReproducesTheMinimum)
{
    std::mt19937 random(61);
    const SpinSystem system = random_spins(random, {1, 1}, 2);
    for (const int samples : {4, 16, 2})
        add_2d_sector(1, random_waveform(random, samples, false, false, false), 1, 1e-3, 30.0);
    build_spins(system);
    ASSERT_TRUE(create_operator_expression_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, "IySz + Sx",
                                                    &observable));
    CopyCMatrix(rt.n, &observable, &rt.Istat);
    feed_stdin("2\n");
    const std::string out = captured([] {
                                ASSERT_TRUE(ZANOptimizationPrepareCurrent2DSequenceSector(2, 0));
                                rt.npar = 12;
                                ZANOptimizationTakeStartPulse();
                                StartOptimization();
                            }).out;
    std::vector<double> blocks(rt.xb, rt.xb + 16);
    blocks.insert(blocks.end(), rt.yb, rt.yb + 16);
    write_samples(rt.fnames[2], blocks);
    captured([] { RunCurrentPreparedModel(); });
    Complex2 eval;
    ExpectationValue(rt.n, &observable, &rt.densmat, &eval);
    EXPECT_NEAR(-eval[COMPLEX_RE], number_after(out, "Minimum             : ", true), 1e-10);
}
