// SPDX-License-Identifier: MIT
// fft_twiddles.h - twiddle factors of the built-in FFT, W(n, m) = exp(-2 pi i m / n).

#ifndef FFT_TWIDDLES_H
#define FFT_TWIDDLES_H

#include <cstdint>

template <uint32_t Count>
struct FftTwiddles {
    alignas(16) float re[Count];
    alignas(16) float im[Count];
};

// At index q: W(16, k q) and W(64, k q), of which row k - 1 is for k = 1, 2, 3.
extern const FftTwiddles<4> FftTwiddles16[3];
extern const FftTwiddles<16> FftTwiddles64[3];

extern const FftTwiddles<64> FftTwiddles128; // at index q: W(128, q)
extern const FftTwiddles<64> FftTwiddles256; // at index q: W(256, q + 1)

#endif
