// matrixmathlib.cpp - dense complex matrices: arithmetic, traces, rotation, exponential.
//
// The plain way of doing the program's linear algebra, and the reference that the faster
// kernels are tested against. Eigensystems and line lists are in matrixmathlib_eigen.cpp.
// A CMatrix takes 1.5 MB, so every intermediate one is static.
#include "matrixmathlib.h"

#include <cmath>
#include <cstdio>

const char *const matrixmathlib_version = "matrixmathlib 0.1.0";

double pi_val(void)
{
    return 3.141592653589793;
}

// ------------------------------------------------------------------------ element by element

void CMatZero(int n, CMatrix *outmat)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*outmat)[i][j][COMPLEX_RE] = 0.0;
            (*outmat)[i][j][COMPLEX_IM] = 0.0;
        }
    }
}

void CMatIdentity(int n, CMatrix *A)
{
    CMatZero(n, A);
    for (int i = 1; i <= n; i++) {
        (*A)[i][i][COMPLEX_RE] = 1.0;
    }
}

void CopyCMatrix(int n, const CMatrix *inmat, CMatrix *outmat)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*outmat)[i][j][COMPLEX_RE] = (*inmat)[i][j][COMPLEX_RE];
            (*outmat)[i][j][COMPLEX_IM] = (*inmat)[i][j][COMPLEX_IM];
        }
    }
}

void CMatAdd(int n, const CMatrix *inmat1, const CMatrix *inmat2, CMatrix *outmat)
{
    CMatRMultAdd(n, inmat1, 1.0, inmat2, 1.0, outmat);
}

void CMatRMultAdd(int n, const CMatrix *inmat1, double rfac1, const CMatrix *inmat2, double rfac2,
                  CMatrix *outmat)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            for (int part = COMPLEX_RE; part <= COMPLEX_IM; part++) {
                (*outmat)[i][j][part] =
                    rfac1 * (*inmat1)[i][j][part] + rfac2 * (*inmat2)[i][j][part];
            }
        }
    }
}

void RMultCMat(int n, double rfac, const CMatrix *inmat, CMatrix *outmat)
{
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*outmat)[i][j][COMPLEX_RE] = rfac * (*inmat)[i][j][COMPLEX_RE];
            (*outmat)[i][j][COMPLEX_IM] = rfac * (*inmat)[i][j][COMPLEX_IM];
        }
    }
}

void CMultCMat(int n, const Complex2 *cfac, const CMatrix *inmat, CMatrix *outmat)
{
    const double cre = (*cfac)[COMPLEX_RE];
    const double cim = (*cfac)[COMPLEX_IM];
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const double re = (*inmat)[i][j][COMPLEX_RE];
            const double im = (*inmat)[i][j][COMPLEX_IM];
            (*outmat)[i][j][COMPLEX_RE] = cre * re - cim * im;
            (*outmat)[i][j][COMPLEX_IM] = cim * re + cre * im;
        }
    }
}

void NormCMatrix(int n, CMatrix *mat)
{
    double sum = 0.0;
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const double re = (*mat)[i][j][COMPLEX_RE];
            const double im = (*mat)[i][j][COMPLEX_IM];
            sum += re * re + im * im;
        }
    }
    if (sum > 0.0) {
        RMultCMat(n, 1.0 / std::sqrt(sum), mat, mat);
    }
}

// ------------------------------------------------------------------- products and transposes

// Adds row i of inmat1·inmat2 to the zeroed row i of outmat. The rows of inmat2 stream through
// the cache, and each element still gets its terms in ascending k. A zero factor is skipped:
// adding its zeros would not change a bit of any finite sum.
static void add_product_row(int n, int i, const CMatrix &inmat1, const CMatrix &inmat2,
                            CMatrix &outmat)
{
    for (int k = 1; k <= n; k++) {
        const double are = inmat1[i][k][COMPLEX_RE];
        const double aim = inmat1[i][k][COMPLEX_IM];
        if (are == 0.0 && aim == 0.0) {
            continue;
        }
        for (int j = 1; j <= n; j++) {
            const double bre = inmat2[k][j][COMPLEX_RE];
            const double bim = inmat2[k][j][COMPLEX_IM];
            outmat[i][j][COMPLEX_RE] += are * bre - aim * bim;
            outmat[i][j][COMPLEX_IM] += aim * bre + are * bim;
        }
    }
}

