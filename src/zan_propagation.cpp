// zan_propagation.cpp - every density matrix of "dm.bin" through one sector.
//
// The sector at hand stands in the runtime state (zan_sequences or a pulse menu put it there);
// propagatorlib does the numbers. The matrices stream through in batches: the next generation
// grows in "store" and replaces "dm.bin" only when it is complete, so an interrupted run leaves
// the last finished sector. Memory stays bounded whatever the grid.

#include "zan.h"

#include "binaryfilehandling.h"
#include "consoleutil.h"
#include "platformlib.h"
#include "propagatorlib.h"
#include "zan_voxels.h"

#include <cerrno>
#include <new>

static const int64_t BATCH_BYTES = 4 << 20; // density matrices read at a time
static const int64_t MAX_BATCH = 4096;

// ------------------------------------------------------------------ generations of dm.bin

namespace
{

enum WriteResult { WRITTEN, NOT_OPENED, NO_HEADER, NO_DATA };

} // namespace

// A spin system, and no more matrices than the header of a file can count. False after a message.
static bool can_be_propagated(const char *who, int64_t matrices)
{
    if (rt.n >= 1 && matrices >= 1 && matrices <= INT32_MAX)
        return true;
    std::printf("%s: cannot propagate n=%d states, %lld matrices\n", who, rt.n,
                (long long)matrices);
    return false;
}

namespace
{

// What is left of a "store" of ours that did not become "dm.bin" goes, once it is closed.
struct StoreRemover {
    bool opened = false;

    ~StoreRemover()
    {
        const int error = errno;
        if (opened)
            plat_remove_file("store");
        errno = error;
    }
};

} // namespace

static FilePtr open_store(StoreRemover *remover)
{
    FilePtr store{std::fopen("store", "wb")};
    remover->opened = store != nullptr;
    return store;
}

// The finished "store" becomes "dm.bin".
static bool close_and_replace(FilePtr store)
{
    const bool complete = std::fflush(store.get()) == 0 && !std::ferror(store.get());
    if (std::fclose(store.release()) != 0 || !complete)
        return false;
    return plat_replace_file("store", "dm.bin");
}

// A new "dm.bin" that holds mat count times.
static WriteResult write_copies(int type, int num1, int count, const CMatrix *mat)
{
    StoreRemover at_the_end;
    FilePtr store = open_store(&at_the_end);
    if (!store)
        return NOT_OPENED;
    WriteResult result = WRITTEN;
    if (WriteBinFileHeader_status(store.get(), type, num1, count) != BINFH_OK)
        result = NO_HEADER;
    const std::unique_ptr<Complex[]> packed{new (std::nothrow) Complex[(size_t)(rt.n * rt.n)]};
    if (packed)
        pack_matrix(rt.n, mat, packed.get());
    else
        result = NO_DATA;
    for (int c = 0; c < count && result == WRITTEN; c++)
        if (!write_packed_matrices(store.get(), rt.n, 1, packed.get()))
            result = NO_DATA;
    if (result == WRITTEN && !close_and_replace(std::move(store)))
        result = NO_DATA;
    return result;
}

static CMatrix equilibrium; // while the first generation is propagated

// The first generation: the equilibrium state in every voxel or row. False after a message.
static bool initialise_dm_bin(const char *who)
{
    switch (write_copies(0, rt.n, rt.ndw, &rt.densmat)) {
    case NOT_OPENED:
        std::perror("dm.bin");
        return false;
    case NO_HEADER:
        std::printf("%s: failed to write dm.bin header\n", who);
        return false;
    case NO_DATA:
        std::printf("%s: write error while initializing dm.bin\n", who);
        return false;
    case WRITTEN:
        break;
    }
    CopyCMatrix(rt.n, &rt.densmat, &equilibrium);
    CMatZero(rt.n, &rt.densmat);
    return true;
}

// After a first sector that failed the next one is the first.
static void restore_equilibrium(void)
{
    if (rt.calc == 0)
        CopyCMatrix(rt.n, &equilibrium, &rt.densmat);
}

