// console - standard input and a terminal for functions that ask.
#ifndef ZAN_TEST_CONSOLE_H
#define ZAN_TEST_CONSOLE_H

#include <string>

// From now on standard input is this file. An earlier test's answer whose line was not read to its
// end does not cost the new input a line.
void use_as_stdin(const char *path);

// From now on standard input gives text (from a file), then ends.
void feed_stdin(const std::string &text);

// From now on standard input is a terminal at which text has been typed. False without
// pseudo-terminals.
bool feed_terminal(const std::string &text);

std::string rest_of_stdin(void); // what a function left unread

#endif
