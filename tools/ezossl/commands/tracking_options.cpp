// SPDX-License-Identifier: MIT
// tracking_options.cpp - the options of `track` and `live`, and the check that they do not
// contradict one another.

#include "commands/tracking_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <iterator>

#include "base/failure.h"
#include "base/text.h"

namespace {

constexpr int kMostFrames = 10000; // in a block
constexpr int kMostDegrees = 180;
constexpr int kFewestFrames = 4; // with fewer, a block of the library finds directions in noise

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

// 0 if the option is not given. The parser itself would take 5.5 for 5 and "true" for 1.
int degrees_of(const std::string &text)
{
    int value = 0;
    const char *const end = text.data() + text.size();
    const bool is_whole = !is_octal(text) && std::from_chars(text.data(), end, value).ptr == end;
    if (!text.empty() && (!is_whole || value < 1 || value > kMostDegrees))
        throw CLI::ValidationError("--on-change",
                                   format_text("'%s' is not a whole number of degrees from 1 to %d",
                                               text.c_str(), kMostDegrees));
    return value;
}

} // namespace

void TrackingOptions::add_to(CLI::App &parser)
{
    add_array_options(parser);
    add_block_options(parser);
    add_output_options(parser);
    parser.footer("The frames of the last second vote for the direction of a block. The narrow\n"
                  "range of directions with the most votes wins, if 14 % of all frames are in it.\n"
                  "So an angle lags the sound by up to 0.9 s. A block without an angle states the\n"
                  "reason. Sound is analysed at 16000 Hz, which gives speech the most angles, or\n"
                  "at 8000 Hz if the input has less. docs/accuracy.md states how accurate angles\n"
                  "are.");
}

// Takes a level in dB, or "auto", which leaves it empty.
void add_gate_option(CLI::App &parser, std::optional<int> &gate_db)
{
    const auto set = [&gate_db](const std::string &text) {
        if (text == "auto") {
            gate_db.reset();
            return;
        }
        int level = 0;
        if (is_octal(text) || !CLI::detail::lexical_cast(text, level) || level < -80 || level > 0)
            throw CLI::ValidationError("--gate", "'" + text +
                                                     "' is neither auto nor a whole number of dB "
                                                     "from -80 to 0");
        gate_db = level;
    };
    parser
        .add_option_function<std::string>(
            "-g,--gate", set,
            "Sound at or below this level gets no angle; auto (default) follows the noise")
        ->type_name("DBFS");
}

void TrackingOptions::add_block_options(CLI::App &parser)
{
    add_gate_option(parser, gate_db);
    CLI::Option *const frames =
        parser
            .add_option("-b,--block", block_frames,
                        "Frames of 128 samples in a block (default: as many as last 0.256 s; "
                        "32 with --raw-blocks)")
            ->check(whole_limits(1, kMostFrames, "frames"))
            ->type_name("FRAMES");
    parser
        .add_option("--block-ms", block_ms,
                    "Length of a block in milliseconds, to the nearest frame")
        ->check(limits(1, 60000, "ms"))
        ->type_name("MS")
        ->excludes(frames);
    CLI::Option *const smooth =
        parser
            .add_option("--smooth", smooth_seconds,
                        "Seconds of sound whose frames vote for the direction of a block")
            ->check(limits(0.1, 60, "seconds"))
            ->type_name("SEC")
            ->capture_default_str();
    parser
        .add_flag("--raw-blocks", raw_blocks,
                  "Use the library's own blocks, each decided from its own frames only")
        ->excludes(smooth);
}

