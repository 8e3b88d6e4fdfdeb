// observablespectrumcalculator_files.cpp - what the rooms share: the ways into "dm.bin", into and
// out of signal files, the receiver's Hamiltonian and eigenbasis.

#include "observablespectrumcalculator_internal.h"

#include "consoleutil.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <new>

double osc_pi(void)
{
    return 3.141592653589793;
}

double finite_or_zero(double value)
{
    return std::isfinite(value) ? value : 0.0;
}

FilePtr osc_open_density_file(int n, int *matrices)
{
    FilePtr dm = open_input("dm.bin");
    if (!dm) {
        std::perror("fopen(dm.bin)");
        return dm;
    }
    int type = 0, fn = 0, fndw = 0;
    ReadBinFileHeader(dm.get(), &type, &fn, &fndw);
    if (binfh_last_status != BINFH_OK || type == 1 || fn != n) {
        std::printf("dm.bin header mismatch: ftype=%d fn=%d expected n=%d\n", type, fn, n);
        dm.reset();
    }
    *matrices = fndw;
    return dm;
}

void osc_receiver_hamiltonian(int n, double offset_hz, const CMatrix *Istat, const CMatrix *Iztot,
                              CMatrix *Hmat)
{
    RMultCMat(n, 2.0 * osc_pi() * offset_hz, Iztot, Hmat);
    CMatAdd(n, Istat, Hmat, Hmat);
    RMultCMat(n, -1.0, Hmat, Hmat);
}

void osc_receiver_eigenbasis(int n, const CMatrix *densmat, const CMatrix *Hmat,
                             const CMatrix *Ixtot, const CMatrix *Iytot, ReceiverEigenbasis *basis)
{
    static CMatrix receiver, V, Va;
    const Complex2 i = {0.0, 0.0, 1.0};
    CMultCMat(n, &i, Iytot, &receiver);
    CMatAdd(n, Ixtot, &receiver, &receiver);
    hermitian_eigensystem(n, Hmat, &V, basis->eigval);
    Adjungate(n, &V, &Va);
    Transform(n, &Va, densmat, &V, &basis->rho);
    Transform(n, &Va, &receiver, &V, &basis->receiver);
}

// The counts of a header are believed only when the file is long enough for them.
static bool holds_all_samples(const char *path, int samples, int traces)
{
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    const double needed = 12.0 + 16.0 * samples * traces;
    if (!error && static_cast<double>(size) >= needed)
        return true;
    std::printf(">>> READ BINARY FILE ERROR (zansign.bin) <<<\n");
    return false;
}

SignalInput osc_open_signal_file(void)
{
    SignalInput in = {open_input("zansign.bin"), 0, 0};
    if (!in.file) {
        std::perror("fopen(zansign.bin)");
        return in;
    }
    int type = 0;
    ReadBinFileHeader(in.file.get(), &type, &in.samples, &in.traces);
    if (in.samples < 1 || in.traces < 1 || !holds_all_samples("zansign.bin", in.samples, in.traces))
        in.file.reset();
    return in;
}

bool osc_read_trace(const SignalInput &in, double *values)
{
    const size_t count = 2 * (size_t)in.samples;
    if (std::fread(values, sizeof(double), count, in.file.get()) == count)
        return true;
    std::printf(">>> READ BINARY FILE ERROR (zansign.bin) <<<\n");
    return false;
}

std::unique_ptr<double[]> osc_zeros(size_t count)
{
    return std::unique_ptr<double[]>{new (std::nothrow) double[count]()};
}

bool write_signal_trace(FILE *out, int signal_points, const double *sig_re, const double *sig_im)
{
    const int BLOCK = 512; // samples
    double block[2 * BLOCK];
    if (!out || !sig_re || !sig_im)
        return true;
    for (int first = 0; first < signal_points; first += BLOCK) {
        const int count = std::min(BLOCK, signal_points - first);
        for (int k = 0; k < count; k++) {
            block[2 * k] = finite_or_zero(sig_re[first + k]);
            block[2 * k + 1] = finite_or_zero(sig_im[first + k]);
        }
        if (std::fwrite(block, 2 * sizeof(double), (size_t)count, out) != (size_t)count)
            return false;
    }
    return true;
}
