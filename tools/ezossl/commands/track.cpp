// SPDX-License-Identifier: MIT
// track.cpp - the command `ezossl track`: two-channel sound files in, a line per block out. Files
// go through in constant memory, chunk by chunk.

#include <algorithm>
#include <cmath>
#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/tracking_options.h"
#include "input/audio_file.h"
#include "output/progress.h"
#include "output/report.h"
#include "tracking/tracker.h"

namespace {

constexpr std::size_t kChunk = 512;     // samples per channel
constexpr int kBestRate = 16000;        // Hz
constexpr int kLowestRate = 8000;       // Hz
constexpr double kLongest = 86400.0;    // seconds
constexpr int kHighestRawRate = 384000; // Hz

struct TrackOptions {
    std::vector<std::string> inputs;
    TrackingOptions tracking;
    double start = 0.0;    // seconds
    double duration = 0.0; // seconds; 0 is to the end
    bool raw = false;
    int raw_rate = kBestRate;
    int raw_channels = EZOSSL_MIC_COUNT;

    void remark(const std::string &text) const
    {
        if (!tracking.quiet && !text.empty())
            note(text);
    }
};

// The rate that the user wants, or the input's own if the library takes it.
int working_rate(const TrackOptions &options, const AudioReader &audio)
{
    if (options.tracking.rate != 0)
        return options.tracking.rate;
    if (is_supported_rate(audio.rate()))
        return audio.rate();
    const int rate = audio.rate() < kBestRate ? kLowestRate : kBestRate;
    options.remark(format_text("%s: %d Hz is brought to %d Hz (-r chooses another rate)",
                               audio.path().c_str(), audio.rate(), rate));
    return rate;
}

sf_count_t samples_in(double seconds, const AudioReader &audio)
{
    return std::llround(seconds * audio.rate());
}

// Samples per channel that were skipped.
sf_count_t skip_to_start(const TrackOptions &options, AudioReader &audio, std::vector<float> &chunk)
{
    const sf_count_t wanted = samples_in(options.start, audio);
    sf_count_t done = 0;
    while (done < wanted && interrupts() == 0) {
        const auto left = static_cast<std::size_t>(wanted - done);
        const std::size_t got = audio.read(chunk.data(), std::min(kChunk, left));
        if (got == 0 && interrupts() == 0)
            throw Failure(audio.path() + format_text(": ends before --start %g s", options.start));
        done += static_cast<sf_count_t>(got);
    }
    return done;
}

// Samples per channel that went in.
sf_count_t feed(const TrackOptions &options, AudioReader &audio, Tracker &tracker,
                std::vector<float> &chunk)
{
    const sf_count_t limit =
        options.duration > 0.0 ? samples_in(options.duration, audio) : SF_COUNT_MAX;
    Progress progress(audio, options.tracking.quiet);
    sf_count_t done = 0;
    while (done < limit) {
        const auto left = static_cast<std::size_t>(limit - done);
        const std::size_t got = audio.read(chunk.data(), std::min(kChunk, left));
        if (interrupts() > 0 || got == 0)
            break;
        tracker.add(chunk.data(), got);
        done += static_cast<sf_count_t>(got);
        progress.show(done);
    }
    if (interrupts() == 0)
        tracker.finish();
    return done;
}

void warn_if_truncated(const TrackOptions &options, const AudioReader &audio, sf_count_t used)
{
    const sf_count_t there = samples_in(options.start, audio) + used;
    const bool is_at_end = options.duration == 0.0 || used < samples_in(options.duration, audio);
    if (is_at_end)
        options.remark(audio.length_remark(there));
}

void remark_on_length(const TrackOptions &options, const AudioReader &audio)
{
    if (!options.raw && audio.promised() == 0 && audio.length() > 0 &&
        audio.length() < SF_COUNT_MAX)
        options.remark(format_text("%s: the header does not say how long it is; %lld samples found",
                                   audio.path().c_str(), static_cast<long long>(audio.length())));
}

[[noreturn]] void fail_without_block(const std::string &path, const Tracker &tracker,
                                     const LocalizerSettings &settings)
{
    if (tracker.samples() == 0)
        throw Failure(path + ": holds no samples; record it again");
    throw Failure(
        format_text("%s: %zu samples are shorter than one block of %d%s", path.c_str(),
                    tracker.samples(), settings.block_frames * EZOSSL_FRAME_LENGTH,
                    tracker.samples() > EZOSSL_FRAME_LENGTH ? "; try a smaller --block" : ""));
}

[[noreturn]] void end_interrupted(const TrackOptions &options, double seconds, const Report &report)
{
    std::string text = format_text("interrupted at %.1f s", seconds);
    const std::string &output = options.tracking.output;
    if (!output.empty())
        text += "; " + output + " was not written";
    note(text);
    report.summarize();
    throw EndWith{kInterrupted};
}

void track_input(const TrackOptions &options, const std::string &input, Report &report)
{
    std::optional<RawFormat> raw;
    if (options.raw)
        raw = RawFormat{options.raw_rate, options.raw_channels};
    AudioReader audio(input, raw);
    InputLayout layout = options.tracking.layout(audio.path(), audio.rate(), audio.channels());
    layout.start = options.start;
    options.remark(audio.encoding_remark());
    const LocalizerSettings settings = options.tracking.settings(working_rate(options, audio));
    Tracker tracker(layout, settings, [&report](const Block &block, const auto &delays) {
        report.block(block, delays);
    });
    std::vector<float> chunk(kChunk * static_cast<std::size_t>(audio.channels()));

    remark_on_length(options, audio);
    const sf_count_t skipped = skip_to_start(options, audio, chunk);
    report.begin({input, layout, settings});
    const sf_count_t used = feed(options, audio, tracker, chunk);
    if (interrupts() > 0)
        end_interrupted(options, static_cast<double>(skipped + used) / audio.rate(), report);
    if (tracker.samples() > 0)
        warn_if_truncated(options, audio, used);
    if (report.blocks() == 0)
        fail_without_block(audio.path(), tracker, settings);
    Summary summary;
    summary.dropped_seconds = static_cast<double>(tracker.open_samples()) / settings.sample_rate;
    summary.clamped = tracker.clamped();
    summary.wrapped = tracker.wrapped();
    report.end(summary);
}

// An input that fails does not stop the others.
void track(const TrackOptions &options, DataOutput &output)
{
    options.tracking.check(options.inputs);
    watch_for_interrupts();
    // Who writes into the pipe may be live.
    const auto pipes = std::count(options.inputs.begin(), options.inputs.end(), "-");
    Report report(options.tracking, output, pipes > 0, options.inputs.size() > 1);
    std::size_t done = 0;
    int status = kDone;
    for (const std::string &input : options.inputs) {
        try {
            track_input(options, input, report);
            done++;
        } catch (const UsageFailure &failure) {
            note(failure.what());
            status = kUsage;
        } catch (const Failure &failure) {
            note(failure.what());
            status = std::max<int>(status, kError);
        }
        if (interrupts() > 0)
            throw EndWith{kInterrupted};
    }
    if (done > 0)
        report.commit();
    if (status != kDone)
        throw EndWith{status};
}

} // namespace

