// SPDX-License-Identifier: MIT
// tracking_run.cpp - hands each frame to the tracker and to those that watch, and each block to the
// report.

#include "commands/tracking_run.h"

#include <utility>

#include "base/interrupt.h"
#include "base/text.h"

namespace {

DiagnosisSettings diagnosis_settings(const TrackingOptions &options, const FrameSource &source,
                                     std::optional<int> band_limit)
{
    const Microphones microphones = source.layout().microphone;
    return {source.rate(),
            options.array.spacing_cm,
            options.array.temperature,
            options.gate_db.value_or(static_cast<int>(kLowestGateDb)),
            {microphones[0] + 1, microphones[1] + 1},
            !source.stream().encoding_remark().empty(),
            band_limit.value_or(0)};
}

} // namespace

TrackingRun::TrackingRun(const TrackingOptions &options, FrameSource &source,
                         std::optional<int> band_limit, Report &report)
    : options_(options), source_(source), report_(report), band_limit_(band_limit),
      watch_(diagnosis_settings(options, source, band_limit)),
      tracker_(
          options.settings(source.rate()), source.pairs().start(),
          [this](const Block &block, const std::vector<int> &delays) { add_block(block, delays); })
{
    if (!band_limit)
        band_.emplace(source.rate());
    report.begin({source.stream().name(), source.layout(), options.settings(source.rate())});
}

void TrackingRun::add(const Frame &frame)
{
    if (band_)
        band_->add(frame);
    watch_.add(frame);
    tracker_.add(frame);
}

void TrackingRun::add_block(const Block &block, const std::vector<int> &delays)
{
    const long places = source_.stream().lost().places();
    Block told = block;
    told.has_gap = places > std::exchange(lost_places_, places);
    report_.block(told, delays);
    look_at_band();
    if (options_.mode == DelayMode::vote)
        tell(watch_.add(block));
}

// Told once.
void TrackingRun::look_at_band()
{
    if (!band_ || band_limit_)
        return;
    band_limit_ = band_->edge();
    if (band_limit_)
        report_.fault("empty upper band", format_text("%s: angles are drawn towards 0; use -r %d",
                                                      band_limit_text(*band_limit_).c_str(),
                                                      rate_for_edge(*band_limit_)));
}

void TrackingRun::tell(const std::vector<Finding> &faults)
{
    for (const Finding &fault : faults)
        report_.fault(fault.kind->name, fault.measured + ": " + fault.kind->meaning +
                                            ". What to do: " + fault.kind->remedy);
}

void TrackingRun::finish()
{
    if (options_.mode == DelayMode::vote)
        tell(watch_.finish());
    SoundSummary summary;
    if (interrupts() == 0)
        summary.dropped_seconds =
            static_cast<double>(tracker_.open_samples() + source_.unread_pairs()) / source_.rate();
    summary.clamped = source_.clamped();
    summary.wrapped = tracker_.wrapped();
    const LostSound lost = source_.stream().lost();
    summary.overruns = lost.overruns;
    summary.suspends = lost.suspends;
    if (const NoiseGate *const gate = tracker_.gate(); gate != nullptr && !options_.gate_db)
        summary.gate = {gate->lowest(), gate->highest(), gate->level()};
    summary.band_limit = band_limit_;
    report_.end(summary);
}
