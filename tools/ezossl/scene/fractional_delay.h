// SPDX-License-Identifier: MIT
// fractional_delay.h - samples at places between the samples.

#ifndef EZOSSL_TOOL_FRACTIONAL_DELAY_H
#define EZOSSL_TOOL_FRACTIONAL_DELAY_H

#include <vector>

// The number of samples to either side that the interpolation uses.
constexpr int kInterpolationReach = 32;

// The signal at a place, counted in samples; it is 0 beyond its ends.
double value_at(const std::vector<float> &samples, double place);

// Adds an impulse at a place, counted in samples; parts beyond the ends are cut off.
void add_impulse(std::vector<float> &samples, double place, double amplitude);

#endif
