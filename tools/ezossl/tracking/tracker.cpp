// SPDX-License-Identifier: MIT
// tracker.cpp - hands every block on as soon as its last frame is there.

#include "tracking/tracker.h"

Tracker::Tracker(const LocalizerSettings &settings, double start, BlockHandler on_block)
    : start_(start), on_block_(std::move(on_block)), localizer_(settings)
{
}

void Tracker::add(const Frame &frame)
{
    localizer_.add_frame(frame);
    if (!localizer_.is_block_complete())
        return;
    const std::vector<int> delays = localizer_.delays();
    Block block = localizer_.finish_block();
    block.start += start_;
    block.end += start_;
    on_block_(block, delays);
}

std::size_t Tracker::open_samples() const
{
    return static_cast<std::size_t>(localizer_.frames()) * EZOSSL_FRAME_LENGTH;
}
