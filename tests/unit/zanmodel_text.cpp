// The grammar of the model files, and reading a model file with the two files it names.
#include "platformlib.h"
#include "tempdir.h"
#include "zanmodel_internal.h"
#include "zanpaths.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>

// --------------------------------------------------------------------------------- grammar

TEST(ModelText, TrimsBlanksAndLineEnds)
{
    const char *const texts[][2] = {
        {"", ""}, {" \t\r\n", ""}, {"a", "a"}, {"  a b\t \r\n", "a b"}, {"\v\fx", "x"}};
    for (const auto &c : texts) {
        char text[16];
        zan_copy_text(text, c[0]);
        trim_in_place(text);
        EXPECT_STREQ(text, c[1]);
    }
}

struct KeyCase {
    const char *line, *value; // nullptr: no match
};

TEST(ModelText, MatchesAKeyOnlyAsAWhole)
{
    const KeyCase cases[] = {
        {"ndx: 3", "3"},    {"ndx:3", "3"},       {"ndx \t : \t 3 4", "3 4"}, {"ndx:", ""},
        {"ndx::", ":"},     {"ndxy: 3", nullptr}, {"nd: 3", nullptr},         {"NDX: 3", nullptr},
        {"ndx 3", nullptr}, {" ndx: 3", nullptr}, {"ndx = 3:", nullptr},      {"", nullptr},
    };
    for (const KeyCase &c : cases) {
        const char *value = nullptr;
        EXPECT_EQ(starts_with_key(c.line, "ndx", &value), c.value != nullptr) << c.line;
        EXPECT_STREQ(value, c.value) << c.line;
    }
}

struct IntCase {
    const char *text;
    bool good;
    int value;
};

