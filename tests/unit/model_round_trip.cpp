// Random models go through the runtime state into their files and come back equal, also from a
// directory to which the whole tree was moved. A failure names its seed.
#include "platformlib.h"
#include "tempdir.h"
#include "testmodel.h"
#include "zan.h"
#include "zanmodel_internal.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace
{

namespace fs = std::filesystem;

struct Random {
    std::mt19937_64 engine;

    int number(int lowest, int highest)
    {
        const auto range = static_cast<uint64_t>(highest - lowest + 1);
        return lowest + static_cast<int>(engine() % range);
    }
    bool once_in(int times) { return number(1, times) == 1; }
    // -1..1 with all digits, at a scale of 1e-6 to 1e6.
    double real()
    {
        const double digits = static_cast<double>(engine() >> 11) * 0x1p-52 - 1.0;
        return digits * std::pow(10.0, number(-6, 6));
    }
    std::string text(const char *letters, int length)
    {
        std::string text;
        for (int k = 0; k < length; k++)
            text +=
                letters[static_cast<size_t>(number(0, static_cast<int>(std::strlen(letters)) - 1))];
        return text;
    }
    // Capitals, inner blanks and dots.
    std::string name()
    {
        const char letters[] = "ABCabcxyz019_-";
        return text(letters, number(1, 6)) +
               (once_in(3)   ? " "
                : once_in(3) ? "."
                             : "") +
               text(letters, number(1, 6));
    }
};

// ----------------------------------------------------------------------------- random records

void make_spins(Random *r, ZANSpinSystemDef *spin)
{
    ZANSpinSystemDef_Init(spin);
    const int wanted = r->number(1, 8), largest = r->once_in(8) ? 256 : 32;
    int states = 1;
    spin->nspins = 0;
    for (int i = 1; i <= wanted; i++) {
        const int twice_spin = r->once_in(3) ? r->number(1, 7) : 1;
        if (states * (twice_spin + 1) > largest)
            continue;
        states *= twice_spin + 1;
        const int k = ++spin->nspins;
        spin->spin_quantum_numbers[k] = twice_spin;
        spin->relative_intensities[k] = r->real();
        spin->resonance_offsets_hz[k] = r->real();
    }
    spin->coupling_mode = r->number(1, 2);
    for (int i = 1; i <= spin->nspins; i++)
        for (int k = i + 1; k <= spin->nspins; k++)
            spin->j_hz[i][k] = spin->j_hz[k][i] = r->once_in(3) ? 0.0 : r->real();
}

// Fields that no file holds.
void make_what_is_lost(TestModel *m)
{
    m->spin.subgroup_count = 1;
    m->spin.subgroup_spin_count[0] = 1;
    m->spin.subgroup_spins[0][0] = 1;
    m->spin.subgroup_ppm_count[0] = 1;
    m->spin.subgroup_ppm[0] = 1.3;
    zan_copy_text(m->spin.subgroup_labels[0], "CH3");
    m->cfg.b0_tesla = 9.4;
    m->cfg.receiver_carrier_ppm = 4.7;
}

// Where a model named name lies below root.
struct Places {
    std::string root, elsewhere, name; // elsewhere is no part of the tree

    std::string model() const { return root + "/models/" + name + ".zanmodel"; }
    std::string sequence_dir() const { return root + "/sequences/" + name; }
};

void write_file_at(const std::string &path, const std::string &contents)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path) << contents;
}

// What the waveform file of a sector holds.
std::string contents_for(int s)
{
    return "waveform of sector " + std::to_string(s);
}

