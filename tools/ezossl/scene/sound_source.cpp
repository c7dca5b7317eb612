// SPDX-License-Identifier: MIT
// sound_source.cpp - see sound_source.h.

#include "scene/sound_source.h"

#include <algorithm>
#include <cmath>

#include <samplerate.h>

#include "base/failure.h"
#include "input/audio_file.h"
#include "scene/scene.h"

namespace {

std::vector<float> read_mono(AudioReader &audio, double seconds)
{
    constexpr std::size_t kChunk = 4096;
    const auto channels = static_cast<std::size_t>(audio.channels());
    const auto wanted = static_cast<std::size_t>(std::ceil(seconds * audio.rate()));
    std::vector<float> chunk(kChunk * channels);
    std::vector<float> mono;
    while (mono.size() < wanted) {
        const std::size_t got = audio.read(chunk.data(), std::min(kChunk, wanted - mono.size()));
        if (got == 0)
            break;
        for (std::size_t i = 0; i < got; i++)
            mono.push_back(chunk[i * channels]);
    }
    return mono;
}

std::vector<float> resample(const std::vector<float> &samples, int from, int to,
                            const std::string &path)
{
    if (from == to)
        return samples;
    const double ratio = static_cast<double>(to) / from;
    std::vector<float> result(
        static_cast<std::size_t>(static_cast<double>(samples.size()) * ratio) + 1);
    SRC_DATA data{};
    data.data_in = samples.data();
    data.input_frames = static_cast<long>(samples.size());
    data.data_out = result.data();
    data.output_frames = static_cast<long>(result.size());
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, 1))
        throw Failure(path + ": cannot be brought from " + std::to_string(from) + " Hz to " +
                      std::to_string(to) + " Hz: " + src_strerror(error));
    result.resize(static_cast<std::size_t>(data.output_frames_gen));
    return result;
}

} // namespace

std::vector<float> read_source(const std::string &path, double seconds, int rate)
{
    AudioReader audio(path);
    std::vector<float> source = resample(read_mono(audio, seconds), audio.rate(), rate, path);
    if (source.empty() || active_rms(source, rate) == 0.0)
        throw Failure(path + ": holds no sound; a scene needs a source that can be heard");
    return source;
}

void repeat_to(std::vector<float> &samples, std::size_t length)
{
    const std::size_t period = samples.size();
    samples.resize(length);
    for (std::size_t i = period; i < length; i++)
        samples[i] = samples[i - period];
}
