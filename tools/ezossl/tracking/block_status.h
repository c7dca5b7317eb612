// SPDX-License-Identifier: MIT
// block_status.h - whether a block has an angle and, if not, why. A new status is an enumerator
// and a row here; every output walks the table.

#ifndef EZOSSL_TOOL_BLOCK_STATUS_H
#define EZOSSL_TOOL_BLOCK_STATUS_H

#include <cstddef>

enum class BlockStatus {
    ok,        // there is an angle
    quiet,     // at or below the noise gate
    few_clear, // too few frames have a clear delay
    disagree,  // the frames with a clear delay point in different directions
    near_miss, // nearly enough frames agree
    beyond,    // the delay is longer than the spacing allows
    undecided, // the mode of the library gives no direction
};

// How a status is shown. Only ok has an angle, which takes the place of words and colours.
struct StatusDisplay {
    BlockStatus status;
    const char *name;         // in CSV, JSON and figures
    const char *words;        // in the table
    const char *light_colour; // in figures, for a light background
    const char *dark_colour;
    const char *next_step; // what helps if most blocks are like this
};

constexpr StatusDisplay kStatuses[] = {
    {BlockStatus::ok, "ok", "", "", "", ""},
    {BlockStatus::quiet, "quiet", "too quiet", "#8c959f", "#6e7781",
     "raise the capture gain, or lower the gate with -g"},
    {BlockStatus::few_clear, "few_clear", "unclear", "#8250df", "#a371f7",
     "the microphones hear little in common; run ezossl check"},
    {BlockStatus::disagree, "disagree", "disagree", "#bf8700", "#d29922",
     "move the source nearer, or reduce echo and noise"},
    {BlockStatus::near_miss, "near_miss", "near miss", "#0969da", "#58a6ff",
     "move the source nearer, or try a longer --smooth"},
    {BlockStatus::beyond, "beyond", "long lag", "#bc4c00", "#f0883e",
     "check the spacing given with -s; run ezossl check"},
    {BlockStatus::undecided, "undecided", "undecided", "#57606a", "#8b949e", ""},
};
constexpr size_t kStatusCount = sizeof kStatuses / sizeof kStatuses[0];

constexpr size_t index_of(BlockStatus status)
{
    return static_cast<size_t>(status);
}

constexpr const StatusDisplay &display_of(BlockStatus status)
{
    return kStatuses[index_of(status)];
}

constexpr bool statuses_are_in_order()
{
    for (size_t i = 0; i < kStatusCount; ++i) {
        if (index_of(kStatuses[i].status) != i)
            return false;
    }
    return true;
}
static_assert(statuses_are_in_order(), "a row of kStatuses is not at the place of its status");

#endif
