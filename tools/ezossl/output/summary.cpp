// SPDX-License-Identifier: MIT
// summary.cpp - see summary.h.

#include "output/summary.h"

#include "base/text.h"

void Summary::add(const Block &block)
{
    blocks++;
    if (block.status == BlockStatus::quiet)
        quiet++;
    if (block.status != BlockStatus::ok)
        return;
    decided++;
    const int index = block.angle + 90;
    count_of_angle_.at(static_cast<std::size_t>(index))++;
}

double Summary::decided_share() const
{
    return blocks > 0 ? static_cast<double>(decided) / static_cast<double>(blocks) : 0.0;
}

double Summary::median() const
{
    return 0.5 * (nth_angle((decided - 1) / 2) + nth_angle(decided / 2));
}

int Summary::nth_angle(long n) const
{
    const auto *count = count_of_angle_.begin();
    for (long passed = *count; passed <= n;)
        passed += *++count;
    return static_cast<int>(count - count_of_angle_.begin()) - 90;
}

std::string to_text(const std::string &path, const Summary &summary)
{
    std::string text = format_text("%s: %s, %ld decided (%.0f %%)", path.c_str(),
                                   counted(summary.blocks, "block").c_str(), summary.decided,
                                   100 * summary.decided_share());
    if (summary.decided > 0)
        text += format_text(", median %+g deg", summary.median());
    if (summary.overruns > 0)
        text += ", " + counted(summary.overruns, "overrun") + ": sound is missing";
    if (summary.suspends > 0)
        text += ", " + counted(summary.suspends, "suspend") + " of the machine: sound is missing";
    if (summary.dropped_seconds > 0.0)
        text += format_text(", last %.3f s dropped: less than a block", summary.dropped_seconds);
    if (summary.clamped > 0)
        text += ", " + counted(static_cast<long>(summary.clamped), "sample") +
                " beyond full scale clamped";
    if (summary.wrapped > 0)
        text += ", " + counted(static_cast<long>(summary.wrapped), "sample") +
                " too loud for the gain wrapped around: lower -G";
    return text;
}
