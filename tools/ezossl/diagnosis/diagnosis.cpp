// SPDX-License-Identifier: MIT
// diagnosis.cpp - the order of the checks, so that the effects of one fault are not reported as
// another.

#include "diagnosis/diagnosis.h"

#include <algorithm>

#include "base/text.h"
#include "diagnosis/block_counts.h"
#include "diagnosis/channel_faults.h"
#include "diagnosis/direction_faults.h"
#include "diagnosis/lag_faults.h"
#include "diagnosis/pair_correlation.h"
#include "tracking/pair_geometry.h"

bool Diagnosis::is_usable() const
{
    return std::none_of(findings.begin(), findings.end(),
                        [](const Finding &finding) { return finding.kind->is_fault; });
}

DiagnosisSettings diagnosis_settings(const FrameSource &source, double spacing_cm, int temperature,
                                     int gate_db)
{
    const Microphones microphones = source.layout().microphone;
    return {source.rate(),
            spacing_cm,
            temperature,
            gate_db,
            {microphones[0] + 1, microphones[1] + 1},
            !source.stream().encoding_remark().empty(),
            source.band_limit().value_or(0)};
}

size_t shortest_input(int rate)
{
    return static_cast<size_t>(kSegmentSeconds * rate);
}

Diagnosis diagnose(const std::vector<int16_t> &samples, const DiagnosisSettings &settings)
{
    Diagnosis diagnosis{};
    for (size_t c = 0; c < 2; ++c)
        diagnosis.channels[c] = channel_statistics(samples, c);
    diagnosis.longest_lag =
        PairGeometry(settings.spacing_cm, settings.rate, settings.temperature).longest_lag();
    const BlockCounts counts = count_blocks(samples, settings);
    diagnosis.blocks = counts.with_sound;
    diagnosis.decided = counts.decided;
    if (settings.is_lossy)
        diagnosis.findings.push_back(
            {&findings::kLossy, "the encoding omits what people hardly hear"});
    if (counts.loud == 0) {
        diagnosis.findings.push_back(
            {&findings::kTooQuiet,
             format_text("no block is above the gate of %d dB of full scale", settings.gate_db)});
        return diagnosis;
    }
    if (find_missing_sound(samples, settings, diagnosis))
        return diagnosis;
    find_channel_faults(settings, diagnosis);
    compare_channels(samples, settings, diagnosis);
    find_band_limit(samples, settings, diagnosis);
    find_contradiction(samples, settings, diagnosis);
    if (diagnosis.is_usable())
        find_few_directions(samples, settings, counts, diagnosis);
    return diagnosis;
}
