// SPDX-License-Identifier: MIT
// pair_source.cpp - reads a stream chunk by chunk, in constant memory.

#include "input/pair_source.h"

#include <algorithm>
#include <cmath>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"

PairSource::PairSource(std::unique_ptr<SampleStream> stream, const Microphones &microphones,
                       int rate)
    : stream_(std::move(stream)), microphones_(microphones),
      chunk_(stream_->chunk() * static_cast<size_t>(stream_->channels()))
{
    if (stream_->rate() != rate)
        resampler_.emplace(stream_->rate(), rate);
}

void PairSource::skip_to(double seconds)
{
    start_ = seconds;
    const int64_t place = samples_in(seconds);
    while (position_ < place && interrupts() == 0) {
        if (!read_until(place) && interrupts() == 0)
            throw Failure(stream_->name() + format_text(": ends before --start %g s", seconds));
    }
}

void PairSource::end_after(double seconds)
{
    limit_ = position_ + samples_in(seconds);
}

const std::vector<float> *PairSource::read()
{
    if (is_over_)
        return nullptr;
    const std::optional<size_t> count = read_until(limit_);
    is_over_ = !count || interrupts() >= interrupts_to_end_;
    if (interrupts() >= interrupts_to_end_)
        return nullptr;
    pick_pairs(chunk_.data(), count.value_or(0), stream_->channels(), microphones_, pairs_);
    if (!resampler_)
        return &pairs_;
    return &resampler_->process(pairs_.data(), count.value_or(0), is_over_);
}

std::optional<double> PairSource::end() const
{
    constexpr int64_t kUnknown = std::numeric_limits<int64_t>::max();
    const int64_t end = std::min(limit_, stream_->length().value_or(kUnknown));
    if (end == kUnknown)
        return std::nullopt;
    return static_cast<double>(end) / stream_->rate();
}

bool PairSource::is_cut()
{
    return is_at_limit() && stream_->read(chunk_.data(), 1).value_or(0) > 0;
}

// Empty at the end of the stream, or when `end` is reached.
std::optional<size_t> PairSource::read_until(int64_t end)
{
    const auto wanted = std::min(static_cast<int64_t>(stream_->chunk()), end - position_);
    if (wanted == 0)
        return std::nullopt;
    const auto count = stream_->read(chunk_.data(), static_cast<size_t>(wanted));
    position_ += static_cast<int64_t>(count.value_or(0));
    return count;
}

int64_t PairSource::samples_in(double seconds) const
{
    return std::llround(seconds * stream_->rate());
}
