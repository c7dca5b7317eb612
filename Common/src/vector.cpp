// SPDX-License-Identifier: MIT
// vector.cpp - elementwise products, which the compiler vectorises.

#include "vector.h"

void vector_multiply(const float *a, const float *b, float *out, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = a[i] * b[i];
}

void vector_scale(const float *in, float *out, uint32_t n, float factor)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = in[i] * factor;
}
