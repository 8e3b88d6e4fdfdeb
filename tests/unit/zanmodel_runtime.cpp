// Models into the runtime state, back out of it, and the comparison of the two.
#include "testmodel.h"
#include "zan.h"
#include "zanmodel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

// Every test starts from a state as after start-up. (Some 13 MB: never on the stack.)
struct ModelRuntime : testing::Test {
    void SetUp() override
    {
        std::memset(static_cast<void *>(&rt), 0, sizeof rt);
        init();
        ZAN_SetSmokeCheckMode(1);
    }
    void TearDown() override { ZAN_SetSmokeCheckMode(0); }
};

static void apply(const TestModel &m)
{
    char message[256] = "";
    ASSERT_EQ(ZANModel_ApplyToLegacyGlobals(&m.spin, &m.seq, &m.cfg, message, sizeof message),
              ZAN_MODEL_OK)
        << message;
}

static ZANModelStatus capture(TestModel *m, std::string *message)
{
    char errbuf[256] = "";
    const ZANModelStatus status =
        ZANModel_CaptureFromLegacyGlobals(&m->spin, &m->seq, &m->cfg, errbuf, sizeof errbuf);
    *message = errbuf;
    return status;
}

static int matches(const TestModel &m, std::string *message)
{
    char errbuf[256] = "";
    const int same = zan_runtime_matches_model_def(&m.spin, &m.seq, &m.cfg, errbuf, sizeof errbuf);
    *message = errbuf;
    return same;
}

// ----------------------------------------------------------------------------------- apply

TEST_F(ModelRuntime, HoldsTheSpinsOfAnAppliedModel)
{
    const TestModel m = three_spin_model();
    apply(m);
    EXPECT_EQ(rt.Nspins, 3);
    EXPECT_EQ(rt.n, 8);
    EXPECT_EQ(rt.Jexact, 2);
    for (int i = 1; i <= 3; i++) {
        EXPECT_EQ(rt.quantnum[i], 1);
        EXPECT_EQ(rt.Ilist[i], 1);
        EXPECT_EQ(rt.relspinamp[i], m.spin.relative_intensities[i]);
        EXPECT_EQ(rt.resofreqs[i], m.spin.resonance_offsets_hz[i]);
    }
    EXPECT_EQ(rt.quantnum[4], 0);
}

TEST_F(ModelRuntime, HoldsTheCouplingsInPairOrderZerosIncluded)
{
    apply(three_spin_model());
    EXPECT_EQ(rt.Jcount, 3);
    EXPECT_EQ(rt.couplings[1], 7.5);   // (1,2)
    EXPECT_EQ(rt.couplings[2], 0.0);   // (1,3)
    EXPECT_EQ(rt.couplings[3], -2.25); // (2,3)
    EXPECT_EQ(rt.jc[1][2], 7.5);
    EXPECT_EQ(rt.jc[3][2], -2.25);
    EXPECT_EQ(rt.jc[2][2], 0.0);
}

TEST_F(ModelRuntime, CountsTheStatesOfMixedSpins)
{
    TestModel m = three_spin_model();
    m.spin.spin_quantum_numbers[2] = 3;
    m.spin.spin_quantum_numbers[3] = 2;
    apply(m);
    EXPECT_EQ(rt.n, 2 * 4 * 3);
}

TEST_F(ModelRuntime, HoldsTheSectorsAndTheGrid)
{
    const TestModel m = three_spin_model();
    apply(m);
    EXPECT_EQ(rt.sequencetype, 2);
    EXPECT_EQ(rt.nos, 2);
    for (int s = 1; s <= 2; s++) {
        EXPECT_EQ(rt.sectype[s], s);
        EXPECT_EQ(rt.noti[s], 64 * s);
        EXPECT_EQ(rt.nevo[s], 8);
        EXPECT_EQ(rt.sectdur[s], 0.001 * s);
        EXPECT_EQ(rt.statoff[s], 10.0 * s);
        EXPECT_STREQ(rt.fnames[s], m.seq.sectors[s].pulse_filename);
        EXPECT_STREQ(rt.remarks[s], m.seq.sectors[s].remark);
    }
    EXPECT_TRUE(rt.ndx == 2 && rt.ndy == 3 && rt.ndz == 1);
    EXPECT_TRUE(rt.x0 == -1.5 && rt.y0 == 0.5 && rt.z0 == 2.5);
    EXPECT_TRUE(rt.dx == 0.1 && rt.dy == 0.2 && rt.dz == 0.3);
    EXPECT_STREQ(rt.resultflnm, "result.bin");
    EXPECT_EQ(rt.zan_gui_b0_tesla, 3.0);
    EXPECT_EQ(rt.zan_gui_receiver_carrier_ppm, 4.7);
}

