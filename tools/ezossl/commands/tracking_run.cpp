// SPDX-License-Identifier: MIT
// tracking_run.cpp - passes each frame to the tracker, the search for faults and that for the band,
// and each block to the report.

#include "commands/tracking_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <utility>

#include "base/interrupt.h"
#include "base/sample_format.h"
#include "base/text.h"

namespace {

// Samples that the library would wrap around are clamped; the summary counts them.
void amplify(const Frame &from, int gain_db, Frame &to)
{
    const double factor = std::pow(10.0, gain_db / 20.0);
    std::transform(std::begin(from), std::end(from), to, [factor](int16_t sample) {
        return static_cast<int16_t>(
            std::clamp(std::round(sample * factor), -kFullScale, kFullScale - 1.0));
    });
}

} // namespace

TrackingRun::TrackingRun(const TrackingOptions &options, FrameSource &source, Report &report)
    : options_(options), source_(source), report_(report), band_limit_(source.band_limit()),
      watch_(diagnosis_settings(source, options.array.spacing_cm, options.array.temperature,
                                options.fixed_gate_db())),
      tracker_(options.settings(source.rate()), source.start())
{
    if (!band_limit_)
        band_.emplace(source.rate());
    report.begin({source.stream().name(), source.layout(), options.settings(source.rate())});
}

void TrackingRun::add(const Frame &frame)
{
    // The searches for faults and band use the gate, so they need the level that the library gets.
    Frame amplified;
    if (options_.gain_db != 0)
        amplify(frame, options_.gain_db, amplified);
    const Frame &heard = options_.gain_db != 0 ? amplified : frame;
    if (band_)
        band_->add(heard);
    watch_.add(heard);
    if (std::optional<TrackedBlock> tracked = tracker_.add(frame))
        add_block(std::move(*tracked));
}

void TrackingRun::add_block(TrackedBlock tracked)
{
    const int64_t places = source_.stream().lost().places();
    tracked.block.time = std::chrono::system_clock::now();
    tracked.block.has_gap = places > std::exchange(lost_places_, places);
    report_.block(tracked.block, tracked.delays);
    look_at_band();
    if (options_.mode == DelayMode::vote)
        tell(watch_.add(tracked.block));
}

// Reports an empty band once.
void TrackingRun::look_at_band()
{
    if (!band_ || band_limit_)
        return;
    band_limit_ = band_->edge();
    if (band_limit_)
        report_.fault(findings::kEmptyBand.name,
                      format_text("%s: angles are drawn towards 0; use -r %d",
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
