// tempdir - fresh directories for one test, removed with everything in them at the end.
#ifndef ZAN_TESTS_TEMPDIR_H
#define ZAN_TESTS_TEMPDIR_H

#include <string>

struct TempDir {
    std::string path; // without a separator at its end

    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    // Names are relative and use "/". write makes the directories that are missing; read gives
    // "" for a file that does not open. Both take and give bytes as they stand.
    std::string file(const std::string &name) const;
    std::string write(const std::string &name, const std::string &text) const; // the full path
    std::string read(const std::string &name) const;
    bool exists(const std::string &name) const;
    void make_dir(const std::string &name) const;
};

// A path that starts with one "/" as an absolute path of this system: on Windows, on drive C.
std::string absolute_path(const std::string &path);

// The same as the working directory of the process while it lasts.
struct WorkDir : TempDir {
    std::string previous;

    WorkDir();
    ~WorkDir();
};

#endif
