// The sequence composer: sessions from an empty program to a model that is saved, imported again
// and run; every content of a sector; what refuses and what fails.
#include "run_program.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

// Number lines of the composer are refused as a whole; library lines belong to the pulse,
// gradient and file dialogs, which read several numbers from one line.
enum Kind { text, whole, real, library };

struct Answer {
    Kind kind;
    std::string typed;
};
typedef std::vector<Answer> Answers;

// Answers separated by "|", each with a sign before it: # whole, ~ real, > library, none text.
static Answers script(const std::string &line)
{
    Answers list;
    for (size_t begin = 0; begin <= line.size();) {
        const size_t end = std::min(line.find('|', begin), line.size());
        const std::string answer = line.substr(begin, end - begin);
        const size_t sign = answer.empty() ? std::string::npos : std::string("#~>").find(answer[0]);
        if (sign == std::string::npos)
            list.push_back({text, answer});
        else
            list.push_back({static_cast<Kind>(whole + sign), answer.substr(1)});
        begin = end + 1;
    }
    return list;
}

static std::string typed(const Answers &session)
{
    std::string lines;
    for (const Answer &answer : session)
        lines += answer.typed + "\n";
    return lines;
}

static Answers operator+(Answers first, const Answers &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The run menu's composer in an empty program, family 1 or 2, a new sequence; and back out.
static Answers compose(int family, const Answers &answers)
{
    const Answers open = {{text, "2"}, {text, "1"}, {whole, family == 1 ? "1" : "2"}, {whole, "2"}};
    const Answers leave = {{whole, family == 1 ? "6" : "5"}, {text, "7"}, {text, "6"}};
    return open + answers + leave;
}

static ProgramResult compose_session(const Tree &tree, int family, const Answers &answers)
{
    return run_zan(tree, {}, typed(compose(family, answers)));
}

static const Answers one_spin = script("#2|#1|#1|~1|~0");

// The sector dialogs of a session, without the editor's screens between them.
static std::string sector_dialogs(const Tree &tree, const ProgramResult &result)
{
    std::string dialogs;
    const std::string begin = "Sector number to define / edit = ";
    size_t at = result.out.find(begin);
    while (at != std::string::npos) {
        const size_t screen = result.out.find("Current model file : ", at);
        const size_t banner = result.out.find("             ****", at);
        dialogs += result.out.substr(at, std::min(screen, banner) - at) + "\n----------\n";
        at = result.out.find(begin, screen);
    }
    return normalized(tree, result, dialogs + "--- errors\n" + result.err);
}

static std::vector<double> read_doubles(const std::string &path, size_t header = 0)
{
    const std::string bytes = read_file(path);
    std::vector<double> values(bytes.size() < header ? 0 : (bytes.size() - header) / 8);
    std::memcpy(values.data(), bytes.data() + header, values.size() * 8);
    return values;
}

static bool mentions(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// ------------------------------------------------------------------ whole sessions

// Five points along x; a hard 90 degree pulse about x; 10 ms at 25 Hz with 40 Hz/cm along x.
static const Answers gradient_model =
    script("#2|#1|#1|~1|~0|#3|#5|~-1|~0.5|#1|~0|~0|#1|~0|~0|#4|my result.bin|#1|"
           "#1|#1|>1|~0|>1 0|>1 0|>1 0|Slice Test||90x|#1|#2|#5|~10|~25|>1 40|"
           ">1 0|>1 0|out/p2.bin|dephase|#5|slice|");

TEST(Composer, LeadsFromAnEmptyProgramToASavedSpatialModel)
{
    const Tree tree;
    const ProgramResult result = compose_session(tree, 1, gradient_model);
    EXPECT_TRUE(matches_expected("composer_spatial", transcript(tree, result)));
    const double b1 = 50000.0 * 3.141592653589793; // a quarter turn in 10 us
    EXPECT_EQ(read_doubles(tree_path(tree, "rf-output/slice_test_s01.bin")),
              (std::vector<double>{b1, 0, 0, 0, 0}));
    EXPECT_EQ(read_doubles(tree_path(tree, "rf-output/out_p2.bin")),
              (std::vector<double>{0, 0, 80.0 * 3.141592653589793, 0, 0}));
    EXPECT_TRUE(matches_expected(
        "composer_spatial_zanseq",
        normalized(tree, result, read_file(tree_path(tree, "sequences/slice/slice.zanseq")))));
}

// After the pulse the state is Iy of unit norm, which turns towards Ix.
static void expect_dephased_states(const std::string &path)
{
    const std::vector<double> rho = read_doubles(path, 12);
    ASSERT_EQ(rho.size(), 5u * 8u);
    for (size_t v = 0; v < 5; v++) {
        const double x = -1.0 + 0.5 * static_cast<double>(v);
        const double angle = 2.0 * 3.141592653589793 * (25.0 + 40.0 * x) * 0.010;
        EXPECT_NEAR(rho[8 * v + 2], std::sin(angle) / std::sqrt(2.0), 1e-12) << v;
        EXPECT_NEAR(rho[8 * v + 3], -std::cos(angle) / std::sqrt(2.0), 1e-12) << v;
        EXPECT_NEAR(rho[8 * v], 0.0, 1e-12) << v;
    }
}

TEST(Composer, ItsSpatialModelRunsAfterImportAndFromTheCommandLine)
{
    const Tree tree;
    compose_session(tree, 1, gradient_model);
    const ProgramResult menu = run_zan(tree, {}, "3\n1\n\n2\n2\n\n7\n6\n");
    EXPECT_TRUE(mentions(menu.out, "  run status       : ready\n")) << menu.out;
    expect_dephased_states(tree_path(tree, "build/runtime/results/my_result.bin"));
    std::filesystem::remove(tree_path(tree, "build/runtime/results/my_result.bin"));
    const std::string model = tree_path(tree, "models/slice.zanmodel");
    EXPECT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    expect_dephased_states(tree_path(tree, "build/runtime/results/my_result.bin"));
}

// 90x, four evolution steps of 10 ms at 10 Hz, 90x, acquisition of 16 samples in 16 ms.
static const Answers correlation_model =
    one_spin + script("#3|cosy.bin|#1|#1|#1|#1|>1|cosy||~0|90x|#1|#2|#2|~10|#4||~10|t1|#1|#3|"
                      "#1|#1|>1||~0|90x|#1|#4|#1|#2|#16|~16|>1 0 0||~0|ADC|#4|cosy|");

TEST(Composer, LeadsFromAnEmptyProgramToASaved2DModel)
{
    const Tree tree;
    const ProgramResult result = compose_session(tree, 2, correlation_model);
    EXPECT_TRUE(matches_expected("composer_2d", transcript(tree, result)));
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/cosy_2d_s02.bin")), std::string(16, '\0'));
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/cosy_2d_s04.bin")), std::string(256, '\0'));
}

TEST(Composer, Its2DModelRunsAfterImport)
{
    const Tree tree;
    compose_session(tree, 2, correlation_model);
    const ProgramResult menu = run_zan(tree, {}, "3\n1\n\n2\n2\n\n7\n6\n");
    const std::string path = tree_path(tree, "build/runtime/results/cosy.bin");
    int header[3];
    ASSERT_EQ(read_file(path).size(), 12u + 4u * 16u * 16u) << menu.out;
    std::memcpy(header, read_file(path).data(), 12);
    EXPECT_EQ(header[0], 1);
    EXPECT_EQ(header[1], 16);
    EXPECT_EQ(header[2], 4);
    const std::vector<double> signal = read_doubles(path, 12);
    for (size_t row = 0; row < 4; row++) { // what the second pulse leaves: the part along x
        const double angle = 2.0 * 3.141592653589793 * 10.0 * 0.010 * static_cast<double>(row);
        EXPECT_NEAR(std::hypot(signal[32 * row], signal[32 * row + 1]), std::fabs(std::sin(angle)),
                    1e-12)
            << row;
    }
}

// ------------------------------------------------------------------ every content

static const Answers no_gradients = script(">1 0|>1 0|>1 0");

static Answers spatial_sector(const char *number, const Answers &content, const char *note)
{
    return Answers{{whole, "1"}, {whole, number}} + content + script("~0") + no_gradients +
           Answers{{text, ""}, {text, note}};
}

static Answers flat_sector(const char *number, const Answers &content, const char *note)
{
    return Answers{{whole, "1"}, {whole, number}, {whole, "1"}} + content +
           Answers{{text, ""}, {real, "1.5"}, {text, note}};
}

static const Answers rectangle = script("#2|#4|~2|>1|>90 100");
static const Answers sech = script("#3|#2|~2|>2|>0 100 500 2");
static const Answers from_disk = script("#4|#2|~1|>1 bx.txt|>1 by.txt|~2");
static const Answers waiting = script("#5|~0.5");

static void write_text_pulse(const Tree &tree)
{
    write_file(tree_path(tree, "build/runtime/bx.txt"), "1\n2\n");
    write_file(tree_path(tree, "rf-input/by.txt"), "-1\n-2\n");
}

TEST(Composer, ASpatialSectorHoldsAnyOfTheFiveContents)
{
    const Tree tree;
    write_text_pulse(tree);
    const Answers hard = script("#1|#1|#1|>6|~0|>1 0|>1 0|>1 0|Contents||180y");
    const ProgramResult result = compose_session(
        tree, 1,
        hard + spatial_sector("2", rectangle, "rectangle") + spatial_sector("3", sech, "sech") +
            spatial_sector("4", from_disk, "disk") + spatial_sector("5", waiting, "") +
            script("#1|#6|#6|#3|~9"));
    EXPECT_TRUE(matches_expected("composer_spatial_contents", sector_dialogs(tree, result)));
    const std::string rf = tree_path(tree, "rf-output/contents_s0");
    EXPECT_EQ(read_doubles(rf + "1.bin").size(), 5u);
    EXPECT_EQ(read_doubles(rf + "2.bin").size(), 20u);
    EXPECT_EQ(read_doubles(rf + "3.bin").size(), 10u);
    EXPECT_EQ(read_doubles(rf + "4.bin"), (std::vector<double>{2, 4, -2, -4, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(read_doubles(rf + "5.bin"), (std::vector<double>{0, 0, 0, 0, 0}));
    EXPECT_FALSE(std::filesystem::exists(rf + "6.bin"));
    EXPECT_NEAR(read_doubles(rf + "2.bin")[4], 200.0 * 3.141592653589793, 1e-9); // along y
    const size_t last = result.out.rfind("Defined sector summaries:\n");
    EXPECT_TRUE(mentions(result.out.substr(last), "6) Sector 6\n   Time intervals   : 3\n"
                                                  "   Duration         : 9.000E+00 [ms]\n"
                                                  "   RF/gradient file : <unset>\n"));
}

TEST(Composer, A2DSectorHoldsAnyOfTheFiveContents)
{
    const Tree tree;
    write_text_pulse(tree);
    const Answers hard = script("#1|#1|#1|#1|>6|Contents||~0|180y");
    const ProgramResult result =
        compose_session(tree, 2,
                        hard + flat_sector("2", rectangle, "rectangle") +
                            flat_sector("3", sech, "sech") + flat_sector("4", from_disk, "disk") +
                            flat_sector("5", waiting, "") + script("#1|#6|#1|#0|#3|~9"));
    EXPECT_TRUE(matches_expected("composer_2d_contents", sector_dialogs(tree, result)));
    const std::string rf = tree_path(tree, "rf-output/contents_2d_s0");
    EXPECT_EQ(read_doubles(rf + "1.bin").size(), 2u);
    EXPECT_EQ(read_doubles(rf + "2.bin").size(), 8u);
    EXPECT_EQ(read_doubles(rf + "3.bin").size(), 4u);
    EXPECT_EQ(read_doubles(rf + "4.bin"), (std::vector<double>{2, 4, -2, -4}));
    EXPECT_EQ(read_doubles(rf + "5.bin"), (std::vector<double>{0, 0}));
    EXPECT_FALSE(std::filesystem::exists(rf + "6.bin"));
}

TEST(Composer, AHardPulseThatTheMenuDoesNotHaveKeepsTheSampleBefore)
{
    const Tree tree;
    compose_session(tree, 2,
                    script("#1|#1|#1|#1|>1|m||~0|") + flat_sector("2", script("#1|>9"), ""));
    const std::string first = read_file(tree_path(tree, "rf-output/m_2d_s01.bin"));
    EXPECT_EQ(first.size(), 16u);
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/m_2d_s02.bin")), first);
}

// ------------------------------------------------------------------ counts and durations

static Answers rectangle_of(const char *count, const char *milliseconds)
{
    return {{whole, "2"}, {whole, count}, {real, milliseconds}, {library, "1 0 100"}};
}

TEST(Composer, ASpatialSectorOfTenThousandIntervalsWrites8192Samples)
{
    const Tree tree;
    write_file(tree_path(tree, "rf-output/x"), "");
    const ProgramResult result =
        compose_session(tree, 1,
                        script("#1|#1") + rectangle_of("10000", "100") + script("~0") +
                            no_gradients + script("m||long"));
    EXPECT_EQ(result.err, "WARNING: ap=10000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n");
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/m_s01.bin")).size(), 40u * 8192u);
    EXPECT_TRUE(mentions(result.out, "   Time intervals   : 10000\n"));
}

TEST(Composer, A2DSectorOfTenThousandIntervalsWrites8192Samples)
{
    const Tree tree;
    const ProgramResult result = compose_session(
        tree, 2, script("#1|#1|#1") + script("#4|#10000|~100|>3|>3|~1") + script("m||~0|long"));
    EXPECT_EQ(result.err, "WARNING: ap=10000 exceeds ZAN_MAX_RF_POINTS=8192; clamping.\n");
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/m_2d_s01.bin")).size(), 16u * 8192u);
    EXPECT_TRUE(mentions(result.out, "  time intervals        : 10000\n"));
}

TEST(Composer, CountsBelowOneStayAsTypedAndWriteAnEmptyFile)
{
    for (const char *count : {"0", "-4"}) {
        const Tree tree;
        const ProgramResult result =
            compose_session(tree, 1,
                            script("#1|#1") + rectangle_of(count, "1") + script("~0") +
                                no_gradients + script("m||none"));
        EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "rf-output/m_s01.bin")));
        EXPECT_EQ(read_file(tree_path(tree, "rf-output/m_s01.bin")), "");
        EXPECT_TRUE(mentions(result.out, "   Time intervals   : " + std::string(count) + "\n"));
        EXPECT_EQ(result.err, "");
    }
}

TEST(Composer, ADurationOfNothingHasNoSpiralGradient)
{
    const Tree tree;
    compose_session(tree, 1,
                    script("#1|#1") + rectangle_of("2", "0") + script("~0|>1 7|>2 1 1|>1 0|m||"));
    const std::vector<double> samples = read_doubles(tree_path(tree, "rf-output/m_s01.bin"));
    ASSERT_EQ(samples.size(), 10u);
    EXPECT_EQ(samples[6], 0.0); // the step is 0, so the spiral was refused
    EXPECT_EQ(samples[7], 0.0);
}

// ------------------------------------------------------------------ refusals

TEST(Composer, SectorFiveFirstLeavesFourMissing)
{
    const Tree tree;
    const ProgramResult result = compose_session(
        tree, 1, script("#1|#5") + waiting + script("~0") + no_gradients + script("m||"));
    EXPECT_TRUE(mentions(result.out, "  sequence sectors      : 5\n"));
    EXPECT_TRUE(mentions(result.out, "Defined sectors : 5\nMissing sectors : 1, 2, 3, 4\n"
                                     "Next suggested sector number : 1\n"));
    EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "rf-output/m_s05.bin")));
}

