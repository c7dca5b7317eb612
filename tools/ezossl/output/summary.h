// SPDX-License-Identifier: MIT
// summary.h - the counts that are reported at the end of an input.

#ifndef EZOSSL_TOOL_SUMMARY_H
#define EZOSSL_TOOL_SUMMARY_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/angles.h"
#include "tracking/block.h"

// The levels of a gate that followed the noise, in dB of full scale.
struct GateRange {
    double lowest;
    double highest;
    double last;
};

// What is known of the sound apart from the blocks.
struct SoundSummary {
    double dropped_seconds = 0.0; // at the end, less than a block
    int64_t clamped = 0;          // samples beyond full scale
    int64_t wrapped = 0;          // samples that the gain took beyond 16 bits
    int64_t overruns = 0;
    int64_t suspends = 0;              // of the machine, while it captured
    std::optional<GateRange> gate;     // none if it was fixed
    std::optional<int> band_limit;     // Hz above which there is no sound
    std::vector<std::string> faults{}; // names of the faults that were found
};

struct Summary : SoundSummary {
    void add(const Block &block);
    int64_t count(BlockStatus status) const { return count_of_status_[index_of(status)]; }
    int64_t blocks() const;       // of every status
    int64_t heard() const;        // blocks that are not quiet
    double decided_share() const; // of all blocks
    // The most frequent reason why a block that is not quiet has no angle.
    BlockStatus main_reason() const;
    // The median angle; there must be at least one angle. For an even number of them, the mean of
    // the middle two.
    double median() const;

private:
    int nth_angle(int64_t n) const;

    std::array<int64_t, kStatusCount> count_of_status_{};
    // Angles are whole degrees, so counting them is enough for the median.
    std::array<int64_t, kAngleCount> count_of_angle_{};
};

// One line for people.
std::string to_text(const std::string &path, const Summary &summary);

#endif
