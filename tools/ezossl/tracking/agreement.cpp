// SPDX-License-Identifier: MIT
// agreement.cpp - examines the delays with which the library has voted.

#include "tracking/agreement.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "EzoSsl.h"

namespace {

std::vector<int> clear_delays(const std::vector<int> &delays)
{
    std::vector<int> clear;
    std::copy_if(delays.begin(), delays.end(), std::back_inserter(clear),
                 [](int delay) { return delay != EZOSSL_REJECTED_FRAME; });
    return clear;
}

} // namespace

int count_agreeing(const std::vector<int> &delays)
{
    std::vector<int> clear = clear_delays(delays);
    if (clear.empty())
        return 0;
    const auto middle = clear.begin() + static_cast<std::ptrdiff_t>((clear.size() - 1) / 2);
    std::nth_element(clear.begin(), middle, clear.end());
    const int median = *middle;
    return static_cast<int>(std::count_if(
        clear.begin(), clear.end(), [median](int delay) { return std::abs(delay - median) <= 1; }));
}

// The library gives a direction that has more votes than there are rejected frames, and at least 4
// in 32 frames. A near miss has three quarters of both. Checking the first suffices, because one of
// nine directions then has 3 votes in 32.
BlockStatus reason_of_undecided(const std::vector<int> &delays, const PairGeometry &geometry)
{
    const std::vector<int> clear = clear_delays(delays);
    if (4 * clear.size() < delays.size())
        return BlockStatus::few_clear;
    std::array<size_t, kDirectionCount> votes{};
    for (const int delay : clear)
        ++votes[static_cast<size_t>(geometry.direction_of_lag(delay))];
    const size_t most = *std::max_element(votes.begin(), votes.end());
    const size_t rejected = delays.size() - clear.size();
    return 4 * most >= 3 * rejected ? BlockStatus::near_miss : BlockStatus::disagree;
}
