// zanmodel_refcheck_spatial - reference case 4: a model with one gradient pulse is saved, loaded
// and run over five voxels, and its density matrices are compared with known ones.
#include "zanmodel_refcheck_internal.h"

#include "zan-entry.h"

#include <cmath>
#include <iterator>

static const char spatgrad[] = "spatgrad";

enum { REF_VOXELS = 5, REF_CENTER = 3, REF_STATES = 4 };

// ------------------------------------------------------------------ model

static void build_spins(ZANSpinSystemDef *spin)
{
    ZANSpinSystemDef_Init(spin);
    spin->nspins = 2;
    spin->spin_quantum_numbers[1] = spin->spin_quantum_numbers[2] = 1;
    spin->relative_intensities[1] = spin->relative_intensities[2] = 1.0;
    spin->resonance_offsets_hz[1] = 100.0;
    spin->resonance_offsets_hz[2] = -40.0;
    spin->coupling_mode = 1;
    spin->j_hz[1][2] = spin->j_hz[2][1] = 12.0;
}

static void build_sequence(const char *pulse_path, ZANPulseSequenceDef *seq)
{
    ZANPulseSequenceDef_Init(seq);
    seq->sequence_type = 1;
    seq->sector_count = 1;
    ZANPulseSectorDef *sector = &seq->sectors[1];
    sector->sector_type = 1;
    sector->number_of_timepoints = 1;
    sector->number_of_evolpoints = 1;
    sector->total_duration_s = 1e-5;
    zan_copy_text(sector->pulse_filename, pulse_path);
    zan_copy_text(sector->remark, "spatial gradient reference sector");
}

static void build_grid(const char *result_path, ZANRunConfig *cfg)
{
    ZANRunConfig_Init(cfg);
    cfg->ndx = REF_VOXELS;
    cfg->ndy = cfg->ndz = 1;
    cfg->x0_cm = -10.0;
    cfg->y0_cm = cfg->z0_cm = 0.0;
    cfg->dx_cm = 5.0;
    cfg->dy_cm = cfg->dz_cm = 0.0;
    zan_copy_text(cfg->result_filename, result_path);
    zan_copy_text(cfg->model_name, "spatial-gradient-reference");
}

void BuildSpatialGradientReferenceCase(const char *pulse_path, const char *result_path,
                                       RefModel *model)
{
    model->error[0] = '\0';
    build_spins(&model->spin);
    build_sequence(pulse_path, &model->seq);
    build_grid(result_path, &model->cfg);
}

int save_and_reload(const char *path, RefModel *model, RefModel *loaded)
{
    ZANModelStatus status = ZANModel_SaveText(path, &model->spin, &model->seq, &model->cfg,
                                              model->error, sizeof model->error);
    if (status != ZAN_MODEL_OK)
        return ref_fail_status(spatgrad, "save", status, model->error);
    status = load_reference_model(path, loaded);
    if (status != ZAN_MODEL_OK)
        return ref_fail_status(spatgrad, "load", status, loaded->error);
    return 1;
}

int run_quietly(RefModel *model)
{
    ZAN_SetSmokeCheckMode(1);
    const ZANModelStatus status = ZANModel_ActivateInLegacyRuntime(
        &model->spin, &model->seq, &model->cfg, model->error, sizeof model->error);
    if (status == ZAN_MODEL_OK)
        ZAN_RunCurrentPreparedModel();
    ZAN_SetSmokeCheckMode(0);
    return status == ZAN_MODEL_OK || ref_fail_status(spatgrad, "activate", status, model->error);
}

// ------------------------------------------------------------------ result file

static int check_header(FILE *in)
{
    int32_t header[3]; // type, states, matrices
    if (std::fread(header, sizeof header[0], 3, in) != 3)
        return ref_fail(spatgrad, "could not read result header");
    if (header[0] == 0 && header[1] == REF_STATES && header[2] == REF_VOXELS)
        return 1;
    return ref_fail(spatgrad, "header mismatch: got type=%d n=%d ndw=%d expected 0 %d %d",
                    header[0], header[1], header[2], REF_STATES, REF_VOXELS);
}

