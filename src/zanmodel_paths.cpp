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
#include <vector>

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

bool zan_parent_dir_copy(const std::string &dir, std::string *parent)
{
    const size_t last = dir.find_last_not_of("\\/");
    if (last == std::string::npos)
        return false;
    const std::string name = dir.substr(0, last + 1), above = zan_directory_of(name.c_str());
    const std::string leaf = name.substr(above.size());
    if (above.empty() && leaf.find(':') != std::string::npos)
        return false;
    *parent = leaf == "." || leaf == ".." ? name + "/../" : above;
    return true;
}

std::string zan_base_name_without_extension(const char *path)
{
    const std::string leaf = path + zan_directory_of(path).size();
    const size_t dot = leaf.rfind('.');
    return dot == std::string::npos || dot == 0 ? leaf : leaf.substr(0, dot);
}

static bool opens_for_reading(const std::string &path)
{
    return open_input(path.c_str()) != nullptr;
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

// ---- paths as the writer stores them ----

std::string zan_normalize_saved_path(const std::string &path)
{
    std::string slashed = path;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    return slashed;
}

// ".." takes the last part away, but neither a root nor a step that cannot be taken back.
static void take_step_up(std::vector<std::string> *parts, bool rooted)
{
    const bool at_drive = !rooted && parts->size() == 1 && parts->back().ends_with(':');
    if (at_drive || (rooted && parts->empty()))
        return;
    if (parts->empty() || parts->back() == "..")
        parts->push_back("..");
    else
        parts->pop_back();
}

// "." and ".." taken out as text, single slashes only, lower case: what two spellings are
// compared by.
static std::string comparable(const std::string &path)
{
    std::vector<std::string> parts;
    std::string part;
    const std::string slashed = zan_normalize_saved_path(path);
    const bool rooted = slashed.starts_with('/');
    for (const char c : slashed + "/") {
        if (c != '/') {
            part += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            continue;
        }
        if (part == "..")
            take_step_up(&parts, rooted);
        else if (!part.empty() && part != ".")
            parts.push_back(part);
        part.clear();
    }
    std::string joined = rooted ? "/" : "";
    for (const std::string &p : parts)
        joined += (&p == &parts.front() ? "" : "/") + p;
    return joined;
}

bool zan_tail_after_prefix(const std::string &path, const std::string &prefix, std::string *tail)
{
    const std::string whole = comparable(path), start = comparable(prefix);
    if (start.empty() || whole.compare(0, start.size(), start) != 0)
        return false;
    if (whole.size() > start.size() && whole[start.size()] != '/' && start.back() != '/')
        return false;
    const size_t rest = whole.find_first_not_of('/', start.size());
    *tail = rest == std::string::npos ? "" : whole.substr(rest);
    return true;
}

// A comment sign or a line end would not come back from the file.
bool zan_is_storable(const std::string &text)
{
    return text.find_first_of("#\r\n") == std::string::npos;
}

static int copy_portable(const std::string &path, char *out, size_t outsz)
{
    if (path.size() >= outsz || !zan_is_storable(path))
        return 0;
    std::memcpy(out, path.c_str(), path.size() + 1);
    return 1;
}

// path seen from dir when it lies in it or beside it, else as it stands.
static std::string relative_to(const std::string &dir, const char *path)
{
    std::string tail;
    if (zan_tail_after_prefix(path, dir, &tail) && !tail.empty())
        return tail;
    if (zan_tail_after_prefix(path, dir + "/..", &tail) && !tail.empty())
        return "../" + tail;
    return zan_normalize_saved_path(path);
}

// A shortened name is in lower case, and beside a directory of the same name in other letters it
// could miss its file or find another one. A file that is not there has nothing to lose.
static bool leads_to(const char *sequence_filename, const std::string &name, const char *file)
{
    std::string found;
    return !opens_for_reading(file) ||
           (zan_resolve_sector_pulse_path(sequence_filename, name.c_str(), &found) &&
            plat_same_file(found.c_str(), file));
}

int zan_make_portable_sector_pulse_path(const char *model_filename, const char *pulse_filename,
                                        char *out, size_t outsz)
{
    if (pulse_filename[0] == '\0')
        return 0;
    std::string name = zan_normalize_saved_path(pulse_filename);
    if (zan_is_absolute_path(pulse_filename)) {
        const std::string shortened = relative_to(zan_directory_of(model_filename), pulse_filename);
        if (leads_to(model_filename, shortened, pulse_filename))
            name = shortened;
    }
    return copy_portable(name, out, outsz);
}

int zan_make_portable_result_path(const char *model_filename, const char *result_filename,
                                  char *out, size_t outsz)
{
    std::string results, tail;
    if (result_filename[0] == '\0')
        return 0;
    if (!zan_is_absolute_path(result_filename))
        return copy_portable(zan_normalize_saved_path(result_filename), out, outsz);
    if (zan_run_results_dir(&results) && zan_tail_after_prefix(result_filename, results, &tail) &&
        !tail.empty() && tail.find('/') == std::string::npos)
        return copy_portable(tail, out, outsz);
    return copy_portable(relative_to(zan_directory_of(model_filename), result_filename), out,
                         outsz);
}
