// SPDX-License-Identifier: MIT
// channel_statistics.cpp - level, offset and clipping of each channel, and how the two are related.

#include "diagnosis/channel_statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/sample_format.h"

namespace {

constexpr size_t kShortestClippedRun = 3; // two equal samples occur at the peaks of any sound
constexpr int kLeastClippedPeak = 1000;   // faint sounds repeat values without being clipped

// A gain after the clipping may have moved it, so the channel's own extremes count, not full scale.
size_t count_clipped(const std::vector<int16_t> &samples, size_t channel, int lowest, int highest)
{
    size_t clipped = 0;
    size_t run = 0;
    for (size_t i = channel; i < samples.size(); i += 2) {
        const int sample = samples[i];
        const bool goes_on = run > 0 && sample == samples[i - 2];
        const bool at_end = sample == lowest || sample == highest;
        run = at_end ? (goes_on ? run + 1 : 1) : 0;
        if (run == kShortestClippedRun)
            clipped += run;
        else if (run > kShortestClippedRun)
            ++clipped;
    }
    return clipped;
}

} // namespace

ChannelStatistics channel_statistics(const std::vector<int16_t> &samples, size_t channel)
{
    const auto count = static_cast<double>(samples.size()) / 2.0;
    double sum = 0.0;
    double squares = 0.0;
    int lowest = samples[channel];
    int highest = lowest;
    for (size_t i = channel; i < samples.size(); i += 2) {
        const int sample = samples[i];
        sum += sample;
        squares += static_cast<double>(sample) * sample;
        lowest = std::min(lowest, sample);
        highest = std::max(highest, sample);
    }
    const double mean = sum / count;
    const int peak = std::max(std::abs(lowest), std::abs(highest));
    const bool can_clip = highest - lowest > kLeastClippedPeak;
    const size_t clipped = can_clip ? count_clipped(samples, channel, lowest, highest) : 0;
    return {mean, std::sqrt(std::max(0.0, squares / count - mean * mean)), peak,
            static_cast<double>(clipped) / count};
}

CopyFit fit_copy(const std::vector<int16_t> &samples, const ChannelStatistics &first,
                 const ChannelStatistics &second)
{
    const auto count = static_cast<double>(samples.size()) / 2.0;
    double product = 0.0;
    for (size_t i = 0; i + 1 < samples.size(); i += 2)
        product += (samples[i] - first.mean) * (samples[i + 1] - second.mean);
    const double power = first.rms * first.rms;
    const double factor = power > 0.0 ? product / count / power : 0.0;
    const double left = second.rms * second.rms - factor * factor * power;
    return {factor, std::sqrt(std::max(0.0, left))};
}

double level_db(double rms)
{
    return 20.0 * std::log10(rms / kFullScale);
}
