// SPDX-License-Identifier: MIT
// smoother.h - makes blocks from single frames. Each block gets the direction at its end, by a vote
// of the frames of the last second or so.

#ifndef EZOSSL_TOOL_SMOOTHER_H
#define EZOSSL_TOOL_SMOOTHER_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tracking/direction_vote.h"
#include "tracking/localizer.h"
#include "tracking/noise_gate.h"

// The best values in measurements; see docs/accuracy.md.
constexpr double kSmoothSeconds = 1.024;        // whose frames vote
constexpr double kSmoothedBlockSeconds = 0.256; // length of a block

class Smoother
{
public:
    // A block has settings.block_frames frames, and the frames of the last `seconds` vote. The gate
    // is gate_db, in dB of full scale, or follows the noise.
    Smoother(const LocalizerSettings &settings, double seconds, std::optional<int> gate_db);

    // Takes a block of one frame, as Localizer gives it, and its delay.
    void add(const Block &frame, int delay);
    bool is_block_complete() const { return frames() == settings_.block_frames; }
    // The next frame starts the next block.
    Block finish_block();

    // Of the block so far.
    const std::vector<int> &delays() const { return delays_; }
    int frames() const { return static_cast<int>(delays_.size()); }
    const NoiseGate &gate() const { return gate_; }

private:
    void finish_segment();
    FrameVote vote_of(const Block &frame, int delay) const;
    double frame_seconds() const { return double{EZOSSL_FRAME_LENGTH} / settings_.sample_rate; }

    LocalizerSettings settings_;
    double longest_lag_; // samples
    NoiseGate gate_;
    DirectionVote vote_;
    std::vector<FrameVote> segment_; // frames that the gate judges together
    double segment_power_ = 0.0;     // sum over these frames, full scale 1
    std::vector<int> delays_;
    double power_ = 0.0;
    bool is_quiet_ = true; // the block so far
    int64_t blocks_ = 0;
};

// The number of frames in this many seconds, at least one.
int frames_in(double seconds, int sample_rate);

#endif
