// Saving a model: the three files byte by byte, where they go, what keeps them from being
// written. The stored paths are in zanmodel_save_paths.cpp.
#include "child.h"
#include "tempdir.h"
#include "testmodel.h"
#include "zanmodel_internal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <set>

namespace
{

namespace fs = std::filesystem;

// The last save's message.
char message[2048];

ZANModelStatus save(const std::string &path, const TestModel &m)
{
    message[0] = '\0';
    return ZANModel_SaveText(path.c_str(), &m.spin, &m.seq, &m.cfg, message, sizeof message);
}

const char spin_text[] = "format_version: 1\n"
                         "spin_system_name: three spins\n"
                         "\n"
                         "nspins: 3\n"
                         "spin_quantum_numbers: 1 1 1\n"
                         "relative_intensities: 1.25 1.5 1.75\n"
                         "resonance_offsets_hz: -100 -200 -300\n"
                         "coupling_mode: 2\n"
                         "jcoupling_hz: 1 2 7.5\n"
                         "jcoupling_hz: 2 3 -2.25\n";

const char sequence_text[] = "format_version: 1\n"
                             "sequence_name: three spins\n"
                             "\n"
                             "sequence_type: 2\n"
                             "number_of_sectors: 2\n"
                             "sector_type: 1 1\n"
                             "sector_timepoints: 1 64\n"
                             "sector_evolpoints: 1 8\n"
                             "sector_duration_s: 1 0.001\n"
                             "sector_pulsefile: 1 wave-1.bin\n"
                             "sector_statoff_hz: 1 10\n"
                             "sector_remark: 1 sector  1\n"
                             "sector_type: 2 2\n"
                             "sector_timepoints: 2 128\n"
                             "sector_evolpoints: 2 8\n"
                             "sector_duration_s: 2 0.002\n"
                             "sector_pulsefile: 2 wave-2.bin\n"
                             "sector_statoff_hz: 2 20\n"
                             "sector_remark: 2 sector  2\n";

const char model_text[] = "format_version: 1\n"
                          "model_name: three spins\n"
                          "\n"
                          "spin_system_file: ../spin-systems/three spins.zanspin\n"
                          "sequence_file: ../sequences/three spins/three spins.zanseq\n"
                          "\n"
                          "ndx: 2\n"
                          "ndy: 3\n"
                          "ndz: 1\n"
                          "x0_cm: -1.5\n"
                          "y0_cm: 0.5\n"
                          "z0_cm: 2.5\n"
                          "dx_cm: 0.1\n"
                          "dy_cm: 0.2\n"
                          "dz_cm: 0.3\n"
                          "result_file: result.bin\n";

class ModelSave : public testing::Test
{
  protected:
    void SetUp() override { dir.make_dir("models"); }

    // Everything that lies in the directory, '/' behind the names of directories.
    std::string listing() const
    {
        std::set<std::string> names;
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(dir.path))
            names.insert(entry.path().lexically_relative(dir.path).generic_string() +
                         (entry.is_directory() ? "/" : ""));
        std::string text;
        for (const std::string &name : names)
            text += name + "\n";
        return text;
    }

    TempDir dir;
    TestModel model = three_spin_model();
};

// ----------------------------------------------------------------------------------- the files

TEST_F(ModelSave, WritesThreeFilesInDirectoriesBesideItsOwn)
{
    EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK) << message;
    EXPECT_EQ(listing(), "models/\n"
                         "models/Lac.zanmodel\n"
                         "sequences/\n"
                         "sequences/three spins/\n"
                         "sequences/three spins/three spins.zanseq\n"
                         "spin-systems/\n"
                         "spin-systems/three spins.zanspin\n");
    EXPECT_EQ(dir.read("spin-systems/three spins.zanspin"), spin_text);
    EXPECT_EQ(dir.read("sequences/three spins/three spins.zanseq"), sequence_text);
    EXPECT_EQ(dir.read("models/Lac.zanmodel"), model_text);
}

TEST_F(ModelSave, ReplacesWhatWasSavedBefore)
{
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    dir.write("sequences/three spins/waveforms/wave-1.bin", "kept");
    model.cfg.ndx = 1;
    model.spin.nspins = 1;
    model.seq.sector_count = 1;
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    EXPECT_NE(dir.read("models/Lac.zanmodel").find("ndx: 1\n"), std::string::npos);
    EXPECT_NE(dir.read("spin-systems/three spins.zanspin").find("nspins: 1\n"), std::string::npos);
    EXPECT_NE(dir.read("sequences/three spins/three spins.zanseq").find("sectors: 1\n"),
              std::string::npos);
    EXPECT_EQ(dir.read("sequences/three spins/waveforms/wave-1.bin"), "kept");
}

