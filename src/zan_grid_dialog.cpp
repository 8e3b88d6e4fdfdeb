// zan_grid_dialog.cpp - the spatial grid of a simulation from the console.

#include "zan.h"

#include "consoleutil.h"

static double ask_double(const char *prompt)
{
    double value;
    std::printf("%s", prompt);
    return ConsoleReadDouble(&value) ? value : 0.0;
}

static int ask_count(const char *prompt)
{
    int value;
    std::printf("%s", prompt);
    return ConsoleReadInt(&value) && value > 1 ? value : 1;
}

static void ask_counts(void)
{
    rt.ndx = ask_count("  ndx : ");
    rt.ndy = ask_count("  ndy : ");
    rt.ndz = ask_count("  ndz : ");
}

// The points span the whole width end to end; a single point sits at the centre.
static void place_axis(double center, double width, int points, double *minimum, double *spacing)
{
    *minimum = points > 1 ? center - width / 2.0 : center;
    *spacing = points > 1 ? width / (points - 1) : 0.0;
}

static void ask_symmetric_grid(void)
{
    std::printf("Center of simulation volume [cm]\n");
    const double xc = ask_double("  x-center [cm] : ");
    const double yc = ask_double("  y-center [cm] : ");
    const double zc = ask_double("  z-center [cm] : ");
    std::printf("Number of spatial grid points\n");
    ask_counts();
    std::printf("Full simulation volume widths [cm]\n");
    const double xw = ask_double("  widthx [cm] : ");
    const double yw = ask_double("  widthy [cm] : ");
    const double zw = ask_double("  widthz [cm] : ");
    place_axis(xc, xw, rt.ndx, &rt.x0, &rt.dx);
    place_axis(yc, yw, rt.ndy, &rt.y0, &rt.dy);
    place_axis(zc, zw, rt.ndz, &rt.z0, &rt.dz);
}

static void ask_manual_grid(void)
{
    std::printf("Manual grid definition (minimum coordinate + spacing)\n");
    ask_counts();
    std::printf("Minimum coordinates [cm]\n");
    rt.x0 = ask_double("  x0 [cm] : ");
    rt.y0 = ask_double("  y0 [cm] : ");
    rt.z0 = ask_double("  z0 [cm] : ");
    std::printf("Grid spacing [cm]\n");
    rt.dx = ask_double("  dx [cm] : ");
    rt.dy = ask_double("  dy [cm] : ");
    rt.dz = ask_double("  dz [cm] : ");
    rt.dx = rt.ndx > 1 ? rt.dx : 0.0;
    rt.dy = rt.ndy > 1 ? rt.dy : 0.0;
    rt.dz = rt.ndz > 1 ? rt.dz : 0.0;
}

void DefineSpatialSimulationDomain(void)
{
    int symmetric = 0;
    std::printf("           *******************************************\n");
    std::printf("           ***  SPATIAL SIMULATION DOMAIN SETUP   ***\n");
    std::printf("           *******************************************\n");
    if (!rt.spinsystemdefined || rt.Nspins < 1) {
        std::printf(">>>> No spin system is defined. Define spins first. <<<<\n");
        return;
    }
    std::printf("Define the spatial simulation grid for later spatially resolved sequence "
                "calculations.\n");
    std::printf("Gradient waveforms are defined in the sequence sectors, not here.\n");
    std::printf("Use a symmetric simulation volume around a center point? [1=yes, 0=no] : ");
    if (ConsoleReadInt(&symmetric) && symmetric == 1)
        ask_symmetric_grid();
    else
        ask_manual_grid();
    rt.offsetsdefined = rt.offsetset = 1;
    std::printf("Spatial simulation domain defined.\n");
    std::printf("  ndx=%d  ndy=%d  ndz=%d\n", rt.ndx, rt.ndy, rt.ndz);
    std::printf("  x0=%.15g  y0=%.15g  z0=%.15g [cm]\n", rt.x0, rt.y0, rt.z0);
    std::printf("  dx=%.15g  dy=%.15g  dz=%.15g [cm]\n", rt.dx, rt.dy, rt.dz);
    std::printf("  Used by     : spatially resolved pulse sequences\n");
    std::printf("  Sequence type is chosen later in the pulse-sequence menu.\n");
}