TEST_F(ModelRuntime, IsReadyAfterApplying)
{
    apply(three_spin_model());
    EXPECT_EQ(rt.systemset, 1);
    EXPECT_EQ(rt.sectorset, 1);
    EXPECT_EQ(rt.offsetset, 1);
    EXPECT_EQ(rt.spinsystemdefined, 1); // the operators were rebuilt
}

TEST_F(ModelRuntime, HoldsTheSubgroups)
{
    TestModel m = three_spin_model();
    m.spin.subgroup_count = 2;
    std::snprintf(m.spin.subgroup_labels[1], 64, "CH3");
    m.spin.subgroup_spin_count[1] = 2;
    m.spin.subgroup_spins[1][0] = 3;
    m.spin.subgroup_spins[1][1] = 1;
    m.spin.subgroup_ppm_count[1] = 4;
    m.spin.subgroup_ppm[1] = 1.32;
    apply(m);
    EXPECT_EQ(rt.zan_spin_subgroup_count, 2);
    EXPECT_STREQ(rt.zan_spin_subgroup_labels[1], "CH3");
    EXPECT_EQ(rt.zan_spin_subgroup_spin_count[1], 2);
    EXPECT_EQ(rt.zan_spin_subgroup_spins[1][0], 3);
    EXPECT_EQ(rt.zan_spin_subgroup_spins[1][1], 1);
    EXPECT_EQ(rt.zan_spin_subgroup_ppm_count[1], 4);
    EXPECT_EQ(rt.zan_spin_subgroup_ppm[1], 1.32);
}

TEST_F(ModelRuntime, KeepsNothingOfThePreviousModel)
{
    TestModel big = three_spin_model();
    big.spin.subgroup_count = 1;
    std::snprintf(big.spin.subgroup_labels[0], 64, "old");
    big.spin.subgroup_spin_count[0] = big.spin.subgroup_spins[0][0] = 1;
    big.spin.subgroup_ppm_count[0] = 1;
    big.spin.subgroup_ppm[0] = 1.0;
    apply(big);
    rt.quantnum[8] = rt.Ilist[8] = rt.Ilist[0] = 5;
    rt.relspinamp[8] = rt.resofreqs[8] = rt.jc[8][8] = rt.couplings[28] = 5.0;
    rt.zan_spin_subgroup_spins[31][8] = 5;
    rt.noti[0] = rt.noti[20] = 5;
    std::snprintf(rt.remarks[20], sizeof rt.remarks[20], "old");

    TestModel small = three_spin_model();
    small.spin.nspins = 1;
    small.seq.sector_count = 1;
    apply(small);
    EXPECT_TRUE(rt.quantnum[8] == 0 && rt.Ilist[8] == 0 && rt.Ilist[0] == 0);
    EXPECT_TRUE(rt.quantnum[2] == 0 && rt.relspinamp[2] == 0.0 && rt.resofreqs[2] == 0.0);
    EXPECT_TRUE(rt.relspinamp[8] == 0.0 && rt.resofreqs[8] == 0.0);
    EXPECT_TRUE(rt.jc[8][8] == 0.0 && rt.jc[1][2] == 0.0 && rt.couplings[28] == 0.0);
    EXPECT_EQ(rt.Jcount, 0);
    EXPECT_EQ(rt.couplings[1], 0.0);
    EXPECT_EQ(rt.zan_spin_subgroup_count, 0);
    EXPECT_STREQ(rt.zan_spin_subgroup_labels[0], "");
    EXPECT_EQ(rt.zan_spin_subgroup_spin_count[0], 0);
    EXPECT_EQ(rt.zan_spin_subgroup_spins[0][0], 0);
    EXPECT_EQ(rt.zan_spin_subgroup_spins[31][8], 0);
    EXPECT_EQ(rt.zan_spin_subgroup_ppm_count[0], 0);
    EXPECT_EQ(rt.zan_spin_subgroup_ppm[0], 0.0);
    EXPECT_TRUE(rt.sectype[2] == 0 && rt.noti[2] == 0 && rt.nevo[2] == 0);
    EXPECT_TRUE(rt.sectdur[2] == 0.0 && rt.statoff[2] == 0.0);
    EXPECT_TRUE(rt.noti[0] == 0 && rt.noti[20] == 0);
    EXPECT_STREQ(rt.fnames[2], "");
    EXPECT_STREQ(rt.remarks[2], "");
    EXPECT_STREQ(rt.remarks[20], "");
}

