// SPDX-License-Identifier: MIT
// real_transform.h - Fourier transform of real samples, through KISS FFT, and the window before it.

#ifndef EZOSSL_TOOL_REAL_TRANSFORM_H
#define EZOSSL_TOOL_REAL_TRANSFORM_H

#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

#include <kiss_fftr.h>

#include "base/pi.h"

// The length is even; a spectrum has length / 2 + 1 bins. A forward and then an inverse transform
// multiply the samples by the length.
class RealTransform
{
public:
    RealTransform(size_t length, bool is_inverse)
        : plan_(kiss_fftr_alloc(static_cast<int>(length), is_inverse ? 1 : 0, nullptr, nullptr))
    {
        if (plan_ == nullptr)
            throw std::bad_alloc();
    }
    ~RealTransform() { kiss_fftr_free(plan_); }
    RealTransform(const RealTransform &) = delete;
    RealTransform &operator=(const RealTransform &) = delete;

    void forward(const std::vector<float> &samples, std::vector<kiss_fft_cpx> &spectrum) const
    {
        kiss_fftr(plan_, samples.data(), spectrum.data());
    }
    void inverse(const std::vector<kiss_fft_cpx> &spectrum, std::vector<float> &samples) const
    {
        kiss_fftri(plan_, spectrum.data(), samples.data());
    }

private:
    kiss_fftr_cfg plan_;
};

inline std::vector<float> hann_window(size_t length)
{
    std::vector<float> window(length);
    for (size_t n = 0; n < length; ++n)
        window[n] = static_cast<float>(
            0.5 - 0.5 * std::cos(2.0 * kPi * static_cast<double>(n) / static_cast<double>(length)));
    return window;
}

#endif