TEST_F(ModelSave, TakesTheNameOfTheFileWhenTheModelHasNone)
{
    model.cfg.model_name[0] = '\0';
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    const std::string text = dir.read("models/Lac.zanmodel");
    EXPECT_EQ(
        text.substr(0, text.find("ndx")),
        "format_version: 1\nmodel_name: Lac\n\nspin_system_file: ../spin-systems/Lac.zanspin\n"
        "sequence_file: ../sequences/Lac/Lac.zanseq\n\n");
    EXPECT_EQ(dir.read("spin-systems/Lac.zanspin").substr(0, 42),
              "format_version: 1\nspin_system_name: Lac\n\nn");
    EXPECT_EQ(dir.read("sequences/Lac/Lac.zanseq").substr(0, 39),
              "format_version: 1\nsequence_name: Lac\n\ns");
}

struct NameCase {
    const char *leaf, *name;
};

TEST_F(ModelSave, NamesWithoutAnExtensionAndWithDots)
{
    model.cfg.model_name[0] = '\0';
    for (const NameCase &c : {NameCase{"plain", "plain"}, NameCase{"Two.Dots.zanmodel", "Two.Dots"},
                              NameCase{".hidden", ".hidden"}, NameCase{"A b.c", "A b"}}) {
        EXPECT_EQ(save(dir.file(std::string("models/") + c.leaf), model), ZAN_MODEL_OK) << message;
        EXPECT_TRUE(dir.exists(std::string("spin-systems/") + c.name + ".zanspin")) << c.leaf;
        EXPECT_TRUE(dir.exists(std::string("models/") + c.leaf)) << c.leaf;
    }
}

TEST_F(ModelSave, WritesNumbersWithFifteenDigits)
{
    model.spin.relative_intensities[1] = 1.0 / 3.0;
    model.spin.relative_intensities[2] = 1e-300;
    model.spin.resonance_offsets_hz[1] = -123456789.123456789;
    model.spin.resonance_offsets_hz[2] = 0.1 + 0.2;
    model.spin.resonance_offsets_hz[3] = std::nan("");
    model.seq.sectors[1].total_duration_s = 1e-5;
    model.cfg.x0_cm = -0.0;
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    const std::string spin = dir.read("spin-systems/three spins.zanspin");
    EXPECT_NE(spin.find("relative_intensities: 0.333333333333333 1e-300 1.75\n"),
              std::string::npos);
    EXPECT_NE(spin.find("resonance_offsets_hz: -123456789.123457 0.3 nan\n"), std::string::npos);
    EXPECT_NE(
        dir.read("sequences/three spins/three spins.zanseq").find("sector_duration_s: 1 1e-05\n"),
        std::string::npos);
    EXPECT_NE(dir.read("models/Lac.zanmodel").find("x0_cm: -0\n"), std::string::npos);
}

TEST_F(ModelSave, TheLargestNumbersComeBack)
{
    const double largest = std::numeric_limits<double>::max();
    const double second = 1.7976931348623151e308; // 15 digits round it up as well
    model.spin.resonance_offsets_hz[1] = largest;
    model.spin.relative_intensities[2] = second;
    model.spin.j_hz[1][2] = model.spin.j_hz[2][1] = -largest;
    model.seq.sectors[1].total_duration_s = largest;
    model.seq.sectors[2].offset_frequency_hz = -largest;
    model.cfg.x0_cm = -second;
    model.cfg.dz_cm = largest;
    model.cfg.dy_cm = 1.79769313486231e308; // 15 digits are enough
    dir.write("sequences/three spins/wave-1.bin", "");
    dir.write("sequences/three spins/wave-2.bin", "");
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK) << message;
    EXPECT_NE(dir.read("models/Lac.zanmodel").find("dy_cm: 1.79769313486231e+308\n"),
              std::string::npos);
    TestModel back;
    ASSERT_EQ(ZANModel_LoadText(dir.file("models/Lac.zanmodel").c_str(), &back.spin, &back.seq,
                                &back.cfg, message, sizeof message),
              ZAN_MODEL_OK)
        << message;
    EXPECT_EQ(back.spin.resonance_offsets_hz[1], largest);
    EXPECT_EQ(back.spin.relative_intensities[2], second);
    EXPECT_EQ(back.spin.j_hz[1][2], -largest);
    EXPECT_EQ(back.seq.sectors[1].total_duration_s, largest);
    EXPECT_EQ(back.seq.sectors[2].offset_frequency_hz, -largest);
    EXPECT_EQ(back.cfg.x0_cm, -second);
    EXPECT_EQ(back.cfg.dz_cm, largest);
}

