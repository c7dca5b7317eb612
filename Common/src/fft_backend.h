// SPDX-License-Identifier: MIT
// fft_backend.h - what fft.cpp asks of an FFT library. One file implements it: fft_kissfft.cpp.

#ifndef FFT_BACKEND_H
#define FFT_BACKEND_H

#include <cstddef>
#include <cstdint>

// Lays a plan for forward and inverse transforms of `points` real points into `bytes` bytes at
// `region`, without other memory. Returns the plan, which lies inside the region, or NULL if the
// length is not supported or the region too small.
void *fft_backend_build(void *region, size_t bytes, int32_t points);

// points real samples -> points / 2 + 1 complex bins, not scaled.
void fft_backend_forward(void *plan, const float *samples, float *spectrum);

// points / 2 + 1 complex bins -> points real samples, scaled by a constant of the library's own.
void fft_backend_inverse(void *plan, const float *spectrum, float *samples);

#endif
