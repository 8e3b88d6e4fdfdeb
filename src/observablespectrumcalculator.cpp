// observablespectrumcalculator.cpp - the analyses of "dm.bin" that ask what they need: separate
// signals, the average spectrum, the two-dimensional spectrum.
//
// The traces come from observablespectrumcalculator_signal, the exports from _outputs and _2d.
// The files that all of them read are opened by _files.

#include "observablespectrumcalculator_internal.h"

#include "consoleutil.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <new>

// ------------------------------------------------------------------ questions

static const int MAX_TIME_POINTS = 1 << 24; // a typing error should not cost all memory

namespace
{

// What an analysis asks for.
struct ReceiverSettings {
    double time;   // acquisition time, s
    double offset; // Hz
};

} // namespace

static bool ask_receiver_settings(int *ap, ReceiverSettings *settings)
{
    std::printf("How many time-points (power of 2): ");
    if (!ConsoleReadInt(ap))
        return false;
    std::printf("\nAcquisition time [seconds] : ");
    if (!ConsoleReadDouble(&settings->time))
        return false;
    std::printf("\nOffset frequency [Hz] = ");
    if (!ConsoleReadDouble(&settings->offset))
        return false;
    std::printf("\n");
    if (*ap > MAX_TIME_POINTS)
        std::printf("%d time-points are more than the largest number, %d.\n", *ap, MAX_TIME_POINTS);
    return *ap <= MAX_TIME_POINTS;
}

// ------------------------------------------------------------------ separate signals

double SeparateSpectra_GenerateSignal(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                                      const CMatrix *Ixtot, const CMatrix *Iytot,
                                      const CMatrix *Iztot, const SpinKet &ket,
                                      const SpinIList &Ilist)
{
    if (!n || !ap)
        return 0.0;
    ReceiverSettings settings = {0.001, 0.0};
    if (ZAN_GetSmokeCheckMode()) {
        *ap = *ap < 1 ? 1 : *ap;
    } else {
        std::printf("----------------------------------------------------------\n");
        std::printf("-    Calculation spectra of density matrix / matrices    -\n");
        std::printf("----------------------------------------------------------\n\n");
        if (!ask_receiver_settings(ap, &settings))
            return 0.0;
    }
    return SeparateSpectra_GenerateSignalWithParams(n, *ap, settings.time, settings.offset,
                                                    "zansign.bin", densmat, Istat, Ixtot, Iytot,
                                                    Iztot, ket, Ilist);
}

void SeparateSpectra(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                     const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                     const SpinKet &ket, const SpinIList &Ilist)
{
    const double time =
        SeparateSpectra_GenerateSignal(n, ap, densmat, Istat, Ixtot, Iytot, Iztot, ket, Ilist);
    if (time > 0.0)
        SpectrumOutputMenu(time);
}

// ------------------------------------------------------------------ average spectrum

// densmat becomes the sum of all matrices: a sum over the voxels, not their mean.
static bool sum_density_matrices(FILE *dm, int n, int matrices, CMatrix *densmat)
{
    static CMatrix one;
    CMatZero(n, densmat);
    for (int v = 1; v <= matrices; v++) {
        if (!read_density_matrix(dm, n, n, &one)) {
            std::printf(">>> READ BINARY FILE ERROR (dm.bin) <<<\n");
            return false;
        }
        CMatAdd(n, densmat, &one, densmat);
    }
    return true;
}

static void signal_from_lines(int n, int ap, double time, const CMatrix *densmat,
                              const CMatrix *Hmat, const CMatrix *observable, double *out)
{
    static LineList csp, ssp;
    int Nc = 0, Ns = 0;
    DoSpectrum(n, densmat, Hmat, observable, csp, ssp, &Nc, &Ns);
    build_scalar_signal_from_spectrum(ap, time, csp, Nc, ssp, Ns, out);
}

static bool write_single_trace(int ap, const double *re, const double *im)
{
    OutputFile out;
    if (!open_output(&out, "zansign.bin")) {
        std::perror("fopen(zansign.bin)");
        return false;
    }
    WriteBinFileHeaderI(out.file, 1, ap, 1);
    const bool written = binfh_last_status == BINFH_OK && write_signal_trace(out.file, ap, re, im);
    if (written && commit_output(&out))
        return true;
    std::perror("fwrite(zansign.bin)");
    discard_output(&out);
    return false;
}

// A summed matrix as its signal in "zansign.bin".
static bool write_average_signal(int n, int ap, double time, const CMatrix *densmat,
                                 const CMatrix *Hmat, const CMatrix *Ixtot, const CMatrix *Iytot)
{
    const std::unique_ptr<double[]> re = osc_zeros((size_t)ap), im = osc_zeros((size_t)ap);
    if (!re || !im) {
        std::perror("calloc");
        return false;
    }
    signal_from_lines(n, ap, time, densmat, Hmat, Ixtot, re.get());
    signal_from_lines(n, ap, time, densmat, Hmat, Iytot, im.get());
    return write_single_trace(ap, re.get(), im.get());
}

static bool average_is_possible(int n)
{
    if (n > HERMIT_MAX_N)
        std::printf("Average spectra are limited to %d states; this spin system has %d.\n",
                    HERMIT_MAX_N, n);
    return n <= HERMIT_MAX_N;
}

void AverageSpectrum(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                     const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                     const SpinKet & /*ket*/, const SpinIList & /*Ilist*/)
{
    static CMatrix Hmat;
    if (!n || !ap)
        return;
    std::printf("**********************************************************\n");
    std::printf("*** Calculation of average spectrum of density matrices ***\n");
    std::printf("**********************************************************\n\n");
    if (!average_is_possible(*n))
        return;
    int matrices = 0;
    const FilePtr dm = osc_open_density_file(*n, &matrices);
    ReceiverSettings settings;
    if (!dm || !ask_receiver_settings(ap, &settings))
        return;
    if (*ap < 1) {
        std::printf("A signal needs at least one time-point.\n");
        return;
    }
    if (!sum_density_matrices(dm.get(), *n, matrices, densmat))
        return;
    osc_receiver_hamiltonian(*n, settings.offset, Istat, Iztot, &Hmat);
    if (write_average_signal(*n, *ap, settings.time, densmat, &Hmat, Ixtot, Iytot))
        SpectrumOutputMenu(settings.time);
}

// ------------------------------------------------------------------ two-dimensional spectrum

// From one matrix to the next of an evolution time: the durations of all evolution sectors, s.
// 0 when the sequence has none.
static double evolution_step(void)
{
    double step = 0.0;
    for (int s = 1; rt.sequencetype == 2 && s <= rt.nos; s++)
        if (rt.sectype[s] == 2)
            step += rt.sectdur[s];
    return step;
}

void Determine2DSpectrum(const int *n, int *ap, CMatrix *densmat, const CMatrix *Istat,
                         const CMatrix *Ixtot, const CMatrix *Iytot, const CMatrix *Iztot,
                         const SpinKet &ket, const SpinIList &Ilist)
{
    const double time =
        SeparateSpectra_GenerateSignal(n, ap, densmat, Istat, Ixtot, Iytot, Iztot, ket, Ilist);
    if (!(time > 0.0) || ZAN_GetSmokeCheckMode())
        return;
    int choice;
    std::printf("\nDo 2D FFT? (1=no, 2=yes)\nYour choice [1,2] : ");
    if (!ConsoleReadInt(&choice))
        return;
    if (choice == 2)
        Calc2Dfft(time, evolution_step());
    SpectrumOutputMenu(time);
}