void CMatMult(int n, const CMatrix *inmat1, const CMatrix *inmat2, CMatrix *outmat)
{
    static CMatrix tmp;
    if (outmat == inmat1 || outmat == inmat2) {
        CMatMult(n, inmat1, inmat2, &tmp);
        CopyCMatrix(n, &tmp, outmat);
        return;
    }
    CMatZero(n, outmat);
    for (int i = 1; i <= n; i++) {
        add_product_row(n, i, *inmat1, *inmat2, *outmat);
    }
}

void CMatMultAdd(int n, const CMatrix *inmat1, const CMatrix *inmat2, double rfac, CMatrix *outmat)
{
    static CMatrix prod;
    CMatMult(n, inmat1, inmat2, &prod);
    CMatRMultAdd(n, outmat, 1.0, &prod, rfac, outmat);
}

void CMatCommutator(int n, const CMatrix *a, const CMatrix *b, CMatrix *outmat)
{
    static CMatrix ab, ba;
    CMatMult(n, a, b, &ab);
    CMatMult(n, b, a, &ba);
    CMatRMultAdd(n, &ab, 1.0, &ba, -1.0, outmat);
}

void Transform(int n, const CMatrix *Ut, const CMatrix *H, const CMatrix *U, CMatrix *prod)
{
    static CMatrix tmp;
    CMatMult(n, Ut, H, &tmp);
    CMatMult(n, &tmp, U, prod);
}

void Adjungate(int n, const CMatrix *P, CMatrix *Q)
{
    static CMatrix tmp;
    if (Q == P) {
        CopyCMatrix(n, P, &tmp);
        P = &tmp;
    }
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*Q)[i][j][COMPLEX_RE] = (*P)[j][i][COMPLEX_RE];
            (*Q)[i][j][COMPLEX_IM] = -(*P)[j][i][COMPLEX_IM];
        }
    }
}

void Transpose(int n, const CMatrix *p, CMatrix *q)
{
    static CMatrix tmp;
    if (q == p) {
        CopyCMatrix(n, p, &tmp);
        p = &tmp;
    }
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*q)[i][j][COMPLEX_RE] = (*p)[j][i][COMPLEX_RE];
            (*q)[i][j][COMPLEX_IM] = (*p)[j][i][COMPLEX_IM];
        }
    }
}

// --------------------------------------------------------------------- numbers from matrices

void ExpectationValue(int n, const CMatrix *inmat, const CMatrix *dmat, Complex2 *Eval)
{
    (*Eval)[COMPLEX_RE] = 0.0;
    (*Eval)[COMPLEX_IM] = 0.0;
    for (int i = 1; i <= n; i++) {
        double sum_re = 0.0;
        double sum_im = 0.0;
        for (int k = 1; k <= n; k++) {
            const double are = (*inmat)[i][k][COMPLEX_RE];
            const double aim = (*inmat)[i][k][COMPLEX_IM];
            const double bre = (*dmat)[k][i][COMPLEX_RE];
            const double bim = (*dmat)[k][i][COMPLEX_IM];
            sum_re += are * bre - aim * bim;
            sum_im += aim * bre + are * bim;
        }
        (*Eval)[COMPLEX_RE] += sum_re;
        (*Eval)[COMPLEX_IM] += sum_im;
    }
}

void CalcTrace(int n, const CMatrix *mat, Complex2 *trace)
{
    (*trace)[COMPLEX_RE] = 0.0;
    (*trace)[COMPLEX_IM] = 0.0;
    for (int i = 1; i <= n; i++) {
        (*trace)[COMPLEX_RE] += (*mat)[i][i][COMPLEX_RE];
        (*trace)[COMPLEX_IM] += (*mat)[i][i][COMPLEX_IM];
    }
}

