// console.cpp - standard input from a text or a pseudo-terminal.
#include "console.h"

#include "consoleutil.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

// Of the new input nothing has been read, whatever was left unread of the one before.
static void use_as_stdin(const std::string &path)
{
    ConsoleDropLine();
    if (!std::freopen(path.c_str(), "r", stdin))
        std::abort();
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
    const char *const terminal = ptsname(keyboard);
    if (!terminal || access(terminal, R_OK) != 0)
        return false;
    use_as_stdin(terminal);
    return write(keyboard, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

std::string rest_of_stdin(void)
{
    std::string rest;
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        rest += static_cast<char>(c);
    return rest;
}
