// SPDX-License-Identifier: MIT
// SslCoreReduce.h - reductions and rearrangements of float arrays that the delay estimation uses.
//
// Inline, so that the compiler drops results nobody reads. Sums run in index order, which is part
// of the result.

#ifndef SSL_CORE_REDUCE_H
#define SSL_CORE_REDUCE_H

#include <cmath>
#include <cstdint>
#include <cstring>

// First index of the largest or the smallest value: what a scan from index 0 with a strict
// comparison finds. Pass one finds the value in eight branch-free lanes, pass two its first index.
template <bool kLargest>
inline uint32_t array_first_extreme(const float *x, uint32_t n)
{
    constexpr uint32_t kLanes = 8;
    const auto better = [](float a, float b) { return kLargest ? a > b : a < b; };

    float lane[kLanes];
    for (float &extreme : lane)
        extreme = x[0];
    uint32_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (uint32_t k = 0; k < kLanes; ++k)
            lane[k] = better(x[i + k], lane[k]) ? x[i + k] : lane[k];
    for (; i < n; ++i)
        lane[0] = better(x[i], lane[0]) ? x[i] : lane[0];
    for (const float extreme : lane)
        lane[0] = better(extreme, lane[0]) ? extreme : lane[0];

    for (i = 0; i < n; ++i)
        if (x[i] == lane[0])
            return i;
    return 0; // x[0] is not a number: no comparison moves a scan away from it
}

inline uint32_t array_argmax(const float *x, uint32_t n)
{
    return array_first_extreme<true>(x, n);
}

inline uint32_t array_argmin(const float *x, uint32_t n)
{
    return array_first_extreme<false>(x, n);
}

inline float array_mean(const float *x, uint32_t n)
{
    float sum = 0.0f;
    for (uint32_t i = 0; i < n; ++i)
        sum += x[i];
    return sum / static_cast<float>(n);
}

// Root of the energy on the scale of 16-bit samples, over n.
inline float array_power(const float *x, uint32_t n)
{
    constexpr float kFullScaleSquared = 1073676288.0f; // 32767^2 as a float
    float sum = 0.0f;
    for (uint32_t i = 0; i < n; ++i)
        sum += x[i] * kFullScaleSquared * x[i];
    return static_cast<float>(std::sqrt(double{sum})) / static_cast<float>(n);
}

// Magnitudes of n_floats / 2 complex values: the squares in float, the root in double.
inline void complex_magnitude(const float *in, float *out, uint32_t n_floats)
{
    for (uint32_t k = 0; k < n_floats / 2; ++k) {
        const float square = in[2 * k] * in[2 * k] + in[2 * k + 1] * in[2 * k + 1];
        out[k] = static_cast<float>(std::sqrt(double{square}));
    }
}

// Puts the last n / 2 of 256 values before the first n / 2.
inline void rotate_half(const float *in, float *out, uint32_t n)
{
    const uint32_t half = n / 2;
    std::memcpy(out, in + 256 - half, half * sizeof(float));
    std::memcpy(out + half, in, half * sizeof(float));
}

// Share of the samples at which the sign changes to the next; a zero has no sign.
inline void ssl_zero_crossing_rate(const float *x, uint32_t n, float *rate)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i + 1 < n; ++i)
        if ((x[i] > 0.0f && x[i + 1] < 0.0f) || (x[i] < 0.0f && x[i + 1] > 0.0f))
            ++count;
    *rate = static_cast<float>(count) / static_cast<float>(n);
}

#endif
