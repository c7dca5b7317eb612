// SPDX-License-Identifier: MIT
// fft.h - real FFT with an rdft-style calling interface, in memory that the caller supplies.
//
// The FFT itself is behind fft_backend.h.

#ifndef FFT_H
#define FFT_H

#include <cstdint>

constexpr uint32_t kFftLargest = 256; // points; bounds fft_work

// A half spectrum of n points is n / 2 + 1 complex bins, as n + 2 floats: real, imaginary, ...
constexpr uint32_t kFftWorkFloats = kFftLargest + 2;

#pragma pack(push, 4)
struct FftContext {
    float fft_work[kFftWorkFloats]; // the half spectrum on its way out of or into the transform
    void *fft_cfg;                  // the working region; from fft_init on, the plan inside it
    int32_t fft_inited;             // 1 once initialised, else 0
    int32_t fft_size;               // points of the transform
};
#pragma pack(pop)

enum FftDirection : int32_t { kFftForward = 1, kFftInverse = -1 };

// Bytes of the working region for transforms of `points` points.
constexpr uint32_t fft_get_buffer_size(uint32_t points)
{
    return 18 * points + 96 * (points / 32 + 1) + 556;
}

// Initialises the FFT, once in a process; any number of threads may call it. Call it before
// fft_init. A failure prints a line of its own, but transforms still work.
void fft_start();

// Builds the plan for fft_size points, which the FFT in use must support (the built-in one has 256
// only), inside the region that fft_cfg points to, which must hold
// fft_get_buffer_size(fft_size) bytes. A failure prints a line; a plan that cannot be built also
// leaves fft_cfg NULL.
void fft_init(FftContext *ctx);

// Transforms `data`, an array of points + 2 floats, in place.
//   kFftForward  points real samples become points / 2 + 1 bins,
//                X[k] = sum over n of x[n] exp(-2 pi i k n / points), not scaled
//   kFftInverse  bins become samples, scaled by `points` or, with Ne10, by 1; the last
//                two floats become 0
// Any other direction, and `points` other than fft_size, do nothing. `aux1` and `aux2` are only
// tested for NULL. A NULL argument prints a line; if a transform is still possible, it is made.
void fft_rdft(FftContext *ctx, int32_t points, int32_t direction, float *data, const float *aux1,
              const float *aux2);

// Marks the context as not initialised. The memory is the caller's.
void fft_free(FftContext *ctx);

#endif
