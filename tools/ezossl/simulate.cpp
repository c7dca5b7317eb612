// SPDX-License-Identifier: MIT
// simulate.cpp - see simulate.h. The sound itself is made in scene.cpp.

#include "simulate.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include <samplerate.h>

#include "audio_file.h"
#include "failure.h"
#include "pending_file.h"
#include "scene.h"

namespace {

constexpr double kLongestSeconds = 600.0;
constexpr double kNoiseSeconds = 4.0;

struct SimulateOptions {
    std::vector<double> angles;
    ArrayOptions array;
    int rate = 16000;
    std::string input;
    double seconds = 0.0; // per angle; 0 is not given
    double snr_db = 30.0;
    uint32_t seed = 1;
    std::string output;
    std::string truth;
};

// The first channel, at most `seconds` of it.
std::vector<float> read_mono(AudioReader &audio, double seconds)
{
    constexpr std::size_t kChunk = 4096;
    const auto channels = static_cast<std::size_t>(audio.channels());
    const auto wanted = static_cast<std::size_t>(std::ceil(seconds * audio.rate()));
    std::vector<float> chunk(kChunk * channels);
    std::vector<float> mono;
    while (mono.size() < wanted) {
        const std::size_t got = audio.read(chunk.data(), std::min(kChunk, wanted - mono.size()));
        if (got == 0)
            break;
        for (std::size_t i = 0; i < got; i++)
            mono.push_back(chunk[i * channels]);
    }
    return mono;
}

std::vector<float> resample(const std::vector<float> &samples, int from, int to,
                            const std::string &path)
{
    if (from == to)
        return samples;
    const double ratio = static_cast<double>(to) / from;
    std::vector<float> result(
        static_cast<std::size_t>(static_cast<double>(samples.size()) * ratio) + 1);
    SRC_DATA data{};
    data.data_in = samples.data();
    data.input_frames = static_cast<long>(samples.size());
    data.data_out = result.data();
    data.output_frames = static_cast<long>(result.size());
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, 1))
        throw Failure(path + ": cannot be brought from " + std::to_string(from) + " Hz to " +
                      std::to_string(to) + " Hz: " + src_strerror(error));
    result.resize(static_cast<std::size_t>(data.output_frames_gen));
    return result;
}

std::vector<float> read_source(const SimulateOptions &options)
{
    AudioReader audio(options.input);
    // Beyond the limit by a second, so that a source that is too long shows.
    const double seconds = options.seconds > 0.0 ? options.seconds : kLongestSeconds + 1.0;
    std::vector<float> source =
        resample(read_mono(audio, seconds), audio.rate(), options.rate, audio.path());
    if (source.empty() || active_rms(source, options.rate) == 0.0)
        throw Failure(audio.path() + ": holds no sound; a scene needs a source that can be heard");
    return source;
}

// The mono source at the scene's rate; an input shorter than the wanted duration is repeated.
std::vector<float> make_source(const SimulateOptions &options, NoiseSource &noise)
{
    const double seconds = options.seconds > 0.0 ? options.seconds : kNoiseSeconds;
    const auto wanted = static_cast<std::size_t>(seconds * options.rate);
    if (options.input.empty())
        return make_noise(wanted, noise);
    std::vector<float> source = read_source(options);
    if (options.seconds > 0.0) {
        const std::size_t period = source.size();
        source.resize(wanted);
        for (std::size_t i = period; i < wanted; i++)
            source[i] = source[i - period];
    }
    return source;
}

void check_length(const SimulateOptions &options, std::size_t source_length)
{
    const double seconds = static_cast<double>(source_length) / options.rate;
    const double total = seconds * static_cast<double>(options.angles.size());
    if (total <= kLongestSeconds)
        return;
    char text[128];
    std::snprintf(text, sizeof text,
                  "the scene is longer than %.0f s (%zu angles of %.1f s); shorten it with -d",
                  kLongestSeconds, options.angles.size(), seconds);
    throw Failure(text);
}

void write_truth(const PendingFile &file, const std::vector<double> &angles, double seconds)
{
    std::ofstream stream(file.working_path());
    stream.precision(9);
    stream << "t_start,t_end,angle_deg\n";
    for (std::size_t i = 0; i < angles.size(); i++)
        stream << static_cast<double>(i) * seconds << ',' << static_cast<double>(i + 1) * seconds
               << ',' << angles[i] << '\n';
    stream.close();
    if (!stream)
        throw Failure(file.target() + ": cannot be written");
}

void report(const SimulateOptions &options, const SceneSettings &settings, double seconds)
{
    std::fprintf(stderr, "%s: %.3f s per angle at %d Hz, SNR %g dB:", options.output.c_str(),
                 seconds, options.rate, options.snr_db);
    const char *separator = "";
    for (const double angle : options.angles) {
        std::fprintf(stderr, "%s %+g degrees (delay %+.3f samples)", separator, angle,
                     far_field_delay(angle, settings));
        separator = ",";
    }
    std::fputc('\n', stderr);
}

void simulate(const SimulateOptions &options)
{
    PendingFile output(options.output);
    std::optional<PendingFile> truth;
    if (!options.truth.empty())
        truth.emplace(options.truth);
    if (options.truth == options.output)
        throw Failure(options.output + ": is the name of both scene and truth; give two names");

    const SceneSettings settings = {options.rate, options.array.spacing_cm,
                                    options.array.temperature, options.snr_db};
    NoiseSource noise(options.seed);
    const std::vector<float> source = make_source(options, noise);
    check_length(options, source.size());
    const double seconds = static_cast<double>(source.size()) / options.rate;
    write_wav(output.working_path(), output.target(), options.rate, 2,
              make_scene(source, options.angles, settings, noise));
    if (truth)
        write_truth(*truth, options.angles, seconds);
    output.commit();
    if (truth)
        truth->commit();
    report(options, settings, seconds);
}

} // namespace

Command add_simulate_command(CLI::App &app)
{
    const auto options = std::make_shared<SimulateOptions>();
    CLI::App *const parser =
        app.add_subcommand("simulate", "Make a two-channel file with a known direction");
    parser
        ->add_option("-a,--angle", options->angles,
                     "One or several (-30,0,45), one after another in the file")
        ->delimiter(',')
        ->check(limits(-90, 90, "degrees"))
        ->required();
    options->array.add_to(*parser);
    parser->add_option("-o,--output", options->output, "16-bit WAV file to write")->required();
    parser->add_option("-r,--rate", options->rate, "Sample rate of the scene in Hz")
        ->check(CLI::IsMember(std::vector<int>(std::begin(kSampleRates), std::end(kSampleRates))))
        ->capture_default_str();
    parser->add_option("-i,--input", options->input,
                       "Sound of the source (first channel); without it, white noise");
    parser
        ->add_option("-d,--duration", options->seconds,
                     "Seconds per angle (default: the whole input; 4 for noise)")
        ->check(limits(0.1, kLongestSeconds, "seconds"));
    parser->add_option("--snr", options->snr_db, "Level of the source over the microphones' noise")
        ->check(limits(-60, 120, "dB"))
        ->capture_default_str();
    parser->add_option("--seed", options->seed, "Of the noise; another seed, another noise")
        ->capture_default_str();
    parser->add_option("--truth", options->truth, "CSV file to write the true angles to");
    return {parser, [options](DataOutput &) {
                simulate(*options);
                return kDone;
            }};
}
