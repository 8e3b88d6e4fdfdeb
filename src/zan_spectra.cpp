// zan_spectra.cpp - which spectra of "dm.bin" are wanted, from the run menu and from the menu of
// single steps; observablespectrumcalculator does the rest.

#include "zan.h"

#include "consoleutil.h"
#include "observablespectrumcalculator.h"

static bool spins_are_defined(void)
{
    const bool defined = rt.Nspins > 0 && rt.spinsystemdefined;
    if (!defined)
        std::printf("No spin system is currently prepared.\n");
    return defined;
}

// A failed read is the first choice.
static int ask_choice(const char *prompt)
{
    int choice;
    std::printf("%s", prompt);
    if (ConsoleReadInt(&choice))
        return choice;
    ConsoleDropLine();
    return 1;
}

static void build_totals(int norm)
{
    zan_build_transverse_totals(norm);
    MakeTotalIz(rt.n, rt.Nspins, rt.ket, rt.Ilist, norm, &rt.Iztot);
}

namespace
{

enum SpectrumKind { AVERAGE_SPECTRUM = 1, SEPARATE_SPECTRA, SPECTRUM_2D };

} // namespace

// The receiver detects every spin's operator with unit norm.
static void calculate_spectra(SpectrumKind kind)
{
    int points = rt.ap; // the receiver's, which are not the waveform's
    CMatAdd(rt.n, &rt.Icoup, &rt.Izee, &rt.Istat);
    build_totals(1);
    if (kind == AVERAGE_SPECTRUM)
        AverageSpectrum(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                        rt.ket, rt.Ilist);
    else if (kind == SEPARATE_SPECTRA)
        SeparateSpectra(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                        rt.ket, rt.Ilist);
    else
        Determine2DSpectrum(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Iztot,
                            rt.ket, rt.Ilist);
    build_totals(0);
}

void ZANCalculateSpectraInteractive(void)
{
    if (!spins_are_defined())
        return;
    std::printf("Options:\n");
    std::printf("  1. Calculate average spectrum\n");
    std::printf("  2. Calculate spectra separately\n");
    calculate_spectra(ask_choice("Your choice [1,2] : ") == 1 ? AVERAGE_SPECTRUM
                                                              : SEPARATE_SPECTRA);
}

void InteractiveSpectrumAnalyses(void)
{
    if (!spins_are_defined())
        return;
    std::printf("Options:\n");
    std::printf("  1. Calculate average spectrum\n");
    std::printf("  2. Calculate spectra separately\n");
    std::printf("  3. Calculate 2D spectrum\n");
    std::printf("  4. Display signals of zansign.bin\n");
    const int choice = ask_choice("Your choice [1..4] : ");
    if (choice == 4)
        DisplaySignals();
    else if (choice >= AVERAGE_SPECTRUM && choice <= SPECTRUM_2D)
        calculate_spectra((SpectrumKind)choice);
    else
        std::printf("Unknown choice.\n");
}
