// sessions.cpp - see the header.
#include "sessions.h"

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