static double element_size(const double *element)
{
    return std::fabs(element[COMPLEX_RE]) + std::fabs(element[COMPLEX_IM]);
}

double maxabs_cmat(int n, const CMatrix *A)
{
    double largest = 0.0;
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            const double size = element_size((*A)[i][j]);
            if (size > largest) {
                largest = size;
            }
        }
    }
    return largest;
}

double sign(double p, double q)
{
    return q >= 0.0 ? std::fabs(p) : -std::fabs(p);
}

// --------------------------------------------------------------------------------- evolution

void DoRotation(int n, const CMatrix *romat, CMatrix *densmat)
{
    static CMatrix Aromat, tmp;
    Adjungate(n, romat, &Aromat);
    Transform(n, &Aromat, densmat, romat, &tmp);
    CopyCMatrix(n, &tmp, densmat);
}

void Epower(int n, const double *EV, Complex2 *lamb, double tau)
{
    for (int k = 1; k <= n; k++) {
        lamb[k][COMPLEX_RE] = std::cos(EV[k] * tau);
        lamb[k][COMPLEX_IM] = std::sin(EV[k] * tau);
    }
}

static double largest_row_sum(int n, const CMatrix &inm)
{
    double largest = 0.0;
    for (int i = 1; i <= n; i++) {
        double sum = 0.0;
        for (int j = 1; j <= n; j++) {
            sum += element_size(inm[i][j]);
        }
        if (sum > largest) {
            largest = sum;
        }
    }
    return largest;
}

// Halvings of tau until |tau|·norm is at most 0.5, where the series converges fast.
static int halvings_for(double tau, double norm)
{
    double x = std::fabs(tau) * norm;
    int halvings = 0;
    while (x > 0.5 && halvings < 24) {
        x *= 0.5;
        halvings++;
    }
    return halvings;
}

// result = sum over k of bmat^k/k!, until a term falls below 1e-14 everywhere.
static void taylor_series(int n, const CMatrix &bmat, CMatrix &result)
{
    static CMatrix term, product;
    CMatIdentity(n, &result);
    CMatIdentity(n, &term);
    for (int k = 1; k <= 80; k++) {
        CMatMult(n, &term, &bmat, &product);
        RMultCMat(n, 1.0 / k, &product, &term);
        CMatAdd(n, &result, &term, &result);
        if (maxabs_cmat(n, &term) < 1e-14) {
            break;
        }
    }
}

void ExpMatrix(int n, const CMatrix *inm, double tau, CMatrix *outm)
{
    static CMatrix bmat, result, tmp;
    if (outm == inm) {
        ExpMatrix(n, inm, tau, &tmp);
        CopyCMatrix(n, &tmp, outm);
        return;
    }
    const int halvings = halvings_for(tau, largest_row_sum(n, *inm));
    const Complex2 it = {0.0, 0.0, std::ldexp(tau, -halvings)};
    CMultCMat(n, &it, inm, &bmat);
    taylor_series(n, bmat, result);
    for (int squaring = 0; squaring < halvings; squaring++) {
        CMatMult(n, &result, &result, &result);
    }
    CopyCMatrix(n, &result, outm);
}

// ----------------------------------------------------------------------------------- display

static void show_part(int n, const CMatrix &inmat, int part, const char *title)
{
    const char *const separator = "====================================================";
    std::printf("\n%s\n%s PART (n = %d)\n%s\n\n", separator, title, n, separator);
    std::printf("        ");
    for (int j = 1; j <= n; j++) {
        std::printf("   %3d        ", j);
    }
    std::printf("\n");
    for (int i = 1; i <= n; i++) {
        std::printf(" %3d  ", i);
        for (int j = 1; j <= n; j++) {
            std::printf(" %8.1E ", inmat[i][j][part]);
        }
        std::printf("\n");
    }
}

void ShowCMatElements(int n, const CMatrix *inmat)
{
    show_part(n, *inmat, COMPLEX_RE, "REAL");
    show_part(n, *inmat, COMPLEX_IM, "IMAGINARY");
    std::printf("\n");
}
