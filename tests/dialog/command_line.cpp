// The command line: the three modes, their failures, where they run, and what opens the menu.
//
// After a failed load the engine has printed nothing, so those transcripts are exact.
#include "run_program.h"

#include <filesystem>

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

static const Strings menu_arguments[] = {
    {},
    {"--help"},
    {"--run-model"},
    {"--run-model", "a.zanmodel", "extra"},
    {"--RUN-MODEL", "a.zanmodel"},
    {"--run-model=a.zanmodel", "a.zanmodel"},
    {"--expectation-profile", "a.zanmodel", "dm.bin", "Ix"},
    {"--expectation-profile", "a.zanmodel", "dm.bin", "Ix", "out.csv", "extra"},
    {"--voxel-signal", "a.zanmodel", "dm.bin", "1"},
    {"x", "--voxel-signal", "a.zanmodel", "dm.bin", "1", "out"},
};

TEST(CommandLine, AnyOtherArgumentListOpensTheMenu)
{
    const Tree tree;
    for (const Strings &args : menu_arguments)
        EXPECT_TRUE(matches_expected("menu_at_end_of_input", transcript(tree, run_zan(tree, args))))
            << (args.empty() ? "no arguments" : args[0]);
    EXPECT_FALSE(fs::exists(tree_path(tree, "build/runtime/runs")));
}

// ------------------------------------------------------------------------------ --run-model

TEST(RunModel, AnEmptyPathIsRefused)
{
    const Tree tree;
    const ProgramResult result = run_zan(tree, {"--run-model", ""});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "[ZAN] --run-model requires a .zanmodel path\n");
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(fs::exists(tree_path(tree, "build/runtime/runs")));
}

TEST(RunModel, AMissingFileNamesTheReasonAndThePath)
{
    const Tree tree;
    const ProgramResult result =
        run_zan(tree, {"--run-model", tree_path(tree, "models/none.zanmodel")});
    EXPECT_TRUE(matches_expected("run_model_missing", transcript(tree, result)));
}

