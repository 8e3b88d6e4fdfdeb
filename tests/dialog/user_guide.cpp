// The user guide's session: what docs/user-guide.md shows is what the program prints.
//
// The blocks fenced as "session" are one session in pieces. In them « » holds an answer, which
// the console would echo with its line end, and a line "[...]" stands for any lines.
#include "sessions.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace
{

struct GuideSession {
    std::string typed;
    std::vector<std::string> printed; // pieces, with anything between them
};

// Takes the answer out of a line that has one.
void read_guide_line(std::string line, GuideSession *session)
{
    const std::string open = "«", close = "»";
    const size_t begin = line.find(open), end = line.rfind(close);
    if (line == "[...]") {
        session->printed.emplace_back();
    } else if (begin != std::string::npos && end == line.size() - close.size()) {
        const size_t answer = begin + open.size();
        session->typed += line.substr(answer, end - answer) + "\n";
        session->printed.back() += line.substr(0, begin);
    } else {
        session->printed.back() += line + "\n";
    }
}

GuideSession read_guide(void)
{
    GuideSession session;
    session.printed.emplace_back();
    std::istringstream guide(read_file(ZAN_SOURCE_DIR "/docs/user-guide.md"));
    bool inside = false;
    for (std::string line; std::getline(guide, line);) {
        if (line == "```session" || line == "```")
            inside = line != "```";
        else if (inside)
            read_guide_line(line, &session);
    }
    return session;
}

// A tree with the models that come with the program.
void copy_examples(const Tree &tree)
{
    for (const char *dir : {"models", "spin-systems", "sequences"})
        fs::copy(fs::path(ZAN_SOURCE_DIR) / dir, tree_path(tree, dir), fs::copy_options::recursive);
}

// Where in text the pieces stand in their order, the first at its begin; npos: not all of them.
size_t end_of_pieces(const std::string &text, const std::vector<std::string> &pieces)
{
    size_t at = 0;
    for (const std::string &piece : pieces) {
        const size_t found = text.find(piece, at);
        if (found == std::string::npos || (&piece == &pieces.front() && found != 0)) {
            ADD_FAILURE() << "The guide shows\n"
                          << piece << "\nThe program printed\n"
                          << text.substr(at);
            return std::string::npos;
        }
        at = found + piece.size();
    }
    return at;
}

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

} // namespace

TEST(UserGuide, ShowsWhatTheProgramPrintsAndWrites)
{
    const Tree tree;
    copy_examples(tree);
    const GuideSession session = read_guide();
    ASSERT_GT(session.printed.size(), 10u);
    expect_transcript(tree, session, run_zan(tree, {}, session.typed));
    expect_files(tree);
}
