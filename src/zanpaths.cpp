// zanpaths.cpp - where things lie, seen from the executable; nothing is created here.
//
// Both slashes separate on input, on either system: model files travel between them. Joins
// write the system's own (platformlib).
#include "zanpaths.h"

#include "platformlib.h"

#include <cstring>
#include <string>

static int copy_str(char *out, size_t outsz, const char *src)
{
    const size_t length = std::strlen(src);
    if (!out || length >= outsz)
        return 0;
    std::memcpy(out, src, length + 1);
    return 1;
}

static int join_two(char *out, size_t outsz, const char *a, const char *b)
{
    if (!out || !a || !b)
        return 0;
    std::string joined = a;
    if (!joined.empty() && joined.back() != '\\' && joined.back() != '/')
        joined += plat_separator;
    return copy_str(out, outsz, (joined + b).c_str());
}

int ZAN_BuildPath(char *out, size_t outsz, const char *dir, const char *leafname)
{
    return join_two(out, outsz, dir, leafname);
}

int ZAN_ParentDir(char *path)
{
    char *cut = std::strrchr(path, '\\');
    if (!cut)
        cut = std::strrchr(path, '/');
    if (!cut)
        return 0;
    cut[cut == path ? 1 : 0] = '\0'; // the parent of "/x" is "/"
    return 1;
}

int ZAN_GetExecutableDir(char *out, size_t outsz)
{
    std::string path;
    if (!plat_executable_path(&path))
        return 0;
    const size_t cut = path.rfind(plat_separator); // a backslash is a letter of names on Linux
    return cut != std::string::npos && copy_str(out, outsz, path.substr(0, cut ? cut : 1).c_str());
}

static int default_dir(char *out, size_t outsz, const char *name)
{
    char parent[4096];
    return ZAN_GetExecutableDir(parent, sizeof parent) && ZAN_ParentDir(parent) &&
           join_two(out, outsz, parent, name);
}

int ZAN_GetDefaultModelsDir(char *out, size_t outsz)
{
    return default_dir(out, outsz, "models");
}

int ZAN_GetDefaultDensityMatricesDir(char *out, size_t outsz)
{
    return default_dir(out, outsz, "density_matrices");
}

int ZAN_GetDefaultRFOutputDir(char *out, size_t outsz)
{
    return default_dir(out, outsz, "rf-output");
}

int ZAN_GetDefaultRFInputDir(char *out, size_t outsz)
{
    return default_dir(out, outsz, "rf-input");
}
