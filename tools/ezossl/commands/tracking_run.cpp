// SPDX-License-Identifier: MIT
// tracking_run.cpp - gathers what source and tracker have counted.

#include "commands/tracking_run.h"

#include "base/interrupt.h"

Summary summary_without_blocks(const FrameSource &source, const Tracker &tracker)
{
    Summary summary;
    if (interrupts() == 0)
        summary.dropped_seconds =
            static_cast<double>(tracker.open_samples() + source.unread_pairs()) / source.rate();
    summary.clamped = source.clamped();
    summary.wrapped = tracker.wrapped();
    const LostSound lost = source.stream().lost();
    summary.overruns = lost.overruns;
    summary.suspends = lost.suspends;
    return summary;
}
