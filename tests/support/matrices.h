// matrices - what the tests of the numeric modules share: seeded matrices and comparisons.
#ifndef ZAN_TESTS_MATRICES_H
#define ZAN_TESTS_MATRICES_H

#include "matrixmathlib.h"

// Every entry of all 257 rows, the unused ones included: to see what an operation leaves alone.
void fill_all(CMatrix *A, double value);
bool outside_is(int n, const CMatrix &A, double value); // rows and columns beyond n, and 0

// Elements with parts in -1..1, the same for the same seed; all outside 1..n is left alone.
void random_matrix(int n, unsigned seed, CMatrix *A);
void random_hermitian(int n, unsigned seed, CMatrix *A);

// Largest |re| + |im| of A - B.
double largest_difference(int n, const CMatrix &A, const CMatrix &B);
double distance_from_identity(int n, const CMatrix &A);
double distance_from_unitary(int n, const CMatrix &A);         // of A†·A from the identity
bool same_elements(int n, const CMatrix &A, const CMatrix &B); // equal numbers
bool same_bits(const CMatrix &A, const CMatrix &B);            // of all 257 rows

#endif
