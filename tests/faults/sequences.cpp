#include "sequences.h"

#include <algorithm>
#include <sstream>
#include <vector>

static const double PI = 3.141592653589793;

struct SmallSector {
    const char *remark;
    int samples;
    double duration; // s
    double rf;       // rad/s
    double gradient; // rad/s per cm, along x and z
};

static const SmallSector sectors[] = {{"90x", 4, 1e-3, 0.5 * PI / 1e-3, 0.0},
                                      {"apart", 2, 2e-3, 0.0, 900.0},
                                      {"45x", 8, 1e-3, 0.25 * PI / 1e-3, 300.0},
                                      {"adc", 16, 16e-3, 0.0, 0.0}};

static void write_waveform(const std::string &path, Family family, const SmallSector &sector)
{
    const size_t n = static_cast<size_t>(sector.samples);
    std::vector<double> samples((family == SPATIAL ? 5 : 2) * n, 0.0);
    std::fill(samples.begin(), samples.begin() + sector.samples, sector.rf);
    for (size_t axis : {2, 4}) // gx and gz
        for (size_t k = 0; family == SPATIAL && k < n; k++)
            samples[axis * n + k] = sector.gradient;
    write_doubles(path, samples);
}

// Sector s as number i (from 1) of the sequence.
static std::string sector_lines(Family family, size_t s, int i)
{
    const SmallSector &sector = sectors[s];
    const bool evolves = family == ROWS && s == 1;
    const int rows = family == ROWS && s >= 1 ? ROW_COUNT : 1;
    std::ostringstream text;
    text << "sector_type: " << i << (evolves ? " 2" : " 1") << "\nsector_timepoints: " << i << " "
         << sector.samples << "\nsector_evolpoints: " << i << " " << rows
         << "\nsector_duration_s: " << i << " " << sector.duration << "\nsector_pulsefile: " << i
         << " waveforms/w" << s + 1 << ".bin\nsector_statoff_hz: " << i
         << " 0\nsector_remark: " << i << " " << sector.remark << "\n";
    return text.str();
}

std::string write_small_model(const Tree &tree, Family family, unsigned used, int lines)
{
    const std::string dir = tree_path(tree, "sequences/small");
    std::string sector_text;
    int count = 0;
    for (size_t s = 0; s < std::size(sectors); s++) {
        write_waveform(dir + "/waveforms/w" + std::to_string(s + 1) + ".bin", family, sectors[s]);
        if (s >= SECTORS || (used >> s & 1) != 0)
            sector_text += sector_lines(family, s, ++count);
    }
    write_file(dir + "/small.zanseq", "format_version: 1\nsequence_name: small\nsequence_type: " +
                                          std::to_string(static_cast<int>(family)) +
                                          "\nnumber_of_sectors: " + std::to_string(count) + "\n" +
                                          sector_text);
    write_file(tree_path(tree, "spin-systems/small.zanspin"),
               "format_version: 1\nnspins: 2\nspin_quantum_numbers: 1 1\nrelative_intensities: 1 "
               "1\nresonance_offsets_hz: 60 -25\ncoupling_mode: 2\njcoupling_hz: 1 2 7\n");
    const std::string grid = family == SPATIAL
                                 ? "ndx: 3\nndy: " + std::to_string(lines) + "\nndz: 2\n"
                                 : "ndx: 1\nndy: 1\nndz: 1\n";
    const std::string model = tree_path(tree, "models/small.zanmodel");
    write_file(model, "format_version: 1\nspin_system_file: ../spin-systems/small.zanspin\n"
                      "sequence_file: ../sequences/small/small.zanseq\n" +
                          grid +
                          "x0_cm: -0.5\ny0_cm: 0\nz0_cm: 0.25\ndx_cm: 0.5\ndy_cm: 0\ndz_cm: 0.5\n"
                          "result_file: small.bin\n");
    return model;
}
