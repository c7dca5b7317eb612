// SPDX-License-Identifier: MIT
// frame.h - what the library takes at once: 128 pairs of 16-bit samples, microphone 0 first.

#ifndef EZOSSL_TOOL_FRAME_H
#define EZOSSL_TOOL_FRAME_H

#include <cstddef>
#include <cstdint>

#include "EzoSsl.h"

constexpr std::size_t kFrameSamples =
    static_cast<std::size_t>(EZOSSL_FRAME_LENGTH) * EZOSSL_MIC_COUNT;

using Frame = int16_t[kFrameSamples];

#endif
