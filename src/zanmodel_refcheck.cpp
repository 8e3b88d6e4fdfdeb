// zanmodel_refcheck - runs the reference checks. The cases are in zanmodel_refcheck_operators.cpp
// (spin operators, Hamiltonians, spectrum), _spatial.cpp (a run) and _models.cpp (model files);
// comparisons, files and the snapshot of the loaded model have rooms of their own.
#include "zanmodel_refcheck.h"

static int run_all_cases(void)
{
    int ok = RunSpinOperatorReferenceCases();
    ok &= RunHamiltonianReferenceCases();
    ok &= RunWeakTwoSpinSpectrumReferenceCase();
    ok &= RunSpatialGradientReferenceCase();
    ok &= RunSplitCompositionReferenceCase();
    ok &= RunMalformedModelRejectCases();
    return ok;
}

int ZANModel_RunReferenceChecks(void)
{
    static ZANLegacySnapshot snapshot;
    CaptureLegacySnapshot(&snapshot);
    const int ok = run_all_cases();
    RestoreLegacySnapshot(&snapshot);
    std::puts(ok ? "All zanmodel smoke/reference checks passed."
                 : "One or more zanmodel smoke/reference checks failed.");
    return ok;
}
