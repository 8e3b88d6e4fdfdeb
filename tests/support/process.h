// process - the program as a process: its streams are files, its end is awaited.
#ifndef ZAN_TEST_PROCESS_H
#define ZAN_TEST_PROCESS_H

#include "child.h"

#include <string>
#include <vector>

// When to press Ctrl-C, and where in the output to look for it.
struct Interrupt {
    std::string sign;
    int times; // 0: never
};

struct EndedProcess {
    int exit_code; // 128 + signal when killed, 127 when it did not start
    long pid;
};

extern const char *const program_suffix; // ".exe" on Windows
extern const char *const null_device;    // gives nothing, takes everything
extern const char path_list_separator;   // between the directories of PATH

// Runs program in dir with IO_DIR/stdin, stdout and stderr as its streams; after 120 s it is
// killed. As nobody it may not write into its own directory (whoever runs the tests).
EndedProcess run_process(const std::string &program, const std::vector<std::string> &args,
                         const std::string &dir, const std::string &io_dir, RunAs user,
                         const Interrupt &interrupt);

void set_environment(const char *name, const std::string &value);
void install_gnuplot(const std::string &dir); // the one of fake_gnuplot.h

// A printed text with the line ends and the path separators of Linux.
std::string printed_text(const std::string &bytes);

#endif
