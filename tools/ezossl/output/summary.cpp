// SPDX-License-Identifier: MIT
// summary.cpp - counts blocks by status and angle, and makes a line of the counts.

#include "output/summary.h"

#include <numeric>

#include "base/text.h"

void Summary::add(const Block &block)
{
    ++count_of_status_[index_of(block.status)];
    if (block.status == BlockStatus::ok)
        ++count_of_angle_.at(index_of_angle(block.angle));
}

int64_t Summary::blocks() const
{
    return std::accumulate(count_of_status_.begin(), count_of_status_.end(), int64_t{0});
}

int64_t Summary::heard() const
{
    return blocks() - count(BlockStatus::quiet);
}

BlockStatus Summary::main_reason() const
{
    BlockStatus main = BlockStatus::undecided;
    for (const StatusDisplay &row : kStatuses) {
        if (row.status != BlockStatus::ok && row.status != BlockStatus::quiet &&
            count(row.status) > count(main))
            main = row.status;
    }
    return main;
}

double Summary::decided_share() const
{
    const int64_t all = blocks();
    return all > 0 ? static_cast<double>(count(BlockStatus::ok)) / static_cast<double>(all) : 0.0;
}

double Summary::median() const
{
    const int64_t angles = count(BlockStatus::ok);
    return 0.5 * (nth_angle((angles - 1) / 2) + nth_angle(angles / 2));
}

int Summary::nth_angle(int64_t n) const
{
    const auto *count = count_of_angle_.begin();
    for (int64_t passed = *count; passed <= n;)
        passed += *++count;
    return angle_at(static_cast<size_t>(count - count_of_angle_.begin()));
}

std::string to_text(const std::string &path, const Summary &summary)
{
    std::string text = path + ": " + counted(summary.blocks(), "block") + ", " +
                       std::to_string(summary.count(BlockStatus::ok)) +
                       format_text(" decided (%.0f %%)", 100 * summary.decided_share());
    if (summary.count(BlockStatus::ok) > 0)
        text += format_text(", median %+g deg", summary.median());
    for (const StatusDisplay &row : kStatuses) {
        if (row.status != BlockStatus::ok && summary.count(row.status) > 0)
            text += ", " + std::to_string(summary.count(row.status)) + ' ' + row.words;
    }
    if (summary.overruns > 0)
        text += ", " + counted(summary.overruns, "overrun") + ": sound is missing";
    if (summary.suspends > 0)
        text += ", " + counted(summary.suspends, "suspend") + " of the machine: sound is missing";
    if (summary.dropped_seconds > 0.0)
        text += format_text(", last %.3f s dropped: less than a block", summary.dropped_seconds);
    if (summary.clamped > 0)
        text += ", " + counted(summary.clamped, "sample") + " beyond full scale clamped";
    if (summary.wrapped > 0)
        text += ", " + counted(summary.wrapped, "sample") +
                " wrapped around because the gain is too high: lower -G";
    if (summary.gate)
        text +=
            format_text(", gate %.0f to %.0f dBFS", summary.gate->lowest, summary.gate->highest);
    return text;
}
