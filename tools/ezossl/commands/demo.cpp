// SPDX-License-Identifier: MIT
// demo.cpp - the command `ezossl demo`: locates a simulated sound, without microphones and files.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <thread>

#include "base/interrupt.h"
#include "base/pi.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/serve_option.h"
#include "output/meter.h"
#include "scene/scene.h"
#include "tracking/localizer.h"

namespace {

constexpr int kRate = 16000;
constexpr double kSpacingCm = 5.8;
constexpr int kTemperature = 20;
constexpr double kSnrDb = 20.0;
constexpr size_t kBlockLength = size_t{kLibraryBlockFrames} * EZOSSL_FRAME_LENGTH;
constexpr int kSteps = 25; // one block each
constexpr int kMeterWidth = 37;
constexpr auto kPace = std::chrono::milliseconds(160);

// A burst of noise in every block, which fades in and out, and then a pause.
std::vector<float> make_bursts(NoiseSource &noise)
{
    constexpr double kSounding = 0.7; // of the block
    std::vector<float> bursts = make_noise(kSteps * kBlockLength, noise);
    for (size_t n = 0; n < bursts.size(); ++n) {
        const double place = static_cast<double>(n % kBlockLength) / kBlockLength / kSounding;
        bursts[n] *= place < 1.0 ? static_cast<float>(std::sin(kPi * place)) : 0.0f;
    }
    return bursts;
}

// A source that moves from one end of the axis to the other and back, and its blocks.
class WalkingSource
{
public:
    WalkingSource() : localizer_(kSettings) {}

    Block next()
    {
        const int step = steps_ % kSteps;
        if (step == 0)
            begin_walk();
        ++steps_;
        truth_ = walk_.at((step + 0.5) / kSteps);
        const int16_t *sample = &scene_[static_cast<size_t>(step) * kBlockLength * 2];
        int16_t frame[kFrameSamples];
        for (int i = 0; i < kLibraryBlockFrames; ++i, sample += kFrameSamples) {
            std::copy_n(sample, kFrameSamples, frame);
            localizer_.add_frame(frame);
        }
        return localizer_.finish_block();
    }
    // Of the last block.
    double truth() const { return truth_; }

    static constexpr LocalizerSettings kSettings = {kRate, kSpacingCm, kTemperature, -60,
                                                    kLibraryBlockFrames};

private:
    void begin_walk()
    {
        walk_ = steps_ / kSteps % 2 == 0 ? Placement{-90.0, 90.0} : Placement{90.0, -90.0};
        scene_ = make_scene(make_bursts(noise_), {walk_},
                            {kRate, kSpacingCm, kTemperature, kSnrDb, 0.0, std::nullopt}, noise_);
    }

    NoiseSource noise_{1};
    Localizer localizer_;
    int steps_ = 0;
    Placement walk_{};
    double truth_ = 0.0;
    std::vector<int16_t> scene_;
};

// Sends the blocks to the dial in real time.
class Broadcast
{
public:
    explicit Broadcast(Dial &dial) : dial_(dial)
    {
        const InputLayout layout = {kRate, EZOSSL_MIC_COUNT, {0, 1}, 0.0};
        const LocalizerSettings &settings = WalkingSource::kSettings;
        dial.begin({"demo", layout, {settings, std::nullopt, settings.gate_db}});
    }
    void add(const Block &block)
    {
        std::this_thread::sleep_until(begun_ + std::chrono::duration<double>(block.end));
        dial_.write(block, {});
        summary_.add(block);
    }
    void end() { dial_.end(summary_); }

private:
    Dial &dial_;
    const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
    Summary summary_;
};

struct Score {
    int steps = 0;
    int decided = 0;
    double sum_of_errors = 0.0;

    void add(const Block &block, double truth)
    {
        ++steps;
        if (block.status != BlockStatus::ok)
            return;
        ++decided;
        sum_of_errors += std::fabs(block.angle - truth);
    }
};

void print_step(double truth, const Block &block, bool plain, DataOutput &output)
{
    const bool found = block.status == BlockStatus::ok;
    const auto angle = found ? std::optional<int>(block.angle) : std::nullopt;
    const std::string text = found ? format_text("%+d", block.angle) : "none";
    output.print("%+6.0f  %6s  %s\n", truth, text.c_str(),
                 direction_meter(angle, kMeterWidth, plain).c_str());
}

void demo(const std::string &address, DataOutput &output)
{
    const std::unique_ptr<Dial> dial = open_dial(address, WriterStyle{}, false);
    std::optional<Broadcast> broadcast;
    if (dial) {
        watch_for_interrupts();
        broadcast.emplace(*dial);
    }
    const bool paced = output.is_terminal() && !dial;
    const bool plain = !output.is_terminal() || !locale_is_utf8();
    WalkingSource source;
    Score score;

    output.print("Bursts of noise move around two microphones %g cm apart, simulated at %d Hz and\n"
                 "%g dB above the microphones' noise. + is the side of microphone 0, on the left.\n"
                 "\n%6s  %6s  %-*s%s\n",
                 kSpacingCm, kRate, kSnrDb, "truth", "found", kMeterWidth - 1, "+90", "-90");
    for (int step = 0; step < kSteps && interrupts() == 0; ++step) {
        const Block block = source.next();
        if (broadcast)
            broadcast->add(block);
        print_step(source.truth(), block, plain, output);
        score.add(block, source.truth());
        output.flush();
        if (paced)
            std::this_thread::sleep_for(kPace);
    }
    output.print("\n%d of %d blocks have a direction", score.decided, score.steps);
    if (score.decided > 0)
        output.print(", mean absolute error %.1f deg", score.sum_of_errors / score.decided);
    output.print("\n");
    output.finish();
    if (!broadcast)
        return;
    if (interrupts() == 0)
        note("the source keeps moving in the browser until Ctrl-C");
    while (interrupts() == 0)
        broadcast->add(source.next());
    broadcast->end();
}

} // namespace

RunCommand add_demo(CLI::App &parser)
{
    const auto address = std::make_shared<std::string>();
    add_serve_option(parser, *address);
    return [address](DataOutput &output) { demo(*address, output); };
}
