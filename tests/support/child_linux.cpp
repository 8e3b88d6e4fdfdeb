// child_linux.cpp - forks, takes rights away, hands a text back through a pipe.
#include "child.h"

#include "platformlib.h"

#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

bool become_nobody(void)
{
    const unsigned nobody = 65534;
    if (geteuid() != 0)
        return true;
    return setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0;
}

static bool limit_file_size(unsigned long bytes)
{
    const rlimit limit = {bytes, bytes};
    plat_startup(); // as the program does: beyond the limit a write fails and nothing ends
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

static std::string everything_from(int fd)
{
    std::string text;
    char part[512];
    for (ssize_t got = read(fd, part, sizeof part); got > 0; got = read(fd, part, sizeof part))
        text.append(part, static_cast<size_t>(got));
    return text;
}

std::string in_child(std::string (*work)(const std::string &path), const std::string &path,
                     RunAs user, unsigned long file_size_limit)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "child failed";
    const pid_t pid = fork();
    if (pid == 0) {
        const bool ready = (user == RunAs::this_user || become_nobody()) &&
                           (file_size_limit == 0 || limit_file_size(file_size_limit));
        const std::string answer = ready ? work(path) : "child failed";
        const ssize_t sent = write(ends[1], answer.data(), answer.size());
        _exit(sent == static_cast<ssize_t>(answer.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string answer = everything_from(ends[0]);
    close(ends[0]);
    int status = 0;
    const bool ended = pid > 0 && waitpid(pid, &status, 0) == pid;
    return ended && status == 0 ? answer : "child failed";
}

static std::string can_enter(const std::string &path)
{
    return access(path.c_str(), X_OK) == 0 ? "yes" : "no";
}

bool nobody_can_enter(const std::string &path)
{
    return in_child(can_enter, path, RunAs::nobody) == "yes";
}
