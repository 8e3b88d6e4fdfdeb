// Reading spin-system files: file text in, values or the whole message out.
#include "tempdir.h"
#include "zanmodel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

static const std::string two_spins = "format_version: 1\n"
                                     "nspins: 2\n"
                                     "spin_quantum_numbers: 1 2\n"
                                     "relative_intensities: 1 0.5\n"
                                     "resonance_offsets_hz: -10 +2.5e1\n"
                                     "coupling_mode: 2\n"; // six lines

static ZANModelStatus load(const std::string &text, ZANSpinSystemDef *spin, std::string *message)
{
    const TempDir dir;
    char errbuf[512] = "";
    const std::string file = dir.write("system.zanspin", text);
    const ZANModelStatus status =
        zan_load_spin_system_text(file.c_str(), spin, errbuf, sizeof errbuf);
    *message = errbuf;
    return status;
}

static ZANSpinSystemDef loaded(const std::string &text)
{
    ZANSpinSystemDef spin;
    std::string message;
    EXPECT_EQ(load(text, &spin, &message), ZAN_MODEL_OK) << text;
    EXPECT_EQ(message, "") << text;
    return spin;
}

static void expect_refusal(const std::string &text, ZANModelStatus status,
                           const std::string &expected)
{
    ZANSpinSystemDef spin;
    std::string message;
    EXPECT_EQ(load(text, &spin, &message), status) << text;
    EXPECT_EQ(message, expected) << text;
}

TEST(SpinSystemText, FillsTheRecord)
{
    const ZANSpinSystemDef spin = loaded("# a comment\n"
                                         "spin_system_name: ethanol # ignored\n"
                                         "model_name: whatever\n"
                                         "orvane_reference: somewhere, 2001\n"
                                         "resonance_group: CH3\n\n" +
                                         two_spins + "jcoupling_hz: 1 2 7.25 Hz, and more\n");
    EXPECT_EQ(spin.nspins, 2);
    EXPECT_EQ(spin.spin_quantum_numbers[1], 1);
    EXPECT_EQ(spin.spin_quantum_numbers[2], 2);
    EXPECT_EQ(spin.relative_intensities[1], 1.0);
    EXPECT_EQ(spin.relative_intensities[2], 0.5);
    EXPECT_EQ(spin.resonance_offsets_hz[1], -10.0);
    EXPECT_EQ(spin.resonance_offsets_hz[2], 25.0);
    EXPECT_EQ(spin.coupling_mode, 2);
    EXPECT_EQ(spin.j_hz[1][2], 7.25);
    EXPECT_EQ(spin.j_hz[2][1], 7.25);
    EXPECT_EQ(spin.j_hz[1][1], 0.0);
    EXPECT_EQ(spin.subgroup_count, 0);
}

TEST(SpinSystemText, LetsTheLastCouplingOfAPairWin)
{
    const ZANSpinSystemDef spin = loaded(two_spins + "jcoupling_hz: 1 2 7\njcoupling_hz: 2 1 -3\n");
    EXPECT_EQ(spin.j_hz[1][2], -3.0);
    EXPECT_EQ(spin.j_hz[2][1], -3.0);
}

TEST(SpinSystemText, KeepsCouplingsOfSpinsThatAreNotThere)
{
    EXPECT_EQ(loaded(two_spins + "jcoupling_hz: 1 8 4\n").j_hz[8][1], 4.0);
}

TEST(SpinSystemText, TakesAnyBlanksAroundTheColon)
{
    for (const char *line : {"coupling_mode:1\n", "coupling_mode   :   1\n",
                             "coupling_mode\t:1 \r\n", "  coupling_mode: 1\n"}) {
        std::string text = two_spins;
        text.replace(text.find("coupling_mode"), std::string::npos, line);
        EXPECT_EQ(loaded(text).coupling_mode, 1) << line;
    }
}

TEST(SpinSystemText, ReadsLinesThatEndAsOnWindows)
{
    std::string text;
    for (char c : two_spins)
        text += c == '\n' ? std::string("\r\n") : std::string(1, c);
    EXPECT_EQ(loaded(text).resonance_offsets_hz[2], 25.0);
}

TEST(SpinSystemText, TakesALastLineWithoutItsEnd)
{
    EXPECT_EQ(loaded(two_spins.substr(0, two_spins.size() - 1)).coupling_mode, 2);
}

// -------------------------------------------------------------------------------- refusals

// Lines 7 and following, behind a complete file.
struct AppendedCase {
    const char *lines, *message;
};