TEST(RunModel, ARelativePathStartsInTheRunsOwnDirectory)
{
    const Tree tree;
    write_one_spin_model(tree, "here", 1);
    const ProgramResult result = run_zan(tree, {"--run-model", "models/here.zanmodel"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "[ZAN] Load failed: i/o error (could not open 'models/here.zanmodel' for reading)\n"
              "[ZAN] Path used: models/here.zanmodel\n");
}

TEST(RunModel, FormatsInThePathArePlainText)
{
    const Tree tree;
    const ProgramResult result = run_zan(tree, {"--run-model", "%s%n.zanmodel"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "[ZAN] Load failed: i/o error (could not open '%s%n.zanmodel' for reading)\n"
              "[ZAN] Path used: %s%n.zanmodel\n");
}

static const char *const one_spin_summary[] = {
    "[ZAN] Spin system:\n  nspins = 1\n  spin quantum numbers: 1\n  relative intensities: 1\n"
    "  resonance offsets [Hz]: 0\n  coupling mode = 2\n[ZAN] Sequence:\n  sequence type = ",
    "\n  number of sectors = 2\n    sector 1: type=1 timepoints=4 evolpoints=1 duration=0.001 "
    "pulsefile=",
    "pulse.bin statoff=0 remark=90x\n    sector 2: type=1 timepoints=16 evolpoints=1 "
    "duration=0.016 pulsefile=",
    "adc.bin statoff=0 remark=adc\n[ZAN] Grid/run config:\n  ndx=1 ndy=1 ndz=1\n"
    "  origin [cm] = (0, 0, 0)\n  delta  [cm] = (0, 0, 0)\n  result file = ",
};

TEST(RunModel, PrintsTheSummaryAndLeavesTheResult)
{
    for (int sequence_type : {1, 2}) {
        const Tree tree;
        const std::string model = write_one_spin_model(tree, "one", sequence_type);
        const ProgramResult result = run_zan(tree, {"--run-model", model});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        size_t at = result.out.find("\n[ZAN] Loaded model: " + model + "\n");
        for (const char *part : one_spin_summary) {
            ASSERT_NE(at, std::string::npos) << result.out;
            at = result.out.find(part, at);
        }
        EXPECT_NE(at, std::string::npos) << result.out;
        EXPECT_GT(read_file(tree_path(tree, "build/runtime/results/one.bin")).size(), 12u);
        EXPECT_EQ(result.out.find("Exiting"), std::string::npos);
    }
}

TEST(RunModel, NamesMayHaveLettersOfAnyLanguage)
{
    const Tree tree;
    const std::string name = "m\xc3\xbcller \xce\xbc-\xe6\xa0\xb8";
    const std::string model = write_one_spin_model(tree, name, 1);
    const ProgramResult run = run_zan(tree, {"--run-model", model});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_NE(run.out.find("[ZAN] Loaded model: " + model + "\n"), std::string::npos) << run.out;
    EXPECT_GT(read_file(tree_path(tree, "build/runtime/results/" + name + ".bin")).size(), 12u);
    const ProgramResult menu = run_zan(tree, {}, "3\n1\n\n6\n");
    EXPECT_NE(menu.out.find("    1) " + name + ".zanmodel\n"), std::string::npos) << menu.out;
    EXPECT_NE(menu.out.find("\n Loaded model : " + model + "\n"), std::string::npos) << menu.out;
}

// -------------------------------------------------------------------------- run directories

static std::string run_dir(const Tree &tree, const std::string &name, long pid)
{
    return tree_path(tree, "build/runtime/runs/" + name + "_" + std::to_string(pid));
}

TEST(RunDirectory, IsNamedAfterTheModelAndTheProcess)
{
    struct Case {
        std::string model, name;
    };
    for (const Case &c :
         {Case{"/m/Lac Press.zanmodel", "lac_press"}, Case{"c:\\m\\GABA.zanmodel", "gaba"},
          Case{"....", "model"}, Case{"/m/!!!.zanmodel", "model"}, Case{"/m/", "model"},
          Case{"/m/" + std::string(200, 'N') + ".zanmodel", std::string(96, 'n')}}) {
        const Tree tree;
        const ProgramResult result = run_zan(tree, {"--run-model", c.model});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_TRUE(fs::is_directory(run_dir(tree, c.name, result.pid))) << c.model;
    }
}

TEST(RunDirectory, DiffersBetweenProcessesAndIsKept)
{
    const Tree tree;
    const Strings args = {"--voxel-signal", "/m/same.zanmodel", "dm.bin", "1", "out"};
    const long first = run_zan(tree, args).pid, second = run_zan(tree, args).pid;
    EXPECT_NE(first, second);
    EXPECT_TRUE(fs::is_directory(run_dir(tree, "same", first)));
    EXPECT_TRUE(fs::is_directory(run_dir(tree, "same", second)));
}

// -------------------------------------------------------------------- --expectation-profile

TEST(ExpectationProfile, AMissingModelIsALineWithoutThePathUsed)
{
    const Tree tree;
    const ProgramResult result =
        run_zan(tree, {"--expectation-profile", tree_path(tree, "models/none.zanmodel"), "dm.bin",
                       "Ix", "out.csv"});
    EXPECT_TRUE(matches_expected("profile_model_missing", transcript(tree, result)));
    EXPECT_FALSE(fs::exists(tree_path(tree, "build/runtime/runs")));
}

TEST(ExpectationProfile, StaysInTheRuntimeDirectory)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    ASSERT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    const ProgramResult result =
        run_zan(tree, {"--expectation-profile", model, "results/one.bin", "Iy", "out.csv"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(fs::exists(tree_path(tree, "build/runtime/out.csv")));
    EXPECT_FALSE(fs::exists(run_dir(tree, "one", result.pid)));
}

TEST(ExpectationProfile, AWriterThatFailsGivesOne)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    const ProgramResult result =
        run_zan(tree, {"--expectation-profile", model, "none.bin", "Iy", "no-such-dir/out.csv"});
    EXPECT_EQ(result.exit_code, 1);
}

// --------------------------------------------------------------------------- --voxel-signal

TEST(VoxelSignal, AnIndexThatIsNoPositiveIntegerIsRefusedFirst)
{
    const Tree tree;
    for (const char *point : {"0", "-3", "12x", "", "x", "7 ", "1.5", "2147483648", "4294967297",
                              "99999999999999999999999"}) {
        const ProgramResult result =
            run_zan(tree, {"--voxel-signal", "/none.zanmodel", "dm.bin", point, "out"});
        EXPECT_EQ(result.exit_code, 1) << point;
        EXPECT_EQ(result.err, "[ZAN] Voxel signal point index must be a positive integer.\n")
            << point;
        EXPECT_EQ(result.out, "") << point;
    }
    EXPECT_FALSE(fs::exists(tree_path(tree, "build/runtime/runs")));
}

TEST(VoxelSignal, AGoodIndexGoesOnToTheModel)
{
    const Tree tree;
    for (const char *point : {"7", " +7", "2147483647"}) {
        const ProgramResult result =
            run_zan(tree, {"--voxel-signal", tree_path(tree, "models/none.zanmodel"), "dm.bin",
                           point, "out"});
        EXPECT_TRUE(matches_expected("voxel_model_missing", transcript(tree, result))) << point;
    }
}

TEST(VoxelSignal, RunsInADirectoryOfItsOwn)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    ASSERT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    const std::string density = tree_path(tree, "build/runtime/results/one.bin");
    const ProgramResult result = run_zan(tree, {"--voxel-signal", model, density, "1", "out.bin"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(fs::exists(run_dir(tree, "one", result.pid) + "/out.bin"));
}

TEST(EvaluationModes, AnOutputThatIsTheirInputIsRefused)
{
    const Tree tree;
    const std::string model = write_one_spin_model(tree, "one", 1);
    ASSERT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    const std::string density = tree_path(tree, "build/runtime/results/one.bin");
    for (const auto &[mode, what] :
         {std::pair("--expectation-profile", "Iy"), std::pair("--voxel-signal", "1")})
        for (const std::string &output : {model, density}) {
            const std::string before = read_file(output);
            const ProgramResult result = run_zan(tree, {mode, model, density, what, output});
            EXPECT_EQ(result.exit_code, 1) << mode;
            EXPECT_EQ(result.err, "[ZAN] The output would replace its own input: " + output + "\n");
            EXPECT_EQ(read_file(output), before) << mode;
        }
}

// ------------------------------------------------------- directories that cannot be entered

TEST(RuntimeDirectory, AFileInItsPlaceIsAWarning)
{
    const Tree tree;
    write_file(tree_path(tree, "build/runtime"), "");
    const ProgramResult result = run_zan(tree, {});
    EXPECT_TRUE(matches_expected("runtime_is_a_file", transcript(tree, result)));
}

TEST(RuntimeDirectory, OneThatCannotBeMadeIsAWarning)
{
    const Tree tree;
    const ProgramResult result = run_zan(tree, {}, "", RunAs::nobody);
    if (result.exit_code == 127)
        GTEST_SKIP() << "another user cannot start programs here";
    EXPECT_TRUE(matches_expected("runtime_not_writable", transcript(tree, result)));
}

TEST(RuntimeDirectory, APathThatIsTooLongIsAWarning)
{
    const Tree tree(4090); // the program fits 4095 characters, runtime does not
    const ProgramResult result = run_zan(tree, {"--run-model", "x.zanmodel"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "[ZAN] Warning: runtime directory path is too long; using current directory for "
              "scratch files.\n"
              "[ZAN] Warning: run scratch path is too long; using current directory.\n");
}

TEST(RunDirectory, APathThatIsTooLongIsAWarning)
{
    const Tree tree(4083); // runtime fits 4095 characters, runtime/runs does not
    const ProgramResult result = run_zan(tree, {"--run-model", "x.zanmodel"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "[ZAN] Warning: run scratch path is too long; using current directory.\n");
}

TEST(RunDirectory, OneThatCannotBeMadeIsAWarning)
{
    const Tree tree;
    write_file(tree_path(tree, "build/runtime/runs"), "");
    const ProgramResult result = run_zan(tree, {"--run-model", "x.zanmodel"});
    EXPECT_TRUE(matches_expected("run_directory_not_made", transcript(tree, result)));
}
