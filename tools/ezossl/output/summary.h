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

#include "tracking/block.h"

// What the gate was that followed the noise, in dB of full scale.
struct GateRange {
    double lowest;
    double highest;
    double last;
};

// What is known of the sound without regard to the blocks.
struct SoundSummary {
    double dropped_seconds = 0.0; // at the end, less than a block
    int64_t clamped = 0;          // samples beyond full scale
    std::size_t wrapped = 0;      // samples that the gain took beyond 16 bits
    long overruns = 0;
    long suspends = 0;                 // of the machine, while it listened
    std::optional<GateRange> gate;     // none if it was fixed
    std::optional<int> band_limit;     // Hz above which there is no sound
    std::vector<std::string> faults{}; // names of those that were found
};

struct Summary : SoundSummary {
    void add(const Block &block);
    long count(BlockStatus status) const { return count_of_status_[index_of(status)]; }
    long blocks() const;          // of every status
    long heard() const;           // blocks that are not quiet
    double decided_share() const; // of all blocks
    // The most frequent reason for a block that was heard to have no angle.
    BlockStatus main_reason() const;
    // Of the angles, of which there has to be one. Of an even number, the mean of the two in the
    // middle.
    double median() const;

private:
    int nth_angle(long n) const;

    std::array<long, kStatusCount> count_of_status_{};
    // Angles are whole degrees, so counting them is enough for the median.
    std::array<long, 181> count_of_angle_{};
};

// One line for people.
std::string to_text(const std::string &path, const Summary &summary);

#endif
