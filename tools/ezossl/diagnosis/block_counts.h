// SPDX-License-Identifier: MIT
// block_counts.h - how many blocks of a whole recording the library decides.

#ifndef EZOSSL_TOOL_BLOCK_COUNTS_H
#define EZOSSL_TOOL_BLOCK_COUNTS_H

#include <cstdint>
#include <vector>

#include "diagnosis/diagnosis.h"

struct BlockCounts {
    int loud;       // above the gate
    int with_sound; // of these, not so far below the loudest one that they are pauses
    int decided;    // of these, with a direction

    double share() const; // decided of those with sound; 0 without any
};

// Failure if the library refuses the settings.
BlockCounts count_blocks(const std::vector<int16_t> &samples, const DiagnosisSettings &settings);

#endif
