// SPDX-License-Identifier: MIT
// direction_faults.cpp - faults that show in the band of the sound and in the library's directions.

#include "diagnosis/direction_faults.h"

#include <algorithm>
#include <cmath>

#include "base/median.h"
#include "base/pi.h"
#include "base/sample_format.h"
#include "base/text.h"
#include "input/band_limit.h"
#include "input/resampler.h"
#include "input/sample_rates.h"
#include "tracking/tracker.h"

namespace {

constexpr double kContradictionLag = 0.5; // samples between the channels' and the directions' lag
constexpr double kBetterByShare = 0.15;   // of the blocks: gain for which another rate is advised

std::vector<int16_t> at_rate(const std::vector<int16_t> &samples, int from, int to)
{
    std::vector<float> scaled(samples.size());
    to_float(samples.data(), scaled.data(), samples.size());
    const std::vector<float> converted =
        Resampler(from, to).process(scaled.data(), scaled.size() / EZOSSL_MIC_COUNT, true);
    std::vector<int16_t> result(converted.size());
    to_int16(converted.data(), result.data(), result.size()); // clamping harms no comparison
    return result;
}

std::optional<double> median_direction(const std::vector<int16_t> &samples,
                                       const DiagnosisSettings &settings)
{
    std::vector<double> angles;
    const LocalizerSettings localizer = {settings.rate, settings.spacing_cm, settings.temperature,
                                         settings.gate_db,
                                         frames_in(kSmoothedBlockSeconds, settings.rate)};
    Tracker tracker({localizer, kSmoothSeconds, settings.gate_db}, 0.0);
    for_each_frame(samples, [&](const Frame &frame) {
        const auto tracked = tracker.add(frame);
        if (tracked && tracked->block.status == BlockStatus::ok)
            angles.push_back(tracked->block.angle);
    });
    if (angles.empty())
        return std::nullopt;
    return median(angles);
}

} // namespace

void find_band_limit(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                     Diagnosis &diagnosis)
{
    if (settings.band_limit != 0)
        diagnosis.findings.push_back(
            {&findings::kNarrowBand, band_limit_text(settings.band_limit)});
    BandLimit limit(settings.rate);
    for_each_frame(samples, [&limit](const Frame &frame) { limit.add(frame); });
    if (const std::optional<int> edge = limit.edge())
        diagnosis.findings.push_back(
            {&findings::kEmptyBand,
             format_text("%s, analysed at %d Hz; -r %d fits", band_limit_text(*edge).c_str(),
                         settings.rate, rate_for_edge(*edge))});
}

void find_contradiction(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                        Diagnosis &diagnosis)
{
    diagnosis.median_angle = median_direction(samples, settings);
    if (!diagnosis.is_usable() || !diagnosis.is_still || !diagnosis.median_angle)
        return;
    // The angle of a lag is -asin(lag / longest lag).
    const double lag = -std::sin(*diagnosis.median_angle * kPi / 180.0) * diagnosis.longest_lag;
    // If the lag is too long, too, a wrong spacing explains both, and another rate does not help.
    const bool is_long =
        std::any_of(diagnosis.findings.begin(), diagnosis.findings.end(),
                    [](const Finding &finding) { return finding.kind == &findings::kLongLag; });
    if (std::fabs(lag - diagnosis.median_lag) > kContradictionLag)
        diagnosis.findings.push_back(
            {is_long ? &findings::kBeyondDirections : &findings::kContradiction,
             format_text("the median direction of %+.0f deg corresponds to a lag of %+.2f samples, "
                         "but that of the channels is %+.2f",
                         *diagnosis.median_angle, lag, diagnosis.median_lag)});
}

void find_few_directions(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                         const BlockCounts &counts, Diagnosis &diagnosis)
{
    if (settings.rate > kBestRate && counts.share() < 0.5) {
        DiagnosisSettings at_best = settings;
        at_best.rate = kBestRate;
        const BlockCounts there = count_blocks(at_rate(samples, settings.rate, kBestRate), at_best);
        if (there.share() > counts.share() + kBetterByShare) {
            diagnosis.findings.push_back(
                {&findings::kLowerRate,
                 format_text("%.0f %% of the blocks with sound at %d Hz, %.0f %% at %d Hz",
                             100.0 * counts.share(), settings.rate, 100.0 * there.share(),
                             kBestRate)});
            return;
        }
    }
    if (counts.share() < kFewShare)
        diagnosis.findings.push_back(
            {counts.decided == 0 ? &findings::kNoDirections : &findings::kFewDirections,
             format_text("%d of %d blocks with sound get one", counts.decided, counts.with_sound)});
}
