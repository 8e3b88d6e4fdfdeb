// pulsesequencedefiner_grid.cpp - the spatial grid of a model, held within what a run can do.
#include "pulsesequencedefiner_internal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

enum { max_axis_points = 256, max_voxels = 256 * 256 * 256 };

void clamp_spatial_grid(void)
{
    for (int *points : {&rt.ndx, &rt.ndy, &rt.ndz})
        *points = std::clamp<int>(*points, 1, max_axis_points);
    const int voxels = rt.ndx * rt.ndy * rt.ndz;
    if (voxels < 1 || voxels > max_voxels) {
        std::fprintf(stderr, "Invalid spatial grid after clamp: ndx=%d ndy=%d ndz=%d (nos=%d)\n",
                     rt.ndx, rt.ndy, rt.ndz, voxels);
        std::abort();
    }
}

void apply_global_spatial_grid(double x0, double dx, double y0, double dy, double z0, double dz)
{
    clamp_spatial_grid();
    rt.x0 = x0;
    rt.dx = dx;
    rt.y0 = y0;
    rt.dy = dy;
    rt.z0 = z0;
    rt.dz = dz;
}

double grid_fov_from_step(int n, double step)
{
    return n < 2 ? 0.0 : (n - 1) * step;
}

static void ask_axis(char axis, int *points, double *minimum, double *spacing)
{
    std::printf("Number of %c-grid points   : ", axis);
    read_int_prompt(nullptr, points);
    *points = std::max(*points, 1);
    std::printf("%c-offset coordinate [cm]  : ", axis);
    read_double_prompt(nullptr, minimum);
    std::printf("%c-step size         [cm]  : ", axis);
    read_double_prompt(nullptr, spacing);
}

void ps_ask_spatial_grid(void)
{
    double x0, dx, y0, dy, z0, dz;
    ask_axis('x', &rt.ndx, &x0, &dx);
    ask_axis('y', &rt.ndy, &y0, &dy);
    ask_axis('z', &rt.ndz, &z0, &dz);
    apply_global_spatial_grid(x0, dx, y0, dy, z0, dz);
    rt.offsetset = 1;
}
