// matrixmathlib - dense complex matrices: arithmetic, exponential, rotation of a density
// matrix, Hermitian eigensystems and the line lists made from them.
//
// Matrices are CMatrix, rows and columns 1..n; index 0 of every dimension is not used. The
// logical dimension n travels as the first argument; nothing outside 1..n is read or written.
// All operations trust n (0..256) and their pointers and report no errors. Scratch matrices
// are static: nothing here is reentrant.
#ifndef ZAN_MATRIXMATHLIB_H
#define ZAN_MATRIXMATHLIB_H

enum { MATRIXMATH_DIM = 257, COMPLEX_RE = 1, COMPLEX_IM = 2 };

typedef double CMatrix[MATRIXMATH_DIM][MATRIXMATH_DIM][3]; // [row][col][part]
typedef double Complex2[3];                                // [COMPLEX_RE], [COMPLEX_IM]
typedef double LineList[3][MATRIXMATH_DIM]; // row 1 amplitudes, row 2 frequencies (Hz), 1..256

extern const char *const matrixmathlib_version;

double pi_val(void); // 3.141592653589793

// ---- elementwise: outmat may be any of the inputs ----
void CMatZero(int n, CMatrix *outmat);
void CMatIdentity(int n, CMatrix *A);
void CopyCMatrix(int n, const CMatrix *inmat, CMatrix *outmat);
void CMatAdd(int n, const CMatrix *inmat1, const CMatrix *inmat2, CMatrix *outmat);
void CMatRMultAdd(int n, const CMatrix *inmat1, double rfac1, const CMatrix *inmat2, double rfac2,
                  CMatrix *outmat); // rfac1·inmat1 + rfac2·inmat2
void RMultCMat(int n, double rfac, const CMatrix *inmat, CMatrix *outmat);
void CMultCMat(int n, const Complex2 *cfac, const CMatrix *inmat, CMatrix *outmat);
// Scales to unit Frobenius norm; a zero matrix stays as it is.
void NormCMatrix(int n, CMatrix *mat);

// ---- products and transposes: the output may be one of the inputs ----
void CMatMult(int n, const CMatrix *inmat1, const CMatrix *inmat2, CMatrix *outmat);
// outmat += rfac·(inmat1·inmat2)
void CMatMultAdd(int n, const CMatrix *inmat1, const CMatrix *inmat2, double rfac, CMatrix *outmat);
void CMatCommutator(int n, const CMatrix *a, const CMatrix *b, CMatrix *outmat); // a·b - b·a
void Transform(int n, const CMatrix *Ut, const CMatrix *H, const CMatrix *U, CMatrix *prod);
void Adjungate(int n, const CMatrix *P, CMatrix *Q); // Q = P† (conjugated)
void Transpose(int n, const CMatrix *p, CMatrix *q); // not conjugated

// ---- numbers from matrices ----
void ExpectationValue(int n, const CMatrix *inmat, const CMatrix *dmat, Complex2 *Eval);
void CalcTrace(int n, const CMatrix *mat, Complex2 *trace);
double maxabs_cmat(int n, const CMatrix *A); // largest |re| + |im|; 0 when n < 1
double sign(double p, double q);             // |p| when q >= 0, else -|p|

// ---- evolution ----
// densmat <- romat†·densmat·romat. With romat = exp(+i·t·H) this is exp(-iHt)·rho·exp(+iHt).
void DoRotation(int n, const CMatrix *romat, CMatrix *densmat);
// lamb[k] = exp(i·EV[k]·tau), k = 1..n
void Epower(int n, const double *EV, Complex2 *lamb, double tau);
// outm = exp(+i·tau·inm); inm in rad/s, tau in s; outm may be inm. Scaling by at most 2^24
// and a Taylor series of at most 80 terms, used as it stands should it not have converged.
void ExpMatrix(int n, const CMatrix *inm, double tau, CMatrix *outm);

// Real part, then imaginary part, to standard output.
void ShowCMatElements(int n, const CMatrix *inmat);

// ---- matrices with few elements (matrixmathlib_sparse.cpp) ----
// Operators of a spin system are built from these lists. Outputs are none of the inputs. Results
// are those of the CMatrix operations to the bit while all numbers are finite.
struct SparseElement {
    int col;
    double re, im;
};
// Row i, 1..n, is elements[first[i]] to elements[first[i + 1] - 1], columns ascending; all else +0.
struct SparseCMatrix {
    int first[MATRIXMATH_DIM + 1];
    SparseElement elements[(MATRIXMATH_DIM - 1) * (MATRIXMATH_DIM - 1)];
};

