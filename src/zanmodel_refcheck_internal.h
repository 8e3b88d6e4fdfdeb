// zanmodel_refcheck_internal.h - what the rooms of the reference checks share: result lines,
// comparisons, fixtures. Comparisons are functions of what they compare, so that tests can give
// them wrong values; all of them print FAIL lines on standard output and return 1 or 0.
#ifndef ZAN_ZANMODEL_REFCHECK_INTERNAL_H
#define ZAN_ZANMODEL_REFCHECK_INTERNAL_H

#include "zanmodel_internal.h"
#include "zanmodel_refcheck.h"

#include <initializer_list>
#include <span>

// ---- result lines and comparisons (zanmodel_refcheck_compare.cpp) ----

int ref_pass(const char *name); // 1
// "FAIL ", the tag in nine columns, a blank, the message; returns 0.
int ref_fail(const char *tag, const char *fmt, ...) ZAN_PRINTF_FORMAT(2, 3);

struct RefEntry {
    int i, j;
    double re, im;
};

bool approx_equal(double a, double b, double tol);
int check_scalar(const char *tag, const char *label, double got, double expected, double tol);
int check_cmat_entry(const char *tag, const char *name, const CMatrix *M, int i, int j, double re,
                     double im, double tol);
int check_cmat_entries(const char *tag, const char *name, const CMatrix *M,
                       std::span<const RefEntry> entries, double tol);
// Every entry of 1..n whose indices are not in entries is 0.
int check_cmat_zero_except(const char *tag, const char *name, const CMatrix *M, int n,
                           std::span<const RefEntry> entries, double tol);
// The entries have their values and all others are 0.
int check_whole_cmat(const char *tag, const char *name, const CMatrix *M, int n,
                     std::span<const RefEntry> entries, double tol);

double cmat_trace_re(int n, const CMatrix *M);
double cmat_trace_im(int n, const CMatrix *M);
double cmat_frobenius_norm(int n, const CMatrix *M);
double cmat_hermitian_max_error(int n, const CMatrix *M); // largest part of M - M†

// ---- files (zanmodel_refcheck_files.cpp) ----

// Every path of the checks fits the field of a model record.
typedef char RefPath[ZAN_MODEL_FILENAME_LEN];

extern const char ref_work_dir[]; // below the working directory

int get_cwd_local(char *out, size_t size);
int join2(char *out, size_t size, const char *dir, const char *leaf);
int ensure_dir(const char *path); // one level; null, empty or a file in its place is a failure
void remove_if_exists(const char *path);
int write_reference_text(const char *path, const char *text);
int write_zero_byte(const char *path);
// One 10 us sample: a 90 degree pulse about x with an x gradient of 2000 Hz/cm.
int write_spatial_gradient_fixture(const char *path);
// WORKING DIRECTORY/zan-refcheck-work/leaf into base, with these directories below it, parents
// before children.
int make_reference_tree(const char *tag, const char *leaf,
                        std::initializer_list<const char *> directories, RefPath &base);

struct RefModel {
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
    char error[512];
};
ZANModelStatus load_reference_model(const char *path, RefModel *model);
int ref_fail_status(const char *tag, const char *what, ZANModelStatus status, const char *error);

// ---- operators, Hamiltonians, spectrum (zanmodel_refcheck_operators.cpp) ----

int check_one_spin_kets(int n, const SpinKet &ket);
int check_one_spin_operators(const CMatrix *Ix, const CMatrix *Iy, const CMatrix *Iz);
int check_two_spin_kets(int n, const SpinKet &ket);
int check_two_spin_totals(const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot);

// Two spins 1/2 of intensity 1 in the runtime state, operators built quietly. Hz.
void configure_two_spin_half_system(double nu1_hz, double nu2_hz, double j_hz, int jexact);
int check_weak_hamiltonians(int n, const CMatrix *Izee, const CMatrix *Icoup);
int check_exact_hamiltonians(const CMatrix *Izee, const CMatrix *Icoup);

struct RefFrequencies {
    int count;
    double hz[MATRIXMATH_DIM]; // from 0
};
bool frequency_present(const RefFrequencies &list, double hz); // within 0.05 Hz
void add_unique_abs_frequency(RefFrequencies *list, double hz);
void collect_spectrum_abs_frequencies(const LineList &spc, int count, RefFrequencies *list);
int check_weak_resonances(const RefFrequencies &list);

// ---- spatial run (zanmodel_refcheck_spatial.cpp) ----

void BuildSpatialGradientReferenceCase(const char *pulse_path, const char *result_path,
                                       RefModel *model);
int save_and_reload(const char *path, RefModel *model, RefModel *loaded);
int run_quietly(RefModel *model);
// *center is the matrix of the centre voxel, and is filled when *has_center is set.
int CheckSpatialGradientResultFile(const char *path, CMatrix *center, bool *has_center);
// rho under the Hamiltonian and Ixtot of the runtime state: its four lines are equally strong.
int CheckCenterStateSpectrumEqualAmplitudes(const CMatrix *rho);
int check_spatial_result(const char *path); // both, after a run

// ---- model files (zanmodel_refcheck_models.cpp) ----

int check_split_model(const RefModel *model);
// what is "duplicate-key" or such; expected a part of the loader's message.
int check_model_is_rejected(const char *what, const char *path, const char *expected);
int make_malformed_models(const char *work);

#endif
