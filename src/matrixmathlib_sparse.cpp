// matrixmathlib_sparse.cpp - matrices with few elements, held as lists of them.
//
// Spin operators have one or two elements in a row. The operations give what their CMatrix
// counterparts give, to the bit, as long as all numbers are finite: each element is summed in the
// same order, and the terms left out are zeros, which change no finite sum. What is not listed
// is +0.
#include "matrixmathlib.h"

#include <cmath>

// ------------------------------------------------------------------------------ row by row

// One row in the making.
namespace
{
struct RowSum {
    int count;
    int columns[MATRIXMATH_DIM]; // those that got a term, ascending
    bool started[MATRIXMATH_DIM];
    double re[MATRIXMATH_DIM], im[MATRIXMATH_DIM];
};
} // namespace

static void start_column(int col, RowSum *sum)
{
    int at = sum->count++;
    for (; at > 0 && sum->columns[at - 1] > col; at--) {
        sum->columns[at] = sum->columns[at - 1];
    }
    sum->columns[at] = col;
    sum->started[col] = true;
    sum->re[col] = sum->im[col] = 0.0;
}

static void add_term(int col, double re, double im, RowSum *sum)
{
    if (!sum->started[col]) {
        start_column(col, sum);
    }
    sum->re[col] += re;
    sum->im[col] += im;
}

// The row becomes row i of outmat, and the sum is empty again.
static void finish_row(int i, RowSum *sum, SparseCMatrix *outmat)
{
    SparseBeginRow(i, outmat);
    for (int c = 0; c < sum->count; c++) {
        const int col = sum->columns[c];
        SparseAppend(i, {col, sum->re[col], sum->im[col]}, outmat);
        sum->started[col] = false;
    }
    sum->count = 0;
}

void SparseBeginRow(int i, SparseCMatrix *A)
{
    if (i == 1) {
        A->first[1] = 0;
    }
    A->first[i + 1] = A->first[i];
}

void SparseAppend(int i, const SparseElement &element, SparseCMatrix *A)
{
    A->elements[A->first[i + 1]++] = element;
}

// -------------------------------------------------------------------------------- arithmetic

void SparseIdentity(int n, SparseCMatrix *A)
{
    for (int i = 1; i <= n; i++) {
        SparseBeginRow(i, A);
        SparseAppend(i, {i, 1.0, 0.0}, A);
    }
}

void SparseRMultAdd(int n, const SparseCMatrix *inmat1, double rfac1, const SparseCMatrix *inmat2,
                    double rfac2, SparseCMatrix *outmat)
{
    static RowSum sum;
    for (int i = 1; i <= n; i++) {
        for (int a = inmat1->first[i]; a < inmat1->first[i + 1]; a++) {
            const SparseElement &x = inmat1->elements[a];
            add_term(x.col, rfac1 * x.re, rfac1 * x.im, &sum);
        }
        for (int b = inmat2->first[i]; b < inmat2->first[i + 1]; b++) {
            const SparseElement &y = inmat2->elements[b];
            add_term(y.col, rfac2 * y.re, rfac2 * y.im, &sum);
        }
        finish_row(i, &sum, outmat);
    }
}

void SparseMult(int n, const SparseCMatrix *inmat1, const SparseCMatrix *inmat2,
                SparseCMatrix *outmat)
{
    static RowSum sum;
    for (int i = 1; i <= n; i++) {
        for (int a = inmat1->first[i]; a < inmat1->first[i + 1]; a++) {
            const SparseElement &x = inmat1->elements[a];
            for (int b = inmat2->first[x.col]; b < inmat2->first[x.col + 1]; b++) {
                const SparseElement &y = inmat2->elements[b];
                add_term(y.col, x.re * y.re - x.im * y.im, x.im * y.re + x.re * y.im, &sum);
            }
        }
        finish_row(i, &sum, outmat);
    }
}

void SparseScale(int n, double rfac, SparseCMatrix *A)
{
    for (int e = 0; e < SparseCount(n, A); e++) {
        A->elements[e].re *= rfac;
        A->elements[e].im *= rfac;
    }
}

void SparseNorm(int n, SparseCMatrix *A)
{
    double sum = 0.0;
    for (int e = 0; e < SparseCount(n, A); e++) {
        const SparseElement &x = A->elements[e];
        sum += x.re * x.re + x.im * x.im;
    }
    if (sum > 0.0) {
        SparseScale(n, 1.0 / std::sqrt(sum), A);
    }
}

int SparseCount(int n, const SparseCMatrix *A)
{
    return n < 1 ? 0 : A->first[n + 1];
}

void SparseExpectationValue(int n, const SparseCMatrix *inmat, const CMatrix *dmat, Complex2 *Eval)
{
    (*Eval)[COMPLEX_RE] = 0.0;
    (*Eval)[COMPLEX_IM] = 0.0;
    for (int i = 1; i <= n; i++) {
        double sum_re = 0.0;
        double sum_im = 0.0;
        for (int e = inmat->first[i]; e < inmat->first[i + 1]; e++) {
            const SparseElement &a = inmat->elements[e];
            const double bre = (*dmat)[a.col][i][COMPLEX_RE];
            const double bim = (*dmat)[a.col][i][COMPLEX_IM];
            sum_re += a.re * bre - a.im * bim;
            sum_im += a.im * bre + a.re * bim;
        }
        (*Eval)[COMPLEX_RE] += sum_re;
        (*Eval)[COMPLEX_IM] += sum_im;
    }
}

// ----------------------------------------------------------------------------- into a CMatrix

void SparseToCMatrix(int n, const SparseCMatrix *A, CMatrix *outmat)
{
    CMatZero(n, outmat);
    SparseAccumulate(n, A, outmat);
}

void SparseAccumulate(int n, const SparseCMatrix *A, CMatrix *outmat)
{
    for (int i = 1; i <= n; i++) {
        for (int e = A->first[i]; e < A->first[i + 1]; e++) {
            const SparseElement &x = A->elements[e];
            (*outmat)[i][x.col][COMPLEX_RE] += x.re;
            (*outmat)[i][x.col][COMPLEX_IM] += x.im;
        }
    }
}
