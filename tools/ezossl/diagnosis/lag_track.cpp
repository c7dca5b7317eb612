// SPDX-License-Identifier: MIT
// lag_track.cpp - see lag_track.h. The slope is the median of the slopes of all pairs of points (P.
// K. Sen, "Estimates of the regression coefficient based on Kendall's tau", J. Am. Stat. Assoc. 63,
// 1968): up to a quarter of the stretches may be wrong.

#include "diagnosis/lag_track.h"

#include <cmath>

#include "base/median.h"

LagLine fit_lag_line(const std::vector<StretchCorrelation> &stretches)
{
    if (stretches.size() < 3)
        return {0.0, 0.0, 0.0};
    std::vector<double> slopes;
    for (std::size_t i = 0; i < stretches.size(); i++)
        for (std::size_t j = i + 1; j < stretches.size(); j++)
            slopes.push_back((stretches[j].strongest().lag - stretches[i].strongest().lag) /
                             (stretches[j].middle - stretches[i].middle));
    const double slope = median(slopes);
    std::vector<double> offsets;
    offsets.reserve(stretches.size());
    for (const StretchCorrelation &stretch : stretches)
        offsets.push_back(stretch.strongest().lag - slope * stretch.middle);
    const double offset = median(offsets);
    const double change = slope * (stretches.back().middle - stretches.front().middle);
    const double tolerance = 0.5 + 0.1 * std::fabs(change);
    const auto near = std::count_if(offsets.begin(), offsets.end(), [&](double value) {
        return std::fabs(value - offset) < tolerance;
    });
    return {slope, change, static_cast<double>(near) / static_cast<double>(offsets.size())};
}
