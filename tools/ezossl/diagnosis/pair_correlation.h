// SPDX-License-Identifier: MIT
// pair_correlation.h - what two channels have in common, segment by segment, and the lag between
// them, over a much wider range of lags than any pair of microphones allows.

#ifndef EZOSSL_TOOL_PAIR_CORRELATION_H
#define EZOSSL_TOOL_PAIR_CORRELATION_H

#include <cstdint>
#include <vector>

constexpr double kSegmentSeconds = 1.0;

// A lag is counted in samples, arrival time at channel 0 less that at channel 1, as in the library.
struct Extreme {
    double value; // 1 for channels that differ only by the lag, -1 if one is inverted, too
    double lag;
};

struct SegmentCorrelation {
    double middle; // seconds from the beginning
    Extreme peak;
    Extreme dip;
    double noise; // standard deviation of the values at lags without common sound

    // The peak or the dip, whichever is stronger.
    const Extreme &strongest() const { return -dip.value > peak.value ? dip : peak; }
    // Whether it is far stronger than unrelated channels reach by chance.
    bool has_common_sound() const;
};

// The length of the transforms at a rate, in samples; lags are searched up to a quarter of it.
int correlation_length(int rate);

// Correlates the segments of interleaved samples whose mean power exceeds `least_power` (full scale
// 1). Segments overlap by half; an incomplete one at the end is omitted.
std::vector<SegmentCorrelation> correlate_segments(const std::vector<int16_t> &samples, int rate,
                                                   double least_power);

#endif
