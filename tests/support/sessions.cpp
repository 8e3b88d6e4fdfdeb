// sessions.cpp - see the header.
#include "sessions.h"

#include <filesystem>
#include <sstream>

std::string menu_session(const Tree &tree, const std::string &typed)
{
    return transcript(tree, run_zan(tree, {}, typed));
}

testing::AssertionResult session_matches(const Tree &tree, const std::string &name,
                                         const std::string &typed)
{
    return matches_expected(name, menu_session(tree, typed)) << "typed:\n" << typed;
}

std::string with_crlf(const std::string &typed)
{
    return replaced(typed, "\n", "\r\n");
}

// Takes the answer out of a line that has one.
static void read_guide_line(std::string line, GuideSession *session)
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

GuideSession read_guide(const std::string &document, const std::string &fence)
{
    GuideSession session;
    session.printed.emplace_back();
    std::istringstream guide(read_file(ZAN_SOURCE_DIR "/docs/" + document));
    bool inside = false;
    for (std::string line; std::getline(guide, line);) {
        if (line == "```" + fence || line == "```")
            inside = line != "```";
        else if (inside)
            read_guide_line(line, &session);
    }
    return session;
}

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

void copy_examples(const Tree &tree)
{
    for (const char *dir : {"models", "spin-systems", "sequences"})
        std::filesystem::copy(std::filesystem::path(ZAN_SOURCE_DIR) / dir, tree_path(tree, dir),
                              std::filesystem::copy_options::recursive);
}
