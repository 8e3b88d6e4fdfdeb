// zan_status.cpp - what of the current model is there and whether it can run, as text.

#include "zan.h"

#include <cmath>

// ------------------------------------------------------------------ lines they share

static void print_spins_line(void)
{
    std::printf("  Nspins           : %d\n", rt.Nspins);
}

static void print_family_line(void)
{
    std::printf("  sequence family  : %s", SequenceTypeLabel(rt.sequencetype));
    if (rt.sequencetype > 0)
        std::printf(" (%d)", rt.sequencetype);
    std::printf("\n");
}

static void print_sectors_line(void)
{
    std::printf("  sequence sectors : %d\n", rt.nos);
}

static void print_result_line(void)
{
    std::printf("  result file      : %s\n", rt.resultflnm[0] ? rt.resultflnm : "<unset>");
}

static void print_missing_lines(void)
{
    if (rt.Nspins < 1)
        std::printf("  spin system      : <none prepared>\n");
    if (rt.nos < 1)
        std::printf("  pulse sequence   : <none prepared>\n");
    std::printf("\n");
}

// ------------------------------------------------------------------ readiness

static const char *sector_label(int type)
{
    if (rt.sequencetype != 2)
        return SectorTypeLabel(type);
    return type == 0   ? "<unset>"
           : type == 1 ? "normal sector"
           : type == 2 ? "evolution sector"
                       : "<unknown>";
}

static void print_first_sector_line(void)
{
    if (rt.nos < 1)
        return;
    std::printf("  first sector     : %s", sector_label(rt.sectype[1]));
    if (rt.sectype[1] > 0)
        std::printf(" (%d)", rt.sectype[1]);
    std::printf("\n");
}

static bool sector_is_complete(int s)
{
    if (rt.noti[s] < 1 || !rt.fnames[s][0])
        return false;
    if (rt.sequencetype == 1)
        return !std::isnan(rt.statoff[s]);
    if (rt.sequencetype == 2)
        return (rt.sectype[s] == 1 || rt.sectype[s] == 2) && rt.nevo[s] >= 1;
    return true;
}

static int first_incomplete_sector(void)
{
    for (int s = 1; s <= rt.nos; s++)
        if (!sector_is_complete(s))
            return s;
    return 0;
}

static void print_run_status_line(void)
{
    const int incomplete = first_incomplete_sector();
    std::printf("  run status       : ");
    if (rt.Nspins < 1 || !rt.systemset)
        std::printf("incomplete (spin system missing)\n");
    else if (rt.sequencetype < 1)
        std::printf("incomplete (sequence family not selected)\n");
    else if (rt.nos < 1 || !rt.sectorset)
        std::printf("incomplete (sequence sectors missing)\n");
    else if (incomplete)
        std::printf("incomplete (sector %d is incomplete)\n", incomplete);
    else if (rt.sequencetype == 2)
        std::printf("ready\n");
    else if (rt.sequencetype != 1)
        std::printf("incomplete (unknown sequence family)\n");
    else if (rt.ndx < 1 || rt.ndy < 1 || rt.ndz < 1 || !rt.offsetset)
        std::printf("incomplete (spatial grid missing)\n");
    else
        std::printf("ready\n");
}

void PrintNonInteractiveStatus(void)
{
    std::printf("Current model state:\n");
    print_spins_line();
    print_family_line();
    print_sectors_line();
    print_first_sector_line();
    print_result_line();
    print_run_status_line();
    print_missing_lines();
}

void PrintPrepareStatus(void)
{
    std::printf("Current model state:\n");
    print_spins_line();
    print_family_line();
    print_sectors_line();
    print_result_line();
    print_missing_lines();
}

// ------------------------------------------------------------------ summary

static void print_int_list(const int *values, int count)
{
    for (int k = 1; k <= count; k++)
        std::printf(k > 1 ? " %d" : "%d", values[k]);
    std::printf(count < 1 ? "<none>\n" : "\n");
}

static void print_double_list(const double *values, int count)
{
    for (int k = 1; k <= count; k++)
        std::printf(k > 1 ? " %.12g" : "%.12g", values[k]);
    std::printf(count < 1 ? "<none>\n" : "\n");
}

static void print_spin_block(void)
{
    std::printf("Spin system:\n");
    std::printf("  Hilbert size n   : %d\n", rt.n);
    std::printf("  spin quantum numbers : ");
    print_int_list(rt.quantnum, rt.Nspins);
    std::printf("  relative intensities : ");
    print_double_list(rt.relspinamp, rt.Nspins);
    std::printf("  resonance offsets [Hz] : ");
    print_double_list(rt.resofreqs, rt.Nspins);
    if (rt.Nspins < 2) {
        std::printf("  coupling mode    : no couplings\n");
        return;
    }
    std::printf("  coupling mode    : %d\n", rt.Jexact);
    for (int pair = 1; pair <= rt.Jcount; pair++)
        std::printf("  J-coupling %d    : %.12g Hz\n", pair, rt.couplings[pair]);
}

static void print_grid_block(void)
{
    std::printf("Spatial grid:\n");
    std::printf("  ndx              : %d\n", rt.ndx);
    std::printf("  ndy              : %d\n", rt.ndy);
    std::printf("  ndz              : %d\n", rt.ndz);
    std::printf("  x0 [cm]          : %.12g\n", rt.x0);
    std::printf("  dx [cm]          : %.12g\n", rt.dx);
    std::printf("  y0 [cm]          : %.12g\n", rt.y0);
    std::printf("  dy [cm]          : %.12g\n", rt.dy);
    std::printf("  z0 [cm]          : %.12g\n", rt.z0);
    std::printf("  dz [cm]          : %.12g\n", rt.dz);
}

static void print_sequence_block(void)
{
    std::printf("Sequence overview:\n");
    for (int s = 1; s <= rt.nos; s++)
        std::printf("  sector %d : timepoints=%d  duration=%.12g s  file=%s\n", s, rt.noti[s],
                    rt.sectdur[s], rt.fnames[s]);
    if (rt.nos < 1)
        std::printf("  <no sectors defined>\n");
}

void PrintCurrentModelSummary(void)
{
    std::printf("========================================\n");
    std::printf(" Current Model Summary\n");
    std::printf("========================================\n\n");
    std::printf("Model state:\n");
    print_spins_line();
    print_family_line();
    print_sectors_line();
    print_result_line();
    print_spin_block();
    print_grid_block();
    print_sequence_block();
}
