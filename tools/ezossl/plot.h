// SPDX-License-Identifier: MIT
// plot.h - blocks as a drawing.

#ifndef EZOSSL_TOOL_PLOT_H
#define EZOSSL_TOOL_PLOT_H

#include <string>
#include <vector>

#include "block.h"

// The angle over time, with the level.
std::string angle_plot_svg(const std::vector<Block> &blocks, const std::string &title);

// How often each angle was found, as a half-circle rose.
std::string angle_rose_svg(const std::vector<Block> &blocks, const std::string &title);

#endif
