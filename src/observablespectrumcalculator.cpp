// observablespectrumcalculator.cpp - receiver signals of the density matrices in "dm.bin".
//
// receiverlib makes the trace of one matrix; this room reads the matrices, forms the receiver
// Hamiltonian, writes the signal file and prints the tables that explain a single trace.

#include "observablespectrumcalculator.h"

#include "binaryfilehandling.h"
#include "receiverlib.h"

#include <cmath>
#include <new>

double osc_pi(void)
{
    return 3.141592653589793;
}

double finite_or_zero(double value)
{
    return std::isfinite(value) ? value : 0.0;
}

// ------------------------------------------------------------------ tables

static void print_lines(const LineList &lines, int count)
{
    for (int k = 1; k <= count; k++)
        std::printf("    % .12e  % .12g\n", lines[1][k], lines[2][k]);
}

void print_legacy_spectrum_component_diagnostics(const char *label, const LineList &csp,
                                                 const LineList &ssp, int Nc, int Ns)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    std::printf("\nZAN legacy DoSpectrum component list: %s\n", label);
    std::printf("  COS components: amplitude * cos(2*pi*frequency_hz*t)\n");
    print_lines(csp, Nc);
    std::printf("  SIN components: amplitude * sin(2*pi*frequency_hz*t)\n");
    print_lines(ssp, Ns);
}

typedef void SpinOperatorBuilder(const SpinIList &, const SpinKet &, int, int, CMatrix *);

static double unit_norm_expectation(SpinOperatorBuilder make, int spin, int n,
                                    const CMatrix *densmat, const SpinKet &ket,
                                    const SpinIList &Ilist)
{
    static CMatrix op;
    Complex2 value;
    make(Ilist, ket, n, spin, &op);
    NormCMatrix(n, &op);
    ExpectationValue(n, &op, densmat, &value);
    return value[COMPLEX_RE];
}

void print_adc_start_transverse_expectations(int n, const CMatrix *densmat, const SpinKet &ket,
                                             const SpinIList &Ilist)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    std::printf("\nZAN ADC-start per-spin transverse expectations\n");
    std::printf("  columns: spin  <Ix>_re  <Iy>_re\n");
    const int spins = infer_nspins(Ilist);
    for (int k = 1; k <= spins; k++)
        std::printf("  %2d  % .12e  % .12e\n", k,
                    unit_norm_expectation(MakeMatrixIx, k, n, densmat, ket, Ilist),
                    unit_norm_expectation(MakeMatrixIy, k, n, densmat, ket, Ilist));
}

static void print_line_lists(int n, const CMatrix *densmat, const CMatrix *Hmat,
                             const CMatrix *observable, const char *label)
{
    static LineList csp, ssp;
    int Nc = 0, Ns = 0;
    DoSpectrum(n, densmat, Hmat, observable, csp, ssp, &Nc, &Ns);
    print_legacy_spectrum_component_diagnostics(label, csp, ssp, Nc, Ns);
}

// ------------------------------------------------------------------ one trace

void build_direct_observable_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                    const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                    double *out_re, double *out_im)
{
    const double dt = ap < 1 ? 0.0 : acq_time_s / ap; // ap intervals, not ap - 1
    ReceiverTrace(n, ap, dt, densmat, Hmat, Ixtot, Iytot, out_re, out_im);
}

void build_legacy_separate_spectra_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                          const CMatrix *Hmat, const CMatrix *Ixtot,
                                          const CMatrix *Iytot, double *out_re, double *out_im,
                                          bool print_diagnostics)
{
    if (print_diagnostics && !ZAN_GetSmokeCheckMode()) {
        if (n > HERMIT_MAX_N) {
            std::printf("\nZAN legacy DoSpectrum diagnostics skipped for n=%d (>64).\n", n);
            std::printf("Direct density-matrix FID propagation is still used for receiver "
                        "export.\n");
        } else {
            print_line_lists(n, densmat, Hmat, Ixtot, "Ix absorption channel");
            print_line_lists(n, densmat, Hmat, Iytot, "Iy dispersion channel");
        }
    }
    build_direct_observable_signal(n, ap, acq_time_s, densmat, Hmat, Ixtot, Iytot, out_re, out_im);
}

// ------------------------------------------------------------------ the signal file

// What every trace of a signal file shares.
struct Receiver {
    int n, points; // states, samples
    double time;   // acquisition time, s
    const CMatrix *Hmat, *Ixtot, *Iytot;
    const SpinKet *ket;
    const SpinIList *Ilist;
    const ZANSlowBandSplitConfig *slow; // may be null
    std::unique_ptr<double[]> re, im;
};