// The waveform file of sector s and one of the ways to name it.
std::string make_waveform(Random *r, const Places &at, int s)
{
    const std::string leaf = r->name() + std::to_string(s) + ".Bin";
    const std::string below = at.sequence_dir() + "/";
    const struct {
        std::string file, stored;
    } ways[] = {
        {below + leaf, leaf},
        {below + "waveforms/" + leaf, "waveforms/" + leaf},
        {below + "waveforms/" + leaf, leaf},
        {below + leaf, below + leaf},
        {below + "waveforms/" + leaf, below + "waveforms/" + leaf},
        {below + "Deep/Er/" + leaf, below + "Deep//Er/./" + leaf},
        {below + "waveforms/" + leaf,
         at.root + "/models/../sequences/" + at.name + "/waveforms/" + leaf},
        {at.root + "/sequences/Shared Pulses/" + leaf,
         at.root + "/sequences/Shared Pulses/" + leaf},
        {at.root + "/sequences/Shared/" + leaf, "../Shared/" + leaf},
        {at.root + "/sequences/" + leaf, below + "../" + leaf},
        {at.elsewhere + "/Pulses/" + leaf, at.elsewhere + "/Pulses/" + leaf},
    };
    const auto &way = ways[r->number(0, static_cast<int>(std::size(ways)) - 1)];
    write_file_at(way.file, contents_for(s));
    return way.stored;
}

void make_sequence(Random *r, const Places &at, ZANPulseSequenceDef *seq)
{
    ZANPulseSequenceDef_Init(seq);
    const bool spatial = r->once_in(2);
    seq->sequence_type = spatial ? 1 : 2;
    seq->sector_count = r->number(1, ZAN_MODEL_SECTOR_CAP);
    for (int s = 1; s <= seq->sector_count; s++) {
        ZANPulseSectorDef *sector = &seq->sectors[s];
        sector->sector_type = spatial ? 1 : r->number(1, 2);
        sector->number_of_evolpoints = spatial ? 1 : r->number(1, 8192);
        sector->number_of_timepoints = r->number(1, 8192);
        sector->total_duration_s = std::abs(r->real()) + 1e-9;
        sector->offset_frequency_hz = r->real();
        zan_copy_text(sector->pulse_filename, make_waveform(r, at, s).c_str());
        if (!r->once_in(4))
            zan_copy_text(sector->remark,
                          ("a" + r->text("abc XYZ:%s,.=  ", r->number(0, 300)) + "z").c_str());
    }
}

void make_run_config(Random *r, const std::string &result, ZANRunConfig *cfg)
{
    ZANRunConfig_Init(cfg);
    for (int *count : {&cfg->ndx, &cfg->ndy, &cfg->ndz})
        *count = r->number(1, 256);
    for (double *value : {&cfg->x0_cm, &cfg->y0_cm, &cfg->z0_cm})
        *value = r->real();
    for (double *value : {&cfg->dx_cm, &cfg->dy_cm, &cfg->dz_cm})
        *value = r->once_in(3) ? 0.0 : std::abs(r->real());
    zan_copy_text(cfg->result_filename, result.c_str());
}

