// SPDX-License-Identifier: MIT
// tracking_options.cpp - the options of `track` and `live`, and what contradicts each other.

#include "commands/tracking_options.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>

#include "base/failure.h"

namespace {

constexpr int kMostFrames = 10000; // in a block
constexpr int kMostDegrees = 180;

// "table (default), csv, or jsonl: an object per line"
std::string format_help()
{
    std::string text;
    for (const OutputFormat &format : kOutputFormats) {
        const bool is_last = &format == std::end(kOutputFormats) - 1;
        text += (text.empty() ? ""
                 : is_last    ? ", or "
                              : ", ") +
                std::string(format.name) + format.help;
    }
    return text;
}

} // namespace

void TrackingOptions::add_to(CLI::App &parser)
{
    add_array_options(parser);
    add_output_options(parser);
    // Measured with `simulate`: 400 scenes of speech, 4 to 8 cm, 20 to 40 dB above noise; of the
    // blocks within 15 dB of a scene's loudest. The room has a reverberation time of 0.3 s.
    parser.footer("Speech is answered best at 16000 Hz: of the blocks of a speaking source 85 %\n"
                  "had an angle there, dry or in a room; at 48000 Hz 67 %, in a room 41 %, as the\n"
                  "peak of the correlation leaves the plausible range or a dip outweighs it. So\n"
                  "live captures at 16000 Hz unless -r says otherwise; files keep their rate.");
}

void TrackingOptions::add_array_options(CLI::App &parser)
{
    array.add_to(parser);
    parser.add_option("-g,--gate", gate_db, "Blocks at or below this level get no angle")
        ->check(limits(-80, 0, "dB of full scale"))
        ->type_name("DBFS")
        ->capture_default_str();
    CLI::Option *const frames =
        parser.add_option("-b,--block", block_frames, "Frames of 128 samples in a block")
            ->check(limits(1, kMostFrames, "frames"))
            ->type_name("FRAMES")
            ->capture_default_str();
    parser.add_option("--block-ms", block_ms, "The same in milliseconds, to the nearest frame")
        ->check(limits(1, 60000, "ms"))
        ->type_name("MS")
        ->excludes(frames);
    add_channels_option(parser, input.channels);
    parser.add_flag("--swap", input.channels.swap,
                    "Exchange the microphones, which flips the sign");
    parser
        .add_option("-r,--rate", input.rate,
                    "Rate at which the direction is looked for; the sound is brought there")
        ->check(supported_rate())
        ->type_name("HZ");
    parser.add_option("-G,--gain", gain_db, "Amplify by this; what gets too loud wraps around")
        ->check(limits(-120, 120, "dB"))
        ->type_name("DB")
        ->capture_default_str();
    add_choice(
        parser, "--mode", kDelayModes, [this](const DelayModeName &row) { mode = row.mode; },
        "vote (default) gives angles. delay shows what the time-domain mode of the library "
        "does: both frames that it compares carry microphone 0, so it reports a constant "
        "delay (see --per-frame) and locates nothing");
}

void TrackingOptions::add_output_options(CLI::App &parser)
{
    add_choice(
        parser, "-f,--format", kOutputFormats, [this](const OutputFormat &row) { format = &row; },
        format_help());
    parser
        .add_option_function<std::string>(
            "-o,--output", [this](const std::string &name) { output = name == "-" ? "" : name; },
            "Write to this file, which appears when it is whole; - is standard output")
        ->type_name("FILE");
    parser.add_flag("--per-frame", per_frame, "Also the delay of every frame, in samples");
    parser.add_flag("--on-change{10}", on_change,
                    "Only blocks whose angle differs from the last one shown by DEG (10) or more: "
                    "--on-change [DEG]");
    parser.add_option("--plot", plot, "Draw angle and level over time")->type_name("FILE.svg");
    parser.add_option("--histogram", histogram, "Draw how often each angle was found")
        ->type_name("FILE.svg");
    parser.add_flag("--realtime", realtime, "No faster than the sound was");
    parser.add_flag("-q,--quiet", quiet, "No summary and no notes; errors only");
    parser.add_flag("--no-color", no_color, "No colours on a terminal");
}

void TrackingOptions::check(const std::vector<std::string> &inputs,
                            const std::string &recording) const
{
    if (on_change < 0 || on_change > kMostDegrees)
        throw UsageFailure("--on-change takes 1 ... " + std::to_string(kMostDegrees) + " degrees");
    if (std::count(inputs.begin(), inputs.end(), "-") > 1)
        throw UsageFailure("- can be given once; standard input ends only once");
    if (inputs.size() > 1 && !(plot.empty() && histogram.empty()))
        throw UsageFailure("--plot and --histogram draw one input; give one at a time");
    for (const std::string &file : {plot, histogram})
        if (const auto ending = std::filesystem::path(file).extension();
            !ending.empty() && ending != ".svg")
            throw UsageFailure(file + ": is drawn as SVG; let its name end in .svg");
    check_outputs({output, plot, histogram, recording}, inputs);
}

void TrackingOptions::check_outputs(std::vector<std::string> outputs,
                                    const std::vector<std::string> &inputs) const
{
    outputs.erase(std::remove(outputs.begin(), outputs.end(), ""), outputs.end());
    for (const std::string &file : outputs) {
        if (std::count(outputs.begin(), outputs.end(), file) > 1)
            throw UsageFailure(file + ": is named for two outputs; give each its own");
        const auto is_same = [&file](const std::string &name) {
            std::error_code none_if_missing;
            return std::filesystem::equivalent(name, file, none_if_missing);
        };
        if (std::any_of(inputs.begin(), inputs.end(), is_same))
            throw UsageFailure(file + ": is an input and would be overwritten; choose another");
    }
}

LocalizerSettings TrackingOptions::settings(int sample_rate) const
{
    int frames = block_frames;
    if (block_ms > 0.0)
        frames = std::max(1, static_cast<int>(std::lround(block_ms / 1000.0 * sample_rate /
                                                          double{EZOSSL_FRAME_LENGTH})));
    return {sample_rate, array.spacing_cm, array.temperature, gate_db, frames, mode, gain_db};
}