static int read_voxel(FILE *in, int voxel, CMatrix *rho)
{
    for (int row = 1; row <= REF_STATES; row++)
        if (!read_cmatrix_row(in, REF_STATES, rho, row))
            return ref_fail(spatgrad, "could not read voxel %d row %d", voxel, row);
    return 1;
}

// What holds in every voxel: two unit spins turned by a propagator.
static int check_invariants(const CMatrix *rho)
{
    const int n = REF_STATES;
    const double tol = 1e-10;
    int ok = check_scalar(spatgrad, "trace.re", cmat_trace_re(n, rho), 0.0, tol);
    ok &= check_scalar(spatgrad, "trace.im", cmat_trace_im(n, rho), 0.0, tol);
    ok &= check_scalar(spatgrad, "hermitian.maxerr", cmat_hermitian_max_error(n, rho), 0.0, tol);
    return check_scalar(spatgrad, "frobenius", cmat_frobenius_norm(n, rho), 1.4142135623730951,
                        tol) &
           ok;
}

static int check_known_entries(int voxel, const CMatrix *rho)
{
    static const RefEntry left[] = {{1, 1, 0.12966277248639121, 0.0},
                                    {1, 2, -0.34839592743525305, -0.3526177953414769},
                                    {4, 4, -0.12976384399514077, 0.0}};
    static const RefEntry center[] = {{1, 1, 2.0850067718604043e-06, 0.0},
                                      {4, 4, -1.9206179415411393e-06, 0.0}};
    static const RefEntry right[] = {{1, 1, 0.13050208511307385, 0.0},
                                     {1, 2, 0.347538510681552, -0.3536064283699171},
                                     {4, 4, -0.13040084707391453, 0.0}};
    const double tol = 1e-6;
    switch (voxel) {
    case 1:
        return check_cmat_entries(spatgrad, "rho voxel1", rho, left, tol);
    case REF_CENTER:
        return check_cmat_entries(spatgrad, "rho voxel3", rho, center, tol);
    case REF_VOXELS:
        return check_cmat_entries(spatgrad, "rho voxel5", rho, right, tol);
    default:
        return 1;
    }
}

// Without a gradient field the pulse turns both spins fully to Iy.
static int check_center_expectations(const CMatrix *center)
{
    static const SpinIList halves = {0, 1, 1};
    static const char *const re[] = {"center <Iy1>.re", "center <Iy2>.re"};
    static const char *const im[] = {"center <Iy1>.im", "center <Iy2>.im"};
    static SpinKet ket;
    static CMatrix Iy;
    int ok = 1;
    MakeKets(&ket, &halves);
    for (int spin = 1; spin <= 2; spin++) {
        Complex2 value;
        MakeMatrixIy(halves, ket, REF_STATES, spin, &Iy);
        ExpectationValue(REF_STATES, &Iy, center, &value);
        ok &= check_scalar(spatgrad, re[spin - 1], value[COMPLEX_RE], 1.0, 1e-5);
        ok &= check_scalar(spatgrad, im[spin - 1], value[COMPLEX_IM], 0.0, 1e-10);
    }
    return ok;
}

// All voxels up to the first one that cannot be read, and that nothing follows the last.
static int check_voxels(FILE *in, CMatrix *center, bool *has_center)
{
    static CMatrix rho;
    int ok = 1;
    for (int voxel = 1; voxel <= REF_VOXELS; voxel++) {
        if (!read_voxel(in, voxel, &rho))
            return 0;
        ok &= check_invariants(&rho);
        ok &= check_known_entries(voxel, &rho);
        if (voxel == REF_CENTER) {
            CopyCMatrix(REF_STATES, &rho, center);
            *has_center = true;
        }
    }
    return std::fgetc(in) == EOF ? ok : ref_fail(spatgrad, "result file has trailing bytes");
}

