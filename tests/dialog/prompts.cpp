// Every prompt of the menus: bad answers, the end of input, and other ways to type the same.
#include "sessions.h"

// ------------------------------------------------------------------------- the whole session

// From the start through every dialog to the exit. A '|' stands between answers that one dialog
// reads as numbers: a line end or a blank. A '~' stands for the line of a pause, which may lack.
static const std::string whole_session =
    "x\n3\n9\n1\n~1\n"                                     // import, then the prepare menu
    "1\nx\n2|1|1|1|0.5|100|-50|2|10\n~"                    // spins
    "2\n1|0|0|0|2|1|1|1|1|1\n~2\n0|2|1|1|0|0|0|0.1|0|0\n~" // grids
    "4\n~8\n~5\ncopy\n~~5\ncopy\n0\n~~6\n"                 // summary, saving
    "2\n2\n~"                                              // a run
    "3\n1\n1\nIxSz\n1\ntable.txt\n~~"                      // a table of a listed operator
    "3\n0\n1\n2|1|1|3|2|2|2|3|1|3|4|5\n2\ntable.bin\n~~"   // and of one made by hand
    "3\n2\n~6\ncopy\n1\n~~9\n~7\n4\ncopy\nyes\n~6\n";

static std::string typed(const char *between_numbers, const char *at_a_pause)
{
    return replaced(replaced(whole_session, "|", between_numbers), "~", at_a_pause);
}

static std::string whole_transcript(const std::string &answers)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    return menu_session(tree, answers);
}

TEST(Prompts, TypedAheadOrLineByLineIsTheSame)
{
    for (const char *between : {"\n", " ", "\t ", "\n\n \n", " \r\n"})
        EXPECT_TRUE(matches_expected("whole_session", whole_transcript(typed(between, "\n"))))
            << between;
}

TEST(Prompts, PauseLinesAndCarriageReturnsDoNotMatter)
{
    EXPECT_TRUE(matches_expected("whole_session", whole_transcript(typed("\n", ""))));
    EXPECT_TRUE(matches_expected("whole_session", whole_transcript(with_crlf(typed("\n", "\n")))));
    EXPECT_TRUE(matches_expected("whole_session", whole_transcript(with_crlf(typed(" ", "")))));
}

// run_zan kills what has not ended by itself; a runaway would also print without end.
static void expect_clean_exit(const std::string &answers)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const ProgramResult result = run_zan(tree, {}, answers);
    EXPECT_EQ(result.exit_code, 0) << answers;
    EXPECT_TRUE(result.out.ends_with("\n[ZAN] Exiting.\n")) << answers;
    EXPECT_LT(result.out.size() + result.err.size(), 100'000u) << answers;
}

TEST(Prompts, WhereverInputEndsTheProgramExits)
{
    const std::string answers = typed("\n", "\n");
    for (size_t end = answers.find('\n'); end != std::string::npos;
         end = answers.find('\n', end + 1)) {
        expect_clean_exit(answers.substr(0, end));
        expect_clean_exit(answers.substr(0, end + 1));
    }
}

// ------------------------------------------------------------------------------ bad answers

struct BadAnswers {
    const char *lead;    // typed before
    const char *prompt;  // the question
    const char *answers; // one per line, each tried for itself
    const char *follows; // what is printed next
};

static const char main_menu[] = "\n========================================\n ZAN Main Menu\n";

static const BadAnswers shell_prompts[] = {
    {"", "Select [1-6]: ", "x\n0\n7\n-1\n\n99999999999999999999\n+\n.5\n",
     "Invalid choice. Please enter 1, 2, 3, 4, 5 or 6.\n\n====="},
    {"3\n", "\nSelect model file [1-1] (Enter cancels): ", "x\n0\n2\n-1\n99999999999999999999\n \n",
     "[ZAN] Invalid selection.\n\nSelect model file [1-1] (Enter cancels): "},
    {"3\n", "\nSelect model file [1-1] (Enter cancels): ", "\n\r\n", main_menu},
    {"4\n", "\nEnter .zanmodel file to export to: ", "\n\r\n", main_menu},
    {"4\none\n", "Overwrite? [1=yes, 0=no]: ", "x\n0\n2\n-1\n\n99999999999999999999\n",
     "\n[ZAN] Export cancelled.\n"},
};

