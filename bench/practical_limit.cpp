// SPDX-License-Identifier: MIT
// practical_limit.cpp - the steps of a frame over FFTW, each written for speed alone.

#include "practical_limit.h"

#include <algorithm>
#include <cmath>
#include <cstring>

PracticalLimit::PracticalLimit()
{
    constexpr float kPi = 3.14159265f;
    constexpr float kSpacing = 0.058f * 16000.0f / 343.0f; // samples
    for (int n = 0; n < kLength; ++n)
        window_[n] = std::sin(kPi * static_cast<float>(n) / kLength);
    for (int i = 0; i < kCandidates; ++i)
        expected_delay_[i] = kSpacing * std::cos(kPi * static_cast<float>(i) / 8.0f);
    forward_ = fftwf_plan_many_dft_r2c(1, &kLength, kMics, windowed_[0], nullptr, 1, kLength,
                                       reinterpret_cast<fftwf_complex *>(spectrum_[0]), nullptr, 1,
                                       kStride / 2, FFTW_MEASURE);
    inverse_ = fftwf_plan_dft_c2r_1d(kLength, reinterpret_cast<fftwf_complex *>(cross_),
                                     correlation_, FFTW_MEASURE);
}

PracticalLimit::~PracticalLimit()
{
    fftwf_destroy_plan(forward_);
    fftwf_destroy_plan(inverse_);
}

int PracticalLimit::run(const int16_t *frame)
{
    load(frame);
    fftwf_execute(forward_);
    whiten();
    fftwf_execute(inverse_);
    return grade();
}

void PracticalLimit::load(const int16_t *frame)
{
    float energy = 0.0f;
    for (float(&time)[kLength] : time_)
        std::memcpy(time, time + kNew, sizeof time / 2);
    for (int n = 0; n < kNew; ++n) {
        const float x0 = static_cast<float>(frame[kMics * n]) * (1.0f / 32768.0f);
        const float x1 = static_cast<float>(frame[kMics * n + 1]) * (1.0f / 32768.0f);
        time_[0][kNew + n] = x0;
        time_[1][kNew + n] = x1;
        energy += x0 * x0 + x1 * x1;
    }
    energy_sum_ += 0.5f * (energy + older_energy_);
    older_energy_ = energy;
    for (int mic = 0; mic < kMics; ++mic)
        for (int n = 0; n < kLength; ++n)
            windowed_[mic][n] = time_[mic][n] * window_[n];
}

// The phase of every bin of the cross spectrum.
void PracticalLimit::whiten()
{
    const float *const x0 = spectrum_[0];
    const float *const x1 = spectrum_[1];
    for (int k = 0; k < 2 * kBins; k += 2) {
        const float re = x0[k] * x1[k] + x0[k + 1] * x1[k + 1];
        const float im = x0[k + 1] * x1[k] - x0[k] * x1[k + 1];
        const float scale = 1.0f / (std::sqrt(re * re + im * im) + 1e-9f);
        cross_[k] = re * scale;
        cross_[k + 1] = im * scale;
    }
}

int PracticalLimit::grade()
{
    float peak = correlation_[0];
    float dip = correlation_[0];
    float sum = 0.0f;
    for (const float value : correlation_) {
        peak = std::max(peak, value);
        dip = std::min(dip, value);
        sum += value;
    }
    int index = 0;
    while (correlation_[index] != peak)
        ++index;
    const int lag = index < kNew ? index : index - kLength;
    const bool is_peak = std::abs(lag) <= kLargestLag + 3 && peak > -dip;
    if (!is_peak || peak - dip < 1.4f * (sum / kLength - dip)) {
        votes_[kCandidates]++;
        return EZOSSL_REJECTED_FRAME;
    }
    int best = 0;
    for (int i = 1; i < kCandidates; ++i)
        if (std::fabs(expected_delay_[i] - static_cast<float>(lag)) <
            std::fabs(expected_delay_[best] - static_cast<float>(lag)))
            best = i;
    const float before = correlation_[(index + kLength - 1) % kLength];
    const float after = correlation_[(index + 1) % kLength];
    votes_[best]++;
    delay_sums_[best] +=
        static_cast<float>(lag) + 0.5f * (after - before) / (2.0f * peak - before - after);
    return lag;
}
