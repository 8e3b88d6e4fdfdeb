// spinoperatorlib.cpp - product basis and spin operators of up to eight spins of any spin.
//
// Builds on matrixmathlib. Called when a spin system or an operator is set up, never in a time
// loop. Scratch tables and matrices are static.
#include "spinoperatorlib.h"

#include <cmath>
#include <cstdio>
#include <cstring>

const char *const spinoper_version = "spinoperatorlib 0.1.0";

enum { MAX_SPINS = 8, MAX_STATES = MATRIXMATH_DIM - 1 };

int infer_nspins(const SpinIList &Ilist)
{
    int k = MAX_SPINS;
    while (k > 0 && Ilist[k] <= 0) {
        k--;
    }
    return k;
}

int infer_nstates(const SpinIList &Ilist, int Nspins)
{
    int product = 1;
    for (int k = 1; k <= Nspins; k++) {
        if (Ilist[k] < 0 || Ilist[k] >= MAX_STATES) {
            return 0;
        }
        const int states = Ilist[k] + 1;
        if (MAX_STATES / states < product) {
            return 0;
        }
        product *= states;
    }
    return product;
}

// ------------------------------------------------------------------------------------- basis

void ketproc(SpinKet &ket, int state, const int *m, int Nspins)
{
    for (int k = 1; k <= Nspins; k++) {
        ket[state][k] = m[k];
    }
}

void enum_kets_rec(SpinKet &ket, const SpinIList &Ilist, int Nspins, int spin_index, int *m,
                   int *state_io)
{
    for (int v = Ilist[spin_index]; v >= -Ilist[spin_index]; v -= 2) {
        m[spin_index] = v;
        if (spin_index == Nspins) {
            (*state_io)++;
            ketproc(ket, *state_io, m, Nspins);
        } else {
            enum_kets_rec(ket, Ilist, Nspins, spin_index + 1, m, state_io);
        }
    }
}

void MakeKets(SpinKet *ket, const SpinIList *Ilist)
{
    if (!ket || !Ilist) {
        return;
    }
    std::memset(*ket, 0, sizeof *ket);
    const int Nspins = infer_nspins(*Ilist);
    if (Nspins <= 0) {
        return;
    }
    if (infer_nstates(*Ilist, Nspins) <= 0) {
        std::fprintf(stderr, "MakeKets: too many states for Nspins=%d (max %d)\n", Nspins,
                     MAX_STATES);
        return;
    }
    int m[MAX_SPINS + 1] = {};
    int states = 0;
    enum_kets_rec(*ket, *Ilist, Nspins, 1, m, &states);
}

int ket_equal(const int *a_row, const int *b_row, int Nspins)
{
    for (int k = 1; k <= Nspins; k++) {
        if (a_row[k] != b_row[k]) {
            return 0;
        }
    }
    return 1;
}

// ---------------------------------------------------------------------- elements of I+ and I-

static void copy_ket(int state, const SpinKet &inket, SpinKet &outket)
{
    for (int k = 1; k <= MAX_SPINS; k++) {
        outket[state][k] = inket[state][k];
    }
}

static void set_coefficient(double square, double *coefficient)
{
    if (coefficient) {
        *coefficient = square > 0.0 ? std::sqrt(square) : 0.0;
    }
}

void operateIplus(const SpinIList &Ilist, int Xstate, int Xspin, const SpinKet &inket,
                  SpinKet &outket, double *coefficient)
{
    set_coefficient(0.0, coefficient);
    copy_ket(Xstate, inket, outket);
    const int I2 = Ilist[Xspin];
    const int m2 = inket[Xstate][Xspin];
    if (I2 > m2 + 1) {
        outket[Xstate][Xspin] = m2 + 2;
        set_coefficient(((I2 - m2) / 2.0) * ((m2 + I2 + 2) / 2.0), coefficient);
    }
}

void operateImin(const SpinIList &Ilist, int Xstate, int Xspin, const SpinKet &inket,
                 SpinKet &outket, double *coefficient)
{
    set_coefficient(0.0, coefficient);
    copy_ket(Xstate, inket, outket);
    const int I2 = Ilist[Xspin];
    const int m2 = inket[Xstate][Xspin];
    if (m2 - 1 > -I2) {
        outket[Xstate][Xspin] = m2 - 2;
        set_coefficient(((m2 + I2) / 2.0) * ((I2 - m2 + 2) / 2.0), coefficient);
    }
}

// element1 = coefficient when row Ketstate of acted, the ket acted upon, is the bra; else 0. A ket
// that cannot be moved is left as it is, but its coefficient is 0.
static void inner_product(const SpinIList &Ilist, const SpinKet &ket, const SpinKet &acted,
                          double coefficient, int Brastate, int Ketstate, double *element1,
                          double *element2)
{
    const int reached = ket_equal(ket[Brastate], acted[Ketstate], infer_nspins(Ilist));
    if (element1) {
        *element1 = reached ? coefficient : 0.0;
    }
    if (element2) {
        *element2 = 0.0;
    }
}

