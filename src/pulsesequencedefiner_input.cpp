// pulsesequencedefiner_input.cpp - headings and answers of the composer, one line each.
//
// Unlike the numbers of the pulse dialogs (consoleutil), which may stand together on one line, a
// line here is one answer and is refused as a whole. At end of input the questions go on asking;
// consoleutil ends the program after a hundred of them.
#include "pulsesequencedefiner_internal.h"

#include "consoleutil.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void ps_print_heading(const char *text)
{
    std::printf("%s\n", text);
    for (size_t i = std::strlen(text); i > 0; i--)
        std::putchar('-');
    std::putchar('\n');
}

// ------------------------------------------------------------------ numbers in a line

// What strtol and its like left of the line is white space.
static bool ends_here(const char *line, const char *end)
{
    while (std::isspace(static_cast<unsigned char>(*end)))
        end++;
    return end != line && *end == '\0';
}

bool parse_int_input_line(const char *line, int *out)
{
    char *end;
    const long long value = std::strtoll(line, &end, 10);
    if (end == line || !ends_here(line, end))
        return false;
    *out = static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
    return true;
}

bool parse_double_input_line(const char *line, double *out)
{
    char *end;
    const double value = std::strtod(line, &end);
    if (end == line || !ends_here(line, end) || !std::isfinite(value))
        return false;
    *out = value;
    return true;
}

void trim_line_end(char *line)
{
    line[std::strcspn(line, "\r\n")] = '\0';
}

// ------------------------------------------------------------------ questions

// The next line that there is. A terminal goes on after its end of input has been typed.
static void read_answer(const char *prompt, char *line, size_t size)
{
    for (;;) {
        std::printf("%s", prompt ? prompt : "");
        if (ConsoleReadLine(line, size))
            break;
        std::clearerr(stdin);
    }
    trim_line_end(line);
}

void read_int_prompt(const char *prompt, int *out)
{
    char line[256];
    for (;;) {
        read_answer(prompt, line, sizeof line);
        if (parse_int_input_line(line, out))
            return;
        std::printf("Please enter a whole number.\n");
    }
}

void read_double_prompt(const char *prompt, double *out)
{
    char line[256];
    for (;;) {
        read_answer(prompt, line, sizeof line);
        if (parse_double_input_line(line, out))
            return;
        std::printf("Please enter a numeric value.\n");
    }
}

void ask_int(const char *question, int *out)
{
    std::printf("%s", question);
    read_int_prompt(nullptr, out);
}

void ask_double(const char *question, double *out)
{
    std::printf("%s", question);
    read_double_prompt(nullptr, out);
}

// ------------------------------------------------------------------ texts

void read_legacy_line(char *buf, size_t size)
{
    ConsoleReadLine(buf, size);
    const size_t skipped = std::strspn(buf, "\r");
    std::memmove(buf, buf + skipped, std::strlen(buf + skipped) + 1);
}

static bool is_file_name_char(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

void read_filename_stdin(char *buf, size_t size)
{
    read_legacy_line(buf, size);
    for (char *c = buf; *c; c++)
        if (!is_file_name_char(*c))
            *c = '_';
}
