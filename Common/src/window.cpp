// SPDX-License-Identifier: MIT
// window.cpp - multiplying a frame by a window.

#include "window.h"

#include "four_floats.h"
#include "math_layer.h"
#include "vector.h"
#include "windowfilt.h"

#include <cstdio>

namespace {

// `out` may be `frame`.
void multiply_by_half(const float *frame, const float *half, uint32_t length, float *out)
{
    const uint32_t middle = length / 2;
    vector_multiply(frame, half, out, middle);
    uint32_t i = middle;
    for (; i + kLanes <= length; i += kLanes) {
        const float *const mirrored = half + length - i - (kLanes - 1);
        store_four(out + i, load_four(frame + i) * reversed(load_four(mirrored)));
    }
    for (; i < length; ++i)
        out[i] = frame[i] * half[length - i];
}

} // namespace

void window_apply(float *frame, int32_t window_type)
{
    if (window_type == kWindowAnalysis)
        multiply_by_half(frame, FftInWindow, kWindowLength, frame);
    else if (window_type == kWindowSynthesis)
        multiply_by_half(frame, FftOutWindow, kWindowLength, frame);
}

void window_copy(const float *frame, float *out)
{
    multiply_by_half(frame, FftInWindow, kWindowLength, out);
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
    multiply_by_half(samples, filter->half, filter->length, samples);
    if (filter->factor != 0.0f)
        math_scale(samples, filter->length, filter->factor);
}
