// zandatafileio - answers, the forms that ask for a file name, the two menus.
#include "zandatafileio.h"

#include "console.h"
#include "platformlib.h"
#include "tempdir.h"
#include "zanpaths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

const double three[3] = {1.0, -0.25, 6.02214076e23};

// A working directory of its own, and what was printed since the start.
class DataDialogs : public testing::Test
{
  protected:
    void SetUp() override
    {
        dataio_last_status = DATAIO_ERR_BADARG;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    void TearDown() override
    {
        printed();
        errors();
    }
    // Each ends its capture.
    std::string printed()
    {
        const std::string text = capturing_out ? testing::internal::GetCapturedStdout() : "";
        capturing_out = false;
        return text;
    }
    std::string errors()
    {
        const std::string text = capturing_err ? testing::internal::GetCapturedStderr() : "";
        capturing_err = false;
        return text;
    }

    WorkDir dir;
    bool capturing_out = true, capturing_err = true;
};

// ------------------------------------------------------------------------------------- answers

TEST_F(DataDialogs, AnswersAreReadBehindTheirPrompts)
{
    int number = 0;
    double value = 0.0;
    char word[256] = "";
    feed_stdin("12 3.5\nname.dat rest\n");
    EXPECT_EQ(scan_int("100% ", &number), 1);
    EXPECT_EQ(scan_double("value: ", &value), 1);
    EXPECT_EQ(scan_string("word: ", word, sizeof word), 1);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(value, 3.5);
    EXPECT_STREQ(word, "name.dat");
    EXPECT_EQ(scan_string(nullptr, word, sizeof word), 1);
    EXPECT_STREQ(word, "rest");
    EXPECT_EQ(scan_string(nullptr, word, sizeof word), 0);
    EXPECT_EQ(scan_int(nullptr, &number), 0);
    EXPECT_EQ(scan_double(nullptr, &value), 0);
    EXPECT_EQ(printed(), "100% value: word: ");
}

TEST_F(DataDialogs, AnswersWithoutAPlaceAreNotRead)
{
    char word[256];
    feed_stdin("12\n");
    EXPECT_EQ(scan_int("a ", nullptr), 0);
    EXPECT_EQ(scan_double("b ", nullptr), 0);
    EXPECT_EQ(scan_string("c ", nullptr, 256), 0);
    EXPECT_EQ(scan_string("d ", word, 0), 0);
    EXPECT_EQ(printed(), "a b c d ");
    EXPECT_EQ(rest_of_stdin(), "12\n");
}

TEST_F(DataDialogs, WordsStayInsideTheirBuffer)
{
    char small[5], wide[400] = "";
    feed_stdin("abcdefgh " + std::string(300, 'x') + "\n");
    EXPECT_EQ(scan_string(nullptr, small, sizeof small), 1);
    EXPECT_STREQ(small, "abcd");
    EXPECT_EQ(scan_string(nullptr, wide, sizeof wide), 1);
    EXPECT_EQ(wide, std::string(255, 'x'));
}

TEST_F(DataDialogs, ANameOf256CharactersIsRefusedNotCut)
{
    const std::string fits(255, 'n');
    const int ap = 1;
    double x = 7.0;
    feed_stdin(fits + "n\n" + fits + "n\n" + fits + "n\n");
    AsciiOut(&ap, &x);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_FALSE(dir.exists(fits));
    dir.write(fits, "5\n");
    AsciiIn(&ap, &x);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_EQ(x, 7.0);
    Create_IDL_File("sign");
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_EQ(dir.read(fits), "5\n");
    const std::string reason = std::string(": ") + std::strerror(ENAMETOOLONG) + "\n";
    EXPECT_EQ(errors(),
              "fopen(write)" + reason + "fopen(read)" + reason + "fopen(output)" + reason);
}

TEST_F(DataDialogs, AnAnswerThatIsNoNumberFails)
{
    int number = 4;
    double value = 5.0;
    feed_stdin("x\n");
    EXPECT_EQ(scan_int(nullptr, &number), 0);
    EXPECT_EQ(scan_double(nullptr, &value), 0);
    EXPECT_EQ(number, 4);
    EXPECT_EQ(value, 5.0);
}

// --------------------------------------------------------------------------- interactive forms

TEST_F(DataDialogs, EveryDialogAsksForTheName)
{
    int ap = 3;
    double x[3] = {};
    feed_stdin("plain.dat\nplain.dat\nsg.dat\nsg.dat\nxy.dat\nidl.dat\n");
    AsciiOut(&ap, three);
    AsciiIn(&ap, x);
    EXPECT_TRUE(std::equal(x, x + 3, three));
    SGFileOut(&ap, three);
    std::fill_n(x, 3, 0.0);
    SGFileIn(&ap, x);
    EXPECT_TRUE(std::equal(x, x + 3, three));
    SGXYFileOut(&ap, three, 5.0, 1.0);
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
    EXPECT_EQ(SGFileIn_status(3, x, "xy.dat"), DATAIO_OK);
    EXPECT_EQ(x[1], 6.0);
    dir.write("sign", std::string(12, '\0'));
    Create_IDL_File("sign");
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
    EXPECT_EQ(dir.read("idl.dat").size(), 1024u);
    EXPECT_EQ(printed(), "Ascii File Out >>\nEnter filename : "
                         "<< ASCII File In >>\nEnter filename : "
                         "SG-Plot File Out >>\nEnter filename : "
                         "<< SG-Plot File In >>\nEnter filename : "
                         "SG-Plot XY File Out >>\nEnter filename : "
                         "File name PV-Wave/IDL file : ");
}

TEST_F(DataDialogs, DialogsKeepTheStatusOfTheFile)
{
    int ap = 3;
    double x[3] = {};
    feed_stdin("missing.dat missing.dat missing/a missing/a missing/a missing/a\n");
    void (*const readers[])(const int *, double *) = {AsciiIn, SGFileIn};
    for (const auto read : readers) {
        dataio_last_status = DATAIO_OK;
        read(&ap, x);
        EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    }
    void (*const writers[])(const int *, const double *) = {AsciiOut, SGFileOut};
    for (const auto write : writers) {
        dataio_last_status = DATAIO_OK;
        write(&ap, x);
        EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    }
    dataio_last_status = DATAIO_OK;
    SGXYFileOut(&ap, x, 0.0, 1.0);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    dataio_last_status = DATAIO_OK;
    Create_IDL_File("missing");
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
}

TEST_F(DataDialogs, ANameThatCannotBeReadIsAnIoError)
{
    int ap = 1;
    double x[1] = {7.0};
    feed_stdin("");
    AsciiOut(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    dataio_last_status = DATAIO_OK;
    SGFileIn(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    dataio_last_status = DATAIO_OK;
    Create_IDL_File("sign");
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_EQ(errors(), "");
    EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST_F(DataDialogs, DialogsRefuseNullBeforeTheyAsk)
{
    int ap = 1;
    double x[1] = {7.0};
    feed_stdin("a b c\n");
    const auto expect_refused = [](const char *name) {
        EXPECT_EQ(dataio_last_status, DATAIO_ERR_NULLPTR) << name;
        dataio_last_status = DATAIO_OK;
    };
    AsciiOut(nullptr, x), expect_refused("AsciiOut");
    AsciiOut(&ap, nullptr), expect_refused("AsciiOut");
    AsciiIn(nullptr, x), expect_refused("AsciiIn");
    AsciiIn(&ap, nullptr), expect_refused("AsciiIn");
    SGFileOut(nullptr, x), expect_refused("SGFileOut");
    SGFileOut(&ap, nullptr), expect_refused("SGFileOut");
    SGFileIn(nullptr, x), expect_refused("SGFileIn");
    SGFileIn(&ap, nullptr), expect_refused("SGFileIn");
    SGXYFileOut(nullptr, x, 0.0, 1.0), expect_refused("SGXYFileOut");
    SGXYFileOut(&ap, nullptr, 0.0, 1.0), expect_refused("SGXYFileOut");
    RealArrayOut(nullptr, x), expect_refused("RealArrayOut");
    RealArrayOut(&ap, nullptr), expect_refused("RealArrayOut");
    RealArrayIn(nullptr, x), expect_refused("RealArrayIn");
    RealArrayIn(&ap, nullptr), expect_refused("RealArrayIn");
    Create_IDL_File(nullptr), expect_refused("Create_IDL_File");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(rest_of_stdin(), "a b c\n");
}

TEST_F(DataDialogs, ACountBelowOneIsNoValues)
{
    int ap = -5;
    double x[1] = {7.0};
    feed_stdin("a.dat\n3\n");
    AsciiOut(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
    EXPECT_EQ(dir.read("a.dat"), "");
    RealArrayIn(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
    EXPECT_EQ(x[0], 7.0);
}

// ----------------------------------------------------------------- names in the RF input directory

class RFInputFiles : public DataDialogs
{
  protected:
    void SetUp() override
    {
        char path[4096];
        ASSERT_EQ(ZAN_GetDefaultRFInputDir(path, sizeof path), 1);
        name = "zan-test-" + std::to_string(plat_process_id()) + ".dat";
        rf_input = path;
        fs::create_directories(rf_input);
        write_values_to((rf_input / name).string(), 5.0);
        DataDialogs::SetUp();
    }
    void TearDown() override
    {
        DataDialogs::TearDown();
        fs::remove(rf_input / name);
    }
    static void write_values_to(const std::string &path, double value)
    {
        ASSERT_EQ(AsciiOut_status(1, &value, path.c_str()), DATAIO_OK);
    }
    double read_typed(const std::string &typed)
    {
        int ap = 1;
        double x[1] = {-1.0};
        feed_stdin(typed + "\n");
        AsciiIn(&ap, x);
        return x[0];
    }

    std::string name;
    fs::path rf_input;
};

TEST_F(RFInputFiles, ABareNameIsLookedUpThereToo)
{
    EXPECT_EQ(read_typed(name), 5.0);
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
}

TEST_F(RFInputFiles, TheWorkingDirectoryComesFirst)
{
    write_values_to(name, 6.0);
    EXPECT_EQ(read_typed(name), 6.0);
}

TEST_F(RFInputFiles, ANameWithADirectoryIsTakenAsItStands)
{
    EXPECT_EQ(read_typed("./" + name), -1.0);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_EQ(errors(), std::string("fopen(read): ") + std::strerror(ENOENT) + "\n");
}

TEST_F(RFInputFiles, ANameThatIsNowhereIsTold)
{
    EXPECT_EQ(read_typed("no-" + name), -1.0);
    EXPECT_EQ(errors(), std::string("fopen(read): ") + std::strerror(ENOENT) + "\n");
}

// ---------------------------------------------------------------------------------------- menus

const char out_menu[] = "Write real-array to ASCII-file:\n"
                        "      1. Normal ASCII file\n"
                        "      2. SGplot file format\n"
                        "      3. Cancel file output\n"
                        "Your choice [1..3] : ";
const char in_menu[] = "Read ASCII-file containing reals:\n"
                       "      1. Normal ASCII file\n"
                       "      2. SGplot file format\n"
                       "      3. Cancel file input\n"
                       "Your choice [1..3] : ";

// One session: the answers, what the menu then printed behind its choice, what it left.
struct MenuCase {
    const char *answers, *printed;
    dataio_status status;
    const char *file; // contents of a.dat, null: none
};

TEST_F(DataDialogs, TheOutputMenuWritesWhatIsChosen)
{
    printed();
    const char plain_prompt[] = "\nAscii File Out >>\nEnter filename : ";
    const char sg_prompt[] = "\nDefine x-axis [1=yes] : \nSG-Plot File Out >>\nEnter filename : ";
    const char xy_prompt[] = "\nDefine x-axis [1=yes] : \nMinimum x-value   : \n"
                             "Increment x-value : \nSG-Plot XY File Out >>\nEnter filename : ";
    const MenuCase cases[] = {
        {"1\na.dat\n", plain_prompt, DATAIO_OK, "2.000000000000E+00\n"},
        {"1 a.dat\n", plain_prompt, DATAIO_OK, "2.000000000000E+00\n"},
        {"2\n0\na.dat\n", sg_prompt, DATAIO_OK, "1   0.000000000000E+00   2.000000000000E+00\n"},
        {"2\n2\na.dat\n", sg_prompt, DATAIO_OK, "1   0.000000000000E+00   2.000000000000E+00\n"},
        {"2 1 -3.5 1\na.dat\n", xy_prompt, DATAIO_OK,
         "1   2.000000000000E+00   -3.500000000000E+00\n"},
        {"3\n", "\n", DATAIO_OK, nullptr},
        {"0\n", "\n", DATAIO_OK, nullptr},
        {"-7\n", "\n", DATAIO_OK, nullptr},
        {"", "", DATAIO_ERR_IO, nullptr},
        {"x\n", "", DATAIO_ERR_IO, nullptr},
        {"1\n", plain_prompt, DATAIO_ERR_IO, nullptr},
        {"2\nx\n", "\nDefine x-axis [1=yes] : ", DATAIO_ERR_IO, nullptr},
        {"2\n1\nx\n", "\nDefine x-axis [1=yes] : \nMinimum x-value   : ", DATAIO_ERR_IO, nullptr},
        {"2\n1\n1\nx\n", "\nDefine x-axis [1=yes] : \nMinimum x-value   : \nIncrement x-value : ",
         DATAIO_ERR_IO, nullptr},
    };
    for (const MenuCase &c : cases) {
        int ap = 1;
        const double x[1] = {2.0};
        fs::remove("a.dat");
        feed_stdin(c.answers);
        dataio_last_status = DATAIO_ERR_BADARG;
        testing::internal::CaptureStdout();
        RealArrayOut(&ap, x);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(out_menu) + c.printed)
            << c.answers;
        EXPECT_EQ(dataio_last_status, c.status) << c.answers;
        EXPECT_EQ(dir.exists("a.dat"), c.file != nullptr) << c.answers;
        EXPECT_EQ(dir.read("a.dat"), c.file ? c.file : "") << c.answers;
    }
}

struct InputCase {
    const char *answers, *printed;
    dataio_status status;
    double x[2];
};

TEST_F(DataDialogs, TheInputMenuReadsWhatIsChosen)
{
    printed();
    dir.write("a.dat", "1 2 3 4 5 6");
    const char plain_prompt[] = "\n<< ASCII File In >>\nEnter filename : ";
    const char sg_prompt[] = "\n<< SG-Plot File In >>\nEnter filename : ";
    const InputCase cases[] = {
        {"1\na.dat\n", plain_prompt, DATAIO_OK, {1.0, 2.0}},
        {"2 a.dat\n", sg_prompt, DATAIO_OK, {3.0, 6.0}},
        {"3\n", "\n", DATAIO_OK, {0.0, 0.0}},
        {"8\n", "\n", DATAIO_OK, {0.0, 0.0}},
        {"x\n", "", DATAIO_ERR_IO, {-1.0, -1.0}},
        {"", "", DATAIO_ERR_IO, {-1.0, -1.0}},
        {"2\n", sg_prompt, DATAIO_ERR_IO, {-1.0, -1.0}},
        {"1\nmissing.dat\n", plain_prompt, DATAIO_ERR_IO, {-1.0, -1.0}},
    };
    for (const InputCase &c : cases) {
        int ap = 2;
        double x[3] = {-1.0, -1.0, -1.0};
        feed_stdin(c.answers);
        dataio_last_status = DATAIO_ERR_BADARG;
        testing::internal::CaptureStdout();
        RealArrayIn(&ap, x);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(in_menu) + c.printed)
            << c.answers;
        EXPECT_EQ(dataio_last_status, c.status) << c.answers;
        EXPECT_EQ(x[0], c.x[0]) << c.answers;
        EXPECT_EQ(x[1], c.x[1]) << c.answers;
        EXPECT_EQ(x[2], -1.0) << c.answers;
    }
}

TEST_F(DataDialogs, MenusDropTheRestOfTheAnsweredLine)
{
    int ap = 1;
    double x[1] = {2.0};
    feed_stdin("3 rest\nsecond 3\nx y\nthird\n");
    RealArrayIn(&ap, x);
    char word[16];
    ASSERT_EQ(scan_string(nullptr, word, sizeof word), 1);
    EXPECT_STREQ(word, "second");
    RealArrayOut(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_OK);
    RealArrayOut(&ap, x);
    EXPECT_EQ(dataio_last_status, DATAIO_ERR_IO);
    EXPECT_EQ(rest_of_stdin(), "third\n");
}

} // namespace