void InproductIplus(const SpinIList &Ilist, const SpinKet &ket, int Brastate, int Ketstate,
                    int Xspin, double *element1, double *element2)
{
    static SpinKet raised;
    double coefficient;
    std::memset(raised, 0, sizeof raised);
    operateIplus(Ilist, Ketstate, Xspin, ket, raised, &coefficient);
    inner_product(Ilist, ket, raised, coefficient, Brastate, Ketstate, element1, element2);
}

void inproductImin(const SpinIList &Ilist, const SpinKet &ket, int Brastate, int Ketstate,
                   int Xspin, double *element1, double *element2)
{
    static SpinKet lowered;
    double coefficient;
    std::memset(lowered, 0, sizeof lowered);
    operateImin(Ilist, Ketstate, Xspin, ket, lowered, &coefficient);
    inner_product(Ilist, ket, lowered, coefficient, Brastate, Ketstate, element1, element2);
}

// --------------------------------------------------------------------- operators of one spin

// Column ketstate of a zeroed matrix: coefficient in the rows whose state is the one reached.
static void set_column(int n, int Nspins, const SpinKet &ket, const int *reached,
                       double coefficient, int ketstate, CMatrix *matrix)
{
    for (int bra = 1; bra <= n; bra++) {
        if (ket_equal(ket[bra], reached, Nspins)) {
            (*matrix)[bra][ketstate][COMPLEX_RE] = coefficient;
        }
    }
}

// The elements are those of InproductIplus, but each ket is raised once, not once per bra.
void MakeMatrixIplus(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin,
                     CMatrix *matrixIp)
{
    static SpinKet raised;
    const int Nspins = infer_nspins(Ilist);
    double coefficient;
    CMatZero(n, matrixIp);
    for (int j = 1; j <= n; j++) {
        operateIplus(Ilist, j, Xspin, ket, raised, &coefficient);
        set_column(n, Nspins, ket, raised[j], coefficient, j, matrixIp);
    }
}

void MakeMatrixImin(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matrixIm)
{
    static SpinKet lowered;
    const int Nspins = infer_nspins(Ilist);
    double coefficient;
    CMatZero(n, matrixIm);
    for (int j = 1; j <= n; j++) {
        operateImin(Ilist, j, Xspin, ket, lowered, &coefficient);
        set_column(n, Nspins, ket, lowered[j], coefficient, j, matrixIm);
    }
}

void MakeMatrixIx(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIx)
{
    static CMatrix plus, minu;
    MakeMatrixIplus(Ilist, ket, n, Xspin, &plus);
    MakeMatrixImin(Ilist, ket, n, Xspin, &minu);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*matIx)[i][j][COMPLEX_RE] = 0.5 * (plus[i][j][COMPLEX_RE] + minu[i][j][COMPLEX_RE]);
            (*matIx)[i][j][COMPLEX_IM] = 0.0;
        }
    }
}

// (I+ - I-)/(2i)
void MakeMatrixIy(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIy)
{
    static CMatrix plus, minu;
    MakeMatrixIplus(Ilist, ket, n, Xspin, &plus);
    MakeMatrixImin(Ilist, ket, n, Xspin, &minu);
    for (int i = 1; i <= n; i++) {
        for (int j = 1; j <= n; j++) {
            (*matIy)[i][j][COMPLEX_RE] = 0.0;
            (*matIy)[i][j][COMPLEX_IM] = 0.5 * (minu[i][j][COMPLEX_RE] - plus[i][j][COMPLEX_RE]);
        }
    }
}

void MakeMatrixIz(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIz)
{
    static CMatrix plus, minu;
    MakeMatrixIplus(Ilist, ket, n, Xspin, &plus);
    MakeMatrixImin(Ilist, ket, n, Xspin, &minu);
    CMatCommutator(n, &plus, &minu, matIz);
    RMultCMat(n, 0.5, matIz, matIz);
}

// ---------------------------------------------------------------------- sums over the spins

// total += term, scaled to unit norm first when Norm is 1.
static void add_term(int n, int Norm, CMatrix *term, CMatrix *total)
{
    if (Norm == 1) {
        NormCMatrix(n, term);
    }
    CMatAdd(n, term, total, total);
}

void MakeTotalIx(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Ixtot)
{
    static CMatrix store;
    CMatZero(n, Ixtot);
    for (int k = 1; k <= Nspins; k++) {
        MakeMatrixIx(Ilist, ket, n, k, &store);
        add_term(n, Norm, &store, Ixtot);
    }
}

void MakeTotalIy(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iytot)
{
    static CMatrix store;
    CMatZero(n, Iytot);
    for (int k = 1; k <= Nspins; k++) {
        MakeMatrixIy(Ilist, ket, n, k, &store);
        add_term(n, Norm, &store, Iytot);
    }
}

void MakeTotalIz(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iztot)
{
    static CMatrix store;
    CMatZero(n, Iztot);
    for (int k = 1; k <= Nspins; k++) {
        MakeMatrixIz(Ilist, ket, n, k, &store);
        add_term(n, Norm, &store, Iztot);
    }
}
