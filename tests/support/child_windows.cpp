// child_windows.cpp - see child.h: Windows has no fork, no nobody and no limit on file sizes.
#include "child.h"

bool become_nobody(void)
{
    return false;
}

std::string in_child(std::string (*)(const std::string &), const std::string &, RunAs,
                     unsigned long)
{
    return "child failed";
}

bool nobody_can_enter(const std::string &)
{
    return false;
}
