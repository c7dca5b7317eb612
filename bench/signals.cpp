// SPDX-License-Identifier: MIT
// signals.cpp - makes noise, silence, full scale and decaying sound.

#include "signals.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr size_t kLargestLag = 32;

template <typename Random>
int uniform(Random &random, int most) // -most ... most
{
    return static_cast<int>(random() % static_cast<unsigned>(2 * most + 1)) - most;
}

} // namespace

std::vector<int16_t> make_signal(Signal kind)
{
    constexpr size_t kSamples = kFrames * EZOSSL_FRAME_LENGTH;
    constexpr int kPeak = 8000;
    constexpr double kDecayPerSample = 0.9999; // to zero in three quarters of the signal
    const size_t lag = kind == Signal::far_lag ? 16 : 2;
    std::mt19937 random(1);
    std::vector<int> source(kSamples + kLargestLag);
    std::generate(source.begin(), source.end(), [&random] { return uniform(random, kPeak); });
    std::vector<int16_t> samples;
    double decayed = 1.0;
    for (size_t n = 0; n < kSamples; ++n) {
        for (const size_t later : {lag, size_t{0}}) {
            const int heard = source[n + kLargestLag - later] + uniform(random, kPeak / 10);
            int sample = heard;
            if (kind == Signal::silence)
                sample = 0;
            if (kind == Signal::full_scale)
                sample = heard < 0 ? INT16_MIN : INT16_MAX;
            if (kind == Signal::decay)
                sample = static_cast<int>(heard * decayed);
            samples.push_back(static_cast<int16_t>(sample));
        }
        decayed *= kDecayPerSample;
    }
    return samples;
}

const int16_t *EndlessSignal::next()
{
    constexpr size_t kFramesOfAKind = 32;
    if (frames_++ % kFramesOfAKind == 0) {
        kind_ = static_cast<Signal>(random_() % 5);
        level_ = 1 << (random_() % 15);
        lag_ = random_() % kLargestLag;
    }
    std::copy(source_.end() - kLargestLag, source_.end(), source_.begin());
    for (size_t n = 0; n < EZOSSL_FRAME_LENGTH; ++n) {
        source_[n + kLargestLag] = uniform(random_, level_);
        for (const size_t later : {lag_, size_t{0}}) {
            const int heard = source_[n + kLargestLag - later] + uniform(random_, level_ / 8);
            int sample = std::clamp(heard, INT16_MIN, INT16_MAX);
            if (kind_ == Signal::silence)
                sample = 0;
            if (kind_ == Signal::full_scale)
                sample = heard < 0 ? INT16_MIN : INT16_MAX;
            frame_[EZOSSL_MIC_COUNT * n + (later == 0 ? 1 : 0)] = static_cast<int16_t>(sample);
        }
    }
    if (kind_ == Signal::decay)
        level_ -= level_ / 4;
    return frame_.data();
}
