// SPDX-License-Identifier: MIT
// tracking_options.h - the options that `track` and `live` share.

#ifndef EZOSSL_TOOL_TRACKING_OPTIONS_H
#define EZOSSL_TOOL_TRACKING_OPTIONS_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/options.h"
#include "commands/serve_option.h"
#include "input/frame_source.h"
#include "output/report.h"
#include "tracking/tracker.h"

constexpr double kLongestSeconds = 86400.0; // that a part or a duration may be given as

struct TrackingOptions {
    ReportSettings report;
    ArrayOptions array;
    InputSettings input;
    std::optional<int> gate_db; // of full scale; none follows the noise
    int block_frames = 0;       // 0 is not given
    double block_ms = 0.0;      // instead of block_frames; 0 is not given
    double smooth_seconds = kSmoothSeconds;
    bool raw_blocks = false; // of the library, instead of smoothed ones
    int gain_db = 0;
    DelayMode mode = DelayMode::vote;
    std::string serve; // where the dial is; empty for none

    void add_to(CLI::App &parser);
    // Refuses options that contradict one another, such as an output that is also an input.
    void check(const std::vector<std::string> &inputs) const;

    // Notes on those that are allowed and hardly ever meant.
    void warn() const;

    // The gate that follows the noise is the tool's; the library's is then the lowest there is.
    int fixed_gate_db() const { return gate_db.value_or(static_cast<int>(kLowestGateDb)); }
    TrackerSettings settings(int sample_rate) const;
    // The dial that the user wants, if any.
    std::unique_ptr<Dial> open_dial() const;

private:
    void add_array_options(CLI::App &parser);
    void add_block_options(CLI::App &parser);
    void add_output_options(CLI::App &parser);
};

#endif
