// SPDX-License-Identifier: MIT
// plot_text.h - the words and numbers in the figures.

#ifndef EZOSSL_TOOL_PLOT_TEXT_H
#define EZOSSL_TOOL_PLOT_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

#include "tracking/block.h"

// "+30°", "−7.5°", "0°"; with a true minus sign.
std::string angle_text(double degrees);

size_t count_of(const std::vector<Block> &blocks, BlockStatus status);

// The median of the blocks with an angle, of which there must be at least one. For an even number,
// the mean of the middle two.
double median_angle(const std::vector<Block> &blocks);

// "18 of 20 blocks with an angle (90 %), median +30°"
std::string result_text(const std::vector<Block> &blocks);

// Shortens a title at its start, because the end of a path says more.
std::string fitting_title(const std::string &title, size_t most_characters);

#endif
