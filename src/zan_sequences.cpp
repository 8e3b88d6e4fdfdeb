// zan_sequences.cpp - the sequence drivers: sector after sector through zan_propagation, then
// the result file or, for the 1D/2D family, the receiver signal.

#include "zan.h"

#include "binaryfilehandling.h"
#include "observablespectrumcalculator.h"

#include <cmath>

static bool reporting(void)
{
    return !ZAN_GetSmokeCheckMode();
}

static void start_run(void)
{
    rt.calc = 0;
    rt.pulseflag = 1;
    BuildSpinSystemFromPulseSequenceGlobals();
}

static void select_sector(int s)
{
    rt.ap = rt.noti[s];
    rt.pt = rt.sectdur[s];
    rt.h = rt.ap < 1 ? 0.0 : rt.pt / rt.ap;
    rt.ti = rt.h; // one step: the propagators take ti as their step, not as the pulse length
    rt.statoff_s = 2.0 * PI_CONST * rt.statoff[s];
}

// ------------------------------------------------------------------ spatial family

static int sectors_before_acquisition(void)
{
    int s = 1;
    while (s <= rt.nos && !zan_remark_is_acquisition(rt.remarks[s]))
        s++;
    return s - 1;
}

static bool spatial_samples_are_finite(void)
{
    for (int l = 0; l < rt.ap; l++)
        if (!std::isfinite(rt.xb[l]) || !std::isfinite(rt.yb[l]) || !std::isfinite(rt.gx[l]) ||
            !std::isfinite(rt.gy[l]) || !std::isfinite(rt.gz[l])) {
            std::printf("Bad pulse sample at l=%d: xb=%g yb=%g gx=%g gy=%g gz=%g\n", l, rt.xb[l],
                        rt.yb[l], rt.gx[l], rt.gy[l], rt.gz[l]);
            return false;
        }
    return true;
}

static void print_spatial_domain(int s)
{
    std::printf("Spatial starting point x-direction [cm] : %.15g\n", rt.x0_s);
    std::printf("Spatial x-stepsize                 [cm] : %.15g\n", rt.dx_s);
    std::printf("Spatial starting point y-direction [cm] : %.15g\n", rt.y0_s);
    std::printf("Spatial y-stepsize                 [cm] : %.15g\n", rt.dy_s);
    std::printf("Spatial starting point z-direction [cm] : %.15g\n", rt.z0_s);
    std::printf("Spatial z-stepsize                 [cm] : %.15g\n", rt.dz_s);
    std::printf("Remark : %s\n\n", rt.remarks[s]);
}

static bool run_spatial_sector(int s)
{
    rt.spatial_progress_sector = s;
    select_sector(s);
    rt.x0_s = rt.x0;
    rt.y0_s = rt.y0;
    rt.z0_s = rt.z0;
    rt.dx_s = rt.dx;
    rt.dy_s = rt.dy;
    rt.dz_s = rt.dz;
    if (reporting()) {
        std::printf("\nCalculating sector                      : %d\n", s);
        std::printf("Number of time intervals in this sector : %d\n", rt.ap);
        std::printf("Sector or pulsetime                [ms] : %.9g\n", 1000.0 * rt.pt);
        std::printf("Reading pulse file                      : %s\n", rt.fnames[s]);
    }
    if (!LoadSpatialSectorPulseFile(rt.fnames[s], rt.ap)) {
        std::printf("Error reading pulse file %s\n", rt.fnames[s]);
        return false;
    }
    if (!spatial_samples_are_finite())
        return false;
    if (reporting())
        print_spatial_domain(s);
    Rotate3D();
    return true;
}

void SimulateLoadedPulseSequence(void)
{
    rt.spatial_progress_sector_count = 0;
    start_run();
    const int sectors = sectors_before_acquisition();
    rt.spatial_progress_sector_count = sectors;
    if (reporting()) {
        std::printf("# x-direction : %d  # y-direction : %d  # z-direction : %d\n", rt.ndx, rt.ndy,
                    rt.ndz);
        std::printf("Number of pulse sectors to calculate      : %d\n", rt.nos);
    }
    for (int s = 1; s <= sectors; s++)
        if (!run_spatial_sector(s))
            return;
    if (rt.calc < sectors)
        std::fprintf(stderr, "Of %d sectors %d failed: the density matrices lack them.\n", sectors,
                     sectors - rt.calc);
    if (sectors < rt.nos && reporting()) {
        std::printf("\nSpatial propagation stops at acquisition sector %d.\n", sectors + 1);
        std::printf("The density matrix is stored at acquisition start.\n");
    }
    if (!rt.resultflnm[0])
        return;
    if (copy_file_complete("dm.bin", rt.resultflnm) == BINFH_OK)
        std::printf("Copied spatial density-matrix result to %s\n", rt.resultflnm);
    else
        std::printf("Failed to copy spatial density-matrix result to %s\n", rt.resultflnm);
}

// ------------------------------------------------------------------ 1D/2D family

namespace
{

struct Acquisition {
    int samples;    // 0 = the sequence has no acquisition sector
    double time;    // s
    double offset;  // Hz
    bool evolution; // an evolution sector was propagated
    int rows;       // evolution rows
    int failed;     // sectors that could not be propagated
};

} // namespace

static bool sector_2d_is_valid(int s)
{
    if (rt.sectype[s] != 1 && rt.sectype[s] != 2)
        std::printf("Invalid 1D/2D sector type in sector %d : %d\n", s, rt.sectype[s]);
    else if (rt.ap < 1)
        std::printf("Invalid number of time intervals in sector %d : %d\n", s, rt.ap);
    else if (rt.ndw < 1)
        std::printf("Invalid number of evolution intervals in sector %d : %d\n", s, rt.ndw);
    else
        return true;
    return false;
}