TEST_F(ModelRuntime, IsUntouchedByAModelThatFails)
{
    apply(three_spin_model());
    const auto before = std::make_unique<ZanRuntime>(rt);
    TestModel m = three_spin_model();
    m.spin.resonance_offsets_hz[1] = 99.0;
    m.seq.sector_count = 0;
    char message[256] = "";
    EXPECT_EQ(ZANModel_ApplyToLegacyGlobals(&m.spin, &m.seq, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_RANGE);
    EXPECT_STREQ(message, "sector_count=0 is invalid; at least one sector is required");
    EXPECT_EQ(ZANModel_ActivateInLegacyRuntime(&m.spin, &m.seq, &m.cfg, nullptr, 0),
              ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(std::memcmp(before.get(), &rt, sizeof rt), 0);
}

TEST_F(ModelRuntime, IsFilledByActivating)
{
    const TestModel m = three_spin_model();
    EXPECT_EQ(ZANModel_ActivateInLegacyRuntime(&m.spin, &m.seq, &m.cfg, nullptr, 0), ZAN_MODEL_OK);
    EXPECT_EQ(rt.Nspins, 3);
    EXPECT_EQ(rt.systemset, 1);
}

TEST_F(ModelRuntime, RefusesNullRecords)
{
    TestModel m = three_spin_model();
    char message[128];
    EXPECT_EQ(ZANModel_ApplyToLegacyGlobals(nullptr, &m.seq, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "apply arguments must be non-null");
    EXPECT_EQ(ZANModel_ActivateInLegacyRuntime(&m.spin, nullptr, &m.cfg, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "activate arguments must be non-null");
    EXPECT_EQ(ZANModel_CaptureFromLegacyGlobals(&m.spin, &m.seq, nullptr, message, sizeof message),
              ZAN_MODEL_ERR_NULLPTR);
    EXPECT_STREQ(message, "capture arguments must be non-null");
    EXPECT_EQ(zan_runtime_matches_model_def(nullptr, &m.seq, &m.cfg, message, sizeof message), 0);
    EXPECT_STREQ(message, "match arguments must be non-null");
}

// --------------------------------------------------------------------------------- capture

TEST_F(ModelRuntime, GivesBackWhatWasApplied)
{
    TestModel m = three_spin_model(), back;
    apply(m);
    std::string message;
    ASSERT_EQ(capture(&back, &message), ZAN_MODEL_OK) << message;
    EXPECT_EQ(std::memcmp(&back.spin, &m.spin, sizeof m.spin), 0);
    EXPECT_EQ(std::memcmp(&back.seq, &m.seq, sizeof m.seq), 0);
    EXPECT_STREQ(back.cfg.model_name, "");
    EXPECT_TRUE(back.cfg.b0_tesla == 0.0 && back.cfg.receiver_carrier_ppm == 0.0);
    m.cfg.b0_tesla = m.cfg.receiver_carrier_ppm = 0.0;
    std::memset(m.cfg.model_name, 0, sizeof m.cfg.model_name);
    EXPECT_EQ(std::memcmp(&back.cfg, &m.cfg, sizeof m.cfg), 0);
}

TEST_F(ModelRuntime, DoesNotGiveBackSubgroups)
{
    TestModel m = three_spin_model(), back;
    m.spin.subgroup_count = 1;
    apply(m);
    std::string message;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_OK);
    EXPECT_EQ(back.spin.subgroup_count, 0);
}

TEST_F(ModelRuntime, IsNotCaptureableBeforeASpinSystemExists)
{
    TestModel back;
    std::string message;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_INCOMPATIBLE);
    EXPECT_EQ(message, "legacy spin system is not captureable: Nspins=0 outside 1..8");
    rt.Nspins = 9;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_INCOMPATIBLE);
    EXPECT_EQ(message, "legacy spin system is not captureable: Nspins=9 outside 1..8");
}

TEST_F(ModelRuntime, IsNotCaptureableWithTooManySectors)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    for (int nos : {-1, 21}) {
        rt.nos = nos;
        EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_INCOMPATIBLE);
        EXPECT_EQ(message, "legacy pulse sequence is not captureable: nos=" + std::to_string(nos) +
                               " outside 0..20");
    }
}

