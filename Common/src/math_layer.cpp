// SPDX-License-Identifier: MIT
// math_layer.cpp - single-precision array operations.

#include "math_layer.h"

#include "vector.h"

#include <cmath>

namespace {

constexpr uint32_t kLanes = 4;

} // namespace

int32_t math_exp(const float *x, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = std::exp(x[i]);
    return 0;
}

int32_t math_sin(const float *x, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = std::sin(x[i]);
    return 0;
}

int32_t math_sqrt(const float *x, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = std::sqrt(x[i]);
    return 0;
}

int32_t math_log10(const float *x, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = std::log10(x[i]);
    return 0;
}

int32_t math_pow(const float *base, const float *power, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = std::pow(base[i], power[i]);
    return 0;
}

int32_t math_multiply(const float *a, const float *b, float *out, uint32_t n)
{
    vector_multiply(a, b, out, n);
    return 0;
}

int32_t math_fill(float *array, uint32_t n, float value)
{
    for (uint32_t i = 0; i < n; ++i)
        array[i] = value;
    return 0;
}

int32_t math_scale(float *array, uint32_t n, float factor)
{
    vector_scale(array, array, n, factor);
    return 0;
}

int32_t math_dot(const float *a, const float *b, float *result, uint32_t n)
{
    const uint32_t blocks_end = n - n % kLanes;
    float lane[kLanes] = {};
    for (uint32_t i = 0; i < blocks_end; ++i)
        lane[i % kLanes] += a[i] * b[i];

    float sum = 0.0f;
    for (const float lane_sum : lane)
        sum += lane_sum;
    for (uint32_t i = blocks_end; i < n; ++i)
        sum += a[i] * b[i];
    *result = sum;
    return 0;
}
