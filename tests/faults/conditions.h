// conditions.h - the real program as run_program starts it, but under conditions: with another
// environment, with limits, with its streams changed, killed after a time.
#ifndef ZAN_TESTS_FAULTS_CONDITIONS_H
#define ZAN_TESTS_FAULTS_CONDITIONS_H

#include "run_program.h"

#include <functional>
#include <string>
#include <vector>

struct Conditions {
    std::function<void(void)> in_child; // before the program starts; empty: nothing
    long kill_after_us = 0;             // 0: never
};

// The streams are files in ROOT/io. Killed after 120 s in any case.
ProgramResult run_zan_under(const Tree &tree, const std::vector<std::string> &args,
                            const std::string &stdin_text, const Conditions &conditions);

#endif
