// spin_system - the text of a spin-system file. What is accepted comes back from a saved model.
#include "fuzz_input.h"
#include "testmodel.h"

static void require_round_trip(const ZANSpinSystemDef &spin)
{
    static const std::string root = fuzz_folder() + "/saved";
    TestModel model = three_spin_model();
    fuzz_write("saved/models/folder", "");
    FuzzMessage message;
    const std::string path = root + "/models/saved.zanmodel";
    FUZZ_REQUIRE(ZANModel_SaveText(path.c_str(), &spin, &model.seq, &model.cfg, message.text,
                                   sizeof message.text) == ZAN_MODEL_OK);
    const std::string name = std::string(model.cfg.model_name) + ".zanspin";
    static ZANSpinSystemDef loaded;
    FUZZ_REQUIRE(zan_load_spin_system_text((root + "/spin-systems/" + name).c_str(), &loaded,
                                           message.text, sizeof message.text) == ZAN_MODEL_OK);
    FUZZ_REQUIRE(fuzz_same_spins(spin, loaded));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static ZANSpinSystemDef spin;
    const FuzzInput input(data, size);
    FuzzMessage message;
    fuzz_write("input.zanspin", input.rest);
    const ZANModelStatus status =
        zan_load_spin_system_text("input.zanspin", &spin, message.text, sizeof message.text);
    if (status != ZAN_MODEL_OK) {
        FUZZ_REQUIRE(message.is_given());
        return 0;
    }
    FUZZ_REQUIRE(fuzz_is_sound(spin));
    if (fuzz_is_writable(spin))
        require_round_trip(spin);
    return 0;
}
