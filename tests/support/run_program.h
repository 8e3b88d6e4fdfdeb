// run_program - the real program in a fresh tree of directories, and its transcripts.
//
// The program looks for models/ and makes runtime/ where it lies, so every test gives it a tree
// of its own: tests run side by side and leave the checkout alone.
#ifndef ZAN_TEST_RUN_PROGRAM_H
#define ZAN_TEST_RUN_PROGRAM_H

#include "child.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

// ROOT/build, models, spin-systems, sequences, rf-output, rf-input and density_matrices, all
// empty. Gone with the record. Of the root's path no part of ours has upper-case letters.
struct Tree {
    // build_dir_length: that many characters for the path of ROOT/build; 0: as it comes.
    explicit Tree(size_t build_dir_length = 0);
    ~Tree();
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;

    std::string base; // what is removed at the end
    std::string root;
};

std::string tree_path(const Tree &tree, const std::string &relative);
std::string read_file(const std::string &path);                    // "" when there is none
void write_file(const std::string &path, const std::string &text); // makes its directories
// "WHAT: " and why a directory does not open for writing.
std::string directory_message(const std::string &what);
void write_doubles(const std::string &path, const std::vector<double> &values);

struct ProgramResult {
    int exit_code; // 128 + signal when killed, 127 when it did not start
    std::string out, err;
    long pid;
};

// Runs a copy of the program, ROOT/build/zan, in ROOT with stdin_text as its standard input; after
// 120 s it is killed. As nobody the program may not write into the tree (whoever runs the tests).
ProgramResult run_zan(const Tree &tree, const std::vector<std::string> &args,
                      const std::string &stdin_text = "", RunAs user = RunAs::this_user);

// As run_zan without arguments, but presses Ctrl-C once when its output holds sign so many times.
ProgramResult run_zan_interrupted(const Tree &tree, const std::string &stdin_text,
                                  const std::string &sign, int times);

std::string replaced(std::string text, const std::string &from, const std::string &to);
// text with the tree's root as <TREE> and _<PID> where a name ends in the process id.
std::string normalized(const Tree &tree, const ProgramResult &result, const std::string &text);
// Exit code, output and errors in one normalized text.
std::string transcript(const Tree &tree, const ProgramResult &result);
// Compares with tests/dialog/expected/NAME.txt; on a difference NAME.txt.new is left beside it.
testing::AssertionResult matches_expected(const std::string &name, const std::string &text);

// models/NAME.zanmodel and its files: one spin 1/2, one voxel, a 90 degree pulse about x in four
// samples of 1 ms in all, then an acquisition of 16 samples and 16 ms; the result is
// runtime/results/NAME.bin. sequence_type 1 is spatial, 2 is 1D/2D. Returns the model's path.
std::string write_one_spin_model(const Tree &tree, const std::string &name, int sequence_type);

#endif
