// The prepare menu: spin system, grid, summary, saving; whole sessions.
#include "sessions.h"

#include <filesystem>

// Two spins 1/2 at 100 and -50.5 Hz with J = 10 Hz in full coupling, from the menu's item 1 on.
static const std::string two_spins = "1\n2\n1\n1\n1\n0.5\n100\n-50.5\n2\n10\n";

// ------------------------------------------------------------------------------------- menu

TEST(PrepareMenu, GoesBackToTheMainMenu)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "prepare_back", "1\n6\n6\n"));
    EXPECT_TRUE(session_matches(tree, "prepare_back", "1\n 6 x\n6\n"));
    EXPECT_TRUE(session_matches(tree, "prepare_back", "1\n\n\n6.5\n6\n")); // as any number's
}

TEST(PrepareMenu, WhatIsNoNumberEndsIt)
{
    const Tree tree;
    for (const char *answer : {"x", "-", ".", "six", "x 4"})
        EXPECT_TRUE(
            session_matches(tree, "prepare_not_a_number", "1\n" + std::string(answer) + "\n6\n"));
}

TEST(PrepareMenu, AtTheEndOfInputItEnds)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "prepare_not_a_number", "1\n"));
    EXPECT_TRUE(session_matches(tree, "prepare_not_a_number", "1"));
    EXPECT_TRUE(session_matches(tree, "prepare_not_a_number", "1\n\n\n"));
}

TEST(PrepareMenu, AnUnknownChoiceIsSaid)
{
    const Tree tree;
    for (const char *answer : {"0", "7", "-1", "99999999999999999999", "-99999999999999999999"})
        EXPECT_TRUE(session_matches(tree, "prepare_unknown_choice",
                                    "1\n" + std::string(answer) + "\n\n6\n6\n"));
}

TEST(PrepareMenu, ASequenceNeedsASpinSystem)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "prepare_sequence_without_spins", "1\n3\n\n6\n6\n"));
}

TEST(PrepareMenu, TheLoadedModelIsNamedAndCounted)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "prepare_loaded_model", "3\n1\n\n1\n6\n6\n"));
}

// ------------------------------------------------------------------------------ spin system

TEST(SpinSystem, OneSpinHasNoCouplings)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "spins_one", "1\n1\n1\n1\n1\n100\n\n4\n\n6\n6\n"));
}

TEST(SpinSystem, TwoSpinsInFullCoupling)
{
    const Tree tree;
    const std::string back = "\n4\n\n6\n6\n";
    EXPECT_TRUE(session_matches(tree, "spins_two_full", "1\n" + two_spins + back));
}

TEST(SpinSystem, AnswersMayBeTypedAheadOnOneLine)
{
    const Tree tree;
    for (const char *spins :
         {"1\n2 1 1 1 0.5 100 -50.5 2 10\n", "1\n2\n1 1\n1 0.5\n100 -50.5\n2 10\n",
          "1\n  2\t1\t1 1\n\n0.5\n\n\n100 -50.5 2\n 10 and the rest\n"})
        EXPECT_TRUE(
            session_matches(tree, "spins_two_full", "1\n" + std::string(spins) + "\n4\n\n6\n6\n"));
}

TEST(SpinSystem, APauseNeedsNoLine)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "spins_two_full", "1\n" + two_spins + "4\n6\n6\n"));
    EXPECT_TRUE(session_matches(tree, "spins_two_full", "1\n" + two_spins + "4\n\n6\n6"));
}

TEST(SpinSystem, CarriageReturnsDoNotMatter)
{
    const Tree tree;
    EXPECT_TRUE(
        session_matches(tree, "spins_two_full", with_crlf("1\n" + two_spins + "\n4\n\n6\n6\n")));
}

// A coupling of 0 is counted, but it adds no term.
TEST(SpinSystem, ThreeSpinsInWeakCouplingWithAZeroCoupling)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "spins_three_weak",
                                "1\n1\n3\n1\n2\n1\n1 1 1\n10 20 30\n1\n7\n0\n-1.5\n\n4\n\n6\n6\n"));
}

// Every choice but 1 is the full coupling, and is kept as typed.
TEST(SpinSystem, AnUnknownCouplingModeIsKept)
{
    const Tree tree;
    EXPECT_TRUE(
        session_matches(tree, "spins_mode_seven", "1\n1\n2 1 1\n1 1\n0 0\n7\n10\n\n4\n\n6\n6\n"));
}

TEST(SpinSystem, EightSpinsHaveTheMostStates)
{
    const Tree tree;
    std::string typed = "1\n1\n8\n1 1 1 1 1 1 1 2\n8\n1 1 1 1 1 1 1 1\n1 1 1 1 1 1 1 1\n"
                        "1 2 3 4 5 6 7 8\n1\n";
    for (int pair = 1; pair <= 28; pair++)
        typed += std::to_string(pair) + (pair % 7 ? " " : "\n");
    EXPECT_TRUE(session_matches(tree, "spins_eight", typed + "\n6\n6\n"));
}

