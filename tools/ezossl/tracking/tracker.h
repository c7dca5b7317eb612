// SPDX-License-Identifier: MIT
// tracker.h - the road from frames to blocks with the times of the input.

#ifndef EZOSSL_TOOL_TRACKER_H
#define EZOSSL_TOOL_TRACKER_H

#include <cstddef>
#include <functional>
#include <vector>

#include "base/frame.h"
#include "tracking/localizer.h"

// A block, and the delay of each of its frames.
using BlockHandler = std::function<void(const Block &, const std::vector<int> &)>;

class Tracker
{
public:
    // The first frame starts at this second of the input.
    Tracker(const LocalizerSettings &settings, double start, BlockHandler on_block);

    void add(const Frame &frame);

    // Samples per microphone of the block that is open.
    std::size_t open_samples() const;
    std::size_t wrapped() const { return localizer_.wrapped(); }

private:
    double start_;
    BlockHandler on_block_;
    Localizer localizer_;
};

#endif
