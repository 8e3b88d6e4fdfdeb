// zanmodel_optimize.cpp - the dialog that optimizes one sector of the current 1D/2D sequence and
// writes its pulse back.
//
// Works on the runtime state. zanoptseq folds the sequence around the sector, zan_optimizer
// searches, rfpulselib makes start pulses.

#include "zanmodel.h"

#include "consoleutil.h"
#include "pulsesequencedefiner.h"
#include "rfpulselib.h"
#include "zan.h"
#include "zanoptseq.h"

#include <cstring>
#include <string>

// ------------------------------------------------------------------ answers

int zanmodel_prompt_int_local(const char *prompt, int *value)
{
    std::printf("%s", prompt);
    return ConsoleReadInt(value);
}

int zanmodel_prompt_menu_choice_12(const char *prompt, int *value)
{
    return zanmodel_prompt_int_local(prompt, value) && (*value == 1 || *value == 2);
}

// ------------------------------------------------------------------ the sector

static bool sequence_is_prepared(void)
{
    if (!rt.systemset || rt.Nspins < 1) {
        std::puts("No current prepared spin system is available.");
        std::puts("Define or load a model first.");
    } else if (!rt.sectorset || rt.nos < 1) {
        std::puts("No current prepared pulse sequence is available.");
        std::puts("Compose or load a sequence first.");
    } else if (rt.sequencetype != 2) {
        std::puts("This optimization workflow currently supports only the");
        std::puts("prepared 1D/2D sequence family (sequencetype == 2).");
    } else {
        return true;
    }
    return false;
}

int zanmodel_print_sequence_sector_optimization_summary(void)
{
    if (rt.nos < 1) {
        std::puts("No current prepared sectors are available.");
        return 0;
    }
    std::puts("Current prepared 1D/2D sequence sectors:");
    std::puts(" idx   type   ap   nevo   duration[s]      statoff[Hz]   waveform file");
    std::puts("--------------------------------------------------------------------------");
    for (int s = 1; s <= rt.nos; s++)
        std::printf(" %3d   %4d   %3d   %4d   %-14.7g %-12.7g %s\n", s, rt.sectype[s], rt.noti[s],
                    rt.nevo[s], rt.sectdur[s], rt.statoff[s], rt.fnames[s]);
    return 1;
}

static bool choose_sector(int *sector)
{
    if (!zanmodel_prompt_int_local("Choose the optimizable sector index : ", sector)) {
        std::fprintf(stderr, "Invalid sector index entry\n");
        return false;
    }
    const int s = *sector;
    if (s < 1 || s > rt.nos) {
        std::fprintf(stderr, "Sector index %d is out of range [1..%d]\n", s, rt.nos);
    } else if (rt.noti[s] < 1) {
        std::fprintf(stderr, "Selected sector %d has invalid ap=%d\n", s, rt.noti[s]);
    } else if (rt.nevo[s] != 1) {
        std::fprintf(stderr, "Selected sector %d has nevo=%d.\n", s, rt.nevo[s]);
        std::puts("This stage supports only nevo == 1 sectors.");
    } else {
        return true;
    }
    return false;
}

// ------------------------------------------------------------------ objective and operator

static bool choose_objective(int *mode)
{
    int choice;
    std::puts("Objective mode:");
    std::puts("  1. Re <O>      (phase-sensitive target)");
    std::puts("  2. |<O>|       (sequence-end magnitude target)");
    if (!zanmodel_prompt_menu_choice_12("Your choice [1..2] : ", &choice)) {
        std::fprintf(stderr, "Invalid objective-mode choice\n");
        return false;
    }
    *mode = choice == 2 ? ZAN_OPT_OBJECTIVE_ABS_EXPECT : ZAN_OPT_OBJECTIVE_RE_EXPECT;
    return true;
}

