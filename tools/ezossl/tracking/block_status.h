// SPDX-License-Identifier: MIT
// block_status.h - whether a block has an angle and, if not, why. A new status is an enumerator
// and a row here; every output walks the table.

#ifndef EZOSSL_TOOL_BLOCK_STATUS_H
#define EZOSSL_TOOL_BLOCK_STATUS_H

#include <cstddef>

enum class BlockStatus {
    ok,         // there is an angle
    quiet,      // at or below the noise gate
    undecided,  // no direction has enough votes
    impossible, // the delay does not fit the spacing
};

// How a status is shown. Only ok has an angle, which takes the place of words and colours.
struct StatusDisplay {
    BlockStatus status;
    const char *name;         // in CSV, JSON and figures
    const char *words;        // in the table
    const char *light_colour; // in figures, for a light background
    const char *dark_colour;
};

constexpr StatusDisplay kStatuses[] = {
    {BlockStatus::ok, "ok", "", "", ""},
    {BlockStatus::quiet, "quiet", "too quiet", "#aeb6bf", "#59636e"},
    {BlockStatus::undecided, "undecided", "undecided", "#bf8700", "#d29922"},
    {BlockStatus::impossible, "impossible", "impossible", "#bc4c00", "#f0883e"},
};
constexpr std::size_t kStatusCount = sizeof kStatuses / sizeof kStatuses[0];

constexpr std::size_t index_of(BlockStatus status)
{
    return static_cast<std::size_t>(status);
}

constexpr const StatusDisplay &display_of(BlockStatus status)
{
    return kStatuses[index_of(status)];
}

constexpr bool statuses_are_in_order()
{
    for (std::size_t i = 0; i < kStatusCount; ++i) {
        if (index_of(kStatuses[i].status) != i)
            return false;
    }
    return true;
}
static_assert(statuses_are_in_order(), "a row of kStatuses is not at the place of its status");

#endif