TEST(Composer, SectorNumbersOutside1To20AreRefused)
{
    for (int family : {1, 2})
        for (const char *number : {"0", "21", "-1", "99999999999"}) {
            const Tree tree;
            const ProgramResult result =
                compose_session(tree, family, {{whole, "1"}, {whole, number}});
            EXPECT_TRUE(mentions(result.out, "Sector number to define / edit = "
                                             "Invalid sector number. Allowed range is 1..20.\n"));
            EXPECT_FALSE(mentions(result.out, "  sequence sectors      : 1\n")) << number;
        }
}

static const Answers evolution_64 = script("#1|#2|#2|~1|#64|m||~0|t1");

TEST(Composer, ASecondEvolutionDimensionIsRefused)
{
    const Tree tree;
    const Answers first = script("#1|#1|#1|#5|~1|m||~0|");
    Answers evolution = evolution_64;
    evolution.erase(evolution.begin() + 5); // the short name is known
    const ProgramResult result = compose_session(
        tree, 2, first + evolution + flat_sector("3", waiting, "") + script("#1|#4|#2|"));
    EXPECT_TRUE(mentions(result.out, "Your choice [1..2] : A 3D experiment is not allowed.\n"
                                     "Press <enter> to continue"));
    // Sector 3 carries the evolution on; the refused sector counts.
    EXPECT_TRUE(mentions(result.out, "Sector 3\n  sector type           : 1\n"
                                     "  time intervals        : 1\n"
                                     "  sector duration [ms]  : 5.000E-01\n"
                                     "  evolution steps       : 64\n"))
        << result.out;
    EXPECT_TRUE(mentions(result.out, "  sequence sectors      : 4\n"));
}

