// Initial values, validation rules and status texts of the model records.
#include "testmodel.h"
#include "zanmodel_internal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

static const double nan_value = std::nan("");

// A valid model, one change, and what the check then says.
struct ValidationCase {
    void (*change)(TestModel *);
    ZANModelStatus status;
    const char *message;
};

template <typename Validate>
static void expect_each(const ValidationCase *cases, size_t count, Validate validate)
{
    for (size_t k = 0; k < count; k++) {
        TestModel model = three_spin_model();
        cases[k].change(&model);
        char message[256] = "";
        EXPECT_EQ(validate(model, message, sizeof message), cases[k].status) << "case " << k;
        EXPECT_STREQ(message, cases[k].message) << "case " << k;
    }
}

static ZANModelStatus validate_spin(const TestModel &m, char *errbuf, size_t errbufsz)
{
    return ZANSpinSystemDef_Validate(&m.spin, errbuf, errbufsz);
}

static ZANModelStatus validate_seq(const TestModel &m, char *errbuf, size_t errbufsz)
{
    return ZANPulseSequenceDef_Validate(&m.seq, errbuf, errbufsz);
}

static ZANModelStatus validate_cfg(const TestModel &m, char *errbuf, size_t errbufsz)
{
    return ZANRunConfig_Validate(&m.cfg, errbuf, errbufsz);
}

static ZANModelStatus validate_all(const TestModel &m, char *errbuf, size_t errbufsz)
{
    return ZANModel_ValidateAll(&m.spin, &m.seq, &m.cfg, errbuf, errbufsz);
}

static ZANModelStatus validate_runnable(const TestModel &m, char *errbuf, size_t errbufsz)
{
    return zan_validate_runnable_sequence(&m.seq, errbuf, errbufsz);
}

// Spins 1..n with the given 2I, nothing else changed.
static void set_quantum_numbers(TestModel *m, std::initializer_list<int> twice_spins)
{
    m->spin.nspins = 0;
    for (int twice_spin : twice_spins)
        m->spin.spin_quantum_numbers[++m->spin.nspins] = twice_spin;
}

TEST(ModelStatusString, NamesEveryStatus)
{
    const char *const texts[] = {"ok",
                                 "null pointer",
                                 "i/o error",
                                 "parse error",
                                 "range error",
                                 "dimension error",
                                 "incompatible with legacy globals"};
    for (int status = 0; status <= 6; status++)
        EXPECT_STREQ(ZANModelStatusString(static_cast<ZANModelStatus>(status)), texts[status]);
    EXPECT_STREQ(ZANModelStatusString(static_cast<ZANModelStatus>(7)), "unknown error");
}

// ------------------------------------------------------------------------------ initial values

TEST(SpinSystemInit, GivesOneSpinHalfAtZeroOffset)
{
    ZANSpinSystemDef spin, expected = {};
    std::memset(&spin, 0x5a, sizeof spin);
    ZANSpinSystemDef_Init(&spin);
    EXPECT_EQ(spin.nspins, 1);
    EXPECT_EQ(spin.spin_quantum_numbers[1], 1);
    EXPECT_EQ(spin.relative_intensities[1], 1.0);
    EXPECT_EQ(spin.coupling_mode, 1);
    spin.nspins = spin.spin_quantum_numbers[1] = spin.coupling_mode = 0;
    spin.relative_intensities[1] = 0.0;
    EXPECT_EQ(spin.resonance_offsets_hz[1], 0.0);
    EXPECT_EQ(std::memcmp(spin.j_hz, expected.j_hz, sizeof spin.j_hz), 0);
    EXPECT_EQ(spin.subgroup_count, 0);
    EXPECT_EQ(spin.subgroup_labels[31][63], 0);
    EXPECT_EQ(spin.spin_quantum_numbers[2], 0);
}

