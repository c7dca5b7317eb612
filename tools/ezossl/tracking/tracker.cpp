// SPDX-License-Identifier: MIT
// tracker.cpp - hands every block on as soon as its last frame is there. Without smoothing blocks
// are the library's. With it the library's blocks are single frames, as a block of one frame tells
// what the frame's delay is to a fraction of a sample.

#include "tracking/tracker.h"

namespace {

LocalizerSettings localizer_settings(const TrackerSettings &settings)
{
    LocalizerSettings result = settings.localizer;
    if (settings.smooth_seconds) {
        result.block_frames = 1;
        result.gate_db = static_cast<int>(kLowestGateDb);
    }
    return result;
}

} // namespace

Tracker::Tracker(const TrackerSettings &settings, double start, BlockHandler on_block)
    : start_(start), on_block_(std::move(on_block)), localizer_(localizer_settings(settings))
{
    if (settings.smooth_seconds)
        smoother_.emplace(settings.localizer, *settings.smooth_seconds, settings.gate_db);
}

void Tracker::add(const Frame &frame)
{
    localizer_.add_frame(frame);
    if (!smoother_)
        return hand_on(localizer_);
    const int delay = localizer_.delays().back();
    smoother_->add(localizer_.finish_block(), delay);
    hand_on(*smoother_);
}

template <class Source>
void Tracker::hand_on(Source &source)
{
    if (!source.is_block_complete())
        return;
    const std::vector<int> delays = source.delays();
    Block block = source.finish_block();
    block.start += start_;
    block.end += start_;
    on_block_(block, delays);
}

std::size_t Tracker::open_samples() const
{
    const int frames = smoother_ ? smoother_->frames() : localizer_.frames();
    return static_cast<std::size_t>(frames) * EZOSSL_FRAME_LENGTH;
}
