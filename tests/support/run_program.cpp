// run_program.cpp - starts the program, keeps what it prints, compares transcripts.
#include "run_program.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

// ------------------------------------------------------------------------------------ trees

// mkdtemp would put upper-case letters into the path; the process id does as well.
static std::string new_temp_dir(void)
{
    const std::string base = fs::canonical(fs::temp_directory_path()).string();
    for (int number = 1;; number++) {
        const std::string dir =
            base + "/zan-test-" + std::to_string(getpid()) + "-" + std::to_string(number);
        if (mkdir(dir.c_str(), 0755) == 0)
            return dir;
        if (errno != EEXIST)
            std::abort();
    }
}

// Directories below base whose path, with "/build", has the given length.
static std::string padded_root(const std::string &base, size_t build_dir_length)
{
    const size_t length = build_dir_length - std::string("/build").size();
    std::string root = base;
    while (root.size() + 1 < length) {
        const size_t room = length - root.size() - 1;
        // Never leave room for a separator alone.
        root += '/';
        root.append(room <= 200 ? room : room == 201 ? 100 : 200, 'p');
    }
    return root;
}

Tree::Tree(size_t build_dir_length) : base(new_temp_dir())
{
    root = build_dir_length ? padded_root(base, build_dir_length) : base;
    fs::create_directories(root + "/build");
    std::error_code ignored; // a very long root has no room for the longer names
    for (const char *dir :
         {"models", "spin-systems", "sequences", "rf-output", "rf-input", "density_matrices"})
        fs::create_directories(root + "/" + dir, ignored);
}

Tree::~Tree()
{
    std::error_code ignored;
    fs::remove_all(base, ignored);
}

std::string tree_path(const Tree &tree, const std::string &relative)
{
    return tree.root + "/" + relative;
}

std::string read_file(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_file(const std::string &path, const std::string &text)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out)
        std::abort();
}

void write_doubles(const std::string &path, const std::vector<double> &values)
{
    const char *bytes = reinterpret_cast<const char *>(values.data());
    write_file(path, std::string(bytes, values.size() * sizeof(double)));
}

// ------------------------------------------------------------------------------------- runs

static bool redirect(const std::string &path, int target, int flags)
{
    const int fd = open(path.c_str(), flags, 0644);
    return fd >= 0 && dup2(fd, target) == target && close(fd) == 0;
}

// In the child; returns only when something failed.
static void start_program(const Tree &tree, const std::vector<std::string> &args,
                          const std::string &io_dir, RunAs user)
{
    const std::string program = tree_path(tree, "build/zan");
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    if (redirect(io_dir + "/stdin", STDIN_FILENO, O_RDONLY) &&
        redirect(io_dir + "/stdout", STDOUT_FILENO, create) &&
        redirect(io_dir + "/stderr", STDERR_FILENO, create) && chdir(tree.root.c_str()) == 0 &&
        (user == RunAs::this_user || become_nobody()))
        execv(program.c_str(), argv.data());
}

// When to press Ctrl-C, and where to look for it.
struct Interrupt {
    std::string sign;
    int times; // 0: never
};

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

static ProgramResult run_copy(const Tree &tree, const std::vector<std::string> &args,
                              const std::string &stdin_text, RunAs user, const Interrupt &interrupt)
{
    const std::string io_dir = tree.base + "/io";
    write_file(io_dir + "/stdin", stdin_text);
    fs::copy_file(ZAN_BINARY_DIR "/zan", tree_path(tree, "build/zan"),
                  fs::copy_options::skip_existing);
    if (user == RunAs::nobody && geteuid() != 0)
        chmod(tree_path(tree, "build").c_str(), 0555);
    const pid_t pid = fork();
    if (pid == 0) {
        start_program(tree, args, io_dir, user);
        _exit(127);
    }
    ProgramResult result;
    result.pid = pid;
    result.exit_code = pid < 0 ? 127 : wait_for_exit(pid, io_dir + "/stdout", interrupt);
    result.out = read_file(io_dir + "/stdout");
    result.err = read_file(io_dir + "/stderr");
    if (user == RunAs::nobody)
        chmod(tree_path(tree, "build").c_str(), 0755);
    return result;
}

