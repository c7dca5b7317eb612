// SPDX-License-Identifier: MIT
// channels.h - which channels of an input are the two microphones.

#ifndef EZOSSL_TOOL_CHANNELS_H
#define EZOSSL_TOOL_CHANNELS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "EzoSsl.h"

using Microphones = std::array<int, EZOSSL_MIC_COUNT>; // a channel for each

// What the user says; channels count from 1.
struct ChannelChoice {
    std::optional<Microphones> channels; // none: the two channels of a two-channel input
    bool swap = false;

    // The number of channels that an input needs.
    int fewest() const;
};

// From "1,2". UsageFailure if the text is not a pair of different channels.
Microphones parse_channels(const std::string &text);

// The chosen channels, from 0. Failure if the input, which the message names, does not have them,
// or if it has more than two and none were chosen.
Microphones find_microphones(const ChannelChoice &choice, const std::string &input, int channels);

// Fills `pairs` with the microphones' samples; `samples` has `count` of each channel, interleaved.
void pick_pairs(const float *samples, size_t count, int channels, const Microphones &microphones,
                std::vector<float> &pairs);

#endif
