// SPDX-License-Identifier: MIT
// tracker.h - makes blocks of frames, with the times of the input.

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
    LocalizerSettings localizer;          // its block_frames are those of the resulting blocks
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

    // Takes a frame; returns the block that ends with it, if one does.
    std::optional<TrackedBlock> add(const Frame &frame);

    // Samples per microphone in the unfinished block.
    size_t open_samples() const;
    int64_t wrapped() const { return localizer_.wrapped(); }
    // The gate that the tool applies itself; nullptr if the library applies one.
    const NoiseGate *gate() const { return smoother_ ? &smoother_->gate() : nullptr; }

private:
    template <class Maker>
    std::optional<TrackedBlock> complete_block(Maker &maker) const;

    double start_;
    Localizer localizer_;
    std::optional<Smoother> smoother_;
};

#endif
