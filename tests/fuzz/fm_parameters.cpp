// fm_parameters - the parameter file of a sum of two-dimensional pulses: it ends with the first
// record that is incomplete, whatever stands behind it.
#include "fuzz_input.h"

#include "binaryfilehandling.h"
#include "rfpulselib.h"

#include <cmath>
#include <cstring>
#include <vector>

// x and y behind it.
static std::vector<double> pulse_of(const char *name, int samples, bool *good)
{
    const size_t count = static_cast<size_t>(samples);
    std::vector<double> x(count), y(count);
    const FilePtr in{std::fopen(name, "r")};
    FUZZ_REQUIRE(in != nullptr);
    *good = add_2d_sincs_from_file(in.get(), samples, 1e-5, x.data(), y.data());
    x.insert(x.end(), y.begin(), y.end());
    return x;
}

static bool same_samples(const std::vector<double> &a, const std::vector<double> &b)
{
    for (size_t k = 0; k < a.size(); k++)
        if (a[k] != b[k] && !(std::isnan(a[k]) && std::isnan(b[k])))
            return false;
    return a.size() == b.size();
}

// Every number has a digit, or an n as in inf and nan.
static bool may_hold_a_record(const std::string &text)
{
    size_t signs = 0;
    for (const char c : text)
        signs += std::strchr("0123456789nN", c) != nullptr ? 1 : 0;
    return signs >= 8;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_folder();
    const int samples = input.byte_below(17);
    const std::string text(input.rest);
    bool good = false, again = false;
    fuzz_write("input", text);
    const std::vector<double> pulse = pulse_of("input", samples, &good);
    fuzz_write("input", text + " end 1 2 3 4 5 6 7 8");
    const std::vector<double> ended = pulse_of("input", samples, &again);
    FUZZ_REQUIRE(good && again);
    FUZZ_REQUIRE(same_samples(pulse, ended));
    if (!may_hold_a_record(text))
        FUZZ_REQUIRE(same_samples(pulse, std::vector<double>(pulse.size())));
    return 0;
}