// dm.bin, positioned at the first of count matrices; empty after a message.
static FilePtr open_dm_bin(const char *who, int count)
{
    FilePtr in = open_input("dm.bin");
    if (!in) {
        std::perror("dm.bin");
        return in;
    }
    int32_t type, n, ndw;
    if (ReadBinFileHeader_status(in.get(), &type, &n, &ndw) != BINFH_OK) {
        std::printf("%s: failed to read dm.bin header\n", who);
        in.reset();
    } else if (type != 0 || n != rt.n || ndw != count) {
        std::printf("%s: dm.bin dimensions mismatch (type=%d n=%d ndw=%d), expected (0 %d %d)\n",
                    who, type, n, ndw, rt.n, count);
        in.reset();
    }
    return in;
}

// ------------------------------------------------------------------ batches of matrices

// Small enough for the progress to show: at most a hundredth of all matrices.
static bool make_batch(Batch *b, int total)
{
    b->size = (int64_t)rt.n * rt.n;
    int64_t fits = BATCH_BYTES / (b->size * (int64_t)sizeof(Complex));
    const int64_t visible = total / 100;
    fits = fits > visible ? visible : fits;
    fits = fits > MAX_BATCH ? MAX_BATCH : fits;
    b->capacity = (int)(fits < 1 ? 1 : fits);
    b->rho.reset(new (std::nothrow) Complex[(size_t)(b->size * b->capacity)]);
    b->which.reset(new (std::nothrow) int[(size_t)b->capacity]);
    return b->rho && b->which;
}

// densmat holds the matrix that was propagated last.
static void keep_last(const Batch &b)
{
    if (b.count > 0)
        unpack_matrix(rt.n, b.rho.get() + (b.count - 1) * b.size, &rt.densmat);
}

static bool read_batch(FILE *in, int wanted, Batch *b)
{
    b->count = read_packed_matrices(in, rt.n, wanted, b->rho.get());
    return b->count == wanted;
}

// ------------------------------------------------------------------ spatial sectors

static bool any_nonzero(const double *samples, int count)
{
    for (int k = 0; k < count; k++)
        if (samples[k] != 0.0)
            return true;
    return false;
}

static Axes axes_with_gradients(void)
{
    return {any_nonzero(rt.gx, rt.ap), any_nonzero(rt.gy, rt.ap), any_nonzero(rt.gz, rt.ap)};
}

static VoxelGrid grid_at_hand(void)
{
    return {rt.ndx, rt.ndy, rt.ndz, rt.x0_s, rt.y0_s, rt.z0_s, rt.dx_s, rt.dy_s, rt.dz_s};
}

static void print_progress(int64_t voxel, int64_t voxels)
{
    const int64_t step = voxels > 100 ? voxels / 100 : 1;
    if (ZAN_GetSmokeCheckMode() || (voxel != 1 && voxel != voxels && voxel % step != 0))
        return;
    const int64_t whole = rt.spatial_progress_sector_count * voxels;
    const int64_t done = voxel + voxels * (rt.spatial_progress_sector - 1);
    std::printf("[ZAN_PROGRESS] sector=%d sectors=%d voxel=%d voxels=%d percent=%d\n",
                rt.spatial_progress_sector, rt.spatial_progress_sector_count, (int)voxel,
                (int)voxels, whole > 0 ? (int)(done * 100 / whole) : 100);
    std::fflush(stdout);
}

static const char *const STORE_WRITE_ERROR = "Rotate3D: write error to store";

// All voxels from in to store. Null, or what went wrong.
static const char *propagate_voxels(FILE *in, FILE *store, const SectorField &field, int voxels)
{
    Batch b;
    PropagatorCache cache;
    HistoryCache histories;
    const VoxelGrid grid = grid_at_hand();
    const Axes axes = axes_with_gradients();
    if (!make_batch(&b, voxels) || !make_propagator_cache(grid, axes, b, &cache))
        return "Rotate3D: not enough memory";
    rt.dm_along_x = rt.dm_along_x || axes.x;
    rt.dm_along_y = rt.dm_along_y || axes.y;
    rt.dm_along_z = rt.dm_along_z || axes.z;
    make_history_cache(grid, {rt.dm_along_x, rt.dm_along_y, rt.dm_along_z}, b, &histories);
    for (int64_t first = 0; first < voxels; first += b.count) {
        const int64_t left = voxels - first;
        const bool whole = read_batch(in, (int)(left < b.capacity ? left : b.capacity), &b);
        find_propagators(field, first, &cache, &b);
        find_histories(first, &histories, &b);
        RotateDensities(rt.n, cache.propagators.get(), b.which.get(), b.count, b.rho.get());
        share_histories(&histories, &b);
        keep_last(b);
        if (!write_packed_matrices(store, rt.n, b.count, b.rho.get()))
            return STORE_WRITE_ERROR;
        for (int v = 0; v < b.count; v++)
            print_progress(first + v + 1, voxels);
        if (!whole)
            return "Rotate3D: read error from dm.bin";
    }
    return nullptr;
}

