// SPDX-License-Identifier: MIT
// channel_faults.cpp - faults that show in a channel's level, offset and peaks.

#include "diagnosis/channel_faults.h"

#include <algorithm>
#include <cmath>

#include "base/sample_format.h"
#include "base/text.h"

namespace {

constexpr double kDeadDb = 40.0;          // below the other channel
constexpr double kMismatchDb = 12.0;      // between channels
constexpr double kCopyResidual = 1.5;     // steps of 16 bits, from the rounding of both channels
constexpr double kCopyLeastRms = 30.0;    // steps of 16 bits; fainter copies resemble silence
constexpr double kOffsetShare = 0.01;     // of full scale
constexpr double kClippedShare = 0.0005;  // of the samples
constexpr double kLargeOffsetRatio = 5.0; // to the sound; beyond this angles go to 0

double ratio_of(double db)
{
    return std::pow(10.0, db / 20.0);
}

// A number of steps of 16-bit samples as a percentage of full scale, rounded to a tenth.
double percent(double steps)
{
    const double tenths = std::round(1000.0 * steps / kFullScale);
    return tenths == 0.0 ? 0.0 : tenths / 10.0; // not -0.0
}

// Microphones count from 0, as in the library; channels count from 1, as in -c.
std::string microphone(size_t index, const DiagnosisSettings &settings)
{
    return format_text("microphone %zu (channel %d)", index, settings.channels[index]);
}

// The ratio of a channel's offset to its sound.
double offset_ratio(const ChannelStatistics &channel)
{
    return std::fabs(channel.mean) / std::max(channel.rms, 0.5);
}

void find_offset(Diagnosis &diagnosis)
{
    const ChannelStatistics &first = diagnosis.channels[0];
    const ChannelStatistics &second = diagnosis.channels[1];
    if (std::max(std::fabs(first.mean), std::fabs(second.mean)) < kOffsetShare * kFullScale)
        return;
    const bool large = std::max(offset_ratio(first), offset_ratio(second)) > kLargeOffsetRatio;
    diagnosis.findings.push_back(
        {large ? &findings::kLargeOffset : &findings::kOffset,
         format_text(
             "the channels are off zero by %+.1f and %+.1f %% of full scale, and the level of "
             "their sound is %.1f and %.1f %%",
             percent(first.mean), percent(second.mean), percent(first.rms), percent(second.rms))});
}

void find_clipping(Diagnosis &diagnosis)
{
    const ChannelStatistics &first = diagnosis.channels[0];
    const ChannelStatistics &second = diagnosis.channels[1];
    if (std::max(first.clipped_share, second.clipped_share) > kClippedShare)
        diagnosis.findings.push_back(
            {&findings::kClipped,
             format_text("%.2f and %.2f %% of the channels' samples stay at the largest "
                         "values, %d and %d",
                         100.0 * first.clipped_share, 100.0 * second.clipped_share, first.peak,
                         second.peak)});
}

void find_mismatch(const DiagnosisSettings &settings, Diagnosis &diagnosis)
{
    const double difference =
        level_db(diagnosis.channels[1].rms) - level_db(diagnosis.channels[0].rms);
    if (std::fabs(difference) > kMismatchDb)
        diagnosis.findings.push_back(
            {&findings::kMismatch,
             format_text("%s is %.1f dB %s %s", microphone(1, settings).c_str(),
                         std::fabs(difference), difference > 0.0 ? "above" : "below",
                         microphone(0, settings).c_str())});
}

} // namespace

bool find_missing_sound(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                        Diagnosis &diagnosis)
{
    const ChannelStatistics(&channels)[2] = diagnosis.channels;
    const size_t fainter = channels[0].rms <= channels[1].rms ? 0 : 1;
    const double low = channels[fainter].rms;
    const double high = channels[1 - fainter].rms;
    if (high > kFullScale * ratio_of(settings.gate_db) &&
        (low < 0.5 || high > low * ratio_of(kDeadDb))) {
        diagnosis.findings.push_back(
            {&findings::kDeadChannel,
             format_text("%s has %.1f dB of full scale, %s %.1f dB",
                         microphone(fainter, settings).c_str(), level_db(low),
                         microphone(1 - fainter, settings).c_str(), level_db(high))});
        return true;
    }
    const CopyFit copy = fit_copy(samples, channels[0], channels[1]);
    if (low > kCopyLeastRms && copy.residual < kCopyResidual) {
        diagnosis.findings.push_back(
            {&findings::kIdentical,
             format_text("%s is %s times %.3f", microphone(1, settings).c_str(),
                         microphone(0, settings).c_str(), copy.factor)});
        return true;
    }
    return false;
}

void find_channel_faults(const DiagnosisSettings &settings, Diagnosis &diagnosis)
{
    find_offset(diagnosis);
    find_clipping(diagnosis);
    find_mismatch(settings, diagnosis);
}
