// The optimizer from the menus: whole sessions from import to write-back, the model run again with
// its new pulse, Ctrl-C during a search, and the example of docs/optimization.md.
#include "fake_gnuplot.h"
#include "sessions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace
{

const double PI = 3.141592653589793;
const std::string OBJECTIVE = "Objective used by optimizer  : ";
const std::string MINIMUM = "Minimum             : ";
const std::string TARGET = "Iy + Sz";

struct Sector {
    int samples;
    double duration; // s
    double flip;     // about x, rad
    std::string remark;
};

// models/select.zanmodel: two coupled spins 300 Hz apart, a 1D/2D sequence of these sectors.
void write_model(const Tree &tree, const std::vector<Sector> &sectors)
{
    std::ostringstream text;
    text << "format_version: 1\nsequence_name: select\nsequence_type: 2\nnumber_of_sectors: "
         << sectors.size() << "\n";
    for (size_t s = 1; s <= sectors.size(); s++) {
        const Sector &sector = sectors[s - 1];
        const size_t n = static_cast<size_t>(sector.samples);
        std::vector<double> pulse(2 * n, 0.0);
        std::fill(pulse.begin(), pulse.begin() + sector.samples, sector.flip / sector.duration);
        const std::string file = "waveforms/pulse" + std::to_string(s) + ".bin";
        write_doubles(tree_path(tree, "sequences/select/" + file), pulse);
        text << "sector_type: " << s << " 1\nsector_timepoints: " << s << " " << n
             << "\nsector_evolpoints: " << s << " 1\nsector_duration_s: " << s << " "
             << sector.duration << "\nsector_pulsefile: " << s << " " << file
             << "\nsector_statoff_hz: " << s << " 0\nsector_remark: " << s << " " << sector.remark
             << "\n";
    }
    write_file(tree_path(tree, "sequences/select/select.zanseq"), text.str());
    write_file(tree_path(tree, "spin-systems/select.zanspin"),
               "format_version: 1\nnspins: 2\nspin_quantum_numbers: 1 1\n"
               "relative_intensities: 1 1\nresonance_offsets_hz: 300 0\ncoupling_mode: 2\n"
               "jcoupling_hz: 1 2 7\n");
    const std::string model = tree_path(tree, "models/select.zanmodel");
    write_file(model, "format_version: 1\nspin_system_file: ../spin-systems/select.zanspin\n"
                      "sequence_file: ../sequences/select/select.zanseq\nndx: 1\nndy: 1\nndz: 1\n"
                      "x0_cm: 0\ny0_cm: 0\nz0_cm: 0\ndx_cm: 0\ndy_cm: 0\ndz_cm: 0\n"
                      "result_file: select.bin\n");
}

// A selective pulse between two short ones; its remark names the operator.
std::vector<Sector> three_sectors(void)
{
    return {{1, 1e-5, 0.1 * PI, "tip"},
            {32, 8e-3, 0.5 * PI, "select optimizeRf[targetMode=product, productOperator=Iy + Sz]"},
            {2, 1e-3, 0.05 * PI, "end"}};
}

double last_number_after(const std::string &text, const std::string &label)
{
    const size_t at = text.rfind(label);
    return at == std::string::npos ? NAN : std::atof(text.c_str() + at + label.size());
}

std::vector<double> objectives(const std::string &out)
{
    std::vector<double> all;
    for (size_t at = out.find(OBJECTIVE); at != std::string::npos; at = out.find(OBJECTIVE, at + 1))
        all.push_back(std::atof(out.c_str() + at + OBJECTIVE.size()));
    return all;
}

// Runs a model of one position and takes <target> from its result.
double expectation_of_run(const Tree &tree, const std::string &name, const std::string &target)
{
    const std::string model = tree_path(tree, "models/" + name + ".zanmodel");
    const std::string result = tree_path(tree, "build/runtime/results/" + name + ".bin");
    const std::string table = tree_path(tree, "profile.csv");
    EXPECT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    EXPECT_EQ(run_zan(tree, {"--expectation-profile", model, result, target, table}).exit_code, 0);
    const std::string text = read_file(table);
    const size_t row = text.find("\n1,");
    double value = NAN;
    const bool read = row != std::string::npos &&
                      std::sscanf(text.c_str() + row, " 1,%*f,%*f,%*f,%lf", &value) == 1;
    EXPECT_TRUE(read) << text;
    return value;
}

bool starts_with_any(const std::string &line, const std::vector<std::string> &begins)
{
    return std::any_of(begins.begin(), begins.end(),
                       [&](const std::string &begin) { return line.starts_with(begin); });
}

// The lines of a search but one of each kind, with # for what depends on the last digits.
std::string without_search(const std::string &text)
{
    std::string kept;
    std::istringstream lines(text);
    bool after_objective = false;
    for (std::string line; std::getline(lines, line);) {
        const bool blank = line.empty() && after_objective;
        after_objective = line.starts_with(OBJECTIVE);
        if (blank || after_objective || line.starts_with("Expectation Value <O>"))
            continue;
        if (starts_with_any(line, {MINIMUM, "Iterations          : "}))
            line = line.substr(0, line.find(':') + 1) + " #";
        kept += line + "\n";
    }
    return kept;
}

// The lines of the table in docs/optimization.md: an operator, <O> before and after.
struct TableLine {
    std::string target;
    double before, after;
};

std::vector<TableLine> table_of_the_guide(void)
{
    std::vector<TableLine> table;
    std::istringstream guide(read_file(ZAN_SOURCE_DIR "/docs/optimization.md"));
    for (std::string line; std::getline(guide, line);) {
        char target[64] = "";
        TableLine entry;
        if (std::sscanf(line.c_str(), "| `%63[^`]`%*[^|]| %lf | %lf |", target, &entry.before,
                        &entry.after) != 3)
            continue;
        entry.target = target;
        table.push_back(entry);
    }
    return table;
}

} // namespace