TEST(ModelText, ReadsIntegersStrictly)
{
    const IntCase cases[] = {
        {"0", true, 0},
        {"-12 \t", true, -12},
        {"+7", true, 7},
        {"007", true, 7},
        {"2147483647", true, INT_MAX},
        {"-2147483648", true, INT_MIN},
        {"2147483648", false, 0},
        {"-2147483649", false, 0},
        {"99999999999999999999999", false, 0},
        {"", false, 0},
        {" ", false, 0},
        {"-", false, 0},
        {"1 2", false, 0},
        {"1.0", false, 0},
        {"1e3", false, 0},
        {"0x10", false, 0},
        {"one", false, 0},
    };
    for (const IntCase &c : cases) {
        int value = 0;
        EXPECT_EQ(parse_int_strict(c.text, &value), c.good) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

struct DoubleCase {
    const char *text;
    bool good;
    double value;
};

TEST(ModelText, ReadsDoublesStrictly)
{
    const DoubleCase cases[] = {
        {"0", true, 0.0},        {"-1.5e-3 ", true, -1.5e-3},
        {".5", true, 0.5},       {"5.", true, 5.0},
        {"0x1p4", true, 16.0},   {"1e-400", true, 0.0},
        {"inf", true, INFINITY}, {"-Infinity", true, -INFINITY},
        {"1e400", false, 0.0},   {"-1e400", false, 0.0},
        {"", false, 0.0},        {"1,5", false, 0.0},
        {"1 2", false, 0.0},     {"1e", false, 0.0},
        {"x", false, 0.0},
    };
    for (const DoubleCase &c : cases) {
        double value = 0.0;
        EXPECT_EQ(parse_double_strict(c.text, &value), c.good) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
    double value = 0.0;
    EXPECT_TRUE(parse_double_strict("nan", &value));
    EXPECT_TRUE(std::isnan(value));
}

// ----------------------------------------------------------------------------------- paths

TEST(ModelPaths, KnowWhichNamesAreAbsolute)
{
    for (const char *path : {"c:/x", "Z:\\x", "//server/x", "\\\\server\\x", "c:/"})
        EXPECT_TRUE(zan_is_absolute_path(path)) << path;
    for (const char *path : {"", "x", "x/y", "c:", "c:x", "1:/x", "\\x", "\\/x", "../x", ":"})
        EXPECT_FALSE(zan_is_absolute_path(path)) << path;
    EXPECT_EQ(zan_is_absolute_path("/x"), plat_separator == '/');
}

TEST(ModelPaths, SplitAtTheLastSeparator)
{
    const char *const cases[][3] = {
        {"a/b/c.zanmodel", "a/b/", "c"},
        {"a\\b\\c.d.zanmodel", "a\\b\\", "c.d"},
        {"a\\b/c", "a\\b/", "c"},
        {"/c.x", "/", "c"},
        {"c.x", "", "c"},
        {"a.b/c", "a.b/", "c"},
        {"a/.hidden", "a/", ".hidden"},
        {"a/", "a/", ""},
        {"", "", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(zan_directory_of(c[0]), c[1]) << c[0];
        EXPECT_EQ(zan_base_name_without_extension(c[0]), c[2]) << c[0];
    }
}

TEST(ModelPaths, AreReadableOnlyAsFiles)
{
    const TempDir dir;
    const std::string file = dir.write("Dir/File.bin", "x");
    std::string found = "untouched";
    EXPECT_FALSE(zan_find_readable_file(dir.path, &found));
    EXPECT_FALSE(zan_find_readable_file(dir.file("dir"), &found));
    EXPECT_FALSE(zan_find_readable_file(dir.file("Dir/missing"), &found));
    EXPECT_FALSE(zan_find_readable_file("", &found));
    EXPECT_FALSE(zan_find_readable_file("/dev/null", &found));
    EXPECT_EQ(found, "untouched");
    EXPECT_TRUE(zan_find_readable_file(file, &found));
    EXPECT_EQ(found, file);
}

TEST(ModelPaths, ResultsLieInTheRuntimeDirectoryOfTheExecutable)
{
    char executable[1024];
    ASSERT_TRUE(ZAN_GetExecutableDir(executable, sizeof executable));
    const std::string separator(1, plat_separator);
    const std::string results = executable + separator + "runtime" + separator + "results";
    std::string path;
    EXPECT_TRUE(zan_resolve_result_path("r.bin", &path));
    EXPECT_EQ(path, results + separator + "r.bin");
    EXPECT_TRUE(std::filesystem::is_directory(results));
    EXPECT_TRUE(zan_resolve_result_path("c:/elsewhere/r.bin", &path));
    EXPECT_EQ(path, "c:/elsewhere/r.bin");
    EXPECT_FALSE(zan_resolve_result_path("", &path));
    EXPECT_FALSE(zan_resolve_result_path(std::string(255, 'r').c_str(), &path));
}

// ------------------------------------------------------------------------------ model files

static const std::string model_text = "format_version: 1\n"
                                      "spin_system_file: ../spin-systems/one.zanspin\n"
                                      "sequence_file: ../sequences/hard/hard.zanseq\n"
                                      "ndx: 4\n"
                                      "ndy: 1\n"
                                      "ndz: 2\n"
                                      "x0_cm: -1.5\n"
                                      "y0_cm: 0\n"
                                      "z0_cm: 1e-1\n"
                                      "dx_cm: 0.5\n"
                                      "dy_cm: 0\n"
                                      "dz_cm: 0.25\n"
                                      "result_file: one.bin\n"; // 13 lines

static void write_parts(const TempDir &dir)
{
    dir.write("spin-systems/one.zanspin",
              "format_version: 1\nspin_system_name: one\n\nnspins: 1\nspin_quantum_numbers: 1\n"
              "relative_intensities: 1\nresonance_offsets_hz: 0\ncoupling_mode: 2\n");
    dir.write("sequences/hard/hard.zanseq",
              "format_version: 1\nsequence_name: hard\n\nsequence_type: 2\nnumber_of_sectors: 1\n"
              "sector_type: 1 1\nsector_timepoints: 1 1\nsector_evolpoints: 1 1\n"
              "sector_duration_s: 1 0.001\nsector_pulsefile: 1 waveforms/dummy.bin\n"
              "sector_statoff_hz: 1 0\nsector_remark: 1 valid split case\n");
    dir.write("sequences/hard/waveforms/dummy.bin", "x");
}

struct LoadedModel {
    ZANModelStatus status;
    std::string message;
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
};

static LoadedModel load_in(const TempDir &dir, const std::string &text)
{
    LoadedModel result = {};
    char errbuf[1200] = "";
    const std::string file = dir.write("models/Lac PRESS.v2.zanmodel", text);
    result.status = ZANModel_LoadText(file.c_str(), &result.spin, &result.seq, &result.cfg, errbuf,
                                      sizeof errbuf);
    result.message = errbuf;
    return result;
}

static LoadedModel load(const std::string &text)
{
    const TempDir dir;
    write_parts(dir);
    return load_in(dir, text);
}

static LoadedModel loaded(const std::string &text)
{
    LoadedModel result = load(text);
    EXPECT_EQ(result.status, ZAN_MODEL_OK) << text;
    EXPECT_EQ(result.message, "") << text;
    return result;
}

static void expect_refusal(const std::string &text, ZANModelStatus status,
                           const std::string &message)
{
    const LoadedModel result = load(text);
    EXPECT_EQ(result.status, status) << text;
    EXPECT_EQ(result.message, message) << text;
}

// model_text with the line of that key replaced ("" removes it).
static std::string with_line(const std::string &key, const std::string &line)
{
    std::string text = model_text;
    const size_t at = text.find("\n" + key + ":") + 1;
    return text.replace(at, text.find('\n', at) + 1 - at, line.empty() ? "" : line + "\n");
}

TEST(ModelFile, FillsTheThreeRecords)
{
    const LoadedModel m = loaded(model_text);
    EXPECT_EQ(m.spin.nspins, 1);
    EXPECT_EQ(m.spin.coupling_mode, 2);
    EXPECT_EQ(m.seq.sector_count, 1);
    EXPECT_STREQ(m.seq.sectors[1].remark, "valid split case");
    EXPECT_TRUE(m.cfg.ndx == 4 && m.cfg.ndy == 1 && m.cfg.ndz == 2);
    EXPECT_TRUE(m.cfg.x0_cm == -1.5 && m.cfg.y0_cm == 0.0 && m.cfg.z0_cm == 0.1);
    EXPECT_TRUE(m.cfg.dx_cm == 0.5 && m.cfg.dy_cm == 0.0 && m.cfg.dz_cm == 0.25);
    EXPECT_TRUE(m.cfg.b0_tesla == 0.0 && m.cfg.receiver_carrier_ppm == 0.0);
    const std::filesystem::path result = m.cfg.result_filename;
    EXPECT_EQ(result.filename(), "one.bin");
    EXPECT_EQ(result.parent_path().filename(), "results");
    EXPECT_EQ(result.parent_path().parent_path().filename(), "runtime");
}

TEST(ModelFile, GivesItsOwnNameToAModelWithoutOne)
{
    EXPECT_STREQ(loaded(model_text).cfg.model_name, "Lac PRESS.v2");
    EXPECT_STREQ(loaded(model_text + "model_name:\n").cfg.model_name, "Lac PRESS.v2");
    EXPECT_STREQ(loaded(model_text + "model_name: two  words\n").cfg.model_name, "two  words");
    EXPECT_EQ(loaded(model_text + "model_name: " + std::string(300, 'm')).cfg.model_name,
              std::string(255, 'm'));
}

TEST(ModelFile, IgnoresMetadata)
{
    loaded(model_text + "orvane_reference: a\norvane_reference: b\norvane_subgroup: nonsense\n"
                        "resonance_group: c\n");
}

TEST(ModelFile, ReadsTheReceiverSettingsFromComments)
{
    const LoadedModel m = loaded("# zan_gui_b0_tesla: 2.89\n" + model_text +
                                 "  # zan_gui_receiver_carrier_ppm : 4.7 \r\n"
                                 "# zan_gui_b0_tesla: three\n"
                                 "# zan_gui_receiver_carrier_ppm: 4.6\n"
                                 "# zan_gui_receiver_carrier_ppm: 4.5 # measured\n");
    EXPECT_EQ(m.cfg.b0_tesla, 2.89);
    EXPECT_EQ(m.cfg.receiver_carrier_ppm, 4.6);
}

TEST(ModelFile, TakesOtherCommentsAsComments)
{
    const LoadedModel m = loaded(model_text + "#zan_gui_b0_tesla: 3\n# zan_gui_b0_tesla 3\n"
                                              "model_name: x # zan_gui_b0_tesla: 3\n");
    EXPECT_EQ(m.cfg.b0_tesla, 0.0);
    EXPECT_STREQ(m.cfg.model_name, "x");
}

TEST(ModelFile, KeepsAnAbsoluteResultFile)
{
    const TempDir dir;
    const LoadedModel m = loaded(with_line("result_file", "result_file: " + dir.file("r.bin")));
    EXPECT_EQ(m.cfg.result_filename, dir.file("r.bin"));
}

TEST(ModelFile, FindsItsPartsInAnotherCaseWithBackslashesAndByAbsolutePath)
{
    loaded(with_line("spin_system_file", "spin_system_file: ..\\spin-systems\\one.zanspin"));
    loaded(with_line("spin_system_file", "spin_system_file: ../Spin-Systems/ONE.zanspin"));
    loaded(with_line("sequence_file", "sequence_file: ..\\Sequences\\hard\\HARD.zanseq"));
    const TempDir dir;
    write_parts(dir);
    loaded(
        with_line("spin_system_file", "spin_system_file: " + dir.file("spin-systems/one.zanspin")));
}

TEST(ModelFile, TakesPartsAsTheyStandWhenItHasNoDirectory)
{
    const TempDir dir;
    std::string path;
    EXPECT_TRUE(zan_resolve_model_relative_path("m.zanmodel", "parts/s.zanspin", &path));
    EXPECT_EQ(path, "parts/s.zanspin");
    EXPECT_TRUE(zan_resolve_model_relative_path("/m.zanmodel", "no-such-part", &path));
    EXPECT_EQ(path, "/no-such-part");
    EXPECT_FALSE(zan_resolve_model_relative_path("m.zanmodel", "", &path));
}

// -------------------------------------------------------------------------------- refusals

struct AppendedCase {
    const char *lines, *message;
};

// Lines 14 and following, behind a complete file.
static const AppendedCase appended_cases[] = {
    {"format_version: 1", "line 14: duplicate key 'format_version'"},
    {"model_name: a\nmodel_name: a", "line 15: duplicate key 'model_name'"},
    {"spin_system_file: x", "line 14: duplicate key 'spin_system_file'"},
    {"sequence_file: x", "line 14: duplicate key 'sequence_file'"},
    {"ndx: x", "line 14: duplicate key 'ndx'"},
    {"ndy: 1", "line 14: duplicate key 'ndy'"},
    {"ndz: 1", "line 14: duplicate key 'ndz'"},
    {"x0_cm: 1", "line 14: duplicate key 'x0_cm'"},
    {"y0_cm: 1", "line 14: duplicate key 'y0_cm'"},
    {"z0_cm: 1", "line 14: duplicate key 'z0_cm'"},
    {"dx_cm: 1", "line 14: duplicate key 'dx_cm'"},
    {"dy_cm: 1", "line 14: duplicate key 'dy_cm'"},
    {"dz_cm: 1", "line 14: duplicate key 'dz_cm'"},
    {"result_file:", "line 14: duplicate key 'result_file'"},
    {"\n# comment\nresult: x", "line 16: unknown key"},
    {"ndx2: 1", "line 14: unknown key"},
    {"just words", "line 14: unknown key"},
    {"spin_system_name: x", "line 14: unknown key"},
};

TEST(ModelFile, RefusesALineWithItsNumber)
{
    for (const AppendedCase &c : appended_cases)
        expect_refusal(model_text + c.lines + "\n", ZAN_MODEL_ERR_PARSE, c.message);
}

TEST(ModelFile, RefusesTheSecondSpinSystemFileOnLine3)
{
    expect_refusal("format_version: 1\nspin_system_file: ../spin-systems/one.zanspin\n"
                   "spin_system_file: ../spin-systems/one.zanspin\n",
                   ZAN_MODEL_ERR_PARSE, "line 3: duplicate key 'spin_system_file'");
}

TEST(ModelFile, RefusesBadGridValues)
{
    for (const std::string key : {"ndx", "ndy", "ndz"})
        for (const char *value : {"", "1.5", "1 2", "x", "9999999999"})
            expect_refusal(key + ": " + value + "\n", ZAN_MODEL_ERR_PARSE, "line 1: bad " + key);
    for (const std::string key : {"x0_cm", "y0_cm", "z0_cm", "dx_cm", "dy_cm", "dz_cm"})
        for (const char *value : {"", "1 2", "x", "1cm", "1e999"})
            expect_refusal(key + ": " + value + "\n", ZAN_MODEL_ERR_PARSE, "line 1: bad " + key);
}

TEST(ModelFile, RefusesInlineKeysBeforeAnythingElse)
{
    for (const std::string key :
         {"nspins", "spin_quantum_numbers", "relative_intensities", "resonance_offsets_hz",
          "coupling_mode", "jcoupling_hz", "sequence_type", "number_of_sectors", "sector_type",
          "sector_timepoints", "sector_evolpoints", "sector_duration_s", "sector_pulsefile",
          "sector_statoff_hz", "sector_remark"})
        expect_refusal(model_text + key + " : 2\n", ZAN_MODEL_ERR_PARSE,
                       "line 14: inline spin-system/sequence keys are no longer supported in "
                       ".zanmodel; use spin_system_file and sequence_file");
}

struct RefusalCase {
    const char *text;
    ZANModelStatus status;
    const char *message;
};

static const RefusalCase refusal_cases[] = {
    {"format_version: 2\n", ZAN_MODEL_ERR_PARSE, "line 1: unsupported format_version"},
    {"format_version: one\n", ZAN_MODEL_ERR_PARSE, "line 1: unsupported format_version"},
    {"spin_system_file:\n", ZAN_MODEL_ERR_IO, "line 1: could not resolve spin_system_file"},
    {"\nsequence_file: # none\n", ZAN_MODEL_ERR_IO, "line 2: could not resolve sequence_file"},
    {"result_file:\n", ZAN_MODEL_ERR_IO, "line 1: could not resolve result_file"},
};

TEST(ModelFile, RefusesAFileWithTheWholeMessage)
{
    for (const RefusalCase &c : refusal_cases)
        expect_refusal(c.text, c.status, c.message);
    const std::string longer(1100, 'p');
    for (const std::string key : {"spin_system_file", "sequence_file", "result_file"})
        expect_refusal(key + ": " + longer + "\n", ZAN_MODEL_ERR_IO,
                       "line 1: could not resolve " + key);
}

TEST(ModelFile, ReportsTheFirstMissingKey)
{
    std::string rest = model_text;
    for (const std::string key :
         {"format_version", "spin_system_file", "sequence_file", "ndx", "ndy", "ndz", "x0_cm",
          "y0_cm", "z0_cm", "dx_cm", "dy_cm", "dz_cm", "result_file"}) {
        std::string text = model_text;
        const size_t at = text.find(key);
        text.erase(at, text.find('\n', at) - at);
        expect_refusal(text, ZAN_MODEL_ERR_PARSE, "missing required key '" + key + "'");
        expect_refusal(model_text.substr(0, at), ZAN_MODEL_ERR_PARSE,
                       "missing required key '" + key + "'");
    }
}

TEST(ModelFile, PassesOnWhatItsPartsSay)
{
    const TempDir dir;
    write_parts(dir);
    dir.write("spin-systems/one.zanspin", "format_version: 1\nnspins: x\n");
    LoadedModel m = load_in(dir, model_text);
    EXPECT_EQ(m.status, ZAN_MODEL_ERR_PARSE);
    EXPECT_EQ(m.message, "line 2: bad nspins");

    write_parts(dir);
    dir.write("sequences/hard/hard.zanseq", "\n\nhello\n");
    m = load_in(dir, model_text);
    EXPECT_EQ(m.status, ZAN_MODEL_ERR_PARSE);
    EXPECT_EQ(m.message, "line 3: unknown sequence key");
}

TEST(ModelFile, NamesThePartThatDoesNotOpen)
{
    const TempDir dir;
    const std::string models = dir.file("models") + plat_separator;
    LoadedModel m = load_in(dir, model_text);
    EXPECT_EQ(m.status, ZAN_MODEL_ERR_IO);
    EXPECT_EQ(m.message, "could not open spin system '" + models + "../spin-systems/one.zanspin'");
    m = load_in(dir, "sequence_file: no\\such.zanseq\n");
    EXPECT_EQ(m.status, ZAN_MODEL_ERR_IO);
    EXPECT_EQ(m.message, "could not open pulse sequence '" + models + "no\\such.zanseq'");
}

TEST(ModelFile, EndsInTheRulesOfAWholeModel)
{
    expect_refusal(with_line("ndz", "ndz: 257"), ZAN_MODEL_ERR_RANGE, "ndz=257 is outside 1..256");
    expect_refusal(with_line("dx_cm", "dx_cm: -1"), ZAN_MODEL_ERR_RANGE,
                   "dx_cm/dy_cm/dz_cm must be >= 0");

    const TempDir dir;
    write_parts(dir);
    std::string sequence = dir.read("sequences/hard/hard.zanseq");
    sequence.replace(sequence.find("sequence_type: 2"), 16, "sequence_type: 9");
    dir.write("sequences/hard/hard.zanseq", sequence);
    const LoadedModel m = load_in(dir, model_text);
    EXPECT_EQ(m.status, ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(m.message, "sequence_type=9 is invalid; expected 1 (spatial) or 2 (1D/2D NMR)");
}

TEST(ModelFile, NamesItselfWhenItDoesNotOpen)
{
    const TempDir dir;
    LoadedModel m = {};
    char message[512];
    for (const std::string &name : {dir.file("missing.zanmodel"), dir.path}) {
        EXPECT_EQ(ZANModel_LoadText(name.c_str(), &m.spin, &m.seq, &m.cfg, message, sizeof message),
                  ZAN_MODEL_ERR_IO);
        EXPECT_EQ(message, "could not open '" + name + "' for reading");
    }
}

TEST(ModelFile, RefusesNullArguments)
{
    LoadedModel m = {};
    char message[64];
    EXPECT_EQ(ZANModel_LoadText(nullptr, &m.spin, &m.seq, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "load arguments must be non-null");
    EXPECT_EQ(ZANModel_LoadText("x", nullptr, &m.seq, &m.cfg, nullptr, 0), ZAN_MODEL_ERR_NULLPTR);
    EXPECT_EQ(ZANModel_LoadText("x", &m.spin, nullptr, &m.cfg, nullptr, 0), ZAN_MODEL_ERR_NULLPTR);
    EXPECT_EQ(ZANModel_LoadText("x", &m.spin, &m.seq, nullptr, nullptr, 0), ZAN_MODEL_ERR_NULLPTR);
}

TEST(ModelFile, SurvivesBytesThatAreNoText)
{
    std::string bytes;
    for (int k = 0; k < 10000; k++)
        bytes += static_cast<char>((k * 7919 + k / 251) & 255);
    EXPECT_EQ(load(bytes).status, ZAN_MODEL_ERR_PARSE);
    EXPECT_EQ(load(std::string(5000, '\0')).message, "line 1: zero byte in a text file");
}

TEST(ModelFile, RefusesAZeroByteThatWouldHideTheRestOfItsLine)
{
    const std::string hidden("ndx: 1\0 99", 11);
    expect_refusal("format_version: 1\n" + hidden, ZAN_MODEL_ERR_PARSE,
                   "line 2: zero byte in a text file");
    expect_refusal("format_version: 1\n" + hidden + "\nndy: 1\n", ZAN_MODEL_ERR_PARSE,
                   "line 2: zero byte in a text file");
}

TEST(ModelFile, TakesAByteOrderMarkBeforeItsFirstLine)
{
    loaded("\xEF\xBB\xBF" + model_text);
}
