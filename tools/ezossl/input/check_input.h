// SPDX-License-Identifier: MIT
// check_input.h - the samples of the two microphones as a whole, from a file or a device.

#ifndef EZOSSL_TOOL_CHECK_INPUT_H
#define EZOSSL_TOOL_CHECK_INPUT_H

#include <cstdint>
#include <string>
#include <vector>

#include "commands/tracking_options.h"

constexpr double kLongestSeconds = 300.0; // that are read

struct PairSamples {
    std::string name;
    int rate;                     // Hz; one that the library takes
    std::vector<int16_t> samples; // interleaved
    bool is_cut;                  // there was more
    InputLayout layout;           // of what they were picked from
    bool is_lossy;

    std::size_t couples() const { return samples.size() / EZOSSL_MIC_COUNT; }
};

// The channels and the rate that the options ask for; the input's own rate if they do not and the
// library takes it. Failure as told by AudioReader, AlsaCapture and the options.
PairSamples read_pair(const std::string &path, const TrackingOptions &options);
PairSamples capture_pair(const std::string &device, double seconds, const TrackingOptions &options);

#endif
