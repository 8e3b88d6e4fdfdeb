// sparse_spins.cpp - see the header.

#include "sparse_spins.h"

#include <cmath>

typedef std::complex<long double> WideComplex;
typedef std::vector<WideComplex> WideMatrix; // n x n by rows

static CMatrix H0;

SparseSystem sparse_spins(const SpinSystem &system)
{
    build_spins(system);
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H0);
    SectorField f = {};
    f.n = rt.n;
    f.H0 = &H0;
    f.Izgrad = &rt.Izgrad;
    f.Ixtot = &rt.Ixtot;
    f.Iytot = &rt.Iytot;
    SparseSystem s;
    EXPECT_TRUE(make_sparse_system(f, &s));
    return s;
}

SpinSplit split_of(const SpinSystem &system)
{
    SpinSplit split;
    split_spin_system(sparse_spins(system), (int)system.two_i.size(), system.two_i.data(), &split);
    return split;
}

std::vector<Sample> random_samples(std::mt19937 &random, int count)
{
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::vector<Sample> samples;
    for (int k = 0; k < count; k++)
        samples.push_back({3000.0 * unit(random), 4000.0 * unit(random), 3.0 * unit(random), 2e-4});
    return samples;
}

// ------------------------------------------------------------------ series

static WideMatrix unit_matrix(int n)
{
    WideMatrix one((size_t)(n * n), 0.0L);
    for (int i = 0; i < n; i++)
        one[(size_t)(i * n + i)] = 1.0L;
    return one;
}

// y = factor·x·H for every row x
static WideMatrix apply(const SparseSystem &s, const Sample &k, WideComplex factor,
                        const WideMatrix &x)
{
    WideMatrix y(x.size());
    const size_t n = (size_t)s.n;
    for (size_t r = 0; r < n; r++)
        for (size_t j = 0; j < n; j++) {
            const long double diagonal = (long double)s.d[j] + (long double)k.offset * s.m[j];
            WideComplex sum = diagonal * x[r * n + j];
            for (int e = s.start[j]; e < s.start[j + 1]; e++) {
                const long double element =
                    (long double)s.fixed[(size_t)e] + (long double)k.rf * s.flip[(size_t)e];
                sum += element * x[r * n + (size_t)s.row[(size_t)e]];
            }
            y[r * n + j] = factor * sum;
        }
    return y;
}

static long double largest_column(const SparseSystem &s, const Sample &k)
{
    long double largest = 0.0L;
    for (size_t j = 0; j < (size_t)s.n; j++) {
        long double sum = std::fabs(s.d[j]) + std::fabs(k.offset * s.m[j]);
        for (int e = s.start[j]; e < s.start[j + 1]; e++)
            sum += std::fabs(s.fixed[(size_t)e]) + std::fabs(k.rf * s.flip[(size_t)e]);
        largest = std::max(largest, sum);
    }
    return largest;
}

// P <- P·exp(-i·H·tau) in the frame of the RF phase
static void add_sample(const SparseSystem &s, const Sample &k, WideMatrix *P)
{
    const int parts = 1 + (int)(largest_column(s, k) * std::fabs((long double)k.tau));
    const WideComplex factor(0.0L, -(long double)k.tau / parts);
    for (int part = 0; part < parts; part++) {
        WideMatrix term = *P;
        for (int order = 1; order <= 22; order++) {
            term = apply(s, k, factor / (long double)order, term);
            for (size_t e = 0; e < P->size(); e++)
                (*P)[e] += term[e];
        }
    }
}

// Column j times exp(-i·angle·m)
static void turn(const SparseSystem &s, double angle, WideMatrix *P)
{
    for (size_t e = 0; e < P->size(); e++)
        (*P)[e] *= std::polar(1.0L, -(long double)angle * s.m[e % (size_t)s.n]);
}

static WideMatrix square(int n, const WideMatrix &P)
{
    WideMatrix Q(P.size(), 0.0L);
    for (int i = 0; i < n; i++)
        for (int k = 0; k < n; k++)
            for (int j = 0; j < n; j++)
                Q[(size_t)(i * n + j)] += P[(size_t)(i * n + k)] * P[(size_t)(k * n + j)];
    return Q;
}

std::vector<Complex> series_propagator(const SparseSystem &s, const std::vector<Sample> &samples,
                                       int doublings)
{
    WideMatrix P = unit_matrix(s.n);
    for (const Sample &k : samples) {
        turn(s, k.phase, &P);
        add_sample(s, k, &P);
        turn(s, -k.phase, &P);
    }
    for (int k = 0; k < doublings; k++)
        P = square(s.n, P);
    std::vector<Complex> rounded;
    for (const WideComplex &element : P)
        rounded.emplace_back((double)element.real(), (double)element.imag());
    return rounded;
}

std::vector<Complex> assembled_propagator(const SpinSplit &split,
                                          const std::vector<Sample> &samples, int doublings)
{
    std::vector<std::vector<Complex>> blocks;
    for (const SpinGroup &group : split.groups)
        for (const SpinBlock &block : group.blocks)
            blocks.push_back(series_propagator(block.system, samples, doublings));
    std::vector<const Complex *> pointers;
    for (const std::vector<Complex> &block : blocks)
        pointers.push_back(block.data());
    // What scratch and P held before must not matter.
    const Complex garbage(NAN, 1e300);
    std::vector<Complex> scratch((size_t)assembly_scratch(split), garbage);
    std::vector<Complex> P((size_t)split.n * (size_t)split.n, garbage);
    assemble_propagator(split, pointers.data(), scratch.data(), P.data());
    return P;
}
