// SPDX-License-Identifier: MIT
// diagnosis.cpp - the table of findings, and how each is recognised. The lags are measured here, as
// the library only shows that it rejects a frame; its blocks are counted afterwards.

#include "diagnosis/diagnosis.h"

#include <algorithm>
#include <cmath>

#include "base/acoustics.h"
#include "base/median.h"
#include "base/pi.h"
#include "base/sample_format.h"
#include "base/text.h"
#include "diagnosis/block_counts.h"
#include "diagnosis/lag_track.h"
#include "diagnosis/pair_correlation.h"
#include "input/band_limit.h"
#include "input/resampler.h"
#include "input/sample_rates.h"
#include "tracking/tracker.h"

namespace {

// clang-format off
constexpr FindingKind kTooQuiet = {true, true, "too quiet",
    "blocks at or below the gate get no direction",
    "raise the capture gain, or record a louder sound"};
constexpr FindingKind kLossy = {false, false, "lossy compression",
    "lossy compression changes the phase, so angles of such a file cannot be trusted",
    "record WAV or FLAC"};
constexpr FindingKind kDeadChannel = {true, true, "dead channel",
    "one microphone is not heard, so there is no direction",
    "check its wiring, its supply and the capture channel"};
constexpr FindingKind kIdentical = {true, true, "identical channels",
    "both channels carry the same signal, which has no direction",
    "record two microphones, without a mono mix or a balanced line on two inputs"};
constexpr FindingKind kLargeOffset = {true, true, "DC offset",
    "the library locates the offset instead of the sound, so angles go to 0",
    "remove it (sox IN OUT highpass 50), and check the microphone's coupling"};
constexpr FindingKind kOffset = {false, false, "DC offset",
    "it takes headroom, and may open the noise gate for silence",
    "remove it: sox IN OUT highpass 50"};
constexpr FindingKind kClipped = {false, false, "clipped",
    "loud parts are cut off; the directions of a single sound survive that",
    "lower the capture gain all the same"};
constexpr FindingKind kMismatch = {false, false, "level mismatch",
    "directions do not depend on it, but the fainter microphone's noise does",
    "check that both are uncovered and have the same gain"};
constexpr FindingKind kInverted = {true, true, "inverted polarity",
    "one channel is inverted, so the library rejects every frame",
    "swap the wires of one microphone, or negate a channel: sox IN OUT remix 1 2v-1"};
constexpr FindingKind kNoCommonSound = {true, true, "no common sound",
    "the channels carry different sounds, or are further apart in time",
    "record both microphones with one device, at one time"};
constexpr FindingKind kCovered = {true, true, "covered microphone",
    "the fainter microphone hears its own noise and not the sound, so there is no direction",
    "uncover it, and check its wiring and gain"};
constexpr FindingKind kDrift = {true, true, "drifting lag",
    "the channels run on two clocks",
    "record both microphones with one device"};
constexpr FindingKind kImpossible = {true, true, "impossible lag",
    "no source can be there: the spacing is larger than stated, or one channel is late",
    "state the real spacing with -s, or record both with one device"};
constexpr FindingKind kLongLag = {false, true, "long lag",
    "the spacing may be larger than stated, in which case angles are too large, up to 90",
    "measure the spacing, and state it with -s"};
constexpr FindingKind kEmptyBand = {true, false, "empty upper band",
    "angles are drawn towards 0 where the rate has more than the sound",
    "choose a lower rate with -r"};
constexpr FindingKind kNarrowBand = {false, false, "narrow band",
    "the sound once had a lower rate, and is analysed at that rate",
    "record at 16000 Hz or more if you can: angles get finer"};
constexpr FindingKind kContradiction = {true, true, "contradiction",
    "the directions found and the lag between the channels do not fit together",
    "try a lower rate with -r, and record without any processing"};
constexpr FindingKind kNoDirections = {true, false, "no directions",
    "no fault of the channels was found, but no block gets a direction",
    "record a source that is nearer, louder or in a room with less echo"};
constexpr FindingKind kFewDirections = {false, false, "few directions",
    "the sound is far, noisy or full of echo",
    "move the source nearer, or use longer blocks"};
constexpr FindingKind kLowerRate = {false, false, "few directions",
    "at this rate a frame of 128 samples holds little sound",
    "use -r 16000"};
// clang-format on

constexpr double kDeadDb = 40.0;          // below the other channel
constexpr double kMismatchDb = 12.0;      // between channels
constexpr double kCopyResidual = 1.5;     // steps of 16 bits: rounding of either channel
constexpr double kCopyLeastRms = 30.0;    // steps of 16 bits: a copy must be told from silence
constexpr double kOffsetShare = 0.01;     // of full scale
constexpr double kClippedShare = 0.0005;  // of the samples
constexpr double kLargeOffsetRatio = 5.0; // to the sound; from here on angles go to 0
constexpr double kLagMargin = 0.75;       // samples beyond the longest lag: impossible
constexpr double kLagDoubt = 0.35;        // and doubtful
constexpr double kContradictionLag = 0.5; // samples between the lag and that of the directions
constexpr double kFewShare = 0.2;         // of the blocks with sound
constexpr double kBetterByShare = 0.15;   // that makes another rate worth the advice

double rms_of_db(double db)
{
    return 32768.0 * std::pow(10.0, db / 20.0);
}

// The library counts microphones from 0, users and -c count channels from 1.
std::string microphone(std::size_t index, const DiagnosisSettings &settings)
{
    return format_text("microphone %zu (channel %d)", index, settings.channels[index]);
}

// ---- The channels by themselves --------------------------------------------------------------

// Faults that leave nothing else to judge; true if there is one.
bool find_missing_sound(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                        Diagnosis &diagnosis)
{
    const ChannelStatistics(&channels)[2] = diagnosis.channels;
    const std::size_t fainter = channels[0].rms <= channels[1].rms ? 0 : 1;
    const double low = channels[fainter].rms;
    const double high = channels[1 - fainter].rms;
    if (high > rms_of_db(settings.gate_db) &&
        (low < 0.5 || high > low * std::pow(10.0, kDeadDb / 20.0))) {
        diagnosis.findings.push_back(
            {&kDeadChannel,
             format_text("%s has %.1f dB of full scale, %s %.1f dB",
                         microphone(fainter, settings).c_str(), level_db(low),
                         microphone(1 - fainter, settings).c_str(), level_db(high))});
        return true;
    }
    const CopyFit copy = fit_copy(samples, channels[0], channels[1]);
    if (low > kCopyLeastRms && copy.residual < kCopyResidual) {
        diagnosis.findings.push_back(
            {&kIdentical, format_text("%s is %s times %.3f", microphone(1, settings).c_str(),
                                      microphone(0, settings).c_str(), copy.factor)});
        return true;
    }
    return false;
}

// The offset of a channel to its sound.
double offset_ratio(const ChannelStatistics &channel)
{
    return std::fabs(channel.mean) / std::max(channel.rms, 0.5);
}

void find_offset(Diagnosis &diagnosis)
{
    const ChannelStatistics &first = diagnosis.channels[0];
    const ChannelStatistics &second = diagnosis.channels[1];
    if (std::max(std::fabs(first.mean), std::fabs(second.mean)) < kOffsetShare * 32768.0)
        return;
    const bool large = std::max(offset_ratio(first), offset_ratio(second)) > kLargeOffsetRatio;
    diagnosis.findings.push_back(
        {large ? &kLargeOffset : &kOffset,
         format_text(
             "the channels lie %+.1f and %+.1f %% of full scale off zero, their sound has %.1f "
             "and %.1f %%",
             first.mean / 327.68, second.mean / 327.68, first.rms / 327.68, second.rms / 327.68)});
}

void find_clipping(Diagnosis &diagnosis)
{
    const ChannelStatistics &first = diagnosis.channels[0];
    const ChannelStatistics &second = diagnosis.channels[1];
    if (std::max(first.clipped_share, second.clipped_share) > kClippedShare)
        diagnosis.findings.push_back(
            {&kClipped, format_text("%.2f and %.2f %% of the channels' samples stay at the largest "
                                    "values, %d and %d",
                                    100.0 * first.clipped_share, 100.0 * second.clipped_share,
                                    first.peak, second.peak)});
}

void find_mismatch(const DiagnosisSettings &settings, Diagnosis &diagnosis)
{
    const double difference =
        level_db(diagnosis.channels[1].rms) - level_db(diagnosis.channels[0].rms);
    if (std::fabs(difference) > kMismatchDb)
        diagnosis.findings.push_back(
            {&kMismatch, format_text("%s is %.1f dB %s %s", microphone(1, settings).c_str(),
                                     std::fabs(difference), difference > 0.0 ? "above" : "below",
                                     microphone(0, settings).c_str())});
}

// ---- The channels against each other ---------------------------------------------------------

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
    // A walking source changes the lag too, but never beyond what the spacing allows.
    const bool drifts = beyond > 0.2 && std::fabs(line.change) > limit && line.near_line > 0.7;
    if (drifts)
        diagnosis.findings.push_back(
            {&kDrift, format_text("the lag goes from %+.1f to %+.1f samples, %+.3f a second",
                                  common.front().strongest().lag, common.back().strongest().lag,
                                  line.slope)});
    else if (beyond > 0.5)
        diagnosis.findings.push_back(
            {&kImpossible, format_text("the lag is %+.1f samples, the stated spacing allows %.1f",
                                       diagnosis.median_lag, diagnosis.longest_lag)});
    else if (share_of(common, is_beyond, diagnosis.longest_lag + kLagDoubt) > 0.5)
        diagnosis.findings.push_back(
            {&kLongLag, format_text("the lag of %.2f samples is more than %g cm allow (%.2f): "
                                    "is the spacing right?",
                                    std::fabs(diagnosis.median_lag), settings.spacing_cm,
                                    diagnosis.longest_lag)});
    if (share_of(common, is_upside_down, 0.0) > 0.5)
        diagnosis.findings.push_back(
            {&kInverted, format_text("the correlation goes down to %.2f and up to %.2f only",
                                     common.front().dip.value, common.front().peak.value)});
}

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
        return std::fabs(lag - diagnosis.median_lag) < kContradictionLag;
    });
    diagnosis.is_still = 2 * near > static_cast<std::ptrdiff_t>(lags.size());
    if (!common.empty())
        find_lag_faults(common, settings, diagnosis);
    else if (all.empty())
        return;
    else if (!diagnosis.findings.empty() && diagnosis.findings.back().kind == &kMismatch)
        diagnosis.findings.back() = {&kCovered, diagnosis.findings.back().measured +
                                                    ", and they have no sound in common"};
    else
        diagnosis.findings.push_back(
            {&kNoCommonSound,
             format_text("no correlation at any lag up to %d ms in any of %zu segments",
                         250 * correlation_length(settings.rate) / settings.rate, all.size())});
}

