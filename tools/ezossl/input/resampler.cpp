// SPDX-License-Identifier: MIT
// resampler.cpp - see resampler.h.

#include "input/resampler.h"

#include <string>

#include "base/failure.h"

namespace {

constexpr std::size_t kChannels = 2;

void require(int error)
{
    if (error != 0)
        throw Failure(std::string("the sample rate cannot be converted: ") + src_strerror(error));
}

} // namespace

Resampler::Resampler(int from_rate, int to_rate) : ratio_(static_cast<double>(to_rate) / from_rate)
{
    int error = 0;
    state_.reset(src_new(SRC_SINC_MEDIUM_QUALITY, kChannels, &error));
    require(error);
}

const std::vector<float> &Resampler::process(const float *samples, std::size_t couples,
                                             bool is_last)
{
    constexpr std::size_t kSpare = 256;
    const std::size_t room = static_cast<std::size_t>(static_cast<double>(couples) * ratio_);
    std::size_t done = 0;
    SRC_DATA data{};
    data.data_in = samples;
    data.input_frames = static_cast<long>(couples);
    data.src_ratio = ratio_;
    data.end_of_input = is_last ? 1 : 0;
    do {
        result_.resize(kChannels * (done + room + kSpare));
        data.data_out = result_.data() + kChannels * done;
        data.output_frames = static_cast<long>(room + kSpare);
        require(src_process(state_.get(), &data));
        done += static_cast<std::size_t>(data.output_frames_gen);
        data.data_in += static_cast<long>(kChannels) * data.input_frames_used;
        data.input_frames -= data.input_frames_used;
    } while (data.input_frames > 0 || (is_last && data.output_frames_gen > 0));
    result_.resize(kChannels * done);
    return result_;
}
