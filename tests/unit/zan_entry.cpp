// zan-entry - short names, the loaded model, model files, prompts, the summary.
#include "zan-entry.h"

#include "console.h"
#include "run_program.h"

#include <cstring>
#include <filesystem>
#include <memory>

static std::string captured(void (*print)(void))
{
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

// ------------------------------------------------------------------------------ short names

TEST(BasenameWithoutExtension, TakesTheTextBetweenTheLastSeparatorAndTheLastDot)
{
    struct Case {
        const char *path, *name; // null: refused
    };
    for (const Case &c :
         {Case{"/m/Lac Press.zanmodel", "Lac Press"}, Case{"c:\\m\\a.b.zanmodel", "a.b"},
          Case{"plain", "plain"}, Case{"/m/.hidden", ".hidden"}, Case{"/m/.a.b", ".a"},
          Case{"....", "..."}, Case{"a/b\\c/d.x", "c/d"}, Case{"/m/", nullptr}, Case{"", nullptr},
          Case{"0123456789abcde.x", "0123456789abcde"}, Case{"0123456789abcdef.x", nullptr}}) {
        char name[16];
        ASSERT_EQ(basename_without_extension(c.path, name, sizeof name), c.name != nullptr)
            << c.path;
        if (c.name) {
            EXPECT_STREQ(name, c.name);
        }
    }
}

TEST(SanitizeModelShortName, KeepsLettersDigitsAndSingleSeparators)
{
    struct Case {
        const char *text, *name; // null: refused
    };
    for (const Case &c : {Case{"Lac PRESS.v2", "lac_press_v2"}, Case{"--GABA  mega--", "gaba_mega"},
                          Case{"!!!", nullptr}, Case{"", nullptr}, Case{"...", nullptr},
                          Case{"_-_", nullptr}, Case{"a-_b", "a-b"}, Case{"a_-b", "a_b"},
                          Case{"a -b", "a_b"}, Case{"a!-!_b", "a-b"}, Case{"\tx\ny\v", "x_y"},
                          Case{"\xc3\xa4"
                               "Z9",
                               "z9"},
                          Case{"x__", "x"}}) {
        char name[32];
        ASSERT_EQ(sanitize_model_short_name(c.text, name, sizeof name), c.name != nullptr)
            << c.text;
        if (c.name) {
            EXPECT_STREQ(name, c.name);
        }
    }
}

TEST(SanitizeModelShortName, FailsWhenTheNameDoesNotFit)
{
    char name[5];
    EXPECT_EQ(sanitize_model_short_name("abcd", name, sizeof name), 1);
    EXPECT_STREQ(name, "abcd");
    EXPECT_EQ(sanitize_model_short_name("abcde", name, sizeof name), 0);
    EXPECT_EQ(sanitize_model_short_name("abcd!!", name, sizeof name), 1);
    EXPECT_EQ(sanitize_model_short_name("abcd--", name, sizeof name), 0); // cut only at the end
    EXPECT_EQ(sanitize_model_short_name("a", name, 1), 0);
}

TEST(CurrentModelShortName, IsCutTo127CharactersAndClearedByNothing)
{
    set_current_model_short_name(std::string(200, 'x').c_str());
    EXPECT_EQ(g_current_model_short_name, std::string(127, 'x'));
    EXPECT_EQ(g_current_model_short_name_valid, 1);
    set_current_model_short_name("");
    EXPECT_EQ(g_current_model_short_name_valid, 0);
    set_current_model_short_name("a");
    set_current_model_short_name(nullptr);
    EXPECT_EQ(g_current_model_short_name_valid, 0);
    EXPECT_STREQ(g_current_model_short_name, "");
}

TEST(CurrentModelShortName, StaysWhenAPathGivesNone)
{
    set_current_model_short_name("kept");
    for (const char *path : {"/m/!!!.zanmodel", "...."})
        seed_current_model_short_name_from_path(path);
    seed_current_model_short_name_from_path((std::string(128, 'n') + ".zanmodel").c_str());
    EXPECT_STREQ(g_current_model_short_name, "kept");
    seed_current_model_short_name_from_path("/m/New Name.zanmodel");
    EXPECT_STREQ(g_current_model_short_name, "new_name");
}

// ----------------------------------------------------------------------------- loaded model

TEST(LoadedModelPath, SeedsTheShortName)
{
    clear_loaded_model_path();
    EXPECT_EQ(captured(ZANPrintCurrentModelFileHint),
              "Current model file : <unsaved current model>\n");
    set_loaded_model_path("/m/Lac Press.zanmodel");
    EXPECT_EQ(g_loaded_model_path_valid, 1);
    EXPECT_STREQ(g_current_model_short_name, "lac_press");
    EXPECT_EQ(captured(ZANPrintCurrentModelFileHint),
              "Current model file : /m/Lac Press.zanmodel\n");
}

TEST(LoadedModelPath, AnEmptyOneLeavesTheShortName)
{
    for (const char *nothing : {"", static_cast<const char *>(nullptr)}) {
        set_loaded_model_path("/m/a.zanmodel");
        set_loaded_model_path(nothing);
        EXPECT_EQ(g_loaded_model_path_valid, 0);
        EXPECT_STREQ(g_loaded_model_path, "");
        EXPECT_STREQ(g_current_model_short_name, "a");
    }
    clear_loaded_model_path();
    EXPECT_EQ(g_current_model_short_name_valid, 0);
}

TEST(LoadedModelPath, KeepsTheFirst1023Characters)
{
    const std::string path(2000, 'p');
    set_loaded_model_path(path.c_str());
    EXPECT_EQ(g_loaded_model_path, path.substr(0, 1023));
    clear_loaded_model_path();
}

static const char name_heading[] = "\nShort model name / file prefix\n"
                                   "(used for default sector waveform filenames)\n: ";

TEST(EnsureCurrentModelShortName, TakesWhatIsSetWithoutAsking)
{
    clear_loaded_model_path();
    feed_stdin("typed\n");
    char name[128];
    set_current_model_short_name("set");
    EXPECT_EQ(ZANEnsureCurrentModelShortName(name, sizeof name), 1);
    EXPECT_STREQ(name, "set");
    set_loaded_model_path("/m/From Path.zanmodel");
    clear_current_model_short_name();
    EXPECT_EQ(ZANEnsureCurrentModelShortName(name, sizeof name), 1);
    EXPECT_STREQ(name, "from_path");
    EXPECT_EQ(ZANEnsureCurrentModelShortName(name, 5), 1);
    EXPECT_STREQ(name, "from");
    EXPECT_EQ(rest_of_stdin(), "typed\n");
}

TEST(EnsureCurrentModelShortName, AsksUntilTheAnswerIsUsable)
{
    clear_loaded_model_path();
    feed_stdin("\n!?\nGABA mega\rx\n");
    char name[128];
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZANEnsureCurrentModelShortName(name, sizeof name), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string(name_heading) +
                  "Please enter a short name, for example: lac_press or gaba_mega\n: "
                  "Could not derive a usable file prefix from that text.\n"
                  "Use letters, numbers, spaces, '-' or '_'.\n: "
                  "Using model prefix : gaba_mega\n");
    EXPECT_STREQ(name, "gaba_mega");
    EXPECT_EQ(g_current_model_short_name_valid, 1);
}