TEST(PulseSequenceInit, GivesNoSectorsAndPresetSlots)
{
    ZANPulseSequenceDef seq;
    std::memset(&seq, 0x5a, sizeof seq);
    ZANPulseSequenceDef_Init(&seq);
    EXPECT_EQ(seq.sequence_type, 1);
    EXPECT_EQ(seq.sector_count, 0);
    for (const ZANPulseSectorDef &sector : seq.sectors) {
        EXPECT_EQ(sector.sector_type, 1);
        EXPECT_EQ(sector.number_of_timepoints, 1);
        EXPECT_EQ(sector.number_of_evolpoints, 1);
        EXPECT_EQ(sector.total_duration_s, 0.0);
        EXPECT_EQ(sector.offset_frequency_hz, 0.0);
        EXPECT_STREQ(sector.pulse_filename, "");
        EXPECT_STREQ(sector.remark, "");
    }
}

TEST(RunConfigInit, GivesOneVoxelAndAResultName)
{
    ZANRunConfig cfg;
    std::memset(&cfg, 0x5a, sizeof cfg);
    ZANRunConfig_Init(&cfg);
    EXPECT_TRUE(cfg.ndx == 1 && cfg.ndy == 1 && cfg.ndz == 1);
    for (double value : {cfg.x0_cm, cfg.y0_cm, cfg.z0_cm, cfg.dx_cm, cfg.dy_cm, cfg.dz_cm,
                         cfg.b0_tesla, cfg.receiver_carrier_ppm})
        EXPECT_EQ(value, 0.0);
    EXPECT_STREQ(cfg.result_filename, "result.bin");
    EXPECT_STREQ(cfg.model_name, "");
}

TEST(ModelInit, IgnoresNull)
{
    ZANSpinSystemDef_Init(nullptr);
    ZANPulseSequenceDef_Init(nullptr);
    ZANRunConfig_Init(nullptr);
}

// ---------------------------------------------------------------------------------- the rules

static const ValidationCase spin_cases[] = {
    {[](TestModel *) {}, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->spin.nspins = 0; }, ZAN_MODEL_ERR_RANGE, "nspins=0 is outside 1..8"},
    {[](TestModel *m) { m->spin.nspins = 9; }, ZAN_MODEL_ERR_RANGE, "nspins=9 is outside 1..8"},
    {[](TestModel *m) {
         set_quantum_numbers(m, {1, 1, 1, 1, 1, 1, 1, 1});
     },
     ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         set_quantum_numbers(m, {1, 1, 1, 1, 1, 1, 2});
     },
     ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         set_quantum_numbers(m, {1, 1, 1, 1, 1, 1, 2, 1});
     },
     ZAN_MODEL_ERR_DIMENSION, "Hilbert dimension 384 exceeds ZAN_MAX_STATES=256"},
    {[](TestModel *m) {
         set_quantum_numbers(m, {255, 1, 0});
     },
     ZAN_MODEL_ERR_DIMENSION, "Hilbert dimension 512 exceeds ZAN_MAX_STATES=256"},
    {[](TestModel *m) {
         set_quantum_numbers(m, {255, 2147483647});
     },
     ZAN_MODEL_ERR_DIMENSION, "Hilbert dimension 549755813888 exceeds ZAN_MAX_STATES=256"},
    {[](TestModel *m) {
         set_quantum_numbers(m, {1, 0, 1000});
     },
     ZAN_MODEL_ERR_RANGE, "spin_quantum_numbers[2]=0 must be >= 1 (legacy stores 2I)"},
    {[](TestModel *m) { set_quantum_numbers(m, {-3}); }, ZAN_MODEL_ERR_RANGE,
     "spin_quantum_numbers[1]=-3 must be >= 1 (legacy stores 2I)"},
    {[](TestModel *m) { m->spin.j_hz[2][2] = 1e-300; }, ZAN_MODEL_ERR_RANGE,
     "j_hz[2][2] must be zero on the diagonal"},
    {[](TestModel *m) { m->spin.j_hz[3][3] = nan_value; }, ZAN_MODEL_ERR_RANGE,
     "j_hz[3][3] must be zero on the diagonal"},
    {[](TestModel *m) { m->spin.j_hz[4][4] = 1.0; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         m->spin.j_hz[1][2] = 7.0;
         m->spin.j_hz[2][1] = 7.0000001;
     },
     ZAN_MODEL_ERR_RANGE, "j_hz matrix is not symmetric at (1,2) and (2,1)"},
    {[](TestModel *m) { m->spin.j_hz[2][3] = m->spin.j_hz[3][2] = nan_value; }, ZAN_MODEL_ERR_RANGE,
     "j_hz matrix is not symmetric at (2,3) and (3,2)"},
    {[](TestModel *m) { m->spin.subgroup_count = 33; }, ZAN_MODEL_ERR_RANGE,
     "subgroup_count=33 is outside 0..32"},
    {[](TestModel *m) { m->spin.subgroup_count = -1; }, ZAN_MODEL_ERR_RANGE,
     "subgroup_count=-1 is outside 0..32"},
    {[](TestModel *m) { m->spin.subgroup_count = 32; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         m->spin.subgroup_count = 2;
         m->spin.subgroup_spin_count[1] = 9;
     },
     ZAN_MODEL_ERR_RANGE, "subgroup 2 has invalid spin count 9"},
    {[](TestModel *m) {
         m->spin.subgroup_count = 1;
         m->spin.subgroup_spin_count[0] = -1;
     },
     ZAN_MODEL_ERR_RANGE, "subgroup 1 has invalid spin count -1"},
    {[](TestModel *m) {
         m->spin.subgroup_count = 1;
         m->spin.subgroup_spin_count[0] = 2;
         m->spin.subgroup_spins[0][0] = 3;
         m->spin.subgroup_spins[0][1] = 4;
     },
     ZAN_MODEL_ERR_RANGE, "subgroup 1 references spin 4 outside 1..3"},
    {[](TestModel *m) {
         m->spin.subgroup_count = 1;
         m->spin.subgroup_spin_count[0] = 1;
     },
     ZAN_MODEL_ERR_RANGE, "subgroup 1 references spin 0 outside 1..3"},
    {[](TestModel *m) {
         m->spin.relative_intensities[1] = nan_value;
         m->spin.resonance_offsets_hz[1] = nan_value;
         m->spin.coupling_mode = 77;
     },
     ZAN_MODEL_OK, ""},
};

