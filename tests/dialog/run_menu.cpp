// The run menu: its choices, what keeps a model from running, runs, saving; whole sessions.
#include "sessions.h"

#include <filesystem>

static const std::string one_spin = "1\n1\n1\n1\n1\n0\n\n6\n"; // from the main menu and back

TEST(RunMenu, GoesBackToTheMainMenu)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "run_back", "2\n7\n6\n"));
    EXPECT_TRUE(session_matches(tree, "run_back", "2\n\n7 7 7\n6\n"));
}

TEST(RunMenu, WhatIsNoNumberEndsIt)
{
    const Tree tree;
    for (const char *answer : {"x", "-", "seven", "x 2"})
        EXPECT_TRUE(
            session_matches(tree, "run_not_a_number", "2\n" + std::string(answer) + "\n6\n"));
    EXPECT_TRUE(session_matches(tree, "run_not_a_number", "2\n"));
}

TEST(RunMenu, AnUnknownChoiceIsSaid)
{
    const Tree tree;
    for (const char *answer : {"0", "8", "-1", "99999999999999999999", "-99999999999999999999"})
        EXPECT_TRUE(session_matches(tree, "run_unknown_choice",
                                    "2\n" + std::string(answer) + "\n\n7\n6\n"));
}

// ------------------------------------------------------------------------------------- runs

TEST(RunMenu, WithoutASpinSystemNothingRuns)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "run_without_spins", "2\n2\n\n7\n6\n"));
}

TEST(RunMenu, WithoutASequenceFamilyNothingRuns)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "run_without_family", one_spin + "2\n2\n\n7\n6\n"));
}

TEST(RunMenu, ASpatialModelRuns)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string session = "3\n1\n\n2\n2\n\n7\n6\n";
    EXPECT_TRUE(session_matches(tree, "run_spatial", session));
    EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "build/runtime/results/one.bin")));
    EXPECT_TRUE(session_matches(tree, "run_spatial", "3\n1\n2\n2\n7\n6\n"));
    EXPECT_TRUE(session_matches(tree, "run_spatial", with_crlf(session)));
}

TEST(RunMenu, ASpectroscopicModelRuns)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "run_2d", "3\n1\n\n2\n2\n\n7\n6\n"));
}

// The spin system is redefined, the sequence stays: the model runs with the new spins.
TEST(RunMenu, ARedefinedSpinSystemKeepsTheSequence)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "run_redefined_spins",
                                "3\n1\n\n1\n1\n1\n3\n1\n0\n\n6\n2\n2\n\n7\n6\n"));
}

TEST(RunMenu, AFailedRedefinitionLeavesNothingToRun)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(
        session_matches(tree, "run_spins_refused", "3\n1\n\n1\n1\n1\n-1\n\n6\n2\n2\n\n7\n6\n"));
}

// ----------------------------------------------------------------------------------- saving

TEST(RunMenu, SavesTheModel)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "run_save", "3\n1\n\n2\n6\ncopy\n\n\n7\n6\n"));
    EXPECT_TRUE(session_matches(tree, "run_save_nothing", "2\n6\ncopy\n1\n\n\n7\n6\n"));
}
