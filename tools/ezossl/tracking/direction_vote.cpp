// SPDX-License-Identifier: MIT
// direction_vote.cpp - counts the votes of the window by angle. The range has a fixed width in
// delay and so in the sine of the angle, to which the delay is proportional.

#include "tracking/direction_vote.h"

#include <algorithm>
#include <cmath>

#include "base/pi.h"

namespace {

// Chosen with simulated speech in rooms, and so that independent noise in both channels never gets
// an angle; see docs/accuracy.md.
constexpr double kRangeOfSines = 0.2;
constexpr int kQuorumPercent = 14;      // of the frames in the window
constexpr int kLeastQuorum = 10;        // frames, while the window fills and at low rates
constexpr double kNearMissShare = 0.75; // of the quorum

double sine_at(size_t index)
{
    return std::sin(angle_at(index) * kPi / 180.0);
}

} // namespace

DirectionVote::DirectionVote(size_t window_frames)
    : window_frames_(window_frames),
      least_quorum_(std::min(kLeastQuorum, static_cast<int>(window_frames + 1) / 2))
{
    window_.reserve(window_frames);
    size_t end = 0;
    for (size_t start = 0; start < kAngleCount; ++start) {
        while (end < kAngleCount && sine_at(end) <= sine_at(start) + kRangeOfSines)
            ++end;
        range_end_[start] = end;
    }
}

void DirectionVote::add(const FrameVote &vote)
{
    const auto count = [this](const FrameVote &counted, int step) {
        if (counted.kind == FrameVote::Kind::angle)
            votes_.at(index_of_angle(counted.angle)) += step;
        else if (counted.kind == FrameVote::Kind::beyond)
            beyond_ += step;
    };
    if (window_.size() < window_frames_) {
        window_.push_back(vote);
    } else {
        count(window_[next_], -1);
        window_[next_] = vote;
    }
    next_ = (next_ + 1) % window_frames_;
    count(vote, 1);
}

DirectionVote::Range DirectionVote::fullest_range() const
{
    std::vector<size_t> starts; // of the ranges with the most votes
    Range fullest;
    int inside = 0; // votes from start to before end
    size_t end = 0;
    for (size_t start = 0; start < kAngleCount; ++start) {
        while (end < range_end_[start])
            inside += votes_[end++];
        if (votes_[start] > 0 && inside >= fullest.agreeing) {
            if (inside > fullest.agreeing)
                starts.clear();
            fullest.agreeing = inside;
            starts.push_back(start);
        }
        inside -= votes_[start];
    }
    if (starts.empty())
        return fullest;
    size_t index = starts[starts.size() / 2];
    for (int below = (fullest.agreeing - 1) / 2; below >= votes_[index]; ++index)
        below -= votes_[index];
    fullest.angle = angle_at(index);
    return fullest;
}

// The number of frames that must agree.
int DirectionVote::quorum() const
{
    const int frames = static_cast<int>(window_.size());
    return std::max(least_quorum_, (kQuorumPercent * frames + 99) / 100);
}

DirectionVote::Result DirectionVote::result() const
{
    const int quorum = this->quorum();
    const Range range = fullest_range();
    int clear = beyond_;
    for (const int count : votes_)
        clear += count;
    BlockStatus status = BlockStatus::disagree;
    if (beyond_ >= quorum && beyond_ > range.agreeing)
        status = BlockStatus::beyond;
    else if (range.agreeing >= quorum)
        status = BlockStatus::ok;
    else if (clear < quorum)
        status = BlockStatus::few_clear;
    else if (range.agreeing >= kNearMissShare * quorum)
        status = BlockStatus::near_miss;
    return {status, range.angle, range.agreeing, clear, static_cast<int>(window_.size())};
}
