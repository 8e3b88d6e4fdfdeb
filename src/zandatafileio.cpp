// zandatafileio.cpp - arrays of reals in text files, and signal files for PV-WAVE and IDL.
//
// All text formats go through one writer and one reader of rows. Output files appear complete or
// not at all (binaryfilehandling); answers come from consoleutil.
#include "zandatafileio.h"

#include "binaryfilehandling.h"
#include "consoleutil.h"
#include "platformlib.h"
#include "zanpaths.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

dataio_status dataio_last_status = DATAIO_OK;

// A read that ends early or meets no number leaves no error of its own.
static dataio_status io_error(const char *what)
{
    if (errno == 0)
        errno = EINVAL;
    print_io_error(what);
    return DATAIO_ERR_IO;
}

// ------------------------------------------------------------------------------ rows of text

namespace
{

enum RowFormat { PLAIN_ROWS, SG_ROWS, SG_XY_ROWS };

struct RowLayout {
    RowFormat format;
    double xmin, xinc; // axis of the SG-plot rows
};

} // namespace

static const RowLayout plain_rows = {PLAIN_ROWS, 0.0, 0.0};
static const RowLayout sg_rows = {SG_ROWS, 0.0, 1.0};

static bool write_row(FILE *out, const RowLayout &layout, size_t i, double value)
{
    const double axis = layout.xmin + static_cast<double>(i) * layout.xinc;
    switch (layout.format) {
    case PLAIN_ROWS:
        return std::fprintf(out, "%1.12E\n", value) > 0;
    case SG_ROWS:
        return std::fprintf(out, "%d   %1.12E   %1.12E\n", 1, axis, value) > 0;
    case SG_XY_ROWS:
        return std::fprintf(out, "%d   %1.12E   %1.12E\n", 1, value, axis) > 0;
    }
    return false;
}

static bool write_all_rows(FILE *out, const RowLayout &layout, size_t ap, const double *x)
{
    for (size_t i = 0; i < ap; i++)
        if (!write_row(out, layout, i, x[i]))
            return false;
    return true;
}

static dataio_status write_rows(const RowLayout &layout, size_t ap, const double *x,
                                const char *filename)
{
    if (!x || !filename)
        return DATAIO_ERR_NULLPTR;
    OutputFile out;
    errno = 0;
    if (!open_output(&out, filename))
        return io_error("fopen(write)");
    if (write_all_rows(out.file, layout, ap, x) && commit_output(&out))
        return DATAIO_OK;
    discard_output(&out);
    return io_error("fprintf");
}

static bool read_row(FILE *in, const RowLayout &layout, double *value)
{
    const char *const format = layout.format == PLAIN_ROWS ? "%lf" : "%*d %*f %lf";
    return std::fscanf(in, format, value) == 1;
}

static dataio_status read_rows(const RowLayout &layout, size_t ap, double *x, const char *filename)
{
    if (!x || !filename)
        return DATAIO_ERR_NULLPTR;
    const FilePtr in = open_input(filename);
    if (!in)
        return io_error("fopen(read)");
    errno = 0;
    for (size_t i = 0; i < ap; i++)
        if (!read_row(in.get(), layout, &x[i]))
            return io_error("fscanf");
    return DATAIO_OK;
}

dataio_status AsciiOut_status(size_t ap, const double *x, const char *filename)
{
    return write_rows(plain_rows, ap, x, filename);
}

dataio_status AsciiIn_status(size_t ap, double *x, const char *filename)
{
    return read_rows(plain_rows, ap, x, filename);
}

dataio_status SGFileOut_status(size_t ap, const double *x, const char *filename)
{
    return write_rows(sg_rows, ap, x, filename);
}

dataio_status SGFileIn_status(size_t ap, double *x, const char *filename)
{
    return read_rows(sg_rows, ap, x, filename);
}

dataio_status SGXYFileOut_status(size_t ap, const double *x, const char *filename, double xmin,
                                 double xinc)
{
    return write_rows({SG_XY_ROWS, xmin, xinc}, ap, x, filename);
}

// ------------------------------------------------------------------------------ PV-WAVE and IDL

dataio_status read_legacy_bin_header(FILE *in, int32_t *type, int32_t *pp, int32_t *fndw)
{
    if (!in || !type || !pp || !fndw)
        return DATAIO_ERR_NULLPTR;
    int fields[3] = {0, 0, 0};
    ReadBinFileHeader(in, &fields[0], &fields[1], &fields[2]);
    *type = fields[0];
    *pp = fields[1];
    *fndw = fields[2];
    return DATAIO_OK;
}

namespace
{

// The descriptor, 15 words, and zeros behind it.
struct IdlHeader {
    int32_t words[256];
};

} // namespace

