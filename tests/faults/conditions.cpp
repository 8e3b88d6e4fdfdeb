#include "conditions.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

static bool redirect(const std::string &path, int target, int flags)
{
    const int fd = open(path.c_str(), flags, 0644);
    return fd >= 0 && dup2(fd, target) == target && close(fd) == 0;
}

// In the child; returns only when something failed.
static void start(const std::string &program, const std::vector<std::string> &args,
                  const Tree &tree, const Conditions &conditions)
{
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    if (!redirect(tree_path(tree, "io/stdin"), STDIN_FILENO, O_RDONLY) ||
        !redirect(tree_path(tree, "io/stdout"), STDOUT_FILENO, create) ||
        !redirect(tree_path(tree, "io/stderr"), STDERR_FILENO, create) ||
        chdir(tree.root.c_str()) != 0)
        return;
    if (conditions.in_child)
        conditions.in_child();
    execv(program.c_str(), argv.data());
}

static int wait_for_end(pid_t pid)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            kill(pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ProgramResult run_zan_under(const Tree &tree, const std::vector<std::string> &args,
                            const std::string &stdin_text, const Conditions &conditions)
{
    const std::string program = tree_path(tree, "build/zan");
    write_file(tree_path(tree, "io/stdin"), stdin_text);
    fs::copy_file(ZAN_BINARY_DIR "/zan", program, fs::copy_options::skip_existing);
    const pid_t pid = fork();
    if (pid == 0) {
        start(program, args, tree, conditions);
        _exit(127);
    }
    if (pid > 0 && conditions.kill_after_us > 0) {
        std::this_thread::sleep_for(std::chrono::microseconds(conditions.kill_after_us));
        kill(pid, SIGKILL);
    }
    const int exit_code = pid < 0 ? 127 : wait_for_end(pid);
    return {exit_code, read_file(tree_path(tree, "io/stdout")),
            read_file(tree_path(tree, "io/stderr")), pid};
}
