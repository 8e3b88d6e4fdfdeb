// zanmodel_refcheck_snapshot - the loaded model's values, put aside while the reference checks
// (zanmodel_refcheck.cpp) use the runtime state.
#include "zanmodel_refcheck.h"

#include <cstring>

// move(field of snap, field of the runtime state) for every field.
template <class Snapshot, class Move> static void for_each_field(Snapshot *snap, Move move)
{
    move(snap->Nspins, rt.Nspins);
    move(snap->n, rt.n);
    move(snap->Jexact, rt.Jexact);
    move(snap->Jcount, rt.Jcount);
    move(snap->sequencetype, rt.sequencetype);
    move(snap->nos, rt.nos);
    move(snap->ndx, rt.ndx);
    move(snap->ndy, rt.ndy);
    move(snap->ndz, rt.ndz);
    move(snap->systemset, rt.systemset);
    move(snap->offsetset, rt.offsetset);
    move(snap->sectorset, rt.sectorset);
    move(snap->spinsystemdefined, rt.spinsystemdefined);
    move(snap->rfpulsedefined, rt.rfpulsedefined);
    move(snap->offsetsdefined, rt.offsetsdefined);
    move(snap->calc, rt.calc);
    move(snap->pulseflag, rt.pulseflag);
    move(snap->ap, rt.ap);
    move(snap->ndw, rt.ndw);
    move(snap->quantnum, rt.quantnum);
    move(snap->relspinamp, rt.relspinamp);
    move(snap->resofreqs, rt.resofreqs);
    move(snap->jc, rt.jc);
    move(snap->couplings, rt.couplings);
    move(snap->sectype, rt.sectype);
    move(snap->noti, rt.noti);
    move(snap->nevo, rt.nevo);
    move(snap->sectdur, rt.sectdur);
    move(snap->statoff, rt.statoff);
    move(snap->x0, rt.x0);
    move(snap->y0, rt.y0);
    move(snap->z0, rt.z0);
    move(snap->dx, rt.dx);
    move(snap->dy, rt.dy);
    move(snap->dz, rt.dz);
    move(snap->resultflnm, rt.resultflnm);
    move(snap->fnames, rt.fnames);
    move(snap->remarks, rt.remarks);
    move(snap->zan_spin_subgroup_count, rt.zan_spin_subgroup_count);
    move(snap->zan_spin_subgroup_labels, rt.zan_spin_subgroup_labels);
    move(snap->zan_spin_subgroup_spin_count, rt.zan_spin_subgroup_spin_count);
    move(snap->zan_spin_subgroup_spins, rt.zan_spin_subgroup_spins);
    move(snap->zan_spin_subgroup_ppm_count, rt.zan_spin_subgroup_ppm_count);
    move(snap->zan_spin_subgroup_ppm, rt.zan_spin_subgroup_ppm);
    move(snap->zan_gui_b0_tesla, rt.zan_gui_b0_tesla);
    move(snap->zan_gui_receiver_carrier_ppm, rt.zan_gui_receiver_carrier_ppm);
}

template <class Field> static void copy_field(const Field &from, Field &to)
{
    std::memcpy(&to, &from, sizeof to);
}

void CaptureLegacySnapshot(ZANLegacySnapshot *snap)
{
    for_each_field(snap, [](auto &saved, const auto &live) { copy_field(live, saved); });
}

static void copy_back(const ZANLegacySnapshot *snap)
{
    for_each_field(snap, [](const auto &saved, auto &live) { copy_field(saved, live); });
}

void RestoreLegacySnapshot(const ZANLegacySnapshot *snap)
{
    copy_back(snap);
    if (rt.Nspins < 1 || !rt.systemset)
        return;
    ZAN_SetSmokeCheckMode(1);
    ZAN_RebuildSpinSystemFromPulseSequenceGlobals();
    ZAN_SetSmokeCheckMode(0);
    copy_back(snap); // the rebuild declares pulse and grid defined, whether they were or not
}
