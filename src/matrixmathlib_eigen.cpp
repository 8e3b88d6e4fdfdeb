// matrixmathlib_eigen.cpp - Hermitian eigensystems and the line lists made from them.
//
// A Hermitian n x n matrix is embedded into a real symmetric 2n x 2n one, which Jacobi rotations
// diagonalise; the doubled eigenvalues are paired off again. Builds on the complex arithmetic of
// matrixmathlib.cpp. All working storage is static.
#include "matrixmathlib.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

// -------------------------------------------------------------------- real symmetric matrices

// The off-diagonal element a[p][q], p < q, of largest magnitude; the first one wins.
static double find_pivot(int N, const RealMatrix128 &a, int *p, int *q)
{
    double largest = 0.0;
    *p = 0;
    *q = 1;
    for (int i = 0; i < N; i++) {
        for (int j = i + 1; j < N; j++) {
            if (std::fabs(a[i][j]) > largest) {
                largest = std::fabs(a[i][j]);
                *p = i;
                *q = j;
            }
        }
    }
    return largest;
}

// Turns rows and columns p and q of a so that a[p][q] vanishes, and columns p and q of v alike.
static void jacobi_rotation(int N, int p, int q, RealMatrix128 &a, RealMatrix128 &v)
{
    const double apq = a[p][q];
    const double theta = (a[q][q] - a[p][p]) / (2.0 * apq);
    const double t = sign(1.0, theta) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    a[p][p] -= t * apq;
    a[q][q] += t * apq;
    a[p][q] = a[q][p] = 0.0;
    for (int r = 0; r < N; r++) {
        if (r != p && r != q) {
            const double arp = a[p][r];
            const double aqr = a[q][r];
            a[p][r] = a[r][p] = c * arp - s * aqr;
            a[q][r] = a[r][q] = c * aqr + s * arp;
        }
    }
    for (int r = 0; r < N; r++) {
        const double vp = v[r][p];
        const double vq = v[r][q];
        v[r][p] = c * vp - s * vq;
        v[r][q] = c * vq + s * vp;
    }
}

void jacobi_real_symmetric(int N, RealMatrix128 &a, double *d, RealMatrix128 &v)
{
    for (int i = 0; i < N; i++) {
        for (int j = 0; j < N; j++) {
            v[i][j] = i == j ? 1.0 : 0.0;
        }
    }
    // 60 rotations in all, not sweeps: a larger dense matrix keeps off-diagonal remainders, and
    // its diagonal is used as it stands. Stored results depend on this limit.
    for (int rotation = 0; rotation < 60; rotation++) {
        int p, q;
        if (find_pivot(N, a, &p, &q) < 1e-12) {
            break;
        }
        jacobi_rotation(N, p, q, a, v);
    }
    for (int i = 0; i < N; i++) {
        d[i] = a[i][i];
    }
}

void sort_eigs(int N, double *d, RealMatrix128 &v)
{
    for (int i = 0; i < N - 1; i++) {
        int smallest = i;
        for (int k = i + 1; k < N; k++) {
            if (d[k] < d[smallest]) {
                smallest = k;
            }
        }
        if (smallest != i) {
            std::swap(d[i], d[smallest]);
            for (int r = 0; r < N; r++) {
                std::swap(v[r][i], v[r][smallest]);
            }
        }
    }
}

// --------------------------------------------------------------- orthonormal complex columns

static double squared_length(int n, int col, const ColumnStore &re, const ColumnStore &im)
{
    double sum = 0.0;
    for (int r = 1; r <= n; r++) {
        sum += re[r][col] * re[r][col] + im[r][col] * im[r][col];
    }
    return sum;
}

static void scale_to_unit_length(int n, int col, ColumnStore &re, ColumnStore &im)
{
    const double sum = squared_length(n, col, re, im);
    const double factor = sum > 0.0 ? 1.0 / std::sqrt(sum) : 0.0;
    for (int r = 1; r <= n; r++) {
        re[r][col] *= factor;
        im[r][col] *= factor;
    }
}