void find_band_limit(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                     Diagnosis &diagnosis)
{
    if (settings.band_limit != 0)
        diagnosis.findings.push_back({&kNarrowBand, band_limit_text(settings.band_limit)});
    BandLimit limit(settings.rate);
    for_each_frame(samples, [&limit](const Frame &frame) { limit.add(frame); });
    if (const std::optional<int> edge = limit.edge())
        diagnosis.findings.push_back(
            {&kEmptyBand,
             format_text("%s, analysed at %d Hz; -r %d fits", band_limit_text(*edge).c_str(),
                         settings.rate, rate_for_edge(*edge))});
}

// ---- What the library makes of them ----------------------------------------------------------

LocalizerSettings localizer_settings(const DiagnosisSettings &settings, int rate)
{
    return {rate, settings.spacing_cm, settings.temperature, settings.gate_db, 32};
}

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

void find_few_directions(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                         const BlockCounts &counts, Diagnosis &diagnosis)
{
    if (settings.rate > kBestRate && counts.share() < 0.5) {
        const BlockCounts there = count_blocks(at_rate(samples, settings.rate, kBestRate),
                                               localizer_settings(settings, kBestRate));
        if (there.share() > counts.share() + kBetterByShare) {
            diagnosis.findings.push_back(
                {&kLowerRate,
                 format_text("%.0f %% of the blocks with sound at %d Hz, %.0f %% at %d Hz",
                             100.0 * counts.share(), settings.rate, 100.0 * there.share(),
                             kBestRate)});
            return;
        }
    }
    if (counts.share() < kFewShare)
        diagnosis.findings.push_back(
            {counts.decided == 0 ? &kNoDirections : &kFewDirections,
             format_text("%d of %d blocks with sound get one", counts.decided, counts.with_sound)});
}