TEST_F(ModelSave, WritesNoCouplingLineWhenAllAreZero)
{
    for (auto &row : model.spin.j_hz)
        for (double &j : row)
            j = 0.0;
    model.spin.j_hz[1][2] = -0.0;
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    const std::string text = dir.read("spin-systems/three spins.zanspin");
    EXPECT_EQ(text.find("jcoupling_hz"), std::string::npos);
    EXPECT_TRUE(text.ends_with("coupling_mode: 2\n"));
}

TEST_F(ModelSave, ACouplingThatIsNoNumberIsWritten)
{
    model.spin.j_hz[1][3] = std::nan("");
    const FilePtr out{std::fopen(dir.file("couplings").c_str(), "wb")};
    zan_print_couplings(out.get(), &model.spin);
    std::fflush(out.get());
    EXPECT_EQ(dir.read("couplings"),
              "jcoupling_hz: 1 2 7.5\njcoupling_hz: 1 3 nan\njcoupling_hz: 2 3 -2.25\n");
}

TEST_F(ModelSave, WritesARemarkLineForAnEmptyRemarkToo)
{
    model.seq.sectors[1].remark[0] = '\0';
    zan_copy_text(model.seq.sectors[2].remark, "100% of  it # not this");
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    const std::string text = dir.read("sequences/three spins/three spins.zanseq");
    EXPECT_NE(text.find("\nsector_remark: 1 \n"), std::string::npos);
    EXPECT_NE(text.find("\nsector_remark: 2 100% of  it # not this\n"), std::string::npos);
}

TEST_F(ModelSave, DoesNotWriteFieldCarrierAndSubgroups)
{
    model.spin.subgroup_count = 1;
    model.spin.subgroup_spin_count[0] = 1;
    model.spin.subgroup_spins[0][0] = 2;
    model.cfg.b0_tesla = 7.0;
    model.cfg.receiver_carrier_ppm = 4.7;
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    EXPECT_EQ(dir.read("spin-systems/three spins.zanspin"), spin_text);
    EXPECT_EQ(dir.read("models/Lac.zanmodel"), model_text);
}

// ------------------------------------------------------------------------------ where they go

TEST_F(ModelSave, TargetsOfEverySpellingLieBesideTheModelsDirectory)
{
    dir.make_dir("models/deeper");
    const std::string spin = "spin-systems/three spins.zanspin";
    const std::string sequence = "sequences/three spins/three spins.zanseq";
    for (const char *target : {"models/x", "models//x", "models///x", "models/./x",
                               "other/../models/x", "models/deeper/../x", "./models/x"}) {
        dir.make_dir("other");
        EXPECT_EQ(save(dir.path + "/" + target, model), ZAN_MODEL_OK) << target << message;
        EXPECT_TRUE(fs::remove(dir.file("models/x"))) << target;
        EXPECT_TRUE(fs::remove(dir.file(spin))) << target;
        EXPECT_TRUE(fs::remove(dir.file(sequence))) << target;
    }
}

TEST(ModelSaveRelative, ATargetInADirectoryOfTheWorkingDirectoryIsSaved)
{
    const WorkDir dir;
    dir.make_dir("models/deeper");
    for (const char *target : {"models/x", "./models/x", "models/./x", "models/deeper/../x"}) {
        EXPECT_EQ(save(target, three_spin_model()), ZAN_MODEL_OK) << target << message;
        EXPECT_TRUE(fs::remove("models/x")) << target;
        EXPECT_TRUE(fs::remove("spin-systems/three spins.zanspin")) << target;
        EXPECT_TRUE(fs::remove("sequences/three spins/three spins.zanseq")) << target;
    }
    fs::current_path("models");
    EXPECT_EQ(save("./x", three_spin_model()), ZAN_MODEL_OK) << message;
    EXPECT_TRUE(dir.exists("spin-systems/three spins.zanspin"));
    fs::current_path(dir.path);
}

