#include "faulty_runs.h"

#include "sequences.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

// ------------------------------------------------------------------ one run

void start_over(const Work &work, const Tree &tree)
{
    for (const fs::directory_entry &entry : fs::directory_iterator(tree.root))
        if (entry.path().filename() != "build" && entry.path().filename() != "io")
            fs::remove_all(entry.path());
    fs::remove_all(tree_path(tree, "build/runtime"));
    for (const char *dir :
         {"models", "spin-systems", "sequences", "rf-output", "rf-input", "density_matrices"})
        fs::create_directory(tree_path(tree, dir));
    work.prepare(tree);
}

ProgramResult run_under(const Work &work, const Tree &tree, const Conditions &conditions)
{
    std::vector<std::string> args = work.args;
    for (std::string &arg : args)
        arg = replaced(arg, "TREE", tree.root);
    return run_zan_under(tree, args, replaced(work.typed, "TREE", tree.root), conditions);
}

static std::string counts_file(const Tree &tree)
{
    return tree_path(tree, "io/counts");
}

ProgramResult run_with_fault(const Work &work, const Tree &tree, const std::string &fault)
{
    const std::string counts = counts_file(tree);
    return run_under(work, tree, {[&fault, &counts] {
                         // The library stands before the sanitizer's.
                         setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
                         setenv("LD_PRELOAD", ZAN_FAULT_LIBRARY, 1);
                         setenv("ZAN_FAULT", fault.c_str(), 1);
                         setenv("ZAN_FAULT_COUNTS", counts.c_str(), 1);
                         setenv("PATH", "/nonexistent", 1); // no gnuplot
                     }});
}

static long counted(const Tree &tree, const std::string &kind)
{
    std::istringstream counts(read_file(counts_file(tree)));
    std::string name;
    long count;
    while (counts >> name >> count)
        if (name == kind)
            return count;
    return -1;
}

long count_calls(const Work &work, const Tree &tree, const std::string &kind)
{
    start_over(work, tree);
    run_with_fault(work, tree, kind + ":0");
    return counted(tree, kind);
}

std::vector<long> sample_numbers(long count, long limit)
{
    std::vector<long> numbers;
    const long taken = std::min(count, limit);
    for (long i = 0; i < taken; i++)
        numbers.push_back(1 + (taken > 1 ? i * (count - 1) / (taken - 1) : 0));
    return numbers;
}

// ------------------------------------------------------------------ what is expected

static std::vector<std::string> files_named(const Tree &tree, const std::string &ending)
{
    std::vector<std::string> found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(tree.root)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && name.ends_with(ending))
            found.push_back(entry.path().string());
    }
    return found;
}

// The first matrix of two spins in every row.
static std::string widened(const std::string &densities)
{
    const size_t header = 12, matrix = 4 * 4 * 16;
    const int32_t rows = ROW_COUNT;
    std::string wide = densities.substr(0, header);
    std::memcpy(wide.data() + 8, &rows, sizeof rows);
    for (int row = 0; row < rows; row++)
        wide += densities.substr(header, matrix);
    return wide;
}

// Rows become more before the sector that needs them is calculated.
static void add_densities(const Tree &tree, Expected *expected)
{
    for (const std::string &path : files_named(tree, "dm.bin")) {
        const std::string densities = read_file(path);
        int32_t count = 0;
        std::memcpy(&count, densities.data() + 8, sizeof count);
        expected->densities.insert(densities);
        if (count == 1)
            expected->densities.insert(widened(densities));
    }
}

static void add_outputs(const Work &work, const Tree &tree, Contents *good)
{
    for (const std::string &output : work.outputs)
        (*good)[output].insert(read_file(tree_path(tree, output)));
}