TEST(Composer, AnEvolutionAfterAnUndefinedSectorIsRefused)
{
    const Tree tree;
    const ProgramResult result = compose_session(tree, 2, script("#1|#3|#2|"));
    EXPECT_TRUE(mentions(result.out, "A 3D experiment is not allowed.\n"));
    EXPECT_TRUE(mentions(result.out, "  sequence sectors      : 3\n"));
}

TEST(Composer, SectorFamilyThreeIsAnEvolutionThatStaysThree)
{
    const Tree tree;
    const ProgramResult result = compose_session(tree, 2, script("#1|#1|#3|~1|#8|m||~0|"));
    EXPECT_TRUE(mentions(result.out, "Evolution sector settings\n"));
    EXPECT_TRUE(mentions(result.out, "  sector type           : 3\n"));
    EXPECT_TRUE(mentions(result.out, "  evolution steps       : 8\n"));
    EXPECT_TRUE(mentions(result.out, "  run status       : incomplete (spin system missing)\n"));
}

// ------------------------------------------------------------------ waveform files

static Answers waiting_sector_named(const std::string &name)
{
    return script("#1|#1") + waiting + script("~0") + no_gradients +
           Answers{{text, "m"}, {text, name}, {text, "noted"}};
}

TEST(Composer, DirectoriesThatAreMissingAreMade)
{
    const Tree tree;
    std::filesystem::remove(tree_path(tree, "models"));
    std::filesystem::remove(tree_path(tree, "rf-output"));
    compose_session(tree, 1, waiting_sector_named("my pulse.bin"));
    EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "models")));
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/my_pulse.bin")).size(), 40u);
}

