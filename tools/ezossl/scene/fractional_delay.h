// SPDX-License-Identifier: MIT
// fractional_delay.h - samples at places between the samples.

#ifndef EZOSSL_TOOL_FRACTIONAL_DELAY_H
#define EZOSSL_TOOL_FRACTIONAL_DELAY_H

#include <vector>

// The interpolation reaches so many samples to either side.
constexpr int kInterpolationReach = 32;

// The signal at a place counted in samples; beyond its ends it is 0.
double value_at(const std::vector<float> &samples, double place);

// Adds an impulse at a place counted in samples, as far as it lies within.
void add_impulse(std::vector<float> &samples, double place, double amplitude);

#endif