TEST(EnsureCurrentModelShortName, GivesUpAtTheEndOfInput)
{
    clear_loaded_model_path();
    feed_stdin("\n");
    char name[128] = "untouched";
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZANEnsureCurrentModelShortName(name, sizeof name), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(g_current_model_short_name_valid, 0);
}

// ------------------------------------------------------------------------------ model files

TEST(FileExists, MeansAFileThatOpens)
{
    const Tree tree;
    write_file(tree_path(tree, "models/a"), "");
    EXPECT_EQ(file_exists(tree_path(tree, "models/a").c_str()), 1);
    EXPECT_EQ(file_exists(tree_path(tree, "models/b").c_str()), 0);
    EXPECT_EQ(file_exists(tree_path(tree, "models").c_str()), 0);
}

TEST(TextFileContainsLiteral, LooksAtLinesInPiecesOf1023Characters)
{
    const Tree tree;
    const std::string path = tree_path(tree, "text");
    write_file(path, "first\nsequence_file: x\n");
    EXPECT_EQ(text_file_contains_literal(path.c_str(), "sequence_file:"), 1);
    EXPECT_EQ(text_file_contains_literal(path.c_str(), "Sequence_file:"), 0);
    EXPECT_EQ(text_file_contains_literal(path.c_str(), "first\nseq"), 0);
    write_file(path, std::string(1023, 'x') + "needle");
    EXPECT_EQ(text_file_contains_literal(path.c_str(), "needle"), 1);
    write_file(path, std::string(1020, 'x') + "needle");
    EXPECT_EQ(text_file_contains_literal(path.c_str(), "needle"), 0);
    EXPECT_EQ(text_file_contains_literal(tree_path(tree, "none").c_str(), "x"), 0);
}