TEST(Composer, WithoutItsDirectoryASectorHasNoFileAndNoNote)
{
    const Tree tree;
    std::filesystem::remove(tree_path(tree, "rf-output"));
    write_file(tree_path(tree, "rf-output"), "");
    Answers answers = waiting_sector_named("");
    answers.resize(answers.size() - 3);
    const ProgramResult result = compose_session(tree, 1, answers);
    EXPECT_TRUE(mentions(result.out, "Could not create default output directories.\n"
                                     "Sector waveform file was not written.\n"));
    EXPECT_TRUE(mentions(result.out, "   RF/gradient file : <unset>\n"));
    EXPECT_FALSE(mentions(result.out, "Sector note (optional): "));
    EXPECT_EQ(result.exit_code, 0);
}

TEST(Composer, AFileThatDoesNotOpenIsToldAndNotNoted)
{
    for (int family : {1, 2}) {
        const Tree tree;
        const std::string path = tree_path(tree, "rf-output/a.bin");
        std::filesystem::create_directory(path);
        const Answers spatial = waiting_sector_named("a.bin");
        const Answers flat = script("#1|#1|#1|#5|~1|m|a.bin|");
        Answers answers = family == 1 ? spatial : flat;
        answers.pop_back();
        const ProgramResult result = compose_session(tree, family, answers);
        EXPECT_EQ(result.err, directory_message(path));
        EXPECT_FALSE(mentions(result.out, "Sector waveform file written to"));
        EXPECT_FALSE(mentions(result.out, "Sector note (optional): "));
        EXPECT_TRUE(mentions(result.out, " : " + path + "\n")); // its name stays in the sector
    }
}