TEST(ModelSaveRelative, ATargetWithoutAParentDirectoryIsRefused)
{
    const WorkDir dir;
    for (const char *target : {"x.zanmodel", "", "/x.zanmodel", "//x", "c:x", "c:/x", "c:\\x"}) {
        EXPECT_EQ(save(target, three_spin_model()), ZAN_MODEL_ERR_IO) << target;
        EXPECT_EQ(message,
                  "could not derive split output directories for '" + std::string(target) + "'");
    }
    EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST_F(ModelSave, ANameThatIsNoFileNameIsRefused)
{
    const std::string target = dir.file("models/Lac.zanmodel");
    for (const char *name : {"a/b", "..", ".", "../x", "a\\b", "Lac#1", "two\nlines", "a\r"}) {
        zan_copy_text(model.cfg.model_name, name);
        EXPECT_EQ(save(target, model), ZAN_MODEL_ERR_IO) << name;
        EXPECT_EQ(message, "could not derive split output directories for '" + target + "'");
    }
    EXPECT_EQ(listing(), "models/\n");
}

TEST_F(ModelSave, LongNamesAreSavedOrRefusedButNeverCut)
{
    const std::string longest(247, 'n'), too_long(248, 'n');
    zan_copy_text(model.cfg.model_name, longest.c_str());
    EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK) << message;
    EXPECT_TRUE(dir.exists("sequences/" + longest + "/" + longest + ".zanseq"));
    EXPECT_TRUE(dir.exists("spin-systems/" + longest + ".zanspin"));
    zan_copy_text(model.cfg.model_name, too_long.c_str());
    EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_ERR_IO);
    EXPECT_STREQ(message, "split output path is too long");
}

// A directory of the given length below dir, made.
std::string deep_directory(const TempDir &dir, size_t length)
{
    std::string path = dir.path;
    while (path.size() + 1 < length)
        path += "/" + std::string(std::min<size_t>(length - path.size() - 1, 100), 'd');
    fs::create_directories(path);
    return path;
}

TEST_F(ModelSave, LongDirectoriesAreSavedOrRefused)
{
    // sequences/three spins/three spins.zanseq has 40 characters, its directory 21.
    const std::string fits = deep_directory(dir, 1023 - 41);
    fs::create_directory(fits + "/m");
    EXPECT_EQ(save(fits + "/m/x", model), ZAN_MODEL_OK) << message;
    const std::string one_more = deep_directory(dir, 1024 - 41);
    fs::create_directory(one_more + "/m");
    EXPECT_EQ(save(one_more + "/m/x", model), ZAN_MODEL_ERR_IO);
    EXPECT_STREQ(message, "split output path is too long");
    const std::string far_more = deep_directory(dir, 1024 - 22);
    fs::create_directory(far_more + "/m");
    EXPECT_EQ(save(far_more + "/m/x", model), ZAN_MODEL_ERR_IO);
    EXPECT_EQ(message, "could not derive split output directories for '" + far_more + "/m/x'");
}

// ------------------------------------------------------------------------------------- failures

TEST_F(ModelSave, NullArgumentsAreRefused)
{
    const std::string path = dir.file("models/x");
    const auto refused = [&](const char *filename, const ZANSpinSystemDef *spin,
                             const ZANPulseSequenceDef *seq, const ZANRunConfig *cfg) {
        message[0] = '\0';
        EXPECT_EQ(ZANModel_SaveText(filename, spin, seq, cfg, message, sizeof message),
                  ZAN_MODEL_ERR_NULLPTR);
        EXPECT_STREQ(message, "save arguments must be non-null");
    };
    refused(nullptr, &model.spin, &model.seq, &model.cfg);
    refused(path.c_str(), nullptr, &model.seq, &model.cfg);
    refused(path.c_str(), &model.spin, nullptr, &model.cfg);
    refused(path.c_str(), &model.spin, &model.seq, nullptr);
    EXPECT_EQ(ZANModel_SaveText(nullptr, nullptr, nullptr, nullptr, nullptr, 0),
              ZAN_MODEL_ERR_NULLPTR);
}

struct InvalidCase {
    void (*change)(TestModel *);
    ZANModelStatus status;
    const char *message;
};