TEST(ZanmodelExtension, IsRecognisedInAnyLetterCase)
{
    for (const char *name : {"a.zanmodel", "A.ZANMODEL", ".zanmodel", "a.b.ZanModel"})
        EXPECT_EQ(has_zanmodel_extension_ci(name), 1) << name;
    for (const char *name : {"", "zanmodel", "a.zanmode", "a.zanmodels", "a.zanmodel.txt", "a."})
        EXPECT_EQ(has_zanmodel_extension_ci(name), 0) << name;
}

TEST(ZanmodelExtension, IsAppendedUnlessPresent)
{
    char path[16] = "test";
    EXPECT_EQ(ensure_zanmodel_extension(path, sizeof path), 1);
    EXPECT_STREQ(path, "test.zanmodel");
    EXPECT_EQ(ensure_zanmodel_extension(path, sizeof path), 1);
    EXPECT_STREQ(path, "test.zanmodel");
}

TEST(ZanmodelExtension, NeedsTenMoreCharactersOfRoom)
{
    char fits[16] = "sixsix", too_long[16] = "sevenly";
    EXPECT_EQ(ensure_zanmodel_extension(fits, sizeof fits), 1);
    EXPECT_STREQ(fits, "sixsix.zanmodel");
    EXPECT_EQ(ensure_zanmodel_extension(too_long, sizeof too_long), 0);
    EXPECT_STREQ(too_long, "sevenly");
}

static const char split_text[] = "spin_system_file: a\nsequence_file: b\n";

TEST(CollectModelFiles, ListsSplitModelsSortedByName)
{
    const Tree tree;
    const std::string dir = tree_path(tree, "models");
    for (const char *name : {"/b.zanmodel", "/A.ZANMODEL", "/c.zanmodel", "/split.txt"})
        write_file(dir + name, split_text);
    write_file(dir + "/old.zanmodel", "spin_system_file: a\nnspins: 1\n");
    std::filesystem::create_directory(dir + "/dir.zanmodel");
    static char names[256][260];
    ASSERT_EQ(collect_model_files(dir.c_str(), names, 256), 3);
    EXPECT_STREQ(names[0], "A.ZANMODEL");
    EXPECT_STREQ(names[1], "b.zanmodel");
    EXPECT_STREQ(names[2], "c.zanmodel");
    EXPECT_EQ(collect_model_files(dir.c_str(), names, 2), 2);
    EXPECT_EQ(collect_model_files((dir + "/none").c_str(), names, 256), 0);
}

// ---------------------------------------------------------------------------------- prompts

TEST(PathHasSeparator, CountsBothSlashesAndTheColon)
{
    for (const char *path : {"a/b", "a\\b", "d:test", "/"})
        EXPECT_EQ(path_has_separator(path), 1) << path;
    for (const char *path : {"", "test", "a.b-c"})
        EXPECT_EQ(path_has_separator(path), 0) << path;
}

TEST(ResolveModelPath, PutsABareNameIntoTheModelsDirectory)
{
    char out[4096], small[8];
    EXPECT_EQ(resolve_model_path(out, sizeof out, "test"), 1);
    const std::filesystem::path root = std::filesystem::path(ZAN_BINARY_DIR).parent_path();
    EXPECT_EQ(std::filesystem::path(out), root / "models/test");
    EXPECT_EQ(resolve_model_path(out, sizeof out, "d:test"), 1);
    EXPECT_STREQ(out, "d:test");
    EXPECT_EQ(resolve_model_path(out, sizeof out, ""), 0);
    EXPECT_EQ(resolve_model_path(small, sizeof small, "./seven"), 1);
    EXPECT_EQ(resolve_model_path(small, sizeof small, "./eight!"), 0);
    EXPECT_EQ(resolve_model_path(small, sizeof small, "test"), 0);
}

