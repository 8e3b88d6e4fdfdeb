// The command line on Windows: drive letters, backslashes, any letter case; files with LF alone.
#include "run_program.h"

#include <algorithm>
#include <filesystem>

static std::string with_backslashes(std::string path)
{
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

TEST(WindowsPaths, BackslashesDriveLettersAndCaseAreTheSystemsOwn)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    write_file(model, replaced(read_file(model), "../", "..\\"));
    std::string shouted = with_backslashes(model);
    std::transform(shouted.begin(), shouted.end(), shouted.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    for (const std::string &typed : {model, with_backslashes(model), shouted}) {
        const std::string result = tree_path(tree, "build/runtime/results/one.bin");
        std::filesystem::remove(result);
        const ProgramResult run = run_zan(tree, {"--run-model", typed});
        EXPECT_EQ(run.exit_code, 0) << typed << run.err;
        EXPECT_GT(read_file(result).size(), 12u) << typed;
    }
}

TEST(WindowsFiles, TextsEndTheirLinesAsOnLinux)
{
    const Tree tree;
    const std::string model = with_backslashes(write_one_spin_model(tree, "one", 1));
    ASSERT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    const std::string density = with_backslashes(tree_path(tree, "build/runtime/results/one.bin"));
    const std::string table = with_backslashes(tree_path(tree, "table.csv"));
    EXPECT_EQ(run_zan(tree, {"--expectation-profile", model, density, "Iy", table}).exit_code, 0);
    const std::string text = read_file(table);
    EXPECT_NE(text.find("\n1,"), std::string::npos) << text;
    EXPECT_EQ(text.find('\r'), std::string::npos);
}
