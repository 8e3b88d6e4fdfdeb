// sequence - the text of a sequence file with waveform files beside it. What is accepted and can
// run comes back from a saved model, with the same waveforms.
#include "fuzz_input.h"
#include "platformlib.h"
#include "testmodel.h"

#include <cstring>

static void make_waveforms(void)
{
    for (const char *name : {"pulse.bin", "a b.bin", "CAPITALS.Bin", "waveforms/adc.bin"})
        fuzz_write(std::string("tree/sequences/input/") + name, "waveform");
}

static void require_same_waveforms(const ZANPulseSequenceDef &a, const ZANPulseSequenceDef &b)
{
    for (int s = 1; s <= a.sector_count; s++)
        FUZZ_REQUIRE(plat_same_file(a.sectors[s].pulse_filename, b.sectors[s].pulse_filename));
}

static void require_round_trip(const ZANPulseSequenceDef &seq)
{
    static const std::string tree = fuzz_folder() + "/tree";
    const TestModel model = three_spin_model();
    ZANRunConfig cfg = model.cfg;
    std::strcpy(cfg.model_name, "saved");
    fuzz_write("tree/models/folder", "");
    FuzzMessage message;
    const ZANModelStatus status =
        ZANModel_SaveText((tree + "/models/saved.zanmodel").c_str(), &model.spin, &seq, &cfg,
                          message.text, sizeof message.text);
    if (status == ZAN_MODEL_ERR_RANGE || status == ZAN_MODEL_ERR_INCOMPATIBLE)
        return; // well formed, but no sequence that can run
    FUZZ_REQUIRE(status == ZAN_MODEL_OK);
    static ZANPulseSequenceDef loaded;
    FUZZ_REQUIRE(zan_load_pulse_sequence_text((tree + "/sequences/saved/saved.zanseq").c_str(),
                                              &loaded, message.text,
                                              sizeof message.text) == ZAN_MODEL_OK);
    FUZZ_REQUIRE(fuzz_same_sequence(seq, loaded));
    require_same_waveforms(seq, loaded);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static ZANPulseSequenceDef seq;
    static const std::string path = fuzz_folder() + "/tree/sequences/input/input.zanseq";
    static const bool prepared = (make_waveforms(), true);
    const FuzzInput input(data, size);
    if (!prepared || !fuzz_paths_stay_inside(input.rest))
        return 0;
    FuzzMessage message;
    fuzz_write("tree/sequences/input/input.zanseq",
               fuzz_with_absolute_paths(input.rest, "tree/sequences/input"));
    const ZANModelStatus status =
        zan_load_pulse_sequence_text(path.c_str(), &seq, message.text, sizeof message.text);
    if (status != ZAN_MODEL_OK) {
        FUZZ_REQUIRE(message.is_given());
        return 0;
    }
    FUZZ_REQUIRE(fuzz_is_sound(seq));
    if (fuzz_is_writable(seq))
        require_round_trip(seq);
    return 0;
}