// v_col -= <v_k|v_col>·v_k for the unit columns k = first_col..col-1, one after another.
static void remove_earlier_columns(int n, int first_col, int col, ColumnStore &re, ColumnStore &im)
{
    for (int k = first_col; k < col; k++) {
        double pre = 0.0;
        double pim = 0.0;
        for (int r = 1; r <= n; r++) {
            pre += re[r][k] * re[r][col] + im[r][k] * im[r][col];
            pim += re[r][k] * im[r][col] - im[r][k] * re[r][col];
        }
        for (int r = 1; r <= n; r++) {
            re[r][col] -= pre * re[r][k] - pim * im[r][k];
            im[r][col] -= pim * re[r][k] + pre * im[r][k];
        }
    }
}

void complex_gs_range(int n, int first_col, int last_col, ColumnStore &vecs_re,
                      ColumnStore &vecs_im)
{
    for (int col = first_col; col <= last_col; col++) {
        remove_earlier_columns(n, first_col, col, vecs_re, vecs_im);
        scale_to_unit_length(n, col, vecs_re, vecs_im);
    }
}

void complex_gs(int n, ColumnStore &vecs_re, ColumnStore &vecs_im)
{
    complex_gs_range(n, 1, n, vecs_re, vecs_im);
}

// ----------------------------------------------------------------------- Hermitian eigensystem

// The real eigensystem of the embedding, sorted, and the complex columns chosen from it.
static double evals[HERMIT_REAL_DIM];
static RealMatrix128 evecs;
static ColumnStore vecs_re, vecs_im;

// M = [[Re A, -Im A], [Im A, Re A]]: an eigenvector (x; y) of M is x + i·y of A, and each
// eigenvalue of A appears twice.
static void solve_embedding(int n, const CMatrix &A)
{
    static RealMatrix128 M;
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const double re = A[i][j][COMPLEX_RE];
            const double im = A[i][j][COMPLEX_IM];
            M[i - 1][j - 1] = re;
            M[i - 1][n + j - 1] = -im;
            M[n + i - 1][j - 1] = im;
            M[n + i - 1][n + j - 1] = re;
        }
    }
    jacobi_real_symmetric(2 * n, M, evals, evecs);
    sort_eigs(2 * n, evals, evecs);
}

static void take_column(int n, int col, int idx)
{
    for (int r = 1; r <= n; r++) {
        vecs_re[r][col] = evecs[r - 1][idx];
        vecs_im[r][col] = evecs[n + r - 1][idx];
    }
}

// The end (exclusive) of the group of equal eigenvalues that starts at sorted position s.
static int group_end(int N, int s)
{
    const double first = evals[s];
    int e = s + 1;
    while (e < N && std::fabs(evals[e] - first) <=
                        (std::fabs(evals[e]) + std::fabs(first) + 1.0) * 1e-9 + 1e-12) {
        e++;
    }
    return e;
}

// Column col from group member idx (positions s..e-1), made orthonormal to the group's columns
// first..col-1. Two members can be the same complex vector but for a phase; then hardly anything
// is left of the second, and the next member that brings something new serves instead. There is
// one: the members are orthonormal, so one of them keeps 1/128 of its square or more.
static void take_orthonormal_column(int n, int first, int col, int idx, int s, int e)
{
    int tried = 0;
    do {
        take_column(n, col, s + (idx - s + tried) % (e - s));
        remove_earlier_columns(n, first, col, vecs_re, vecs_im);
        tried++;
    } while (tried < e - s && squared_length(n, col, vecs_re, vecs_im) < 1e-12);
    scale_to_unit_length(n, col, vecs_re, vecs_im);
}

// Half of each group's members, rounded up, become eigenvectors (so n are always found), every
// second one by preference; all of a group get the eigenvalue of its first.
static void pair_off(int n, double *D)
{
    const int N = 2 * n;
    int taken = 0;
    for (int s = 0; s < N && taken < n;) {
        const int e = group_end(N, s);
        const int first = taken + 1;
        const int take = std::min((e - s + 1) / 2, n - taken);
        for (int t = 0; t < take; t++) {
            taken++;
            D[taken] = evals[s];
            take_orthonormal_column(n, first, taken, s + 2 * t, s, e);
        }
        s = e;
    }
}

