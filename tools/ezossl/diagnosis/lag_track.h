// SPDX-License-Identifier: MIT
// lag_track.h - how the lag between two channels changes over a recording.

#ifndef EZOSSL_TOOL_LAG_TRACK_H
#define EZOSSL_TOOL_LAG_TRACK_H

#include <vector>

#include "diagnosis/pair_correlation.h"

// The line that the lag follows, and how well it does.
struct LagLine {
    double slope;     // samples per second
    double change;    // samples from the first to the last segment
    double near_line; // share of the segments whose lag lies near the line
};

// Takes segments with common sound; all members are zero for fewer than three.
LagLine fit_lag_line(const std::vector<SegmentCorrelation> &segments);

#endif