void TrackingOptions::add_array_options(CLI::App &parser)
{
    array.add_to(parser);
    add_channels_option(parser, input.channels);
    parser.add_flag("--swap", input.channels.swap,
                    "Swap the microphones, which flips the sign of the angle");
    parser
        .add_option("-r,--rate", input.rate,
                    "Analysis rate; the input is resampled to it (default: 16000, or 8000 if the "
                    "input has less)")
        ->check(supported_rate())
        ->type_name("HZ");
    parser
        .add_option("-G,--gain", gain_db,
                    "Amplify the input; samples beyond full scale wrap around")
        ->check(whole_limits(-120, 120, "dB"))
        ->type_name("DB")
        ->capture_default_str();
    add_choice(
        parser, "--mode", kDelayModes, [this](const DelayModeName &row) { mode = row.mode; },
        "vote (default) gives angles. delay shows the library's time-domain mode, which "
        "compares microphone 0 with itself: it reports a constant delay (see --per-frame) "
        "and no direction");
}

void TrackingOptions::add_output_options(CLI::App &parser)
{
    add_choice(
        parser, "-f,--format", kOutputFormats,
        [this](const OutputFormat &row) { report.format = &row; }, format_help());
    parser
        .add_option_function<std::string>(
            "-o,--output",
            [this](const std::string &name) {
                report.output = is_standard_output(name) ? "" : name;
            },
            "Write to this file, which appears once it is complete; - is standard output")
        ->check(file_name())
        ->type_name("FILE");
    parser.add_flag("--per-frame", report.per_frame,
                    "Also print the delay of every frame, in samples");
    parser.add_flag(
        "--on-change{10}", on_change,
        "Print only blocks whose angle differs from the last one printed by DEG (10) or "
        "more: --on-change [DEG]");
    parser.parse_complete_callback([this] { report.on_change = degrees_of(on_change); });
    parser.add_option("--plot", report.plot, "Draw angle and level over time")
        ->check(file_name())
        ->type_name("FILE.svg");
    parser.add_option("--histogram", report.histogram, "Draw how often each angle was found")
        ->check(file_name())
        ->type_name("FILE.svg");
    add_serve_option(parser, serve);
    parser.add_flag("--realtime", report.realtime, "Output no faster than real time");
    parser.add_flag("-q,--quiet", report.quiet, "Print errors only: no summary and no notes");
    parser.add_flag("--no-color", report.no_color, "Use no colours on a terminal");
}

void TrackingOptions::check(const std::vector<std::string> &inputs) const
{
    if (std::count(inputs.begin(), inputs.end(), "-") > 1)
        throw UsageFailure("- can be given only once, as standard input can be read only once");
    if (inputs.size() > 1 && !(report.plot.empty() && report.histogram.empty()))
        throw UsageFailure("--plot and --histogram draw a single input; give one at a time");
    for (const std::string &file : {report.plot, report.histogram})
        if (const auto ending = std::filesystem::path(file).extension();
            !ending.empty() && ending != ".svg")
            throw UsageFailure(file + ": figures are SVG; choose a name that ends in .svg");
    keep_inputs(inputs, {report.output, report.plot, report.histogram});
}

void TrackingOptions::warn() const
{
    if (raw_blocks && !report.quiet && block_frames > 0 && block_frames < kFewestFrames)
        note(format_text("blocks of fewer than %d frames get angles from noise too; omit "
                         "--raw-blocks, or choose longer blocks",
                         kFewestFrames));
}

TrackerSettings TrackingOptions::settings(int sample_rate) const
{
    const bool is_raw = raw_blocks || mode == DelayMode::time_domain;
    int frames = is_raw ? kLibraryBlockFrames : frames_in(kSmoothedBlockSeconds, sample_rate);
    if (block_frames > 0)
        frames = block_frames;
    if (block_ms > 0.0)
        frames = frames_in(block_ms / 1000.0, sample_rate);
    const LocalizerSettings localizer = {
        sample_rate, array.spacing_cm, array.temperature, fixed_gate_db(), frames, mode, gain_db};
    return {localizer, is_raw ? std::nullopt : std::optional<double>(smooth_seconds),
            is_raw ? localizer.gate_db : gate_db};
}

std::unique_ptr<Dial> TrackingOptions::open_dial() const
{
    WriterStyle style{};
    style.per_frame = report.per_frame;
    style.live = report.live;
    return ::open_dial(serve, style, report.quiet);
}
