// consuleutil - line and number reads and pauses, from a file and at a terminal.
#include "console.h"
#include "consoleutil.h"
#include "platformlib.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>

TEST(ConsoleReadLine, GivesLinesWithoutTheirEndAndThenFails)
{
    feed_stdin("one\n\n two \r\nlast");
    char line[16];
    for (const char *expected : {"one", "", " two ", "last"}) {
        ASSERT_TRUE(ConsoleReadLine(line, sizeof line)) << expected;
        EXPECT_STREQ(line, expected);
    }
    EXPECT_FALSE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "");
}

TEST(ConsoleReadLine, CutsALongLineAndDropsItsRest)
{
    feed_stdin("abcdefghij\nnext\n");
    char line[5];
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "abcd");
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "next");
}

TEST(ConsoleReadLine, ALineThatJustFitsIsWhole)
{
    feed_stdin("abcd\r\nefgh\n");
    char line[5];
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "abcd");
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "efgh");
}

TEST(ConsoleReadLine, ACarriageReturnInsideALineStays)
{
    feed_stdin("a\rb\n");
    char line[8];
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "a\rb");
}

TEST(ConsolePause, FromAPipeTakesAnEmptyLineOnly)
{
    struct Case {
        const char *input, *left;
    };
    for (const Case &c :
         {Case{"\nnext\n", "next\n"}, Case{"\r\nnext\n", "next\n"}, Case{"next\n", "next\n"},
          Case{" \n", " \n"}, Case{"\n\n", "\n"}, Case{"", ""}, Case{"\n", ""}}) {
        feed_stdin(c.input);
        ConsolePause();
        EXPECT_EQ(rest_of_stdin(), c.left) << "input \"" << c.input << '"';
    }
}

TEST(ConsolePause, AtATerminalTakesTheWholeLine)
{
    if (!feed_terminal("typed\nnext\n"))
        GTEST_SKIP() << "this machine gives no pseudo-terminals";
    ASSERT_TRUE(plat_console_is_input());
    ConsolePause();
    char line[16];
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "next");
}

TEST(PlatformConsole, AFileIsNoConsole)
{
    feed_stdin("");
    EXPECT_FALSE(plat_console_is_input());
}

TEST(ScreenMode, PrintsNothingIntoAFile)
{
    testing::internal::CaptureStdout();
    for (int mode = 0; mode <= 4; mode++)
        ScreenMode(mode);
    ConsoleClearHome();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// ------------------------------------------------------------------------ numbers and words

TEST(ConsoleReadInt, TakesNumbersFromOneLineOrSeveral)
{
    feed_stdin("1 -30\t+250\n\n \r\n7x8");
    int value = 0;
    for (const int expected : {1, -30, 250, 7}) {
        ASSERT_TRUE(ConsoleReadInt(&value)) << expected;
        EXPECT_EQ(value, expected);
    }
    EXPECT_FALSE(ConsoleReadInt(&value));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(rest_of_stdin(), "x8");
}

TEST(ConsoleReadInt, HoldsHugeNumbersAtTheEndsOfTheRange)
{
    feed_stdin("2147483648 -2147483649 99999999999999999999 -99999999999999999999 2147483647");
    int value = 0;
    for (const int expected : {INT_MAX, INT_MIN, INT_MAX, INT_MIN, INT_MAX}) {
        ASSERT_TRUE(ConsoleReadInt(&value));
        EXPECT_EQ(value, expected);
    }
}

TEST(ConsoleReadDouble, TakesNumbersAndLeavesWhatIsNone)
{
    feed_stdin("1.5e-3 -2 .5x");
    double value = 0.0;
    for (const double expected : {1.5e-3, -2.0, 0.5}) {
        ASSERT_TRUE(ConsoleReadDouble(&value));
        EXPECT_EQ(value, expected);
    }
    EXPECT_FALSE(ConsoleReadDouble(&value));
    EXPECT_EQ(rest_of_stdin(), "x");
}

TEST(ConsoleReadWord, TakesWordsAndCutsLongOnes)
{
    feed_stdin("  one\ttwo\n abcdefgh next");
    char word[6];
    for (const char *expected : {"one", "two", "abcde", "next"}) {
        ASSERT_TRUE(ConsoleReadWord(word, sizeof word));
        EXPECT_STREQ(word, expected);
    }
    EXPECT_FALSE(ConsoleReadWord(word, sizeof word));
    EXPECT_STREQ(word, "");
}

TEST(ConsoleDropLine, DropsTheRestOfAnAnsweredLineOnly)
{
    feed_stdin("1 rest\nnext\n2");
    int value = 0;
    ConsoleDropLine(); // nothing of the line has been read
    ASSERT_TRUE(ConsoleReadInt(&value));
    ConsoleDropLine();
    ConsoleDropLine();
    EXPECT_EQ(rest_of_stdin(), "next\n2");
}

TEST(ConsoleDropCharacter, DropsOneCharacter)
{
    feed_stdin("x1 y\nline\n");
    int value = 0;
    EXPECT_FALSE(ConsoleReadInt(&value));
    ConsoleDropCharacter();
    ASSERT_TRUE(ConsoleReadInt(&value));
    EXPECT_EQ(value, 1);
    EXPECT_FALSE(ConsoleReadInt(&value));
    ConsoleDropCharacter();
    ConsoleDropCharacter(); // the line end: the next line is untouched
    ConsoleDropLine();
    EXPECT_EQ(rest_of_stdin(), "line\n");
}

TEST(ConsoleReadLine, DropsTheRestOfANumbersLine)
{
    feed_stdin("5 rest\nname\n6\n\n");
    int value = 0;
    char line[16];
    ASSERT_TRUE(ConsoleReadInt(&value));
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "name");
    ASSERT_TRUE(ConsoleReadInt(&value));
    ASSERT_TRUE(ConsoleReadLine(line, sizeof line));
    EXPECT_STREQ(line, "");
    EXPECT_FALSE(ConsoleAtEnd());
    EXPECT_FALSE(ConsoleReadLine(line, sizeof line));
    EXPECT_TRUE(ConsoleAtEnd());
}

TEST(ConsolePause, DropsTheRestOfTheAnsweredLineFirst)
{
    feed_stdin("5 rest\n\nnext\n");
    int value = 0;
    ASSERT_TRUE(ConsoleReadInt(&value));
    ConsolePause();
    EXPECT_EQ(rest_of_stdin(), "next\n");
}

// A question that is asked again for ever ends the program when nobody is there to answer.
TEST(ConsoleDeathTest, AfterAHundredFailuresAtTheEndOfInputTheProgramExits)
{
    const auto ask = [](int times) {
        feed_stdin("1");
        int value;
        EXPECT_TRUE(ConsoleReadInt(&value));
        for (int k = 0; k < times; k++)
            EXPECT_FALSE(ConsoleReadInt(&value));
        std::_Exit(7);
    };
    EXPECT_EXIT(ask(99), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(ask(100), testing::ExitedWithCode(0), "");
}
