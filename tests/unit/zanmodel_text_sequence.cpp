// Reading sequence files and finding their waveform files.
#include "platformlib.h"
#include "tempdir.h"
#include "zanmodel_internal.h"
#include "zanpaths.h"

#include <gtest/gtest.h>

#include <filesystem>

static const std::string head = "format_version: 1\n"
                                "sequence_type: 2\n"
                                "number_of_sectors: 1\n"; // three lines
static const std::string sector = "sector_type: 1 2\n"
                                  "sector_timepoints: 1 64\n"
                                  "sector_evolpoints: 1 8\n"
                                  "sector_duration_s: 1 0.25\n"
                                  "sector_pulsefile: 1 wave.bin\n"
                                  "sector_statoff_hz: 1 -12.5\n"; // six lines

struct Loaded {
    ZANModelStatus status;
    std::string message;
    ZANPulseSequenceDef seq;
};

static Loaded load_in(const TempDir &dir, const std::string &text)
{
    Loaded result = {};
    char errbuf[1200] = "";
    const std::string file = dir.write("seq/s.zanseq", text);
    result.status = zan_load_pulse_sequence_text(file.c_str(), &result.seq, errbuf, sizeof errbuf);
    result.message = errbuf;
    return result;
}

// In a directory that holds wave.bin.
static Loaded load(const std::string &text)
{
    const TempDir dir;
    dir.write("seq/wave.bin", "x");
    return load_in(dir, text);
}

static void expect_refusal(const std::string &text, const std::string &message)
{
    const Loaded result = load(text);
    EXPECT_EQ(result.status, ZAN_MODEL_ERR_PARSE) << text;
    EXPECT_EQ(result.message, message) << text;
}

static ZANPulseSequenceDef loaded(const std::string &text)
{
    const Loaded result = load(text);
    EXPECT_EQ(result.status, ZAN_MODEL_OK) << text;
    EXPECT_EQ(result.message, "") << text;
    return result.seq;
}

TEST(SequenceText, FillsTheRecord)
{
    const TempDir dir;
    const std::string wave = dir.write("seq/wave.bin", "x");
    const Loaded result = load_in(dir, "sequence_name: press\nmodel_name: lac\n" + head + sector);
    EXPECT_EQ(result.status, ZAN_MODEL_OK) << result.message;
    EXPECT_EQ(result.seq.sequence_type, 2);
    EXPECT_EQ(result.seq.sector_count, 1);
    const ZANPulseSectorDef &s = result.seq.sectors[1];
    EXPECT_EQ(s.sector_type, 2);
    EXPECT_EQ(s.number_of_timepoints, 64);
    EXPECT_EQ(s.number_of_evolpoints, 8);
    EXPECT_EQ(s.total_duration_s, 0.25);
    EXPECT_EQ(s.offset_frequency_hz, -12.5);
    EXPECT_EQ(s.pulse_filename, wave);
    EXPECT_STREQ(s.remark, "");
}

TEST(SequenceText, IgnoresWordsBehindTheTwoValuesOfASector)
{
    const ZANPulseSequenceDef seq = loaded(head + "sector_type: 1 2 and more\n"
                                                  "sector_timepoints: 1 64.9\n"
                                                  "sector_evolpoints: 1 8x\n"
                                                  "sector_duration_s: 1 0.25s\n"
                                                  "sector_pulsefile: 1 wave.bin of 2001\n"
                                                  "sector_statoff_hz: 1 -12.5 Hz\n");
    EXPECT_EQ(seq.sectors[1].sector_type, 2);
    EXPECT_EQ(seq.sectors[1].number_of_timepoints, 64);
    EXPECT_EQ(seq.sectors[1].number_of_evolpoints, 8);
    EXPECT_EQ(seq.sectors[1].total_duration_s, 0.25);
    EXPECT_EQ(seq.sectors[1].offset_frequency_hz, -12.5);
}

struct RemarkCase {
    const char *line, *remark;
};

