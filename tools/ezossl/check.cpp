// SPDX-License-Identifier: MIT
// check.cpp - see check.h. What is found, and how, is in diagnosis.cpp.

#include "check.h"

#include <memory>

#include "audio_file.h"
#include "diagnosis.h"
#include "failure.h"
#include "localizer.h"

namespace {

constexpr double kLongestSeconds = 300.0;

struct CheckOptions {
    std::string file;
    ArrayOptions array;
    int gate_db = -80;
};

struct Input {
    std::string name;
    int rate;                     // Hz
    std::vector<int16_t> samples; // interleaved
    bool is_cut;                  // there was more than is judged
};

Input read_file(const std::string &path)
{
    AudioReader audio(path);
    require_pair(audio);
    Input input = {path, audio.rate(), {}, false};
    const auto limit = static_cast<std::size_t>(kLongestSeconds * audio.rate()) * EZOSSL_MIC_COUNT;
    std::vector<float> chunk(kFrameSamples * 32);
    std::size_t clamped = 0; // shows as clipped
    while (const std::size_t got = audio.read(chunk.data(), chunk.size() / EZOSSL_MIC_COUNT)) {
        if (input.samples.size() >= limit) {
            input.is_cut = true;
            break;
        }
        const std::size_t filled = input.samples.size();
        input.samples.resize(filled + got * EZOSSL_MIC_COUNT);
        to_int16(chunk.data(), &input.samples[filled], got * EZOSSL_MIC_COUNT, clamped);
    }
    return input;
}

void print_measurements(const Input &input, const Diagnosis &diagnosis, DataOutput &output)
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

void print_findings(const Diagnosis &diagnosis, DataOutput &output)
{
    std::string names;
    for (const Finding &finding : diagnosis.findings) {
        const FindingKind &kind = *finding.kind;
        output.print("%-10s  %s: %s. This means: %s. What to do: %s.\n",
                     kind.is_fault ? "FAULT" : "warning", kind.name, finding.measured.c_str(),
                     kind.meaning, kind.remedy);
        names += (names.empty() ? ": " : ", ") + std::string(kind.name);
    }
    output.print("verdict     %s%s\n", diagnosis.is_usable() ? "usable" : "UNUSABLE",
                 names.c_str());
}

ExitStatus check(const CheckOptions &options, const Input &input, DataOutput &output)
{
    if (input.samples.size() / 2 < shortest_input(input.rate))
        throw Failure(input.name + ": shorter than a second; give at least that much");
    const Diagnosis diagnosis =
        diagnose(input.samples, {input.rate, options.array.spacing_cm, options.array.temperature,
                                 options.gate_db});
    print_measurements(input, diagnosis, output);
    print_findings(diagnosis, output);
    output.finish();
    return diagnosis.is_usable() ? kDone : kUnusable;
}

} // namespace

Command add_check_command(CLI::App &app)
{
    const auto options = std::make_shared<CheckOptions>();
    CLI::App *const parser = app.add_subcommand(
        "check", "Tell whether a two-channel file is usable, and name the fault");
    parser->add_option("FILE", options->file, "Sound file; microphone 0 is its first channel")
        ->required();
    options->array.add_to(*parser);
    parser->add_option("-g,--gate", options->gate_db, "Blocks at or below this level are no sound")
        ->check(limits(-80, 0, "dB of full scale"))
        ->capture_default_str();
    parser->footer("Exit status: 0 usable (warnings are possible), 3 unusable, 1 error, 2 usage.\n"
                   "Faults are found in stretches of a second: the longer the recording, the\n"
                   "slower the clock drift that shows. Judged are the first 5 minutes.");
    return {parser, [options](DataOutput &output) {
                return check(*options, read_file(options->file), output);
            }};
}
