// pulsesequencedefiner_2d.cpp - the editor of 1D and 2D NMR sequences.
#include "pulsesequencedefiner_internal.h"

#include "consoleutil.h"
#include "zan-entry.h"

#include <algorithm>
#include <cstdio>

static void print_sector(int s)
{
    std::printf("Sector %d\n", s);
    std::printf("  sector type           : %d\n", rt.sectype[s]);
    std::printf("  time intervals        : %d\n", rt.noti[s]);
    std::printf("  sector duration [ms]  : %.3E\n", rt.sectdur[s] * 1000.0);
    std::printf("  evolution steps       : %d\n", rt.nevo[s]);
    std::printf("  pulse file            : %s\n", rt.fnames[s]);
    std::printf("  offset frequency [Hz] : %.12E\n", rt.statoff[s]);
    std::printf("  remark                : %s\n", rt.remarks[s]);
}

static void print_sectors(void)
{
    ps_print_heading("Sequence sector summaries:");
    for (int s = 1; s <= std::min<int>(rt.nos, ZAN_MAX_SECTORS); s++)
        print_sector(s);
    if (rt.nos < 1)
        std::printf("  <no sectors defined>\n");
}

static void print_model(void)
{
    std::printf("             ***************************************************\n"
                "             ***      Edit Current 1D / 2D NMR Model        ***\n"
                "             ***************************************************\n");
    ZANPrintCurrentModelFileHint();
    std::printf("Current model state:\n"
                "Spin system / sequence overview:\n"
                "-------------------------------\n");
    std::printf("  Nspins                : %d\n", rt.Nspins);
    std::printf("  sequence family       : 1D or 2D NMR (2)\n");
    std::printf("  evolution steps       : %d\n", rt.nevo[0]);
    std::printf("  sequence sectors      : %d\n", rt.nos);
    std::printf("  result file           : %s\n", rt.resultflnm[0] ? rt.resultflnm : "<unset>");
    std::printf("  model file format     : .zanmodel\n");
    print_sectors();
}

static int ask_step(void)
{
    int choice;
    ps_print_heading("1D / 2D NMR model editor:");
    std::printf("    1. Define / edit a sequence sector\n"
                "    2. Define / redefine spin system\n"
                "    3. Define result file name\n"
                "    4. Save current model now (.zanmodel)\n"
                "    5. Return to previous menu\n");
    read_int_prompt("Your choice is [1..5] : ", &choice);
    return choice;
}

// False when the screen may hold a message.
static bool edit_step(int choice)
{
    switch (choice) {
    case 1:
        ps_edit_one_sector(2);
        return false;
    case 2:
        ps_redefine_spin_system();
        return true;
    case 3:
        ps_ask_result_file();
        return true;
    case 4:
        ZANExportCurrentModelInteractive();
        return true;
    default:
        std::printf("Unknown choice.\n");
        return false;
    }
}

void Edit2DPulseSequence(void)
{
    bool clear = true;
    rt.nevo[0] = 1;
    for (;;) {
        if (clear)
            ScreenMode(3);
        print_model();
        const int choice = ask_step();
        if (choice == 5)
            return;
        clear = edit_step(choice);
    }
}
