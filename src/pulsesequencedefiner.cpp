// pulsesequencedefiner.cpp - the sequence composer: which family, go on or start anew, and what
// the editors of both families have in common.
//
// The screen is cleared between menus unless it shows a message that wants to be read.
#include "pulsesequencedefiner_internal.h"

#include "consoleutil.h"

#include <cstdio>
#include <cstring>

const char *sequence_family_label(int type)
{
    return type == 1 ? "spatially resolved" : type == 2 ? "1D or 2D NMR" : "unknown";
}

// ------------------------------------------------------------------ families

void Initialize(void)
{
    rt.nos = 0;
    rt.nevo[0] = 1;
    rt.systemset = rt.sectorset = rt.offsetset = 0;
    rt.Nspins = 0;
    rt.ndx = rt.ndy = rt.ndz = 1;
    std::snprintf(rt.resultflnm, sizeof rt.resultflnm, "result.bin");
}

static void edit_sequence_of_type(int type)
{
    rt.sequencetype = type;
    rt.systemset = rt.Nspins > 0;
    rt.offsetset = type == 1 && rt.ndx > 0 && rt.ndy > 0 && rt.ndz > 0;
    if (type == 1)
        EditPulseSequence();
    else
        Edit2DPulseSequence();
}

// The entries of earlier sectors stay until they are overwritten.
void create_new_sequence_of_type(int type)
{
    if (rt.Nspins < 1)
        Initialize();
    rt.nos = 0;
    rt.sectorset = 0;
    if (!rt.resultflnm[0])
        std::snprintf(rt.resultflnm, sizeof rt.resultflnm, "result.bin");
    edit_sequence_of_type(type);
}

void load_and_edit_sequence_of_type(int type)
{
    rt.sectorset = rt.nos > 0;
    edit_sequence_of_type(type);
}

// ------------------------------------------------------------------ menus

static void print_compose_sequence_banner(void)
{
    std::printf("*****************************************************\n"
                "*** Prepare / Edit Current Pulse Sequence         ***\n"
                "***              current model workflow           ***\n"
                "*****************************************************\n");
}

static void print_compose_sequence_status(void)
{
    if (rt.Nspins < 1) {
        std::printf("No spin system is currently prepared.\n");
        return;
    }
    std::printf("Current loaded/prepared spin system:\n");
    std::printf("  Nspins = %d\n", rt.Nspins);
    std::printf("  Current sequence sectors = %d\n", rt.nos);
}

static void print_spatial_family_status(void)
{
    std::printf("This family uses the spatial simulation domain from model preparation.\n");
    if (rt.ndx < 1 || rt.ndy < 1 || rt.ndz < 1) {
        std::printf("Current spatial grid: <not explicitly defined yet>\n");
        std::printf("  Note: the spatial editor will clamp the grid to at least 1 x 1 x 1.\n");
        return;
    }
    std::printf("Current spatial grid: ndx=%d  ndy=%d  ndz=%d\n", rt.ndx, rt.ndy, rt.ndz);
    std::printf("  origin [cm] : (%.15g, %.15g, %.15g)\n", rt.x0, rt.y0, rt.z0);
    std::printf("  delta  [cm] : (%.15g, %.15g, %.15g)\n", rt.dx, rt.dy, rt.dz);
}

static void print_sequence_family_status(int type)
{
    std::printf("Selected sequence family: %s pulse sequence\n", sequence_family_label(type));
    if (type == 1)
        print_spatial_family_status();
    else
        std::printf("This family does not use the spatial simulation domain.\n");
}

static void open_compose_screen(bool clear)
{
    if (clear)
        ScreenMode(3);
    print_compose_sequence_banner();
    print_compose_sequence_status();
}

// 1 or 2, or 3 for none.
static int choose_family(void)
{
    for (bool clear = true;; clear = false) {
        int choice;
        open_compose_screen(clear);
        std::printf("Choose the sequence family first.\n"
                    "    1. Spatially resolved pulse sequence\n"
                    "    2. 1D or 2D NMR pulse sequence\n"
                    "    3. Back\n\n");
        read_int_prompt("Your choice [1..3] : ", &choice);
        if (choice >= 1 && choice <= 3)
            return choice;
        std::printf("Unknown choice.\n");
    }
}

static void print_action_menu(int type, bool clear)
{
    const char *family = sequence_family_label(type);
    open_compose_screen(clear);
    print_sequence_family_status(type);
    std::printf("What would you like to do next?\n");
    std::printf("    1. Continue editing the current %s sequence\n", family);
    std::printf("    2. Start a new %s sequence\n", family);
    std::printf("    3. Choose another sequence family\n\n");
}

static bool can_continue_as(int type)
{
    if (rt.sequencetype == 0 || rt.sequencetype == type || rt.nos < 1)
        return true;
    std::printf("A different sequence family is already prepared in memory.\n");
    std::printf("Start a new %s sequence instead.\n", sequence_family_label(type));
    return false;
}

// True when an editor ran, false for another family.
static bool compose_family(int type)
{
    for (bool clear = true;; clear = false) {
        int choice;
        print_action_menu(type, clear);
        read_int_prompt("Your choice [1..3] : ", &choice);
        if (choice == 1 && can_continue_as(type)) {
            load_and_edit_sequence_of_type(type);
            return true;
        }
        if (choice == 2) {
            create_new_sequence_of_type(type);
            return true;
        }
        if (choice == 3)
            return false;
        if (choice != 1)
            std::printf("Unknown choice.\n");
    }
}

void ComposePulseSequence(void)
{
    for (;;) {
        const int family = choose_family();
        if (family == 3 || compose_family(family))
            return;
    }
}
