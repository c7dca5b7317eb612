// SPDX-License-Identifier: MIT
// fault_watch.cpp - what is suspicious: few blocks with an angle, delays that do not fit the
// spacing, or angles that are nearly all at 0 or at the ends. Scenes without a fault cause none of
// these, except for a source at 0, in which the diagnosis then finds no fault.

#include "diagnosis/fault_watch.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr size_t kDiagnosedSeconds = 10;
constexpr size_t kBlocks = 40;       // the last ones, which are examined
constexpr size_t kFewestBlocks = 10; // of a kind, for a judgement on them
constexpr size_t kFewestAtEnd = 4;
constexpr double kBeyondShare = 0.1; // of those above the gate
constexpr double kStuckShare = 0.9;  // of those with an angle
constexpr int kEndOfScale = 89;      // degrees

} // namespace

FaultWatch::FaultWatch(const DiagnosisSettings &settings)
    : settings_(settings),
      frames_(kDiagnosedSeconds * static_cast<size_t>(settings.rate) / EZOSSL_FRAME_LENGTH)
{
}

void FaultWatch::add(const Frame &frame)
{
    const size_t place = next_frame_ * kFrameSamples;
    samples_.resize(std::max(samples_.size(), place + kFrameSamples));
    std::copy(std::begin(frame), std::end(frame),
              samples_.begin() + static_cast<std::ptrdiff_t>(place));
    next_frame_ = (next_frame_ + 1) % frames_;
}

std::vector<Finding> FaultWatch::add(const Block &block)
{
    was_heard_ = was_heard_ || block.status != BlockStatus::quiet;
    blocks_.push_back(block);
    if (blocks_.size() > kBlocks)
        blocks_.pop_front();
    if (blocks_.size() < kBlocks || block.end < next_ || !is_odd(kFewestBlocks))
        return {};
    next_ = block.end + static_cast<double>(kDiagnosedSeconds);
    return diagnose_anew();
}

std::vector<Finding> FaultWatch::finish()
{
    if (samples_.size() / EZOSSL_MIC_COUNT < shortest_input(settings_.rate) ||
        (was_heard_ && !is_odd(kFewestAtEnd)))
        return {};
    return diagnose_anew();
}

bool FaultWatch::is_odd(size_t least) const
{
    const auto count = [this](auto has) {
        return static_cast<size_t>(std::count_if(blocks_.begin(), blocks_.end(), has));
    };
    const size_t heard =
        count([](const Block &block) { return block.status != BlockStatus::quiet; });
    const size_t decided =
        count([](const Block &block) { return block.status == BlockStatus::ok; });
    const size_t beyond =
        count([](const Block &block) { return block.status == BlockStatus::beyond; });
    const size_t at_ends = count([](const Block &block) {
        return block.status == BlockStatus::ok && std::abs(block.angle) >= kEndOfScale;
    });
    const size_t at_zero = count(
        [](const Block &block) { return block.status == BlockStatus::ok && block.angle == 0; });
    const auto has_share = [](size_t part, double share, size_t whole) {
        return static_cast<double>(part) >= share * static_cast<double>(whole);
    };
    return (heard >= least && !has_share(decided, kFewShare, heard)) ||
           (beyond >= 3 && has_share(beyond, kBeyondShare, heard)) ||
           (decided >= least &&
            (has_share(at_ends, kStuckShare, decided) || has_share(at_zero, kStuckShare, decided)));
}

std::vector<Finding> FaultWatch::diagnose_anew()
{
    std::vector<Finding> news;
    const size_t oldest = next_frame_ * kFrameSamples % samples_.size();
    std::vector<int16_t> in_order(samples_.size());
    std::rotate_copy(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(oldest),
                     samples_.end(), in_order.begin());
    const Diagnosis diagnosis = diagnose(in_order, settings_);
    for (const Finding &finding : diagnosis.findings) {
        // The diagnosis has blocks of its own. They may all be too quiet although others were not.
        const bool is_refuted = finding.kind == &findings::kTooQuiet && was_heard_;
        if (is_refuted || !finding.kind->is_told_at_once ||
            std::find(told_.begin(), told_.end(), finding.kind) != told_.end())
            continue;
        told_.push_back(finding.kind);
        news.push_back(finding);
    }
    return news;
}