int CheckSpatialGradientResultFile(const char *path, CMatrix *center, bool *has_center)
{
    *has_center = false;
    const FilePtr in = open_input(path);
    if (!in)
        return ref_fail(spatgrad, "could not open result file: %s", path);
    int ok = check_header(in.get());
    ok &= check_voxels(in.get(), center, has_center);
    if (!*has_center)
        return ref_fail(spatgrad, "center voxel was not available for expectation check");
    return check_center_expectations(center) & ok;
}

// ------------------------------------------------------------------ spectrum of the centre

static double modulus_of_product(const double (&a)[3], const double (&b)[3])
{
    return std::hypot(a[COMPLEX_RE], a[COMPLEX_IM]) * std::hypot(b[COMPLEX_RE], b[COMPLEX_IM]);
}

int CheckCenterStateSpectrumEqualAmplitudes(const CMatrix *rho)
{
    static const double line_hz[] = {34.0, 46.0, 94.0, 106.0};
    static CMatrix Istat;
    double amplitude[std::size(line_hz)] = {};
    CMatAdd(REF_STATES, &rt.Izee, &rt.Icoup, &Istat);
    for (int a = 1; a <= REF_STATES; a++)
        for (int b = a + 1; b <= REF_STATES; b++) {
            const double omega = Istat[b][b][COMPLEX_RE] - Istat[a][a][COMPLEX_RE]; // rad/s
            for (size_t k = 0; k < std::size(line_hz); k++)
                if (approx_equal(std::fabs(omega) / (2.0 * PI_CONST), line_hz[k], 0.05))
                    amplitude[k] += modulus_of_product(rt.Ixtot[a][b], (*rho)[b][a]);
        }
    int ok = 1;
    for (size_t k = 0; k < std::size(line_hz); k++)
        if (!(amplitude[k] > 1e-8))
            ok = ref_fail(spatgrad, "missing center-state line amplitude at %.6g Hz", line_hz[k]);
    for (size_t k = 1; k < std::size(line_hz); k++)
        ok &= check_scalar(spatgrad, "equal line amplitude", amplitude[k], amplitude[0], 5e-5);
    return ok;
}

int check_spatial_result(const char *path)
{
    static CMatrix center;
    bool has_center;
    const int ok = CheckSpatialGradientResultFile(path, &center, &has_center);
    return has_center && (CheckCenterStateSpectrumEqualAmplitudes(&center) & ok);
}

// ------------------------------------------------------------------ case

namespace
{

struct SpatialFiles {
    RefPath pulse, model, result;
};

} // namespace

static int prepare_files(SpatialFiles *files)
{
    RefPath base;
    if (!make_reference_tree(spatgrad, "spatial-gradient", {"models", "rf-output"}, base))
        return 0;
    if (!join2(files->pulse, sizeof files->pulse, base, "rf-output/wave1-excitation") ||
        !join2(files->model, sizeof files->model, base, "models/case.zanmodel") ||
        !join2(files->result, sizeof files->result, base, "models/spatial-gradient-result.bin"))
        return ref_fail(spatgrad, "could not build reference file paths");
    if (!write_spatial_gradient_fixture(files->pulse))
        return ref_fail(spatgrad, "could not write pulse fixture");
    return 1;
}

// The result lies where the loaded model says: the writer stores a bare name, which the loader
// puts into the results directory.
static int run_model(const SpatialFiles &files, RefModel *loaded)
{
    RefModel model;
    BuildSpatialGradientReferenceCase(files.pulse, files.result, &model);
    if (!save_and_reload(files.model, &model, loaded))
        return 0;
    remove_if_exists(files.result);
    remove_if_exists(loaded->cfg.result_filename);
    if (!run_quietly(loaded))
        return 0;
    if (!file_exists(loaded->cfg.result_filename))
        return ref_fail(spatgrad, "result file was not created: %s", loaded->cfg.result_filename);
    return 1;
}

int RunSpatialGradientReferenceCase(void)
{
    SpatialFiles files;
    RefModel loaded;
    if (!prepare_files(&files) || !run_model(files, &loaded))
        return 0;
    return check_spatial_result(loaded.cfg.result_filename) ? ref_pass("spatial-gradient-reference")
                                                            : 0;
}
