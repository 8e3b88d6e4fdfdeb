// consuleutil - line reads and pauses, from a file and at a terminal.
#include "console.h"
#include "consoleutil.h"
#include "platformlib.h"

#include <gtest/gtest.h>

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
