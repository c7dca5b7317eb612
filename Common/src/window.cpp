// SPDX-License-Identifier: MIT
// window.cpp - multiplying a frame by a window.

#include "window.h"

#include "math_layer.h"
#include "windowfilt.h"

#include <cstdio>

namespace {

void multiply_by_half(float *frame, const float *half, uint32_t length)
{
    const uint32_t middle = length / 2;
    for (uint32_t i = 0; i < middle; ++i)
        frame[i] *= half[i];
    for (uint32_t i = 0; i < middle; ++i)
        frame[middle + i] *= half[middle - i];
}

} // namespace

void window_apply(float *frame, int32_t window_type)
{
    if (window_type == kWindowAnalysis)
        multiply_by_half(frame, FftInWindow, kWindowLength);
    else if (window_type == kWindowSynthesis)
        multiply_by_half(frame, FftOutWindow, kWindowLength);
}

void WindowFilter_Process(float *samples, const WindowFilter *filter)
{
    if (samples == nullptr) {
        std::printf("[Audio] input Null in %s\n", "WindowFilter_Process");
        return;
    }
    if (filter == nullptr || filter->half == nullptr) {
        std::printf("[Audio] filter Null in %s\n", "WindowFilter_Process");
        return;
    }
    multiply_by_half(samples, filter->half, filter->length);
    if (filter->factor != 0.0f)
        math_scale(samples, filter->length, filter->factor);
}
