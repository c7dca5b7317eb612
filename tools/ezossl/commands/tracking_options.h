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

constexpr double kLongestSeconds = 86400.0; // limit of --start and --duration

struct TrackingOptions {
    ReportSettings report;
    ArrayOptions array;
    InputSettings input;
    std::optional<int> gate_db; // dB of full scale; none follows the noise
    int block_frames = 0;       // 0 is not given
    double block_ms = 0.0;      // instead of block_frames; 0 is not given
    double smooth_seconds = kSmoothSeconds;
    bool raw_blocks = false; // the library's own blocks instead of smoothed ones
    int gain_db = 0;
    DelayMode mode = DelayMode::vote;
    std::string serve;     // where the dial is; empty for none
    std::string on_change; // as given; empty for none

    void add_to(CLI::App &parser);
    // Refuses options that contradict one another, such as an output that is also an input.
    void check(const std::vector<std::string> &inputs) const;

    // Prints notes on options that are allowed but hardly ever intended.
    void warn() const;

    // The gate of the library. A gate that follows the noise is the tool's; the library's is then
    // at its lowest.
    int fixed_gate_db() const { return gate_db.value_or(static_cast<int>(kLowestGateDb)); }
    TrackerSettings settings(int sample_rate) const;
    // The dial of --serve, if given.
    std::unique_ptr<Dial> open_dial() const;

private:
    void add_array_options(CLI::App &parser);
    void add_block_options(CLI::App &parser);
    void add_output_options(CLI::App &parser);
};

#endif