TEST(SpinSystemValidate, ReportsTheFirstBrokenRule)
{
    expect_each(spin_cases, std::size(spin_cases), validate_spin);
}

static const ValidationCase sequence_cases[] = {
    {[](TestModel *) {}, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sector_count = 0; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sequence_type = 9; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sector_count = -1; }, ZAN_MODEL_ERR_RANGE,
     "sector_count=-1 is outside 0..20"},
    {[](TestModel *m) { m->seq.sector_count = 21; }, ZAN_MODEL_ERR_RANGE,
     "sector_count=21 is outside 0..20"},
    {[](TestModel *m) { m->seq.sectors[1].sector_type = 0; }, ZAN_MODEL_ERR_RANGE,
     "sector 1 has invalid sector_type=0"},
    {[](TestModel *m) { m->seq.sectors[2].sector_type = 3; }, ZAN_MODEL_ERR_RANGE,
     "sector 2 has invalid sector_type=3"},
    {[](TestModel *m) { m->seq.sectors[1].number_of_timepoints = 0; }, ZAN_MODEL_ERR_RANGE,
     "sector 1 number_of_timepoints=0 is outside 1..8192"},
    {[](TestModel *m) { m->seq.sectors[1].number_of_timepoints = 8193; }, ZAN_MODEL_ERR_RANGE,
     "sector 1 number_of_timepoints=8193 is outside 1..8192"},
    {[](TestModel *m) { m->seq.sectors[1].number_of_timepoints = 8192; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sectors[2].number_of_evolpoints = 0; }, ZAN_MODEL_ERR_RANGE,
     "sector 2 number_of_evolpoints=0 is outside 1..8192"},
    {[](TestModel *m) { m->seq.sectors[2].number_of_evolpoints = 8193; }, ZAN_MODEL_ERR_RANGE,
     "sector 2 number_of_evolpoints=8193 is outside 1..8192"},
    {[](TestModel *m) { m->seq.sectors[1].total_duration_s = 0.0; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sectors[1].total_duration_s = nan_value; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->seq.sectors[1].total_duration_s = -0.25; }, ZAN_MODEL_ERR_RANGE,
     "sector 1 total_duration_s=-0.25 must be >= 0"},
    {[](TestModel *m) { m->seq.sectors[2].pulse_filename[0] = '\0'; }, ZAN_MODEL_ERR_RANGE,
     "sector 2 pulse_filename is required"},
    {[](TestModel *m) { m->seq.sectors[3].sector_type = 7; }, ZAN_MODEL_OK, ""},
};