TEST(Composer, APathOf255CharactersIsStoredAndALongerOneRefused)
{
    const Tree tree;
    const size_t room = 255 - tree_path(tree, "rf-output/").size();
    const std::string fits(room, 'x'), longer(room + 1, 'x');
    Answers again = waiting_sector_named(longer);
    again.pop_back();             // no note
    again.erase(again.end() - 2); // the short name is known
    const ProgramResult result = compose_session(tree, 1, waiting_sector_named(fits) + again);
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/" + fits)).size(), 40u) << result.err;
    EXPECT_TRUE(mentions(result.out, "Resolved output path is too long for internal storage:\n"
                                     "  " +
                                         tree_path(tree, "rf-output/" + longer) + "\n"));
    EXPECT_FALSE(std::filesystem::exists(tree_path(tree, "rf-output/" + longer)));
    // The sector has lost its file, and kept its note.
    EXPECT_TRUE(mentions(result.out, "   RF/gradient file : <unset>\n"
                                     "   Offset frequency : 0.000E+00 [Hz]\n"
                                     "   Remark           : noted\n"));
}

TEST(Composer, ALongPathIsRefusedFor2DSectorsAsWell)
{
    const Tree tree(300);
    const ProgramResult result = compose_session(tree, 2, script("#1|#1|#1|#5|~1|m|"));
    EXPECT_TRUE(mentions(result.out, "Resolved output path is too long for internal storage:\n"));
    EXPECT_FALSE(mentions(result.out, "Sector-wide parameters"));
}

