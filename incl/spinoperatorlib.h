// spinoperatorlib - product basis and spin operators of up to eight spins of any spin.
//
// Quantum numbers are doubled integers (2I, 2m). States are rows 1..n of the basis table: spin 1
// varies slowest, each spin from +I down to -I. Element (i, j) of an operator is <i|O|j>.
// Scratch is static: nothing here is reentrant. Xspin 1..Nspins and n 1..256 are trusted.
#ifndef ZAN_SPINOPERATORLIB_H
#define ZAN_SPINOPERATORLIB_H

#include "matrixmathlib.h"

typedef int SpinIList[9];               // 2I of spins 1..8; 0 = no spin there
typedef int SpinKet[MATRIXMATH_DIM][9]; // 2m of state 1..n, spin 1..Nspins

extern const char *const spinoper_version;

int infer_nspins(const SpinIList &Ilist);              // last position with 2I > 0, 0 if none
int infer_nstates(const SpinIList &Ilist, int Nspins); // 0 when invalid or above 256

// ---- basis ----
void ketproc(SpinKet &ket, int state, const int *m, int Nspins);
void enum_kets_rec(SpinKet &ket, const SpinIList &Ilist, int Nspins, int spin_index, int *m,
                   int *state_io);
// Too many states or a negative 2I: a line on the error stream, the table stays zero.
void MakeKets(SpinKet *ket, const SpinIList *Ilist);
int ket_equal(const int *a_row, const int *b_row, int Nspins);

// ---- elements of I+ and I-, all real ----
void operateIplus(const SpinIList &Ilist, int Xstate, int Xspin, const SpinKet &inket,
                  SpinKet &outket, double *coefficient);
void operateImin(const SpinIList &Ilist, int Xstate, int Xspin, const SpinKet &inket,
                 SpinKet &outket, double *coefficient);
void InproductIplus(const SpinIList &Ilist, const SpinKet &ket, int Brastate, int Ketstate,
                    int Xspin, double *element1, double *element2);
void inproductImin(const SpinIList &Ilist, const SpinKet &ket, int Brastate, int Ketstate,
                   int Xspin, double *element1, double *element2);

// ---- operators of one spin, as lists of their elements ----
void ListIx(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Ix);
void ListIy(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Iy);
// Formed as [I+, I-]/2, so above spin 1/2 its diagonal carries the rounding of square roots.
void ListIz(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, SparseCMatrix *Iz);

// ---- the same, n x n ----
void MakeMatrixIplus(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin,
                     CMatrix *matrixIp);
void MakeMatrixImin(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin,
                    CMatrix *matrixIm);
void MakeMatrixIx(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIx);
void MakeMatrixIy(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIy);
void MakeMatrixIz(const SpinIList &Ilist, const SpinKet &ket, int n, int Xspin, CMatrix *matIz);

// ---- sums over the spins; Norm = 1 scales each spin's term to unit Frobenius norm first ----
void MakeTotalIx(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Ixtot);
void MakeTotalIy(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iytot);
void MakeTotalIz(int n, int Nspins, const SpinKet &ket, const SpinIList &Ilist, int Norm,
                 CMatrix *Iztot);

#endif
