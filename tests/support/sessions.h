// sessions - menu sessions of the real program, other ways to type the same answers, and the
// sessions that the documentation shows.
#ifndef ZAN_TEST_SESSIONS_H
#define ZAN_TEST_SESSIONS_H

#include "run_program.h"

// The transcript of the program without arguments, with typed as its standard input.
std::string menu_session(const Tree &tree, const std::string &typed);
// As menu_session, compared with the expected transcript of that name.
testing::AssertionResult session_matches(const Tree &tree, const std::string &name,
                                         const std::string &typed);

std::string with_crlf(const std::string &typed); // as typed on other systems

// The blocks of a document that are fenced with one word are one session in pieces. In them « »
// holds an answer, which the console would echo with its line end, and a line "[...]" stands for
// any lines.
struct GuideSession {
    std::string typed;
    std::vector<std::string> printed; // pieces, with anything between them
};

GuideSession read_guide(const std::string &document, const std::string &fence = "session");
// Where in text the pieces end that stand in it in their order, the first at its begin; npos, and
// a failure: not all of them do.
size_t end_of_pieces(const std::string &text, const std::vector<std::string> &pieces);
void copy_examples(const Tree &tree); // the models that come with the program

#endif