static IdlHeader idl_header(int32_t pp, int32_t fndw)
{
    return {{3, 0, 0, 2, pp, fndw, 0, 0, 1, 0, 0, 0, 0, 0, 2}};
}

static dataio_status write_idl_header(FILE *out, int32_t pp, int32_t fndw)
{
    const IdlHeader header = idl_header(pp, fndw);
    if (std::fwrite(header.words, sizeof header.words[0], 15, out) != 15)
        return io_error("fwrite(hiarr)");
    for (int word = 15; word < 256; word++)
        if (std::fwrite(&header.words[word], sizeof header.words[0], 1, out) != 1)
            return io_error("fwrite(zero)");
    return DATAIO_OK;
}

static dataio_status copy_doubles(FILE *in, FILE *out, int64_t count)
{
    for (int64_t k = 0; k < count; k++) {
        double value;
        if (std::fread(&value, sizeof value, 1, in) != 1)
            return io_error("fread(data)");
        if (std::fwrite(&value, sizeof value, 1, out) != 1)
            return io_error("fwrite(data)");
    }
    return DATAIO_OK;
}

// pp complex samples in each of fndw traces; counts below 1 in a damaged header are no data.
static int64_t signal_doubles(int32_t pp, int32_t fndw)
{
    return pp > 0 && fndw > 0 ? 2 * static_cast<int64_t>(pp) * fndw : 0;
}

bool write_pv_wave_file(FILE *in, FILE *out)
{
    int32_t type = 0, pp = 0, fndw = 0;
    read_legacy_bin_header(in, &type, &pp, &fndw); // fails for null arguments only
    const IdlHeader header = idl_header(pp, fndw);
    if (std::fwrite(header.words, sizeof header.words[0], 256, out) != 256)
        return false;
    double value;
    for (int64_t k = signal_doubles(pp, fndw); k > 0; k--) {
        if (std::fread(&value, sizeof value, 1, in) != 1)
            break;
        if (std::fwrite(&value, sizeof value, 1, out) != 1)
            return false;
    }
    return std::ferror(in) == 0;
}

dataio_status Create_IDL_File_status(const char *input_filename, const char *output_filename)
{
    if (!input_filename || !output_filename)
        return DATAIO_ERR_NULLPTR;
    FilePtr in = open_input(input_filename);
    if (!in)
        return io_error("fopen(input)");
    int32_t type = 0, pp = 0, fndw = 0;
    errno = 0;
    read_legacy_bin_header(in.get(), &type, &pp, &fndw); // fails for null arguments only
    OutputFile out;
    if (!open_output(&out, output_filename))
        return io_error("fopen(output)");
    errno = 0;
    dataio_status status = write_idl_header(out.file, pp, fndw);
    if (status == DATAIO_OK)
        status = copy_doubles(in.get(), out.file, signal_doubles(pp, fndw));
    if (status != DATAIO_OK) {
        discard_output(&out);
        return status;
    }
    in.reset(); // the output may replace the input
    return commit_output(&out) ? DATAIO_OK : io_error("fwrite(data)");
}

// ------------------------------------------------------------------------------------- answers

static void print_prompt(const char *prompt)
{
    if (prompt)
        std::fputs(prompt, stdout);
}

int scan_int(const char *prompt, int *out)
{
    print_prompt(prompt);
    return out && ConsoleReadInt(out) ? 1 : 0;
}

int scan_double(const char *prompt, double *out)
{
    print_prompt(prompt);
    return out && ConsoleReadDouble(out) ? 1 : 0;
}

int scan_string(const char *prompt, char *out, size_t buflen)
{
    print_prompt(prompt);
    return out && buflen > 0 && ConsoleReadWord(out, std::min<size_t>(buflen, 256)) ? 1 : 0;
}

// ---------------------------------------------------------------- files whose name is asked for

enum { NAME_SIZE = 256 };

static bool ask_name(const char *prompt, const char *what, char *name)
{
    print_prompt(prompt);
    return ConsoleReadName(name, NAME_SIZE, what);
}

static size_t value_count(const int *ap)
{
    return *ap > 0 ? static_cast<size_t>(*ap) : 0;
}

static dataio_status ask_and_write(const char *prompt, const RowLayout &layout, const int *ap,
                                   const double *x)
{
    char name[NAME_SIZE] = "";
    if (!ap || !x)
        return DATAIO_ERR_NULLPTR;
    if (!ask_name(prompt, "fopen(write)", name))
        return DATAIO_ERR_IO;
    return write_rows(layout, value_count(ap), x, name);
}

