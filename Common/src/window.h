// SPDX-License-Identifier: MIT
// window.h - multiplying a frame by a window.

#ifndef WINDOW_H
#define WINDOW_H

#include <cstdint>

constexpr uint32_t kWindowLength = 256; // samples that window_apply takes

enum WindowType : int32_t { kWindowAnalysis = 0, kWindowSynthesis = 1 };

// Multiplies 256 samples by the sine window, in place: frame[n] *= sin(pi n / 256). Any type but
// the two leaves the frame unchanged.
void window_apply(float *frame, int32_t window_type);

// The same with the analysis window, into `out`.
void window_copy(const float *frame, float *out);

// A window of any length and a gain.
struct WindowFilter {
    const float *half; // the rising half, length / 2 + 1 values; the caller's
    uint32_t length;   // samples, even
    float factor;      // gain after the window; 0 for none
};

// Multiplies `filter->length` samples by the window and the gain, in place. NULL prints a line.
void WindowFilter_Process(float *samples, const WindowFilter *filter);

#endif
