// The main menu's reference checks in the real program: whole transcripts, and that a loaded
// model is the same before and after.
#include "run_program.h"

#include <filesystem>

static const char *const all_passed = "\n[ZAN] Running developer smoke/reference checks...\n"
                                      "PASS          spin-operator-reference\n"
                                      "PASS          hamiltonian-reference\n"
                                      "PASS          weak-two-spin-spectrum-reference\n"
                                      "Copied spatial density-matrix result to "
                                      "<TREE>/build/runtime/results/spatial-gradient-result.bin\n"
                                      "PASS          spatial-gradient-reference\n"
                                      "PASS          split-composition-reference\n"
                                      "PASS          malformed-duplicate-key\n"
                                      "PASS          malformed-invalid-sequence-type\n"
                                      "All zanmodel smoke/reference checks passed.\n"
                                      "\nPress Enter to return to the menu...";

static int count_of(const std::string &text, const std::string &part)
{
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

// What the program prints, the tree's name aside; nothing may go to the error stream.
static std::string session(const Tree &tree, const std::string &typed)
{
    const ProgramResult result = run_zan(tree, {}, typed);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    return normalized(tree, result, result.out);
}

// The three files of a model, its name taken out.
static std::string model_files(const Tree &tree, const std::string &name)
{
    std::string text;
    for (const std::string &file :
         {"models/" + name + ".zanmodel", "spin-systems/" + name + ".zanspin",
          "sequences/" + name + "/" + name + ".zanseq"}) {
        const std::string part = read_file(tree_path(tree, file));
        EXPECT_NE(part, "") << file;
        text += part;
    }
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name))
        text.replace(at, name.size(), "*");
    return text;
}

TEST(ReferenceChecks, PassTwiceInARow)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("reference_checks_twice",
                                 transcript(tree, run_zan(tree, {}, "5\n\n5\n\n6\n"))));
    EXPECT_EQ(count_of(session(tree, "5\n5\n6\n"), all_passed), 2); // and on the same files
}

TEST(ReferenceChecks, LeaveALoadedModelAsItWas)
{
    for (const int sequence_type : {1, 2}) {
        const Tree tree;
        write_one_spin_model(tree, "one", sequence_type);
        const std::string out =
            session(tree, "3\n1\n\n4\nbefore\n\n5\n\n4\nafter\n\n1\n4\n\n6\n6\n");
        EXPECT_EQ(count_of(out, all_passed), 1) << out;
        EXPECT_EQ(model_files(tree, "before"), model_files(tree, "after"));
        const size_t after = out.find(all_passed);
        EXPECT_NE(out.find("\n Loaded model : <TREE>/models/before.zanmodel\n", after),
                  std::string::npos);
        EXPECT_NE(out.find("  Hilbert size n   : 2\n", after), std::string::npos) << out;
    }
}

TEST(ReferenceChecks, ARunAfterThemGivesTheSameResult)
{
    const Tree tree;
    const std::string result = tree_path(tree, "build/runtime/results/one.bin");
    write_one_spin_model(tree, "one", 1);
    session(tree, "3\n1\n\n2\n2\n\n7\n6\n");
    const std::string before = read_file(result);
    ASSERT_NE(before, "");
    std::filesystem::remove(result);
    session(tree, "3\n1\n\n5\n\n2\n2\n\n7\n6\n");
    EXPECT_EQ(read_file(result), before);
}

TEST(ReferenceChecks, FailWhereTheirDirectoryCannotBeMade)
{
    const Tree tree;
    write_file(tree_path(tree, "build/runtime/zan-refcheck-work"), "in the way");
    EXPECT_TRUE(matches_expected("reference_checks_without_directory",
                                 transcript(tree, run_zan(tree, {}, "5\n\n6\n"))));
}

TEST(ReferenceChecks, OneFailingCaseFailsTheSuiteAndStopsNoOther)
{
    const char *const blocked[][2] = {{"spatial-gradient", "FAIL spatgrad  could not create "},
                                      {"split-composition", "FAIL split     could not create "},
                                      {"malformed-models", "FAIL malformed : could not create "}};
    for (const auto &[directory, line] : blocked) {
        const Tree tree;
        write_file(tree_path(tree, std::string("build/runtime/zan-refcheck-work/") + directory),
                   "in the way");
        const std::string out = session(tree, "5\n\n6\n");
        EXPECT_EQ(count_of(out, line), 1) << out;
        EXPECT_EQ(count_of(out, "FAIL "), 1) << out;
        EXPECT_GE(count_of(out, "PASS "), 5) << out;
        EXPECT_EQ(count_of(out, "\nOne or more zanmodel smoke/reference checks failed.\n"), 1);
    }
}

TEST(ReferenceChecks, FailWhereTheResultCannotBeWritten)
{
    const Tree tree;
    const std::string result = "build/runtime/results/spatial-gradient-result.bin";
    write_file(tree_path(tree, result + "/file"), "a directory with a file in the way");
    const ProgramResult run = run_zan(tree, {}, "5\n\n6\n");
    const std::string out = normalized(tree, run, run.out);
    EXPECT_EQ(run.err, directory_message("fopen(dst)"));
    EXPECT_EQ(count_of(out, "FAIL spatgrad  result file was not created: <TREE>/" + result + "\n"),
              1)
        << out;
    EXPECT_EQ(count_of(out, "PASS "), 6) << out;
    EXPECT_EQ(count_of(out, "\nOne or more zanmodel smoke/reference checks failed.\n"), 1) << out;
}

TEST(ReferenceChecks, DoNotTakeTheResultOfAnEarlierRun)
{
    const Tree tree;
    EXPECT_EQ(count_of(session(tree, "5\n\n6\n"), all_passed), 1);
    std::filesystem::remove(tree_path(tree, "build/runtime/dm.bin"));
    write_file(tree_path(tree, "build/runtime/dm.bin/file"), "a directory in the way of the run");
    const std::string out = run_zan(tree, {}, "5\n\n6\n").out;
    EXPECT_EQ(count_of(out, "FAIL spatgrad  result file was not created: "), 1) << out;
    EXPECT_EQ(count_of(out, "PASS          spatial-gradient-reference\n"), 0) << out;
}
