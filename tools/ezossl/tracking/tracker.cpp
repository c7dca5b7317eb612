// SPDX-License-Identifier: MIT
// tracker.cpp - gives every block as soon as its last frame has come. Without smoothing, blocks are
// the library's. With it, the library's blocks are single frames, because a block of one frame
// gives the frame's delay to a fraction of a sample.

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

Tracker::Tracker(const TrackerSettings &settings, double start)
    : start_(start), localizer_(localizer_settings(settings))
{
    if (settings.smooth_seconds)
        smoother_.emplace(settings.localizer, *settings.smooth_seconds, settings.gate_db);
}

std::optional<TrackedBlock> Tracker::add(const Frame &frame)
{
    localizer_.add_frame(frame);
    if (!smoother_)
        return complete_block(localizer_);
    const int delay = localizer_.delays().back();
    smoother_->add(localizer_.finish_block(), delay);
    return complete_block(*smoother_);
}

template <class Maker>
std::optional<TrackedBlock> Tracker::complete_block(Maker &maker) const
{
    if (!maker.is_block_complete())
        return std::nullopt;
    TrackedBlock tracked;
    tracked.delays = maker.delays(); // which the next line clears
    tracked.block = maker.finish_block();
    tracked.block.start += start_;
    tracked.block.end += start_;
    return tracked;
}

size_t Tracker::open_samples() const
{
    const int frames = smoother_ ? smoother_->frames() : localizer_.frames();
    return static_cast<size_t>(frames) * EZOSSL_FRAME_LENGTH;
}
