// SPDX-License-Identifier: MIT
// fault_watch.h - finds faults of the wiring while blocks are made: if the blocks are suspicious,
// it diagnoses the last seconds of sound as `ezossl check` would.

#ifndef EZOSSL_TOOL_FAULT_WATCH_H
#define EZOSSL_TOOL_FAULT_WATCH_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "base/frame.h"
#include "diagnosis/diagnosis.h"
#include "tracking/block.h"

class FaultWatch
{
public:
    explicit FaultWatch(const DiagnosisSettings &settings);

    void add(const Frame &frame);
    // Takes a block; returns new faults, mostly none.
    std::vector<Finding> add(const Block &block);
    // New faults at the end of the input; also judges inputs of few blocks.
    std::vector<Finding> finish();

private:
    bool is_odd(size_t least) const;
    std::vector<Finding> diagnose_anew();

    DiagnosisSettings settings_;
    size_t frames_;                // the most that are kept
    std::vector<int16_t> samples_; // of these frames, a ring
    size_t next_frame_ = 0;        // to be overwritten next
    std::deque<Block> blocks_;     // the last ones
    bool was_heard_ = false;       // whether any block was above the gate
    double next_ = 0.0;            // earliest second of the input for the next diagnosis
    std::vector<const FindingKind *> told_;
};

#endif