TEST(PulseSequenceValidate, ReportsTheFirstBrokenRule)
{
    expect_each(sequence_cases, std::size(sequence_cases), validate_seq);
}

static const ValidationCase run_config_cases[] = {
    {[](TestModel *) {}, ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         m->cfg.ndx = m->cfg.ndy = 256;
         m->cfg.ndz = 1;
     },
     ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->cfg.ndx = m->cfg.ndy = m->cfg.ndz = 0; }, ZAN_MODEL_ERR_RANGE,
     "ndx=0 is outside 1..256"},
    {[](TestModel *m) { m->cfg.ndy = m->cfg.ndz = -4; }, ZAN_MODEL_ERR_RANGE,
     "ndy=-4 is outside 1..256"},
    {[](TestModel *m) { m->cfg.ndz = 257; }, ZAN_MODEL_ERR_RANGE, "ndz=257 is outside 1..256"},
    {[](TestModel *m) { m->cfg.dx_cm = -1e-9; }, ZAN_MODEL_ERR_RANGE,
     "dx_cm/dy_cm/dz_cm must be >= 0"},
    {[](TestModel *m) { m->cfg.dy_cm = -1.0; }, ZAN_MODEL_ERR_RANGE,
     "dx_cm/dy_cm/dz_cm must be >= 0"},
    {[](TestModel *m) { m->cfg.dz_cm = -1.0; }, ZAN_MODEL_ERR_RANGE,
     "dx_cm/dy_cm/dz_cm must be >= 0"},
    {[](TestModel *m) { m->cfg.dx_cm = m->cfg.x0_cm = nan_value; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) { m->cfg.result_filename[0] = '\0'; }, ZAN_MODEL_ERR_RANGE,
     "result_filename is required"},
    {[](TestModel *m) {
         m->cfg.model_name[0] = '\0';
         m->cfg.b0_tesla = m->cfg.receiver_carrier_ppm = -1.0;
     },
     ZAN_MODEL_OK, ""},
};

TEST(RunConfigValidate, ReportsTheFirstBrokenRule)
{
    expect_each(run_config_cases, std::size(run_config_cases), validate_cfg);
}

static void make_spatial(TestModel *m)
{
    m->seq.sequence_type = 1;
    for (ZANPulseSectorDef &sector : m->seq.sectors) {
        sector.sector_type = 1;
        sector.number_of_evolpoints = 1;
    }
}