static std::vector<std::string> lines_of(const Tree &tree, const ProgramResult &result)
{
    std::vector<std::string> lines;
    std::istringstream text(normalized(tree, result, result.out + "\n" + result.err));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

Expected undisturbed(const Work &work, const Tree &tree)
{
    Expected expected;
    start_over(work, tree);
    add_outputs(work, tree, &expected.good);
    const ProgramResult result = run_with_fault(work, tree, "call:0");
    EXPECT_EQ(result.exit_code, 0) << result.out << result.err;
    add_outputs(work, tree, &expected.good);
    for (const std::string &output : work.outputs) {
        expected.complete[output] = read_file(tree_path(tree, output));
        EXPECT_EQ(expected.good[output].size(), 2u) << output << " stays as it was\n"
                                                    << result.out << result.err;
    }
    for (const std::string &line : lines_of(tree, result))
        expected.lines.insert(line);
    return expected;
}

// The density matrices before the first sector.
static void add_equilibrium(const Work &work, const Tree &tree, Expected *expected)
{
    start_over(work, tree);
    run_with_fault(work, tree, "rename:2:kill");
    add_densities(tree, expected);
}

Expected undisturbed_small(const std::function<Work(unsigned used)> &work, const Tree &tree)
{
    Expected expected = undisturbed(work(ALL), tree);
    add_densities(tree, &expected);
    for (unsigned used = 1; used < ALL; used++) {
        const Work part = work(used);
        start_over(part, tree);
        run_with_fault(part, tree, "call:0");
        add_densities(tree, &expected);
        add_outputs(part, tree, &expected.good);
    }
    add_equilibrium(work(ALL), tree, &expected);
    return expected;
}

// ------------------------------------------------------------------ what is found

static bool is_binary(const std::string &bytes)
{
    return bytes.find('\0') != std::string::npos;
}

// Behind a header of three words, or the descriptor that begins with 3.
static std::vector<double> numbers_of_bytes(const std::string &bytes)
{
    const size_t header = std::min<size_t>(bytes.size(), bytes[0] == 3 ? 1024 : 12);
    std::vector<double> numbers((bytes.size() - header) / sizeof(double));
    std::memcpy(numbers.data(), bytes.data() + header, numbers.size() * sizeof(double));
    return numbers;
}

// Words count as 0.
static std::vector<double> numbers_of_text(std::string text)
{
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    std::vector<double> numbers;
    for (std::string word; words >> word;)
        numbers.push_back(std::strtod(word.c_str(), nullptr));
    return numbers;
}

static std::vector<double> numbers_of(const std::string &found)
{
    return is_binary(found) ? numbers_of_bytes(found) : numbers_of_text(found);
}

static bool same_numbers(const std::string &a, const std::string &b)
{
    const std::vector<double> x = numbers_of(a), y = numbers_of(b);
    return is_binary(a) == is_binary(b) && x.size() == y.size() &&
           std::equal(x.begin(), x.end(), y.begin(),
                      [](double p, double q) { return std::fabs(p - q) <= 1e-9; });
}

static bool same(const std::string &found, const std::string &wanted, Match match)
{
    return found == wanted || (match == BY_VALUE && same_numbers(found, wanted)) ||
           (match == BY_SIZE && (found.size() == wanted.size() ||
                                 numbers_of(found).size() == numbers_of(wanted).size()));
}

static bool is_any_of(const std::string &found, const std::set<std::string> &good, Match match)
{
    return std::any_of(good.begin(), good.end(),
                       [&](const std::string &wanted) { return same(found, wanted, match); });
}

static std::string size_of(const std::string &found)
{
    return " (" + std::to_string(found.size()) + " bytes)\n";
}

// A density-matrix file as long as its header says.
static bool is_whole(const std::string &densities)
{
    int32_t header[3] = {1, 0, 0};
    std::memcpy(header, densities.data(), std::min(sizeof header, densities.size()));
    return header[0] == 0 &&
           densities.size() == sizeof header + static_cast<size_t>(header[1]) *
                                                   static_cast<size_t>(header[1]) *
                                                   static_cast<size_t>(header[2]) * 16;
}

std::string wrong_files(const Work &work, const Expected &expected, const Tree &tree, Match match)
{
    std::string wrong;
    for (const std::string &output : work.outputs) {
        const std::string found = read_file(tree_path(tree, output));
        if (!is_any_of(found, expected.good.at(output), match))
            wrong += output + " is neither old nor new" + size_of(found);
    }
    for (const std::string &path : files_named(tree, "dm.bin")) {
        const std::string found = read_file(path);
        if (expected.densities.empty() ? !is_whole(found)
                                       : !is_any_of(found, expected.densities, match))
            wrong += path + " is no generation" + size_of(found);
    }
    return wrong;
}

// In its place or, where a directory could not be made, under its name in the working directory.
static bool is_complete(const Work &work, const Expected &expected, const Tree &tree, Match match)
{
    return std::all_of(work.outputs.begin(), work.outputs.end(), [&](const std::string &output) {
        const std::string name = fs::path(output).filename().string();
        const std::vector<std::string> places = files_named(tree, name);
        return std::any_of(places.begin(), places.end(), [&](const std::string &path) {
            return same(read_file(path), expected.complete.at(output), match);
        });
    });
}

// A line that says what failed, in one of our or the system's words.
static bool tells_of_a_failure(std::string line)
{
    std::transform(line.begin(), line.end(), line.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const char *words :
         {"error", "fail", "could not", "cannot", "not enough memory", "no memory", "no space left",
          "too many open files", "permission denied", "cannot allocate memory", "file too large",
          "not written", "truncated", "mismatch", "no .zanmodel files", "invalid selection"})
        if (line.find(words) != std::string::npos)
            return true;
    return false;
}

static bool has_message(const Expected &expected, const Tree &tree, const ProgramResult &result)
{
    const std::vector<std::string> lines = lines_of(tree, result);
    return std::any_of(lines.begin(), lines.end(), [&](const std::string &line) {
        return !expected.lines.contains(line) && tells_of_a_failure(line);
    });
}

static std::string wrong_ending(const ProgramResult &result)
{
    std::string wrong;
    if (result.exit_code != 0 && result.exit_code != 1)
        wrong += "exit code " + std::to_string(result.exit_code) + "\n";
    for (const char *report : {"ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:"})
        if (result.err.find(report) != std::string::npos)
            wrong += std::string(report) + "\n";
    return wrong;
}

std::string wrong_leftovers(const Tree &tree)
{
    std::string wrong;
    for (const char *ending : {".part", "store"})
        for (const std::string &path : files_named(tree, ending))
            wrong += path + " is left\n";
    return wrong;
}

std::string wrong_after(const Work &work, const Expected &expected, const Tree &tree,
                        const ProgramResult &result, Match match)
{
    std::string wrong = wrong_ending(result) + wrong_files(work, expected, tree, match);
    const bool complete = is_complete(work, expected, tree, match);
    if (!complete && !has_message(expected, tree, result))
        wrong += "something is lost without a message\n";
    if (work.exit_code_tells && (result.exit_code == 0) != complete)
        wrong += "exit code " + std::to_string(result.exit_code) + " with outputs " +
                 (complete ? "complete\n" : "incomplete\n");
    return wrong;
}

int try_faults(const Work &work, const Expected &expected, const Tree &tree,
               const std::string &kind, const std::string &manner, long limit)
{
    const long count = count_calls(work, tree, kind);
    EXPECT_GE(count, 0) << "the library is not loaded";
    const std::vector<long> numbers = sample_numbers(count, limit);
    for (long number : numbers) {
        const std::string fault = kind + ":" + std::to_string(number) + manner;
        start_over(work, tree);
        const ProgramResult result = run_with_fault(work, tree, fault);
        const Match match = kind != "allocation" ? BYTE_FOR_BYTE
                            : work.searches      ? BY_SIZE
                                                 : BY_VALUE;
        std::string wrong = wrong_after(work, expected, tree, result, match);
        if (kind != "unlink")
            wrong += wrong_leftovers(tree);
        EXPECT_EQ(wrong, "") << fault << " of " << count << "\n--- output\n"
                             << result.out << "--- errors\n"
                             << result.err;
        EXPECT_GE(counted(tree, kind), number) << fault << " did not happen\n" << result.err;
    }
    return static_cast<int>(numbers.size());
}
