// SPDX-License-Identifier: MIT
// tracker.h - the road from interleaved samples, whatever their rate and channels, to blocks.

#ifndef EZOSSL_TOOL_TRACKER_H
#define EZOSSL_TOOL_TRACKER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "input/resampler.h"
#include "tracking/localizer.h"

// Where the microphones are in the input.
struct InputLayout {
    int rate; // Hz
    int channels;
    int microphone[EZOSSL_MIC_COUNT]; // channel of each, from 0
    double start;                     // time of the first sample, in seconds
};

// A block, and the delay of each of its frames.
using BlockHandler = std::function<void(const Block &, const std::vector<int> &)>;

class Tracker
{
public:
    Tracker(const InputLayout &layout, const LocalizerSettings &settings, BlockHandler on_block);

    // Interleaved samples; `count` per channel.
    void add(const float *samples, std::size_t count);
    // Takes out what the resampler holds back; nothing may be added any more.
    void finish();

    // Samples per microphone at the library's rate, so far; and those of the block that is open.
    std::size_t samples() const { return samples_; }
    std::size_t open_samples() const;
    std::size_t clamped() const { return clamped_; }
    std::size_t wrapped() const { return localizer_.wrapped(); }

private:
    void pick_microphones(const float *samples, std::size_t count);
    void add_couples(const float *couples, std::size_t count);

    InputLayout layout_;
    BlockHandler on_block_;
    Localizer localizer_;
    std::optional<Resampler> resampler_;
    std::vector<float> couples_;
    int16_t frame_[kFrameSamples] = {};
    std::size_t fill_ = 0; // samples in it
    std::size_t samples_ = 0;
    std::size_t clamped_ = 0;
};

#endif
