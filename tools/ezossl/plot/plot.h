// SPDX-License-Identifier: MIT
// plot.h - figures of blocks and their angles, as SVG documents.

#ifndef EZOSSL_TOOL_PLOT_H
#define EZOSSL_TOOL_PLOT_H

#include <string>
#include <vector>

#include "tracking/block.h"

// Draws one of the figures below.
using Drawing = std::string (*)(const std::vector<Block> &blocks, const std::string &title);

// Angle and level against time, with a mark for each block with an angle and a row for each reason
// why others have none. Blocks at the same place share a mark, so that a figure of hours stays
// small.
std::string angle_plot_svg(const std::vector<Block> &blocks, const std::string &title);

// How often each angle was found, seen from above with the sound in front: + is on the left.
std::string angle_rose_svg(const std::vector<Block> &blocks, const std::string &title);

#endif
