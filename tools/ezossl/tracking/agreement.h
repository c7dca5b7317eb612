// SPDX-License-Identifier: MIT
// agreement.h - how far the frames of one of the library's blocks agree, and why it has no
// direction when they do not.

#ifndef EZOSSL_TOOL_AGREEMENT_H
#define EZOSSL_TOOL_AGREEMENT_H

#include <vector>

#include "tracking/block_status.h"
#include "tracking/pair_geometry.h"

// Frames whose delay is within a sample of the median of all clear delays.
int count_agreeing(const std::vector<int> &delays);

// For a block that the library calls undecided.
BlockStatus reason_of_undecided(const std::vector<int> &delays, const PairGeometry &geometry);

#endif
