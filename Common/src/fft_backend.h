// SPDX-License-Identifier: MIT
// fft_backend.h - what fft.cpp asks of an FFT. A file per FFT implements it, and one of them is
// linked: fft_builtin.cpp or fft_ne10.cpp.

#ifndef FFT_BACKEND_H
#define FFT_BACKEND_H

#include <cstddef>
#include <cstdint>

// Initialises the FFT, if it wants that: once in a process, whichever thread comes first.
// Comes before the other functions.
void fft_backend_start();

// Lays a plan for forward and inverse transforms of `points` real points into `bytes` bytes at
// `region`; what else it takes from the heap it has given back on return. Returns the plan, which
// lies inside the region, or NULL if the length is not supported, the region too small or the heap
// exhausted.
void *fft_backend_build(void *region, size_t bytes, int32_t points);

// points real samples -> points / 2 + 1 complex bins, not scaled. Uses no heap; nor does the
// inverse. Both arrays hold points + 2 floats, aligned as floats are; the first may be overwritten.
void fft_backend_forward(void *plan, float *samples, float *spectrum);

// points / 2 + 1 complex bins -> points real samples, scaled by a constant of the library's own.
void fft_backend_inverse(void *plan, float *spectrum, float *samples);

#endif