static void refuse_eigensystem(int n, CMatrix *Z, double *D)
{
    std::fprintf(stderr, "hermit: n = %d is above %d, the largest dimension it can diagonalise\n",
                 n, HERMIT_MAX_N);
    CMatZero(n, Z);
    std::fill(D + 1, D + n + 1, 0.0);
}

void hermit(int n, const CMatrix *A, CMatrix *Z, double *D)
{
    if (n > HERMIT_MAX_N) {
        refuse_eigensystem(n, Z, D);
        return;
    }
    solve_embedding(n, *A);
    pair_off(n, D);
    for (int r = 1; r <= n; r++) {
        for (int col = 1; col <= n; col++) {
            (*Z)[r][col][COMPLEX_RE] = vecs_re[r][col];
            (*Z)[r][col][COMPLEX_IM] = vecs_im[r][col];
        }
    }
}

// --------------------------------------------------------------------------------- line lists

void zero_spectrum(LineList &spc)
{
    for (int k = 1; k < MATRIXMATH_DIM; k++) {
        spc[1][k] = 0.0;
        spc[2][k] = 0.0;
    }
}

// Amplitudes of rounding size are no lines; those beyond the 256th are dropped.
static void add_line(double amplitude, double frequency, LineList &spc, int *count)
{
    if (std::fabs(amplitude) > 1e-12 && *count < MATRIXMATH_DIM - 1) {
        (*count)++;
        spc[1][*count] = amplitude;
        spc[2][*count] = frequency;
    }
}

// sig and sto: density matrix and observable in the eigenbasis; Eigval in rad/s.
static void collect_lines(int n, const CMatrix &sig, const CMatrix &sto, const double *Eigval,
                          LineList &csp, LineList &ssp, int *nc, int *ns)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            if (i == j) {
                continue;
            }
            const double delta = Eigval[j] - Eigval[i];
            const double frequency = std::fabs(delta) / (2.0 * pi_val());
            const double are = sto[i][j][COMPLEX_RE], aim = sto[i][j][COMPLEX_IM];
            const double bre = sig[j][i][COMPLEX_RE], bim = sig[j][i][COMPLEX_IM];
            const double im = aim * bre + are * bim;
            add_line(are * bre - aim * bim, frequency, csp, nc);
            add_line(delta >= 0.0 ? im : -im, frequency, ssp, ns);
        }
    }
}

void DoSpectrum(int n, const CMatrix *densmat, const CMatrix *Hmat, const CMatrix *cohmat,
                LineList &csp, LineList &ssp, int *Nc, int *Ns)
{
    static CMatrix Rot, RotA, sig, sto;
    static double Eigval[MATRIXMATH_DIM];
    zero_spectrum(csp);
    zero_spectrum(ssp);
    hermit(n, Hmat, &Rot, Eigval);
    Adjungate(n, &Rot, &RotA);
    Transform(n, &RotA, densmat, &Rot, &sig);
    Transform(n, &RotA, cohmat, &Rot, &sto);
    int nc = 0;
    int ns = 0;
    collect_lines(n, sig, sto, Eigval, csp, ssp, &nc, &ns);
    if (Nc) {
        *Nc = nc;
    }
    if (Ns) {
        *Ns = ns;
    }
    SortSpectrum(Nc, csp);
    SortSpectrum(Ns, ssp);
}

// Index of the first merged line within 0.05 Hz of frequency, bounds included; m + 1 if none.
static int merged_line_near(double frequency, int m, const LineList &merged)
{
    int j = 1;
    while (j <= m && !(merged[2][j] - 0.05 <= frequency && frequency <= merged[2][j] + 0.05)) {
        j++;
    }
    return j;
}

// Each line joins the first merged line that it is near to, or founds a new one. Returns how
// many merged lines there are.
static int merge_lines(int count, const LineList &spc, LineList &merged)
{
    int m = 0;
    for (int k = 1; k <= count; k++) {
        const int j = merged_line_near(spc[2][k], m, merged);
        if (j <= m) {
            merged[1][j] += spc[1][k];
        } else if (m < MATRIXMATH_DIM - 1) {
            m++;
            merged[1][m] = spc[1][k];
            merged[2][m] = spc[2][k];
        }
    }
    return m;
}

