// SPDX-License-Identifier: MIT
// advice.cpp - chooses the advice by the most frequent reason for blocks without an angle.

#include "output/advice.h"

#include "base/text.h"
#include "input/sample_rates.h"

namespace {

constexpr double kGoodShare = 0.5; // of the blocks that are not quiet
constexpr int kFewestToJudge = 8;  // blocks

} // namespace

std::string advice_on(const Summary &summary, const InputInfo &input)
{
    const LocalizerSettings &settings = input.settings.localizer;
    if (settings.mode == DelayMode::time_domain)
        return "--mode delay reports a constant delay and no direction; omit it to get angles";
    if (!summary.faults.empty() || summary.blocks() == 0)
        return "";
    const std::string name = input.name + ": ";
    if (summary.heard() == 0)
        return name + "all blocks are too quiet: " + display_of(BlockStatus::quiet).next_step;
    if (summary.heard() < kFewestToJudge || static_cast<double>(summary.count(BlockStatus::ok)) >=
                                                kGoodShare * static_cast<double>(summary.heard()))
        return "";
    if (settings.sample_rate > kBestRate)
        return name +
               format_text("at %d Hz few blocks get an angle: omit -r", settings.sample_rate);
    if (!input.settings.smooth_seconds)
        return name + "few blocks get an angle from their own frames: omit --raw-blocks";
    const StatusDisplay &reason = display_of(summary.main_reason());
    return name + "few blocks get an angle, mostly '" + reason.words + "': " + reason.next_step;
}