TEST(Composer, TakesThePrefixOfALoadedModel)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const ProgramResult result =
        run_zan(tree, {}, "3\n1\n\n2\n1\n1\n1\n1\n3\n5\n1\n0\n1 0\n1 0\n1 0\n\nwait\n6\n7\n6\n");
    EXPECT_TRUE(mentions(result.out, "Press Enter to use the default name: one_s03.bin\n"));
    EXPECT_FALSE(mentions(result.out, "Short model name"));
    EXPECT_TRUE(std::filesystem::exists(tree_path(tree, "rf-output/one_s03.bin")));
}

// ------------------------------------------------------------------ menus

TEST(ComposerMenus, RefuseUnknownChoicesAndAnotherFamilysSequence)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const ProgramResult result =
        run_zan(tree, {}, "3\n1\n\n2\n1\n0\nx\n1\n1\n9\n3\n2\n1\n7\n5\n7\n6\n");
    const size_t begin = result.out.find("****************************************************\n"
                                         "*** Prepare / Edit");
    const size_t end = result.out.rfind("\nPress Enter to continue...");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_TRUE(matches_expected(
        "composer_menus", normalized(tree, result, result.out.substr(begin - 1, end - begin))));
}

TEST(ComposerMenus, BackLeavesTheComposer)
{
    const Tree tree;
    const ProgramResult result = run_zan(tree, {}, "2\n1\n3\n7\n6\n");
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(mentions(result.out, "    3. Back\n\nYour choice [1..3] : \n"
                                     "Press Enter to continue..."));
}

TEST(ComposerMenus, ThePrepareMenuOpensItOnlyWithASpinSystem)
{
    const Tree tree;
    const ProgramResult without = run_zan(tree, {}, "1\n3\n\n6\n6\n");
    EXPECT_TRUE(mentions(without.out, "No spin system is currently prepared.\n"
                                      "Define or import a model first.\n"));
    EXPECT_FALSE(mentions(without.out, "Choose the sequence family first."));
    const ProgramResult with = run_zan(tree, {}, "1\n1\n1 1 1 0\n\n3\n2\n1\n5\n\n6\n6\n");
    EXPECT_TRUE(mentions(with.out, "Edit Current 1D / 2D NMR Model")) << with.out;
    EXPECT_TRUE(mentions(with.out, "Sequence sector summaries:\n--------------------------\n"
                                   "  <no sectors defined>\n"));
}

