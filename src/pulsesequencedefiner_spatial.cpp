// pulsesequencedefiner_spatial.cpp - the editor of spatially resolved sequences: shows the whole
// model, then one step at a time.
#include "pulsesequencedefiner_internal.h"

#include "consoleutil.h"
#include "zan-entry.h"

#include <cstdio>

// ------------------------------------------------------------------ the model on the screen

static void print_quantum_numbers(void)
{
    std::printf("  spin quantum numbers  : ");
    for (int k = 1; k <= rt.Nspins; k++)
        std::printf("%s%d", k > 1 ? " " : "", rt.quantnum[k]);
    std::printf("%s\n", rt.Nspins < 1 ? "<none>" : "");
}

// One value per spin, from 1.
static void print_spin_values(const char *label, const double *values)
{
    std::printf("%s", label);
    for (int k = 1; k <= rt.Nspins; k++)
        std::printf("%s%.3E", k > 1 ? " " : "", values[k]);
    std::printf("%s\n", rt.Nspins < 1 ? "<none>" : "");
}

static void print_couplings(void)
{
    if (rt.Nspins < 2) {
        std::printf("  coupling mode         : no couplings\n");
        return;
    }
    std::printf("  coupling mode         : %d  # %s\n", rt.Jexact,
                rt.Jexact == 1 ? "Weak coupling approximation" : "Exact coupling computation");
    std::printf("  number of J-couplings : %d\n", rt.Jcount);
    std::printf("  coupling strengths [Hz]:\n");
    for (int pair = 1; pair <= rt.Jcount; pair++)
        std::printf("      %.3E\n", rt.couplings[pair]);
}

static void print_spin_system(void)
{
    ps_print_heading("Spin system:");
    std::printf("  Nspins                : %d\n", rt.Nspins);
    print_quantum_numbers();
    print_spin_values("  relative intensities  : ", rt.relspinamp);
    print_spin_values("  resonance offsets [Hz]: ", rt.resofreqs);
    print_couplings();
}

static void print_grid(void)
{
    ps_print_heading("Spatial grid:");
    std::printf("  ndx                   : %d\n", rt.ndx);
    std::printf("  ndy                   : %d\n", rt.ndy);
    std::printf("  ndz                   : %d\n", rt.ndz);
    std::printf("  x0 [cm]               : %.3E\n", rt.x0);
    std::printf("  dx [cm]               : %.3E\n", rt.dx);
    std::printf("  y0 [cm]               : %.3E\n", rt.y0);
    std::printf("  dy [cm]               : %.3E\n", rt.dy);
    std::printf("  z0 [cm]               : %.3E\n", rt.z0);
    std::printf("  dz [cm]               : %.3E\n", rt.dz);
}

static void print_sequence_and_output(void)
{
    ps_print_heading("Sequence family / output:");
    std::printf("  sequence family       : spatially resolved (1)\n");
    std::printf("  sequence sectors      : %d\n", rt.nos);
    std::printf("  result file           : %s\n", rt.resultflnm[0] ? rt.resultflnm : "<unset>");
    std::printf("  model file format     : .zanmodel\n");
}

static void print_model(void)
{
    ZANPrintCurrentModelFileHint();
    std::printf("             ******************************************************\n"
                "             ***   Edit Current Spatially Resolved Model       ***\n"
                "             ******************************************************\n");
    std::printf("Current model state:\n");
    print_spin_system();
    print_grid();
    print_sequence_and_output();
    ps_print_spatial_sequence_guidance();
    ps_print_defined_spatial_sector_overview();
    ps_print_spatial_sector_summaries();
}

// ------------------------------------------------------------------ the editor

static int ask_step(void)
{
    int choice;
    ps_print_heading("Spatially resolved model editor:");
    std::printf("    1. Define / edit a sequence sector\n"
                "    2. Define / redefine spin system\n"
                "    3. Define / redefine spatial grid\n"
                "    4. Define result file name\n"
                "    5. Save current model now (.zanmodel)\n"
                "    6. Return to previous menu\n");
    read_int_prompt("Your choice is [1..6] : ", &choice);
    return choice;
}

// False when the screen may hold a message.
static bool edit_step(int choice)
{
    switch (choice) {
    case 1:
        ps_edit_one_sector(1);
        return false;
    case 2:
        ps_redefine_spin_system();
        return true;
    case 3:
        ps_ask_spatial_grid();
        return true;
    case 4:
        ps_ask_result_file();
        return true;
    case 5:
        ZANExportCurrentModelInteractive();
        return true;
    default:
        std::printf("Unknown choice.\n");
        return false;
    }
}

void EditPulseSequence(void)
{
    bool clear = true;
    rt.nevo[0] = 1;
    for (;;) {
        if (clear)
            ScreenMode(3);
        clamp_spatial_grid();
        print_model();
        const int choice = ask_step();
        if (choice == 6)
            return;
        clear = edit_step(choice);
    }
}
