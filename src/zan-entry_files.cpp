// zan-entry_files.cpp - working directories, the loaded model and its short name, and the
// prompts that choose a model file to import or to export to.
//
// Where the directories lie is said by zanpaths; the menu asks through here.
#include "zan-entry.h"

#include "binaryfilehandling.h"
#include "consoleutil.h"
#include "platformlib.h"
#include "zan-entry_internal.h"
#include "zanpaths.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

enum { path_size = 4096, max_listed_models = 256, model_name_size = 260, answer_size = 512 };

char g_loaded_model_path[1024];
int g_loaded_model_path_valid;
char g_current_model_short_name[128];
int g_current_model_short_name_valid;

static bool is_upper(char c)
{
    return c >= 'A' && c <= 'Z';
}
static bool is_lower(char c)
{
    return c >= 'a' && c <= 'z';
}
static bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}
static bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}
static char lower(char c)
{
    return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

int leading_int(const char *text)
{
    const long value = std::strtol(text, nullptr, 10);
    return value >= INT_MIN && value <= INT_MAX ? static_cast<int>(value) : 0;
}

void wait_to_return_to_menu(void)
{
    std::printf("\nPress Enter to return to the menu...");
    ConsolePause();
}

// ---------------------------------------------------------------------- working directories

// What stands in the way of the directory shows when it is entered.
static void create_and_enter(const char *dir, const char *what)
{
    if (!plat_make_dir(dir) && errno != EEXIST)
        std::printf("[ZAN] Warning: could not create %s: %s\n", what, dir);
    else if (!plat_change_dir(dir))
        std::printf("[ZAN] Warning: could not enter %s: %s\n", what, dir);
}

void enter_runtime_work_dir(void)
{
    char exe_dir[path_size], runtime_dir[path_size];
    if (!ZAN_GetExecutableDir(exe_dir, sizeof exe_dir))
        std::puts("[ZAN] Warning: could not determine executable directory; "
                  "using current directory for scratch files.");
    else if (!ZAN_BuildPath(runtime_dir, sizeof runtime_dir, exe_dir, "runtime"))
        std::puts("[ZAN] Warning: runtime directory path is too long; "
                  "using current directory for scratch files.");
    else
        create_and_enter(runtime_dir, "runtime directory");
}

// NAME_PID of a run. The process id keeps runs of one model apart.
static void run_dir_leaf(const char *model_path, char *leaf, size_t size)
{
    char base[path_size], name[path_size];
    const bool usable = model_path && basename_without_extension(model_path, base, sizeof base) &&
                        sanitize_model_short_name(base, name, sizeof name);
    std::snprintf(leaf, size, "%.96s_%lu", usable ? name : "model", plat_process_id());
}

void enter_private_model_run_work_dir(const char *model_path)
{
    char exe_dir[path_size], runtime_dir[path_size], runs_dir[path_size], run_dir[path_size];
    if (!ZAN_GetExecutableDir(exe_dir, sizeof exe_dir)) {
        std::puts("[ZAN] Warning: could not determine executable directory; "
                  "using current directory for run scratch files.");
        return;
    }
    char leaf[128];
    run_dir_leaf(model_path, leaf, sizeof leaf);
    if (!ZAN_BuildPath(runtime_dir, sizeof runtime_dir, exe_dir, "runtime") ||
        !ZAN_BuildPath(runs_dir, sizeof runs_dir, runtime_dir, "runs") ||
        !ZAN_BuildPath(run_dir, sizeof run_dir, runs_dir, leaf)) {
        std::puts("[ZAN] Warning: run scratch path is too long; using current directory.");
        return;
    }
    plat_make_dir(runtime_dir);
    plat_make_dir(runs_dir);
    create_and_enter(run_dir, "run scratch directory");
}

// ------------------------------------------------------------------------- short model name

int basename_without_extension(const char *path, char *dst, size_t dstsz)
{
    const char *cut = std::strrchr(path, '\\');
    if (!cut)
        cut = std::strrchr(path, '/');
    std::string name = cut ? cut + 1 : path;
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.resize(dot);
    if (name.empty() || name.size() >= dstsz)
        return 0;
    std::memcpy(dst, name.c_str(), name.size() + 1);
    return 1;
}

// What a character of a typed name becomes in a short name; 0: nothing.
static char short_name_char(char c)
{
    if (is_upper(c) || is_lower(c) || is_digit(c))
        return lower(c);
    if (c == '-')
        return '-';
    return c == '_' || c == '.' || is_space(c) ? '_' : '\0';
}

static bool is_name_separator(char c)
{
    return c == '_' || c == '-';
}

int sanitize_model_short_name(const char *src, char *dst, size_t dstsz)
{
    size_t length = 0;
    for (; *src; src++) {
        const char c = short_name_char(*src);
        if (!c || (is_name_separator(c) && (length == 0 || is_name_separator(dst[length - 1]))))
            continue;
        if (length + 1 >= dstsz)
            return 0;
        dst[length++] = c;
    }
    while (length > 0 && is_name_separator(dst[length - 1]))
        length--;
    if (length == 0)
        return 0;
    dst[length] = '\0';
    return 1;
}

void clear_current_model_short_name(void)
{
    g_current_model_short_name[0] = '\0';
    g_current_model_short_name_valid = 0;
}

void set_current_model_short_name(const char *name)
{
    clear_current_model_short_name();
    if (!name || !*name)
        return;
    std::snprintf(g_current_model_short_name, sizeof g_current_model_short_name, "%s", name);
    g_current_model_short_name_valid = 1;
}

void seed_current_model_short_name_from_path(const char *path)
{
    char base[path_size], name[sizeof g_current_model_short_name];
    if (path && basename_without_extension(path, base, sizeof base) &&
        sanitize_model_short_name(base, name, sizeof name))
        set_current_model_short_name(name);
}

static int ask_for_short_name(void)
{
    std::puts("\nShort model name / file prefix");
    std::puts("(used for default sector waveform filenames)");
    for (;;) {
        std::printf(": ");
        char line[256], name[sizeof g_current_model_short_name];
        if (!ConsoleReadLine(line, sizeof line))
            return 0;
        line[std::strcspn(line, "\r")] = '\0';
        if (!*line) {
            std::puts("Please enter a short name, for example: lac_press or gaba_mega");
        } else if (!sanitize_model_short_name(line, name, sizeof name)) {
            std::puts("Could not derive a usable file prefix from that text.");
            std::puts("Use letters, numbers, spaces, '-' or '_'.");
        } else {
            set_current_model_short_name(name);
            std::printf("Using model prefix : %s\n", name);
            return 1;
        }
    }
}

int ZANEnsureCurrentModelShortName(char *dst, size_t dstsz)
{
    if (!g_current_model_short_name_valid && g_loaded_model_path_valid)
        seed_current_model_short_name_from_path(g_loaded_model_path);
    if (!g_current_model_short_name_valid && !ask_for_short_name())
        return 0;
    std::snprintf(dst, dstsz, "%s", g_current_model_short_name);
    return 1;
}

// ----------------------------------------------------------------------------- loaded model

static void forget_loaded_model_path(void)
{
    g_loaded_model_path[0] = '\0';
    g_loaded_model_path_valid = 0;
}

void set_loaded_model_path(const char *path)
{
    if (!path || !*path) {
        forget_loaded_model_path();
        return;
    }
    std::snprintf(g_loaded_model_path, sizeof g_loaded_model_path, "%s", path);
    g_loaded_model_path_valid = 1;
    seed_current_model_short_name_from_path(path);
}

void clear_loaded_model_path(void)
{
    forget_loaded_model_path();
    clear_current_model_short_name();
}

void ZANPrintCurrentModelFileHint(void)
{
    std::printf("Current model file : %s\n",
                g_loaded_model_path_valid ? g_loaded_model_path : "<unsaved current model>");
}

// ------------------------------------------------------------------------------ model files

int file_exists(const char *path)
{
    const FilePtr file = open_input(path);
    return file != nullptr;
}

int text_file_contains_literal(const char *path, const char *needle)
{
    const FilePtr file = open_input(path);
    char piece[1024];
    while (file && std::fgets(piece, sizeof piece, file.get())) {
        if (std::strstr(piece, needle))
            return 1;
    }
    return 0;
}

int is_split_model_file(const char *dir, const char *name)
{
    char path[path_size];
    return ZAN_BuildPath(path, sizeof path, dir, name) &&
           text_file_contains_literal(path, "spin_system_file:") &&
           text_file_contains_literal(path, "sequence_file:");
}

int has_zanmodel_extension_ci(const char *name)
{
    const char *dot = std::strrchr(name, '.');
    if (!dot)
        return 0;
    const char *wanted = ".zanmodel";
    while (*dot && lower(*dot) == *wanted) {
        dot++;
        wanted++;
    }
    return *dot == '\0' && *wanted == '\0';
}

int ensure_zanmodel_extension(char *path, size_t pathsz)
{
    if (has_zanmodel_extension_ci(path))
        return 1;
    const size_t length = std::strlen(path);
    const char extension[] = ".zanmodel";
    if (length + sizeof extension > pathsz)
        return 0;
    std::memcpy(path + length, extension, sizeof extension);
    return 1;
}

int collect_model_files(const char *dir, char names[][model_name_size], int max_names)
{
    int count = 0;
    for (const std::string &name : plat_list_files(dir, ".zanmodel")) {
        if (count < max_names && is_split_model_file(dir, name.c_str()))
            std::snprintf(names[count++], model_name_size, "%s", name.c_str());
    }
    return count;
}

// ---------------------------------------------------------------------------------- prompts

static bool find_models_dir(char *dir, size_t size)
{
    if (ZAN_GetDefaultModelsDir(dir, size))
        return true;
    std::puts("\n[ZAN] Could not determine default models directory.");
    wait_to_return_to_menu();
    return false;
}

// The number of the chosen model from 1; 0: cancelled.
static int ask_for_model_number(int count)
{
    for (;;) {
        std::printf("\nSelect model file [1-%d] (Enter cancels): ", count);
        char line[64];
        if (!ConsoleReadLine(line, sizeof line) || !*line || *line == '\r')
            return 0;
        const int number = leading_int(line);
        if (number >= 1 && number <= count)
            return number;
        std::puts("[ZAN] Invalid selection.");
    }
}

int prompt_model_selection_from_default_dir(char *full_path, size_t full_path_sz)
{
    char dir[path_size];
    if (!find_models_dir(dir, sizeof dir))
        return 0;

    static char names[max_listed_models][model_name_size];
    const int count = collect_model_files(dir, names, max_listed_models);
    if (count == 0) {
        std::printf("\n[ZAN] No .zanmodel files found in:\n      %s\n", dir);
        wait_to_return_to_menu();
        return 0;
    }

    std::printf("\n[ZAN] Available model files in:\n      %s\n\n", dir);
    for (int i = 0; i < count; i++)
        std::printf("  %3d) %s\n", i + 1, names[i]);
    const int number = ask_for_model_number(count);
    if (number == 0)
        return 0;
    if (ZAN_BuildPath(full_path, full_path_sz, dir, names[number - 1]))
        return 1;
    std::fprintf(stderr, "[ZAN] Model path is too long: %s in %s\n", names[number - 1], dir);
    wait_to_return_to_menu();
    return 0;
}

int prompt_model_path(const char *prompt, char *path, size_t pathsz)
{
    std::printf("\n%s", prompt);
    char line[answer_size + 1];
    if (!ConsoleReadLine(line, sizeof line) || !*line)
        return 0;
    std::snprintf(path, pathsz, "%s", line);
    return 1;
}

int path_has_separator(const char *s)
{
    return std::strpbrk(s, "\\/:") != nullptr;
}

int resolve_model_path(char *out, size_t outsz, const char *user_path)
{
    if (!*user_path)
        return 0;
    if (path_has_separator(user_path))
        return ZAN_BuildPath(out, outsz, "", user_path);
    char dir[path_size];
    return ZAN_GetDefaultModelsDir(dir, sizeof dir) && ZAN_BuildPath(out, outsz, dir, user_path);
}

static int confirm_overwrite(const char *path)
{
    std::printf("\n[ZAN] File already exists:\n      %s\nOverwrite? [1=yes, 0=no]: ", path);
    char line[64];
    if (!ConsoleReadLine(line, sizeof line))
        return 0;
    if (leading_int(line) == 1)
        return 1;
    std::puts("\n[ZAN] Export cancelled.");
    wait_to_return_to_menu();
    return 0;
}

int prompt_export_model_path(char *full_path, size_t full_path_sz)
{
    char dir[path_size];
    if (!find_models_dir(dir, sizeof dir))
        return 0;
    std::printf("\n[ZAN] Default models directory:\n      %s\n", dir);
    char answer[answer_size + 1]; // one that is too long fills it
    if (!prompt_model_path("Enter .zanmodel file to export to: ", answer, sizeof answer))
        return 0;
    if (std::strlen(answer) >= answer_size ||
        !resolve_model_path(full_path, full_path_sz, answer) ||
        !ensure_zanmodel_extension(full_path, full_path_sz)) {
        std::puts("\n[ZAN] Export failed: output path is too long.");
        wait_to_return_to_menu();
        return 0;
    }
    return file_exists(full_path) ? confirm_overwrite(full_path) : 1;
}
