// SPDX-License-Identifier: MIT
// tracking_run.h - what `track` and `live` both tell at the end of an input.

#ifndef EZOSSL_TOOL_TRACKING_RUN_H
#define EZOSSL_TOOL_TRACKING_RUN_H

#include "input/frame_source.h"
#include "output/summary.h"
#include "tracking/tracker.h"

// The summary but for the blocks. What an interrupt cut off does not count as dropped.
Summary summary_without_blocks(const FrameSource &source, const Tracker &tracker);

#endif
