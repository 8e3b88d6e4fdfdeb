// consuleutil.cpp - clearing the console, reading answers, pauses.
//
// Standard output is flushed before every read, so that a front end on a pipe sees the prompt.
// Numbers leave the rest of their line for the next number; a whole line and a pause drop it
// first, so that no leftover line end ever answers a question.
#include "consoleutil.h"

#include "platformlib.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static bool rest_of_line;   // something was read and its line end was not
static int failures_at_end; // reads in a row that met the end of input

static const int MAX_FAILURES_AT_END = 100;

void ConsoleClearHome(void)
{
    plat_console_clear();
}

void ScreenMode(int mode)
{
    if (mode == 3)
        ConsoleClearHome();
}

bool ConsoleAtEnd(void)
{
    return std::feof(stdin) != 0 || std::ferror(stdin) != 0;
}

// A question that is asked again for ever must not run away when its front end has died.
static bool read_succeeded(bool success)
{
    failures_at_end = !success && ConsoleAtEnd() ? failures_at_end + 1 : 0;
    if (failures_at_end >= MAX_FAILURES_AT_END) {
        std::printf("\n[ZAN] Exiting.\n");
        std::exit(0);
    }
    return success;
}

static int skip_spaces(void)
{
    int c = std::getchar();
    while (c != EOF && std::isspace(c))
        c = std::getchar();
    return c;
}

bool ConsoleReadInt(int *value)
{
    std::fflush(stdout);
    rest_of_line = true;
    long long number;
    if (!read_succeeded(std::scanf("%lld", &number) == 1))
        return false;
    *value = number > INT_MAX ? INT_MAX : number < INT_MIN ? INT_MIN : static_cast<int>(number);
    return true;
}

bool ConsoleReadDouble(double *value)
{
    std::fflush(stdout);
    rest_of_line = true;
    return read_succeeded(std::scanf("%lf", value) == 1);
}

// The next word, cut to size - 1 characters; returns how many it has, 0 at end of input.
static size_t read_word(char *word, size_t size)
{
    std::fflush(stdout);
    rest_of_line = true;
    size_t length = 0, kept = 0;
    int c = skip_spaces();
    for (; c != EOF && !std::isspace(c); c = std::getchar(), length++)
        if (kept + 1 < size)
            word[kept++] = static_cast<char>(c);
    if (c != EOF)
        std::ungetc(c, stdin);
    word[kept] = '\0';
    return length;
}

bool ConsoleReadWord(char *word, size_t size)
{
    return read_succeeded(read_word(word, size) > 0);
}

bool ConsoleReadName(char *name, size_t size, const char *what)
{
    const size_t length = read_word(name, size);
    if (length >= size)
        std::fprintf(stderr, "%s: %s\n", what, std::strerror(ENAMETOOLONG));
    return read_succeeded(length > 0) && length < size;
}

void ConsoleDropCharacter(void)
{
    if (std::getchar() == '\n')
        rest_of_line = false;
}

static void drop_through_line_end(void)
{
    int c = std::getchar();
    while (c != EOF && c != '\n')
        c = std::getchar();
}

void ConsoleDropLine(void)
{
    if (rest_of_line)
        drop_through_line_end();
    rest_of_line = false;
}

bool ConsoleReadLine(char *line, size_t size)
{
    std::fflush(stdout);
    ConsoleDropLine();
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
    return read_succeeded(something);
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
    ConsoleDropLine();
    if (plat_console_is_input())
        drop_through_line_end();
    else
        take_empty_line();
}
