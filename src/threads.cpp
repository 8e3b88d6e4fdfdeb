#include "threads.h"

#include <algorithm>
#include <cstdlib>

static const double WORTH_STARTING = 1e6;
static const int64_t MOST = 256;

static int64_t most_threads(void)
{
    const char *text = std::getenv("OMP_NUM_THREADS");
    const long wanted = text ? std::strtol(text, nullptr, 10) : 0;
    const int64_t most = wanted > 0 ? wanted : (int64_t)std::thread::hardware_concurrency();
    return std::clamp<int64_t>(most, 1, MOST);
}

int threads_for(double products, int64_t pieces)
{
    return products < WORTH_STARTING ? 1 : (int)std::clamp<int64_t>(pieces, 1, most_threads());
}