RunCommand add_track(CLI::App &parser)
{
    const auto options = std::make_shared<TrackOptions>();
    parser
        .add_option("INPUT", options->inputs,
                    "Sound files: WAV, FLAC and others; microphone 0 is the first channel. - is "
                    "standard input")
        ->type_name("FILE")
        ->required();
    options->tracking.add_to(parser);
    parser.add_option("--start", options->start, "Begin at this second of the input")
        ->check(limits(0, kLongest, "seconds"))
        ->type_name("SEC");
    parser.add_option("--duration", options->duration, "End after so many seconds")
        ->check(limits(0.001, kLongest, "seconds"))
        ->type_name("SEC");
    CLI::Option *const raw = parser.add_flag(
        "--raw", options->raw, "The input is 16-bit little-endian samples without a header");
    parser.add_option("--raw-rate", options->raw_rate, "Its sample rate in Hz")
        ->check(limits(1000, kHighestRawRate, "Hz"))
        ->type_name("HZ")
        ->capture_default_str()
        ->needs(raw);
    parser.add_option("--raw-channels", options->raw_channels, "Its interleaved channels")
        ->check(limits(2, 64, "channels"))
        ->capture_default_str()
        ->needs(raw);
    return [options](DataOutput &output) { track(*options, output); };
}
