// SPDX-License-Identifier: MIT
// tracking_run.h - what `track` and `live` do with every frame of an input: make blocks for the
// report, and look for faults that make angles wrong.

#ifndef EZOSSL_TOOL_TRACKING_RUN_H
#define EZOSSL_TOOL_TRACKING_RUN_H

#include <cstdint>
#include <memory>
#include <optional>

#include "commands/tracking_options.h"
#include "diagnosis/fault_watch.h"
#include "input/band_limit.h"
#include "input/frame_source.h"
#include "output/report.h"
#include "tracking/tracker.h"

class TrackingRun
{
public:
    // Begins the input in the report.
    TrackingRun(const TrackingOptions &options, FrameSource &source, Report &report);

    void add(const Frame &frame);
    // Ends the input in the report. Sound cut off by an interrupt does not count as dropped.
    void finish();

private:
    void add_block(TrackedBlock tracked);
    void tell(const std::vector<Finding> &faults);
    void look_at_band();

    const TrackingOptions &options_;
    FrameSource &source_;
    Report &report_;
    std::optional<int> band_limit_;
    int64_t lost_places_ = 0;       // places so far where the device lost sound
    std::optional<BandLimit> band_; // none if the band is known
    FaultWatch watch_;
    Tracker tracker_;
};

#endif
