// SPDX-License-Identifier: MIT
// agreement.h - how many frames of one of the library's blocks agree, and why the block has no
// direction if too few do.

#ifndef EZOSSL_TOOL_AGREEMENT_H
#define EZOSSL_TOOL_AGREEMENT_H

#include <vector>

#include "tracking/block_status.h"
#include "tracking/pair_geometry.h"

// The number of frames whose delay is within a sample of the median of all clear delays.
int count_agreeing(const std::vector<int> &delays);

// The reason for a block that the library calls undecided.
BlockStatus reason_of_undecided(const std::vector<int> &delays, const PairGeometry &geometry);

#endif
