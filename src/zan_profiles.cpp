// zan_profiles.cpp - tables from a density-matrix file: an expectation value at every point of
// the grid, or the receiver signal of one voxel.

#include "zan.h"

#include "binaryfilehandling.h"
#include "observablespectrumcalculator.h"
#include "platformlib.h"

static bool spin_system_is_prepared(void)
{
    return rt.spinsystemdefined && rt.Nspins > 0;
}

// ------------------------------------------------------------------ expectation profile

static void write_profile_line(FILE *out, int p, const Complex2 &value)
{
    const int64_t plane = (int64_t)rt.ndz * rt.ndy;
    const int64_t ix = plane > 0 ? p / plane : 0, rest = plane > 0 ? p % plane : 0;
    const int64_t iy = rt.ndz > 0 ? rest / rt.ndz : 0, iz = rt.ndz > 0 ? rest % rt.ndz : 0;
    std::fprintf(out, "%d,%.17g,%.17g,%.17g,%.17g,%.17g\n", p + 1, rt.x0 + (double)ix * rt.dx,
                 rt.y0 + (double)iy * rt.dy, rt.z0 + (double)iz * rt.dz, value[COMPLEX_RE],
                 value[COMPLEX_IM]);
}

static bool write_profile_lines(FILE *in, int points, const CMatrix *op, FILE *out)
{
    static CMatrix rho;
    Complex2 value;
    std::fprintf(out, "# index,x_cm,y_cm,z_cm,expectation_re,expectation_im\n");
    for (int p = 0; p < points; p++) {
        if (!read_density_matrix(in, rt.n, rt.n, &rho)) {
            std::fprintf(stderr, "Expectation profile: truncated density matrix at point %d.\n",
                         p + 1);
            return false;
        }
        ExpectationValue(rt.n, op, &rho, &value);
        write_profile_line(out, p, value);
    }
    return true;
}

// The density file behind its header; empty after a message.
static FilePtr open_profile_input(const char *density_path, int *points)
{
    FilePtr in = open_input(density_path);
    if (!in) {
        std::perror("Expectation profile: input density file");
        return in;
    }
    int32_t type = 0, n = 0, count = 0;
    if (ReadBinFileHeader_status(in.get(), &type, &n, &count) != BINFH_OK || type != 0 ||
        n != rt.n || count < 1) {
        std::fprintf(stderr,
                     "Expectation profile: incompatible density header type=%d n=%d points=%d; "
                     "expected type=0 n=%d.\n",
                     type, n, count, rt.n);
        in.reset();
    }
    *points = count;
    return in;
}

int ZANWriteExpectationProfile(const char *density_path, const char *operator_expression,
                               const char *output_path)
{
    static CMatrix op;
    int points = 0;
    if (!spin_system_is_prepared()) {
        std::fprintf(stderr, "Expectation profile: no prepared spin system.\n");
        return 0;
    }
    if (!create_operator_expression_spinhalf(rt.n, rt.Nspins, rt.Ilist, rt.ket, operator_expression,
                                             &op)) {
        std::fprintf(stderr, "Expectation profile: invalid operator expression '%s'.\n",
                     operator_expression);
        return 0;
    }
    const FilePtr in = open_profile_input(density_path, &points);
    if (!in)
        return 0;
    OutputFile out;
    if (!open_output(&out, output_path)) {
        std::perror("Expectation profile: output file");
        return 0;
    }
    if (!write_profile_lines(in.get(), points, &op, out.file)) {
        discard_output(&out);
        return 0;
    }
    if (!commit_output(&out)) {
        std::perror("Expectation profile: output file");
        return 0;
    }
    std::printf("Wrote expectation profile for %s to %s\n", operator_expression, output_path);
    return 1;
}

// ------------------------------------------------------------------ voxel signal

// The first acquisition sector with a usable sample count; 0 without one.
static int find_acquisition_sector(void)
{
    int s = 1;
    while (s <= rt.nos && !zan_remark_is_acquisition(rt.remarks[s]))
        s++;
    const bool usable =
        s <= rt.nos && rt.noti[s] > 1 && zan_is_power_of_two_int(rt.noti[s]) && rt.sectdur[s] > 0.0;
    return usable ? s : 0;
}

// The matrix of point_index (from 1) into rho; false after a message.
static bool read_point(const char *density_path, int point_index, CMatrix *rho)
{
    const FilePtr in = open_input(density_path);
    if (!in) {
        std::perror("Voxel signal: input density file");
        return false;
    }
    int32_t type = 0, n = 0, points = 0;
    if (ReadBinFileHeader_status(in.get(), &type, &n, &points) != BINFH_OK || type != 0 ||
        n != rt.n || point_index < 1 || point_index > points) {
        std::fprintf(stderr,
                     "Voxel signal: incompatible density file or point index (type=%d n=%d "
                     "points=%d requested=%d expected_n=%d).\n",
                     type, n, points, point_index, rt.n);
        return false;
    }
    for (int p = 1; p <= point_index; p++)
        if (!read_density_matrix(in.get(), rt.n, rt.n, rho)) {
            std::fprintf(stderr, "Voxel signal: truncated density matrix at point %d.\n", p);
            return false;
        }
    return true;
}

// "dm.bin" with this one matrix; false after a message.
static bool write_single_point(const CMatrix *rho)
{
    FilePtr out{std::fopen("dm.bin", "wb")};
    if (!out || WriteBinFileHeader_status(out.get(), 0, rt.n, 1) != BINFH_OK) {
        std::fprintf(stderr, "Voxel signal: cannot create temporary single-voxel density file.\n");
        out.reset();
        plat_remove_file("dm.bin");
        return false;
    }
    bool written = true;
    for (int row = 1; row <= rt.n && written; row++)
        written = write_cmatrix_row(out.get(), rt.n, rho, row);
    if (std::fclose(out.release()) == 0 && written)
        return true;
    plat_remove_file("dm.bin");
    std::fprintf(stderr, "Voxel signal: cannot write temporary density matrix.\n");
    return false;
}

int ZANWriteVoxelSignal(const char *density_path, int point_index, const char *output_path)
{
    static CMatrix rho;
    if (!spin_system_is_prepared()) {
        std::fprintf(stderr, "Voxel signal: no prepared spin system.\n");
        return 0;
    }
    const int s = find_acquisition_sector();
    if (s == 0) {
        std::fprintf(stderr,
                     "Voxel signal: spatial sequence has no valid power-of-two ADC sector.\n");
        return 0;
    }
    if (!read_point(density_path, point_index, &rho) || !write_single_point(&rho))
        return 0;
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    zan_build_transverse_totals(1);
    const double time = SeparateSpectra_GenerateSignalWithParams(
        &rt.n, rt.noti[s], rt.sectdur[s], rt.statoff[s], output_path, &rho, &rt.Istat, &rt.Ixtot,
        &rt.Iytot, &rt.Iztot, rt.ket, rt.Ilist);
    zan_build_transverse_totals(0);
    plat_remove_file("dm.bin");
    if (!(time > 0.0)) {
        std::fprintf(stderr, "Voxel signal: receiver signal generation failed.\n");
        return 0;
    }
    std::printf("Wrote voxel %d receiver signal to %s (samples=%d acquisition=%.15g s).\n",
                point_index, output_path, rt.noti[s], time);
    return 1;
}
