// SPDX-License-Identifier: MIT
// simulate.cpp - the command `ezossl simulate`: makes a two-channel file with a known direction.
// The sound itself is made in scene.cpp.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>

#include "base/acoustics.h"
#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "base/units.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "input/sample_rates.h"
#include "output/pending_file.h"
#include "output/progress.h"
#include "output/sound_writer.h"
#include "scene/scene.h"
#include "scene/sound_source.h"

namespace {

constexpr double kLongestSeconds = 600.0;
constexpr double kMostEchoes = 1e9; // take a few minutes
constexpr double kNoiseSeconds = 4.0;
constexpr double kWalkStepSeconds = 0.1; // of the truth

struct SimulateArguments {
    std::vector<double> angles;
    std::vector<double> walk; // from, to
    ArrayOptions array;
    int rate = kBestRate;
    std::string input;
    double seconds = 0.0; // per angle; 0 is not given
    double snr_db = 30.0;
    double mismatch_db = 0.0;
    std::string room; // width x depth x height
    double rt60 = 0.4;
    double distance = 1.5;
    uint32_t seed = 1;
    std::string output;
    std::string truth;
    bool no_truth = false;

    std::vector<Placement> placements() const
    {
        if (!walk.empty())
            return {{walk[0], walk[1]}};
        std::vector<Placement> result;
        result.reserve(angles.size());
        for (const double angle : angles)
            result.push_back({angle, angle});
        return result;
    }
    // By default there is none for a pipe or a device.
    std::string truth_path() const
    {
        if (no_truth || !truth.empty() || is_stream(output))
            return truth;
        return std::filesystem::path(output).replace_extension(".truth.csv").string();
    }
};

// The mono source at the scene's rate; an input shorter than the wanted duration is repeated.
std::vector<float> make_source(const SimulateArguments &options, NoiseSource &noise)
{
    const bool is_limited = options.seconds > 0.0;
    const auto wanted =
        static_cast<size_t>((is_limited ? options.seconds : kNoiseSeconds) * options.rate);
    if (options.input.empty())
        return make_noise(wanted, noise);
    // One second more than the limit, so that a source that is too long is noticed.
    std::vector<float> source = read_source(
        options.input, is_limited ? options.seconds : kLongestSeconds + 1.0, options.rate);
    if (is_limited)
        repeat_to(source, wanted);
    return source;
}

void check_length(const SimulateArguments &options, size_t source_length, size_t count)
{
    const double seconds = static_cast<double>(source_length) / options.rate;
    if (seconds * static_cast<double>(count) <= kLongestSeconds)
        return;
    throw UsageFailure(
        format_text("the scene is longer than %.0f s (%s of %.1f s); shorten it with -d",
                    kLongestSeconds, counted(static_cast<long>(count), "angle").c_str(), seconds));
}

// In a smaller room, sound is reflected more often within the reverberation time.
void check_echoes(const SceneSettings &settings, size_t angles)
{
    if (!settings.room)
        return;
    const double echoes = static_cast<double>(angles * EZOSSL_MIC_COUNT) *
                          echo_count(*settings.room, speed_of_sound(settings.temperature));
    if (echoes > kMostEchoes)
        throw UsageFailure(
            format_text("the scene has %.0f million echoes; the limit is %.0f million. "
                        "Reduce --rt60 or the number of angles (%zu), or enlarge --room",
                        std::ceil(echoes / 1e6), kMostEchoes / 1e6, angles));
}

// Shows progress meanwhile.
std::vector<int16_t> make_scene_for(const SimulateArguments &options,
                                    const std::vector<float> &source, const SceneSettings &settings,
                                    NoiseSource &noise)
{
    Progress progress(true);
    return make_scene(source, options.placements(), settings, noise, [&](double part) {
        end_if_interrupted();
        if (progress.is_due())
            progress.show(format_text("%s: %.0f %%", options.output.c_str(), 100.0 * part));
    });
}

// A row per angle; of a walk a row per tenth of a second, with the angle in its middle.
void write_truth(PendingFile &file, const std::vector<Placement> &placements, double seconds)
{
    std::ostringstream stream;
    stream.exceptions(std::ios::badbit); // without memory it would silently lose its end
    stream.precision(9);
    stream << "t_start,t_end,angle_deg\n";
    for (size_t i = 0; i < placements.size(); ++i) {
        const Placement &placement = placements[i];
        const bool moves = placement.from != placement.to;
        const int rows = moves ? static_cast<int>(std::ceil(seconds / kWalkStepSeconds)) : 1;
        const double start = static_cast<double>(i) * seconds;
        for (int row = 0; row < rows; ++row)
            stream << start + seconds * row / rows << ',' << start + seconds * (row + 1) / rows
                   << ',' << placement.at((row + 0.5) / rows) << '\n';
    }
    file.write(stream.str());
    file.sync(); // before the scene goes into a pipe
}

std::string describe(const SimulateArguments &options, const SceneSettings &settings,
                     double seconds)
{
    const bool is_named = !is_standard_output(options.output);
    std::string text = format_text("%s: %.3f s per angle at %d Hz, SNR %g dB:",
                                   is_named ? options.output.c_str() : "standard output", seconds,
                                   options.rate, options.snr_db);
    const char *separator = "";
    const std::vector<double> &angles = options.walk.empty() ? options.angles : options.walk;
    for (const double angle : angles) {
        text += format_text("%s %+g deg (delay %+.3f samples)", separator, angle,
                            far_field_delay(angle, settings));
        separator = options.walk.empty() ? "," : " walking to";
    }
    const std::string truth = options.truth_path();
    text += (truth.empty() ? "" : "; truth in ") + truth;
    return printable(text) + '\n';
}

SceneSettings scene_settings(const SimulateArguments &options)
{
    SceneSettings settings = {options.rate,   options.array.spacing_cm, options.array.temperature,
                              options.snr_db, options.mismatch_db,      std::nullopt};
    if (!options.room.empty())
        settings.room = {parse_room_size(options.room), options.rt60, options.distance};
    return settings;
}

void simulate(const SimulateArguments &options, const DataOutput &standard_output)
{
    if (options.angles.empty() == options.walk.empty())
        throw UsageFailure("give the direction of the sound: either --angle -30 or --walk -90,90");
    if (is_standard_output(options.output) && standard_output.is_terminal())
        throw UsageFailure("standard output is a terminal; pipe the scene into a program, or name "
                           "a file");
    watch_for_interrupts();
    const std::string truth_path = options.truth_path();
    keep_inputs({options.input}, {options.output, truth_path});
    SoundWriter output(options.output, options.rate, EZOSSL_MIC_COUNT, SoundWriter::Length::bounded,
                       standard_output.descriptor());
    std::optional<PendingFile> truth;
    if (!truth_path.empty())
        truth.emplace(truth_path);

    const SceneSettings settings = scene_settings(options);
    const std::vector<Placement> placements = options.placements();
    check_echoes(settings, placements.size());
    NoiseSource noise(options.seed);
    const std::vector<float> source = make_source(options, noise);
    check_length(options, source.size(), placements.size());
    const double seconds = static_cast<double>(source.size()) / options.rate;
    const std::vector<int16_t> scene = make_scene_for(options, source, settings, noise);
    output.write(scene.data(), scene.size() / EZOSSL_MIC_COUNT);
    if (truth)
        write_truth(*truth, placements, seconds);
    // Made before the files appear, because it may fail.
    const std::string description = describe(options, settings, seconds);
    end_if_interrupted(); // from here on an interrupt no longer stops the two files
    output.finish(truth ? std::vector<PendingFile *>{&*truth} : std::vector<PendingFile *>{});
    std::fputs(description.c_str(), stderr);
}

void add_source_options(CLI::App &parser, SimulateArguments &options)
{
    parser
        .add_option("-a,--angle", options.angles,
                    "Direction of the sound; several (-30,0,45) follow one another")
        ->delimiter(',')
        ->type_name("DEG")
        ->check(limits(-90, 90, "degrees"));
    parser
        .add_option("-w,--walk", options.walk,
                    "Instead of --angle: move evenly from one angle to another (-90,90)")
        ->delimiter(',')
        ->expected(2)
        ->type_name("DEG,DEG")
        ->check(limits(-90, 90, "degrees"));
    parser
        .add_option("-i,--input", options.input,
                    "Sound of the source, the first channel of this file (default: white noise)")
        ->check(file_name())
        ->type_name("FILE");
    parser
        .add_option("-d,--duration", options.seconds,
                    "Seconds per angle (default: the whole input; 4 for noise)")
        ->check(limits(0.1, kLongestSeconds, "seconds"))
        ->type_name("SEC");
    parser.add_option("-r,--rate", options.rate, "Sample rate of the scene")
        ->check(supported_rate())
        ->type_name("HZ")
        ->capture_default_str();
    parser
        .add_option("--snr", options.snr_db,
                    "Level of the direct sound above each microphone's noise")
        ->check(limits(-60, 120, "dB"))
        ->type_name("DB")
        ->capture_default_str();
    parser
        .add_option("--mismatch", options.mismatch_db,
                    "Gain of microphone 1 relative to microphone 0")
        ->check(limits(-60, 60, "dB"))
        ->type_name("DB")
        ->capture_default_str();
    parser.add_option("--seed", options.seed, "Seed of the noise; each seed gives different noise")
        ->check(whole_limits(0, std::numeric_limits<uint32_t>::max(), ""))
        ->type_name("NUMBER")
        ->capture_default_str();
}

void add_room_options(CLI::App &parser, SimulateArguments &options)
{
    auto *const room =
        parser
            .add_option(
                "--room", options.room,
                "Room: width x depth x height in metres (5x4x3), with the microphones along its "
                "width. Without it, the source is far away and there are no echoes")
            ->check(CLI::Validator(
                [](const std::string &text) {
                    try {
                        parse_room_size(text);
                        return std::string();
                    } catch (const Failure &failure) {
                        return std::string(failure.what());
                    }
                },
                ""))
            ->type_name("WxDxH")
            ->excludes("--walk");
    parser
        .add_option("--rt60", options.rt60, "Reverberation time, in which the echoes fall by 60 dB")
        ->check(limits(0.1, 1.0, "seconds"))
        ->type_name("SEC")
        ->capture_default_str()
        ->needs(room);
    parser
        .add_option(
            "--distance", options.distance,
            "Distance from the source to the microphones in the room, at least their spacing")
        ->check(limits(0.2, 10.0, "metres"))
        ->type_name("M")
        ->capture_default_str()
        ->needs(room);
}

} // namespace

RunCommand add_simulate(CLI::App &parser)
{
    const auto options = std::make_shared<SimulateArguments>();
    add_source_options(parser, *options);
    options->array.add_to(parser);
    add_room_options(parser, *options);
    parser
        .add_option("-o,--output", options->output,
                    "16-bit WAV or .flac file to write; - is standard output")
        ->check(file_name())
        ->type_name("FILE")
        ->required();
    auto *const truth =
        parser
            .add_option("--truth", options->truth,
                        "CSV file for the true angles (default: the output's name with .truth.csv; "
                        "none for a pipe or a device)")
            ->check(file_name())
            ->type_name("FILE");
    parser.add_flag("--no-truth", options->no_truth, "Do not write the true angles")
        ->excludes(truth);
    return [options](const DataOutput &output) { simulate(*options, output); };
}
