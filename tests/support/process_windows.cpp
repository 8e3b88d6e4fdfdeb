// process_windows.cpp - see process.h. There is no Ctrl-C from outside and no nobody here: tests
// that need them are not among those that run on Windows.
#include "process.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <windows.h>

namespace fs = std::filesystem;

const char *const program_suffix = ".exe";
const char *const null_device = "NUL";
const char path_list_separator = ';';

// A word as the C library of the program takes it apart again.
static std::string quoted(const std::string &word)
{
    std::string text = "\"";
    size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"')
            text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

static HANDLE inheritable_file(const std::string &path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

static int wait_for_exit(HANDLE process)
{
    if (WaitForSingleObject(process, 120'000) == WAIT_TIMEOUT)
        TerminateProcess(process, 128 + 9);
    WaitForSingleObject(process, INFINITE);
    DWORD exit_code = 127;
    GetExitCodeProcess(process, &exit_code);
    return static_cast<int>(exit_code);
}

EndedProcess run_process(const std::string &program, const std::vector<std::string> &args,
                         const std::string &dir, const std::string &io_dir, RunAs,
                         const Interrupt &)
{
    std::string command = quoted(program);
    for (const std::string &arg : args)
        command += " " + quoted(arg);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = inheritable_file(io_dir + "/stdin", GENERIC_READ, OPEN_EXISTING);
    start.hStdOutput = inheritable_file(io_dir + "/stdout", GENERIC_WRITE, CREATE_ALWAYS);
    start.hStdError = inheritable_file(io_dir + "/stderr", GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION process = {};
    const BOOL started = CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        dir.c_str(), &start, &process);
    for (HANDLE stream : {start.hStdInput, start.hStdOutput, start.hStdError})
        CloseHandle(stream);
    if (!started)
        return {127, 0};
    const int exit_code = wait_for_exit(process.hProcess);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return {exit_code, static_cast<long>(process.dwProcessId)};
}

void set_environment(const char *name, const std::string &value)
{
    _putenv_s(name, value.c_str());
}

// It leaves standard input alone: what is started through the command interpreter has ours.
void install_gnuplot(const std::string &dir)
{
    fs::create_directories(dir);
    fs::copy_file(ZAN_BINARY_DIR "/fake_gnuplot.exe", dir + "/gnuplot.exe");
}

std::string printed_text(const std::string &bytes)
{
    std::string text = bytes;
    std::erase(text, '\r');
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}
