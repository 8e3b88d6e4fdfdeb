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

// ------------------------------------------------------- operators of one spin, as their elements

// The next ket in the order of MakeKets.
static void step_down(const SpinIList &Ilist, int Nspins, int *m)
{
    int k = Nspins;
    while (k > 1 && m[k] == -Ilist[k]) {
        m[k] = Ilist[k];
        k--;
    }
    m[k] -= 2;
}

static bool in_order_of_MakeKets(const SpinIList &Ilist, const SpinKet &ket, int n, int Nspins)
{
    int m[MAX_SPINS + 1];
    std::memcpy(m, Ilist, sizeof m);
    const int states = infer_nstates(Ilist, Nspins);
    if (states < 1 || states < n) {
        return false;
    }
    for (int i = 1; i <= n; i++) {
        if (!ket_equal(ket[i], m, Nspins)) {
            return false;
        }
        step_down(Ilist, Nspins, m);
    }
    return true;
}

// How many rows a ket lies before the one lowered from it by Xspin; 0 when that is not known, as
// in a table that MakeKets did not make.
static int rows_per_step(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin)
{
    const int Nspins = infer_nspins(Ilist);
    if (Xspin > Nspins || !in_order_of_MakeKets(Ilist, ket, n, Nspins)) {
        return 0;
    }
    int rows = 1;
    for (int k = Xspin + 1; k <= Nspins; k++) {
        rows *= Ilist[k] + 1;
    }
    return rows;
}

// Row i: the columns j whose moved ket is ket i. With a known distance only one can be.
static void list_row(int n, int Nspins, const SpinKet &ket, const SpinKet &moved,
                     const double *coefficient, int i, int distance, SparseCMatrix *list)
{
    const int from = distance == 0 ? 1 : i + distance, to = distance == 0 ? n : i + distance;
    SparseBeginRow(i, list);
    for (int j = from < 1 ? 1 : from; j <= to && j <= n; j++) {
        if (coefficient[j] > 0.0 && ket_equal(ket[i], moved[j], Nspins)) {
            SparseAppend(i, {j, coefficient[j], 0.0}, list);
        }
    }
}

// The elements are those of InproductIplus, but each ket is raised once, not once per bra.
static void list_Iplus(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, int rows,
                       SparseCMatrix *Ip)
{
    static SpinKet raised;
    double coefficient[MATRIXMATH_DIM];
    for (int j = 1; j <= n; j++) {
        operateIplus(Ilist, j, Xspin, ket, raised, &coefficient[j]);
    }
    const int Nspins = infer_nspins(Ilist);
    for (int i = 1; i <= n; i++) {
        list_row(n, Nspins, ket, raised, coefficient, i, rows, Ip);
    }
}

static void list_Imin(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, int rows,
                      SparseCMatrix *Im)
{
    static SpinKet lowered;
    double coefficient[MATRIXMATH_DIM];
    for (int j = 1; j <= n; j++) {
        operateImin(Ilist, j, Xspin, ket, lowered, &coefficient[j]);
    }
    const int Nspins = infer_nspins(Ilist);
    for (int i = 1; i <= n; i++) {
        list_row(n, Nspins, ket, lowered, coefficient, i, -rows, Im);
    }
}

// I+ and I- of a spin.
namespace
{
struct Ladder {
    SparseCMatrix plus, minu;
};
} // namespace

static const Ladder &list_ladder(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin)
{
    static Ladder ladder;
    const int rows = rows_per_step(Ilist, ket, n, Xspin);
    list_Iplus(Ilist, ket, n, Xspin, rows, &ladder.plus);
    list_Imin(Ilist, ket, n, Xspin, rows, &ladder.minu);
    return ladder;
}

void ListIx(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Ix)
{
    const Ladder &ladder = list_ladder(Ilist, ket, n, Xspin);
    SparseRMultAdd(n, &ladder.plus, 0.5, &ladder.minu, 0.5, Ix);
}

// (I+ - I-)/(2i)
void ListIy(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Iy)
{
    const Ladder &ladder = list_ladder(Ilist, ket, n, Xspin);
    SparseRMultAdd(n, &ladder.minu, 0.5, &ladder.plus, -0.5, Iy);
    for (int e = 0; e < SparseCount(n, Iy); e++) {
        Iy->elements[e].im = Iy->elements[e].re;
        Iy->elements[e].re = 0.0;
    }
}

void ListIz(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Iz)
{
    static SparseCMatrix up_last, down_last;
    const Ladder &ladder = list_ladder(Ilist, ket, n, Xspin);
    SparseMult(n, &ladder.plus, &ladder.minu, &up_last);
    SparseMult(n, &ladder.minu, &ladder.plus, &down_last);
    SparseRMultAdd(n, &up_last, 0.5, &down_last, -0.5, Iz);
}

// --------------------------------------------------------------------- operators of one spin

void MakeMatrixIplus(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin,
                     CMatrix *matrixIp)
{
    static SparseCMatrix list;
    list_Iplus(Ilist, ket, n, Xspin, rows_per_step(Ilist, ket, n, Xspin), &list);
    SparseToCMatrix(n, &list, matrixIp);
}

void MakeMatrixImin(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matrixIm)
{
    static SparseCMatrix list;
    list_Imin(Ilist, ket, n, Xspin, rows_per_step(Ilist, ket, n, Xspin), &list);
    SparseToCMatrix(n, &list, matrixIm);
}

void MakeMatrixIx(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIx)
{
    static SparseCMatrix list;
    ListIx(Ilist, ket, n, Xspin, &list);
    SparseToCMatrix(n, &list, matIx);
}

void MakeMatrixIy(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIy)
{
    static SparseCMatrix list;
    ListIy(Ilist, ket, n, Xspin, &list);
    SparseToCMatrix(n, &list, matIy);
}

void MakeMatrixIz(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIz)
{
    static SparseCMatrix list;
    ListIz(Ilist, ket, n, Xspin, &list);
    SparseToCMatrix(n, &list, matIz);
}

// ---------------------------------------------------------------------- sums over the spins

// total += term, scaled to unit norm first when Norm is 1.
static void add_term(int n, int Norm, SparseCMatrix *term, CMatrix *total)
{
    if (Norm == 1) {
        SparseNorm(n, term);
    }
    SparseAccumulate(n, term, total);
}

void MakeTotalIx(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Ixtot)
{
    static SparseCMatrix term;
    CMatZero(n, Ixtot);
    for (int k = 1; k <= Nspins; k++) {
        ListIx(Ilist, ket, n, k, &term);
        add_term(n, Norm, &term, Ixtot);
    }
}

void MakeTotalIy(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iytot)
{
    static SparseCMatrix term;
    CMatZero(n, Iytot);
    for (int k = 1; k <= Nspins; k++) {
        ListIy(Ilist, ket, n, k, &term);
        add_term(n, Norm, &term, Iytot);
    }
}

void MakeTotalIz(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iztot)
{
    static SparseCMatrix term;
    CMatZero(n, Iztot);
    for (int k = 1; k <= Nspins; k++) {
        ListIz(Ilist, ket, n, k, &term);
        add_term(n, Norm, &term, Iztot);
    }
}