static const ValidationCase model_cases[] = {
    {[](TestModel *) {}, ZAN_MODEL_OK, ""},
    {make_spatial, ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         m->spin.nspins = 0;
         m->seq.sector_count = -1;
         m->cfg.ndx = 0;
     },
     ZAN_MODEL_ERR_RANGE, "nspins=0 is outside 1..8"},
    {[](TestModel *m) {
         m->seq.sector_count = -1;
         m->cfg.ndx = 0;
     },
     ZAN_MODEL_ERR_RANGE, "sector_count=-1 is outside 0..20"},
    {[](TestModel *m) {
         m->cfg.ndx = 0;
         m->seq.sequence_type = 9;
     },
     ZAN_MODEL_ERR_RANGE, "ndx=0 is outside 1..256"},
    {[](TestModel *m) {
         m->seq.sequence_type = 9;
         m->seq.sector_count = 0;
     },
     ZAN_MODEL_ERR_RANGE, "sequence_type=9 is invalid; expected 1 (spatial) or 2 (1D/2D NMR)"},
    {[](TestModel *m) { m->seq.sector_count = 0; }, ZAN_MODEL_ERR_RANGE,
     "sector_count=0 is invalid; at least one sector is required"},
    {[](TestModel *m) { m->seq.sectors[2].total_duration_s = 0.0; }, ZAN_MODEL_ERR_RANGE,
     "sector 2 total_duration_s=0 must be > 0"},
    {[](TestModel *m) { m->seq.sectors[2].total_duration_s = nan_value; }, ZAN_MODEL_OK, ""},
    {[](TestModel *m) {
         make_spatial(m);
         m->seq.sectors[1].sector_type = 2;
         m->seq.sectors[1].number_of_evolpoints = 2;
     },
     ZAN_MODEL_ERR_INCOMPATIBLE, "spatial sequence sector 1 has invalid sector_type=2; expected 1"},
    {[](TestModel *m) {
         make_spatial(m);
         m->seq.sectors[2].number_of_evolpoints = 8;
     },
     ZAN_MODEL_ERR_INCOMPATIBLE,
     "spatial sequence sector 2 has number_of_evolpoints=8; expected 1"},
};

TEST(ModelValidateAll, ReportsTheFirstBrokenRule)
{
    expect_each(model_cases, std::size(model_cases), validate_all);
}

static const ValidationCase runnable_cases[] = {
    {[](TestModel *m) { m->seq.sectors[1].pulse_filename[0] = '\0'; }, ZAN_MODEL_ERR_RANGE,
     "sector 1 pulse_filename is required"},
    {[](TestModel *m) { m->seq.sectors[1].sector_type = 3; }, ZAN_MODEL_ERR_RANGE,
     "1D/2D sequence sector 1 has invalid sector_type=3"},
    {[](TestModel *m) { m->seq.sectors[2].number_of_evolpoints = 0; }, ZAN_MODEL_ERR_RANGE,
     "evolution sector 2 must have number_of_evolpoints >= 1"},
    {[](TestModel *m) { m->seq.sectors[1].number_of_evolpoints = 0; }, ZAN_MODEL_OK, ""},
};

TEST(RunnableSequence, IsCheckedAlsoWithoutTheRecordsOwnRules)
{
    expect_each(runnable_cases, std::size(runnable_cases), validate_runnable);
    char message[64] = "";
    EXPECT_EQ(zan_validate_runnable_sequence(nullptr, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "pulse-sequence definition is null");
}

TEST(ModelValidateAll, NamesTheRecordThatIsNull)
{
    const TestModel m = three_spin_model();
    char message[64];
    EXPECT_EQ(ZANModel_ValidateAll(nullptr, &m.seq, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "spin definition is null");
    EXPECT_EQ(ZANModel_ValidateAll(&m.spin, nullptr, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "pulse-sequence definition is null");
    EXPECT_EQ(ZANModel_ValidateAll(&m.spin, &m.seq, nullptr, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "run configuration is null");
}

// ----------------------------------------------------------------------------- the error text

TEST(ModelErrorText, IsCutToItsBuffer)
{
    TestModel m = three_spin_model();
    m.spin.nspins = 0;
    char message[] = "................";
    EXPECT_EQ(ZANSpinSystemDef_Validate(&m.spin, message, 9), ZAN_MODEL_ERR_RANGE);
    EXPECT_STREQ(message, "nspins=0");
    EXPECT_EQ(message[9], '.');
}

TEST(ModelErrorText, IsDroppedWithoutABuffer)
{
    TestModel m = three_spin_model();
    m.spin.nspins = 0;
    char untouched[] = "untouched";
    EXPECT_EQ(ZANSpinSystemDef_Validate(&m.spin, nullptr, 100), ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(ZANSpinSystemDef_Validate(&m.spin, untouched, 0), ZAN_MODEL_ERR_RANGE);
    EXPECT_STREQ(untouched, "untouched");
}