TEST(SequenceText, KeepsTheBlanksOfARemarkAndCutsItsComment)
{
    const RemarkCase cases[] = {
        {"sector_remark: 1 two   blanks\tand a tab  ", "two   blanks\tand a tab"},
        {"sector_remark: 1    acquisition", "acquisition"},
        {"sector_remark: 1 before # behind", "before"},
        {"sector_remark: 1", ""},
        {"sector_remark: 1 # nothing", ""},
        {"sector_remark: 1 90%s %n : colon", "90%s %n : colon"},
    };
    for (const RemarkCase &c : cases)
        EXPECT_STREQ(loaded(head + sector + c.line + "\r\n").sectors[1].remark, c.remark);
}

TEST(SequenceText, CutsARemarkAt511Characters)
{
    EXPECT_EQ(loaded(head + sector + "sector_remark: 1 " + std::string(600, 'r')).sectors[1].remark,
              std::string(511, 'r'));
}

TEST(SequenceText, TakesAnEmptySequenceAndAnyFamily)
{
    const ZANPulseSequenceDef seq =
        loaded("format_version: 1\nsequence_type: 9\nnumber_of_sectors: 0\n");
    EXPECT_EQ(seq.sequence_type, 9);
    EXPECT_EQ(seq.sector_count, 0);
}

// -------------------------------------------------------------------------------- refusals

struct LineCase {
    const char *lines, *message;
};

// Lines 4 and following, behind the head.
static const LineCase after_head[] = {
    {"format_version: 3", "line 4: duplicate key 'format_version'"},
    {"sequence_type: x", "line 4: duplicate key 'sequence_type'"},
    {"number_of_sectors: 99", "line 4: duplicate key 'number_of_sectors'"},
    {"sequence_name: a\nsequence_name: b", "line 5: duplicate key 'sequence_name'"},
    {"model_name: a\nmodel_name: b", "line 5: duplicate key 'model_name'"},
    {"unknown: 1", "line 4: unknown sequence key"},
    {"orvane_reference: x", "line 4: unknown sequence key"},
    {"sector_type 1 1", "line 4: unknown sequence key"},
    {"sector_type: 1", "line 4: bad sector_type"},
    {"sector_type: 0 1", "line 4: bad sector_type"},
    {"sector_type: 2 1", "line 4: bad sector_type"},
    {"sector_type: -1 1", "line 4: bad sector_type"},
    {"sector_type: x 1", "line 4: bad sector_type"},
    {"sector_type: 1 99999999999", "line 4: bad sector_type"},
    {"sector_timepoints: 1 x", "line 4: bad sector_timepoints"},
    {"sector_evolpoints: 1 x", "line 4: bad sector_evolpoints"},
    {"sector_duration_s: 1 x", "line 4: bad sector_duration_s"},
    {"sector_duration_s: 1 1e999", "line 4: bad sector_duration_s"},
    {"sector_pulsefile: 1", "line 4: bad sector_pulsefile"},
    {"sector_pulsefile: wave.bin", "line 4: bad sector_pulsefile"},
    {"sector_pulsefile: 2 wave.bin", "line 4: bad sector_pulsefile"},
    {"sector_statoff_hz: 1", "line 4: bad sector_statoff_hz"},
    {"sector_remark: none", "line 4: bad sector_remark index"},
    {"sector_remark: 2 x", "line 4: bad sector_remark index"},
    {"sector_remark:", "line 4: bad sector_remark index"},
    {"sector_type: 1 1\nsector_type: 1 1", "line 5: duplicate key 'sector_type' for sector 1"},
    {"sector_timepoints: 1 1\nsector_timepoints: 1 1",
     "line 5: duplicate key 'sector_timepoints' for sector 1"},
    {"sector_evolpoints: 1 1\nsector_evolpoints: 1 1",
     "line 5: duplicate key 'sector_evolpoints' for sector 1"},
    {"sector_duration_s: 1 1\nsector_duration_s: 1 x",
     "line 5: duplicate key 'sector_duration_s' for sector 1"},
    {"sector_pulsefile: 1 wave.bin\nsector_pulsefile: 1 missing",
     "line 5: duplicate key 'sector_pulsefile' for sector 1"},
    {"sector_statoff_hz: 1 1\nsector_statoff_hz: 1 1",
     "line 5: duplicate key 'sector_statoff_hz' for sector 1"},
    {"sector_remark: 1\nsector_remark: 1 x", "line 5: duplicate key 'sector_remark' for sector 1"},
};

