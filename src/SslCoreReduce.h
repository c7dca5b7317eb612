// SPDX-License-Identifier: MIT
// SslCoreReduce.h - reductions and rearrangements of float arrays that the delay estimation uses.
//
// Inline, so that what a frame computes and nobody reads costs nothing. Sums run in index order:
// their order is part of the result.

#ifndef SSL_CORE_REDUCE_H
#define SSL_CORE_REDUCE_H

#include <cmath>
#include <cstdint>
#include <cstring>

// First index of the largest value.
inline uint32_t array_argmax(const float *x, uint32_t n)
{
    uint32_t best = 0;
    float largest = x[0];
    for (uint32_t i = 1; i < n; ++i) {
        if (x[i] > largest) {
            largest = x[i];
            best = i;
        }
    }
    return best;
}

// First index of the smallest value.
inline uint32_t array_argmin(const float *x, uint32_t n)
{
    uint32_t best = 0;
    float smallest = x[0];
    for (uint32_t i = 1; i < n; ++i) {
        if (x[i] < smallest) {
            smallest = x[i];
            best = i;
        }
    }
    return best;
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
