// SPDX-License-Identifier: MIT
// SslCoreReduce.h - reductions and rearrangements of float arrays that the delay estimation uses.
//
// Inline, so that the compiler drops results nobody reads. Sums run in index order, which is part
// of the result.

#ifndef SSL_CORE_REDUCE_H
#define SSL_CORE_REDUCE_H

#include "four_complex.h"

#include <cmath>
#include <cstdint>
#include <cstring>

// First index of the largest or the smallest value: what a scan from index 0 with a strict
// comparison finds. Pass one finds the value in branch-free lanes, pass two its first index.
template <bool kLargest>
inline uint32_t array_first_extreme(const float *x, uint32_t n)
{
    const auto better = [](auto a, auto b) { return kLargest ? (a > b ? a : b) : (a < b ? a : b); };
    FourFloats lanes = {x[0], x[0], x[0], x[0]};
    FourFloats more = lanes;
    uint32_t i = 0;
    for (; i + 2 * kLanes <= n; i += 2 * kLanes) {
        lanes = better(load_four(x + i), lanes);
        more = better(load_four(x + i + kLanes), more);
    }
    lanes = better(more, lanes);
    float extreme = better(better(lanes[0], lanes[1]), better(lanes[2], lanes[3]));
    for (; i < n; ++i)
        extreme = better(x[i], extreme);

    const FourFloats sought = {extreme, extreme, extreme, extreme};
    for (i = 0; i + kLanes <= n && !any_equal(load_four(x + i), sought);)
        i += kLanes;
    for (; i < n; ++i)
        if (x[i] == extreme)
            return i;
    return 0; // x[0] is NaN: no comparison moves a scan away from it
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

// peak / array_mean(), for a comparison with `limit` only: the result is on the same side of the
// limit, but may differ in its last bits. No value may be further from 0 than twice `largest`;
// n is a multiple of 8.
//
// A sum in lanes takes a tenth of the time of a sum in index order. In either order each of the 256
// additions rounds by at most 2^-24 of 512 `largest`, so the two means differ by less than 2^-13 of
// `largest`. If that could change the comparison or the sign of the mean, the sum is made again in
// index order.
inline float array_peak_to_mean(const float *x, uint32_t n, float peak, float largest, float limit)
{
    FourFloats lanes = {};
    FourFloats more = {};
    for (uint32_t i = 0; i < n; i += 2 * kLanes) {
        lanes += load_four(x + i);
        more += load_four(x + i + kLanes);
    }
    lanes += more;
    const float mean = (lanes[0] + lanes[1] + lanes[2] + lanes[3]) / static_cast<float>(n);
    const float margin = largest / 1024.0f;
    const bool is_close = std::fabs(mean) < margin || std::fabs(mean - peak / limit) < margin;
    return peak / (is_close ? array_mean(x, n) : mean);
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

// Magnitudes of n_floats / 2 complex values. A root in double, rounded to float, has the same bits.
inline void complex_magnitude(const float *in, float *out, uint32_t n_floats)
{
    uint32_t k = 0;
    for (; k + kLanes <= n_floats / 2; k += kLanes) {
        const FourComplex z = load_zipped(in + 2 * k);
        store_four(out + k, square_root(z.re * z.re + z.im * z.im));
    }
    for (; k < n_floats / 2; ++k)
        out[k] = std::sqrt(in[2 * k] * in[2 * k] + in[2 * k + 1] * in[2 * k + 1]);
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
