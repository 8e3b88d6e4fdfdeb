// observablespectrumcalculator_signal.cpp - receiver signals: one trace of a density matrix in
// its different forms, and the signal file of all matrices of "dm.bin".
//
// receiverlib makes the traces; the tables that explain a single trace are in _tables, its
// multiplets in _multiplets.

#include "observablespectrumcalculator_internal.h"

#include "receiverlib.h"

#include <cmath>
#include <complex>

// ------------------------------------------------------------------ one trace

// ap intervals, not ap - 1.
static double direct_step(int ap, double acq_time_s)
{
    return ap < 1 ? 0.0 : acq_time_s / ap;
}

void build_direct_observable_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                    const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                    double *out_re, double *out_im)
{
    ReceiverTrace(n, ap, direct_step(ap, acq_time_s), densmat, Hmat, Ixtot, Iytot, out_re, out_im);
}

static void print_lines_of(int n, const CMatrix *densmat, const CMatrix *Hmat,
                           const CMatrix *observable, const char *label)
{
    static LineList csp, ssp;
    int Nc = 0, Ns = 0;
    DoSpectrum(n, densmat, Hmat, observable, csp, ssp, &Nc, &Ns);
    print_legacy_spectrum_component_diagnostics(label, csp, ssp, Nc, Ns);
}

static void print_line_lists(int n, const CMatrix *densmat, const CMatrix *Hmat,
                             const CMatrix *Ixtot, const CMatrix *Iytot)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    if (n > HERMIT_MAX_N) {
        std::printf("\nZAN legacy DoSpectrum diagnostics skipped for n=%d (>64).\n", n);
        std::printf("Direct density-matrix FID propagation is still used for receiver "
                    "export.\n");
    } else {
        print_lines_of(n, densmat, Hmat, Ixtot, "Ix absorption channel");
        print_lines_of(n, densmat, Hmat, Iytot, "Iy dispersion channel");
    }
}

void build_legacy_separate_spectra_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                          const CMatrix *Hmat, const CMatrix *Ixtot,
                                          const CMatrix *Iytot, double *out_re, double *out_im,
                                          bool print_diagnostics)
{
    if (print_diagnostics)
        print_line_lists(n, densmat, Hmat, Ixtot, Iytot);
    build_direct_observable_signal(n, ap, acq_time_s, densmat, Hmat, Ixtot, Iytot, out_re, out_im);
}

// ap - 1 intervals: the last sample lies at the end of the acquisition time.
static double step_to_the_end(int ap, double acq_time_s)
{
    return ap >= 2 ? acq_time_s / (ap - 1) : 0.0;
}

static std::complex<double> element(const CMatrix &A, int i, int j)
{
    return {A[i][j][COMPLEX_RE], A[i][j][COMPLEX_IM]};
}

// The sum of R(i,j)·rho(j,i)·exp(+i·(E[j] - E[i])·t).
static std::complex<double> eigenbasis_sample(int n, double t, const ReceiverEigenbasis &basis)
{
    std::complex<double> sum = 0.0;
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++) {
            const double phase = (basis.eigval[j] - basis.eigval[i]) * t;
            sum += element(basis.receiver, i, j) * element(basis.rho, j, i) *
                   std::complex<double>(std::cos(phase), std::sin(phase));
        }
    return sum;
}

void build_complex_receiver_signal(int n, int ap, double acq_time_s, const CMatrix *densmat,
                                   const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot,
                                   double *out_re, double *out_im)
{
    static ReceiverEigenbasis basis;
    osc_receiver_eigenbasis(n, densmat, Hmat, Ixtot, Iytot, &basis);
    print_receiver_transition_diagnostics(n, &basis.rho, &basis.receiver, basis.eigval);
    const double dt = step_to_the_end(ap, acq_time_s);
    for (int k = 0; k < ap; k++) {
        const std::complex<double> sample = eigenbasis_sample(n, k * dt, basis);
        out_re[k] = finite_or_zero(sample.real());
        out_im[k] = finite_or_zero(sample.imag());
    }
}

void build_scalar_signal_from_spectrum(int ap, double acq_time_s, const LineList &csp, int Nc,
                                       const LineList &ssp, int Ns, double *out)
{
    const double dt = step_to_the_end(ap, acq_time_s);
    for (int k = 0; k < ap; k++) {
        const double t = k * dt;
        double s = 0.0, c = 0.0;
        for (int line = 1; line <= Ns; line++)
            s += ssp[1][line] * std::sin(2.0 * osc_pi() * ssp[2][line] * t);
        for (int line = 1; line <= Nc; line++)
            c += csp[1][line] * std::cos(2.0 * osc_pi() * csp[2][line] * t);
        out[k] = c + s;
    }
}

// ------------------------------------------------------------------ the signal file

namespace
{

// What every trace of a signal file shares.
struct Receiver {
    const char *path;
    int n, points; // states, samples
    double time;   // acquisition time, s
    const CMatrix *Hmat, *Ixtot, *Iytot;
    const SpinKet *ket;
    const SpinIList *Ilist;
    const ZANSlowBandSplitConfig *slow; // may be null
    std::unique_ptr<double[]> re, im;
    ReceiverBasis basis;
};

} // namespace

static bool write_one_trace(FILE *out, int traces, const Receiver &r, const CMatrix *densmat)
{
    const bool single = traces < 2;
    if (single) {
        print_adc_start_transverse_expectations(r.n, densmat, *r.ket, *r.Ilist);
        print_line_lists(r.n, densmat, r.Hmat, r.Ixtot, r.Iytot);
    }
    ReceiverTraceInBasis(r.basis, r.points, direct_step(r.points, r.time), densmat, r.re.get(),
                         r.im.get());
    if (!write_signal_trace(out, r.points, r.re.get(), r.im.get()))
        return false;
    write_slow_multiplet_outputs(r.path, r.n, r.points, traces, r.time, densmat, r.Hmat, r.Ixtot,
                                 r.Iytot, r.slow, *r.Ilist);
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
        if (!write_one_trace(out, traces, r, densmat))
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

static bool write_signal_file(FILE *dm, int traces, const Receiver &r, CMatrix *densmat)
{
    OutputFile out;
    if (!open_output(&out, r.path)) {
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
    if (!n || signal_points < 1 || !(acquisition_time_s > 0.0))
        return 0.0;
    const char *path = output_filename && *output_filename ? output_filename : "zansign.bin";
    int traces = 0;
    const FilePtr dm = osc_open_density_file(*n, &traces);
    if (!dm)
        return 0.0;
    osc_receiver_hamiltonian(*n, receiver_offset_hz, Istat, Iztot, &Hmat);
    const Receiver r = {path,
                        *n,
                        signal_points,
                        acquisition_time_s,
                        &Hmat,
                        Ixtot,
                        Iytot,
                        &ket,
                        &Ilist,
                        slow_split,
                        osc_zeros((size_t)signal_points),
                        osc_zeros((size_t)signal_points),
                        MakeReceiverBasis(*n, &Hmat, Ixtot, Iytot)};
    if (!r.re || !r.im) {
        std::perror("calloc");
        return 0.0;
    }
    return write_signal_file(dm.get(), traces, r, densmat) ? acquisition_time_s : 0.0;
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
