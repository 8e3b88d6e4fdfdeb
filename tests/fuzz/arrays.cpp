// arrays - text files of reals in both layouts: what is read comes back from a written file, and
// nothing is stored behind the array.
#include "fuzz_input.h"

#include "zandatafileio.h"

#include <cmath>
#include <vector>

// Written with 12 digits behind the point.
static bool same_values(const std::vector<double> &a, const std::vector<double> &b)
{
    for (size_t k = 0; k < a.size(); k++)
        if (a[k] != b[k] && !(std::isnan(a[k]) && std::isnan(b[k])) &&
            !(std::fabs(a[k] - b[k]) <= 1e-12 * std::fabs(a[k])) &&
            !(std::fabs(a[k]) > 1e308 && std::isinf(b[k])))
            return false;
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_folder();
    const size_t count = static_cast<size_t>(input.byte());
    fuzz_write("input", input.rest);
    std::vector<double> values(count), again(count);
    if (AsciiIn_status(count, values.data(), "input") == DATAIO_OK) {
        FUZZ_REQUIRE(AsciiOut_status(count, values.data(), "copy") == DATAIO_OK);
        FUZZ_REQUIRE(AsciiIn_status(count, again.data(), "copy") == DATAIO_OK);
        FUZZ_REQUIRE(same_values(values, again));
    }
    if (SGFileIn_status(count, values.data(), "input") == DATAIO_OK) {
        FUZZ_REQUIRE(SGFileOut_status(count, values.data(), "copy") == DATAIO_OK);
        FUZZ_REQUIRE(SGFileIn_status(count, again.data(), "copy") == DATAIO_OK);
        FUZZ_REQUIRE(same_values(values, again));
    }
    return 0;
}
