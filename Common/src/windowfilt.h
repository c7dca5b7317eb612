// SPDX-License-Identifier: MIT
// windowfilt.h - sine window tables.
//
// Each table is the rising half of a sine window of length N, both ends included: N / 2 + 1 values
// from 0 to 1. The falling half is the same, mirrored.

#ifndef WINDOWFILT_H
#define WINDOWFILT_H

extern const float FloatingFftInWindow64[33];
extern const float FloatingFftInWindow128[65];
extern const float FloatingFftInWindow256[129];
extern const float FloatingFftInWindow512[257];

extern const float (&FftInWindow)[129];  // the analysis window of a frame
extern const float (&FftOutWindow)[129]; // the synthesis window

#endif
