// console_windows.cpp - standard input from a text. There are no pseudo-terminals.
#include "console.h"

#include "platformlib.h"
#include "process.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

static std::string stdin_file(void)
{
    return (fs::temp_directory_path() / ("zan-stdin-" + std::to_string(plat_process_id())))
        .string();
}

// An open file cannot be removed.
static void remove_stdin_file(void)
{
    std::fclose(stdin);
    std::remove(stdin_file().c_str());
}

void feed_stdin(const std::string &text)
{
    static const int removed_at_the_end = std::atexit(remove_stdin_file);
    use_as_stdin(null_device);
    std::ofstream out(stdin_file(), std::ios::binary);
    out << text;
    out.close();
    if (!out || removed_at_the_end != 0)
        std::abort();
    use_as_stdin(stdin_file().c_str());
}

bool feed_terminal(const std::string &)
{
    return false;
}