TEST(PromptModelPath, TakesOneLineCutToTheBuffer)
{
    feed_stdin("  a name \r\n\nlonger\n");
    char path[12], small[4];
    testing::internal::CaptureStdout();
    EXPECT_EQ(prompt_model_path("Which? ", path, sizeof path), 1);
    EXPECT_STREQ(path, "  a name ");
    EXPECT_EQ(prompt_model_path("Which? ", path, sizeof path), 0);
    EXPECT_EQ(prompt_model_path("Which? ", small, sizeof small), 1);
    EXPECT_STREQ(small, "lon");
    EXPECT_EQ(prompt_model_path("Which? ", path, sizeof path), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nWhich? \nWhich? \nWhich? \nWhich? ");
}

TEST(PromptExportModelPath, RefusesWhatDoesNotFit)
{
    struct Case {
        const char *answer;
        size_t size;
    };
    for (const Case &c : {Case{"name", 9}, Case{"./name", 12}}) { // the path, the extension
        feed_stdin(std::string(c.answer) + "\n");
        char path[16];
        testing::internal::CaptureStdout();
        EXPECT_EQ(prompt_export_model_path(path, c.size), 0);
        const std::string out = testing::internal::GetCapturedStdout();
        const std::string ending = "Enter .zanmodel file to export to: "
                                   "\n[ZAN] Export failed: output path is too long.\n"
                                   "\nPress Enter to return to the menu...";
        EXPECT_TRUE(out.ends_with(ending)) << out;
    }
}

TEST(PromptExportModelPath, RefusesAnAnswerOf512CharactersInsteadOfCuttingIt)
{
    std::string answer = "./";
    while (answer.size() < 510)
        answer += "./";
    for (const char *end : {"m", "mn"}) {
        feed_stdin(answer + end + "\n");
        char path[1024];
        testing::internal::CaptureStdout();
        EXPECT_EQ(prompt_export_model_path(path, sizeof path), std::strlen(end) == 1 ? 1 : 0);
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(out.find("output path is too long") != std::string::npos, std::strlen(end) == 2);
    }
}

// ---------------------------------------------------------------------------------- summary

TEST(PrintModelSummary, PrintsSystemSequenceAndGrid)
{
    const auto spin = std::make_unique<ZANSpinSystemDef>();
    const auto seq = std::make_unique<ZANPulseSequenceDef>();
    const auto cfg = std::make_unique<ZANRunConfig>();
    spin->nspins = 2;
    spin->spin_quantum_numbers[1] = 1;
    spin->spin_quantum_numbers[2] = 3;
    spin->relative_intensities[1] = 1;
    spin->relative_intensities[2] = 0.1;
    spin->resonance_offsets_hz[1] = -325.6265;
    spin->resonance_offsets_hz[2] = 1e-20;
    spin->coupling_mode = 2;
    seq->sequence_type = 1;
    seq->sector_count = 2;
    seq->sectors[1] = {1, 100, 1, 0.0125, -3.5, "/w/p%d.bin", "90x  pulse"};
    seq->sectors[2] = {2, 16, 3, 1.0 / 3.0, 0, "adc.bin", ""};
    *cfg = {2, 3, 4, -1, 0, 0.5, 0.25, 0, 1, 3, 4.65, "/r/result.bin", "name"};
    testing::internal::CaptureStdout();
    print_model_summary("/m/a%s.zanmodel", spin.get(), seq.get(), cfg.get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n[ZAN] Loaded model: /m/a%s.zanmodel\n"
              "[ZAN] Spin system:\n"
              "  nspins = 2\n"
              "  spin quantum numbers: 1 3\n"
              "  relative intensities: 1 0.1\n"
              "  resonance offsets [Hz]: -325.6265 1e-20\n"
              "  coupling mode = 2\n"
              "[ZAN] Sequence:\n"
              "  sequence type = 1\n"
              "  number of sectors = 2\n"
              "    sector 1: type=1 timepoints=100 evolpoints=1 duration=0.0125 "
              "pulsefile=/w/p%d.bin statoff=-3.5 remark=90x  pulse\n"
              "    sector 2: type=2 timepoints=16 evolpoints=3 duration=0.333333333333333 "
              "pulsefile=adc.bin statoff=0 remark=\n"
              "[ZAN] Grid/run config:\n"
              "  ndx=2 ndy=3 ndz=4\n"
              "  origin [cm] = (-1, 0, 0.5)\n"
              "  delta  [cm] = (0.25, 0, 1)\n"
              "  result file = /r/result.bin\n");
}

// ----------------------------------------------------------------------------------- choice

TEST(ReadMenuChoice, TakesTheNumberThatALineBeginsWith)
{
    struct Case {
        const char *input;
        int choice;
    };
    for (const Case &c :
         {Case{"3 x\n", 3}, Case{" \t1\n", 1}, Case{"6abc\r\n", 6}, Case{"+2\n", 2}, Case{"", 6},
          Case{"7\n4\n", 4}, Case{"99999999999999999999\n5\n", 5}, Case{"4294967297\n5\n", 5}}) {
        feed_stdin(c.input);
        testing::internal::CaptureStdout();
        EXPECT_EQ(read_menu_choice(), c.choice) << c.input;
        testing::internal::GetCapturedStdout();
    }
}