static void print_sector_2d(int s)
{
    std::printf("\nCalculating sector                      : %d\n", s);
    std::printf("Sector type                             : %d%s\n", rt.sectype[s],
                rt.sectype[s] == 2 ? "  # evolution sector" : "  # normal sector");
    std::printf("Number of time intervals in this sector : %d\n", rt.ap);
    std::printf("Number of evolution intervals           : %d\n", rt.ndw);
    std::printf("Sector or pulsetime                [ms] : %.9g\n", 1000.0 * rt.pt);
    std::printf("Reading pulse file                      : %s\n", rt.fnames[s]);
}

static bool rf_samples_are_finite(void)
{
    for (int l = 0; l < rt.ap; l++)
        if (!std::isfinite(rt.xb[l]) || !std::isfinite(rt.yb[l])) {
            std::printf("Bad pulse sample at l=%d: xb=%g yb=%g\n", l, rt.xb[l], rt.yb[l]);
            return false;
        }
    return true;
}

// The receiver samples this sector: the state stays as it is, the last such sector counts.
static void record_acquisition(int s, Acquisition *acq)
{
    if (reporting()) {
        std::printf("Remark on sector                        : %s\n", rt.remarks[s]);
        std::printf("ADC sector marked for receiver/FID export; density matrix is preserved at "
                    "acquisition start.\n");
    }
    acq->samples = rt.noti[s];
    acq->time = rt.sectdur[s];
    acq->offset = rt.statoff[s];
}

static bool run_2d_sector(int s, Acquisition *acq)
{
    select_sector(s);
    rt.ndw = rt.nevo[s];
    if (!sector_2d_is_valid(s))
        return false;
    if (reporting())
        print_sector_2d(s);
    if (rt.sectype[s] == 1 && zan_remark_is_acquisition(rt.remarks[s])) {
        record_acquisition(s, acq);
        return true;
    }
    if (!Load2DSectorPulseFile(rt.fnames[s], rt.ap)) {
        std::printf("Error reading pulse file %s\n", rt.fnames[s]);
        return false;
    }
    if (!rf_samples_are_finite())
        return false;
    if (reporting())
        std::printf("Remark on sector                        : %s\n", rt.remarks[s]);
    const int finished = rt.calc;
    Rotate2D_internal(rt.sectype[s], rt.h, rt.statoff_s);
    if (rt.calc == finished)
        acq->failed++;
    if (rt.sectype[s] == 2) {
        acq->evolution = true;
        acq->rows = rt.ndw;
    }
    return true;
}

static void write_receiver_signal(const Acquisition &acq, const ZANSlowBandSplitConfig *slow)
{
    const char *dimension = acq.evolution ? "2D " : "";
    if (!zan_is_power_of_two_int(acq.samples)) {
        std::printf("ADC sample count %d is not a power of two; not writing %sreceiver signal.\n",
                    acq.samples, dimension);
        return;
    }
    zan_build_transverse_totals(1);
    const double time = SeparateSpectra_GenerateSignalWithParamsAndSlowSplit(
        &rt.n, acq.samples, acq.time, acq.offset, rt.resultflnm, slow, &rt.densmat, &rt.Istat,
        &rt.Ixtot, &rt.Iytot, &rt.Iztot, rt.ket, rt.Ilist);
    zan_build_transverse_totals(0);
    if (!(time > 0.0))
        std::printf("Failed to write %scomplex receiver signal to %s\n", dimension, rt.resultflnm);
    else if (acq.evolution)
        std::printf("Wrote 2D complex receiver signal to %s (samples=%d, evolution rows=%d, "
                    "acquisition=%.15g s)\n",
                    rt.resultflnm, acq.samples, acq.rows, time);
    else
        std::printf("Wrote complex receiver signal to %s (samples=%d, acquisition=%.15g s)\n",
                    rt.resultflnm, acq.samples, time);
}

static void write_2d_result(const Acquisition &acq, const ZANSlowBandSplitConfig *slow)
{
    if (!rt.resultflnm[0])
        return;
    if (acq.samples >= 1)
        write_receiver_signal(acq, slow);
    else if (copy_file_complete("dm.bin", rt.resultflnm) == BINFH_OK)
        std::printf("Copied density-matrix result to %s\n", rt.resultflnm);
    else
        std::printf("Failed to copy density-matrix result to %s\n", rt.resultflnm);
}

// Without a result file the spectrum is made at once, with what the user answers.
static void analyse_2d_signal(void)
{
    int points = rt.ap; // the receiver's, which are not the waveform's
    zan_build_transverse_totals(1);
    Determine2DSpectrum(&rt.n, &points, &rt.densmat, &rt.Istat, &rt.Ixtot, &rt.Iytot, &rt.Izgrad,
                        rt.ket, rt.Ilist);
    zan_build_transverse_totals(0);
}

void SimulateLoaded2DPulseSequence(void)
{
    start_run();
    if (reporting()) {
        std::printf("Number of pulse sectors to calculate    : %d\n", rt.nos);
        if (zan_current_sequence_is_pulse_acquire_fid())
            std::printf("Detected sequence subtype               : pulse-acquire FID\n");
    }
    Acquisition acq = {0, 0.0, 0.0, false, 1, 0};
    for (int s = 1; s <= rt.nos; s++)
        if (!run_2d_sector(s, &acq))
            return;
    if (acq.failed > 0) {
        std::fprintf(stderr, "Of %d sectors %d failed: no result is written.\n", rt.nos,
                     acq.failed);
        return;
    }
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &rt.Istat);
    ZANSlowBandSplitConfig slow;
    write_2d_result(acq, zan_try_slow_band_split_config(&slow) ? &slow : nullptr);
    if (acq.evolution && !rt.resultflnm[0])
        analyse_2d_signal();
}