static const char spins_again[] = "\nNumber of Spins (1..8) = ";

static const BadAnswers spin_prompts[] = {
    {"1\n", "Your choice [1..6] : ", "x\n-\n", main_menu},
    {"1\n", "Your choice [1..6] : ", "0\n7\n-1\n99999999999999999999\n", "\nUnknown choice.\n"},
    {"1\n1\n", "\nNumber of Spins (1..8) = ", "x\n0\n9\n-1\n99999999999999999999\n", spins_again},
    {"1\n1\n1\n", "spin(1) = x/2  with x = ", "x\n-\n", spins_again},
    {"1\n1\n1\n", "spin(1) = x/2  with x = ", "-1\n", "\nNumber of states n = 0\n"},
    {"1\n1\n1\n", "spin(1) = x/2  with x = ", "256\n",
     "\nToo many states (n=257 > 256). Redefine spins.\n\nNumber of Spins (1..8) = "},
    {"1\n1\n1\n", "spin(1) = x/2  with x = ", "2147483647\n99999999999999999999\n",
     "\nToo many states (n=2147483647 > 256). Redefine spins.\n\nNumber of Spins (1..8) = "},
    {"1\n1\n2 1 1\n", "\nRelative Intensity of Spin (1) : ", "x\n-1\n1e999\n-1e999\n",
     "\nRelative Intensity of Spin (2) : "},
    {"1\n1\n2 1 1\n1 1\n", "\nOffset-frequency [Hz] of Spin(1) : ", "x\n-1\n1e999\n-1e999\n",
     "\nOffset-frequency [Hz] of Spin(2) : "},
    {"1\n1\n2 1 1\n1 1\n0 0\n", "2. Exact calculation\nYour choice [1,2] : ",
     "x\n0\n3\n-1\n99999999999999999999\n", "\nGive all scalar coupling constants J(i,j) [Hz]\n"},
    {"1\n1\n2 1 1\n1 1\n0 0\n2\n", "J(1,2) = ", "x\n0\n", "Press Enter to continue..."},
    {"1\n1\n2 1 1\n1 1\n0 0\n2\n", "J(1,2) = ", "-1\n1e999\n",
     "Calculating coupling term for (1,2)\nPress Enter to continue..."},
};

#define ONE_SPIN_GRID "1\n1\n1 1 1 0\n2\n"

static const BadAnswers grid_prompts[] = {
    {ONE_SPIN_GRID, "[1=yes, 0=no] : ", "x\n0\n2\n-1\n99999999999999999999\n",
     "Manual grid definition (minimum coordinate + spacing)\n  ndx : "},
    {ONE_SPIN_GRID "1\n", "  x-center [cm] : ", "x\n-1\n1e999\n", "  y-center [cm] : "},
    {ONE_SPIN_GRID "1 0 0 0\n", "  ndx : ", "x\n0\n-1\n99999999999999999999\n", "  ndy : "},
    {ONE_SPIN_GRID "1 0 0 0 1 1 1\n", "  widthx [cm] : ", "x\n-1\n1e999\n", "  widthy [cm] : "},
    {ONE_SPIN_GRID "0\n", "  ndx : ", "x\n0\n-1\n99999999999999999999\n", "  ndy : "},
    {ONE_SPIN_GRID "0 1 1 1\n", "  x0 [cm] : ", "x\n-1\n1e999\n", "  y0 [cm] : "},
    {ONE_SPIN_GRID "0 1 1 1 0 0 0\n", "  dx [cm] : ", "x\n-1\n1e999\n", "  dy [cm] : "},
};

#define RUN_ONE "3\n1\n2\n2\n" // import, run; then in the run menu

static const char action_menu[] = "***                  (MANUAL MODE)                 ***\n";

