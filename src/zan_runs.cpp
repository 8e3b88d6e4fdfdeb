// zan_runs.cpp - which driver runs the prepared model, or why none can.

#include "zan.h"

#include "platformlib.h"

static bool model_is_prepared(void)
{
    const char *missing = nullptr, *advice = nullptr;
    if (rt.Nspins < 1 || !rt.systemset) {
        missing = "No spin system is currently prepared.";
        advice = "Import or define a model first.";
    } else if (rt.sequencetype < 1) {
        missing = "No sequence family is currently selected.";
        advice = "Choose a sequence family and define at least one sector first.";
    } else if (rt.nos < 1 || !rt.sectorset) {
        missing = "No pulse sequence is currently prepared.";
        advice = "Compose or import a model with at least one sector first.";
    }
    if (missing)
        std::printf("%s\n%s\n", missing, advice);
    return !missing;
}

static void run_spatial_model(void)
{
    if (rt.ndx < 1 || rt.ndy < 1 || rt.ndz < 1 || !rt.offsetset) {
        std::puts("The current model is spatially resolved, but the spatial grid");
        std::puts("is not fully defined yet.");
        std::puts("Define the spatial simulation domain first.");
        return;
    }
    if (!ZAN_GetSmokeCheckMode())
        std::printf("Running current prepared spatially resolved model...\n");
    SimulateLoadedPulseSequence();
}

void RunCurrentPreparedModel(void)
{
    if (!model_is_prepared())
        return;
    for (const char *name : {"dm.bin", "store", "zansign.bin", "spectra.bin"})
        plat_remove_file(name);
    if (rt.sequencetype == 1) {
        run_spatial_model();
    } else if (rt.sequencetype == 2) {
        if (!ZAN_GetSmokeCheckMode())
            std::printf("Running current prepared 1D / 2D NMR model...\n");
        SimulateLoaded2DPulseSequence();
    } else {
        std::printf("Unknown sequence type (%d).\n", rt.sequencetype);
        std::puts("Choose a valid sequence family and verify the current model.");
    }
}

void ZAN_RunCurrentPreparedModel(void)
{
    RunCurrentPreparedModel();
}

void ZANRunCurrentPreparedModel(void)
{
    RunCurrentPreparedModel();
}
