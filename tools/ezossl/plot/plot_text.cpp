// SPDX-License-Identifier: MIT
// plot_text.cpp - formats signs, counts and titles for the figures.

#include "plot/plot_text.h"

#include <algorithm>
#include <cmath>

#include "base/median.h"
#include "base/text.h"
#include "plot/svg.h"

std::string angle_text(double degrees)
{
    const char *const sign = degrees > 0.0 ? "+" : degrees < 0.0 ? "−" : "";
    return sign + svg_number(std::fabs(degrees)) + "°";
}

size_t count_of(const std::vector<Block> &blocks, BlockStatus status)
{
    return static_cast<size_t>(
        std::count_if(blocks.begin(), blocks.end(),
                      [status](const Block &block) { return block.status == status; }));
}

double median_angle(const std::vector<Block> &blocks)
{
    std::vector<double> angles;
    for (const Block &block : blocks) {
        if (block.status == BlockStatus::ok)
            angles.push_back(block.angle);
    }
    return median(angles);
}

std::string result_text(const std::vector<Block> &blocks)
{
    const size_t decided = count_of(blocks, BlockStatus::ok);
    std::string text = std::to_string(decided) + " of " +
                       counted(static_cast<int64_t>(blocks.size()), "block") + " with an angle";
    if (decided == 0)
        return text;
    const double percent =
        100.0 * static_cast<double>(decided) / static_cast<double>(blocks.size());
    return text + " (" + svg_number(std::round(percent)) + " %), median " +
           angle_text(median_angle(blocks));
}

std::string fitting_title(const std::string &title, size_t most_characters)
{
    const auto starts_character = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0u) != 0x80;
    };
    const auto characters =
        static_cast<size_t>(std::count_if(title.begin(), title.end(), starts_character));
    if (characters <= most_characters)
        return title;
    size_t to_drop = characters - most_characters + 1; // one for the ellipsis
    const auto kept = std::find_if(title.begin(), title.end(), [&](char byte) {
        return starts_character(byte) && to_drop-- == 0;
    });
    return "…" + std::string(kept, title.end());
}