// Hmat = -(Istat + 2·pi·offset·Iztot): free precession in the frame of the receiver.
static void make_receiver_hamiltonian(int n, double offset_hz, const CMatrix *Istat,
                                      const CMatrix *Iztot, CMatrix *Hmat)
{
    RMultCMat(n, 2.0 * osc_pi() * offset_hz, Iztot, Hmat);
    CMatAdd(n, Istat, Hmat, Hmat);
    RMultCMat(n, -1.0, Hmat, Hmat);
}

static bool write_trace(FILE *out, const Receiver &r)
{
    for (size_t k = 0; k < (size_t)r.points; k++) {
        const double sample[2] = {finite_or_zero(r.re[k]), finite_or_zero(r.im[k])};
        if (std::fwrite(sample, sizeof(double), 2, out) != 2)
            return false;
    }
    return true;
}

// False when the signal could not be written; a short density file ends the traces early.
static bool write_traces(FILE *dm, FILE *out, int traces, const Receiver &r, CMatrix *densmat)
{
    for (int trace = 1; trace <= traces; trace++) {
        if (!read_density_matrix(dm, r.n, r.n, densmat)) {
            std::printf(">>> READ BINARY FILE ERROR (dm.bin) <<<\n");
            return true;
        }
        if (traces < 2)
            print_adc_start_transverse_expectations(r.n, densmat, *r.ket, *r.Ilist);
        build_legacy_separate_spectra_signal(r.n, r.points, r.time, densmat, r.Hmat, r.Ixtot,
                                             r.Iytot, r.re.get(), r.im.get(), traces < 2);
        if (!write_trace(out, r))
            return false;
    }
    return true;
}

// Multiplets are resolved for a single trace only.
static void note_skipped_split(const Receiver &r, int traces)
{
    if (r.slow && r.slow->enabled && traces > 1 && !ZAN_GetSmokeCheckMode())
        std::printf("SLOW multiplet-resolved export skipped for %d traces; complete receiver "
                    "signal is still written.\n",
                    traces);
}

// "dm.bin" behind its header; empty after a message.
static FilePtr open_density_file(int n, int *matrices)
{
    FilePtr dm{std::fopen("dm.bin", "rb")};
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

static bool write_signal_file(const char *path, FILE *dm, int traces, const Receiver &r,
                              CMatrix *densmat)
{
    OutputFile out;
    if (!open_output(&out, path, "wb")) {
        std::perror("fopen(signal output)");
        return false;
    }
    note_skipped_split(r, traces);
    WriteBinFileHeaderI(out.file, 1, r.points, traces);
    if (binfh_last_status != BINFH_OK || !write_traces(dm, out.file, traces, r, densmat)) {
        std::perror("fwrite(signal output)");
        discard_output(&out);
        return false;
    }
    if (!commit_output(&out)) {
        std::perror("fclose(signal output)");
        return false;
    }
    return true;
}

double SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
    const int *n, int signal_points, double acquisition_time_s, double receiver_offset_hz,
    const char *output_filename, const ZANSlowBandSplitConfig *slow_split, CMatrix *densmat,
    const CMatrix *Istat, const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
    const SpinKet &ket, const SpinIList &Ilist)
{
    static CMatrix Hmat;
    if (!n || signal_points < 1 || acquisition_time_s <= 0.0)
        return 0.0;
    const char *path = output_filename && *output_filename ? output_filename : "zansign.bin";
    int traces = 0;
    const FilePtr dm = open_density_file(*n, &traces);
    if (!dm)
        return 0.0;
    make_receiver_hamiltonian(*n, receiver_offset_hz, Istat, Iztot, &Hmat);
    Receiver r = {*n,   signal_points, acquisition_time_s, &Hmat,   Ixtot,  Iytot,
                  &ket, &Ilist,        slow_split,         nullptr, nullptr};
    r.re.reset(new (std::nothrow) double[(size_t)signal_points]());
    r.im.reset(new (std::nothrow) double[(size_t)signal_points]());
    if (!r.re || !r.im)
        return 0.0;
    return write_signal_file(path, dm.get(), traces, r, densmat) ? acquisition_time_s : 0.0;
}

double SeparateSpectra_GenerateSignalWithParams(
    const int *n, int signal_points, double acquisition_time_s, double receiver_offset_hz,
    const char *output_filename, CMatrix *densmat, const CMatrix *Istat, const CMatrix *Ixtot,
    const CMatrix *Iytot, const CMatrix *Iztot, const SpinKet &ket, const SpinIList &Ilist)
{
    return SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
        n, signal_points, acquisition_time_s, receiver_offset_hz, output_filename, nullptr, densmat,
        Istat, Ixtot, Iytot, Iztot, ket, Ilist);
}
