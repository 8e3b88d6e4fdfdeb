// The main menu: choices, import, export, and scripts made on other systems.
#include "sessions.h"

#include <filesystem>

// Two models that load up to their first line, and what must not be listed.
static void write_listed_models(const Tree &tree)
{
    const std::string refused = "format_version: 2\nspin_system_file: a.zanspin\n"
                                "sequence_file: b.zanseq\n";
    write_file(tree_path(tree, "models/second.zanmodel"), refused);
    write_file(tree_path(tree, "models/First.ZANMODEL"), refused);
    write_file(tree_path(tree, "models/whole.zanmodel"), "format_version: 1\nnspins: 1\n"
                                                         "spin_system_file: a.zanspin\n");
    write_file(tree_path(tree, "models/notes.txt"), refused);
    std::filesystem::create_directory(tree_path(tree, "models/dir.zanmodel"));
}

// ---------------------------------------------------------------------------------- choices

TEST(MainMenu, EndsAtTheEndOfInput)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("menu_at_end_of_input", menu_session(tree, "")));
}

TEST(MainMenu, AskedToExitPrintsTheSame)
{
    const Tree tree;
    for (const char *typed : {"6\n", " 6 x\n", "6", "6\r\n"})
        EXPECT_TRUE(matches_expected("menu_at_end_of_input", menu_session(tree, typed))) << typed;
}

TEST(MainMenu, AnInvalidChoiceShowsTheMenuAgain)
{
    const Tree tree;
    EXPECT_TRUE(
        matches_expected("menu_invalid_choices", menu_session(tree, "7\n0\nabc\n\n-1\nx 3\n6\n")));
}

TEST(MainMenu, TextAfterTheNumberIsIgnored)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("menu_import_without_models", menu_session(tree, "3 x\n\n6\n")));
}

TEST(MainMenu, APauseNeedsNoLineOfAScript)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("menu_import_without_models", menu_session(tree, "3\n6\n")));
    EXPECT_TRUE(matches_expected("menu_import_without_models", menu_session(tree, "3\r\n\r\n6")));
    EXPECT_TRUE(matches_expected("menu_import_without_models", menu_session(tree, "3\n")));
}

TEST(MainMenu, AMissingModelsDirectoryHasNoModels)
{
    const Tree tree;
    std::filesystem::remove(tree_path(tree, "models"));
    EXPECT_TRUE(matches_expected("menu_import_without_models", menu_session(tree, "3\n\n6\n")));
}

TEST(MainMenu, OpensPreparationAndRunMenus)
{
    const Tree tree;
    const ProgramResult prepare = run_zan(tree, {}, "1\n"), run = run_zan(tree, {}, "2\n");
    EXPECT_NE(prepare.out.find("Select [1-6]: \n[ZAN] Opening model preparation / editing...\n"),
              std::string::npos);
    EXPECT_NE(run.out.find("Select [1-6]: \n[ZAN] Starting non-interactive mode...\n"),
              std::string::npos);
    for (const ProgramResult &result : {prepare, run}) {
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_TRUE(result.out.ends_with("\n[ZAN] Exiting.\n")) << result.out;
    }
}

// ----------------------------------------------------------------------------------- import

TEST(Import, ListsSplitModelsAndRepeatsTheQuestion)
{
    const Tree tree;
    write_listed_models(tree);
    EXPECT_TRUE(matches_expected("import_cancelled", menu_session(tree, "3\n9\n0\nx\n-1\n\n6\n")));
    EXPECT_TRUE(matches_expected("import_cancelled",
                                 menu_session(tree, "3\r\n9\r\n0\r\nx\r\n-1\r\n\r\n6\r\n")));
}

TEST(Import, AFailedLoadNamesTheReasonAndThePath)
{
    const Tree tree;
    write_listed_models(tree);
    EXPECT_TRUE(matches_expected("import_failed", menu_session(tree, "3\n2 second\n\n6\n")));
}

