// SPDX-License-Identifier: MIT
// math_layer.h - single-precision array operations over n elements. `out` may be an input. All
// return 0; there is no failure. The frame path uses none of them.

#ifndef MATH_LAYER_H
#define MATH_LAYER_H

#include <cstdint>

int32_t math_exp(const float *x, float *out, uint32_t n);                        // e^x
int32_t math_pow(const float *base, const float *power, float *out, uint32_t n); // base^power
int32_t math_sin(const float *x, float *out, uint32_t n);                        // x in radians
int32_t math_sqrt(const float *x, float *out, uint32_t n);
int32_t math_log10(const float *x, float *out, uint32_t n);
int32_t math_multiply(const float *a, const float *b, float *out, uint32_t n);

int32_t math_fill(float *array, uint32_t n, float value);   // every element = value
int32_t math_scale(float *array, uint32_t n, float factor); // every element *= factor

// *result = sum of a[i] * b[i]: four lane sums over the blocks of four, added in lane order, then
// the tail one by one.
int32_t math_dot(const float *a, const float *b, float *result, uint32_t n);

#endif
