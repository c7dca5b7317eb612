// SPDX-License-Identifier: MIT
// sample_format.cpp - scales, rounds and clamps.

#include "base/sample_format.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr auto kScale = static_cast<float>(kFullScale);
constexpr size_t kPiece = 512; // samples

int16_t rounded(float scaled)
{
    return static_cast<int16_t>(scaled + std::copysign(0.5f, scaled));
}

bool fits(float sample)
{
    return std::fabs(sample) < 1.0f - 0.5f / kScale;
}

// Compilers vectorise the two loops for samples that fit, but not the loop that clamps.
size_t convert(const float *from, int16_t *to, size_t count)
{
    if (std::count_if(from, from + count, fits) == static_cast<std::ptrdiff_t>(count)) {
        std::transform(from, from + count, to, [](float x) { return rounded(x * kScale); });
        return 0;
    }
    size_t clamped = 0;
    for (size_t i = 0; i < count; ++i) {
        const float scaled = from[i] * kScale;
        const float limited = std::min(std::max(scaled, -kScale), kScale - 1.0f);
        clamped += std::fabs(scaled - limited) > 1.0f; // +1 itself exceeds by one step: harmless
        to[i] = rounded(limited);
    }
    return clamped;
}

} // namespace

size_t to_int16(const float *from, int16_t *to, size_t count)
{
    size_t clamped = 0;
    for (size_t done = 0; done < count; done += kPiece)
        clamped += convert(from + done, to + done, std::min(kPiece, count - done));
    return clamped;
}

void to_float(const int16_t *from, float *to, size_t count)
{
    std::transform(from, from + count, to,
                   [](int16_t sample) { return static_cast<float>(sample) / kScale; });
}