std::optional<double> median_direction(const std::vector<int16_t> &samples,
                                       const DiagnosisSettings &settings)
{
    std::vector<double> angles;
    LocalizerSettings localizer = localizer_settings(settings, settings.rate);
    localizer.block_frames = frames_in(kSmoothedBlockSeconds, settings.rate);
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

// The angle of a lag is -asin(lag / longest lag).
void find_contradiction(Diagnosis &diagnosis)
{
    if (!diagnosis.is_still || !diagnosis.median_angle)
        return;
    const double lag = -std::sin(*diagnosis.median_angle * kPi / 180.0) * diagnosis.longest_lag;
    if (std::fabs(lag - diagnosis.median_lag) > kContradictionLag)
        diagnosis.findings.push_back(
            {&kContradiction,
             format_text("the median direction of %+.0f deg stands for a lag of %+.2f samples, "
                         "the channels have %+.2f",
                         *diagnosis.median_angle, lag, diagnosis.median_lag)});
}

} // namespace

bool Diagnosis::is_usable() const
{
    return std::none_of(findings.begin(), findings.end(),
                        [](const Finding &finding) { return finding.kind->is_fault; });
}

std::size_t shortest_input(int rate)
{
    return static_cast<std::size_t>(kSegmentSeconds * rate);
}