TEST(SpinSystem, BadCountsAndQuantumNumbersAreAskedAgain)
{
    const Tree tree;
    EXPECT_TRUE(
        session_matches(tree, "spins_refused",
                        "1\n1\nx 1 1\n0\n9\n-1\n99999999999999999999\n-99999999999999999999\n"
                        "2\ny 1\n2\n1\nz 1\n2.5 1\n1\n256\n2\n99999999999999999999\n"
                        "1\n1\n255\n1\n0\n\n6\n6\n"));
}

// The rest of the dialog runs on with what is left unread.
TEST(SpinSystem, ValuesThatAreNoNumbersCountAsZero)
{
    const Tree tree;
    EXPECT_TRUE(
        session_matches(tree, "spins_values_bad", "1\n1\n2\n1\n1\n1\nx 1 2 3\n\n4\n\n6\n6\n"));
}

TEST(SpinSystem, ANegativeQuantumNumberIsRefused)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "spins_negative",
                                "1\n" + two_spins + "\n1\n2\n1\n-1\n\n2\n\n4\n\n6\n6\n"));
    EXPECT_TRUE(
        session_matches(tree, "spins_negative_pair", "1\n1\n2\n-3\n-3\n\n5\ntest\n\n\n6\n6\n"));
}

// --------------------------------------------------------------------------------- the grid

TEST(SpatialDomain, NeedsASpinSystem)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "grid_without_spins", "1\n2\n\n6\n6\n"));
}

static const std::string one_spin_then_grid = "1\n1\n1\n1\n1\n0\n\n2\n";

TEST(SpatialDomain, SymmetricSpansTheWholeWidth)
{
    const Tree tree;
    const std::string end = "\n4\n\n6\n6\n";
    EXPECT_TRUE(session_matches(tree, "grid_symmetric",
                                one_spin_then_grid + "1\n0\n1.5\n-2\n5\n2\n1\n4\n0.5\n3\n" + end));
    EXPECT_TRUE(session_matches(tree, "grid_symmetric",
                                one_spin_then_grid + "1 0 1.5 -2 5 2 1 4 0.5 3\n" + end));
    EXPECT_TRUE(
        session_matches(tree, "grid_symmetric",
                        with_crlf(one_spin_then_grid + "1\n0 1.5 -2\n5 2 1\n4 0.5 3\n" + end)));
}

TEST(SpatialDomain, ManualTakesMinimumAndSpacing)
{
    const Tree tree;
    const std::string end = "\n4\n\n6\n6\n";
    EXPECT_TRUE(
        session_matches(tree, "grid_manual",
                        one_spin_then_grid + "0\n3\n1\n2\n-0.1\n0.2\n0.3\n0.05\n9\n1e-3\n" + end));
    EXPECT_TRUE(session_matches(tree, "grid_manual",
                                one_spin_then_grid + "0 3 1 2 -0.1 0.2 0.3 0.05 9 1e-3\n" + end));
}

TEST(SpatialDomain, AnyAnswerButOneIsManual)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "grid_manual",
                                one_spin_then_grid + "7 3 1 2 -0.1 0.2 0.3 0.05 9 1e-3\n" +
                                    "\n4\n\n6\n6\n"));
}

TEST(SpatialDomain, CountsBelowOneBecomeOne)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "grid_counts_raised",
                                one_spin_then_grid + "1\n1 2 3\n0\n-5\n-99999999999999999999\n" +
                                    "4 4 4\n\n2\n0\n0\n-1\n0\n1 2 3\n4 5 6\n\n6\n6\n"));
}

// What is no number stays unread, so every later question gets 0 or 1 as well.
TEST(SpatialDomain, WhatIsNoNumberCountsAsZero)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "grid_not_numbers",
                                one_spin_then_grid + "x 1 1 1\n\n2\n1 2 3 4 y\n\n6\n6\n"));
}

// ---------------------------------------------------------------------------------- summary

TEST(Summary, OfNothingHasAllItsBlocks)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "summary_empty", "1\n4\n\n6\n6\n"));
}

TEST(Summary, OfALoadedModel)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "summary_loaded", "3\n1\n\n1\n4\n\n6\n6\n"));
}

// ----------------------------------------------------------------------------------- saving

TEST(PrepareSave, ALoadedModelIsWrittenAndNamedInTheMenus)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "prepare_save", "3\n1\n\n1\n5\nSaved Model\n\n\n6\n6\n"));
    EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "models/Saved Model.zanmodel")));
}

TEST(PrepareSave, AskedAgainBeforeAFileIsReplaced)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string before = read_file(tree_path(tree, "models/one.zanmodel"));
    EXPECT_TRUE(session_matches(tree, "prepare_save_refused", "3\n1\n\n1\n5\none\n0\n\n\n6\n6\n"));
    EXPECT_EQ(read_file(tree_path(tree, "models/one.zanmodel")), before);
    EXPECT_TRUE(session_matches(tree, "prepare_save_replaced", "3\n1\n\n1\n5\none\n1\n\n\n6\n6\n"));
    EXPECT_NE(read_file(tree_path(tree, "models/one.zanmodel")), before);
}

TEST(PrepareSave, SpinsWithoutASequenceAreNoModelYet)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "prepare_save_spins_only",
                                "1\n" + two_spins + "\n5\ntest\n\n\n6\n6\n"));
}

TEST(PrepareSave, AnEmptyNameSavesNothing)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "prepare_save_cancelled", "1\n5\n\n\n6\n6\n"));
}
