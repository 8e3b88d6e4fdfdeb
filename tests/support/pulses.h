// pulses - sample arrays for tests of pulses and gradients.
#ifndef ZAN_TESTS_PULSES_H
#define ZAN_TESTS_PULSES_H

#include <vector>

constexpr double UNTOUCHED = 777.0; // what the samples hold before something is written

// A pulse with room for one sample more than it has, to see what is written beyond its end.
struct Pulse {
    int ap;
    double h; // s
    std::vector<double> x, y;

    explicit Pulse(int samples, double step = 1e-5);
    bool untouched_from(int first) const; // to the end, the extra sample included
    bool all_zero() const;                // all ap samples, and nothing beyond
};

#endif
