// console.cpp - standard input from a text or a pseudo-terminal.
#include "console.h"

#include "consoleutil.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

static void reopen_stdin(const char *path)
{
    if (!std::freopen(path, "r", stdin))
        std::abort();
}

// An earlier test's answer whose line was not read to its end must not cost the new input a line.
static void use_as_stdin(const char *path)
{
    reopen_stdin("/dev/null");
    ConsoleDropLine();
    reopen_stdin(path);
}

void feed_stdin(const std::string &text)
{
    char path[] = "/tmp/zan-stdin-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        std::abort();
    close(fd);
    use_as_stdin(path);
    unlink(path);
}

bool feed_terminal(const std::string &text)
{
    static int keyboard = -1; // stays open: closing it would hang up the terminal
    if (keyboard >= 0)
        close(keyboard);
    keyboard = posix_openpt(O_RDWR | O_NOCTTY);
    if (keyboard < 0 || grantpt(keyboard) != 0 || unlockpt(keyboard) != 0)
        return false;
    use_as_stdin(ptsname(keyboard));
    return write(keyboard, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

std::string rest_of_stdin(void)
{
    std::string rest;
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        rest += static_cast<char>(c);
    return rest;
}
