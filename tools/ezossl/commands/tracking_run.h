// SPDX-License-Identifier: MIT
// tracking_run.h - what `track` and `live` do with every frame of an input: blocks for the report,
// and a watch on the faults that make angles wrong.

#ifndef EZOSSL_TOOL_TRACKING_RUN_H
#define EZOSSL_TOOL_TRACKING_RUN_H

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
    // Begins the input in the report. `band_limit` is the frequency in Hz above which the input is
    // known to have no sound, if its rate was chosen for that.
    TrackingRun(const TrackingOptions &options, FrameSource &source, std::optional<int> band_limit,
                Report &report);

    void add(const Frame &frame);
    // Ends the input in the report. What an interrupt cut off does not count as dropped.
    void finish();

private:
    void add_block(const Block &block, const std::vector<int> &delays);
    void tell(const std::vector<Finding> &faults);
    void look_at_band();

    const TrackingOptions &options_;
    FrameSource &source_;
    Report &report_;
    std::optional<int> band_limit_;
    long lost_places_ = 0;          // where the device lost sound, so far
    std::optional<BandLimit> band_; // none where the band is known
    FaultWatch watch_;
    Tracker tracker_;
};

#endif
