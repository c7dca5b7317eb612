// SPDX-License-Identifier: MIT
// track.cpp - the command `ezossl track`: two-channel sound files in, a line per block out, in
// constant memory.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/parallel_inputs.h"
#include "commands/tracking_options.h"
#include "commands/tracking_run.h"
#include "input/file_part.h"
#include "output/progress.h"
#include "output/report.h"

namespace {

constexpr int kHighestRawRate = 384000; // Hz

struct TrackArguments {
    std::vector<std::string> inputs;
    TrackingOptions tracking;
    double start = 0.0;    // seconds
    double duration = 0.0; // seconds; 0 is to the end
    bool raw = false;
    int raw_rate = kBestRate;
    int raw_channels = EZOSSL_MIC_COUNT;
    int jobs = 0; // files at a time; 0 is one for each processor

    void remark(const std::string &text) const
    {
        if (!tracking.report.quiet && !text.empty())
            note(text);
    }
};

void feed(FrameSource &source, TrackingRun &run, bool has_progress)
{
    Progress progress(has_progress);
    Frame frame;
    while (source.read(frame)) {
        run.add(frame);
        if (progress.is_due())
            progress.show(source.progress());
    }
}

[[noreturn]] void fail_without_block(const FrameSource &source, const LocalizerSettings &settings)
{
    const char *const name = source.stream().name().c_str();
    const int64_t samples = source.read_pairs();
    if (samples == 0 && source.start() > 0.0)
        throw Failure(format_text("%s: ends at --start %g s", name, source.start()));
    if (samples == 0)
        throw Failure(format_text("%s: holds no samples; record it again", name));
    throw Failure(format_text("%s: %lld samples are shorter than one block of %d%s", name,
                              static_cast<long long>(samples),
                              settings.block_frames * EZOSSL_FRAME_LENGTH,
                              samples >= EZOSSL_FRAME_LENGTH ? "; try a smaller --block" : ""));
}

[[noreturn]] void end_interrupted(const TrackArguments &options, double seconds,
                                  const Report &report)
{
    std::string text = format_text("interrupted at %.1f s", seconds);
    const ReportSettings &settings = options.tracking.report;
    for (const std::string &name :
         {report.is_pending() ? settings.output : std::string(), settings.plot, settings.histogram})
        if (!name.empty())
            text += "; " + name + " was not written";
    note(text);
    report.summarize();
    throw EndWith{kInterrupted};
}

void track_input(const TrackArguments &options, const std::string &input, Report &report)
{
    FilePart part = {input, std::nullopt, options.start, options.duration};
    if (options.raw)
        part.raw = RawFormat{options.raw_rate, options.raw_channels};
    const std::unique_ptr<FrameSource> source = open_part(part, options.tracking.input);
    for (const std::string &remark : source->opening_remarks())
        options.remark(remark);
    TrackingRun run(options.tracking, *source, report);
    feed(*source, run, !options.tracking.report.quiet && !report.is_on_terminal());
    if (interrupts() > 0)
        end_interrupted(options, source->seconds(), report);
    if (source->read_pairs() > 0)
        options.remark(source->length_remark());
    if (report.blocks() == 0)
        fail_without_block(*source, options.tracking.settings(source->rate()).localizer);
    run.finish();
}

// One after the other, each block as soon as it is known. An input that is refused does not stop
// the others.
void track_in_turn(const TrackArguments &options, DataOutput &output, bool is_flushed)
{
    const std::unique_ptr<Dial> dial = options.tracking.open_dial();
    Report report(options.tracking.report, output, is_flushed, options.inputs.size() > 1,
                  dial.get());
    size_t done = 0;
    int status = kDone;
    for (const std::string &input : options.inputs) {
        try {
            track_input(options, input, report);
            ++done;
        } catch (const ReadFailure &) {
            throw; // the output has its first blocks already
        } catch (const WriteFailure &) {
            throw;
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

void track_in_parallel(const TrackArguments &options, DataOutput &output)
{
    const ReportSettings &settings = options.tracking.report;
    if (!settings.output.empty())
        output.redirect(settings.output);
    TrackArguments of_worker = options;
    of_worker.tracking.report.output.clear();
    const auto track_one = [&](const std::string &input) {
        Report report(of_worker.tracking.report, output, false, true);
        track_input(of_worker, input, report);
    };
    size_t done = 0;
    const int status =
        ParallelInputs{options.inputs, options.jobs, settings.format->has_header, settings.quiet}
            .run(output, track_one, done);
    if (done > 0)
        output.finish();
    if (status != kDone)
        throw EndWith{status};
}

// The sound in a pipe may be live. A named pipe counts only if it is the sole input, because
// several inputs are read in parallel.
bool has_pipe(const std::vector<std::string> &inputs)
{
    std::error_code ignored;
    return std::find(inputs.begin(), inputs.end(), "-") != inputs.end() ||
           (inputs.size() == 1 && std::filesystem::is_fifo(inputs.front(), ignored));
}

void track(const TrackArguments &options, DataOutput &output)
{
    options.tracking.check(options.inputs);
    options.tracking.warn();
    watch_for_interrupts();
    const bool is_flushed = has_pipe(options.inputs) || options.tracking.report.realtime;
    // All processes would write the same files of the library's dump.
    const char *const dump = std::getenv("AUDIO_SSL_DUMP");
    const bool has_dump = dump != nullptr && std::strcmp(dump, "1") == 0;
    if (options.inputs.size() == 1 || is_flushed || has_dump)
        track_in_turn(options, output, is_flushed);
    else
        track_in_parallel(options, output);
}

} // namespace

RunCommand add_track(CLI::App &parser)
{
    const auto options = std::make_shared<TrackArguments>();
    parser
        .add_option("FILE", options->inputs,
                    "Sound files: WAV, FLAC and others; microphone 0 is the first channel. - is "
                    "standard input")
        ->type_name("")
        ->required();
    options->tracking.add_to(parser);
    parser
        .add_option("-j,--jobs", options->jobs,
                    "Files at a time (default: one for each processor); the output is the same")
        ->check(whole_limits(1, kMostJobs, "jobs"))
        ->type_name("N");
    parser.add_option("--start", options->start, "Start at this second of the input")
        ->check(limits(0, kLongestSeconds, "seconds"))
        ->type_name("SEC");
    parser.add_option("--duration", options->duration, "Stop after this many seconds")
        ->check(limits(0.001, kLongestSeconds, "seconds"))
        ->type_name("SEC");
    CLI::Option *const raw = parser.add_flag(
        "--raw", options->raw, "The input has no header: 16-bit little-endian samples");
    parser.add_option("--raw-rate", options->raw_rate, "Sample rate of --raw input in Hz")
        ->check(whole_limits(1000, kHighestRawRate, "Hz"))
        ->type_name("HZ")
        ->capture_default_str()
        ->needs(raw);
    parser
        .add_option("--raw-channels", options->raw_channels,
                    "Number of interleaved channels of --raw input")
        ->check(whole_limits(2, 64, "channels"))
        ->capture_default_str()
        ->needs(raw);
    return [options](DataOutput &output) {
        // People watch the dial. A pipe sets its own pace.
        if (!options->tracking.serve.empty() && !has_pipe(options->inputs))
            options->tracking.report.realtime = true;
        track(*options, output);
    };
}
