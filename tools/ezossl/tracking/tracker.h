// SPDX-License-Identifier: MIT
// tracker.h - the road from frames to blocks with the times of the input.

#ifndef EZOSSL_TOOL_TRACKER_H
#define EZOSSL_TOOL_TRACKER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/frame.h"
#include "tracking/localizer.h"
#include "tracking/smoother.h"

struct TrackerSettings {
    LocalizerSettings localizer;          // its block_frames are those of the blocks that come out
    std::optional<double> smooth_seconds; // none: the blocks are the library's own
    std::optional<int> gate_db;           // dB of full scale; none follows the noise
};

struct TrackedBlock {
    Block block;
    std::vector<int> delays; // of each of its frames
};

class Tracker
{
public:
    // The first frame starts at this second of the input.
    Tracker(const TrackerSettings &settings, double start);

    // The block that ends with this frame, if one does.
    std::optional<TrackedBlock> add(const Frame &frame);

    // Samples per microphone of the block that is open.
    size_t open_samples() const;
    int64_t wrapped() const { return localizer_.wrapped(); }
    // The gate that the tool applies itself; nullptr where the library applies one.
    const NoiseGate *gate() const { return smoother_ ? &smoother_->gate() : nullptr; }

private:
    template <class Maker>
    std::optional<TrackedBlock> complete_block(Maker &maker) const;

    double start_;
    Localizer localizer_;
    std::optional<Smoother> smoother_;
};

#endif
