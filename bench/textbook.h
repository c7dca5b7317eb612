// SPDX-License-Identifier: MIT
// textbook.h - GCC-PHAT as in textbooks: complex numbers in double, a transform of radix 2, the
// whole correlation padded to twice its length.

#ifndef EZOSSL_BENCH_TEXTBOOK_H
#define EZOSSL_BENCH_TEXTBOOK_H

#include <cstdint>

// The lag at which `pairs` interleaved pairs of samples correlate best, in samples; positive where
// the first of a pair is late.
int textbook_delay(const int16_t *samples, int pairs, int largest_lag);

#endif
