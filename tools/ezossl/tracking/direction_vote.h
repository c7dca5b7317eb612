// SPDX-License-Identifier: MIT
// direction_vote.h - finds one direction from the frames of the last second or so: the narrow range
// of directions with the most frames, if there are enough of them.

#ifndef EZOSSL_TOOL_DIRECTION_VOTE_H
#define EZOSSL_TOOL_DIRECTION_VOTE_H

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "base/angles.h"
#include "tracking/block_status.h"

// The vote of a frame.
struct FrameVote {
    enum class Kind {
        silent,  // at or below the gate: no vote
        unclear, // the library rejected the frame
        beyond,  // its delay does not fit the spacing
        angle,
    };
    Kind kind = Kind::silent;
    int angle = 0; // degrees; of Kind::angle only
};

class DirectionVote
{
public:
    // Counts the last `window_frames` frames.
    explicit DirectionVote(size_t window_frames);

    void add(const FrameVote &vote);

    // The state of the window.
    struct Result {
        BlockStatus status;
        int angle;    // degrees; of BlockStatus::ok only
        int agreeing; // frames in the range with the most frames
        int clear;    // frames with a delay, whether it fits the spacing or not
        int frames;   // in the window so far
    };
    Result result() const;

private:
    struct Range {
        int agreeing = 0;
        int angle = 0; // the median of the frames that agree
    };
    int quorum() const;
    Range fullest_range() const;

    size_t window_frames_;
    int least_quorum_;              // half the frames of a window that is too short for more
    std::vector<FrameVote> window_; // a ring
    size_t next_ = 0;
    int beyond_ = 0;
    std::array<int, kAngleCount> votes_{};
    std::array<size_t, kAngleCount> range_end_{}; // past the range that starts at this angle
};

#endif
