// The sessions of the user guide: what docs/user-guide.md shows is what the program prints.
#include "sessions.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace
{

void expect_transcript(const Tree &tree, const GuideSession &session, const ProgramResult &result)
{
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    const std::string printed = replaced(result.out, tree.root, "/home/me/zan");
    EXPECT_EQ(end_of_pieces(printed, session.printed), printed.size());
}

// What the text around the blocks says about the files of the session.
void expect_files(const Tree &tree)
{
    const std::string table = read_file(tree_path(tree, "build/runtime/methyl.txt"));
    const size_t row = table.find("\n   33 ");
    double middle = 0.0;
    ASSERT_NE(row, std::string::npos) << table;
    ASSERT_EQ(std::sscanf(table.c_str() + row, " 33 %lf", &middle), 1);
    EXPECT_NEAR(middle, 0.998, 0.0005);
    const std::string sum = read_file(tree_path(tree, "build/runtime/sum.bin"));
    EXPECT_EQ(sum.size(), 64 * sizeof(double));
    for (const char *name : {"models/lactate copy.zanmodel", "spin-systems/lactate copy.zanspin",
                             "sequences/lactate copy/lactate copy.zanseq", "build/runtime/dm.bin",
                             "build/runtime/results/lactate-slice.bin"})
        EXPECT_TRUE(fs::exists(tree_path(tree, name))) << name;
}

// Frequency of the largest magnitude in a spectrum as CSV, Hz, to one decimal.
std::string largest_line(const std::string &csv)
{
    std::istringstream lines(csv);
    double largest = 0.0;
    char hz[32] = "";
    for (std::string line; std::getline(lines, line);) {
        double f = 0.0, mag = 0.0;
        if (std::sscanf(line.c_str(), "%lf,%*f,%*f,%*f,%*f,%*f,%*f,%*f,%lf", &f, &mag) != 2 ||
            mag <= largest)
            continue;
        largest = mag;
        std::snprintf(hz, sizeof hz, "%.1f Hz", f);
    }
    return hz;
}

} // namespace

TEST(UserGuide, ShowsWhatTheProgramPrintsAndWrites)
{
    const Tree tree;
    copy_examples(tree);
    const GuideSession session = read_guide("user-guide.md");
    ASSERT_GT(session.printed.size(), 10u);
    expect_transcript(tree, session, run_zan(tree, {}, session.typed));
    expect_files(tree);
}

TEST(UserGuide, ShowsTheReferenceChecks)
{
    const Tree tree;
    const GuideSession session = read_guide("user-guide.md", "checks");
    ASSERT_EQ(session.typed, "5\n");
    const ProgramResult result = run_zan(tree, {}, session.typed);
    EXPECT_EQ(result.exit_code, 0);
    end_of_pieces(replaced(result.out, tree.root, "/home/me/zan"), session.printed);
}

TEST(UserGuide, ShowsHowToGetASpectrum)
{
    const Tree tree;
    copy_examples(tree);
    const GuideSession session = read_guide("user-guide.md", "spectrum");
    const ProgramResult result = run_zan(tree, {}, session.typed);
    EXPECT_EQ(result.exit_code, 0);
    end_of_pieces(result.out, session.printed);
    const std::string line = largest_line(read_file(tree_path(tree, "build/runtime/gaba_fd.csv")));
    EXPECT_NE(line, "");
    EXPECT_NE(read_file(ZAN_SOURCE_DIR "/docs/user-guide.md").find("largest line at " + line),
              std::string::npos)
        << line;
}

TEST(UserGuide, ShowsHowToComposeAModel)
{
    const Tree tree;
    const GuideSession session = read_guide("user-guide.md", "compose");
    const ProgramResult composed = run_zan(tree, {}, session.typed + "\n6\n2\n2\n\n7\n6\n");
    EXPECT_EQ(composed.exit_code, 0);
    end_of_pieces(composed.out, session.printed);
    const std::string model = tree_path(tree, "models/pair.zanmodel");
    EXPECT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    const std::string signal = read_file(tree_path(tree, "build/runtime/results/pair.bin"));
    EXPECT_EQ(signal.size(), 12u + 1024u * 2u * sizeof(double));
    EXPECT_EQ(read_file(tree_path(tree, "build/runtime/pair.bin")), signal);
}