// Bubble sort by frequency.
static void sort_lines(int m, LineList &spc)
{
    for (int p = 1; p <= m; p++) {
        for (int q = 2; q <= m - p + 1; q++) {
            if (spc[2][q - 1] >= spc[2][q]) {
                std::swap(spc[1][q - 1], spc[1][q]);
                std::swap(spc[2][q - 1], spc[2][q]);
            }
        }
    }
}

void SortSpectrum(int *Npeaks, LineList &spc)
{
    static LineList merged;
    if (!Npeaks || *Npeaks < 2) {
        return;
    }
    const int m = merge_lines(*Npeaks, spc, merged);
    for (int k = 1; k <= *Npeaks; k++) {
        spc[1][k] = k <= m ? merged[1][k] : 0.0;
        spc[2][k] = k <= m ? merged[2][k] : 0.0;
    }
    sort_lines(m, spc);
    *Npeaks = m;
}

// --------------------------------------------------------------------------- classical names

// The last decomposition made through HTRIDI.
static int cached_n = 0;
static double cached_D[MATRIXMATH_DIM];
static CMatrix cached_Z;

void HTRIDI(int n, const CMatrix *A, double *D, double *E, double (*tau)[MATRIXMATH_DIM])
{
    cached_n = n;
    hermit(n, A, &cached_Z, cached_D);
    for (int k = 1; k <= n; k++) {
        D[k] = cached_D[k];
        if (E) {
            E[k] = 0.0;
        }
        if (tau) {
            tau[1][k] = 1.0;
            tau[2][k] = 0.0;
        }
    }
}

// Zeros and the identity, with ierr 0, when HTRIDI has last seen another dimension.
void TQL2(int n, double *D, const double * /*E*/, CMatrix *Z, int *ierr)
{
    if (ierr) {
        *ierr = 0;
    }
    if (n == cached_n) {
        CopyCMatrix(n, &cached_Z, Z);
    } else {
        CMatIdentity(n, Z);
    }
    for (int k = 1; k <= n; k++) {
        D[k] = n == cached_n ? cached_D[k] : 0.0;
    }
}

// The columns of TQL2's Z are the eigenvectors of A already.
void HTRIBK(int /*n*/, const CMatrix * /*A*/, CMatrix * /*Z*/, double (* /*tau*/)[MATRIXMATH_DIM])
{
}

// Nothing is left to do for the steps either: hermit has done it all.
void pr1(int /*j*/, double * /*P*/, CMatrix * /*R*/, CMatrix * /*H*/, double * /*F*/,
         double * /*C*/, double * /*S*/, double * /*G*/, double * /*D*/, double * /*E*/, int /*L*/,
         int /*n*/, int /*M*/, CMatrix * /*Z*/)
{
}

void pr2(int /*n*/, double * /*P*/, CMatrix * /*Z*/, double * /*D*/) {}

void pr1x(int /*i*/, double * /*E*/, double * /*E2*/, double * /*D*/, double * /*HH*/,
          double * /*scale*/, CMatrix * /*A*/)
{
}

void pr3x(double * /*F*/, double * /*G*/, double * /*GI*/, double * /*H*/, int /*i*/, int /*L*/,
          CMatrix * /*A*/, double * /*E*/, double (* /*tau*/)[MATRIXMATH_DIM])
{
}

void pr4x(double * /*HH*/, double * /*F*/, double * /*H*/, double * /*G*/, double * /*FI*/,
          double * /*GI*/, int /*i*/, int /*L*/, CMatrix * /*A*/, double * /*E*/,
          double (* /*tau*/)[MATRIXMATH_DIM])
{
}

void pr5x(int /*i*/, int /*L*/, double * /*scale*/, double * /*SI*/, double * /*HH*/,
          CMatrix * /*A*/, double (* /*tau*/)[MATRIXMATH_DIM], double * /*D*/)
{
}
