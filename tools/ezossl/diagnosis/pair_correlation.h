// SPDX-License-Identifier: MIT
// pair_correlation.h - what two channels have in common, segment by segment, and how far apart in
// time: over a much wider range of lags than any pair of microphones allows.

#ifndef EZOSSL_TOOL_PAIR_CORRELATION_H
#define EZOSSL_TOOL_PAIR_CORRELATION_H

#include <cstdint>
#include <vector>

constexpr double kSegmentSeconds = 1.0;

// A lag is counted in samples, arrival time at channel 0 less that at channel 1, as in the library.
struct Extreme {
    double value; // 1 for channels that are equal but for the lag, -1 for one turned upside down
    double lag;
};

struct SegmentCorrelation {
    double middle; // seconds from the beginning
    Extreme peak;
    Extreme dip;
    double noise; // standard deviation of the values where there is nothing in common

    // The stronger of peak and dip.
    const Extreme &strongest() const { return -dip.value > peak.value ? dip : peak; }
    // Far beyond what channels with nothing in common reach by chance.
    bool has_common_sound() const;
};

// Samples of the transforms at a rate; lags are searched up to a quarter of it.
int correlation_length(int rate);

// Of the segments of interleaved samples whose mean power exceeds `least_power` (full scale 1).
// Segments overlap by half; what is shorter than one at the end is left out.
std::vector<SegmentCorrelation> correlate_segments(const std::vector<int16_t> &samples, int rate,
                                                   double least_power);

#endif
