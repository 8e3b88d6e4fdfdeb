// zanmodel_refcheck_compare - how the reference checks compare and what they print.
#include "zanmodel_refcheck_internal.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

int ref_pass(const char *name)
{
    std::printf("PASS          %s\n", name);
    return 1;
}

int ref_fail(const char *tag, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    std::printf("FAIL %-9s ", tag);
    std::vprintf(fmt, args);
    std::printf("\n");
    va_end(args);
    return 0;
}

// ------------------------------------------------------------------ numbers

bool approx_equal(double a, double b, double tol)
{
    return std::fabs(a - b) <= tol;
}

int check_scalar(const char *tag, const char *label, double got, double expected, double tol)
{
    if (approx_equal(got, expected, tol))
        return 1;
    return ref_fail(tag, "%s : got %.17g expected %.17g", label, got, expected);
}

// ------------------------------------------------------------------ matrices

int check_cmat_entry(const char *tag, const char *name, const CMatrix *M, int i, int j, double re,
                     double im, double tol)
{
    char label[64];
    std::snprintf(label, sizeof label, "%s[%d,%d].re", name, i, j);
    const int re_ok = check_scalar(tag, label, (*M)[i][j][COMPLEX_RE], re, tol);
    std::snprintf(label, sizeof label, "%s[%d,%d].im", name, i, j);
    return check_scalar(tag, label, (*M)[i][j][COMPLEX_IM], im, tol) & re_ok;
}

int check_cmat_entries(const char *tag, const char *name, const CMatrix *M,
                       std::span<const RefEntry> entries, double tol)
{
    int ok = 1;
    for (const RefEntry &e : entries)
        ok &= check_cmat_entry(tag, name, M, e.i, e.j, e.re, e.im, tol);
    return ok;
}

static bool has_indices(std::span<const RefEntry> entries, int i, int j)
{
    return std::any_of(entries.begin(), entries.end(),
                       [i, j](const RefEntry &e) { return e.i == i && e.j == j; });
}

int check_cmat_zero_except(const char *tag, const char *name, const CMatrix *M, int n,
                           std::span<const RefEntry> entries, double tol)
{
    int ok = 1;
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            if (!has_indices(entries, i, j))
                ok &= check_cmat_entry(tag, name, M, i, j, 0.0, 0.0, tol);
    return ok;
}

int check_whole_cmat(const char *tag, const char *name, const CMatrix *M, int n,
                     std::span<const RefEntry> entries, double tol)
{
    const int ok = check_cmat_entries(tag, name, M, entries, tol);
    return check_cmat_zero_except(tag, name, M, n, entries, tol) & ok;
}

static double trace_part(int n, const CMatrix *M, int part)
{
    double sum = 0.0;
    for (int i = 1; i <= n; i++)
        sum += (*M)[i][i][part];
    return sum;
}

double cmat_trace_re(int n, const CMatrix *M)
{
    return trace_part(n, M, COMPLEX_RE);
}

double cmat_trace_im(int n, const CMatrix *M)
{
    return trace_part(n, M, COMPLEX_IM);
}

double cmat_frobenius_norm(int n, const CMatrix *M)
{
    double sum = 0.0;
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            for (const int part : {COMPLEX_RE, COMPLEX_IM})
                sum += (*M)[i][j][part] * (*M)[i][j][part];
    return std::sqrt(sum);
}

double cmat_hermitian_max_error(int n, const CMatrix *M)
{
    double largest = 0.0;
    for (int i = 1; i <= n; i++)
        for (int j = i; j <= n; j++) {
            const double re = (*M)[i][j][COMPLEX_RE] - (*M)[j][i][COMPLEX_RE];
            const double im = (*M)[i][j][COMPLEX_IM] + (*M)[j][i][COMPLEX_IM];
            largest = std::max({largest, std::fabs(re), std::fabs(im)});
        }
    return largest;
}
