// SPDX-License-Identifier: MIT
// vector.h - elementwise products of float arrays of n elements. `out` may be an input.

#ifndef VECTOR_H
#define VECTOR_H

#include <cstdint>

// out[i] = a[i] * b[i]
void vector_multiply(const float *a, const float *b, float *out, uint32_t n);

// out[i] = in[i] * factor
void vector_scale(const float *in, float *out, uint32_t n, float factor);

#endif
