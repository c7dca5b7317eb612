// SPDX-License-Identifier: MIT
// block_counts.h - for how many blocks of a whole recording the library gives a direction.

#ifndef EZOSSL_TOOL_BLOCK_COUNTS_H
#define EZOSSL_TOOL_BLOCK_COUNTS_H

#include <cstdint>
#include <vector>

#include "diagnosis/diagnosis.h"

struct BlockCounts {
    int loud;       // above the gate
    int with_sound; // of these, without pauses: those far below the loudest block
    int decided;    // of these, with a direction

    double share() const; // decided / with_sound; 0 without any
};

// Failure if the library refuses the settings.
BlockCounts count_blocks(const std::vector<int16_t> &samples, const DiagnosisSettings &settings);

#endif
