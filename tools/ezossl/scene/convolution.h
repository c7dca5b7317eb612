// SPDX-License-Identifier: MIT
// convolution.h - convolves samples with a long impulse response.

#ifndef EZOSSL_TOOL_CONVOLUTION_H
#define EZOSSL_TOOL_CONVOLUTION_H

#include <vector>

// The result is as long as `samples`: the end of the last echoes is cut off.
std::vector<float> convolve(const std::vector<float> &samples, const std::vector<float> &response);

#endif
