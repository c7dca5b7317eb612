// SPDX-License-Identifier: MIT
// fft_backend.h - the functions that fft.cpp needs from an FFT. Each FFT implements them in one
// file, fft_builtin.cpp or fft_ne10.cpp, and one of these files is linked.

#ifndef FFT_BACKEND_H
#define FFT_BACKEND_H

#include <cstddef>
#include <cstdint>

// Initialises the FFT if it needs that, once in a process; any number of threads may call it. Call
// it before the other functions.
void fft_backend_start();

// Builds a plan for forward and inverse transforms of `points` real points in the `bytes` bytes at
// `region`; heap memory used meanwhile is freed before it returns. Returns the plan, which lies
// inside the region, or NULL if the length is not supported, the region too small or the heap
// exhausted.
void *fft_backend_build(void *region, size_t bytes, int32_t points);

// points real samples -> points / 2 + 1 complex bins, not scaled. Neither this nor the inverse uses
// the heap. Both arrays hold points + 2 floats, aligned as floats are. The first may be
// overwritten.
void fft_backend_forward(void *plan, float *samples, float *spectrum);

// points / 2 + 1 complex bins -> points real samples, scaled by a constant that depends on the FFT.
void fft_backend_inverse(void *plan, float *spectrum, float *samples);

#endif