static SectorField field_at_hand(const CMatrix *H0)
{
    SectorField field = {};
    field.n = rt.n;
    field.H0 = H0;
    field.Izgrad = &rt.Izgrad;
    field.Ixtot = &rt.Ixtot;
    field.Iytot = &rt.Iytot;
    field.ap = rt.ap;
    field.xb = rt.xb;
    field.yb = rt.yb;
    field.spins = rt.Nspins;
    field.twice_spin = rt.Ilist + 1;
    return field;
}

static void finish_sector(void)
{
    rt.calc++;
    if (!ZAN_GetSmokeCheckMode())
        std::printf("\n");
}

static void rotate_3d_through_store(FilePtr in, int voxels)
{
    static CMatrix H0;
    StoreRemover at_the_end;
    FilePtr store = open_store(&at_the_end);
    if (!store) {
        std::perror("store");
        ConsolePause();
        return;
    }
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H0);
    SectorField field = field_at_hand(&H0);
    field.tau = rt.h;
    field.gx = rt.gx;
    field.gy = rt.gy;
    field.gz = rt.gz;
    field.offset = rt.statoff_s;
    const std::shared_ptr<const SectorSystem> system = PrepareSectorSystem(field);
    field.system = system.get();
    field.low = {rt.x0_s, rt.y0_s, rt.z0_s};
    field.high = voxel_position(grid_at_hand(), voxels - 1);

    const char *failure = "Rotate3D: failed to write store header";
    if (WriteBinFileHeader_status(store.get(), 0, rt.n, voxels) == BINFH_OK)
        try {
            failure = propagate_voxels(in.get(), store.get(), field, voxels);
        } catch (const std::bad_alloc &) {
            failure = "Rotate3D: not enough memory";
        }
    in.reset();
    if (!failure && std::fflush(store.get()) != 0)
        failure = STORE_WRITE_ERROR;
    if (failure) {
        std::puts(failure);
        if (failure != STORE_WRITE_ERROR)
            ConsolePause();
        return;
    }
    if (!close_and_replace(std::move(store))) {
        std::perror("rename(store->dm.bin)");
        return;
    }
    finish_sector();
}

void Rotate3D(void)
{
    const int64_t whole_grid = (int64_t)rt.ndx * rt.ndy * rt.ndz;
    if (rt.pulseflag == 2) {
        std::puts(">>>> NO RF-PULSE DEFINED ERROR <<<<");
        ConsolePause();
        return;
    }
    if (!can_be_propagated("Rotate3D", whole_grid)) {
        ConsolePause();
        return;
    }
    const int voxels = (int)whole_grid;
    if (rt.calc == 0) {
        rt.ndw = voxels;
        rt.dm_along_x = rt.dm_along_y = rt.dm_along_z = false;
        if (!initialise_dm_bin("Rotate3D")) {
            ConsolePause();
            return;
        }
    }
    FilePtr in = open_dm_bin("Rotate3D", voxels);
    if (in)
        rotate_3d_through_store(std::move(in), voxels);
    else
        ConsolePause();
    restore_equilibrium();
}

// ------------------------------------------------------------------ 1D/2D sectors

// The first row of a dm.bin with another number of rows becomes every row of a new one. A file
// of another kind is left for the caller to refuse; a cut one ends the sector without a word.
static bool resize_dm_bin(void)
{
    FilePtr old = open_input("dm.bin");
    int32_t type, n, rows;
    if (!old || ReadBinFileHeader_status(old.get(), &type, &n, &rows) != BINFH_OK || type != 0 ||
        n != rt.n || rows == rt.ndw)
        return true;
    if (!read_density_matrix(old.get(), rt.n, rt.n, &rt.densmat))
        return false;
    old.reset();
    switch (write_copies(type, n, rt.ndw, &rt.densmat)) {
    case NOT_OPENED:
        std::perror("store");
        return false;
    case NO_HEADER:
    case NO_DATA:
        std::puts("Rotate2D: write error while resizing dm.bin");
        return false;
    case WRITTEN:
        break;
    }
    return true;
}