static const AppendedCase appended_cases[] = {
    {"format_version: 1", "line 7: duplicate key 'format_version'"},
    {"format_version: 7", "line 7: duplicate key 'format_version'"},
    {"nspins: x", "line 7: duplicate key 'nspins'"},
    {"spin_quantum_numbers: 1", "line 7: duplicate key 'spin_quantum_numbers'"},
    {"relative_intensities: 1", "line 7: duplicate key 'relative_intensities'"},
    {"resonance_offsets_hz: 1", "line 7: duplicate key 'resonance_offsets_hz'"},
    {"coupling_mode: 1", "line 7: duplicate key 'coupling_mode'"},
    {"spin_system_name: a\n\nspin_system_name: a", "line 9: duplicate key 'spin_system_name'"},
    {"model_name: a\nmodel_name: a", "line 8: duplicate key 'model_name'"},
    {"unknown: 1", "line 7: unknown spin-system key"},
    {"nspinsx: 1", "line 7: unknown spin-system key"},
    {"nspins 1", "line 7: unknown spin-system key"},
    {"Nspins: 1", "line 7: unknown spin-system key"},
    {"ndx: 1", "line 7: unknown spin-system key"},
    {"jcoupling_hz:", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 1 2", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 1 x 3", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 1 2 x", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 1 2 1e999", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 99999999999 2 1", "line 7: bad jcoupling_hz entry"},
    {"jcoupling_hz: 0 2 7", "line 7: jcoupling indices out of range"},
    {"jcoupling_hz: 1 9 7", "line 7: jcoupling indices out of range"},
    {"jcoupling_hz: 2 2 7", "line 7: jcoupling indices out of range"},
};

TEST(SpinSystemText, RefusesALineWithItsNumber)
{
    for (const AppendedCase &c : appended_cases)
        expect_refusal(two_spins + c.lines + "\n", ZAN_MODEL_ERR_PARSE, c.message);
}

struct RefusalCase {
    const char *text;
    ZANModelStatus status;
    const char *message;
};

static const char *const missing_keys =
    "spin-system file is missing one or more required spin keys";

static const RefusalCase refusal_cases[] = {
    {"", ZAN_MODEL_ERR_PARSE, "missing required key 'format_version'"},
    {"nspins: 1\n", ZAN_MODEL_ERR_PARSE, "missing required key 'format_version'"},
    {"format_version: 2\n", ZAN_MODEL_ERR_PARSE, "line 1: unsupported format_version"},
    {"format_version: 1.0\n", ZAN_MODEL_ERR_PARSE, "line 1: unsupported format_version"},
    {"format_version:\n", ZAN_MODEL_ERR_PARSE, "line 1: unsupported format_version"},
    {"format_version: 1\n", ZAN_MODEL_ERR_PARSE, missing_keys},
    {"nspins: 1 2\n", ZAN_MODEL_ERR_PARSE, "line 1: bad nspins"},
    {"nspins:\n", ZAN_MODEL_ERR_PARSE, "line 1: bad nspins"},
    {"nspins: 0x1\n", ZAN_MODEL_ERR_PARSE, "line 1: bad nspins"},
    {"nspins: 2147483648\n", ZAN_MODEL_ERR_PARSE, "line 1: bad nspins"},
    {"nspins: -99999999999999999999\n", ZAN_MODEL_ERR_PARSE, "line 1: bad nspins"},
    {"coupling_mode: 1.5\n", ZAN_MODEL_ERR_PARSE, "line 1: bad coupling_mode"},
    {"spin_quantum_numbers: 1\n", ZAN_MODEL_ERR_PARSE,
     "line 1: key 'nspins' must appear before 'spin_quantum_numbers'"},
    {"relative_intensities: 1\n", ZAN_MODEL_ERR_PARSE,
     "line 1: key 'nspins' must appear before 'relative_intensities'"},
    {"resonance_offsets_hz: 1\n", ZAN_MODEL_ERR_PARSE,
     "line 1: key 'nspins' must appear before 'resonance_offsets_hz'"},
    {"\n#\njcoupling_hz: 1 2 3\n", ZAN_MODEL_ERR_PARSE,
     "line 3: key 'nspins' must appear before 'jcoupling_hz'"},
    {"nspins: 2\nspin_quantum_numbers: 1\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' has too few values (expected 2, got 1)"},
    {"nspins: 2\nspin_quantum_numbers:\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' has too few values (expected 2, got 0)"},
    {"nspins: 2\nspin_quantum_numbers: 1 1 1\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' has too many values (expected 2, got 3)"},
    {"nspins: 2\nspin_quantum_numbers: 1 x\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' contains malformed numeric data"},
    {"nspins: 2\nspin_quantum_numbers: 1 1.5\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' contains malformed numeric data"},
    {"nspins: 2\nspin_quantum_numbers: 1-2\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'spin_quantum_numbers' has too few values (expected 2, got 1)"},
    {"nspins: 2\nrelative_intensities: 1, 1\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'relative_intensities' contains malformed numeric data"},
    {"nspins: 1\nresonance_offsets_hz: 1e400\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'resonance_offsets_hz' contains malformed numeric data"},
    {"nspins: 1\nresonance_offsets_hz: 1\t2\n", ZAN_MODEL_ERR_PARSE,
     "line 2: key 'resonance_offsets_hz' has too many values (expected 1, got 2)"},
    {"format_version: 1\nnspins: 1\nspin_quantum_numbers: 0\nrelative_intensities: 1\n"
     "resonance_offsets_hz: 0\ncoupling_mode: 1\n",
     ZAN_MODEL_ERR_RANGE, "spin_quantum_numbers[1]=0 must be >= 1 (legacy stores 2I)"},
    {"format_version: 1\nnspins: 1\nspin_quantum_numbers: 256\nrelative_intensities: 1\n"
     "resonance_offsets_hz: 0\ncoupling_mode: 1\n",
     ZAN_MODEL_ERR_DIMENSION, "Hilbert dimension 257 exceeds ZAN_MAX_STATES=256"},
    {"format_version: 1\nnspins: 0\nspin_quantum_numbers:\nrelative_intensities:\n"
     "resonance_offsets_hz:\ncoupling_mode: 1\n",
     ZAN_MODEL_ERR_RANGE, "nspins=0 is outside 1..8"},
};

TEST(SpinSystemText, RefusesAFileWithTheWholeMessage)
{
    for (const RefusalCase &c : refusal_cases)
        expect_refusal(c.text, c.status, c.message);
}

TEST(SpinSystemText, MissesEachRequiredKey)
{
    for (const char *key : {"nspins", "spin_quantum_numbers", "relative_intensities",
                            "resonance_offsets_hz", "coupling_mode"}) {
        std::string text = two_spins;
        text.insert(text.find(key), "#");
        if (std::string(key) == "nspins")
            text = "format_version: 1\ncoupling_mode: 1\n";
        expect_refusal(text, ZAN_MODEL_ERR_PARSE, missing_keys);
    }
}

TEST(SpinSystemText, ReadsMoreThanEightValuesWithoutStoringThem)
{
    const std::string nine = " 1 1 1 1 1 1 1 1 1\n";
    expect_refusal("format_version: 1\nnspins: 9\nspin_quantum_numbers:" + nine +
                       "relative_intensities:" + nine + "resonance_offsets_hz:" + nine +
                       "coupling_mode: 1\n",
                   ZAN_MODEL_ERR_RANGE, "nspins=9 is outside 1..8");
}

TEST(SpinSystemText, ReadsALongLineInPieces)
{
    // 2047 characters to a piece: the second begins inside the run of "x".
    expect_refusal("spin_system_name: " + std::string(3000, 'x') + "\nnspins: 1\n",
                   ZAN_MODEL_ERR_PARSE, "line 2: unknown spin-system key");
    expect_refusal(std::string(2047, ' ') + "nspins: 2 3\n", ZAN_MODEL_ERR_PARSE,
                   "line 2: bad nspins");
}

TEST(SpinSystemText, NamesTheFileThatDoesNotOpen)
{
    const TempDir dir;
    ZANSpinSystemDef spin;
    char message[512];
    const std::string missing = dir.file("missing.zanspin");
    for (const std::string &name : {missing, dir.path}) {
        EXPECT_EQ(zan_load_spin_system_text(name.c_str(), &spin, message, sizeof message),
                  ZAN_MODEL_ERR_IO);
        EXPECT_EQ(message, "could not open spin system '" + name + "'");
    }
}

TEST(SpinSystemText, RefusesNullArguments)
{
    ZANSpinSystemDef spin;
    char message[64];
    EXPECT_EQ(zan_load_spin_system_text(nullptr, &spin, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "spin-system load arguments must be non-null");
    EXPECT_EQ(zan_load_spin_system_text("x", nullptr, nullptr, 0), ZAN_MODEL_ERR_NULLPTR);
}

TEST(SpinSystemText, TakesInfinityAndTinyNumbersAsWritten)
{
    const ZANSpinSystemDef spin = loaded("format_version: 1\nnspins: 2\nspin_quantum_numbers: 1 1\n"
                                         "relative_intensities: 0x1p-1 1e-400\n"
                                         "resonance_offsets_hz: inf nan\ncoupling_mode: 1\n");
    EXPECT_EQ(spin.relative_intensities[1], 0.5);
    EXPECT_EQ(spin.relative_intensities[2], 0.0);
    EXPECT_TRUE(std::isinf(spin.resonance_offsets_hz[1]));
    EXPECT_TRUE(std::isnan(spin.resonance_offsets_hz[2]));
}

// ------------------------------------------------------------------------------- subgroups

TEST(SubgroupText, IsReadInAnyOrderOfItsFields)
{
    for (const char *value : {"label=CH3 spins=1,2 ppm=1.0,2.0", "ppm=1.0,2.0\tspins=1,2 label=CH3",
                              "xlabel=no spins=1,2 label=CH3 ppm=1.0,2.0 label=second"}) {
        const ZANSpinSystemDef spin = loaded(two_spins + "orvane_subgroup: " + value + "\n");
        EXPECT_EQ(spin.subgroup_count, 1) << value;
        EXPECT_STREQ(spin.subgroup_labels[0], "CH3") << value;
        EXPECT_EQ(spin.subgroup_spin_count[0], 2) << value;
        EXPECT_EQ(spin.subgroup_spins[0][0], 1) << value;
        EXPECT_EQ(spin.subgroup_spins[0][1], 2) << value;
        EXPECT_EQ(spin.subgroup_ppm_count[0], 2) << value;
        EXPECT_EQ(spin.subgroup_ppm[0], 1.5) << value;
    }
}

TEST(SubgroupText, KnowsWordsForNothing)
{
    const ZANSpinSystemDef spin = loaded(two_spins + "orvane_subgroup: spins=not_modeled ppm=none\n"
                                                     "orvane_subgroup: spins=2 ppm=not_listed\n");
    EXPECT_EQ(spin.subgroup_count, 2);
    EXPECT_STREQ(spin.subgroup_labels[0], "");
    EXPECT_EQ(spin.subgroup_spin_count[0], 0);
    EXPECT_EQ(spin.subgroup_ppm_count[0], 0);
    EXPECT_EQ(spin.subgroup_ppm[0], 0.0);
    EXPECT_EQ(spin.subgroup_spin_count[1], 1);
    EXPECT_EQ(spin.subgroup_ppm_count[1], 0);
}

TEST(SubgroupText, CutsALabelAt63Characters)
{
    const ZANSpinSystemDef spin =
        loaded(two_spins + "orvane_subgroup: spins=1 ppm=1 label=" + std::string(80, 'L') + "\n");
    EXPECT_EQ(spin.subgroup_labels[0], std::string(63, 'L'));
}

TEST(SubgroupText, MayStandBeforeTheSpins)
{
    EXPECT_EQ(loaded("orvane_subgroup: spins=2 ppm=1\n" + two_spins).subgroup_spins[0][0], 2);
}

static const AppendedCase subgroup_cases[] = {
    {"", "line 7: bad orvane_subgroup spins field"},
    {"ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"label=a,spins=1 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins =1 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins= ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=0 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=9 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=1,,2 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=1, ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=1.5 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=none ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=1,1,1,1,1,1,1,1,1 ppm=1", "line 7: bad orvane_subgroup spins field"},
    {"spins=1", "line 7: bad orvane_subgroup ppm field"},
    {"spins=1 ppm=", "line 7: bad orvane_subgroup ppm field"},
    {"spins=1 ppm=1,x", "line 7: bad orvane_subgroup ppm field"},
    {"spins=1 ppm=not_modeled", "line 7: bad orvane_subgroup ppm field"},
    {"spins=1 ppm=1e999", "line 7: bad orvane_subgroup ppm field"},
};

TEST(SubgroupText, RefusesABadField)
{
    for (const AppendedCase &c : subgroup_cases)
        expect_refusal(two_spins + "orvane_subgroup: " + c.lines + "\n", ZAN_MODEL_ERR_PARSE,
                       c.message);
}

TEST(SubgroupText, RefusesASpinThatTheSystemLacks)
{
    expect_refusal(two_spins + "orvane_subgroup: spins=1,3 ppm=1\n", ZAN_MODEL_ERR_RANGE,
                   "subgroup 1 references spin 3 outside 1..2");
}

TEST(SubgroupText, RefusesThe33rdRecord)
{
    std::string records;
    for (int k = 0; k < 32; k++)
        records += "orvane_subgroup: spins=1 ppm=1\n";
    EXPECT_EQ(loaded(two_spins + records).subgroup_count, 32);
    expect_refusal(two_spins + records + "orvane_subgroup: anything\n", ZAN_MODEL_ERR_PARSE,
                   "line 39: too many orvane_subgroup records");
}