TEST_F(ModelSave, AnInvalidModelIsNotWritten)
{
    const InvalidCase cases[] = {
        {[](TestModel *m) { m->spin.nspins = 9; }, ZAN_MODEL_ERR_RANGE, "nspins=9 is outside 1..8"},
        {[](TestModel *m) { m->spin.j_hz[1][2] = m->spin.j_hz[2][1] = std::nan(""); },
         ZAN_MODEL_ERR_RANGE, "j_hz matrix is not symmetric at (1,2) and (2,1)"},
        {[](TestModel *m) { m->spin.spin_quantum_numbers[1] = 127; }, ZAN_MODEL_ERR_DIMENSION,
         "Hilbert dimension 512 exceeds ZAN_MAX_STATES=256"},
        {[](TestModel *m) { m->seq.sector_count = 0; }, ZAN_MODEL_ERR_RANGE,
         "sector_count=0 is invalid; at least one sector is required"},
        {[](TestModel *m) { m->seq.sequence_type = 1; }, ZAN_MODEL_ERR_INCOMPATIBLE,
         "spatial sequence sector 1 has number_of_evolpoints=8; expected 1"},
        {[](TestModel *m) { m->seq.sectors[2].pulse_filename[0] = '\0'; }, ZAN_MODEL_ERR_RANGE,
         "sector 2 pulse_filename is required"},
        {[](TestModel *m) { m->cfg.result_filename[0] = '\0'; }, ZAN_MODEL_ERR_RANGE,
         "result_filename is required"},
    };
    for (const InvalidCase &c : cases) {
        TestModel changed = model;
        c.change(&changed);
        EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), changed), c.status) << c.message;
        EXPECT_STREQ(message, c.message);
    }
    EXPECT_EQ(listing(), "models/\n");
}

TEST_F(ModelSave, AFileInTheWayOfADirectoryIsTold)
{
    for (const char *obstacle : {"spin-systems", "sequences", "sequences/three spins"}) {
        dir.write(obstacle, "");
        EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_ERR_IO) << obstacle;
        EXPECT_STREQ(message, "could not create split output directories") << obstacle;
        fs::remove(dir.file(obstacle));
    }
    EXPECT_FALSE(dir.exists("models/Lac.zanmodel"));
}

TEST_F(ModelSave, AMissingRootIsTold)
{
    EXPECT_EQ(save(dir.file("missing/models/Lac.zanmodel"), model), ZAN_MODEL_ERR_IO);
    EXPECT_STREQ(message, "could not create split output directories");
}

TEST_F(ModelSave, AMissingModelsDirectoryIsToldAndLeavesTheOtherFiles)
{
    const std::string target = dir.file("missing/Lac.zanmodel");
    EXPECT_EQ(save(target, model), ZAN_MODEL_ERR_IO);
    EXPECT_EQ(message, "could not open '" + target + "' for writing");
    EXPECT_EQ(dir.read("spin-systems/three spins.zanspin"), spin_text);
    EXPECT_EQ(dir.read("sequences/three spins/three spins.zanseq"), sequence_text);
}

TEST_F(ModelSave, AFileThatDoesNotOpenIsToldByItsPath)
{
    for (const char *target : {"spin-systems/three spins.zanspin",
                               "sequences/three spins/three spins.zanseq", "models/Lac.zanmodel"}) {
        dir.make_dir(target);
        EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_ERR_IO);
        EXPECT_EQ(message, "could not open '" + dir.file(target) + "' for writing");
        fs::remove(dir.file(target));
    }
}

TEST_F(ModelSave, APathThatCannotBeStoredIsTold)
{
    for (const char *path : {"waveforms/a#b.bin", "two\nlines", "/elsewhere/a#b.bin"}) {
        TestModel changed = model;
        zan_copy_text(changed.seq.sectors[2].pulse_filename, path);
        EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), changed), ZAN_MODEL_ERR_IO) << path;
        EXPECT_STREQ(message, "could not derive portable sector path for sector 2");
        EXPECT_FALSE(dir.exists("sequences/three spins/three spins.zanseq"));
        EXPECT_EQ(dir.read("spin-systems/three spins.zanspin"), spin_text);
        changed = model;
        zan_copy_text(changed.cfg.result_filename, path);
        EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), changed), ZAN_MODEL_ERR_IO) << path;
        EXPECT_STREQ(message, "could not derive portable result_file path");
        EXPECT_EQ(dir.read("sequences/three spins/three spins.zanseq"), sequence_text);
        EXPECT_FALSE(dir.exists("models/Lac.zanmodel"));
        fs::remove(dir.file("sequences/three spins/three spins.zanseq"));
    }
}

