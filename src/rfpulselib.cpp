// rfpulselib.cpp - the pulse menus: which shape, its parameters, its samples.
//
// The formulas are in rfpulselib_shapes.cpp. A shape is written when all its parameters have
// been read, so a bad answer leaves the arrays as they were.
#include "rfpulselib.h"

#include "binaryfilehandling.h"
#include "consoleutil.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <new>

// ---- questions ----

int scan_int_prompt(const char *prompt, int *out)
{
    if (prompt)
        std::fputs(prompt, stdout);
    return out && ConsoleReadInt(out) ? 1 : 0;
}

int scan_double_prompt(const char *prompt, double *out)
{
    if (prompt)
        std::fputs(prompt, stdout);
    return out && ConsoleReadDouble(out) ? 1 : 0;
}

// 0, which no menu offers, when the answer is no number.
static int ask_choice(const char *prompt)
{
    int choice;
    if (!scan_int_prompt(prompt, &choice))
        return 0;
    std::putchar('\n');
    return choice;
}

namespace
{

struct Question {
    const char *prompt;
    double *answer;
};

} // namespace

// False at the first answer that is no number.
static bool ask(std::initializer_list<Question> questions)
{
    for (const Question &q : questions) {
        if (!scan_double_prompt(q.prompt, q.answer))
            return false;
        std::putchar('\n');
    }
    return true;
}

static double radians(double degrees)
{
    return degrees * pulselib_pi() / 180.0;
}

// ---- what every definition checks first ----

void clamp_ap(int *ap)
{
    if (!ap)
        return;
    if (*ap > RFPULSE_MAX_POINTS) {
        std::fprintf(stderr, "WARNING: ap=%d exceeds ZAN_MAX_RF_POINTS=%d; clamping.\n", *ap,
                     static_cast<int>(RFPULSE_MAX_POINTS));
        *ap = RFPULSE_MAX_POINTS;
    }
    *ap = std::max(*ap, 0);
}

// No shape writes past the arrays, whatever count it is given.
static bool usable(int *ap, const double *xb, const double *yb)
{
    if (!ap || !xb || !yb)
        return false;
    clamp_ap(ap);
    return true;
}

// ---- menus ----

static int ask_hard_pulse(void)
{
    std::printf("\nStandard Hard Pulses:\n\n");
    std::printf("   1. (pi/2) (x')            5. (pi) (x')\n");
    std::printf("   2. (pi/2) (y')            6. (pi) (y')\n");
    std::printf("   3. (pi/2) (-x')           7. (pi) (-x')\n");
    std::printf("   4. (pi/2) (-y')           8. (pi) (-y')\n\n");
    return ask_choice("Your choice is [1..8] : ");
}

void AMHardPulseDefinition(int *ap, double *ti, double *xb, double *yb)
{
    if (!ap || !xb || !yb)
        return;
    if (ti)
        *ti = 1e-5;
    const int choice = ask_hard_pulse();
    if (choice < 1 || choice > 8)
        return;
    const double pi = pulselib_pi();
    const double phases[] = {0.0, pi / 2.0, pi, -pi / 2.0};
    hardpulseproc(ap, phases[(choice - 1) % 4], choice > 4 ? 2.0 : 1.0, xb, yb);
}

void AMPulseDefinition(int *ap, double *ti, double *xb, double *yb)
{
    if (!ap || !ti || !xb || !yb)
        return;
    std::printf("What Amplitude Modulated Pulse-shape is to be used\n\n");
    std::printf("   1. rectangular or hard-pulse\n");
    std::printf("   2. sinc-Gauss pulse\n");
    std::printf("   3. 2D - GauB pulse\n");
    std::printf("   4. 2D - sinc-Pulse (centre (x,y) = (0,0)\n\n");
    switch (ask_choice("Your Choice is [1..4] : ")) {
    case 1:
        ampulseproc1(ap, ti, xb, yb);
        break;
    case 2:
        ampulseproc2(ap, ti, xb, yb);
        break;
    case 3:
        ampulseproc3(ap, ti, xb, yb);
        break;
    case 4:
        ampulseproc4(ap, ti, xb, yb);
        break;
    }
}

void FMPulseDefinition(int *ap, double *ti, double *xb, double *yb)
{
    if (!ap || !ti || !xb || !yb)
        return;
    std::printf("What Frequency Modulated Pulse-shape is to be used\n\n");
    std::printf("      1. 180 sech-tanh (-T,T)\n");
    std::printf("      2. 90  sech-tanh (-T,0)\n");
    std::printf("      3. 360 sech-tanh 2*(-T,T)\n");
    std::printf("      4. 2D - sinc-Pulses off centre\n");
    std::printf("      5. Sum of off centre 2D-sinc-Pulses\n");
    std::printf("      6. Sum of off centre 2D-sinc-Pulses using file parameters\n\n");
    switch (ask_choice("Your choice is [1..6] : ")) {
    case 1:
        fmpulseproc1(ap, ti, xb, yb);
        break;
    case 2:
        fmpulseproc2(ap, ti, xb, yb);
        break;
    case 3:
        fmpulseproc3(ap, ti, xb, yb);
        break;
    case 4:
        fmpulseproc4(ap, ti, xb, yb);
        break;
    case 5:
        fmpulseproc5(ap, ti, xb, yb);
        break;
    case 6:
        fmpulseproc6(ap, ti, xb, yb);
        break;
    }
}