Diagnosis diagnose(const std::vector<int16_t> &samples, const DiagnosisSettings &settings)
{
    Diagnosis diagnosis{};
    for (std::size_t c = 0; c < 2; ++c)
        diagnosis.channels[c] = channel_statistics(samples, c);
    diagnosis.longest_lag =
        settings.spacing_cm / 100.0 / speed_of_sound(settings.temperature) * settings.rate;
    const BlockCounts counts = count_blocks(samples, localizer_settings(settings, settings.rate));
    diagnosis.blocks = counts.with_sound;
    diagnosis.decided = counts.decided;
    if (settings.is_lossy)
        diagnosis.findings.push_back(
            {&kLossy, "the encoding leaves out what the ear misses least"});
    if (counts.loud == 0) {
        diagnosis.findings.push_back(
            {&kTooQuiet,
             format_text("no block is above the gate of %d dB of full scale", settings.gate_db)});
        return diagnosis;
    }
    if (find_missing_sound(samples, settings, diagnosis))
        return diagnosis;
    find_offset(diagnosis);
    find_clipping(diagnosis);
    find_mismatch(settings, diagnosis);
    compare_channels(samples, settings, diagnosis);
    find_band_limit(samples, settings, diagnosis);
    diagnosis.median_angle = median_direction(samples, settings);
    if (diagnosis.is_usable())
        find_contradiction(diagnosis);
    if (diagnosis.is_usable())
        find_few_directions(samples, settings, counts, diagnosis);
    return diagnosis;
}
