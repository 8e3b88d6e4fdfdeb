// binaryfilehandling_menu.cpp - the console menu around "dm.bin": copies, listing, and the counts
// that its caller works with.
//
// The copies are binaryfilehandling.cpp's; answers come from consoleutil.
#include "binaryfilehandling.h"

#include "consoleutil.h"
#include "platformlib.h"

static const size_t NAME_SIZE = 256;

void list_bin_files_in_cwd(void)
{
    if (plat_list_entries(".", ".bin").empty())
        std::printf("(no .bin files found in current directory)\n");
    for (const std::string &name : plat_list_files(".", ".bin"))
        std::printf("  %s\n", name.c_str());
}

static bool ask_int(const char *prompt, int *value)
{
    std::printf("%s", prompt);
    return ConsoleReadInt(value);
}

// At the end of input no name can come any more; one that was refused is a copy that failed.
static binfh_status without_name(void)
{
    if (ConsoleAtEnd())
        return BINFH_ERR_IO;
    std::printf("Copy failed.\n");
    return BINFH_OK;
}

static binfh_status copy_dm_bin_to_asked(void)
{
    char name[NAME_SIZE];
    std::printf("Copy dm.bin to filename: ");
    if (!ConsoleReadName(name, sizeof name, "fopen(dst)"))
        return without_name();
    if (copy_file_complete("dm.bin", name) == BINFH_OK)
        std::printf("Copied dm.bin -> %s\n", name);
    else
        std::printf("Copy failed.\n");
    return BINFH_OK;
}

static binfh_status copy_asked_to_dm_bin(void)
{
    char name[NAME_SIZE];
    std::printf("Copy filename to dm.bin. Filename: ");
    if (!ConsoleReadName(name, sizeof name, "fopen(src)"))
        return without_name();
    if (copy_file_complete(name, "dm.bin") == BINFH_OK)
        std::printf("Copied %s -> dm.bin\n", name);
    else
        std::printf("Copy failed.\n");
    return BINFH_OK;
}

static binfh_status list_files(void)
{
    std::printf("*.bin files in current directory:\n");
    list_bin_files_in_cwd();
    return BINFH_OK;
}

static binfh_status change_counts(int *ndw, int *n)
{
    int answer;
    std::printf("Actual number density matrices = %d\n", *ndw);
    std::printf("Actual dimension of density matrix = %d\n", *n);
    if (!ask_int("Change this? [1=yes, 2=no]: ", &answer))
        return BINFH_ERR_IO;
    if (answer != 1)
        return BINFH_OK;
    if (!ask_int("New number of density matrices: ", ndw) ||
        !ask_int("New dimension of the matrices: ", n))
        return BINFH_ERR_IO;
    std::printf("Updated.\n");
    return BINFH_OK;
}

static void print_menu(void)
{
    std::printf("\nBinary File Manipulation\n\n");
    std::printf("1. Copy dm.bin to {Filename}\n");
    std::printf("2. Copy existing {Filename} to dm.bin\n");
    std::printf("3. List *.bin files in current directory\n");
    std::printf("4. Change number of density matrices and dimension\n");
    std::printf("5. Quit\n\n");
}

static binfh_status act_on(int choice, int *ndw, int *n)
{
    switch (choice) {
    case 1:
        return copy_dm_bin_to_asked();
    case 2:
        return copy_asked_to_dm_bin();
    case 3:
        return list_files();
    case 4:
        return change_counts(ndw, n);
    default:
        std::printf("Unknown choice.\n");
        return BINFH_OK;
    }
}

// The user's answers until 5. At the end of input no further answer can come: an i/o error.
static binfh_status run_menu(int *ndw, int *n)
{
    for (;;) {
        int choice;
        print_menu();
        if (!ask_int("Your choice [1..5] is: ", &choice)) {
            ConsoleDropLine();
            std::printf("Invalid input.\n");
            if (ConsoleAtEnd())
                return BINFH_ERR_IO;
            continue;
        }
        if (choice == 5)
            return BINFH_OK;
        const binfh_status status = act_on(choice, ndw, n);
        if (status != BINFH_OK)
            return status;
    }
}

binfh_status BinFileActions_status(int *ndw, int *n)
{
    if (!ndw || !n)
        return BINFH_ERR_NULLPTR;
    const binfh_status status = run_menu(ndw, n);
    ConsoleDropLine();
    return status;
}

void BinFileActions(int *ndw, int *n)
{
    binfh_last_status = BinFileActions_status(ndw, n);
}
