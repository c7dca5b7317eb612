// SPDX-License-Identifier: MIT
// practical_limit.h - how fast the work of a frame can be in practice: the steps of the library
// with a fast transform (FFTW, planned by measurement), in float, in any order of operations, and
// without results that nobody reads.

#ifndef EZOSSL_BENCH_PRACTICAL_LIMIT_H
#define EZOSSL_BENCH_PRACTICAL_LIMIT_H

#include <cstdint>

#include <fftw3.h>

#include "EzoSsl.h"

class PracticalLimit
{
public:
    PracticalLimit();
    ~PracticalLimit();
    PracticalLimit(const PracticalLimit &) = delete;
    PracticalLimit &operator=(const PracticalLimit &) = delete;

    // Takes a frame, votes for a direction, and returns the delay or EZOSSL_REJECTED_FRAME.
    int run(const int16_t *frame);

private:
    static constexpr int kMics = EZOSSL_MIC_COUNT;
    static constexpr int kNew = EZOSSL_FRAME_LENGTH;
    static constexpr int kLength = 2 * kNew;
    static constexpr int kBins = kNew + 1;
    static constexpr int kStride = 2 * kBins + 14; // floats; both spectra begin aligned
    static constexpr int kCandidates = 9;
    static constexpr int kLargestLag = 4; // 5.8 cm at 16000 Hz, and one more

    void load(const int16_t *frame);
    void whiten();
    int grade();

    alignas(64) float time_[kMics][kLength] = {};
    alignas(64) float window_[kLength];
    alignas(64) float windowed_[kMics][kLength];
    alignas(64) float spectrum_[kMics][kStride];
    alignas(64) float cross_[kStride];
    alignas(64) float correlation_[kLength]; // lag 0 first
    float older_energy_ = 0.0f;
    float energy_sum_ = 0.0f;
    float expected_delay_[kCandidates];
    int votes_[kCandidates + 1] = {};
    float delay_sums_[kCandidates] = {};
    fftwf_plan forward_;
    fftwf_plan inverse_;
};

#endif
