// zan_menus.cpp - the console menus: prepare a model, run and analyse it. Each choice is one call.

#include "zan.h"

#include "consoleutil.h"
#include "pulsesequencedefiner.h"
#include "zan-entry.h"
#include "zanmodel.h"

// A menu's number with the rest of its line; false (the menu ends) when it is no number.
static bool read_choice(int *choice)
{
    const bool read = ConsoleReadInt(choice);
    ConsoleDropLine();
    return read;
}

// ------------------------------------------------------------------ prepare / edit

static void print_prepare_menu(void)
{
    ScreenMode(3);
    std::printf("========================================\n");
    std::printf(" Prepare / Edit Current Model\n");
    std::printf("========================================\n\n");
    ZANPrintCurrentModelFileHint();
    std::printf("\n");
    PrintPrepareStatus();
    std::printf("Options:\n\n");
    std::printf("  1. Define / redefine spin system\n");
    std::printf("  2. Define spatial simulation domain (for spatially resolved sequences)\n");
    std::printf("  3. Choose sequence family and compose / edit pulse sequence\n");
    std::printf("  4. Show current model summary\n");
    std::printf("  5. Save current model now (.zanmodel)\n");
    std::printf("  6. Back\n\n");
    std::printf("Your choice [1..6] : ");
}

static void compose_sequence(void)
{
    if (rt.Nspins < 1) {
        std::printf("No spin system is currently prepared.\n");
        std::printf("Define or import a model first.\n");
        return;
    }
    ComposePulseSequence();
}

static void prepare_action(int choice)
{
    switch (choice) {
    case 1:
        RedefineSpinSystem();
        break;
    case 2:
        DefineSpatialSimulationDomain();
        break;
    case 3:
        compose_sequence();
        break;
    case 4:
        PrintCurrentModelSummary();
        break;
    case 5:
        ZANExportCurrentModelInteractive();
        break;
    default:
        std::printf("Unknown choice.\n");
        break;
    }
}

void ZANPrepareMenu(void)
{
    int choice;
    for (;;) {
        print_prepare_menu();
        if (!read_choice(&choice))
            return;
        std::printf("\n");
        if (choice == 6)
            return;
        prepare_action(choice);
        std::printf("Press Enter to continue...");
        ConsolePause();
    }
}

// ------------------------------------------------------------------ run / analyse

static void print_run_menu(void)
{
    ScreenMode(3);
    std::printf("****************************************************\n");
    std::printf("***         Run / Analyze Current Model         ***\n");
    std::printf("****************************************************\n\n");
    ZANPrintCurrentModelFileHint();
    std::printf("\n");
    PrintNonInteractiveStatus();
    std::printf("Options:\n\n");
    std::printf("  1. Choose sequence family and compose / edit pulse sequence\n");
    std::printf("  2. Run current prepared model\n");
    std::printf("  3. Calculate expectation values\n");
    std::printf("  4. Calculate spectra\n");
    std::printf("  5. Optimize one RF sector in current 1D/2D sequence\n");
    std::printf("  6. Save current model now (.zanmodel)\n");
    std::printf("  7. Back\n\n");
    std::printf("Your choice [1..7] : ");
}

static void run_action(int choice)
{
    switch (choice) {
    case 1:
        ComposePulseSequence();
        break;
    case 2:
        RunCurrentPreparedModel();
        break;
    case 3:
        CalcExpVal();
        break;
    case 4:
        ZANCalculateSpectraInteractive();
        break;
    case 5:
        ZANModel_OptimizePreparedSequenceSectorInteractive();
        break;
    case 6:
        ZANExportCurrentModelInteractive();
        break;
    default:
        std::printf("Unknown choice.\n");
        break;
    }
}

void LiouvilleNonInteractive(void)
{
    int choice;
    for (;;) {
        print_run_menu();
        if (!read_choice(&choice))
            return;
        std::printf("\n");
        if (choice == 7)
            return;
        run_action(choice);
        std::printf("\nPress Enter to continue...");
        ConsolePause();
    }
}

// ------------------------------------------------------------------ single steps

static void print_step_menu(void)
{
    std::printf("========================================\n");
    std::printf("==       MAIN INTERACTIVE MENU        ==\n");
    std::printf("========================================\n");
    std::printf("  1. Define/Redefine spin system\n");
    std::printf("  2. Define/Redefine pulse Hamiltonian\n");
    std::printf("  3. Define gradient offsets\n");
    std::printf("  4. Run rotation / propagate (generate dm.bin)\n");
    std::printf("  5. Spectral analyses (from dm.bin)\n");
    std::printf("  6. Expectation values (from dm.bin)\n");
    std::printf("  7. Output pulse arrays\n");
    std::printf("  8. Optimize a spinstate selective RF-pulse\n");
    std::printf("  0. Exit\n");
    std::printf("Your choice [0..8] : ");
}

static void step_action(int choice)
{
    switch (choice) {
    case 1:
        RedefineSpinSystem();
        break;
    case 2:
        RedefinePulseHamiltonian();
        break;
    case 3:
        DefinegradientOffset();
        break;
    case 4:
        Rotate3D();
        break;
    case 5:
        InteractiveSpectrumAnalyses();
        break;
    case 6:
        CalcExpVal();
        break;
    case 7:
        OutputPulse();
        break;
    case 8:
        Optimize();
        break;
    default:
        std::printf("Unknown choice.\n");
        break;
    }
}

void LiouvilleInteractive(void)
{
    int choice;
    for (;;) {
        print_step_menu();
        if (!read_choice(&choice))
            return;
        std::printf("\n");
        if (choice == 0)
            return;
        step_action(choice);
        ConsoleDropLine();
    }
}