// ---- along one phase ----

static const char PHASE_PROMPT[] = " pulse-phase (in degrees) : ";

void ampulseproc1(int *ap, double *, double *xb, double *yb)
{
    double phase, amplitude;
    if (!usable(ap, xb, yb))
        return;
    std::printf(" Rectangular pulse or hard pulse\n");
    if (ask({{PHASE_PROMPT, &phase}, {" pulse amplitude [Hz]     : ", &amplitude}}))
        rectangular_shape(*ap, radians(phase), amplitude, xb, yb);
}

void ampulseproc2(int *ap, double *h, double *xb, double *yb)
{
    double phase, q, f, b;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf(" sinc Gauss - AM-pulse shape :\n\n"
                " q*sin(2*pi*f*t)*exp(-(b*b*t*t))/ (pi*t)\n");
    if (ask({{PHASE_PROMPT, &phase},
             {" q  (teta = q*180/pi)     : ", &q},
             {" f (pulse bandwidth)      : ", &f},
             {" b (damping constant)     : ", &b}}))
        sinc_gauss_shape(*ap, *h, radians(phase), q, f, b, xb, yb);
}

// ---- spirals ----

static const char SPIRAL_FORMULAS[] = "f(t)  = sqrt((2*pi*n*(1-(t/T)))^2 + 1)\n"
                                      "kx(t) = B*(1-(t/T))*cos(2*pi*n*t/T)\n"
                                      "ky(t) = B*(1-(t/T))*sin(2*pi*n*t/T)\n";

namespace
{

struct Sinc2D {
    double a, A, B, n, dx, dy, x0, y0;
};

} // namespace

static bool ask_centred_sinc(Sinc2D *p)
{
    return ask({{"a     : ", &p->a},
                {"A     : ", &p->A},
                {"B     : ", &p->B},
                {"n     : ", &p->n},
                {"dx    : ", &p->dx},
                {"dy    : ", &p->dy}});
}

// The pulse of the answers; false, and nothing written, when one was no number.
static bool define_offcentre_sinc(int ap, double h, double *xb, double *yb)
{
    Sinc2D p;
    std::printf("A 2D sinc pulse which excites a rectangular area\n"
                "with a shifted centre from (0,0) to (x0,y0)\n\n"
                "b1(t) = (a.A/T)*sinc(kx(t).dx/2)*sinc(ky(t).dy/2)\n"
                "        * exp(i kx(t).x0) * exp(i ky(t).y0) * f(t)\n"
                "%s\n",
                SPIRAL_FORMULAS);
    if (!ask_centred_sinc(&p) || !ask({{"x0    : ", &p.x0}, {"y0    : ", &p.y0}}))
        return false;
    compute_2d_sinc_offcentre(ap, h, p.a, p.A, p.B, p.n, p.dx, p.dy, p.x0, p.y0, xb, yb);
    return true;
}

void ampulseproc3(int *ap, double *h, double *xb, double *yb)
{
    double a, A, B, n;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf("bx(t) = (a.A/T)*exp(-(B*(1-t/T))^2)*sqrt(f(t))\n"
                "With : f(t) = ((2*pi*n(1-(t/T))^2)+1\n\n");
    if (ask({{"a   : ", &a}, {"A   : ", &A}, {"B   : ", &B}, {"n   : ", &n}}))
        gauss_spiral_shape(*ap, *h, a, A, B, n, xb, yb);
}

void ampulseproc4(int *ap, double *h, double *xb, double *yb)
{
    Sinc2D p;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf("bx(t) = (a.A/T)*sinc(kx(t).dx/2)*sinc(ky(t).dy/2).f(t)\n%s", SPIRAL_FORMULAS);
    if (ask_centred_sinc(&p))
        sinc_spiral_shape(*ap, *h, p.a, p.A, p.B, p.n, p.dx, p.dy, xb, yb);
}

void fmpulseproc4(int *ap, double *h, double *xb, double *yb)
{
    if (h && usable(ap, xb, yb))
        define_offcentre_sinc(*ap, *h, xb, yb);
}

// ---- sums of spirals ----