TEST_F(ModelRuntime, IsValidatedAfterTheCapture)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    rt.noti[2] = 0;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(message, "sector 2 number_of_timepoints=0 is outside 1..8192");
}

TEST_F(ModelRuntime, GivesTheQuantumNumberOfIlistWhereQuantnumHasNone)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    rt.quantnum[1] = 0;
    rt.Ilist[1] = 2;
    rt.Ilist[2] = 4;
    ASSERT_EQ(capture(&back, &message), ZAN_MODEL_OK);
    EXPECT_EQ(back.spin.spin_quantum_numbers[1], 2);
    EXPECT_EQ(back.spin.spin_quantum_numbers[2], 1);
    rt.Ilist[1] = 0;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(message, "spin_quantum_numbers[1]=0 must be >= 1 (legacy stores 2I)");
}

TEST_F(ModelRuntime, GivesCouplingsOfTheMatrixBeyondJcount)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    rt.Jcount = 1;
    rt.couplings[1] = 1.0;
    rt.jc[1][3] = 13.0;
    rt.jc[3][1] = 31.0;
    ASSERT_EQ(capture(&back, &message), ZAN_MODEL_OK);
    EXPECT_TRUE(back.spin.j_hz[1][2] == 1.0 && back.spin.j_hz[2][1] == 1.0);
    EXPECT_TRUE(back.spin.j_hz[1][3] == 13.0 && back.spin.j_hz[3][1] == 13.0);
    EXPECT_EQ(back.spin.j_hz[2][3], -2.25);
}

TEST_F(ModelRuntime, CompletesSpatialSectorsOnly)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    rt.sequencetype = 1;
    rt.sectype[1] = rt.sectype[2] = 0;
    rt.nevo[1] = 0;
    rt.nevo[2] = -3;
    ASSERT_EQ(capture(&back, &message), ZAN_MODEL_OK) << message;
    EXPECT_TRUE(back.seq.sectors[1].sector_type == 1 && back.seq.sectors[2].sector_type == 1);
    EXPECT_EQ(back.seq.sectors[1].number_of_evolpoints, 1);
    EXPECT_EQ(back.seq.sectors[2].number_of_evolpoints, 1);
    EXPECT_TRUE(rt.sectype[1] == 0 && rt.nevo[2] == -3);

    rt.sectype[1] = 2;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_INCOMPATIBLE);
    EXPECT_EQ(message, "spatial sequence sector 1 has invalid sector_type=2; expected 1");
    rt.sequencetype = 2;
    EXPECT_EQ(capture(&back, &message), ZAN_MODEL_ERR_RANGE);
    EXPECT_EQ(message, "sector 1 number_of_evolpoints=0 is outside 1..8192");
}

TEST_F(ModelRuntime, NamesAResultThatHasNoName)
{
    TestModel back;
    std::string message;
    apply(three_spin_model());
    rt.resultflnm[0] = '\0';
    ASSERT_EQ(capture(&back, &message), ZAN_MODEL_OK);
    EXPECT_STREQ(back.cfg.result_filename, "unnamed_result.bin");
    EXPECT_STREQ(rt.resultflnm, "");
}

// ------------------------------------------------------------------------------- matching

TEST_F(ModelRuntime, MatchesTheModelThatWasApplied)
{
    TestModel m = three_spin_model();
    apply(m);
    std::string message;
    EXPECT_EQ(matches(m, &message), 1);
    EXPECT_EQ(message, "");
    m.cfg.b0_tesla = 9.0; // not part of the comparison
    m.cfg.receiver_carrier_ppm = 9.0;
    std::snprintf(m.cfg.model_name, sizeof m.cfg.model_name, "other");
    m.spin.subgroup_count = 3;
    EXPECT_EQ(matches(m, &message), 1);
}

struct MismatchCase {
    void (*change)(TestModel *);
    const char *message; // behind "legacy-runtime verification failed: "
};

