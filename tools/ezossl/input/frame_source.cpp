// SPDX-License-Identifier: MIT
// frame_source.cpp - decides on channels and rate, converts the pairs to 16 bits, cuts them into
// frames.

#include "input/frame_source.h"

#include <algorithm>
#include <iterator>

#include "base/sample_format.h"
#include "base/text.h"
#include "input/band_limit.h"

FrameSource::FrameSource(std::unique_ptr<SampleStream> stream, const InputSettings &settings,
                         std::optional<int> band_limit)
    : microphones_(find_microphones(settings.channels, stream->name(), stream->channels())),
      wanted_rate_(settings.rate), band_limit_(band_limit),
      rate_(analysis_rate(settings.rate, stream->rate(), stream->name(), band_limit)),
      pairs_(std::move(stream), microphones_, rate_)
{
}

InputLayout FrameSource::layout() const
{
    return {stream().rate(), stream().channels(), microphones_, pairs_.start()};
}

std::string FrameSource::progress() const
{
    const std::optional<double> end = pairs_.end();
    return format_text("%s: %.0f s", stream().name().c_str(), seconds()) +
           (end ? format_text(" of %.0f s", *end) : "");
}

bool FrameSource::read(Frame &frame)
{
    while (ready_.size() - used_ < kFrameSamples) {
        if (!refill())
            return false;
    }
    std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(used_), kFrameSamples, frame);
    used_ += kFrameSamples;
    return true;
}

std::vector<int16_t> FrameSource::read_all(const std::function<void()> &at_work)
{
    while (refill())
        at_work();
    used_ = ready_.size();
    return ready_;
}

// Adds what comes next to the samples that are ready; false at the end.
bool FrameSource::refill()
{
    const std::vector<float> *const pairs = pairs_.read();
    if (pairs == nullptr)
        return false;
    ready_.erase(ready_.begin(), ready_.begin() + static_cast<std::ptrdiff_t>(used_));
    used_ = 0;
    const size_t kept = ready_.size();
    ready_.resize(kept + pairs->size());
    clamped_ += static_cast<int64_t>(to_int16(pairs->data(), ready_.data() + kept, pairs->size()));
    read_pairs_ += static_cast<int64_t>(pairs->size() / EZOSSL_MIC_COUNT);
    return true;
}

std::vector<std::string> FrameSource::opening_remarks() const
{
    std::vector<std::string> remarks;
    for (const std::string &remark :
         {band_remark(), stream().encoding_remark(), rate_remark(), stream().header_remark()}) {
        if (!remark.empty())
            remarks.push_back(remark);
    }
    return remarks;
}

std::string FrameSource::band_remark() const
{
    if (!band_limit_)
        return "";
    return format_text("%s: %s: analysed at %d Hz", stream().name().c_str(),
                       band_limit_text(*band_limit_).c_str(), rate_);
}

std::string FrameSource::rate_remark() const
{
    const int from = stream().rate();
    if (from == rate_)
        return "";
    if (stream().origin() == SoundOrigin::device)
        return format_text("%s: captures at %d Hz, resampled to %d Hz", stream().name().c_str(),
                           from, rate_);
    if (wanted_rate_ != 0 || band_limit_)
        return "";
    return format_text("%s: %d Hz is resampled to %d Hz (-r chooses another rate)",
                       stream().name().c_str(), from, rate_);
}

std::string FrameSource::length_remark() const
{
    return pairs_.is_at_limit() ? "" : stream().length_remark(pairs_.position());
}
