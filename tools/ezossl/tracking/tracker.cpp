// SPDX-License-Identifier: MIT
// tracker.cpp - see tracker.h.

#include "tracking/tracker.h"

#include <algorithm>
#include <cstdlib>

#include "input/audio_file.h"

Tracker::Tracker(const InputLayout &layout, const LocalizerSettings &settings,
                 BlockHandler on_block)
    : layout_(layout), on_block_(std::move(on_block)), localizer_(settings)
{
    std::srand(1); // the library draws from rand(): the same input gives the same answer
    if (layout.rate != settings.sample_rate)
        resampler_.emplace(layout.rate, settings.sample_rate);
}

void Tracker::add(const float *samples, std::size_t count)
{
    pick_microphones(samples, count);
    if (!resampler_) {
        add_couples(couples_.data(), count);
        return;
    }
    const std::vector<float> &result = resampler_->process(couples_.data(), count, false);
    add_couples(result.data(), result.size() / EZOSSL_MIC_COUNT);
}

void Tracker::finish()
{
    if (!resampler_)
        return;
    const std::vector<float> &rest = resampler_->process(couples_.data(), 0, true);
    add_couples(rest.data(), rest.size() / EZOSSL_MIC_COUNT);
}

std::size_t Tracker::open_samples() const
{
    return static_cast<std::size_t>(localizer_.frames()) * EZOSSL_FRAME_LENGTH +
           fill_ / EZOSSL_MIC_COUNT;
}

void Tracker::pick_microphones(const float *samples, std::size_t count)
{
    const auto channels = static_cast<std::size_t>(layout_.channels);
    couples_.resize(count * EZOSSL_MIC_COUNT);
    for (std::size_t i = 0; i < count; i++) {
        for (std::size_t m = 0; m < EZOSSL_MIC_COUNT; m++)
            couples_[EZOSSL_MIC_COUNT * i + m] =
                samples[channels * i + static_cast<std::size_t>(layout_.microphone[m])];
    }
}

void Tracker::add_couples(const float *couples, std::size_t count)
{
    samples_ += count;
    for (std::size_t left = count * EZOSSL_MIC_COUNT; left > 0;) {
        const std::size_t now = std::min(left, kFrameSamples - fill_);
        to_int16(couples, frame_ + fill_, now, clamped_);
        couples += now;
        left -= now;
        fill_ += now;
        if (fill_ < kFrameSamples)
            continue;
        fill_ = 0;
        localizer_.add_frame(frame_);
        if (!localizer_.is_block_complete())
            continue;
        const std::vector<int> delays = localizer_.delays();
        Block block = localizer_.finish_block();
        block.start += layout_.start;
        block.end += layout_.start;
        on_block_(block, delays);
    }
}
