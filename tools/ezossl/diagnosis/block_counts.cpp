// SPDX-License-Identifier: MIT
// block_counts.cpp - runs the library over a recording, and does not count pauses.

#include "diagnosis/block_counts.h"

#include <algorithm>
#include <cmath>

#include "tracking/localizer.h"

namespace {

constexpr double kPauseDb = 25.0; // below the loudest block

std::vector<Block> localize(const std::vector<int16_t> &samples, const DiagnosisSettings &settings)
{
    Localizer localizer({settings.rate, settings.spacing_cm, settings.temperature, settings.gate_db,
                         kLibraryBlockFrames});
    std::vector<Block> blocks;
    for_each_frame(samples, [&](const Frame &frame) {
        localizer.add_frame(frame);
        if (localizer.is_block_complete())
            blocks.push_back(localizer.finish_block());
    });
    return blocks;
}

} // namespace

double BlockCounts::share() const
{
    return with_sound > 0 ? static_cast<double>(decided) / with_sound : 0.0;
}

BlockCounts count_blocks(const std::vector<int16_t> &samples, const DiagnosisSettings &settings)
{
    const std::vector<Block> blocks = localize(samples, settings);
    double loudest = -HUGE_VAL;
    for (const Block &block : blocks)
        loudest = std::max(loudest, block.level);
    BlockCounts counts{};
    for (const Block &block : blocks) {
        if (block.status == BlockStatus::quiet)
            continue;
        ++counts.loud;
        if (block.level <= loudest - kPauseDb)
            continue;
        ++counts.with_sound;
        counts.decided += block.status == BlockStatus::ok ? 1 : 0;
    }
    return counts;
}