static const MismatchCase mismatches[] = {
    {[](TestModel *m) { m->spin.nspins = 2; }, "nspins mismatch (3 vs 2)"},
    {[](TestModel *m) { m->spin.coupling_mode = 1; }, "coupling_mode mismatch (2 vs 1)"},
    {[](TestModel *m) { m->spin.spin_quantum_numbers[2] = 3; }, "spin_quantum_numbers[2] mismatch"},
    {[](TestModel *m) { m->spin.relative_intensities[3] += 1e-15; },
     "relative_intensities[3] mismatch"},
    {[](TestModel *m) { m->spin.resonance_offsets_hz[1] = 0.0; },
     "resonance_offsets_hz[1] mismatch"},
    {[](TestModel *m) { m->spin.resonance_offsets_hz[1] = std::nan(""); },
     "resonance_offsets_hz[1] mismatch"},
    {[](TestModel *m) { m->spin.j_hz[2][3] = 1.0; }, "j_hz[2][3] mismatch"},
    {[](TestModel *m) { m->spin.j_hz[3][1] = 1.0; }, "j_hz[3][1] mismatch"},
    {[](TestModel *m) { m->seq.sequence_type = 1; }, "sequence_type mismatch (2 vs 1)"},
    {[](TestModel *m) { m->seq.sector_count = 1; }, "sector_count mismatch (2 vs 1)"},
    {[](TestModel *m) { m->seq.sectors[2].sector_type = 1; }, "sector_type mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].number_of_timepoints++; },
     "sector_timepoints mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].number_of_evolpoints++; },
     "sector_evolpoints mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].total_duration_s = 1.0; },
     "sector_duration_s mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].offset_frequency_hz = 1.0; },
     "sector_statoff_hz mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].pulse_filename[0] = 'W'; },
     "sector_pulsefile mismatch in sector 2"},
    {[](TestModel *m) { m->seq.sectors[2].remark[0] = '\0'; },
     "sector_remark mismatch in sector 2"},
    {[](TestModel *m) { m->cfg.ndx++; }, "grid dimension mismatch"},
    {[](TestModel *m) { m->cfg.ndy++; }, "grid dimension mismatch"},
    {[](TestModel *m) { m->cfg.ndz++; }, "grid dimension mismatch"},
    {[](TestModel *m) { m->cfg.x0_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.y0_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.z0_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.dx_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.dy_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.dz_cm = 9.0; }, "grid coordinate mismatch"},
    {[](TestModel *m) { m->cfg.result_filename[0] = 'R'; }, "result_filename mismatch"},
};

TEST_F(ModelRuntime, TellsTheFirstDifferenceFromAModel)
{
    apply(three_spin_model());
    for (const MismatchCase &c : mismatches) {
        TestModel m = three_spin_model();
        std::string message;
        c.change(&m);
        EXPECT_EQ(matches(m, &message), 0) << c.message;
        EXPECT_EQ(message, std::string("legacy-runtime verification failed: ") + c.message);
    }
}

TEST_F(ModelRuntime, TellsDifferencesInTheirOrder)
{
    apply(three_spin_model());
    TestModel m = three_spin_model();
    std::string message;
    for (size_t k = std::size(mismatches); k-- > 0;) {
        mismatches[k].change(&m);
        EXPECT_EQ(matches(m, &message), 0);
        EXPECT_EQ(message,
                  std::string("legacy-runtime verification failed: ") + mismatches[k].message)
            << k;
    }
}

TEST_F(ModelRuntime, PassesOnWhyItCannotBeCaptured)
{
    std::string message;
    EXPECT_EQ(matches(three_spin_model(), &message), 0);
    EXPECT_EQ(message, "legacy spin system is not captureable: Nspins=0 outside 1..8");
}

// ----------------------------------------------------------------------------------- files

TEST_F(ModelRuntime, AFileNeedsAName)
{
    for (const char *path : {(const char *)nullptr, ""}) {
        char message[64] = "";
        EXPECT_EQ(ZANModel_LoadCurrentLegacyStateFromText(path, message, sizeof message),
                  ZAN_MODEL_ERR_NULLPTR);
        EXPECT_STREQ(message, "input path must be non-empty");
        EXPECT_EQ(ZANModel_SaveCurrentLegacyStateToText(path, message, sizeof message),
                  ZAN_MODEL_ERR_NULLPTR);
        EXPECT_STREQ(message, "output path must be non-empty");
    }
}

TEST_F(ModelRuntime, AFileThatCannotBeReadLeavesTheStateAlone)
{
    apply(three_spin_model());
    char message[256] = "";
    EXPECT_EQ(ZANModel_LoadCurrentLegacyStateFromText("no such file", message, sizeof message),
              ZAN_MODEL_ERR_IO);
    EXPECT_EQ(rt.Nspins, 3);
}
