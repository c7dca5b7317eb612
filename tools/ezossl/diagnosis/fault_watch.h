// SPDX-License-Identifier: MIT
// fault_watch.h - names faults of the wiring while blocks are made: it notices that something is
// odd, and has the last seconds of sound diagnosed as `ezossl check` would.

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
    // Faults that were not found before; mostly none.
    std::vector<Finding> add(const Block &block);
    // The same at the end, which also judges inputs of few blocks.
    std::vector<Finding> finish();

private:
    bool is_odd(size_t least) const;
    std::vector<Finding> diagnose_anew();

    DiagnosisSettings settings_;
    size_t frames_;                // of the last seconds, at most
    std::vector<int16_t> samples_; // of these frames, a ring
    size_t next_frame_ = 0;        // that is overwritten next
    std::deque<Block> blocks_;     // the last ones
    bool was_heard_ = false;       // whether any block was above the gate
    double next_ = 0.0;            // second of the input from which it may diagnose again
    std::vector<const FindingKind *> told_;
};

#endif
