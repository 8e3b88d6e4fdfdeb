// platformlib - the one room that knows the operating system.
//
// Paths are byte strings; on Linux "/" separates, on Windows "\\". Functions return true on
// success and leave the system's error in errno when they fail.
#ifndef ZAN_PLATFORMLIB_H
#define ZAN_PLATFORMLIB_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

extern const char plat_separator; // what path joins put between two parts

// Once, first thing in main: UTF-8 console, and writes beyond a file-size limit fail with an
// error instead of ending the process.
void plat_startup(void);

bool plat_executable_path(std::string *path);
unsigned long plat_process_id(void);

bool plat_make_dir(const char *path); // one level; an existing directory is success
bool plat_change_dir(const char *path);
bool plat_current_dir(std::string *path);
bool plat_is_dir(const char *path);
bool plat_is_file(const char *path);         // regular, links followed
bool plat_is_regular_file(const char *path); // not through a symbolic link
bool plat_exists(const char *path);
bool plat_same_file(const char *a, const char *b); // two names of one file that is there

// Names (no path) of the entries of dir that end in suffix, ignoring ASCII case; sorted by name.
// An unreadable directory gives none. list_files keeps regular files only.
std::vector<std::string> plat_list_entries(const char *dir, const char *suffix);
std::vector<std::string> plat_list_files(const char *dir, const char *suffix);

// The existing path that equals path but for the letter case of its last components.
// True when path itself exists (then it is copied) or such a match is found.
bool plat_find_ignoring_case(const char *path, std::string *found);

// For reading bytes: a regular file, links followed. Nothing else opens: a FIFO or a terminal would
// wait, and what a device or a directory gives is no file's text.
FILE *plat_open_file(const char *path);

// For writing bytes: a new file. A name that is there, whatever it is, fails with EEXIST.
FILE *plat_create_file(const char *path);

bool plat_replace_file(const char *from, const char *to); // atomic; to may exist
bool plat_remove_file(const char *path);

// Starts a program that goes on by itself: in a session of its own, without console, not waited
// for. On Linux found in PATH and never through a shell. On Windows through the command
// interpreter, so words with quotes, percent signs or line ends are refused.
bool plat_start_in_background(const char *program, const std::vector<std::string> &words);

// Between the two calls Ctrl-C does not end the process but makes plat_interrupted true; then it
// is again what it was before.
void plat_catch_interrupt(void);
void plat_release_interrupt(void);
bool plat_interrupted(void);

bool plat_console_is_input(void); // standard input is a terminal
void plat_console_clear(void);    // nothing when output is not a console
void plat_console_utf8(void);

#endif
