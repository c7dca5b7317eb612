// SPDX-License-Identifier: MIT
// resample.h - interleaved samples at another rate, through libsamplerate.

#ifndef EZOSSL_TOOL_RESAMPLE_H
#define EZOSSL_TOOL_RESAMPLE_H

#include <vector>

// Failure if libsamplerate refuses.
std::vector<float> resample(const std::vector<float> &samples, int channels, int from, int to);

#endif
