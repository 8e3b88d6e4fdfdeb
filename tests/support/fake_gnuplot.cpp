// fake_gnuplot.cpp - see the header; the gnuplot itself is install_gnuplot.
#include "fake_gnuplot.h"

#include "process.h"
#include "run_program.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

ProgramPath::ProgramPath(const std::string &path)
    : before(std::getenv("PATH") ? std::getenv("PATH") : "")
{
    set_environment("PATH", path);
}

ProgramPath::~ProgramPath()
{
    set_environment("PATH", before);
}

FakeGnuplot::FakeGnuplot(const std::string &dir)
    : path(dir + path_list_separator + (std::getenv("PATH") ? std::getenv("PATH") : ""))
{
    install_gnuplot(dir);
}

std::string arguments_of_gnuplot(const std::string &dir)
{
    const std::string path = dir + "/args";
    for (int tries = 0; tries < 1000 && read_file(path).empty(); tries++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const std::string args = read_file(path);
    std::remove(path.c_str());
    return args;
}
