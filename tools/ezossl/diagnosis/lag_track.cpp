// SPDX-License-Identifier: MIT
// lag_track.cpp - a line through the lags. Its slope is the median of the slopes of all pairs of
// points (P. K. Sen, "Estimates of the regression coefficient based on Kendall's tau", J. Am. Stat.
// Assoc. 63, 1968), so a quarter of the segments may be wrong.

#include "diagnosis/lag_track.h"

#include <cmath>

#include "base/median.h"

LagLine fit_lag_line(const std::vector<SegmentCorrelation> &segments)
{
    if (segments.size() < 3)
        return {0.0, 0.0, 0.0};
    std::vector<double> slopes;
    for (size_t i = 0; i < segments.size(); ++i)
        for (size_t j = i + 1; j < segments.size(); ++j)
            slopes.push_back((segments[j].strongest().lag - segments[i].strongest().lag) /
                             (segments[j].middle - segments[i].middle));
    const double slope = median(slopes);
    std::vector<double> offsets;
    offsets.reserve(segments.size());
    for (const SegmentCorrelation &segment : segments)
        offsets.push_back(segment.strongest().lag - slope * segment.middle);
    const double offset = median(offsets);
    const double change = slope * (segments.back().middle - segments.front().middle);
    const double tolerance = 0.5 + 0.1 * std::fabs(change);
    const auto near = std::count_if(offsets.begin(), offsets.end(), [&](double value) {
        return std::fabs(value - offset) < tolerance;
    });
    return {slope, change, static_cast<double>(near) / static_cast<double>(offsets.size())};
}
