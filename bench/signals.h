// SPDX-License-Identifier: MIT
// signals.h - what the benchmarks feed in: interleaved frames of two microphones.

#ifndef EZOSSL_BENCH_SIGNALS_H
#define EZOSSL_BENCH_SIGNALS_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "EzoSsl.h"

constexpr size_t kFrameSamples = EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT;
constexpr size_t kFrames = 1024; // in a signal; callers that need more start over

enum class Signal {
    noise,      // two samples later at microphone 0, plus a tenth of independent noise on each
    far_lag,    // the same, 16 samples later: too late for the spacing, so frames are rejected
    silence,    // zeros
    full_scale, // noise in which every sample is the largest or the smallest value
    decay,      // noise that dies away to zeros
};

std::vector<int16_t> make_signal(Signal kind);

// Endless frames that hardly repeat: every 32 frames another of the kinds above, lag and level.
class EndlessSignal
{
public:
    // The next frame.
    const int16_t *next();

private:
    std::minstd_rand random_{1};
    size_t frames_ = 0;
    Signal kind_ = Signal::noise;
    int level_ = 0;
    size_t lag_ = 0;
    std::vector<int> source_ = std::vector<int>(EZOSSL_FRAME_LENGTH + 32);
    std::vector<int16_t> frame_ = std::vector<int16_t>(kFrameSamples);
};

#endif
