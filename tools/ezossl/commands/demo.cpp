// SPDX-License-Identifier: MIT
// demo.cpp - the command `ezossl demo`: the library at work, without microphones and files.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "base/pi.h"
#include "commands/commands.h"
#include "output/meter.h"
#include "scene/scene.h"
#include "tracking/localizer.h"

namespace {

constexpr int kRate = 16000;
constexpr double kSpacingCm = 5.8;
constexpr int kTemperature = 20;
constexpr double kSnrDb = 20.0;
constexpr int kBlockFrames = 32;
constexpr std::size_t kBlockLength = std::size_t{kBlockFrames} * EZOSSL_FRAME_LENGTH;
constexpr int kSteps = 25; // one block each
constexpr int kMeterWidth = 37;
constexpr auto kPace = std::chrono::milliseconds(160);

// A burst of noise in every block: up and down again, with a pause behind it.
std::vector<float> make_bursts(NoiseSource &noise)
{
    constexpr double kSounding = 0.7; // of the block
    std::vector<float> bursts = make_noise(kSteps * kBlockLength, noise);
    for (std::size_t n = 0; n < bursts.size(); ++n) {
        const double place = static_cast<double>(n % kBlockLength) / kBlockLength / kSounding;
        bursts[n] *= place < 1.0 ? static_cast<float>(std::sin(kPi * place)) : 0.0f;
    }
    return bursts;
}

Block locate(Localizer &localizer, const int16_t *block)
{
    int16_t frame[kFrameSamples];
    for (int i = 0; i < kBlockFrames; ++i, block += kFrameSamples) {
        std::copy_n(block, kFrameSamples, frame);
        localizer.add_frame(frame);
    }
    return localizer.finish_block();
}

struct Score {
    int decided = 0;
    double sum_of_errors = 0.0;

    void add(double error)
    {
        ++decided;
        sum_of_errors += std::fabs(error);
    }
};

void print_step(double truth, const Block &block, bool plain, DataOutput &output)
{
    const bool found = block.status == BlockStatus::ok;
    const auto angle = found ? std::optional<int>(block.angle) : std::nullopt;
    char text[16] = "none";
    if (found)
        std::snprintf(text, sizeof text, "%+d", block.angle);
    output.print("%+6.0f  %6s  %s\n", truth, text,
                 direction_meter(angle, kMeterWidth, plain).c_str());
}

void demo(DataOutput &output)
{
    const bool paced = output.is_terminal();
    const bool plain = !paced || !locale_is_utf8();
    const Placement walk = {-90.0, 90.0};
    NoiseSource noise(1);
    const std::vector<int16_t> scene =
        make_scene(make_bursts(noise), {walk},
                   {kRate, kSpacingCm, kTemperature, kSnrDb, 0.0, std::nullopt}, noise);
    Localizer localizer({kRate, kSpacingCm, kTemperature, -60, kBlockFrames});
    Score score;

    output.print("Bursts of noise move around two microphones %g cm apart, simulated at %d Hz and\n"
                 "%g dB above the microphones' noise. + is the side of microphone 0, on the left.\n"
                 "\n%6s  %6s  %-*s%s\n",
                 kSpacingCm, kRate, kSnrDb, "truth", "found", kMeterWidth - 1, "+90", "-90");
    for (int step = 0; step < kSteps; ++step) {
        const double truth = walk.at((step + 0.5) / kSteps);
        const Block block =
            locate(localizer, &scene[static_cast<std::size_t>(step) * kBlockLength * 2]);
        print_step(truth, block, plain, output);
        if (block.status == BlockStatus::ok)
            score.add(block.angle - truth);
        output.flush();
        if (paced)
            std::this_thread::sleep_for(kPace);
    }
    output.print("\n%d of %d blocks have a direction", score.decided, kSteps);
    if (score.decided > 0)
        output.print(", mean absolute error %.1f deg", score.sum_of_errors / score.decided);
    output.print("\n");
    output.finish();
}

} // namespace

RunCommand add_demo(CLI::App & /*parser: no options*/)
{
    return [](DataOutput &output) { demo(output); };
}
