// The example models: all load, and agree with the waveforms that make_waveforms writes.
#include "example_pulses.h"
#include "platformlib.h"
#include "zanmodel.h"

#include <gtest/gtest.h>
#include <memory>

namespace
{
struct Model {
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
};

ZANModelStatus load(const std::string &name, Model *m, std::string *message)
{
    const std::string path = std::string(ZAN_SOURCE_DIR) + "/models/" + name;
    char text[512] = "";
    const ZANModelStatus status =
        ZANModel_LoadText(path.c_str(), &m->spin, &m->seq, &m->cfg, text, sizeof text);
    *message = text;
    return status;
}

// The sector's place in NAME/waveforms, and nothing else, tells which waveform it plays.
bool plays(const ZANPulseSectorDef &sector, const SectorWaveform &w)
{
    std::string path = sector.pulse_filename;
    for (char &c : path)
        c = c == '\\' ? '/' : c;
    const std::string tail = w.sequence + "/waveforms/" + w.name + ".bin";
    return path.size() > tail.size() &&
           path.compare(path.size() - tail.size(), tail.size(), tail) == 0;
}
} // namespace

TEST(ExampleModels, AllLoad)
{
    const std::string dir = std::string(ZAN_SOURCE_DIR) + "/models";
    const std::vector<std::string> names = plat_list_files(dir.c_str(), ".zanmodel");
    EXPECT_GE(names.size(), 4u);
    for (const std::string &name : names) {
        const std::unique_ptr<Model> m = std::make_unique<Model>();
        std::string message;
        EXPECT_EQ(load(name, m.get(), &message), ZAN_MODEL_OK) << name << ": " << message;
        if (m->spin.nspins < 2)
            continue; // a composed example: one spin of no particular molecule
        EXPECT_GT(m->cfg.b0_tesla, 0.0) << name;
        EXPECT_GT(m->cfg.receiver_carrier_ppm, 0.0) << name;
    }
}

TEST(ExampleModels, HaveTheCountsAndDurationsOfTheirWaveforms)
{
    for (const SectorWaveform &w : ExampleWaveforms()) {
        const std::unique_ptr<Model> m = std::make_unique<Model>();
        std::string message;
        ASSERT_EQ(load(w.sequence + ".zanmodel", m.get(), &message), ZAN_MODEL_OK) << message;
        EXPECT_EQ(m->seq.sequence_type, w.gx.empty() ? 2 : 1) << w.sequence;
        int sectors = 0;
        for (int s = 1; s <= m->seq.sector_count; s++) {
            const ZANPulseSectorDef &sector = m->seq.sectors[s];
            if (!plays(sector, w))
                continue;
            sectors++;
            EXPECT_EQ(static_cast<size_t>(sector.number_of_timepoints), w.xb.size()) << w.name;
            EXPECT_DOUBLE_EQ(sector.total_duration_s, w.duration) << w.name;
        }
        EXPECT_GE(sectors, 1) << w.sequence << " " << w.name;
    }
}
