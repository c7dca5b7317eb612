// SPDX-License-Identifier: MIT
// smoother.cpp - applies the gate to segments of frames, passes those above it to the vote, and
// gets the result at the end of every block.

#include "tracking/smoother.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tracking/pair_geometry.h"

namespace {

constexpr double kSegmentSeconds = 0.064; // of sound that the gate judges together

double power_of(double level)
{
    return std::pow(10.0, level / 10.0);
}

} // namespace

int frames_in(double seconds, int sample_rate)
{
    return std::max(
        1, static_cast<int>(std::lround(seconds * sample_rate / double{EZOSSL_FRAME_LENGTH})));
}

Smoother::Smoother(const LocalizerSettings &settings, double seconds, std::optional<int> gate_db)
    : settings_(settings),
      longest_lag_(PairGeometry(settings.spacing_cm, settings.sample_rate, settings.temperature)
                       .longest_lag()),
      gate_(gate_db), vote_(static_cast<size_t>(frames_in(seconds, settings.sample_rate)))
{
}

void Smoother::add(const Block &frame, int delay)
{
    delays_.push_back(delay);
    segment_.push_back(vote_of(frame, delay));
    segment_power_ += power_of(frame.level);
    if (static_cast<int>(segment_.size()) == frames_in(kSegmentSeconds, settings_.sample_rate) ||
        is_block_complete())
        finish_segment();
}

FrameVote Smoother::vote_of(const Block &frame, int delay) const
{
    if (frame.status == BlockStatus::quiet)
        return {FrameVote::Kind::silent};
    if (delay == EZOSSL_REJECTED_FRAME)
        return {FrameVote::Kind::unclear};
    if (frame.status != BlockStatus::ok || std::abs(delay) > longest_lag_ + kLagMargin)
        return {FrameVote::Kind::beyond};
    return {FrameVote::Kind::angle, frame.angle};
}

void Smoother::finish_segment()
{
    const double frames = static_cast<double>(segment_.size());
    const double level = 10.0 * std::log10(segment_power_ / frames);
    const bool is_quiet = gate_.is_quiet(level, frames * frame_seconds());
    for (const FrameVote &vote : segment_)
        vote_.add(is_quiet ? FrameVote{} : vote);
    is_quiet_ = is_quiet_ && is_quiet;
    power_ += segment_power_;
    segment_.clear();
    segment_power_ = 0.0;
}

Block Smoother::finish_block()
{
    const double seconds = settings_.block_frames * frame_seconds();
    const double start = static_cast<double>(blocks_) * seconds;
    const DirectionVote::Result result = vote_.result();
    const Block block = {start,
                         start + seconds,
                         is_quiet_ ? BlockStatus::quiet : result.status,
                         result.angle,
                         result.agreeing,
                         result.clear,
                         result.frames,
                         10.0 * std::log10(power_ / frames())};
    delays_.clear();
    power_ = 0.0;
    is_quiet_ = true;
    ++blocks_;
    return block;
}