// Rows are begun in ascending order, columns appended in ascending order.
void SparseBeginRow(int i, SparseCMatrix *A);
void SparseAppend(int i, const SparseElement &element, SparseCMatrix *A);
int SparseCount(int n, const SparseCMatrix *A); // elements listed
void SparseIdentity(int n, SparseCMatrix *A);
void SparseRMultAdd(int n, const SparseCMatrix *inmat1, double rfac1, const SparseCMatrix *inmat2,
                    double rfac2, SparseCMatrix *outmat); // rfac1·inmat1 + rfac2·inmat2
void SparseMult(int n, const SparseCMatrix *inmat1, const SparseCMatrix *inmat2,
                SparseCMatrix *outmat);
void SparseScale(int n, double rfac, SparseCMatrix *A);
void SparseNorm(int n, SparseCMatrix *A); // to unit Frobenius norm; zero stays
void SparseExpectationValue(int n, const SparseCMatrix *inmat, const CMatrix *dmat, Complex2 *Eval);
void SparseToCMatrix(int n, const SparseCMatrix *A, CMatrix *outmat);
void SparseAccumulate(int n, const SparseCMatrix *A, CMatrix *outmat); // outmat += A

// ---- Hermitian eigensystems, n <= 64 (matrixmathlib_eigen.cpp) ----
enum { HERMIT_MAX_N = 64, HERMIT_REAL_DIM = 128 };
typedef double RealMatrix128[HERMIT_REAL_DIM][HERMIT_REAL_DIM]; // 0-based
typedef double ColumnStore[MATRIXMATH_DIM][MATRIXMATH_DIM];     // [component][vector], 1-based

// A = Z·diag(D)·Z†, D[1..n] ascending, orthonormal eigenvectors in the columns of Z. The Jacobi
// iteration ends after 60 rotations: from n = 4 on a dense matrix comes out approximate, and the
// columns of Z may then repeat.
// n > 64 is refused: a line on the error stream, D and Z zero.
void hermit(int n, const CMatrix *A, CMatrix *Z, double *D);
void jacobi_real_symmetric(int N, RealMatrix128 &a, double *d, RealMatrix128 &v);
void sort_eigs(int N, double *d, RealMatrix128 &v);
void complex_gs(int n, ColumnStore &vecs_re, ColumnStore &vecs_im);
void complex_gs_range(int n, int first_col, int last_col, ColumnStore &vecs_re,
                      ColumnStore &vecs_im);

// As hermit up to 64 states; above, accurate to rounding by Householder tridiagonalisation
// (matrixmathlib_eigen_large.cpp).
void hermitian_eigensystem(int n, const CMatrix *A, CMatrix *Z, double *D);

// Line lists of Re Tr(cohmat·rho(t)), rho(t) = exp(-iHt)·densmat·exp(iHt): the sum of
// csp amplitude·cos(2·pi·f·t) and ssp amplitude·sin(2·pi·f·t). Nc and Ns may be null.
void DoSpectrum(int n, const CMatrix *densmat, const CMatrix *Hmat, const CMatrix *cohmat,
                LineList &csp, LineList &ssp, int *Nc, int *Ns);
// Merges lines within 0.05 Hz of a line's founder and sorts by frequency.
void SortSpectrum(int *Npeaks, LineList &spc);
void zero_spectrum(LineList &spc);

// The classical names of a tridiagonalising eigensolver, over hermit and a one-entry cache.
void HTRIDI(int n, const CMatrix *A, double *D, double *E, double (*tau)[MATRIXMATH_DIM]);
void TQL2(int n, double *D, const double *E, CMatrix *Z, int *ierr);
void HTRIBK(int n, const CMatrix *A, CMatrix *Z, double (*tau)[MATRIXMATH_DIM]);
// Steps of that eigensolver that code written against it may call: they do nothing.
void pr1(int j, double *P, CMatrix *R, CMatrix *H, double *F, double *C, double *S, double *G,
         double *D, double *E, int L, int n, int M, CMatrix *Z);
void pr2(int n, double *P, CMatrix *Z, double *D);
void pr1x(int i, double *E, double *E2, double *D, double *HH, double *scale, CMatrix *A);
void pr3x(double *F, double *G, double *GI, double *H, int i, int L, CMatrix *A, double *E,
          double (*tau)[MATRIXMATH_DIM]);
void pr4x(double *HH, double *F, double *H, double *G, double *FI, double *GI, int i, int L,
          CMatrix *A, double *E, double (*tau)[MATRIXMATH_DIM]);
void pr5x(int i, int L, double *scale, double *SI, double *HH, CMatrix *A,
          double (*tau)[MATRIXMATH_DIM], double *D);

#endif