static std::string trimmed(const std::string &text)
{
    const char *const blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// What stands between the brackets after name; a block without "]" ends with the text.
static bool find_block(const std::string &text, const std::string &name, std::string *block)
{
    const size_t at = text.find(name + "[");
    if (at == std::string::npos)
        return false;
    const size_t first = at + name.size() + 1, last = text.find(']', first);
    *block = text.substr(first, last == std::string::npos ? last : last - first);
    return true;
}

int zanmodel_metadata_value(const char *text, const char *block_name, const char *key, char *out,
                            size_t outsz)
{
    std::string block;
    if (!text || !block_name || !key || !out || !find_block(text, block_name, &block))
        return 0;
    const std::string wanted = std::string(key) + "=";
    for (size_t start = 0, comma = 0; comma != std::string::npos; start = comma + 1) {
        comma = block.find(',', start);
        const std::string item =
            trimmed(block.substr(start, comma == std::string::npos ? comma : comma - start));
        if (!item.starts_with(wanted))
            continue;
        const std::string value = trimmed(item.substr(wanted.size()));
        if (value.size() >= outsz)
            return 0;
        std::memcpy(out, value.c_str(), value.size() + 1);
        return 1;
    }
    return 0;
}

int zanmodel_operator_is_defined(const char *text)
{
    return text && *text && std::strcmp(text, "not defined") != 0;
}

int zanmodel_try_define_optimizer_operator_from_sector_remark(int sector_index)
{
    char mode[64] = "", product[256] = "", recipe[256] = "";
    const char *const remark = rt.remarks[sector_index], *const block = "optimizeRf";
    zanmodel_metadata_value(remark, block, "targetMode", mode, sizeof mode);
    zanmodel_metadata_value(remark, block, "productOperator", product, sizeof product);
    zanmodel_metadata_value(remark, block, "manualRecipe", recipe, sizeof recipe);
    const bool recipe_first = std::strcmp(mode, "manual") == 0;
    const char *chosen = recipe_first ? recipe : product;
    if (!zanmodel_operator_is_defined(chosen))
        chosen = recipe_first ? product : recipe;
    if (!zanmodel_operator_is_defined(chosen))
        return 0;
    if (ZANDefineCurrentExpectationOperatorExpression(chosen))
        return 1;
    std::fprintf(stderr, "Could not parse GUI-defined optimization target operator '%s'.\n",
                 chosen);
    return 0;
}

// ------------------------------------------------------------------ parameters and start pulse

int zanmodel_prepare_sequence_sector_parameterization(void)
{
    int pairs;
    if (!zanmodel_prompt_int_local("Number of Fourier mode pairs per quadrature : ", &pairs)) {
        std::fprintf(stderr, "Invalid npar entry\n");
        return 0;
    }
    rt.npar = zan_parameters_of_groups(pairs);
    if (rt.npar <= 0) {
        std::fprintf(stderr, "Invalid npar=%d\n", rt.npar);
        return 0;
    }
    if (rt.npar > ZAN_MAX_PARAMETERS) {
        std::fprintf(stderr, "npar=%d exceeds par[160]; clamping to 160\n", rt.npar);
        rt.npar = ZAN_MAX_PARAMETERS;
    }
    std::printf("Using npar = %d total optimizer parameters\n", rt.npar);
    return 1;
}

static bool make_start_pulse(int choice, int sector)
{
    if (choice == 1) {
        std::printf("Using current waveform file as optimizer start pulse:\n");
        std::printf("  %s\n", rt.fnames[sector]);
        return true;
    }
    if (choice != 2) {
        std::fprintf(stderr, "Unknown start-pulse choice\n");
        return false;
    }
    const int generated =
        GenerateOptimizationStartPulseFixedGridInteractive(rt.ap, rt.h, rt.xb, rt.yb, rt.npar);
    ConsoleDropLine(); // what is left of its line answers none of the later questions
    if (generated)
        return true;
    std::fprintf(stderr, "Could not generate fixed-grid optimization start pulse\n");
    return false;
}

int zanmodel_prepare_sequence_sector_start_pulse(int sector_index)
{
    int choice;
    std::puts("Start pulse for the selected optimizable sector:");
    std::puts("  1. Use the currently stored sector waveform as optimizer start pulse");
    std::puts("  2. Generate a new low-mode start pulse on the fixed sector grid");
    if (!zanmodel_prompt_int_local("Your choice [1..2] : ", &choice)) {
        std::fprintf(stderr, "Invalid start-pulse choice\n");
        return 0;
    }
    if (!make_start_pulse(choice, sector_index))
        return 0;
    ZANOptimizationTakeStartPulse();
    return 1;
}

// ------------------------------------------------------------------ write-back

// BinArrayOut2D reports what goes wrong but does not return it.
static bool file_holds_pulse(const char *path)
{
    static double bx[ZAN_MAX_RF_POINTS], by[ZAN_MAX_RF_POINTS];
    const size_t bytes = (size_t)rt.ap * sizeof(double);
    return zanopt_load_waveform_xy(path, rt.ap, bx, by) && std::memcmp(bx, rt.xb, bytes) == 0 &&
           std::memcmp(by, rt.yb, bytes) == 0;
}

int zanmodel_offer_writeback_of_optimized_sector(int sector_index)
{
    const char *const path = rt.fnames[sector_index];
    int choice;
    if (!*path) {
        std::puts("Selected sector has no waveform file path; write-back skipped.");
        return 0;
    }
    std::puts("Write optimized pulse back into selected sector waveform file?");
    std::puts("  1. Yes");
    std::puts("  2. No");
    if (!zanmodel_prompt_int_local("Your choice [1..2] : ", &choice) || choice != 1)
        return 0;
    BinArrayOut2D(rt.ap, rt.xb, rt.yb, path);
    if (!file_holds_pulse(path))
        return 0;
    std::puts("Updated selected sector waveform file:");
    std::printf("  %s\n", path);
    return 1;
}

// ------------------------------------------------------------------ the whole way

int ZANModel_OptimizePreparedSequenceSectorInteractive(void)
{
    int sector, mode;
    if (!sequence_is_prepared())
        return 0;
    zanmodel_print_sequence_sector_optimization_summary();
    if (!choose_sector(&sector) || !choose_objective(&mode))
        return 0;
    if (!zanmodel_try_define_optimizer_operator_from_sector_remark(sector))
        ZANDefineCurrentExpectationOperatorInteractive();
    if (!ZANOptimizationPrepareCurrent2DSequenceSector(sector, mode)) {
        std::fprintf(stderr, "Could not prepare current sequence-sector optimization context\n");
        return 0;
    }
    if (!zanmodel_prepare_sequence_sector_parameterization() ||
        !zanmodel_prepare_sequence_sector_start_pulse(sector))
        return 0;
    std::printf("Launching optimization for selected sequence sector %d ...\n\n", sector);
    StartOptimization();
    zanmodel_offer_writeback_of_optimized_sector(sector);
    return 1;
}
