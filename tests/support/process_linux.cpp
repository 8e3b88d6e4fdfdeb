// process_linux.cpp - see process.h.
#include "process.h"

#include "run_program.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

const char *const program_suffix = "";
const char *const null_device = "/dev/null";
const char path_list_separator = ':';

static bool redirect(const std::string &path, int target, int flags)
{
    const int fd = open(path.c_str(), flags, 0644);
    return fd >= 0 && dup2(fd, target) == target && close(fd) == 0;
}

// In the child; returns only when something failed.
static void start_program(const std::string &program, const std::vector<std::string> &args,
                          const std::string &dir, const std::string &io_dir, RunAs user)
{
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    if (redirect(io_dir + "/stdin", STDIN_FILENO, O_RDONLY) &&
        redirect(io_dir + "/stdout", STDOUT_FILENO, create) &&
        redirect(io_dir + "/stderr", STDERR_FILENO, create) && chdir(dir.c_str()) == 0 &&
        (user == RunAs::this_user || become_nobody()))
        execv(program.c_str(), argv.data());
}

static int count_in(const std::string &text, const std::string &part)
{
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

static int wait_for_exit(pid_t pid, const std::string &output, Interrupt interrupt)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            kill(pid, SIGKILL);
        if (interrupt.times > 0 && count_in(read_file(output), interrupt.sign) >= interrupt.times) {
            kill(pid, SIGINT);
            interrupt.times = 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

EndedProcess run_process(const std::string &program, const std::vector<std::string> &args,
                         const std::string &dir, const std::string &io_dir, RunAs user,
                         const Interrupt &interrupt)
{
    const std::string home = fs::path(program).parent_path();
    const bool locked = user == RunAs::nobody && geteuid() != 0;
    if (locked)
        chmod(home.c_str(), 0555);
    const pid_t pid = fork();
    if (pid == 0) {
        start_program(program, args, dir, io_dir, user);
        _exit(127);
    }
    const int exit_code = pid < 0 ? 127 : wait_for_exit(pid, io_dir + "/stdout", interrupt);
    if (locked)
        chmod(home.c_str(), 0755);
    return {exit_code, pid};
}

void set_environment(const char *name, const std::string &value)
{
    setenv(name, value.c_str(), 1);
}

void install_gnuplot(const std::string &dir)
{
    const std::string program = dir + "/gnuplot";
    write_file(program, "#!/bin/sh\nprintf '%s\\n' \"$@\" > args.part\n"
                        "read line && echo \"stdin: $line\" >> args.part\n"
                        "mv args.part args\n");
    fs::permissions(program, fs::perms::owner_all);
}

std::string printed_text(const std::string &bytes)
{
    return bytes;
}
