// propagatorlib_sparse.cpp - the few nonzeros of the operators, in the order the kernels walk.
//
// With RF along phase phi, H = D·(H0 + g·Iz + b·Ix)·D†, D = exp(-i·phi·Iz), because H0 keeps the
// total Iz. What stands between D and D† is real and symmetric.

#include "propagatorlib_internal.h"

#include <cmath>
#include <numeric>

static double re(const CMatrix *A, int i, int j)
{
    return (*A)[i + 1][j + 1][COMPLEX_RE];
}

static double im(const CMatrix *A, int i, int j)
{
    return (*A)[i + 1][j + 1][COMPLEX_IM];
}

static bool is_zero(const CMatrix *A, int i, int j)
{
    return re(A, i, j) == 0.0 && im(A, i, j) == 0.0;
}

// total Iz in half units, so that rounding in its diagonal does not matter
static int twice(double m)
{
    return (int)std::lround(2.0 * m);
}

static bool is_near(double a, double b)
{
    return std::fabs(a - b) <= 1e-12 * (1.0 + std::fabs(a));
}

// One element of each operator off the diagonal: F keeps m, Ix and Iy change it by one.
static bool element_fits(const SectorField &f, const SparseSystem &s, int i, int j)
{
    const int change = twice(s.m[(size_t)i]) - twice(s.m[(size_t)j]);
    if (!is_zero(f.Izgrad, i, j) || im(f.H0, i, j) != 0.0 || im(f.Ixtot, i, j) != 0.0 ||
        re(f.Iytot, i, j) != 0.0)
        return false;
    if (change != 0 && re(f.H0, i, j) != 0.0)
        return false;
    if (std::abs(change) != 2 && (re(f.Ixtot, i, j) != 0.0 || im(f.Iytot, i, j) != 0.0))
        return false;
    return change == 0 ||
           is_near(im(f.Iytot, i, j), change > 0 ? -re(f.Ixtot, i, j) : re(f.Ixtot, i, j));
}

static bool diagonals_fit(const SectorField &f)
{
    for (int i = 0; i < f.n; i++)
        if (!std::isfinite(re(f.H0, i, i)) || im(f.H0, i, i) != 0.0 || im(f.Izgrad, i, i) != 0.0 ||
            !is_zero(f.Ixtot, i, i) || !is_zero(f.Iytot, i, i) ||
            !is_near(2.0 * re(f.Izgrad, i, i), twice(re(f.Izgrad, i, i))))
            return false;
    return true;
}

static void take_diagonals(const SectorField &f, SparseSystem *s)
{
    s->n = f.n;
    for (int i = 0; i < f.n; i++) {
        s->d.push_back(re(f.H0, i, i));
        s->m.push_back(re(f.Izgrad, i, i));
    }
}

static bool take_columns(const SectorField &f, SparseSystem *s)
{
    for (int j = 0; j < f.n; j++) {
        s->start.push_back((int)s->row.size());
        for (int i = 0; i < f.n; i++) {
            if (i == j)
                continue;
            if (!element_fits(f, *s, i, j) || !is_near(re(f.H0, i, j), re(f.H0, j, i)))
                return false;
            if (re(f.H0, i, j) == 0.0 && re(f.Ixtot, i, j) == 0.0)
                continue;
            s->row.push_back(i);
            s->fixed.push_back(re(f.H0, i, j));
            s->flip.push_back(re(f.Ixtot, i, j));
        }
    }
    s->start.push_back((int)s->row.size());
    return true;
}

// The levels are those of half units: rounding in m does not make a new one.
static void list_levels(SparseSystem *s)
{
    for (double m : s->m) {
        size_t l = 0;
        while (l < s->level_m.size() && twice(s->level_m[l]) != twice(m))
            l++;
        if (l == s->level_m.size())
            s->level_m.push_back(0.5 * twice(m));
        s->level.push_back((int)l);
    }
}

// States joined by F, directly or through others, get the number of the lowest of them.
static void join_states(SparseSystem *s)
{
    s->component.resize((size_t)s->n);
    std::iota(s->component.begin(), s->component.end(), 0);
    for (bool changed = true; changed;) {
        changed = false;
        for (int j = 0; j < s->n; j++)
            for (int e = s->start[(size_t)j]; e < s->start[(size_t)j + 1]; e++) {
                int &mine = s->component[(size_t)j];
                const int other = s->component[(size_t)s->row[(size_t)e]];
                if (s->fixed[(size_t)e] != 0.0 && other < mine) {
                    mine = other;
                    changed = true;
                }
            }
    }
}

void list_levels_and_components(SparseSystem *s)
{
    list_levels(s);
    join_states(s);
    for (int root = 0; root < s->n; root++) {
        if (s->component[(size_t)root] != root)
            continue;
        s->first.push_back((int)s->member.size());
        for (int i = root; i < s->n; i++)
            if (s->component[(size_t)i] == root)
                s->member.push_back(i);
    }
    s->first.push_back((int)s->member.size());
}

bool make_sparse_system(const SectorField &field, SparseSystem *s)
{
    if (!diagonals_fit(field))
        return false;
    take_diagonals(field, s);
    if (!take_columns(field, s))
        return false;
    list_levels_and_components(s);
    return true;
}
