// The composer's answers: one line each, refused as a whole, cleaned when they name files.
#include "pulsesequencedefiner_internal.h"

#include "console.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

static std::string captured(void)
{
    return testing::internal::GetCapturedStdout();
}

// ------------------------------------------------------------------ numbers in a line

TEST(ParseIntInputLine, TakesOneWholeNumberAndNothingElse)
{
    struct Case {
        const char *line;
        bool accepted;
        int value;
    };
    for (const Case &c :
         {Case{"12", true, 12}, Case{"  -7 ", true, -7}, Case{"\t+3\t", true, 3},
          Case{"007", true, 7}, Case{"0", true, 0}, Case{"2147483647", true, INT_MAX},
          Case{"2147483648", true, INT_MAX}, Case{"-99999999999999999999", true, INT_MIN},
          Case{"", false, 0}, Case{"   ", false, 0}, Case{"12abc", false, 0}, Case{"abc", false, 0},
          Case{"1 2", false, 0}, Case{"1.5", false, 0}, Case{"-", false, 0}, Case{"0x10", false, 0},
          Case{"1e3", false, 0}}) {
        int value = 0;
        EXPECT_EQ(parse_int_input_line(c.line, &value), c.accepted) << '"' << c.line << '"';
        EXPECT_EQ(value, c.value) << '"' << c.line << '"';
    }
}

TEST(ParseDoubleInputLine, TakesOneFiniteNumberAndNothingElse)
{
    struct Case {
        const char *line;
        bool accepted;
        double value;
    };
    for (const Case &c :
         {Case{"1.5", true, 1.5}, Case{" -2e-3\t", true, -2e-3}, Case{".5", true, 0.5},
          Case{"7.", true, 7.0}, Case{"3", true, 3.0}, Case{"", false, 0.0}, Case{"  ", false, 0.0},
          Case{"1,5", false, 0.0}, Case{"1.5 ms", false, 0.0}, Case{"1 2", false, 0.0},
          Case{"x", false, 0.0}, Case{"nan", false, 0.0}, Case{"inf", false, 0.0},
          Case{"1e999", false, 0.0}}) {
        double value = 0.0;
        EXPECT_EQ(parse_double_input_line(c.line, &value), c.accepted) << '"' << c.line << '"';
        EXPECT_EQ(value, c.value) << '"' << c.line << '"';
    }
}

TEST(TrimLineEnd, CutsAtTheFirstCarriageReturnOrLineFeed)
{
    char line[] = "12\r34\n";
    trim_line_end(line);
    EXPECT_STREQ(line, "12");
    trim_line_end(line);
    EXPECT_STREQ(line, "12");
}

// ------------------------------------------------------------------ questions

TEST(ReadIntPrompt, AsksAgainWithItsPromptAfterABadAnswer)
{
    int value = 0;
    feed_stdin("12abc\n\n1 2\n 42 \nnext\n");
    testing::internal::CaptureStdout();
    read_int_prompt("Number : ", &value);
    EXPECT_EQ(captured(), "Number : Please enter a whole number.\n"
                          "Number : Please enter a whole number.\n"
                          "Number : Please enter a whole number.\n"
                          "Number : ");
    EXPECT_EQ(value, 42);
    EXPECT_EQ(rest_of_stdin(), "next\n");
}

TEST(ReadDoublePrompt, AsksAgainWithItsPromptAfterABadAnswer)
{
    double value = 0.0;
    feed_stdin("ten\r\n1e1\r\n");
    testing::internal::CaptureStdout();
    read_double_prompt("Number : ", &value);
    EXPECT_EQ(captured(), "Number : Please enter a numeric value.\nNumber : ");
    EXPECT_EQ(value, 10.0);
}

TEST(AskInt, DoesNotRepeatItsQuestion)
{
    int value = 0;
    feed_stdin("x\n5\n");
    testing::internal::CaptureStdout();
    ask_int("Number : ", &value);
    EXPECT_EQ(captured(), "Number : Please enter a whole number.\n");
    EXPECT_EQ(value, 5);
}

TEST(AskDouble, DoesNotRepeatItsQuestion)
{
    double value = 0.0;
    feed_stdin("x\n.25\n");
    testing::internal::CaptureStdout();
    ask_double("Number : ", &value);
    EXPECT_EQ(captured(), "Number : Please enter a numeric value.\n");
    EXPECT_EQ(value, 0.25);
}

TEST(ReadIntPrompt, CutsTheLineAtACarriageReturnInsideIt)
{
    int value = 0;
    feed_stdin("12\r34\n");
    read_int_prompt(nullptr, &value);
    EXPECT_EQ(value, 12);
}

TEST(ReadIntPrompt, ReadsALongLineAsOneAnswer)
{
    int value = 0;
    feed_stdin(std::string(400, ' ') + "1\n2\n"); // the number stands behind what is read
    testing::internal::CaptureStdout();
    read_int_prompt(nullptr, &value);
    EXPECT_EQ(captured(), "Please enter a whole number.\n");
    EXPECT_EQ(value, 2);
}

TEST(ReadIntPromptDeathTest, EndsTheProgramAfterAHundredQuestionsAtTheEndOfInput)
{
    int value = 0;
    feed_stdin("");
    EXPECT_EXIT(read_int_prompt("Number : ", &value), testing::ExitedWithCode(0), "");
}

// ------------------------------------------------------------------ texts

TEST(ReadLegacyLine, TakesWhatFitsAndDropsTheRestOfTheLine)
{
    char text[6];
    struct Case {
        const char *typed, *text, *rest;
    };
    for (const Case &c : {Case{"abc\nx\n", "abc", "x\n"}, Case{"\nx\n", "", "x\n"},
                          Case{"abcdefgh\nx\n", "abcde", "x\n"}, Case{"abc", "abc", ""},
                          Case{"", "", ""}, Case{"\r\r ab\nx\n", " ab", "x\n"},
                          Case{"\r\nx\n", "", "x\n"}, Case{"a b \r\n", "a b ", ""}}) {
        feed_stdin(c.typed);
        read_legacy_line(text, sizeof text);
        EXPECT_STREQ(text, c.text) << c.typed;
        EXPECT_EQ(rest_of_stdin(), c.rest) << c.typed;
    }
}

TEST(ReadFilenameStdin, ReplacesEveryCharacterThatAFileNameNeedNotHave)
{
    char name[64];
    struct Case {
        const char *typed, *name;
    };
    for (const Case &c :
         {Case{"out/p1.bin\n", "out_p1.bin"}, Case{"my pulse.bin\n", "my_pulse.bin"},
          Case{"c:\\a\\b-1_Z.bin\n", "c__a_b-1_Z.bin"}, Case{"..\n", ".."}, Case{"\n", ""},
          Case{"%s\t*?\n", "_s___"}, Case{"\xc3\xa4.bin\n", "__.bin"}}) {
        feed_stdin(c.typed);
        read_filename_stdin(name, sizeof name);
        EXPECT_STREQ(name, c.name) << c.typed;
    }
}