// A bare name that is not in the working directory may be in the RF input directory.
static std::string find_array_file(const char *name)
{
    char dir[1024], path[1024 + NAME_SIZE];
    if (!std::strpbrk(name, "\\/:") && !plat_exists(name) &&
        ZAN_GetDefaultRFInputDir(dir, sizeof dir) && ZAN_BuildPath(path, sizeof path, dir, name) &&
        plat_exists(path))
        return path;
    return name;
}

static dataio_status ask_and_read(const char *prompt, const RowLayout &layout, const int *ap,
                                  double *x)
{
    char name[NAME_SIZE] = "";
    if (!ap || !x)
        return DATAIO_ERR_NULLPTR;
    if (!ask_name(prompt, "fopen(read)", name))
        return DATAIO_ERR_IO;
    return read_rows(layout, value_count(ap), x, find_array_file(name).c_str());
}

void AsciiOut(const int *ap, const double *x)
{
    dataio_last_status = ask_and_write("Ascii File Out >>\nEnter filename : ", plain_rows, ap, x);
}

void AsciiIn(const int *ap, double *x)
{
    dataio_last_status = ask_and_read("<< ASCII File In >>\nEnter filename : ", plain_rows, ap, x);
}

void SGFileOut(const int *ap, const double *x)
{
    dataio_last_status = ask_and_write("SG-Plot File Out >>\nEnter filename : ", sg_rows, ap, x);
}

void SGFileIn(const int *ap, double *x)
{
    dataio_last_status = ask_and_read("<< SG-Plot File In >>\nEnter filename : ", sg_rows, ap, x);
}

void SGXYFileOut(const int *ap, const double *x, double xmin, double xinc)
{
    dataio_last_status =
        ask_and_write("SG-Plot XY File Out >>\nEnter filename : ", {SG_XY_ROWS, xmin, xinc}, ap, x);
}

void Create_IDL_File(const char *fnm)
{
    char name[NAME_SIZE] = "";
    if (!fnm)
        dataio_last_status = DATAIO_ERR_NULLPTR;
    else if (!ask_name("File name PV-Wave/IDL file : ", "fopen(output)", name))
        dataio_last_status = DATAIO_ERR_IO;
    else
        dataio_last_status = Create_IDL_File_status(fnm, name);
}

// --------------------------------------------------------------------------------------- menus

// The question and an empty line behind its answer.
static bool ask_int(const char *prompt, int *value)
{
    if (!scan_int(prompt, value))
        return false;
    std::printf("\n");
    return true;
}

static bool ask_double(const char *prompt, double *value)
{
    if (!scan_double(prompt, value))
        return false;
    std::printf("\n");
    return true;
}

// SG-plot rows against an axis of the user's or against the index.
static void ask_axis_and_write(const int *ap, const double *x)
{
    int with_axis;
    double xmin, xinc;
    dataio_last_status = DATAIO_ERR_IO;
    if (!ask_int("Define x-axis [1=yes] : ", &with_axis))
        return;
    if (with_axis != 1)
        SGFileOut(ap, x);
    else if (ask_double("Minimum x-value   : ", &xmin) && ask_double("Increment x-value : ", &xinc))
        SGXYFileOut(ap, x, xmin, xinc);
}

void RealArrayOut(const int *ap, const double *x)
{
    int choice;
    if (!ap || !x) {
        dataio_last_status = DATAIO_ERR_NULLPTR;
        return;
    }
    std::printf("Write real-array to ASCII-file:\n");
    std::printf("      1. Normal ASCII file\n");
    std::printf("      2. SGplot file format\n");
    std::printf("      3. Cancel file output\n");
    if (!ask_int("Your choice [1..3] : ", &choice))
        dataio_last_status = DATAIO_ERR_IO;
    else if (choice == 1)
        AsciiOut(ap, x);
    else if (choice == 2)
        ask_axis_and_write(ap, x);
    else
        dataio_last_status = DATAIO_OK;
    ConsoleDropLine();
}

void RealArrayIn(const int *ap, double *x)
{
    int choice;
    if (!ap || !x) {
        dataio_last_status = DATAIO_ERR_NULLPTR;
        return;
    }
    std::printf("Read ASCII-file containing reals:\n");
    std::printf("      1. Normal ASCII file\n");
    std::printf("      2. SGplot file format\n");
    std::printf("      3. Cancel file input\n");
    if (!ask_int("Your choice [1..3] : ", &choice))
        dataio_last_status = DATAIO_ERR_IO;
    else if (choice == 1)
        AsciiIn(ap, x);
    else if (choice == 2)
        SGFileIn(ap, x);
    else {
        std::fill_n(x, value_count(ap), 0.0);
        dataio_last_status = DATAIO_OK;
    }
    ConsoleDropLine();
}
