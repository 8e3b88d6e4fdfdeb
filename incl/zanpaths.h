// zanpaths - where things lie, seen from the executable: with E its directory and P the parent
// of E, models are in P/models, density matrices in P/density_matrices, RF files in P/rf-output
// and P/rf-input, scratch files in E/runtime.
//
// All functions return 1 on success and 0 on failure; nothing is ever truncated: a path that
// does not fit into outsz bytes is a failure. None of them creates anything.
#ifndef ZAN_ZANPATHS_H
#define ZAN_ZANPATHS_H

#include <cstddef>

int ZAN_GetExecutableDir(char *out, size_t outsz);
int ZAN_GetDefaultModelsDir(char *out, size_t outsz);
int ZAN_GetDefaultDensityMatricesDir(char *out, size_t outsz);
int ZAN_GetDefaultRFOutputDir(char *out, size_t outsz);
int ZAN_GetDefaultRFInputDir(char *out, size_t outsz);

// dir, a separator unless dir is empty or ends in one, leafname.
int ZAN_BuildPath(char *out, size_t outsz, const char *dir, const char *leafname);

// Cuts path at its last backslash, else its last slash; fails without either. The root's own
// separator stays.
int ZAN_ParentDir(char *path);

#endif