TEST(Import, ALoadedModelIsNamedInTheMenu)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    const ProgramResult result = run_zan(tree, {}, "3\n1\n\n6\n");
    EXPECT_EQ(result.exit_code, 0);
    const std::string summary = "\n[ZAN] Loaded model: " + model + "\n[ZAN] Spin system:\n";
    const std::string success = "\n[ZAN] Import successful.\n"
                                "\nPress Enter to return to the menu...";
    const std::string menu = "\n Loaded model : " + model + "\n";
    const size_t at = result.out.find(summary);
    ASSERT_NE(at, std::string::npos) << result.out;
    const size_t after = result.out.find(success, at);
    ASSERT_NE(after, std::string::npos) << result.out;
    EXPECT_NE(result.out.find(menu, after), std::string::npos) << result.out;
}

TEST(Import, AFailedOneKeepsTheModelThatWasLoaded)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    write_listed_models(tree); // First, one, second
    const ProgramResult result = run_zan(tree, {}, "3\n2\n\n3\n1\n\n6\n");
    const size_t at = result.out.find("\n[ZAN] Import failed: ");
    ASSERT_NE(at, std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\n Loaded model : " + model + "\n", at), std::string::npos);
}

TEST(Import, APathThatIsTooLongIsTold)
{
    const Tree tree(1100);
    write_one_spin_model(tree, "one", 1);
    EXPECT_TRUE(matches_expected("import_path_too_long", menu_session(tree, "3\n1\n6\n")));
}

// ----------------------------------------------------------------------------------- export

TEST(Export, WithoutASpinSystemThereIsNothingToExport)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("export_without_model", menu_session(tree, "4\ntest\n\n6\n")));
    EXPECT_FALSE(std::filesystem::exists(tree_path(tree, "models/test.zanmodel")));
}

TEST(Export, WithoutANameGoesBackToTheMenu)
{
    const Tree tree;
    EXPECT_TRUE(matches_expected("export_without_name", menu_session(tree, "4\n\n6\n")));
    EXPECT_TRUE(matches_expected("export_without_name", menu_session(tree, "4\n")));
}

TEST(Export, ABareNameLiesInTheModelsDirectory)
{
    const Tree tree;
    write_file(tree_path(tree, "models/test.zanmodel"), "kept");
    const std::string session = menu_session(tree, "4\ntest\n0\n\n6\n");
    EXPECT_TRUE(matches_expected("export_overwrite_refused", session));
    EXPECT_EQ(read_file(tree_path(tree, "models/test.zanmodel")), "kept");
}

TEST(Export, AnyAnswerButOneKeepsTheFile)
{
    const Tree tree;
    write_file(tree_path(tree, "models/test.zanmodel"), "kept");
    for (const char *answer : {"yes", "2", "-1", "y1", " 0"})
        EXPECT_TRUE(matches_expected(
            "export_overwrite_refused",
            menu_session(tree, "4\ntest.zanmodel\n" + std::string(answer) + "\n\n6\n")))
            << answer;
}

TEST(Export, AnAnswerOfOneGoesOn)
{
    const Tree tree;
    write_file(tree_path(tree, "models/test.zanmodel"), "");
    for (const char *answer : {"1", " 1 x"})
        EXPECT_TRUE(
            matches_expected("export_overwrite_accepted",
                             menu_session(tree, "4\ntest\n" + std::string(answer) + "\n\n6\n")))
            << answer;
}

TEST(Export, AtTheEndOfInputTheOverwriteQuestionEndsSilently)
{
    const Tree tree;
    write_file(tree_path(tree, "models/test.zanmodel"), "");
    EXPECT_TRUE(matches_expected("export_overwrite_unanswered", menu_session(tree, "4\ntest\n")));
}

TEST(Export, ANameWithADrivePrefixIsTakenAsItStands)
{
    const Tree tree;
    write_file(tree_path(tree, "build/runtime/d:test.zanmodel"), "");
    EXPECT_TRUE(matches_expected("export_drive_prefix", menu_session(tree, "4\nd:test\n0\n\n6\n")));
}

TEST(Export, APathThatIsTooLongIsRefused)
{
    const Tree tree(1018); // ROOT/models/x fits 1024 characters, the extension does not
    EXPECT_TRUE(matches_expected("export_path_too_long", menu_session(tree, "4\nx\n\n6\n")));
}
