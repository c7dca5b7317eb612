// SPDX-License-Identifier: MIT
// channels.cpp - parses the choice of channels, checks it against an input, and picks the samples.

#include "input/channels.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/failure.h"

namespace {

constexpr int kMostChannels = 64;

bool is_channel(int channel)
{
    return channel >= 1 && channel <= kMostChannels;
}

} // namespace

int ChannelChoice::fewest() const
{
    return channels ? *std::max_element(channels->begin(), channels->end()) : EZOSSL_MIC_COUNT;
}

Microphones parse_channels(const std::string &text)
{
    Microphones channels{};
    const char *const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, channels[0]);
    const bool has_comma = first.ec == std::errc() && first.ptr != end && *first.ptr == ',';
    const auto second = std::from_chars(has_comma ? first.ptr + 1 : end, end, channels[1]);
    if (second.ec != std::errc() || second.ptr != end ||
        !std::all_of(channels.begin(), channels.end(), is_channel))
        throw UsageFailure("--channels: '" + text +
                           "' is not a pair of channels; write 1,2 (1 to " +
                           std::to_string(kMostChannels) + ")");
    if (channels[0] == channels[1])
        throw UsageFailure("--channels: channel " + std::to_string(channels[0]) +
                           " is given twice; give each microphone its own");
    return channels;
}

Microphones find_microphones(const ChannelChoice &choice, const std::string &input, int channels)
{
    const std::string count = std::to_string(channels);
    if (channels == 1)
        throw Failure(input + ": 1 channel; needs 2, one per microphone: record both");
    if (!choice.channels && channels != EZOSSL_MIC_COUNT)
        throw Failure(
            input + ": " + count +
            " channels; needs 2, one per microphone; choose them, for example with -c 1,2");
    if (choice.fewest() > channels)
        throw Failure(input + ": has no channel " + std::to_string(choice.fewest()) + ", only " +
                      count + "; choose others with -c");
    Microphones microphones = choice.channels.value_or(Microphones{1, 2});
    if (choice.swap)
        std::swap(microphones[0], microphones[1]);
    for (int &microphone : microphones)
        --microphone;
    return microphones;
}

void pick_pairs(const float *samples, size_t count, int channels, const Microphones &microphones,
                std::vector<float> &pairs)
{
    const float *const first = samples + microphones[0];
    const float *const second = samples + microphones[1];
    const auto step = static_cast<size_t>(channels);
    pairs.resize(count * EZOSSL_MIC_COUNT);
    for (size_t i = 0; i < count; ++i) {
        pairs[EZOSSL_MIC_COUNT * i] = first[i * step];
        pairs[EZOSSL_MIC_COUNT * i + 1] = second[i * step];
    }
}
