// propagatorlib_system.cpp - see propagatorlib_system.h.

#include "propagatorlib_system.h"

static SystemPart make_part(const SparseSystem &sparse)
{
    return {sparse, diagonalise(sparse)};
}

static SectorSystem make_system(const SectorField &field)
{
    SectorSystem system = {};
    SparseSystem sparse;
    system.fits = make_sparse_system(field, &sparse);
    if (!system.fits)
        return system;
    system.whole = make_part(sparse);
    system.splits =
        field.spins > 0 && split_spin_system(sparse, field.spins, field.twice_spin, &system.split);
    if (system.splits)
        for (const SpinGroup &group : system.split.groups)
            for (const SpinBlock &block : group.blocks)
                system.parts.push_back(make_part(block.system));
    return system;
}

std::shared_ptr<const SectorSystem> PrepareSectorSystem(const SectorField &field)
{
    try {
        return std::make_shared<const SectorSystem>(make_system(field));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