TEST(SequenceText, RefusesALineWithItsNumber)
{
    for (const LineCase &c : after_head)
        expect_refusal(head + c.lines + "\n", c.message);
}

static const char *const missing_keys =
    "sequence file is missing one or more required sequence keys";

static const LineCase whole_files[] = {
    {"", missing_keys},
    {"format_version: 1\nsequence_type: 1\n", missing_keys},
    {"sequence_type: 1\nnumber_of_sectors: 0\n", missing_keys},
    {"format_version: 0\n", "line 1: unsupported format_version"},
    {"sequence_type: 1 2\n", "line 1: bad sequence_type"},
    {"sequence_type:\n", "line 1: bad sequence_type"},
    {"number_of_sectors: 1\n",
     "line 1: key 'sequence_type' must appear before 'number_of_sectors'"},
    {"sequence_type: 1\nnumber_of_sectors: one\n", "line 2: bad number_of_sectors"},
    {"sequence_type: 1\nnumber_of_sectors: -1\n", "line 2: number_of_sectors out of range"},
    {"sequence_type: 1\nnumber_of_sectors: 22\n", "line 2: number_of_sectors out of range"},
    {"sector_type: 1 1\n", "line 1: key 'number_of_sectors' must appear before 'sector_type'"},
    {"sector_timepoints: 1 1\n",
     "line 1: key 'number_of_sectors' must appear before 'sector_timepoints'"},
    {"sector_evolpoints: 1 1\n",
     "line 1: key 'number_of_sectors' must appear before 'sector_evolpoints'"},
    {"sector_duration_s: 1 1\n",
     "line 1: key 'number_of_sectors' must appear before 'sector_duration_s'"},
    {"sector_pulsefile: 1 1\n",
     "line 1: key 'number_of_sectors' must appear before 'sector_pulsefile'"},
    {"sector_statoff_hz: 1 1\n",
     "line 1: key 'number_of_sectors' must appear before 'sector_statoff_hz'"},
    {"sector_remark: 1 1\n", "line 1: key 'number_of_sectors' must appear before 'sector_remark'"},
};

TEST(SequenceText, RefusesAFileWithTheWholeMessage)
{
    for (const LineCase &c : whole_files)
        expect_refusal(c.lines, c.message);
}

TEST(SequenceText, MissesEachRequiredKeyOfASector)
{
    for (const char *key : {"sector_type", "sector_timepoints", "sector_evolpoints",
                            "sector_duration_s", "sector_pulsefile", "sector_statoff_hz"}) {
        std::string text = head + sector;
        text.insert(text.find(key), "#");
        expect_refusal(text,
                       "sequence file is missing one or more required sector keys for sector 1");
    }
}

static std::string with_index(std::string text, int index)
{
    for (size_t at = text.find(": 1 "); at != std::string::npos; at = text.find(": 1 ", at + 2))
        text.replace(at + 2, 1, std::to_string(index));
    return text;
}

TEST(SequenceText, Takes20SectorsAndRefusesThe21stAsMissing)
{
    std::string sectors;
    for (int s = 1; s <= 20; s++)
        sectors += with_index(sector, s);
    const std::string family = "format_version: 1\nsequence_type: 2\nnumber_of_sectors: ";
    EXPECT_EQ(loaded(family + "20\n" + sectors).sectors[20].sector_type, 2);
    expect_refusal(family + "21\n" + sectors,
                   "sequence file is missing one or more required sector keys for sector 21");
    expect_refusal(family + "21\n" + sectors + "sector_type: 21 1\n", "line 124: bad sector_type");
}

