// console.cpp - standard input from a file.
#include "console.h"

#include "consoleutil.h"
#include "process.h"

#include <cstdio>
#include <cstdlib>

static void reopen_stdin(const char *path)
{
    if (!std::freopen(path, "r", stdin))
        std::abort();
}

void use_as_stdin(const char *path)
{
    reopen_stdin(null_device);
    ConsoleDropLine();
    reopen_stdin(path);
}

std::string rest_of_stdin(void)
{
    std::string rest;
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        rest += static_cast<char>(c);
    return rest;
}