// Every row its own propagator: row w (from 1) evolves for w - 1 steps, row 1 not at all.
static void find_evolution_propagators(SectorField field, double dt, int first, const Batch &b,
                                       Complex *propagators)
{
    const Position origin = {0.0, 0.0, 0.0};
    for (int v = 0; v < b.count; v++) {
        field.tau = (first + v) * dt;
        const bool evolves = field.tau != 0.0;
        if (evolves)
            SectorPropagators(field, &origin, 1, propagators + v * b.size);
        b.which.get()[v] = evolves ? v : -1;
    }
}

static void find_normal_propagator(SectorField field, double dt, const Batch &b,
                                   Complex *propagator)
{
    const Position origin = {0.0, 0.0, 0.0};
    field.tau = dt;
    SectorPropagators(field, &origin, 1, propagator);
    for (int v = 0; v < b.capacity; v++)
        b.which.get()[v] = 0;
}

static const char *propagate_rows(FILE *in, FILE *store, const SectorField &field, bool evolves,
                                  double dt)
{
    Batch b;
    if (!make_batch(&b, rt.ndw))
        return "Rotate2D: not enough memory";
    const int64_t kept = evolves ? b.capacity : 1;
    const std::unique_ptr<Complex[]> propagators{new (std::nothrow)
                                                     Complex[(size_t)(b.size * kept)]};
    if (!propagators)
        return "Rotate2D: not enough memory";
    if (!evolves)
        find_normal_propagator(field, dt, b, propagators.get());
    for (int first = 0; first < rt.ndw; first += b.count) {
        const int left = rt.ndw - first;
        const bool whole = read_batch(in, left < b.capacity ? left : b.capacity, &b);
        if (evolves)
            find_evolution_propagators(field, dt, first, b, propagators.get());
        RotateDensities(rt.n, propagators.get(), b.which.get(), b.count, b.rho.get());
        keep_last(b);
        if (!write_packed_matrices(store, rt.n, b.count, b.rho.get()))
            return "Rotate2D: write error to store";
        for (int v = 0; v < b.count && !ZAN_GetSmokeCheckMode(); v++)
            std::printf("*");
        std::fflush(stdout);
        if (!whole)
            return "Rotate2D: read error from dm.bin";
    }
    return nullptr;
}

static void rotate_2d_through_store(FilePtr in, bool evolves, double dt, double offset)
{
    static CMatrix H0;
    StoreRemover at_the_end;
    FilePtr store = open_store(&at_the_end);
    if (!store) {
        std::perror("dm.bin"); // names the file that cannot get its next generation
        return;
    }
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H0);
    SectorField field = field_at_hand(&H0);
    field.offset = offset;
    const std::shared_ptr<const SectorSystem> system = PrepareSectorSystem(field);
    field.system = system.get();

    const char *failure = "Rotate2D: write error to store";
    if (WriteBinFileHeader_status(store.get(), 0, rt.n, rt.ndw) == BINFH_OK)
        failure = propagate_rows(in.get(), store.get(), field, evolves, dt);
    in.reset();
    if (!failure && !close_and_replace(std::move(store)))
        failure = "Rotate2D: failed to copy store to dm.bin";
    if (failure) {
        std::puts(failure);
        return;
    }
    finish_sector();
}

void Rotate2D_internal(int sector_type, double dt, double offset)
{
    if (rt.pulseflag == 2) {
        std::puts(">>>> NO RF-PULSE DEFINED ERROR <<<<");
        return;
    }
    if (!can_be_propagated("Rotate2D", rt.ndw))
        return;
    if (rt.calc == 0 ? !initialise_dm_bin("Rotate2D") : !resize_dm_bin())
        return;
    FilePtr in = open_dm_bin("Rotate2D", rt.ndw);
    if (in)
        rotate_2d_through_store(std::move(in), sector_type == 2, dt, offset);
    restore_equilibrium();
}