TEST(SequenceText, EndsInTheRecordsOwnRules)
{
    std::string text = head + sector;
    text.replace(text.find("1 64"), 4, "1 0");
    const Loaded result = load(text);
    EXPECT_EQ(result.status, ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(result.message, "sector 1 number_of_timepoints=0 is outside 1..8192");
}

TEST(SequenceText, NamesTheFileThatDoesNotOpen)
{
    const TempDir dir;
    ZANPulseSequenceDef seq;
    char message[512];
    for (const std::string &name : {dir.file("missing.zanseq"), dir.path}) {
        EXPECT_EQ(zan_load_pulse_sequence_text(name.c_str(), &seq, message, sizeof message),
                  ZAN_MODEL_ERR_IO);
        EXPECT_EQ(message, "could not open pulse sequence '" + name + "'");
    }
}

TEST(SequenceText, RefusesNullArguments)
{
    ZANPulseSequenceDef seq;
    char message[64];
    EXPECT_EQ(zan_load_pulse_sequence_text("x", nullptr, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "sequence load arguments must be non-null");
    EXPECT_EQ(zan_load_pulse_sequence_text(nullptr, &seq, nullptr, 0), ZAN_MODEL_ERR_NULLPTR);
}

// --------------------------------------------------------------------------- waveform files

static Loaded load_pulsefile(const TempDir &dir, const std::string &stored)
{
    std::string text = head + sector;
    text.replace(text.find("wave.bin"), 8, stored);
    return load_in(dir, text);
}

static void expect_found(const TempDir &dir, const std::string &stored, const std::string &file)
{
    const Loaded result = load_pulsefile(dir, stored);
    EXPECT_EQ(result.status, ZAN_MODEL_OK) << result.message;
    EXPECT_EQ(result.seq.sectors[1].pulse_filename, file) << stored;
}

static void expect_not_found(const TempDir &dir, const std::string &stored,
                             const std::string &reason)
{
    const Loaded result = load_pulsefile(dir, stored);
    EXPECT_EQ(result.status, ZAN_MODEL_ERR_PARSE) << stored;
    EXPECT_EQ(result.message, "line 8: sector_pulsefile for sector 1 not found; " + reason);
}

TEST(SectorPulseFile, IsLookedForBesideTheSequenceThenInItsWaveforms)
{
    const TempDir dir;
    const std::string in_waveforms = dir.write("seq/waveforms/a.bin", "x");
    expect_found(dir, "a.bin", in_waveforms);
    const std::string beside = dir.write("seq/a.bin", "x");
    expect_found(dir, "a.bin", beside);
    expect_found(dir, "waveforms/a.bin", dir.file("seq") + plat_separator + "waveforms/a.bin");
    expect_found(dir, in_waveforms, in_waveforms);
}

TEST(SectorPulseFile, IsLookedForInTheRFOutputDirectoryByItsBareName)
{
    char rf_output[256], path[256];
    ASSERT_TRUE(ZAN_GetDefaultRFOutputDir(rf_output, sizeof rf_output));
    const std::string name = "zan-unit-test-" + std::to_string(plat_process_id()) + ".bin";
    ASSERT_TRUE(ZAN_BuildPath(path, sizeof path, rf_output, name.c_str()));
    const bool made_dir = std::filesystem::create_directories(rf_output);
    std::fclose(std::fopen(path, "wb"));

    const TempDir dir;
    expect_found(dir, name, path);
    const std::string in_waveforms = dir.write("seq/waveforms/" + name, "x");
    expect_found(dir, name, in_waveforms);

    std::filesystem::remove(path);
    if (made_dir)
        std::filesystem::remove(rf_output);
}

TEST(SectorPulseFile, IsFoundInAnotherLetterCase)
{
    const TempDir dir;
    const std::string file = dir.write("seq/waveforms/Sinc5.BIN", "x");
    ZANPulseSequenceDef seq = load_pulsefile(dir, "sinc5.bin").seq;
    EXPECT_TRUE(std::filesystem::equivalent(seq.sectors[1].pulse_filename, file));
    seq = load_pulsefile(dir, "Waveforms/SINC5.bin").seq;
    EXPECT_TRUE(std::filesystem::equivalent(seq.sectors[1].pulse_filename, file));
}

TEST(SectorPulseFile, IsFoundUnderANameStoredOnWindows)
{
    const TempDir dir;
    const std::string file = dir.write("seq/waveforms/Sinc5.bin", "x");
    for (const char *stored : {"waveforms\\Sinc5.bin", "..\\seq\\WAVEFORMS\\sinc5.BIN"}) {
        const Loaded result = load_pulsefile(dir, stored);
        ASSERT_EQ(result.status, ZAN_MODEL_OK) << result.message;
        EXPECT_TRUE(std::filesystem::equivalent(result.seq.sectors[1].pulse_filename, file));
    }
}

TEST(SectorPulseFile, MayHoldBlanksWhenItsFirstWordLeadsNowhere)
{
    const TempDir dir;
    const std::string with_blanks = dir.write("seq/my  pulse 1.bin", "x");
    expect_found(dir, "my  pulse 1.bin", with_blanks);
    expect_found(dir, with_blanks, with_blanks);
    const std::string first_word = dir.write("seq/my", "x");
    expect_found(dir, "my  pulse 1.bin", first_word);
}

TEST(SectorPulseFile, NamesTheCandidatesThatWereTried)
{
    const TempDir dir;
    char rf_output[256];
    ASSERT_TRUE(ZAN_GetDefaultRFOutputDir(rf_output, sizeof rf_output));
    const std::string seq_dir = dir.file("seq") + plat_separator;
    dir.write("seq/waveforms/w/no.bin", "x"); // only bare names are looked for in there
    const std::string rf_dir = std::string(rf_output) + plat_separator;
    dir.make_dir("seq/folder.bin");

    expect_not_found(dir, "no.bin",
                     "stored leafname 'no.bin'; tried model-relative '" + seq_dir +
                         "no.bin' and RF-output '" + rf_dir + "no.bin'");
    expect_not_found(dir, "folder.bin",
                     "stored leafname 'folder.bin'; tried model-relative '" + seq_dir +
                         "folder.bin' and RF-output '" + rf_dir + "folder.bin'");
    expect_not_found(dir, "no pulse.bin",
                     "stored leafname 'no'; tried model-relative '" + seq_dir +
                         "no' and RF-output '" + rf_dir + "no'");
    expect_not_found(dir, "w/no.bin",
                     "stored relative path 'w/no.bin'; tried model-relative '" + seq_dir +
                         "w/no.bin'");
    expect_not_found(dir, "w\\No.bin",
                     "stored relative path 'w\\No.bin'; tried model-relative '" + seq_dir +
                         "w\\No.bin'");
    expect_not_found(dir, "c:no.bin",
                     "stored relative path 'c:no.bin'; tried model-relative '" + seq_dir +
                         "c:no.bin'");
    for (const char *stored : {"c:/no-such-dir/no.bin", "C:\\no-such-dir\\no.bin",
                               "//no-such-dir/no.bin", "\\\\no-such-dir\\no.bin"})
        expect_not_found(dir, stored,
                         std::string("stored absolute path '") + stored + "' does not exist");
}

TEST(SectorPulseFile, LeavesOutCandidatesTooLongForTheRecord)
{
    const TempDir dir;
    const std::string longest(255, 'n');
    expect_not_found(dir, longest, "stored leafname '" + longest + "'");
    expect_not_found(dir, longest + "more", "stored leafname '" + longest + "'");
    const std::string path = "w/" + std::string(253, 'n');
    expect_not_found(dir, path, "stored relative path '" + path + "'");
}

TEST(SectorPulseFile, LeavesOutAModelPathTooLongForTheRecord)
{
    char rf_output[256], errbuf[1200];
    ASSERT_TRUE(ZAN_GetDefaultRFOutputDir(rf_output, sizeof rf_output));
    const std::string far_away = "/" + std::string(250, 'd') + "/s.zanseq";
    zan_set_sector_pulse_resolution_error(8, 1, "no.bin", far_away.c_str(), errbuf, sizeof errbuf);
    EXPECT_EQ(errbuf, std::string("line 8: sector_pulsefile for sector 1 not found; stored "
                                  "leafname 'no.bin'; tried RF-output '") +
                          rf_output + plat_separator + "no.bin'");
}

TEST(SectorPulseFile, IsNeverAnEmptyName)
{
    std::string path;
    char errbuf[100];
    EXPECT_FALSE(zan_resolve_sector_pulse_path("s.zanseq", "", &path));
    zan_set_sector_pulse_resolution_error(5, 2, "", "s.zanseq", errbuf, sizeof errbuf);
    EXPECT_STREQ(errbuf, "line 5: sector_pulsefile for sector 2 is empty");
}
