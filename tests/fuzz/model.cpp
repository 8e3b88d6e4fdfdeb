// model - the three texts of a model, with a line "%%" between them: model file, spin system,
// sequence. What is accepted reaches the runtime state unchanged and comes back from a saved
// model.
#include "fuzz_input.h"
#include "testmodel.h"
#include "zan.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

namespace fs = std::filesystem;

static void write_text(const char *name, std::string_view text)
{
    fuzz_write(name, fuzz_with_absolute_paths(text, "tree/sequences/a"));
}

static void write_texts(FuzzInput input)
{
    write_text("tree/models/input.zanmodel", input.part("%%\n"));
    write_text("tree/spin-systems/a.zanspin", input.part("%%\n"));
    write_text("tree/sequences/a/a.zanseq", input.rest);
    fuzz_write("tree/sequences/a/waveforms/adc.bin", "waveform");
}

static ZANModelStatus load(const std::string &path, TestModel *m, FuzzMessage *message)
{
    return ZANModel_LoadText(path.c_str(), &m->spin, &m->seq, &m->cfg, message->text,
                             sizeof message->text);
}

static bool is_sound(const ZANRunConfig &cfg)
{
    return ZANRunConfig_Validate(&cfg, nullptr, 0) == ZAN_MODEL_OK &&
           fuzz_is_terminated(cfg.result_filename) && fuzz_is_terminated(cfg.model_name);
}

static bool lengths_are(const ZANRunConfig &cfg, bool (*property)(double))
{
    return property(cfg.x0_cm) && property(cfg.y0_cm) && property(cfg.z0_cm) &&
           property(cfg.dx_cm) && property(cfg.dy_cm) && property(cfg.dz_cm);
}

// ------------------------------------------------------------------------------ runtime state

static bool is_number(double value)
{
    return !std::isnan(value);
}

// One that is none never equals itself.
static bool all_are_numbers(const TestModel &m)
{
    bool good = lengths_are(m.cfg, is_number);
    for (int i = 1; i <= m.spin.nspins; i++)
        good = good && is_number(m.spin.relative_intensities[i]) &&
               is_number(m.spin.resonance_offsets_hz[i]);
    for (int s = 1; s <= m.seq.sector_count; s++)
        good = good && is_number(m.seq.sectors[s].total_duration_s) &&
               is_number(m.seq.sectors[s].offset_frequency_hz);
    return good;
}

static int states_of(const ZANSpinSystemDef &spin)
{
    int states = 1;
    for (int i = 1; i <= spin.nspins; i++)
        states *= spin.spin_quantum_numbers[i] + 1;
    return states;
}

static void require_transfer(const TestModel &m)
{
    FuzzMessage message;
    fuzz_restore_runtime();
    FUZZ_REQUIRE(ZANModel_ActivateInLegacyRuntime(&m.spin, &m.seq, &m.cfg, message.text,
                                                  sizeof message.text) == ZAN_MODEL_OK);
    FUZZ_REQUIRE(rt.spinsystemdefined && rt.n == states_of(m.spin));
    const int same =
        zan_runtime_matches_model_def(&m.spin, &m.seq, &m.cfg, message.text, sizeof message.text);
    FUZZ_REQUIRE(same == (all_are_numbers(m) ? 1 : 0));
    PrintCurrentModelSummary();
    fuzz_restore_runtime();
}

// ------------------------------------------------------------------------------------- saving

// What the writer does to a name: slashes, no detours, small letters.
static std::string comparable(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    path = fs::path(path).lexically_normal().string();
    for (char &c : path)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return path;
}

static bool same_grid(const ZANRunConfig &a, const ZANRunConfig &b)
{
    return a.ndx == b.ndx && a.ndy == b.ndy && a.ndz == b.ndz &&
           fuzz_same_number(a.x0_cm, b.x0_cm) && fuzz_same_number(a.y0_cm, b.y0_cm) &&
           fuzz_same_number(a.z0_cm, b.z0_cm) && fuzz_same_number(a.dx_cm, b.dx_cm) &&
           fuzz_same_number(a.dy_cm, b.dy_cm) && fuzz_same_number(a.dz_cm, b.dz_cm);
}

static void require_round_trip(const TestModel &m)
{
    static const std::string path = fuzz_folder() + "/copy/models/copy.zanmodel";
    static TestModel loaded;
    FuzzMessage message;
    fs::remove_all(fuzz_folder() + "/copy");
    fuzz_write("copy/models/folder", "");
    const ZANModelStatus status =
        ZANModel_SaveText(path.c_str(), &m.spin, &m.seq, &m.cfg, message.text, sizeof message.text);
    if (status != ZAN_MODEL_OK) { // its name makes no file, or the result's is too long
        FUZZ_REQUIRE(status == ZAN_MODEL_ERR_IO && message.is_given());
        return;
    }
    FUZZ_REQUIRE(load(path, &loaded, &message) == ZAN_MODEL_OK);
    FUZZ_REQUIRE(fuzz_same_spins(m.spin, loaded.spin));
    FUZZ_REQUIRE(fuzz_same_sequence(m.seq, loaded.seq));
    FUZZ_REQUIRE(same_grid(m.cfg, loaded.cfg));
    FUZZ_REQUIRE(comparable(m.cfg.result_filename) == comparable(loaded.cfg.result_filename));
    FUZZ_REQUIRE(std::string_view(m.cfg.model_name) == loaded.cfg.model_name);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static TestModel model;
    const FuzzInput input(data, size);
    if (!fuzz_paths_stay_inside(input.rest))
        return 0;
    write_texts(input);
    FuzzMessage message;
    if (load(fuzz_folder() + "/tree/models/input.zanmodel", &model, &message) != ZAN_MODEL_OK) {
        FUZZ_REQUIRE(message.is_given());
        return 0;
    }
    FUZZ_REQUIRE(fuzz_is_sound(model.spin) && fuzz_is_sound(model.seq) && is_sound(model.cfg));
    if (states_of(model.spin) <= 16)
        require_transfer(model);
    if (fuzz_is_writable(model.spin) && fuzz_is_writable(model.seq) &&
        lengths_are(model.cfg, fuzz_is_writable))
        require_round_trip(model);
    return 0;
}
