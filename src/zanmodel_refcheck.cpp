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

namespace
{

// The loaded model comes back however the checks end.
struct LoadedModel {
    ZANLegacySnapshot snapshot;

    LoadedModel() { CaptureLegacySnapshot(&snapshot); }
    ~LoadedModel()
    {
        RestoreLegacySnapshot(&snapshot);
        ZAN_SetSmokeCheckMode(0);
    }
};

} // namespace

static int check_beside_loaded_model(void)
{
    const LoadedModel model;
    return run_all_cases();
}

int ZANModel_RunReferenceChecks(void)
{
    const int ok = check_beside_loaded_model();
    std::puts(ok ? "All zanmodel smoke/reference checks passed."
                 : "One or more zanmodel smoke/reference checks failed.");
    return ok;
}
