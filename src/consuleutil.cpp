// consuleutil.cpp - clearing the console, reading lines, pauses.
//
// Standard output is flushed before every read, so that a front end on a pipe sees the prompt.
#include "consoleutil.h"

#include "platformlib.h"

#include <cstdio>

void ConsoleClearHome(void)
{
    plat_console_clear();
}

void ScreenMode(int mode)
{
    if (mode == 3)
        ConsoleClearHome();
}

bool ConsoleReadLine(char *line, size_t size)
{
    std::fflush(stdout);
    size_t length = 0;
    int c = std::getchar();
    const bool something = c != EOF;
    for (; c != EOF && c != '\n'; c = std::getchar()) {
        if (length + 1 < size)
            line[length++] = static_cast<char>(c);
    }
    while (length > 0 && line[length - 1] == '\r')
        length--;
    line[length] = '\0';
    return something;
}

static void wait_for_enter(void)
{
    int c = std::getchar();
    while (c != EOF && c != '\n')
        c = std::getchar();
}

// A line that is not empty answers the next question: it is left where it is.
static void take_empty_line(void)
{
    int c = std::getchar();
    if (c == '\r')
        c = std::getchar();
    if (c != EOF && c != '\n')
        std::ungetc(c, stdin);
}

void ConsolePause(void)
{
    std::fflush(stdout);
    if (plat_console_is_input())
        wait_for_enter();
    else
        take_empty_line();
}
