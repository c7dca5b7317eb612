// SPDX-License-Identifier: MIT
// check.cpp - the command `ezossl check`: is this recording usable, and if not, what is wrong?
// The diagnosis itself is in diagnosis.cpp.

#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/tracking_options.h"
#include "diagnosis/diagnosis.h"
#include "input/alsa_capture.h"
#include "input/device_stream.h"
#include "input/file_part.h"
#include "output/progress.h"

namespace {

constexpr int kUnusable = 3; // exit status
constexpr int kIndent = 12;
constexpr double kMostSeconds = 300.0; // the rest is not read

struct CheckArguments {
    std::string input;
    TrackingOptions tracking; // only those that add_check() offers
    std::string device = "default";
    double live_seconds = 0.0; // 0 is not given
    int gate_db = static_cast<int>(kLowestGateDb);

    bool is_live() const { return live_seconds > 0.0; }
};

std::unique_ptr<FrameSource> open_source(const CheckArguments &options)
{
    const InputSettings &settings = options.tracking.input;
    if (!options.is_live())
        return open_part({options.input, std::nullopt, 0.0, kMostSeconds}, settings);
    watch_for_interrupts();
    auto source = std::make_unique<FrameSource>(
        std::make_unique<DeviceStream>(options.device, capture_rate(settings.rate),
                                       settings.channels.fewest()),
        settings);
    source->end_after(options.live_seconds);
    return source;
}

// Shows progress while it reads.
std::vector<int16_t> read_all(FrameSource &source)
{
    Progress progress(true);
    return source.read_all([&] {
        if (progress.is_due())
            progress.show(source.progress());
    });
}

void note_what_is_missing(const FrameSource &source)
{
    const std::string remark = source.length_remark();
    if (!remark.empty())
        note(remark);
    if (const int64_t places = source.stream().lost().places(); places > 0)
        note(source.stream().name() + ": sound is missing in " + counted(places, "place") +
             ", which can look like a fault; check again");
}

void print_measurements(const FrameSource &source, bool is_cut, const Diagnosis &diagnosis,
                        DataOutput &output)
{
    output.print("%s: %.2f s at %d Hz%s\n", printable(source.stream().name()).c_str(),
                 static_cast<double>(source.read_pairs()) / source.rate(), source.rate(),
                 is_cut ? " (only the beginning)" : "");
    output.print("levels      %.1f and %.1f dB of full scale\n",
                 level_db(diagnosis.channels[0].rms), level_db(diagnosis.channels[1].rms));
    if (diagnosis.common > 0)
        output.print("lag         %+.2f samples; the stated spacing allows %.2f\n",
                     diagnosis.median_lag, diagnosis.longest_lag);
    output.print("directions  %d of %d blocks with sound\n", diagnosis.decided, diagnosis.blocks);
}

void print_wrapped(const std::string &text, DataOutput &output)
{
    output.print("%s\n", wrapped(text, kIndent).c_str());
}

void print_findings(const Diagnosis &diagnosis, DataOutput &output)
{
    std::string names;
    for (const Finding &finding : diagnosis.findings) {
        const FindingKind &kind = *finding.kind;
        output.print("%-12s", kind.is_fault ? "FAULT" : "warning");
        print_wrapped(kind.name + (": " + finding.measured), output);
        output.print("%*s", kIndent, "");
        print_wrapped(kind.meaning, output);
        output.print("%*s", kIndent, "");
        print_wrapped(std::string("What to do: ") + kind.remedy, output);
        names += (names.empty() ? ": " : ", ") + std::string(kind.name);
    }
    output.print("verdict     %s%s\n", diagnosis.is_usable() ? "usable" : "UNUSABLE",
                 names.c_str());
}

void check(const CheckArguments &options, DataOutput &output)
{
    const TrackingOptions &tracking = options.tracking;
    const bool is_live = options.is_live();
    if (is_live != options.input.empty())
        throw UsageFailure("give either a sound file or --live SECONDS");
    const std::unique_ptr<FrameSource> opened = open_source(options);
    FrameSource &source = *opened;
    const std::vector<int16_t> samples = read_all(source);
    if (interrupts() > 0)
        throw EndWith{kInterrupted};
    const bool is_cut = !is_live && source.is_cut();
    note_what_is_missing(source);
    if (samples.size() / EZOSSL_MIC_COUNT < shortest_input(source.rate()))
        throw Failure(source.stream().name() +
                      ": is shorter than a second; give at least one second");
    const Diagnosis diagnosis =
        diagnose(samples, diagnosis_settings(source, tracking.array.spacing_cm,
                                             tracking.array.temperature, options.gate_db));
    print_measurements(source, is_cut, diagnosis, output);
    print_findings(diagnosis, output);
    output.finish();
    if (!diagnosis.is_usable())
        throw EndWith{kUnusable};
}

} // namespace

RunCommand add_check(CLI::App &parser)
{
    const auto options = std::make_shared<CheckArguments>();
    TrackingOptions &tracking = options->tracking;
    parser
        .add_option("FILE", options->input,
                    "Sound file; microphone 0 is the first channel. - is standard input")
        ->type_name("");
    CLI::Option *const live =
        parser
            .add_option("--live", options->live_seconds,
                        "Check this many seconds of a device instead of a file")
            ->check(limits(1, kMostSeconds, "seconds"))
            ->type_name("SEC");
    parser.add_option("-D,--device", options->device, "ALSA device for --live")
        ->type_name("NAME")
        ->capture_default_str()
        ->needs(live);
    tracking.array.add_to(parser);
    parser
        .add_option("-g,--gate", options->gate_db, "Blocks at or below this level count as silence")
        ->check(whole_limits(-80, 0, "dB of full scale"))
        ->type_name("DBFS")
        ->capture_default_str();
    add_channels_option(parser, tracking.input.channels);
    parser
        .add_option("-r,--rate", tracking.input.rate, "Analysis rate; the input is resampled to it")
        ->check(supported_rate())
        ->type_name("HZ");
    parser.footer("Exit status: 0 usable (warnings are possible), 3 unusable, 1 error, 2 usage.\n"
                  "The first 5 minutes are checked, in segments of one second. A longer recording\n"
                  "shows a slower drift between clocks.");
    return [options](DataOutput &output) { check(*options, output); };
}
