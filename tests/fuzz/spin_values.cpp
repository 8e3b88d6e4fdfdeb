// spin_values - the numbers of a spin system from an open text file, in the order in which the
// dialogs ask for them. Whatever the file holds, the state stays one that the engine can take.
#include "fuzz_input.h"

#include "binaryfilehandling.h"
#include "zan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzInput input(data, size);
    fuzz_folder();
    fuzz_restore_runtime();
    fuzz_write("input", input.rest);
    const FilePtr in{std::fopen("input", "r")};
    FUZZ_REQUIRE(in != nullptr);
    NonIntIspins(in.get());
    FUZZ_REQUIRE(rt.Nspins >= 1 && rt.Nspins <= ZAN_MAX_SPINS);
    if (rt.n <= 32 || rt.n > ZAN_MAX_STATES) { // larger systems only take longer
        NonIntMakeBoltzmann(in.get());
        NonIntMakeZeeman(in.get());
        NonIntSpinSpinCoupling(in.get());
    }
    return 0;
}
