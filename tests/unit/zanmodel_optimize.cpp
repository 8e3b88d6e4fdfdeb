// zanmodel_optimize - the operator that a remark asks for, every refusal with its stream, and what
// is written back.

#include "console.h"
#include "engine_fixture.h"
#include "matrices.h"

#include "zanmodel.h"
#include "zanoptseq.h"

#include <cstring>

using SectorDialog = EngineTest;

namespace
{

// One spin, sectors of 8, 4 and 4 samples; the operator stands in the first sector's remark.
void prepare(void)
{
    set_spins({{1}});
    add_2d_sector(1, constant_waveform(8, 1000.0, 0.0), 1, 1e-3, 0.0,
                  "optimizeRf[productOperator=Iy]");
    add_2d_sector(1, constant_waveform(4, 0.0, 0.0), 1, 1e-3, 12.5);
    add_2d_sector(2, constant_waveform(4, 0.0, 0.0), 2, 1e-3);
    build_spins({{1}});
}

Console workflow(const std::string &typed)
{
    feed_stdin(typed);
    return captured([] { ZANModel_OptimizePreparedSequenceSectorInteractive(); });
}

struct Metadata {
    const char *text, *key;
    const char *value; // null: not found
};

const Metadata metadata[] = {
    {"optimizeRf[productOperator=Ix]", "productOperator", "Ix"},
    {"a pulse optimizeRf[ productOperator=Ix , targetMode=manual ] of 5 ms", "targetMode",
     "manual"},
    {"optimizeRf[productOperator=  Ix + Sz  ]", "productOperator", "Ix + Sz"},
    {"optimizeRf[targetMode=product,productOperator=IxSz", "productOperator", "IxSz"},
    {"optimizeRf[productOperator=]", "productOperator", ""},
    {"optimizeRf[productOperator=A=B]", "productOperator", "A=B"},
    {"optimizeRf[productOperator=Ix] productOperator=Iy", "productOperator", "Ix"},
    {"optimizeRf[,,productOperator=Ix,,]", "productOperator", "Ix"},
    {"optimizeRf[productOperator =Ix]", "productOperator", nullptr},
    {"optimizeRf[productoperator=Ix]", "productOperator", nullptr},
    {"optimizeRf[theproductOperator=Ix]", "productOperator", nullptr},
    {"optimizeRf[productOperatorX=Ix]", "productOperator", nullptr},
    {"optimizeRf[] productOperator=Ix", "productOperator", nullptr},
    {"optimizeRf productOperator=Ix", "productOperator", nullptr},
    {"optimizerf[productOperator=Ix]", "productOperator", nullptr},
    {"productOperator=Ix", "productOperator", nullptr},
    {"", "productOperator", nullptr},
};

} // namespace

// ------------------------------------------------------------------ remarks

TEST_F(SectorDialog, MetadataAreItemsBetweenBrackets)
{
    for (const Metadata &m : metadata) {
        char value[64] = "untouched";
        EXPECT_EQ(zanmodel_metadata_value(m.text, "optimizeRf", m.key, value, sizeof value),
                  m.value != nullptr)
            << m.text;
        EXPECT_STREQ(value, m.value ? m.value : "untouched") << m.text;
    }
}

TEST_F(SectorDialog, AValueMustFit)
{
    char value[5] = "";
    EXPECT_EQ(zanmodel_metadata_value("b[k=1234]", "b", "k", value, sizeof value), 1);
    EXPECT_STREQ(value, "1234");
    EXPECT_EQ(zanmodel_metadata_value("b[k=12345]", "b", "k", value, sizeof value), 0);
    EXPECT_EQ(zanmodel_metadata_value(nullptr, "b", "k", value, sizeof value), 0);
    EXPECT_EQ(zanmodel_metadata_value("b[k=1]", "b", "k", value, 0), 0);
}

