// zan.cpp - the runtime state and its start-up: the front door of the engine.
//
// The other rooms: zan_hamiltonians (operators of the spin system), zan_waveforms (sector
// files), zan_propagation (density matrices through one sector), zan_remarks (what sectors
// announce), zan_sequences (all sectors), zan_operators (expressions), zan_profiles (tables from
// result files), zan_runs (which driver runs), and the dialogs and menus.

#include "zan.h"

#include <initializer_list>

ZanRuntime rt;

const char *const zan_version = "ZAN engine 0.1";

static int smoke_check_mode;

void ZAN_SetSmokeCheckMode(int enabled)
{
    smoke_check_mode = enabled != 0;
}

int ZAN_GetSmokeCheckMode(void)
{
    return smoke_check_mode;
}

const char *SectorTypeLabel(int type)
{
    static const char *const labels[] = {
        "<unset>",
        "hard pulse",
        "AM pulse",
        "FM / adiabatic pulse",
        "pulse file Bx/By",
        "pulse file Bx/Bz",
        "waiting time / free precession",
    };
    return type >= 0 && type <= 6 ? labels[type] : "<unknown>";
}

const char *SequenceTypeLabel(int type)
{
    static const char *const labels[] = {"<unset>", "spatial resolved", "1D/2D NMR"};
    return type >= 0 && type <= 2 ? labels[type] : "<unknown>";
}

void init(void)
{
    rt.spinsystemdefined = rt.rfpulsedefined = rt.offsetsdefined = 0;
    rt.x0_s = rt.y0_s = rt.z0_s = 0.0;
    rt.dx_s = rt.dy_s = rt.dz_s = 0.0;
    rt.ndx = rt.ndy = rt.ndz = 1;
    rt.gs = 0.0;
    rt.ndw = 1;
    rt.calc = 0;
    rt.pulseflag = 2;
    for (CMatrix *m :
         {&rt.densmat, &rt.Izee, &rt.Icoup, &rt.Izgrad, &rt.Ixtot, &rt.Iytot, &rt.Iztot, &rt.Istat})
        CMatZero(rt.n, m);
}

void TotalStartUp(void)
{
    init();
}
