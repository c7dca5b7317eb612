// SPDX-License-Identifier: MIT
// sample_format.h - samples as numbers of full scale 1 and as 16-bit integers.

#ifndef EZOSSL_TOOL_SAMPLE_FORMAT_H
#define EZOSSL_TOOL_SAMPLE_FORMAT_H

#include <cstddef>
#include <cstdint>

constexpr double kFullScale = 32768.0; // steps of 16 bits

// Rounds to the nearest 16-bit value, and clamps samples beyond full scale. Returns how many were
// clamped.
size_t to_int16(const float *from, int16_t *to, size_t count);

// Exact.
void to_float(const int16_t *from, float *to, size_t count);

#endif
