// SPDX-License-Identifier: MIT
// channel_statistics.h - properties of the two channels that do not depend on time lags.

#ifndef EZOSSL_TOOL_CHANNEL_STATISTICS_H
#define EZOSSL_TOOL_CHANNEL_STATISTICS_H

#include <cstddef>
#include <cstdint>
#include <vector>

// The statistics of one channel, in steps of 16 bits.
struct ChannelStatistics {
    double mean;
    double rms;           // about the mean
    int peak;             // largest magnitude
    double clipped_share; // of samples in runs of three or more at the channel's own extremes
};

// Channel 1 as a multiple of channel 0, both about their means.
struct CopyFit {
    double factor;
    double residual; // rms of the difference, in steps of 16 bits
};

// `samples` are interleaved by two channels, and not empty.
ChannelStatistics channel_statistics(const std::vector<int16_t> &samples, size_t channel);
CopyFit fit_copy(const std::vector<int16_t> &samples, const ChannelStatistics &first,
                 const ChannelStatistics &second);

// dB of full scale of an rms in steps of 16 bits; -infinity for 0.
double level_db(double rms);

#endif
