// zan-entry_menu.cpp - start and main menu.
//
// The command-line modes are in zan-entry_modes.cpp, import and export in zan-entry_models.cpp.
#include "zan-entry.h"

#include "consoleutil.h"
#include "platformlib.h"
#include "zan-entry_internal.h"
#include "zan.h"
#include "zanmodel_refcheck.h"

#include <cstdio>
#include <cstring>
#include <new>

static void run_reference_checks(void)
{
    std::puts("\n[ZAN] Running developer smoke/reference checks...");
    ZANModel_RunReferenceChecks();
    wait_to_return_to_menu();
}

static void print_main_menu(void)
{
    std::puts("\n========================================\n"
              " ZAN Main Menu\n"
              "========================================");
    std::printf(" Loaded model : %s\n", g_loaded_model_path_valid ? g_loaded_model_path : "<none>");
    std::printf("----------------------------------------\n"
                "  1) Prepare / edit current model\n"
                "  2) Run / analyze current model\n"
                "  3) Import .zanmodel\n"
                "  4) Export current model (.zanmodel)\n"
                "  5) Developer smoke/reference checks\n"
                "  6) Exit\n"
                "----------------------------------------\n"
                "Select [1-6]: ");
}

int read_menu_choice(void)
{
    plat_console_utf8();
    ScreenMode(3);
    for (;;) {
        print_main_menu();
        char line[64];
        if (!ConsoleReadLine(line, sizeof line))
            return 6;
        const int choice = leading_int(line);
        if (choice >= 1 && choice <= 6)
            return choice;
        std::puts("Invalid choice. Please enter 1, 2, 3, 4, 5 or 6.");
    }
}

static void act_on(int choice)
{
    switch (choice) {
    case 1:
        std::puts("\n[ZAN] Opening model preparation / editing...");
        ZANPrepareMenu();
        break;
    case 2:
        std::puts("\n[ZAN] Starting non-interactive mode...");
        LiouvilleNonInteractive();
        break;
    case 3:
        import_zan_model();
        break;
    case 4:
        ZANExportCurrentModelInteractive();
        break;
    default:
        run_reference_checks();
        break;
    }
}

static void print_no_memory(void)
{
    std::fputs("[ZAN] Not enough memory.\n", stderr);
}

// The library throws when memory runs out. What was begun is given up; the model stays.
static void run_main_menu(void)
{
    for (int choice = read_menu_choice(); choice != 6; choice = read_menu_choice()) {
        try {
            act_on(choice);
        } catch (const std::bad_alloc &) {
            print_no_memory();
        }
    }
}

static int run_mode_or_menu(int argc, char **argv)
{
    enter_runtime_work_dir();
    TotalStartUp();
    clear_loaded_model_path();

    if (argc == 3 && !std::strcmp(argv[1], "--run-model"))
        return run_zan_model_file(argv[2]);
    if (argc == 6 && !std::strcmp(argv[1], "--expectation-profile"))
        return write_expectation_profile_file(argv[2], argv[3], argv[4], argv[5]);
    if (argc == 6 && !std::strcmp(argv[1], "--voxel-signal"))
        return write_voxel_signal_file(argv[2], argv[3], argv[4], argv[5]);

    run_main_menu();
    std::puts("\n[ZAN] Exiting.");
    return 0;
}

int ZANMain(int argc, char **argv)
{
    try {
        return run_mode_or_menu(argc, argv);
    } catch (const std::bad_alloc &) {
        print_no_memory();
        return 1;
    }
}
