// pulsesequencedefiner_files.cpp - where the waveform file of a sector goes, and writing it.
//
// A file is blocks of little-endian doubles without header: xb, yb, and gx, gy, gz behind them
// for a spatial sector; zan_waveforms reads it back. Its path stays in the sector's fnames entry.
#include "pulsesequencedefiner_internal.h"

#include "binaryfilehandling.h"
#include "platformlib.h"
#include "zan-entry.h"
#include "zanpaths.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>

enum { path_size = 4096 };

// ------------------------------------------------------------------ writers

namespace
{

struct Block {
    const char *name;
    const double *samples;
};

} // namespace

// Without a buffer between, a block that the disk refuses shows at that block. An old waveform
// stays unless the new one is complete.
static bool write_blocks(const char *path, int ap, std::initializer_list<Block> blocks)
{
    OutputFile out;
    if (!open_output(&out, path)) {
        std::perror(path);
        return false;
    }
    std::setvbuf(out.file, nullptr, _IONBF, 0);
    const size_t count = ap > 0 ? static_cast<size_t>(ap) : 0;
    bool complete = true;
    for (const Block &block : blocks)
        if (std::fwrite(block.samples, sizeof(double), count, out.file) != count) {
            std::printf(" >>> WRITE TO BINARY FILE ERROR (%s) <<< \n", block.name);
            complete = false;
        }
    if (!complete) {
        discard_output(&out);
        return false;
    }
    if (commit_output(&out))
        return true;
    std::perror(path);
    return false;
}

static bool write_spatial(const char *path, int ap, const double *xb, const double *yb,
                          const double *gx, const double *gy, const double *gz)
{
    return write_blocks(path, ap, {{"xb", xb}, {"yb", yb}, {"gx", gx}, {"gy", gy}, {"gz", gz}});
}

static bool write_2d(const char *path, int ap, const double *xb, const double *yb)
{
    return write_blocks(path, ap, {{"xb", xb}, {"yb", yb}});
}

void BinArrayOut(const int *ap, const double *xb, const double *yb, const double *gx,
                 const double *gy, const double *gz, const char *name)
{
    write_spatial(name, *ap, xb, yb, gx, gy, gz);
}

void BinArrayOut2D(int ap, const double *xb, const double *yb, const char *name)
{
    write_2d(name, ap, xb, yb);
}

// ------------------------------------------------------------------ directories and names

bool ps_ensure_dir_exists(const char *path)
{
    return path && *path && plat_make_dir(path);
}

bool ps_ensure_default_sequence_dirs(void)
{
    char models[path_size], rf_output[path_size];
    return ZAN_GetDefaultModelsDir(models, sizeof models) && ps_ensure_dir_exists(models) &&
           ZAN_GetDefaultRFOutputDir(rf_output, sizeof rf_output) &&
           ps_ensure_dir_exists(rf_output);
}

// False, and nothing copied, when it does not fit.
static bool ps_copy_cstr(char *out, size_t outsz, const char *text)
{
    const size_t length = std::strlen(text);
    if (length >= outsz)
        return false;
    std::memcpy(out, text, length + 1);
    return true;
}

static bool ps_path_has_separator(const char *name)
{
    return std::strpbrk(name, "\\/") != nullptr;
}

bool ps_resolve_default_output_path(const char *name, char *out, size_t outsz)
{
    if (!name || !*name)
        return false;
    if (ps_path_has_separator(name))
        return ps_copy_cstr(out, outsz, name);
    char dir[path_size];
    return ZAN_GetDefaultRFOutputDir(dir, sizeof dir) && ZAN_BuildPath(out, outsz, dir, name);
}

// Asks for a short model name when there is none; at end of input the name does without.
static void ps_build_default_waveform_leaf(int sector, bool spatial, char *leaf, size_t size)
{
    char model[128];
    if (ZANEnsureCurrentModelShortName(model, sizeof model))
        std::snprintf(leaf, size, spatial ? "%s_s%02d.bin" : "%s_2d_s%02d.bin", model, sector);
    else
        std::snprintf(leaf, size, spatial ? "sector-%02d.bin" : "sector2d-%02d.bin", sector);
}

// ------------------------------------------------------------------ dialogue

static void ask_waveform_name(const char *default_leaf, bool spatial, char *name, size_t size)
{
    std::printf("\n");
    ps_print_heading("Sector waveform file");
    std::printf("This binary file stores %s samples for this sector.\n",
                spatial ? "RF and gradient" : "RF");
    std::printf("Bare names are written to the default sector waveform directory.\n");
    std::printf("Press Enter to use the default name: %s\n", default_leaf);
    std::printf("File name : ");
    read_filename_stdin(name, size);
    if (!name[0])
        ps_copy_cstr(name, size, default_leaf);
}

// The path of name into the sector's entry.
static bool store_waveform_path(int sector, const char *name)
{
    char path[path_size];
    if (!ps_resolve_default_output_path(name, path, sizeof path)) {
        std::printf("Could not resolve output path for the sector waveform file.\n\n");
        return false;
    }
    if (!ps_copy_cstr(rt.fnames[sector], sizeof rt.fnames[sector], path)) {
        std::printf("Resolved output path is too long for internal storage:\n");
        std::printf("  %s\n", path);
        return false;
    }
    return true;
}

// Asks where the sector's waveform goes; its entry stays empty when there is no way.
static bool choose_waveform_file(int sector, bool spatial)
{
    char dir[path_size], leaf[ZAN_PULSE_NAME_LEN], name[1024];
    rt.fnames[sector][0] = '\0';
    if (!ps_ensure_default_sequence_dirs()) {
        std::printf("Could not create default output directories.\n");
        std::printf("Sector waveform file was not written.\n");
        return false;
    }
    if (ZAN_GetDefaultRFOutputDir(dir, sizeof dir))
        std::printf("\nDefault sector waveform directory : %s\n", dir);
    ps_build_default_waveform_leaf(sector, spatial, leaf, sizeof leaf);
    ask_waveform_name(leaf, spatial, name, sizeof name);
    return store_waveform_path(sector, name);
}

static int report_written(const char *path, bool written)
{
    if (!written)
        return 0;
    std::printf("Sector waveform file written to : %s\n\n", path);
    return 1;
}

int ps_write_spatial_sector_waveform_file(int sector, int ap)
{
    if (!choose_waveform_file(sector, true))
        return 0;
    const char *path = rt.fnames[sector];
    return report_written(path, write_spatial(path, ap, rt.xb, rt.yb, rt.gx, rt.gy, rt.gz));
}

int ps_write_2d_sector_waveform_file(int sector, int ap)
{
    if (!choose_waveform_file(sector, false))
        return 0;
    const char *path = rt.fnames[sector];
    return report_written(path, write_2d(path, ap, rt.xb, rt.yb));
}

// ------------------------------------------------------------------ the result file

void ps_ask_result_file(void)
{
    char name[sizeof rt.resultflnm + 1];
    for (;;) {
        std::printf("File name to store results in : ");
        read_filename_stdin(name, sizeof name);
        if (ps_copy_cstr(rt.resultflnm, sizeof rt.resultflnm, name))
            return;
        std::printf("File name is too long.\n");
    }
}
