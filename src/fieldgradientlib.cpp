// fieldgradientlib.cpp - gradient waveforms and the menu that asks for one.
//
// The spirals are A times the derivative of the trajectory u·cos(phi), u·sin(phi) with
// u = 1 - t/T and phi = 2·pi·n·t/T, along which the 2-D pulses of rfpulselib run.
#include "fieldgradientlib.h"

#include "consoleutil.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

fieldgrad_status fieldgrad_last_status = FIELDGRAD_OK;

double fieldgrad_pi(void)
{
    return 3.141592653589793;
}

// ---- waveforms ----

bool fieldgrad_valid_inputs(size_t ap, double h, const double *gs)
{
    return ap != 0 && h > 0.0 && gs;
}

static fieldgrad_status check_spiral(size_t ap, double h, const double *gs)
{
    if (fieldgrad_valid_inputs(ap, h, gs))
        return FIELDGRAD_OK;
    return gs ? FIELDGRAD_ERR_BADARG : FIELDGRAD_ERR_NULLPTR;
}

static fieldgrad_status check_array(size_t ap, const double *gs)
{
    if (!gs)
        return FIELDGRAD_ERR_NULLPTR;
    return ap == 0 ? FIELDGRAD_ERR_BADLEN : FIELDGRAD_OK;
}

fieldgrad_status gradproc1_compute(size_t ap, double, double *gs, double g1_hz_per_cm)
{
    const fieldgrad_status status = check_array(ap, gs);
    if (status == FIELDGRAD_OK)
        std::fill_n(gs, ap, 2.0 * fieldgrad_pi() * g1_hz_per_cm);
    return status;
}

// A times the time derivative of u·cos(phi) or u·sin(phi), u = 1 - t/T, phi = 2·pi·n·t/T.
static fieldgrad_status fill_spiral(size_t ap, double h, double *gs, double A, double n, bool sine)
{
    const fieldgrad_status status = check_spiral(ap, h, gs);
    if (status != FIELDGRAD_OK)
        return status;
    const double T = static_cast<double>(ap) * h;
    const double omega = 2.0 * fieldgrad_pi() * n;
    for (size_t i = 0; i < ap; i++) {
        const double r = static_cast<double>(i) * h / T;
        const double c = std::cos(omega * r), s = std::sin(omega * r), w = omega * (1.0 - r);
        gs[i] = sine ? A * (w * c - s) / T : -A * (c + w * s) / T;
    }
    return FIELDGRAD_OK;
}

fieldgrad_status gradproc2_compute(size_t ap, double h, double *gs, double A, double n)
{
    return fill_spiral(ap, h, gs, A, n, false);
}

fieldgrad_status gradproc3_compute(size_t ap, double h, double *gs, double A, double n)
{
    return fill_spiral(ap, h, gs, A, n, true);
}

fieldgrad_status CalcGrad_compute(size_t ap, double h, double *gs, int choice, double A, double n,
                                  double g1_hz_per_cm)
{
    const fieldgrad_status status = check_array(ap, gs);
    if (status != FIELDGRAD_OK)
        return status;
    switch (choice) {
    case 1:
        return gradproc1_compute(ap, h, gs, g1_hz_per_cm);
    case 2:
        return gradproc2_compute(ap, h, gs, A, n);
    case 3:
        return gradproc3_compute(ap, h, gs, A, n);
    }
    return FIELDGRAD_ERR_BADARG;
}

// ---- dialogs ----

static bool scan_double(const char *prompt, double *out)
{
    if (!prompt || !out)
        return false;
    std::fputs(prompt, stdout);
    if (!ConsoleReadDouble(out))
        return false;
    std::putchar('\n');
    return true;
}

static const int MAX_POINTS = 8192; // what the arrays hold

// 0, which the waveforms refuse, for a count that does not fit the arrays.
static size_t sample_count(int ap)
{
    return ap > 0 && ap <= MAX_POINTS ? static_cast<size_t>(ap) : 0;
}

static bool pointers_given(const int *ap, const double *h, const double *gs)
{
    fieldgrad_last_status = ap && h && gs ? FIELDGRAD_OK : FIELDGRAD_ERR_NULLPTR;
    return fieldgrad_last_status == FIELDGRAD_OK;
}

void CalcGrad(const int *ap, const double *h, double *gs)
{
    if (!pointers_given(ap, h, gs))
        return;
    std::printf("Possible gradient modulation types:\n"
                "   1.  Constant gradient \n"
                "   2.  cosine spiral (2D excitation)\n"
                "   3.  sine spiral   (2D excitation)\n"
                "Your choice [1..3] : ");
    int choice;
    if (!ConsoleReadInt(&choice)) {
        fieldgrad_last_status = FIELDGRAD_ERR_IO;
        return;
    }
    std::putchar('\n');
    switch (choice) {
    case 1:
        gradproc1(ap, h, gs);
        break;
    case 2:
        gradproc2(ap, h, gs);
        break;
    case 3:
        gradproc3(ap, h, gs);
        break;
    default:
        fieldgrad_last_status = FIELDGRAD_ERR_BADARG;
    }
}

void gradproc1(const int *ap, const double *h, double *gs)
{
    if (!pointers_given(ap, h, gs))
        return;
    double strength;
    const bool read = scan_double(" Constant gradient strength [Hz/cm] : ", &strength);
    fieldgrad_last_status =
        read ? gradproc1_compute(sample_count(*ap), *h, gs, strength) : FIELDGRAD_ERR_IO;
}

void gradproc2(const int *ap, const double *h, double *gs)
{
    if (!pointers_given(ap, h, gs))
        return;
    std::printf("g(t) = -(A/T)*(2*pi*n*(1-(t/T))*((sin(2*pi*n*t/T)+f(t))\n"
                "f(t) = cos(2*pi*n*t/T)\n");
    double A, n;
    const bool read = scan_double("A    : ", &A) && scan_double("n    : ", &n);
    fieldgrad_last_status =
        read ? gradproc2_compute(sample_count(*ap), *h, gs, A, n) : FIELDGRAD_ERR_IO;
}

void gradproc3(const int *ap, const double *h, double *gs)
{
    if (!pointers_given(ap, h, gs))
        return;
    std::printf("g(t) = (A/T)*(2*pi*n*(1-(t/T))*((cos(2*pi*n*t/T)+f(t))\n"
                "f(t) = -sin(2*pi*n*t/T)\n");
    double A, n;
    const bool read = scan_double("A : ", &A) && scan_double("n : ", &n);
    fieldgrad_last_status =
        read ? gradproc3_compute(sample_count(*ap), *h, gs, A, n) : FIELDGRAD_ERR_IO;
}