TEST_F(SectorDialog, AnOperatorIsDefinedUnlessItSaysNot)
{
    EXPECT_TRUE(zanmodel_operator_is_defined("Ix"));
    EXPECT_FALSE(zanmodel_operator_is_defined(""));
    EXPECT_FALSE(zanmodel_operator_is_defined("not defined"));
    EXPECT_FALSE(zanmodel_operator_is_defined(nullptr));
}

TEST_F(SectorDialog, TheModeChoosesBetweenRecipeAndProduct)
{
    struct Choice {
        const char *items, *chosen; // null: none
    };
    const std::string too_long(64, 'm');
    const std::string long_mode =
        "targetMode=" + too_long + ", manualRecipe=Ix, productOperator=Iy";
    const Choice choices[] = {
        {"targetMode=manual, manualRecipe=Ix, productOperator=Iy", "Ix"},
        {"targetMode=product, manualRecipe=Ix, productOperator=Iy", "Iy"},
        {"manualRecipe=Ix, productOperator=Iy", "Iy"},
        {"targetMode=manual, manualRecipe=not defined, productOperator=Iy", "Iy"},
        {"targetMode=manual, productOperator=Iy", "Iy"},
        {"targetMode=product, manualRecipe=Ix, productOperator=not defined", "Ix"},
        {"manualRecipe=Ix", "Ix"},
        {long_mode.c_str(), "Iy"},
        {"targetMode=manual, manualRecipe=not defined, productOperator=", nullptr},
        {"targetMode=manual", nullptr},
    };
    prepare();
    for (const Choice &c : choices) {
        std::snprintf(rt.remarks[2], sizeof rt.remarks[2], "optimizeRf[%s]", c.items);
        int found = -1;
        const Console console =
            captured([&] { found = zanmodel_try_define_optimizer_operator_from_sector_remark(2); });
        EXPECT_EQ(found, c.chosen != nullptr) << c.items;
        EXPECT_EQ(console.out, c.chosen ? std::string("Using GUI-defined expectation operator: ") +
                                              c.chosen + "\n"
                                        : "")
            << c.items;
        EXPECT_EQ(console.err, "") << c.items;
    }
}

TEST_F(SectorDialog, AnOperatorThatCannotBeParsedIsAskedFor)
{
    prepare();
    std::strcpy(rt.remarks[1], "optimizeRf[productOperator=2Ix]");
    const Console console = workflow("1 1\n1\nIy\n x\n");
    EXPECT_EQ(
        count_of(console.err, "Could not parse GUI-defined optimization target operator '2Ix'.\n"),
        1);
    EXPECT_EQ(
        count_of(console.out, "Define operator whose expectation value is to be optimized:\n"), 1);
    EXPECT_EQ(count_of(console.out, "Selected: IY\n"), 1);
}

// ------------------------------------------------------------------ refusals

TEST_F(SectorDialog, WithoutAPreparedModelThereIsNothingToOptimize)
{
    const std::string no_spins = "No current prepared spin system is available.\n"
                                 "Define or load a model first.\n";
    const std::string no_sequence = "No current prepared pulse sequence is available.\n"
                                    "Compose or load a sequence first.\n";
    EXPECT_EQ(workflow("").out, no_spins);
    prepare();
    rt.Nspins = 0;
    EXPECT_EQ(workflow("").out, no_spins);
    rt.Nspins = 1;
    rt.sectorset = 0;
    EXPECT_EQ(workflow("").out, no_sequence);
    rt.sectorset = 1;
    rt.nos = 0;
    EXPECT_EQ(workflow("").out, no_sequence);
    rt.nos = 3;
    rt.sequencetype = 1;
    const Console spatial = workflow("");
    EXPECT_EQ(spatial.out, "This optimization workflow currently supports only the\n"
                           "prepared 1D/2D sequence family (sequencetype == 2).\n");
    EXPECT_EQ(spatial.err, "");
}

