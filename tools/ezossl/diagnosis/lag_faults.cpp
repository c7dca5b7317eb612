// SPDX-License-Identifier: MIT
// lag_faults.cpp - faults that show in the lag between the channels. It is measured here, because
// the library only shows that it rejects a frame.

#include "diagnosis/lag_faults.h"

#include <algorithm>
#include <cmath>

#include "base/median.h"
#include "base/text.h"
#include "diagnosis/lag_track.h"
#include "diagnosis/pair_correlation.h"
#include "tracking/pair_geometry.h"

namespace {

constexpr double kLagDoubt = 0.35; // samples beyond the longest lag: doubtful
constexpr double kStillLag = 0.5;  // samples from the median within which a source does not move

using Segments = std::vector<SegmentCorrelation>;

double share_of(const Segments &segments, bool (*has)(const SegmentCorrelation &, double),
                double limit)
{
    const auto count =
        std::count_if(segments.begin(), segments.end(),
                      [&](const SegmentCorrelation &segment) { return has(segment, limit); });
    return static_cast<double>(count) / static_cast<double>(segments.size());
}

bool is_upside_down(const SegmentCorrelation &segment, double)
{
    return -segment.dip.value > 1.2 * segment.peak.value;
}

bool is_beyond(const SegmentCorrelation &segment, double limit)
{
    return std::fabs(segment.strongest().lag) > limit;
}

void find_lag_faults(const Segments &common, const DiagnosisSettings &settings,
                     Diagnosis &diagnosis)
{
    const double limit = diagnosis.longest_lag + kLagMargin;
    const double beyond = share_of(common, is_beyond, limit);
    const LagLine line = fit_lag_line(common);
    // A moving source changes the lag too, but never beyond what the spacing allows.
    const bool drifts = beyond > 0.2 && std::fabs(line.change) > limit && line.near_line > 0.7;
    if (drifts)
        diagnosis.findings.push_back(
            {&findings::kDrift,
             format_text("the lag goes from %+.1f to %+.1f samples, %+.3f a second",
                         common.front().strongest().lag, common.back().strongest().lag,
                         line.slope)});
    else if (beyond > 0.5)
        diagnosis.findings.push_back(
            {&findings::kImpossible,
             format_text("the lag is %+.1f samples, the stated spacing allows %.1f",
                         diagnosis.median_lag, diagnosis.longest_lag)});
    else if (share_of(common, is_beyond, diagnosis.longest_lag + kLagDoubt) > 0.5)
        diagnosis.findings.push_back(
            {&findings::kLongLag,
             format_text("the lag of %.2f samples is more than %g cm allow (%.2f): "
                         "is the spacing right?",
                         std::fabs(diagnosis.median_lag), settings.spacing_cm,
                         diagnosis.longest_lag)});
    if (share_of(common, is_upside_down, 0.0) > 0.5)
        diagnosis.findings.push_back(
            {&findings::kInverted,
             format_text("the correlation falls to %.2f but rises only to %.2f",
                         common.front().dip.value, common.front().peak.value)});
}

} // namespace

void compare_channels(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                      Diagnosis &diagnosis)
{
    const double least_power = std::pow(10.0, settings.gate_db / 10.0);
    const Segments all = correlate_segments(samples, settings.rate, least_power);
    Segments common;
    std::vector<double> lags;
    for (const SegmentCorrelation &segment : all) {
        if (!segment.has_common_sound())
            continue;
        common.push_back(segment);
        lags.push_back(segment.strongest().lag);
    }
    diagnosis.segments = static_cast<int>(all.size());
    diagnosis.common = static_cast<int>(common.size());
    diagnosis.median_lag = median(lags);
    const auto near = std::count_if(lags.begin(), lags.end(), [&diagnosis](double lag) {
        return std::fabs(lag - diagnosis.median_lag) < kStillLag;
    });
    diagnosis.is_still = 2 * near > static_cast<std::ptrdiff_t>(lags.size());
    if (!common.empty())
        find_lag_faults(common, settings, diagnosis);
    else if (all.empty())
        return;
    else if (!diagnosis.findings.empty() && diagnosis.findings.back().kind == &findings::kMismatch)
        diagnosis.findings.back() = {&findings::kCovered, diagnosis.findings.back().measured +
                                                              ", and they have no sound in common"};
    else
        diagnosis.findings.push_back(
            {&findings::kNoCommonSound,
             format_text("no correlation at any lag up to %d ms in any of %zu segments",
                         250 * correlation_length(settings.rate) / settings.rate, all.size())});
}
