// SPDX-License-Identifier: MIT
// convolution.h - samples through a long impulse response.

#ifndef EZOSSL_TOOL_CONVOLUTION_H
#define EZOSSL_TOOL_CONVOLUTION_H

#include <vector>

// In the length of `samples`: the end of the last echoes is cut off.
std::vector<float> convolve(const std::vector<float> &samples, const std::vector<float> &response);

#endif