TEST(OptimizerSession, FromImportToWriteBack)
{
    const Tree tree;
    write_model(tree, three_sectors());
    const double before = expectation_of_run(tree, "select", TARGET);
    const ProgramResult run = run_zan(tree, {},
                                      "3\n1\n\n"           // import
                                      "2\n5\n"             // run menu, optimize
                                      "2\n1\n4\n1\n2\n1\n" // sector, mode, modes, start, csv, back
                                      "\n7\n6\n");
    EXPECT_TRUE(matches_expected("optimize_sector", without_search(transcript(tree, run))));
    const std::vector<double> all = objectives(run.out);
    const double minimum = last_number_after(run.out, MINIMUM);
    ASSERT_FALSE(all.empty());
    EXPECT_NEAR(all.front(), -before, 1e-10);
    EXPECT_LT(minimum, all.front() - 0.5);
    EXPECT_NEAR(expectation_of_run(tree, "select", TARGET), -minimum, 1e-10);
}

TEST(OptimizerSession, AnOperatorFromTheListAndAPulseOfItsOwn)
{
    const Tree tree;
    std::vector<Sector> sectors = three_sectors();
    sectors[1].remark = "select";
    write_model(tree, sectors);
    const std::string session = "3\n1\n\n2\n5\n2\n2\n1\nIy\n4\n2\n200\n90\n0\n"
                                "1\nbest.csv\n2\n\n7\n6\n";
    const FakeGnuplot gnuplot(tree_path(tree, "bin"));
    const std::string pulse = read_file(tree_path(tree, "sequences/select/waveforms/pulse2.bin"));
    const ProgramResult run = run_zan(tree, {}, session);
    EXPECT_EQ(arguments_of_gnuplot(tree_path(tree, "build/runtime")), "-persist\nbest.csv.gp\n");
    EXPECT_TRUE(matches_expected("optimize_sector_csv", without_search(transcript(tree, run))));
    EXPECT_TRUE(fs::exists(tree_path(tree, "build/runtime/best.csv")));
    EXPECT_TRUE(fs::exists(tree_path(tree, "build/runtime/best.csv.gp")));
    EXPECT_EQ(read_file(tree_path(tree, "sequences/select/waveforms/pulse2.bin")), pulse);
    const ProgramResult windows = run_zan(tree, {}, with_crlf(session));
    EXPECT_EQ(windows.out, run.out);
    EXPECT_EQ(arguments_of_gnuplot(tree_path(tree, "build/runtime")), "-persist\nbest.csv.gp\n");
}

TEST(OptimizerSession, ASpatialModelIsRefused)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "optimize_spatial", "3\n1\n\n2\n5\n\n7\n6\n"));
}

TEST(OptimizerSession, WithoutAModelThereIsNothingToOptimize)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "optimize_nothing", "2\n5\n\n7\n6\n"));
}

// Long enough not to converge by itself before the interrupt.
TEST(OptimizerSession, CtrlCKeepsTheBestPulseSoFar)
{
    const Tree tree;
    std::vector<Sector> sectors = three_sectors();
    sectors[1].samples = 4096;
    write_model(tree, sectors);
    const ProgramResult run =
        run_zan_interrupted(tree, "3\n1\n\n2\n5\n2\n1\n40\n1\n2\n1\n\n7\n6\n", OBJECTIVE, 200);
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_EQ(run.err, "");
    const std::vector<double> all = objectives(run.out);
    ASSERT_GE(all.size(), 200u);
    const double best = *std::min_element(all.begin(), all.end());
    const double minimum = last_number_after(run.out, MINIMUM);
    EXPECT_NEAR(minimum, best, 1e-11);
    EXPECT_LT(minimum, all.front());
    EXPECT_NE(run.out.find("Optimization finished.\nIterations          : "), std::string::npos);
    EXPECT_NE(run.out.find("Updated selected sector waveform file:\n"), std::string::npos);
    EXPECT_NEAR(expectation_of_run(tree, "select", TARGET), -minimum, 1e-10);
}

TEST(OptimizerSession, TheGuideExcitesOneProtonOfLactate)
{
    const Tree tree;
    copy_examples(tree);
    const std::vector<TableLine> table = table_of_the_guide();
    ASSERT_EQ(table.size(), 5u);
    for (const TableLine &line : table)
        EXPECT_NEAR(expectation_of_run(tree, "lactate-select", line.target), line.before, 5e-4);
    const GuideSession session = read_guide("optimization.md");
    const ProgramResult run = run_zan(tree, {}, session.typed);
    EXPECT_EQ(run.err, "");
    end_of_pieces(run.out, session.printed);
    const double minimum = last_number_after(run.out, MINIMUM);
    EXPECT_NEAR(minimum, -table.front().after, 2e-3);
    for (const TableLine &line : table)
        EXPECT_NEAR(expectation_of_run(tree, "lactate-select", line.target), line.after, 2e-3)
            << line.target;
}