static const char SUM_BANNER[] = "*************************************************************\n"
                                 "** A sum of 2D sinc pulses which excite rectangular areas   **\n"
                                 "** with shifted centres from (0,0) to (x0,y0)               **\n";
static const char SUM_BANNER_FILE[] =
    "** using pulse parameters read from a text file             **\n";
static const char SUM_BANNER_END[] =
    "*************************************************************\n\n";

// The sum is zero then.
static void report_no_memory(void)
{
    std::fprintf(stderr, "2D pulses: not enough memory\n");
}

static bool another_2d_pulse(void)
{
    std::printf("    1. Add new 2D pulse\n    2. Exit\n");
    return ask_choice("Your choice [1,2] : ") == 1;
}

void fmpulseproc5(int *ap, double *h, double *xb, double *yb)
{
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf("%s%s", SUM_BANNER, SUM_BANNER_END);
    std::fill_n(xb, *ap, 0.0);
    std::fill_n(yb, *ap, 0.0);
    const size_t samples = static_cast<size_t>(*ap);
    const std::unique_ptr<double[]> x(new (std::nothrow) double[samples]);
    const std::unique_ptr<double[]> y(new (std::nothrow) double[samples]);
    if (!x || !y)
        report_no_memory();
    while (x && y && another_2d_pulse()) {
        if (define_offcentre_sinc(*ap, *h, x.get(), y.get())) {
            add_samples(*ap, x.get(), xb);
            add_samples(*ap, y.get(), yb);
        }
    }
}

// Null after a message.
static FilePtr open_parameter_file(void)
{
    char name[256];
    std::printf("Pulse parameter file name: ");
    if (!ConsoleReadName(name, sizeof name, "fopen(parameter file)"))
        return nullptr;
    std::putchar('\n');
    FilePtr in = open_input(name);
    if (!in)
        std::perror("fopen(parameter file)");
    return in;
}

void fmpulseproc6(int *ap, double *h, double *xb, double *yb)
{
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf("%s%s%s", SUM_BANNER, SUM_BANNER_FILE, SUM_BANNER_END);
    std::fill_n(xb, *ap, 0.0);
    std::fill_n(yb, *ap, 0.0);
    const FilePtr in = open_parameter_file();
    if (in && !add_2d_sincs_from_file(in.get(), *ap, *h, xb, yb))
        report_no_memory();
}

// ---- hyperbolic secant ----

static const char SECH_FORMULAS[] = " x  : w*sech(b*t)*cos(2*pi*u*ln(sech(bt)))\n"
                                    " y  : w*sech(b*t)*sin(2*pi*u*ln(sech(bt)))\n";

namespace
{

struct Sech {
    double phase, w_hz, b, u; // phase in rad
};

} // namespace

static const char *const SECH_PROMPTS[] = {
    PHASE_PROMPT,
    " w  [Hz]                  : ",
    " b (damping constant)     : ",
    " u (selectivity constant) : ",
};
static const char *const SECH_TWICE_PROMPTS[] = {
    " pulse-phase (in degrees)  : ",
    " w                    [Hz] : ",
    " b (damping constant)      : ",
    " u (selectivity constant)  : ",
};

static bool ask_sech(const char *const (&prompts)[4], Sech *p)
{
    double degrees;
    if (!ask({{prompts[0], &degrees},
              {prompts[1], &p->w_hz},
              {prompts[2], &p->b},
              {prompts[3], &p->u}}))
        return false;
    p->phase = radians(degrees);
    return true;
}

void fmpulseproc1(int *ap, double *h, double *xb, double *yb)
{
    Sech p;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf(" 180 degree FM sech-tanh pulse (-T,T) :\n\n%s", SECH_FORMULAS);
    if (ask_sech(SECH_PROMPTS, &p))
        sech_full_shape(*ap, *h, p.phase, p.w_hz, p.b, p.u, xb, yb);
}

void fmpulseproc2(int *ap, double *h, double *xb, double *yb)
{
    Sech p;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf(" 90 degree FM sech-tanh pulse (-T,0) :\n\n"
                " x : w*sech(b*t)*cos(2*pi*u*ln(sech(bt)))\n"
                " y : w*sech(b*t)*sin(2*pi*u*ln(sech(bt)))\n");
    if (ask_sech(SECH_PROMPTS, &p))
        sech_half_shape(*ap, *h, p.phase, p.w_hz, p.b, p.u, xb, yb);
}

void fmpulseproc3(int *ap, double *h, double *xb, double *yb)
{
    Sech p;
    if (!h || !usable(ap, xb, yb))
        return;
    std::printf(" 360 degree FM sech-tanh pulse 2*(-T,T) :\n\n%s\n", SECH_FORMULAS);
    if (ask_sech(SECH_TWICE_PROMPTS, &p))
        sech_double_shape(*ap, *h, p.phase, p.w_hz, p.b, p.u, xb, yb);
}
