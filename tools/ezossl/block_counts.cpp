// SPDX-License-Identifier: MIT
// block_counts.cpp - see block_counts.h.

#include "block_counts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double kPauseDb = 25.0; // below the loudest block

struct JudgedBlock {
    double power; // full scale 1
    bool decided;
};

std::vector<JudgedBlock> localize(const std::vector<int16_t> &samples,
                                  const LocalizerSettings &settings)
{
    std::srand(1); // the library draws from rand(): the same samples give the same answer
    Localizer localizer(settings);
    std::vector<JudgedBlock> blocks;
    int16_t frame[kFrameSamples];
    double energy = 0.0;
    int frames = 0;
    for (std::size_t at = 0; at + kFrameSamples <= samples.size(); at += kFrameSamples) {
        std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(at), kFrameSamples, frame);
        localizer.add_frame(frame);
        for (const int16_t sample : frame)
            energy += (sample / 32768.0) * (sample / 32768.0);
        if (++frames < settings.block_frames)
            continue;
        const double power = energy / (static_cast<double>(kFrameSamples) * frames);
        blocks.push_back({power, localizer.finish_block().no_angle_because == nullptr});
        frames = 0;
        energy = 0.0;
    }
    return blocks;
}

} // namespace

double BlockCounts::share() const
{
    return with_sound > 0 ? static_cast<double>(decided) / with_sound : 0.0;
}

BlockCounts count_blocks(const std::vector<int16_t> &samples, const LocalizerSettings &settings)
{
    const std::vector<JudgedBlock> blocks = localize(samples, settings);
    double loudest = 0.0;
    for (const JudgedBlock &block : blocks)
        loudest = std::max(loudest, block.power);
    const double gate = std::pow(10.0, settings.gate_db / 10.0);
    const double pause = std::max(gate, loudest * std::pow(10.0, -kPauseDb / 10.0));
    BlockCounts counts{};
    for (const JudgedBlock &block : blocks) {
        counts.loud += block.power > gate ? 1 : 0;
        counts.with_sound += block.power > pause ? 1 : 0;
        counts.decided += block.power > pause && block.decided ? 1 : 0;
    }
    return counts;
}