TEST_F(SectorDialog, TheSummaryHasOneLinePerSector)
{
    prepare();
    const std::string dashes(74, '-');
    const Console console =
        captured([] { EXPECT_EQ(zanmodel_print_sequence_sector_optimization_summary(), 1); });
    EXPECT_EQ(console.out,
              "Current prepared 1D/2D sequence sectors:\n"
              " idx   type   ap   nevo   duration[s]      statoff[Hz]   waveform file\n" +
                  dashes +
                  "\n"
                  "   1      1     8      1   0.001          0            wave1.bin\n"
                  "   2      1     4      1   0.001          12.5         wave2.bin\n"
                  "   3      2     4      2   0.001          0            wave3.bin\n");
    rt.nos = 0;
    const Console none =
        captured([] { EXPECT_EQ(zanmodel_print_sequence_sector_optimization_summary(), 0); });
    EXPECT_EQ(none.out, "No current prepared sectors are available.\n");
}

TEST_F(SectorDialog, BadAnswersEndTheWorkflow)
{
    struct Refusal {
        const char *typed, *last, *err; // last: how the output ends
    };
    const char *const mode = "Objective mode:\n  1. Re <O>      (phase-sensitive target)\n"
                             "  2. |<O>|       (sequence-end magnitude target)\n"
                             "Your choice [1..2] : ";
    const char *const pairs = "Number of Fourier mode pairs per quadrature : ";
    const char *const start =
        "Using npar = 4 total optimizer parameters\n"
        "Start pulse for the selected optimizable sector:\n"
        "  1. Use the currently stored sector waveform as optimizer start pulse\n"
        "  2. Generate a new low-mode start pulse on the fixed sector grid\n"
        "Your choice [1..2] : ";
    const Refusal refusals[] = {
        {"", "Choose the optimizable sector index : ", "Invalid sector index entry\n"},
        {"x\n", "Choose the optimizable sector index : ", "Invalid sector index entry\n"},
        {"0\n", "index : ", "Sector index 0 is out of range [1..3]\n"},
        {"4\n", "index : ", "Sector index 4 is out of range [1..3]\n"},
        {"3\n", "index : This stage supports only nevo == 1 sectors.\n",
         "Selected sector 3 has nevo=2.\n"},
        {"1 3\n", mode, "Invalid objective-mode choice\n"},
        {"1 x\n", mode, "Invalid objective-mode choice\n"},
        {"1 1 x\n", pairs, "Invalid npar entry\n"},
        {"1 1 0\n", pairs, "Invalid npar=0\n"},
        {"1 1 -2\n", pairs, "Invalid npar=-8\n"},
        {"1 1 1 x\n", start, "Invalid start-pulse choice\n"},
        {"1 1 1 3\n", start, "Unknown start-pulse choice\n"},
        {"1 1 1 2 0\n", "RF-amplitude A [Hz]                    : ",
         "Invalid RF amplitude\nCould not generate fixed-grid optimization start pulse\n"},
    };
    prepare();
    rt.nevo[3] = 1;
    for (const Refusal &r : refusals) {
        rt.nevo[3] = std::strcmp(r.typed, "3\n") == 0 ? 2 : 1;
        const Console console = workflow(r.typed);
        EXPECT_TRUE(console.out.ends_with(r.last)) << r.typed << "\n" << console.out;
        EXPECT_EQ(console.err, r.err) << r.typed;
    }
    rt.noti[2] = 0;
    EXPECT_EQ(workflow("2\n").err, "Selected sector 2 has invalid ap=0\n");
}

TEST_F(SectorDialog, AFailedPreparationIsSaidAtTheEnd)
{
    prepare(); // sector 3 has two rows
    const Console console = workflow("1 1\n");
    EXPECT_EQ(console.err, "Sequence optimization: sector 3 has nevo=2.\n"
                           "Sequence optimization: failed while building suffix at sector 3\n"
                           "Could not prepare current sequence-sector optimization context\n");
    EXPECT_TRUE(console.out.ends_with("Stage 2 only supports sectors with nevo == 1.\n"));
}