static const BadAnswers run_prompts[] = {
    {"2\n", "Your choice [1..7] : ", "x\n-\n", main_menu},
    {"2\n", "Your choice [1..7] : ", "0\n8\n-1\n99999999999999999999\n", "\nUnknown choice.\n"},
    {"2\n3\n", "main menu\n\nYour choice [1,2] : ", "x\n0\n3\n-1\n99999999999999999999\n",
     "Your choice [1,2] : "},
    {RUN_ONE "3\n1\n",
     "2. Create manually\n\nYour choice [1,2] : ", "x\n0\n3\n-1\n99999999999999999999\n",
     "*******************************************************\n"
     "***   EXPECTATION VALUES OF AN ARBITRARY OPERATOR   ***\n"
     "***                  (MANUAL MODE)                 ***\n"},
    {RUN_ONE "3\n1\n1\n", "or number [0..3]: ", "x\n-1\n\nIx+Iz\n+1\n",
     "Could not parse operator string. Examples: Ix  Iy  Iz  IxSz  IxSzTz\n"
     "Falling back to E (identity).\nCreate:\n"},
    {RUN_ONE "3\n1\n1\n", "or number [0..3]: ", "4\n99999999999999999999\n3x\n",
     "Selected: IZ (opno=3)\n"},
    {RUN_ONE "3\n1\n2\n1\n", "Spin number [1..1]: ", "x\n0\n2\n-1\n99999999999999999999\n",
     "Operator type:\n"},
    {RUN_ONE "3\n1\n2\n1\n1\n", "Your choice [1..5]: ", "x\n0\n6\n-1\n99999999999999999999\n",
     "Multiply by factor (real): "},
    {RUN_ONE "3\n1\n2\n1\n1\n3\n", "Multiply by factor (real): ", "x\n-1\n1e999\n",
     "*******************************************************\n***   EXP"},
    {RUN_ONE "3\n1\n2\n5\n", "dw step)\nYour choice [1,2] : ",
     "x\n0\n3\n-1\n99999999999999999999\n", "Press <Enter> to continue"},
    {RUN_ONE "3\n1\n2\n5\n1\n", "Output text file name : ", "\n  \n", "Press <Enter> to continue"},
    {RUN_ONE "3\n1\n2\n5\n2\n", "Output binary file name : ", "\n  \n",
     "Press <Enter> to continue"},
};

static std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
        lines.push_back(text.substr(at, text.find('\n', at) + 1 - at));
    return lines;
}

static void expect_bad_answers(const BadAnswers &c)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    for (const std::string &answer : lines_of(c.answers)) {
        const ProgramResult result = run_zan(tree, {}, c.lead + answer);
        EXPECT_NE(result.out.find(std::string(c.prompt) + c.follows), std::string::npos)
            << "typed:\n"
            << c.lead << answer << "printed:\n"
            << result.out;
        EXPECT_EQ(result.exit_code, 0) << answer;
        EXPECT_TRUE(result.out.ends_with("\n[ZAN] Exiting.\n")) << answer;
    }
}

TEST(BadAnswers, AtThePromptsOfTheShell)
{
    for (const BadAnswers &c : shell_prompts)
        expect_bad_answers(c);
}

TEST(BadAnswers, AtThePromptsOfTheSpinSystem)
{
    for (const BadAnswers &c : spin_prompts)
        expect_bad_answers(c);
}

TEST(BadAnswers, AtThePromptsOfTheGrid)
{
    for (const BadAnswers &c : grid_prompts)
        expect_bad_answers(c);
}

TEST(BadAnswers, AtThePromptsOfTheRunMenu)
{
    for (const BadAnswers &c : run_prompts)
        expect_bad_answers(c);
}

// What is no number loses one character per round of the menu.
TEST(BadAnswers, AtTheManualOperatorMenuRedisplayIt)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 1);
    const std::string begin = RUN_ONE "3\n1\n2\n";
    for (const char *answer : {"0\n", "6\n", "-1\n", "99999999999999999999\n", "x\n"}) {
        const std::string out = run_zan(tree, {}, begin + answer + "5\n").out;
        EXPECT_NE(out.find(std::string("Your choice [1..5]: ") +
                           "*******************************************************\n"),
                  std::string::npos);
        const size_t first = out.find(action_menu), second = out.find(action_menu, first + 1);
        ASSERT_NE(second, std::string::npos) << answer;
        EXPECT_EQ(out.find(action_menu, second + 1), std::string::npos) << answer;
    }
    const std::string out = run_zan(tree, {}, begin + "abc 5\n").out;
    size_t menus = 0;
    for (size_t at = out.find(action_menu); at != std::string::npos;
         at = out.find(action_menu, at + 1))
        menus++;
    EXPECT_EQ(menus, 4u); // the first, and one for each letter
}
