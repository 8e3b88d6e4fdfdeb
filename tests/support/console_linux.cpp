// console_linux.cpp - standard input from a text or a pseudo-terminal.
#include "console.h"

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

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