std::string lower(std::string text)
{
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// One of the ways to name a result, and what comes back: a relative name belongs to the results
// directory, and so does what the writer made relative.
struct ResultName {
    std::string given, loaded;
};

ResultName make_result_name(Random *r, const Places &at)
{
    std::string results;
    EXPECT_TRUE(zan_run_results_dir(&results));
    const std::string leaf = r->name() + ".Bin";
    const ResultName ways[] = {
        {leaf, results + "/" + leaf},
        {"Sub/" + leaf, results + "/Sub/" + leaf},
        {results + "/" + leaf, results + "/" + lower(leaf)},
        {results + "/Sub/" + leaf, results + "/Sub/" + leaf},
        {at.elsewhere + "/" + leaf, at.elsewhere + "/" + leaf},
        {at.root + "/models/" + leaf, results + "/" + lower(leaf)},
        {at.root + "/Out/" + leaf, results + "/../out/" + lower(leaf)},
    };
    return ways[r->number(0, static_cast<int>(std::size(ways)) - 1)];
}

// ---------------------------------------------------------------------------------- comparison

// To the digits that are written.
double written(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", value);
    return std::strtod(text, nullptr);
}

void expect_same_spins(const ZANSpinSystemDef &saved, const ZANSpinSystemDef &loaded)
{
    ASSERT_EQ(loaded.nspins, saved.nspins);
    EXPECT_EQ(loaded.coupling_mode, saved.coupling_mode);
    for (int i = 1; i <= saved.nspins; i++) {
        EXPECT_EQ(loaded.spin_quantum_numbers[i], saved.spin_quantum_numbers[i]);
        EXPECT_EQ(loaded.relative_intensities[i], written(saved.relative_intensities[i]));
        EXPECT_EQ(loaded.resonance_offsets_hz[i], written(saved.resonance_offsets_hz[i]));
        for (int k = 1; k <= saved.nspins; k++)
            EXPECT_EQ(loaded.j_hz[i][k], written(saved.j_hz[i][k]));
    }
}

std::string contents_of(const std::string &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void expect_same_sequence(const ZANPulseSequenceDef &saved, const ZANPulseSequenceDef &loaded)
{
    EXPECT_EQ(loaded.sequence_type, saved.sequence_type);
    ASSERT_EQ(loaded.sector_count, saved.sector_count);
    for (int s = 1; s <= saved.sector_count; s++) {
        const ZANPulseSectorDef &a = saved.sectors[s], &b = loaded.sectors[s];
        EXPECT_EQ(b.sector_type, a.sector_type);
        EXPECT_EQ(b.number_of_timepoints, a.number_of_timepoints);
        EXPECT_EQ(b.number_of_evolpoints, a.number_of_evolpoints);
        EXPECT_EQ(b.total_duration_s, written(a.total_duration_s));
        EXPECT_EQ(b.offset_frequency_hz, written(a.offset_frequency_hz));
        EXPECT_STREQ(b.remark, a.remark);
        EXPECT_EQ(contents_of(b.pulse_filename), contents_for(s))
            << a.pulse_filename << " became " << b.pulse_filename;
    }
}

void expect_same_grid(const ZANRunConfig &saved, const ZANRunConfig &loaded)
{
    EXPECT_EQ(loaded.ndx, saved.ndx);
    EXPECT_EQ(loaded.ndy, saved.ndy);
    EXPECT_EQ(loaded.ndz, saved.ndz);
    EXPECT_EQ(loaded.x0_cm, written(saved.x0_cm));
    EXPECT_EQ(loaded.y0_cm, written(saved.y0_cm));
    EXPECT_EQ(loaded.z0_cm, written(saved.z0_cm));
    EXPECT_EQ(loaded.dx_cm, written(saved.dx_cm));
    EXPECT_EQ(loaded.dy_cm, written(saved.dy_cm));
    EXPECT_EQ(loaded.dz_cm, written(saved.dz_cm));
}

// -------------------------------------------------------------------------------------- models

// One random model in a tree of its own.
struct Case {
    TempDir dir;
    Places at;
    ResultName result;
    TestModel model;
};

void make_case(unsigned seed, Case *c)
{
    Random r = {std::mt19937_64(seed)};
    c->at = {c->dir.path + "/Tree", c->dir.path + "/Elsewhere", r.name()};
    c->dir.make_dir("Tree/models");
    make_spins(&r, &c->model.spin);
    make_sequence(&r, c->at, &c->model.seq);
    c->result = make_result_name(&r, c->at);
    make_run_config(&r, c->result.given, &c->model.cfg);
    make_what_is_lost(&c->model);
}

testing::AssertionResult succeeded(ZANModelStatus status, const char *message)
{
    if (status == ZAN_MODEL_OK)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << ZANModelStatusString(status) << " (" << message << ")";
}

testing::AssertionResult save_through_runtime_state(const TestModel &m, const std::string &path)
{
    char message[1024] = "";
    ZANModelStatus status =
        ZANModel_ApplyToLegacyGlobals(&m.spin, &m.seq, &m.cfg, message, sizeof message);
    if (status == ZAN_MODEL_OK)
        status = ZANModel_SaveCurrentLegacyStateToText(path.c_str(), message, sizeof message);
    return succeeded(status, message);
}

testing::AssertionResult load(const std::string &path, TestModel *m)
{
    char message[1024] = "";
    return succeeded(
        ZANModel_LoadText(path.c_str(), &m->spin, &m->seq, &m->cfg, message, sizeof message),
        message);
}

void expect_same_model(const Case &c, const TestModel &loaded)
{
    expect_same_spins(c.model.spin, loaded.spin);
    expect_same_sequence(c.model.seq, loaded.seq);
    expect_same_grid(c.model.cfg, loaded.cfg);
    EXPECT_EQ(fs::path(loaded.cfg.result_filename), c.result.loaded) << c.result.given;
}

class ModelRoundTrip : public testing::TestWithParam<unsigned>
{
  protected:
    void SetUp() override
    {
        ZAN_SetSmokeCheckMode(1);
        make_case(GetParam(), &c);
        ASSERT_TRUE(save_through_runtime_state(c.model, c.at.model()));
    }
    void TearDown() override { ZAN_SetSmokeCheckMode(0); }

    Case c;
    TestModel loaded;
};

TEST_P(ModelRoundTrip, ASavedModelLoadsAsItWas)
{
    ASSERT_TRUE(load(c.at.model(), &loaded));
    expect_same_model(c, loaded);
    EXPECT_EQ(loaded.cfg.model_name, c.at.name);
}

TEST_P(ModelRoundTrip, FieldCarrierAndSubgroupsAreLost)
{
    ASSERT_TRUE(load(c.at.model(), &loaded));
    EXPECT_EQ(loaded.spin.subgroup_count, 0);
    EXPECT_EQ(loaded.spin.subgroup_spin_count[0], 0);
    EXPECT_EQ(loaded.cfg.b0_tesla, 0.0);
    EXPECT_EQ(loaded.cfg.receiver_carrier_ppm, 0.0);
}

TEST_P(ModelRoundTrip, AMovedTreeStillLoads)
{
    fs::create_directories(c.dir.path + "/New Place");
    fs::rename(c.at.root, c.dir.path + "/New Place/Tree");
    c.at.root = c.dir.path + "/New Place/Tree";
    ASSERT_TRUE(load(c.at.model(), &loaded));
    expect_same_model(c, loaded);
}

TEST_P(ModelRoundTrip, ALoadedModelSavesAndLoadsAgain)
{
    ASSERT_TRUE(load(c.at.model(), &loaded));
    const TestModel first = loaded;
    ASSERT_TRUE(save_through_runtime_state(loaded, c.at.model()));
    ASSERT_TRUE(load(c.at.model(), &loaded));
    expect_same_spins(c.model.spin, loaded.spin);
    expect_same_sequence(c.model.seq, loaded.seq);
    expect_same_grid(c.model.cfg, loaded.cfg);
    for (int s = 1; s <= first.seq.sector_count; s++)
        EXPECT_TRUE(plat_same_file(loaded.seq.sectors[s].pulse_filename,
                                   first.seq.sectors[s].pulse_filename))
            << loaded.seq.sectors[s].pulse_filename;
}

TEST_P(ModelRoundTrip, AFileLoadsIntoTheRuntimeState)
{
    char message[1024] = "";
    ASSERT_TRUE(load(c.at.model(), &loaded));
    rt.Nspins = rt.nos = 0;
    ASSERT_TRUE(succeeded(
        ZANModel_LoadCurrentLegacyStateFromText(c.at.model().c_str(), message, sizeof message),
        message));
    EXPECT_TRUE(zan_runtime_matches_model_def(&loaded.spin, &loaded.seq, &loaded.cfg, message,
                                              sizeof message))
        << message;
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelRoundTrip, testing::Range(1u, 31u));

} // namespace
