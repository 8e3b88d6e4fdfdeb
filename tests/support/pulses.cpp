// pulses.cpp - sample arrays for tests.
#include "pulses.h"

#include <algorithm>

Pulse::Pulse(int samples, double step)
    : ap(samples), h(step), x(static_cast<size_t>(samples) + 1, UNTOUCHED), y(x)
{
}

static bool all_are(double value, const std::vector<double> &samples, int from, size_t to)
{
    return std::all_of(samples.begin() + from, samples.begin() + static_cast<long>(to),
                       [value](double sample) { return sample == value; });
}

bool Pulse::untouched_from(int first) const
{
    return all_are(UNTOUCHED, x, first, x.size()) && all_are(UNTOUCHED, y, first, y.size());
}

bool Pulse::all_zero() const
{
    return all_are(0.0, x, 0, x.size() - 1) && all_are(0.0, y, 0, y.size() - 1) &&
           x.back() == UNTOUCHED && y.back() == UNTOUCHED;
}
