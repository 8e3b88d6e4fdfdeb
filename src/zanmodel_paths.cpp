// zanmodel_paths - where the file names stored in a model lead.
//
// Used by the loader's rooms (zanmodel_text_*.cpp) and the writer. The program's own directories
// come from zanpaths, looking at the disk from platformlib.
#include "zanmodel_internal.h"

#include "platformlib.h"
#include "zanpaths.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

static bool is_separator(char c)
{
    return c == '/' || c == '\\';
}

static bool fits_record(const std::string &path)
{
    return path.size() < ZAN_MODEL_FILENAME_LEN;
}

enum { longest_model_file_path = 1023 }; // as the shell keeps it

bool zan_is_absolute_path(const char *path)
{
    if (path[0] == '\0')
        return false;
    if (std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':')
        return is_separator(path[2]);
    if (is_separator(path[0]) && path[1] == path[0])
        return true;
    return path[0] == '/' && plat_separator == '/';
}

bool zan_has_path_separator(const char *path)
{
    return std::strpbrk(path, "\\/:") != nullptr;
}

std::string zan_directory_of(const char *path)
{
    const std::string whole = path;
    const size_t last = whole.find_last_of("\\/");
    return last == std::string::npos ? "" : whole.substr(0, last + 1);
}

std::string zan_base_name_without_extension(const char *path)
{
    const std::string leaf = path + zan_directory_of(path).size();
    const size_t dot = leaf.rfind('.');
    return dot == std::string::npos || dot == 0 ? leaf : leaf.substr(0, dot);
}

static bool opens_for_reading(const std::string &path)
{
    return plat_is_file(path.c_str()) && FilePtr{std::fopen(path.c_str(), "rb")} != nullptr;
}

static bool find_readable_in_any_case(const std::string &path, std::string *found)
{
    if (opens_for_reading(path)) {
        *found = path;
        return true;
    }
    std::string existing;
    if (!plat_find_ignoring_case(path.c_str(), &existing) || !opens_for_reading(existing))
        return false;
    *found = existing;
    return true;
}

bool zan_find_readable_file(const std::string &path, std::string *found)
{
    if (find_readable_in_any_case(path, found))
        return true;
    std::string slashed = path;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    return slashed != path && find_readable_in_any_case(slashed, found);
}

bool zan_run_results_dir(std::string *dir)
{
    char executable[1024], runtime[1024], results[1024];
    if (!ZAN_GetExecutableDir(executable, sizeof executable) ||
        !ZAN_BuildPath(runtime, sizeof runtime, executable, "runtime") ||
        !ZAN_BuildPath(results, sizeof results, runtime, "results") || !plat_make_dir(runtime) ||
        !plat_make_dir(results))
        return false;
    *dir = results;
    return true;
}

bool zan_resolve_model_relative_path(const char *model_filename, const char *value,
                                     std::string *resolved)
{
    if (value[0] == '\0')
        return false;
    const std::string path =
        zan_is_absolute_path(value) ? value : zan_directory_of(model_filename) + value;
    if (!zan_find_readable_file(path, resolved))
        *resolved = path;
    return resolved->size() <= longest_model_file_path;
}

// A relative name belongs to the results directory, wherever the model lies.
bool zan_resolve_result_path(const char *value, std::string *resolved)
{
    if (value[0] == '\0')
        return false;
    std::string results;
    *resolved = value;
    if (!zan_is_absolute_path(value) && zan_run_results_dir(&results))
        *resolved = results + plat_separator + value;
    return fits_record(*resolved);
}

// ---- waveform files of sectors ----

// "" when the path cannot be formed.
static std::string rf_output_candidate(const char *leafname)
{
    char directory[ZAN_MODEL_FILENAME_LEN], path[ZAN_MODEL_FILENAME_LEN];
    if (!ZAN_GetDefaultRFOutputDir(directory, sizeof directory) ||
        !ZAN_BuildPath(path, sizeof path, directory, leafname))
        return "";
    return path;
}

// "" when the path cannot be formed.
static std::string sequence_relative_candidate(const char *sequence_filename, const char *stored)
{
    const std::string path = zan_directory_of(sequence_filename) + stored;
    return fits_record(path) ? path : "";
}

static bool take_if_readable(const std::string &candidate, std::string *resolved)
{
    return !candidate.empty() && fits_record(candidate) &&
           zan_find_readable_file(candidate, resolved) && fits_record(*resolved);
}

bool zan_resolve_sector_pulse_path(const char *sequence_filename, const char *stored,
                                   std::string *resolved)
{
    if (stored[0] == '\0')
        return false;
    if (zan_is_absolute_path(stored))
        return take_if_readable(stored, resolved);
    if (take_if_readable(sequence_relative_candidate(sequence_filename, stored), resolved))
        return true;
    if (zan_has_path_separator(stored))
        return false;
    const std::string in_waveforms = std::string("waveforms") + plat_separator + stored;
    return take_if_readable(sequence_relative_candidate(sequence_filename, in_waveforms.c_str()),
                            resolved) ||
           take_if_readable(rf_output_candidate(stored), resolved);
}

// The end of the message "... not found": what was stored and where it was looked for.
static std::string describe_search(const char *stored, const char *sequence_filename)
{
    const std::string quoted = std::string("'") + stored + "'";
    if (zan_is_absolute_path(stored))
        return "stored absolute path " + quoted + " does not exist";
    const std::string relative = sequence_relative_candidate(sequence_filename, stored);
    if (zan_has_path_separator(stored)) {
        return "stored relative path " + quoted +
               (relative.empty() ? "" : "; tried model-relative '" + relative + "'");
    }
    const std::string rf_output = rf_output_candidate(stored);
    if (rf_output.empty())
        return "stored leafname " + quoted;
    return "stored leafname " + quoted + "; tried " +
           (relative.empty() ? "" : "model-relative '" + relative + "' and ") + "RF-output '" +
           rf_output + "'";
}

void zan_set_sector_pulse_resolution_error(int line, int sector, const char *stored,
                                           const char *sequence_filename, char *errbuf,
                                           size_t errbufsz)
{
    if (stored[0] == '\0') {
        set_error(errbuf, errbufsz, "line %d: sector_pulsefile for sector %d is empty", line,
                  sector);
        return;
    }
    set_error(errbuf, errbufsz, "line %d: sector_pulsefile for sector %d not found; %s", line,
              sector, describe_search(stored, sequence_filename).c_str());
}