ProgramResult run_zan(const Tree &tree, const std::vector<std::string> &args,
                      const std::string &stdin_text, RunAs user)
{
    return run_copy(tree, args, stdin_text, user, {"", 0});
}

ProgramResult run_zan_interrupted(const Tree &tree, const std::string &stdin_text,
                                  const std::string &sign, int times)
{
    return run_copy(tree, {}, stdin_text, RunAs::this_user, {sign, times});
}

// ------------------------------------------------------------------------------ transcripts

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string normalized(const Tree &tree, const ProgramResult &result, const std::string &text)
{
    // The process id counts only where it ends a directory's name: alone it may be any number.
    std::string pid = "_";
    pid += std::to_string(result.pid);
    return replaced(replaced(text, tree.root, "<TREE>"), pid, "_<PID>");
}

std::string transcript(const Tree &tree, const ProgramResult &result)
{
    return normalized(tree, result,
                      "--- exit code " + std::to_string(result.exit_code) + "\n--- output\n" +
                          result.out + "--- errors\n" + result.err);
}

testing::AssertionResult matches_expected(const std::string &name, const std::string &text)
{
    const std::string path = ZAN_SOURCE_DIR "/tests/dialog/expected/" + name + ".txt";
    const std::string expected = read_file(path);
    if (expected == text) {
        std::remove((path + ".new").c_str());
        return testing::AssertionSuccess();
    }
    write_file(path + ".new", text);
    return testing::AssertionFailure() << path << " differs, see the .new file beside it.\n"
                                       << "Expected:\n"
                                       << expected << "\nGot:\n"
                                       << text;
}

// ----------------------------------------------------------------------------------- models

static std::string sequence_text(const std::string &name, int sequence_type)
{
    std::string text = "format_version: 1\nsequence_name: " + name +
                       "\nsequence_type: " + std::to_string(sequence_type) +
                       "\nnumber_of_sectors: 2\n";
    const char *const points[] = {"4", "16"}, *const durations[] = {"0.001", "0.016"};
    const char *const files[] = {"pulse.bin", "adc.bin"}, *const remarks[] = {"90x", "adc"};
    for (int s = 0; s < 2; s++) {
        const std::string sector = ": " + std::to_string(s + 1) + " ";
        text += "sector_type" + sector + "1\n";
        text += "sector_timepoints" + sector + points[s] + "\n";
        text += "sector_evolpoints" + sector + "1\n";
        text += "sector_duration_s" + sector + durations[s] + "\n";
        text += "sector_pulsefile" + sector + "waveforms/" + files[s] + "\n";
        text += "sector_statoff_hz" + sector + "0\n";
        text += "sector_remark" + sector + remarks[s] + "\n";
    }
    return text;
}

std::string write_one_spin_model(const Tree &tree, const std::string &name, int sequence_type)
{
    const std::string sequence_dir = tree_path(tree, "sequences/" + name);
    const size_t blocks = sequence_type == 1 ? 5 : 2; // xb, yb and, spatially, gx, gy, gz
    std::vector<double> pulse(blocks * 4, 0.0);
    for (size_t k = 0; k < 4; k++)
        pulse[k] = 0.5 * 3.141592653589793 / 0.001; // rad/s
    write_doubles(sequence_dir + "/waveforms/pulse.bin", pulse);
    write_doubles(sequence_dir + "/waveforms/adc.bin", std::vector<double>(blocks * 16, 0.0));
    write_file(sequence_dir + "/" + name + ".zanseq", sequence_text(name, sequence_type));
    write_file(tree_path(tree, "spin-systems/" + name + ".zanspin"),
               "format_version: 1\nnspins: 1\nspin_quantum_numbers: 1\nrelative_intensities: 1\n"
               "resonance_offsets_hz: 0\ncoupling_mode: 2\n");
    const std::string model = tree_path(tree, "models/" + name + ".zanmodel");
    write_file(model, "format_version: 1\nspin_system_file: ../spin-systems/" + name +
                          ".zanspin\nsequence_file: ../sequences/" + name + "/" + name +
                          ".zanseq\nndx: 1\nndy: 1\nndz: 1\nx0_cm: 0\ny0_cm: 0\nz0_cm: 0\n"
                          "dx_cm: 0\ndy_cm: 0\ndz_cm: 0\nresult_file: " +
                          name + ".bin\n");
    return model;
}
