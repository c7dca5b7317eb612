// SPDX-License-Identifier: MIT
// convolution.cpp - overlap and add: each block is transformed with room for its echoes, which are
// added to the following blocks.

#include "scene/convolution.h"

#include <algorithm>

#include "base/real_transform.h"

std::vector<float> convolve(const std::vector<float> &samples, const std::vector<float> &response)
{
    size_t length = 1024;
    while (length < 2 * response.size())
        length *= 2;
    const size_t step = length - response.size() + 1;
    const RealTransform forward(length, false);
    const RealTransform inverse(length, true);
    std::vector<kiss_fft_cpx> filter(length / 2 + 1);
    std::vector<kiss_fft_cpx> spectrum(length / 2 + 1);
    std::vector<float> block(length);
    std::copy(response.begin(), response.end(), block.begin());
    forward.forward(block, filter);

    const float scale = 1.0f / static_cast<float>(length);
    std::vector<float> result(samples.size());
    for (size_t start = 0; start < samples.size(); start += step) {
        const size_t count = std::min(step, samples.size() - start);
        std::fill(block.begin(), block.end(), 0.0f);
        std::copy_n(&samples[start], count, block.begin());
        forward.forward(block, spectrum);
        for (size_t k = 0; k < spectrum.size(); ++k) {
            const kiss_fft_cpx x = spectrum[k];
            spectrum[k].r = x.r * filter[k].r - x.i * filter[k].i;
            spectrum[k].i = x.r * filter[k].i + x.i * filter[k].r;
        }
        inverse.inverse(spectrum, block);
        const size_t reach = std::min(length, samples.size() - start);
        for (size_t n = 0; n < reach; ++n)
            result[start + n] += scale * block[n];
    }
    return result;
}
