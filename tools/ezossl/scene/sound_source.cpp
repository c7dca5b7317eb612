// SPDX-License-Identifier: MIT
// sound_source.cpp - reads the source's sound, and repeats it as long as the scene needs.

#include "scene/sound_source.h"

#include <cstddef>
#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "input/audio_file.h"
#include "input/pair_source.h"
#include "scene/scene.h"

std::vector<float> read_source(const std::string &path, double seconds, int rate)
{
    constexpr Microphones kFirstChannelTwice = {0, 0};
    PairSource pairs(std::make_unique<AudioReader>(path), kFirstChannelTwice, rate);
    pairs.end_after(seconds);
    std::vector<float> source;
    while (const std::vector<float> *const next = pairs.read()) {
        for (size_t i = 0; i < next->size(); i += EZOSSL_MIC_COUNT)
            source.push_back((*next)[i]);
    }
    end_if_interrupted();
    if (source.empty() || active_rms(source, rate) == 0.0)
        throw Failure(path + ": holds no sound; a scene needs a source that can be heard");
    const std::string remark =
        pairs.is_at_limit() ? "" : pairs.stream().length_remark(pairs.position());
    if (!remark.empty())
        note(remark);
    return source;
}

void repeat_to(std::vector<float> &samples, size_t length)
{
    const size_t period = samples.size();
    samples.resize(length);
    for (size_t i = period; i < length; ++i)
        samples[i] = samples[i - period];
}