// ------------------------------------------------------------------- full disks, missing rights

// A limit on the length of files stops each of the three when it is the longest.

std::string status_and_message(const TestModel &m, const std::string &path)
{
    const ZANModelStatus status = save(path, m);
    return std::to_string(status) + " " + message;
}

std::string save_three_spins(const std::string &path)
{
    return status_and_message(three_spin_model(), path);
}

std::string save_long_sequence(const std::string &path)
{
    TestModel m = three_spin_model();
    for (int s = 3; s <= ZAN_MODEL_SECTOR_CAP; s++)
        m.seq.sectors[s] = m.seq.sectors[1];
    m.seq.sector_count = ZAN_MODEL_SECTOR_CAP;
    return status_and_message(m, path);
}

std::string save_long_result_name(const std::string &path)
{
    TestModel m = three_spin_model();
    m.seq.sector_count = 1;
    zan_copy_text(m.cfg.result_filename, std::string(255, 'r').c_str());
    return status_and_message(m, path);
}

struct FullDiskCase {
    std::string (*save)(const std::string &path);
    unsigned long limit; // bytes in one file
    const char *failing;
};

TEST_F(ModelSave, AFullDiskKeepsTheOldFileAndLeavesNoHalfOne)
{
    const FullDiskCase cases[] = {
        {save_three_spins, 100, "spin-systems/three spins.zanspin"},
        {save_long_sequence, 1000, "sequences/three spins/three spins.zanseq"},
        {save_long_result_name, 400, "models/Lac.zanmodel"},
    };
    for (const FullDiskCase &c : cases) {
        ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
        dir.write(c.failing, "old\n");
        const std::string before = listing();
        EXPECT_EQ(in_child(c.save, dir.file("models/Lac.zanmodel"), RunAs::this_user, c.limit),
                  "2 failed while closing '" + dir.file(c.failing) + "'");
        EXPECT_EQ(dir.read(c.failing), "old\n");
        EXPECT_EQ(listing(), before);
    }
}

TEST_F(ModelSave, AFullDiskLeavesNoNewFile)
{
    EXPECT_EQ(in_child(save_three_spins, dir.file("models/Lac.zanmodel"), RunAs::this_user, 100),
              "2 failed while closing '" + dir.file("spin-systems/three spins.zanspin") + "'");
    EXPECT_EQ(listing(), "models/\nsequences/\nsequences/three spins/\nspin-systems/\n");
}

TEST_F(ModelSave, ALinkToAFullDeviceIsToldAndStays)
{
    dir.make_dir("spin-systems");
    fs::create_symlink("/dev/full", dir.file("models/Lac.zanmodel"));
    EXPECT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_ERR_IO);
    EXPECT_EQ(message, "failed while closing '" + dir.file("models/Lac.zanmodel") + "'");
    EXPECT_TRUE(fs::is_symlink(dir.file("models/Lac.zanmodel")));
}

void take_write_permission(const std::string &path)
{
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::remove);
}

TEST_F(ModelSave, ARootThatIsNotWritableIsTold)
{
    if (!nobody_can_enter(dir.path))
        GTEST_SKIP() << "another user cannot come here";
    take_write_permission(dir.path);
    EXPECT_EQ(in_child(save_three_spins, dir.file("models/Lac.zanmodel"), RunAs::nobody),
              "2 could not create split output directories");
    fs::permissions(dir.path, fs::perms::owner_write, fs::perm_options::add);
    EXPECT_EQ(listing(), "models/\n");
}

TEST_F(ModelSave, ADirectoryThatIsNotWritableKeepsItsFiles)
{
    if (!nobody_can_enter(dir.path))
        GTEST_SKIP() << "another user cannot come here";
    ASSERT_EQ(save(dir.file("models/Lac.zanmodel"), model), ZAN_MODEL_OK);
    const std::string file = dir.write("spin-systems/three spins.zanspin", "old\n");
    take_write_permission(file);
    take_write_permission(dir.file("spin-systems"));
    EXPECT_EQ(in_child(save_three_spins, dir.file("models/Lac.zanmodel"), RunAs::nobody),
              "2 could not open '" + file + "' for writing");
    fs::permissions(dir.file("spin-systems"), fs::perms::owner_write, fs::perm_options::add);
    EXPECT_EQ(dir.read("spin-systems/three spins.zanspin"), "old\n");
}

} // namespace
