// SPDX-License-Identifier: MIT
// tracking_options.h - what `track` and `live` have in common on the command line.

#ifndef EZOSSL_TOOL_TRACKING_OPTIONS_H
#define EZOSSL_TOOL_TRACKING_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "commands/options.h"
#include "input/frame_source.h"
#include "output/report.h"
#include "tracking/tracker.h"

struct TrackingOptions : ReportSettings {
    ArrayOptions array;
    InputSettings input;
    std::optional<int> gate_db; // of full scale; none follows the noise
    int block_frames = 0;       // 0 is not given
    double block_ms = 0.0;      // instead of block_frames; 0 is not given
    double smooth_seconds = kSmoothSeconds;
    bool raw_blocks = false; // of the library, instead of smoothed ones
    int gain_db = 0;
    DelayMode mode = DelayMode::vote;

    void add_to(CLI::App &parser);
    // Refuses what only shows when all options are known, such as an output that is an input.
    void check(const std::vector<std::string> &inputs, const std::string &recording = "") const;

    TrackerSettings settings(int sample_rate) const;

private:
    void add_array_options(CLI::App &parser);
    void add_block_options(CLI::App &parser);
    void add_output_options(CLI::App &parser);
    void check_outputs(std::vector<std::string> outputs,
                       const std::vector<std::string> &inputs) const;
};

#endif
