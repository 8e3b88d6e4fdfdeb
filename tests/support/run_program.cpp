// run_program.cpp - starts the program, keeps what it prints, compares transcripts.
#include "run_program.h"

#include "platformlib.h"
#include "process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

// ------------------------------------------------------------------------------------ trees

// mkdtemp would put upper-case letters into the path; the process id does as well.
static std::string new_temp_dir(void)
{
    const std::string base = fs::canonical(fs::temp_directory_path()).generic_string();
    const std::string start = base + "/zan-test-" + std::to_string(plat_process_id()) + "-";
    int number = 1;
    while (!fs::create_directory(start + std::to_string(number)))
        number++;
    return start + std::to_string(number);
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
    const std::u8string utf8(path.begin(),
                             path.end()); // a plain string would be Latin-1 to Windows
    fs::create_directories(fs::path(utf8).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out)
        std::abort();
}

std::string directory_message(const std::string &what)
{
    if (FILE *opened = std::fopen(".", "wb")) {
        std::fclose(opened);
        return "a directory opens for writing";
    }
    return what + ": " + std::strerror(errno) + "\n";
}

void write_doubles(const std::string &path, const std::vector<double> &values)
{
    const char *bytes = reinterpret_cast<const char *>(values.data());
    write_file(path, std::string(bytes, values.size() * sizeof(double)));
}

// ------------------------------------------------------------------------------------- runs

static ProgramResult run_copy(const Tree &tree, const std::vector<std::string> &args,
                              const std::string &stdin_text, RunAs user, const Interrupt &interrupt)
{
    const std::string io_dir = tree.base + "/io";
    const std::string name = std::string("zan") + program_suffix;
    const std::string program = tree_path(tree, "build/" + name);
    write_file(io_dir + "/stdin", stdin_text);
    fs::copy_file(ZAN_BINARY_DIR "/" + name, program, fs::copy_options::skip_existing);
    const EndedProcess ended = run_process(program, args, tree.root, io_dir, user, interrupt);
    return {ended.exit_code, printed_text(read_file(io_dir + "/stdout")),
            printed_text(read_file(io_dir + "/stderr")), ended.pid};
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
