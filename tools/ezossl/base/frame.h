// SPDX-License-Identifier: MIT
// frame.h - what the library takes per call: 128 pairs of 16-bit samples, microphone 0 first.

#ifndef EZOSSL_TOOL_FRAME_H
#define EZOSSL_TOOL_FRAME_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "EzoSsl.h"

constexpr size_t kFrameSamples = static_cast<size_t>(EZOSSL_FRAME_LENGTH) * EZOSSL_MIC_COUNT;

using Frame = int16_t[kFrameSamples];

// Calls `use` with each whole frame of the samples.
template <class Use>
void for_each_frame(const std::vector<int16_t> &samples, Use use)
{
    Frame frame;
    for (size_t at = 0; at + kFrameSamples <= samples.size(); at += kFrameSamples) {
        std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(at), kFrameSamples, frame);
        use(frame);
    }
}

#endif
