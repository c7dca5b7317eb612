// SPDX-License-Identifier: MIT
// direction_vote.cpp - counts the votes of the window by angle. The range is a range of delays, so
// it has one width in the sine of the angle, to which the delay is proportional.

#include "tracking/direction_vote.h"

#include <algorithm>
#include <cmath>

#include "base/pi.h"

namespace {

// Chosen on simulated speech in rooms, and such that independent noise in both channels never gets
// an angle; see docs/accuracy.md.
constexpr double kRangeOfSines = 0.2;
constexpr int kQuorumPercent = 14;      // of the frames in the window
constexpr int kLeastQuorum = 10;        // frames, while the window fills and at low rates
constexpr double kNearMissShare = 0.75; // of the quorum

int index_of(int angle)
{
    return angle + 90;
}

double sine(int index)
{
    return std::sin((index - 90) * kPi / 180.0);
}

} // namespace

DirectionVote::DirectionVote(std::size_t window_frames)
    : window_frames_(window_frames),
      least_quorum_(std::min(kLeastQuorum, static_cast<int>(window_frames + 1) / 2))
{
    window_.reserve(window_frames);
    int end = 0;
    for (int start = 0; start < kAngles; ++start) {
        while (end + 1 < kAngles && sine(end + 1) <= sine(start) + kRangeOfSines)
            ++end;
        range_end_[static_cast<std::size_t>(start)] = end;
    }
}

void DirectionVote::add(const FrameVote &vote)
{
    const auto count = [this](const FrameVote &counted, int step) {
        if (counted.kind == FrameVote::Kind::angle)
            votes_.at(static_cast<std::size_t>(index_of(counted.angle))) += step;
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
    std::vector<int> starts; // of the ranges that are equally full
    Range fullest;
    int from = 0; // votes in start ... end
    int end = -1;
    for (int start = 0; start < kAngles; ++start) {
        while (end < range_end_[static_cast<std::size_t>(start)])
            from += votes_[static_cast<std::size_t>(++end)];
        const int at_start = votes_[static_cast<std::size_t>(start)];
        if (at_start > 0 && from >= fullest.agreeing) {
            if (from > fullest.agreeing)
                starts.clear();
            fullest.agreeing = from;
            starts.push_back(start);
        }
        from -= at_start;
    }
    if (starts.empty())
        return fullest;
    int index = starts[starts.size() / 2];
    for (int below = (fullest.agreeing - 1) / 2; below >= votes_[static_cast<std::size_t>(index)];
         ++index)
        below -= votes_[static_cast<std::size_t>(index)];
    fullest.angle = index - 90;
    return fullest;
}

// How many frames must agree.
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
