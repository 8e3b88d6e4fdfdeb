// sessions - menu sessions of the real program, and other ways to type the same answers.
#ifndef ZAN_TEST_SESSIONS_H
#define ZAN_TEST_SESSIONS_H

#include "run_program.h"

// The transcript of the program without arguments, with typed as its standard input.
std::string menu_session(const Tree &tree, const std::string &typed);
// As menu_session, compared with the expected transcript of that name.
testing::AssertionResult session_matches(const Tree &tree, const std::string &name,
                                         const std::string &typed);

std::string with_crlf(const std::string &typed); // as typed on other systems

#endif
