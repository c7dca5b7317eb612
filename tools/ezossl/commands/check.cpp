// SPDX-License-Identifier: MIT
// check.cpp - the command `ezossl check`: is this recording usable, and if not, what is wrong?
// What is found, and how, is in diagnosis.cpp.

#include <memory>

#include "base/failure.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/tracking_options.h"
#include "diagnosis/diagnosis.h"
#include "input/alsa_capture.h"
#include "input/audio_file.h"
#include "input/check_input.h"

namespace {

constexpr int kUnusable = 3; // exit status
constexpr int kIndent = 12;

struct CheckOptions {
    std::string input;
    TrackingOptions tracking; // of which only what is asked for below
    std::string device = "default";
    double live_seconds = 0.0; // 0 is not given
};

void print_measurements(const PairSamples &input, const Diagnosis &diagnosis, DataOutput &output)
{
    output.print("%s: %.2f s at %d Hz%s\n", input.name.c_str(),
                 static_cast<double>(input.samples.size()) / EZOSSL_MIC_COUNT / input.rate,
                 input.rate, input.is_cut ? ", the beginning of it" : "");
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

void check(const CheckOptions &options, DataOutput &output)
{
    const TrackingOptions &tracking = options.tracking;
    const bool is_live = options.live_seconds > 0.0;
    if (is_live != options.input.empty())
        throw UsageFailure("give one of the two: a sound file, or --live SECONDS");
    const PairSamples input = is_live ? capture_pair(options.device, options.live_seconds, tracking)
                                      : read_pair(options.input, tracking);
    if (input.couples() < shortest_input(input.rate))
        throw Failure(input.name + ": shorter than a second; give at least that much");
    const Diagnosis diagnosis =
        diagnose(input.samples, {input.rate,
                                 tracking.array.spacing_cm,
                                 tracking.array.temperature,
                                 tracking.gate_db,
                                 {input.layout.microphone[0] + 1, input.layout.microphone[1] + 1},
                                 input.is_lossy});
    print_measurements(input, diagnosis, output);
    print_findings(diagnosis, output);
    output.finish();
    if (!diagnosis.is_usable())
        throw EndWith{kUnusable};
}

} // namespace

RunCommand add_check(CLI::App &parser)
{
    const auto options = std::make_shared<CheckOptions>();
    TrackingOptions &tracking = options->tracking;
    parser
        .add_option("INPUT", options->input,
                    "Sound file; microphone 0 is the first channel. - is standard input")
        ->type_name("FILE");
    CLI::Option *const live =
        parser
            .add_option("--live", options->live_seconds,
                        "Instead, so many seconds of what the microphones hear now")
            ->check(limits(1, kLongestSeconds, "seconds"))
            ->type_name("SEC");
    parser.add_option("-D,--device", options->device, "ALSA device for --live")
        ->type_name("NAME")
        ->capture_default_str()
        ->needs(live);
    tracking.array.add_to(parser);
    parser.add_option("-g,--gate", tracking.gate_db, "Blocks at or below this level are no sound")
        ->check(limits(-80, 0, "dB of full scale"))
        ->type_name("DBFS")
        ->capture_default_str();
    parser
        .add_option("-c,--channels", tracking.channels,
                    "Channels of microphone 0 and 1, the first is 1 (default: 1,2 of two)")
        ->delimiter(',')
        ->expected(2)
        ->type_name("A,B")
        ->check(limits(1, 64, "(a channel)"));
    parser.add_option("-r,--rate", tracking.rate, "Rate in Hz to which the sound is brought first")
        ->check(supported_rate())
        ->type_name("HZ");
    parser.footer("Exit status: 0 usable (warnings are possible), 3 unusable, 1 error, 2 usage.\n"
                  "Faults are found in stretches of a second: the longer the recording, the\n"
                  "slower the clock drift that shows. Judged are the first 5 minutes.");
    return [options](DataOutput &output) { check(*options, output); };
}
