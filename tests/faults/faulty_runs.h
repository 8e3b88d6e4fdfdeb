// faulty_runs.h - one piece of work of the real program, done undisturbed and under a fault, and
// what may be found afterwards.
#ifndef ZAN_TESTS_FAULTS_FAULTY_RUNS_H
#define ZAN_TESTS_FAULTS_FAULTY_RUNS_H

#include "conditions.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

// What the program is asked to do.
struct Work {
    std::function<void(const Tree &tree)> prepare; // makes all that is there before
    std::vector<std::string> args;                 // TREE stands for the root of the tree
    std::string typed;
    std::vector<std::string> outputs; // that it makes or replaces; relative to the root
    bool exit_code_tells = false;     // 1 when an output is not complete, else 0
    bool searches = false;            // for a minimum
};

typedef std::map<std::string, std::set<std::string>> Contents; // by output

struct Expected {
    std::map<std::string, std::string> complete; // the outputs when nothing is lost
    Contents good;                               // what they may be; "" for none
    std::set<std::string> densities;             // what a "dm.bin" may be; none: any whole one
    std::set<std::string> lines;                 // printed when nothing is lost
};

// Does the work undisturbed. Older contents of the outputs are good as well.
Expected undisturbed(const Work &work, const Tree &tree);

// The same for work on a small model (sequences.h), here with those of its sectors that are used:
// sectors that fail are not calculated, the others are.
Expected undisturbed_small(const std::function<Work(unsigned used)> &work, const Tree &tree);

void start_over(const Work &work, const Tree &tree); // nothing is left of earlier runs

// Starts the program with a library that lets calls fail (preload/fault_calls.cpp).
ProgramResult run_with_fault(const Work &work, const Tree &tree, const std::string &fault);
ProgramResult run_under(const Work &work, const Tree &tree, const Conditions &conditions);
long count_calls(const Work &work, const Tree &tree, const std::string &kind);

// 1..count, or limit of them, evenly from the first to the last.
std::vector<long> sample_numbers(long count, long limit);

// BY_VALUE: numbers to 1e-9; without memory a slower way is taken, which rounds otherwise.
// BY_SIZE: as many numbers; a search makes much of little.
enum Match { BYTE_FOR_BYTE, BY_VALUE, BY_SIZE };

// What must be right whatever happens: outputs old or new, every "dm.bin" a whole generation.
// Empty, or what is wrong.
std::string wrong_files(const Work &work, const Expected &expected, const Tree &tree,
                        Match match = BYTE_FOR_BYTE);
// The same of a program that ended by itself: no crash and no report of a sanitizer either, and
// unless all outputs are complete it tells so.
std::string wrong_after(const Work &work, const Expected &expected, const Tree &tree,
                        const ProgramResult &result, Match match = BYTE_FOR_BYTE);

std::string wrong_leftovers(const Tree &tree); // half-written files

// One run for each call of this kind, or for limit of them, which fails in this manner ("",
// ":stay"). The number of runs.
int try_faults(const Work &work, const Expected &expected, const Tree &tree,
               const std::string &kind, const std::string &manner, long limit);

#endif