TEST(ComposerMenus, EditorsRefuseUnknownChoices)
{
    const Tree tree;
    for (int family : {1, 2}) {
        const ProgramResult result = compose_session(tree, family, script("#9|#0"));
        const size_t first = result.out.find("] : Unknown choice.\n");
        ASSERT_NE(first, std::string::npos);
        EXPECT_NE(result.out.find("] : Unknown choice.\n", first + 1), std::string::npos);
    }
}

// ------------------------------------------------------------------ bad answers, end of input

static const std::pair<int, Answers> sessions[] = {{1, compose(1, gradient_model)},
                                                   {2, compose(2, correlation_model)}};

static std::string saved_model(const Tree &tree, const ProgramResult &result, int family)
{
    const std::string name = family == 1 ? "slice" : "cosy";
    std::string all;
    for (const std::string &file :
         {"models/" + name + ".zanmodel", "spin-systems/" + name + ".zanspin",
          "sequences/" + name + "/" + name + ".zanseq"})
        all += read_file(tree_path(tree, file));
    return normalized(tree, result, all);
}

TEST(ComposerAnswers, ABadNumberIsToldAndAskedForAgain)
{
    for (const auto &[family, session] : sessions) {
        std::string expected;
        for (size_t i = 0; i <= session.size(); i++) { // the last time without a bad answer
            const bool spoilt = i < session.size();
            if (spoilt && session[i].kind != whole && session[i].kind != real)
                continue;
            Answers answers = session;
            if (spoilt)
                answers.insert(answers.begin() + static_cast<std::ptrdiff_t>(i),
                               {session[i].kind, i % 2 ? "12abc" : ""});
            const Tree tree;
            const ProgramResult result = run_zan(tree, {}, typed(answers));
            const std::string model = saved_model(tree, result, family);
            expected = expected.empty() ? model : expected;
            EXPECT_EQ(model, expected) << "before answer " << i << "\n" << result.out;
            EXPECT_FALSE(model.empty());
            const bool is_whole = spoilt && session[i].kind == whole;
            EXPECT_EQ(mentions(result.out, "Please enter a whole number.\n"), is_whole) << i;
            EXPECT_EQ(mentions(result.out, "Please enter a numeric value.\n"), spoilt && !is_whole)
                << i;
        }
    }
}

TEST(ComposerAnswers, TheEndOfInputAtAnyQuestionEndsTheProgram)
{
    for (const auto &[family, session] : sessions) {
        for (size_t answered = 0; answered < session.size(); answered++) {
            const Tree tree;
            const Answers answers(session.begin(),
                                  session.begin() + static_cast<std::ptrdiff_t>(answered));
            const ProgramResult result = run_zan(tree, {}, typed(answers));
            EXPECT_EQ(result.exit_code, 0) << family << " " << answered;
            EXPECT_EQ(result.err, "") << family << " " << answered;
            EXPECT_TRUE(result.out.ends_with("\n[ZAN] Exiting.\n")) << family << " " << answered;
        }
    }
}

TEST(ComposerAnswers, AtTheEndOfInputASectorGetsItsPlainName)
{
    const Tree tree;
    Answers spatial = compose(1, waiting_sector_named(""));
    spatial.resize(spatial.size() - 6); // up to the gradients
    run_zan(tree, {}, typed(spatial));
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/sector-01.bin")).size(), 40u);
    const Answers flat = script("2|1|#2|#2|#1|#12|#1|#5|~1");
    run_zan(tree, {}, typed(flat));
    EXPECT_EQ(read_file(tree_path(tree, "rf-output/sector2d-12.bin")).size(), 16u);
}

TEST(ComposerAnswers, LineEndsOfWindowsAreNoPartOfAnAnswer)
{
    std::string expected;
    for (const char *end : {"\n", "\r\n"}) {
        const Tree tree;
        std::string lines;
        for (const Answer &answer : sessions[0].second)
            lines += answer.typed + end;
        const ProgramResult result = run_zan(tree, {}, lines);
        const std::string model = saved_model(tree, result, 1);
        expected = expected.empty() ? model : expected;
        EXPECT_EQ(model, expected);
        EXPECT_TRUE(mentions(model, "dephase"));
    }
}
