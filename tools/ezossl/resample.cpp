// SPDX-License-Identifier: MIT
// resample.cpp - see resample.h.

#include "resample.h"

#include <string>

#include <samplerate.h>

#include "failure.h"

std::vector<float> resample(const std::vector<float> &samples, int channels, int from, int to)
{
    if (from == to)
        return samples;
    const auto width = static_cast<std::size_t>(channels);
    const double ratio = static_cast<double>(to) / from;
    const std::size_t length = samples.size() / width;
    std::vector<float> result(width *
                              (static_cast<std::size_t>(static_cast<double>(length) * ratio) + 1));
    SRC_DATA data{};
    data.data_in = samples.data();
    data.input_frames = static_cast<long>(length);
    data.data_out = result.data();
    data.output_frames = static_cast<long>(result.size() / width);
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, channels))
        throw Failure("the sound cannot be brought from " + std::to_string(from) + " Hz to " +
                      std::to_string(to) + " Hz: " + src_strerror(error));
    result.resize(width * static_cast<std::size_t>(data.output_frames_gen));
    return result;
}
