// child - a piece of work in a process of its own: what must not happen to the tests themselves.
#ifndef ZAN_TEST_CHILD_H
#define ZAN_TEST_CHILD_H

#include <string>

enum class RunAs { this_user, nobody };

// Gives up root's rights; true as well when there are none to give up.
bool become_nobody(void);

// What work(path) returns, run in a child process that is somebody without rights or may not
// make a file longer than file_size_limit bytes (0: any length). "child failed" when it did not
// get that far.
std::string in_child(std::string (*work)(const std::string &path), const std::string &path,
                     RunAs user, unsigned long file_size_limit = 0);

// Somebody without rights can enter path and all above it, which a locked-down machine may not
// let him: tests of what he may not write make no sense then.
bool nobody_can_enter(const std::string &path);

#endif
