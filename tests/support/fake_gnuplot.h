// fake_gnuplot - what the program starts in place of gnuplot.
#ifndef ZAN_TEST_FAKE_GNUPLOT_H
#define ZAN_TEST_FAKE_GNUPLOT_H

#include <string>

// The search path for programs while this lasts.
struct ProgramPath {
    explicit ProgramPath(const std::string &path);
    ~ProgramPath();
    ProgramPath(const ProgramPath &) = delete;
    ProgramPath &operator=(const ProgramPath &) = delete;

    std::string before;
};

// A gnuplot in dir, first in the search path while this lasts. It writes its arguments, and the
// first line of its standard input if it has any, into the file args of its working directory.
struct FakeGnuplot {
    explicit FakeGnuplot(const std::string &dir);

    ProgramPath path;
};

// What it wrote into dir/args, one argument a line; waits for it. The file is gone then.
std::string arguments_of_gnuplot(const std::string &dir);

#endif
