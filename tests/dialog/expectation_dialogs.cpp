// Expectation values from the run menu: operator by list or by hand, table format and name.
#include "sessions.h"

#include <cstring>

static const std::string run_one = "3\n1\n\n2\n2\n\n"; // import and run; then the run menu
static const std::string end = "\n\n7\n6\n";           // the two pauses, back, exit

static std::string table_file(const Tree &tree, const std::string &name)
{
    return read_file(tree_path(tree, "build/runtime/" + name));
}

// ------------------------------------------------------------------------------------- menu

TEST(ExpectationMenu, ContinuesToTheCaller)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "expectation_continue", "2\n3\n2\n\n7\n6\n"));
}

TEST(ExpectationMenu, AsksAgainUntilItIsAnswered)
{
    const Tree tree;
    EXPECT_TRUE(
        session_matches(tree, "expectation_asked_again", "2\n3\n0\nx 2\n3\n-1\n2\n\n7\n6\n"));
}

TEST(ExpectationMenu, AtTheEndOfInputItEnds)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "expectation_at_end_of_input", "2\n3\n"));
}

// ----------------------------------------------------------------------------------- tables

// After a pulse about x with the plain sign convention the equilibrium Iz lies along -y.
TEST(ExpectationTable, OfAnOperatorByName)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string dialog = "3\n1\n1\niy\n1\n  table of one.txt \n";
    EXPECT_TRUE(session_matches(tree, "expectation_by_name", run_one + dialog + end));
    const std::string table = table_file(tree, "table of one.txt");
    int index = 0;
    double re = 0.0, im = 1.0;
    const char *line = std::strchr(table.c_str(), '\n');
    ASSERT_EQ(table.substr(0, 45), "# index    expectation_re    expectation_im\n ");
    ASSERT_TRUE(line && std::sscanf(line, "%d %lf %lf", &index, &re, &im) == 3) << table;
    EXPECT_EQ(index, 1);
    EXPECT_NEAR(std::abs(re), 1.0, 1e-12);
    EXPECT_NEAR(im, 0.0, 1e-12);
}

TEST(ExpectationTable, OfAnOperatorByNumber)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string dialog = "3\n1\n1\n 2 is y\n2\ntable.bin\n";
    EXPECT_TRUE(session_matches(tree, "expectation_by_number", run_one + dialog + end));
    const std::string table = table_file(tree, "table.bin");
    double value = 0.0;
    ASSERT_EQ(table.size(), sizeof value);
    std::memcpy(&value, table.data(), sizeof value);
    EXPECT_NEAR(std::abs(value), 1.0, 1e-12);
}

TEST(ExpectationTable, OfAnOperatorByHand)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string tail = "5\n1\ntable.txt\n" + end;
    EXPECT_TRUE(
        session_matches(tree, "expectation_by_hand", run_one + "3\n1\n2\n1\n1\n4\n-2\n" + tail));
    EXPECT_TRUE(
        session_matches(tree, "expectation_by_hand", run_one + "3\n1\n2\n1 1 4 -2\n" + tail));
    EXPECT_TRUE(session_matches(tree, "expectation_by_hand",
                                with_crlf(run_one + "3\n1\n2\n1\n1\n4\n-2\n" + tail)));
}

TEST(ExpectationTable, NothingIsWrittenWithoutAValidFormatOrName)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    for (const char *answer : {"0", "3", "x", "-1", "99999999999999999999"})
        EXPECT_TRUE(session_matches(tree, "expectation_bad_format",
                                    run_one + "3\n1\n1\niz\n" + answer + "\n" + end));
    for (const std::string &name : {std::string(), std::string("   "), std::string(512, 'n')})
        EXPECT_TRUE(session_matches(tree, "expectation_bad_name",
                                    run_one + "3\n1\n1\niz\n1\n" + name + "\n" + end));
    EXPECT_TRUE(session_matches(tree, "expectation_unwritable",
                                run_one + "3\n1\n1\niz\n1\nno/such/table\n" + end));
}

TEST(ExpectationTable, AnOperatorThatCannotBeReadIsTheIdentity)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    for (const char *answer : {"Sx", "-1", "", "Ix+Iy"})
        EXPECT_TRUE(session_matches(tree, "expectation_not_parsed",
                                    run_one + "3\n1\n1\n" + answer + "\n1\ntable.txt\n" + end));
}

TEST(ExpectationTable, NeedsTheResultOfARun)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "expectation_without_run", "2\n3\n1\n" + end));
}

TEST(ExpectationTable, NeedsTheSpinSystemOfTheRun)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(session_matches(tree, "expectation_other_spins",
                                run_one + "7\n1\n1\n2 1 1\n1 1\n0 0\n1\n0\n\n6\n2\n3\n1\n" + end));
}