TEST_F(SectorDialog, FiftyModePairsAreClamped)
{
    prepare();
    rt.nos = 1;
    const Console console = workflow("1 1 50 x\n");
    EXPECT_EQ(rt.npar, 160);
    EXPECT_EQ(console.err,
              "npar=200 exceeds par[160]; clamping to 160\nInvalid start-pulse choice\n");
    EXPECT_EQ(count_of(console.out, "Using npar = 160 total optimizer parameters\n"), 1);
    EXPECT_EQ(count_of(workflow("1 1 40 x\n").err, "clamping"), 0);
    EXPECT_EQ(rt.npar, 160);
}

// ------------------------------------------------------------------ write-back

TEST_F(SectorDialog, TheOptimizedPulseIsWrittenBack)
{
    prepare();
    rt.nos = 1;
    const Console console = workflow("1 1 1 1\n2\n1\n");
    EXPECT_EQ(count_of(console.out, "Your choice [1..2] : "
                                    "Using current waveform file as optimizer start pulse:\n"
                                    "  wave1.bin\n"
                                    "Launching optimization for selected sequence sector 1 ...\n\n"
                                    "\nOptimization start density matrix:\n"),
              1);
    EXPECT_TRUE(
        console.out.ends_with("Your choice [1..2] : "
                              "Write optimized pulse back into selected sector waveform file?\n"
                              "  1. Yes\n  2. No\nYour choice [1..2] : "
                              "Updated selected sector waveform file:\n  wave1.bin\n"));
    EXPECT_EQ(console.err, "");
    double x[8], y[8];
    ASSERT_TRUE(zanopt_load_waveform_xy("wave1.bin", 8, x, y));
    EXPECT_EQ(std::memcmp(x, rt.xb, sizeof x), 0);
    EXPECT_EQ(std::memcmp(y, rt.yb, sizeof y), 0);
    EXPECT_NE(x[0], 1000.0);
    EXPECT_EQ(std::filesystem::file_size("wave1.bin"), 128u);
}

TEST_F(SectorDialog, AnyOtherAnswerWritesNothing)
{
    prepare();
    rt.nos = 1;
    const std::string before = read_text("wave1.bin");
    for (const char *answer : {"2\n", "3\n", "x\n", ""}) {
        const Console console = workflow(std::string("1 1 1 1\n2\n") + answer);
        EXPECT_TRUE(console.out.ends_with("  2. No\nYour choice [1..2] : ")) << answer;
        EXPECT_EQ(read_text("wave1.bin"), before) << answer;
    }
}

TEST_F(SectorDialog, ASectorWithoutAFileIsNotWritten)
{
    prepare();
    rt.fnames[1][0] = '\0';
    const Console console =
        captured([] { EXPECT_EQ(zanmodel_offer_writeback_of_optimized_sector(1), 0); });
    EXPECT_EQ(console.out, "Selected sector has no waveform file path; write-back skipped.\n");
}

TEST_F(SectorDialog, AFailedWriteIsNotCalledAnUpdate)
{
    prepare();
    rt.ap = 8;
    std::strcpy(rt.fnames[1], "no/such/wave.bin");
    feed_stdin("1\n");
    const Console console =
        captured([] { EXPECT_EQ(zanmodel_offer_writeback_of_optimized_sector(1), 0); });
    EXPECT_EQ(count_of(console.out, "Updated"), 0);
    EXPECT_GE(count_of(console.err, missing_file_message("no/such/wave.bin")), 1);
}

TEST_F(SectorDialog, AStartPulseCanBeMadeOnTheSectorsGrid)
{
    prepare();
    rt.nos = 1;
    const Console console = workflow("1 2 1 2 500 60 90\n2\n2\n");
    EXPECT_EQ(count_of(console.out, "Selected sector grid is fixed:\n  ap = 8\n"), 1);
    EXPECT_EQ(count_of(console.out, "  (= -|<O>|)\n") > 10, true);
    EXPECT_EQ(console.err, "");
}
