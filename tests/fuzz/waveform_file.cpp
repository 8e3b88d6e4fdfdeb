// waveform_file - a waveform file of any length for a sector of any count: read exactly when it
// is long enough, and then byte for byte; and the pulse as Fourier coefficients.
#include "fuzz_input.h"

#include "rfpulseparam.h"
#include "zan.h"
#include "zanoptseq.h"

#include <cmath>
#include <cstring>
#include <vector>

static bool holds_blocks(std::string_view bytes, int n, size_t blocks)
{
    return n >= 0 && n <= ZAN_MAX_RF_POINTS && bytes.size() >= 8 * blocks * static_cast<size_t>(n);
}

static bool is_block(std::string_view bytes, int n, size_t block, const double *samples)
{
    const size_t length = 8 * static_cast<size_t>(n);
    return std::memcmp(bytes.data() + block * length, samples, length) == 0;
}

static void require_sector_readers(std::string_view bytes, int n)
{
    const bool spatial = holds_blocks(bytes, n, 5), flat = holds_blocks(bytes, n, 2);
    FUZZ_REQUIRE(Load2DSectorPulseFile("input", n) == (flat ? 1 : 0));
    if (flat)
        FUZZ_REQUIRE(is_block(bytes, n, 0, rt.xb) && is_block(bytes, n, 1, rt.yb));
    FUZZ_REQUIRE(LoadSpatialSectorPulseFile("input", n) == (spatial ? 1 : 0));
    if (spatial)
        FUZZ_REQUIRE(is_block(bytes, n, 0, rt.xb) && is_block(bytes, n, 1, rt.yb) &&
                     is_block(bytes, n, 2, rt.gx) && is_block(bytes, n, 3, rt.gy) &&
                     is_block(bytes, n, 4, rt.gz));
}

// Arrays with no room behind the samples.
static void require_optimizer_reader(std::string_view bytes, int n)
{
    const size_t room = n < 0 ? 0 : static_cast<size_t>(n);
    std::vector<double> x(room), y(room);
    const int read = zanopt_load_waveform_xy("input", n, x.data(), y.data());
    FUZZ_REQUIRE(read == (n >= 1 && holds_blocks(bytes, n, 2) ? 1 : 0));
    if (read)
        FUZZ_REQUIRE(is_block(bytes, n, 0, x.data()) && is_block(bytes, n, 1, y.data()));
}

static bool samples_are_moderate(const double *samples, int n)
{
    for (int i = 0; i < n; i++)
        if (!(std::fabs(samples[i]) < 1e100))
            return false;
    return true;
}

// From the pulse, into one of these modes alone, and out of it again.
static void require_coefficients(int n, int npar)
{
    if (!samples_are_moderate(rt.xb, n) || !samples_are_moderate(rt.yb, n))
        return;
    const size_t count = static_cast<size_t>(npar), samples = static_cast<size_t>(n);
    std::vector<double> par(count), again(count), x(samples), y(samples);
    RFPulseToParArray(npar, n, rt.xb, rt.yb, par.data());
    ParArrayToRFPulseLowMode(npar, n, par.data(), x.data(), y.data());
    RFPulseToParArray(npar, n, x.data(), y.data(), again.data());
    for (size_t k = 0; k < count; k++)
        FUZZ_REQUIRE(std::isfinite(par[k]) && std::isfinite(again[k]));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_folder();
    fuzz_restore_runtime();
    const int n = (256 * input.byte() + input.byte()) % 9000 - 1;
    const int npar = 4 * input.byte_below(41);
    const size_t blocks = static_cast<size_t>(input.byte_below(6));
    const std::string bytes =
        fuzz_repeated(input.rest, n > 0 ? 8 * blocks * static_cast<size_t>(n) : 0);
    fuzz_write("input", bytes);
    require_sector_readers(bytes, n);
    require_optimizer_reader(bytes, n);
    if (holds_blocks(bytes, n, 2))
        require_coefficients(n, npar);
    return 0;
}
