// SPDX-License-Identifier: MIT
// track.cpp - see track.h. The file goes through in constant memory, frame by frame.

#include "track.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "audio_file.h"
#include "failure.h"
#include "localizer.h"

namespace {

struct TrackOptions {
    std::string file;
    ArrayOptions array;
    int gate_db = -80;
    int block_frames = 32;
};

// What is told at the end. Angles are whole degrees, so counting them is enough for the median.
class Summary
{
public:
    void add(const BlockAnswer &answer)
    {
        blocks_++;
        if (answer.no_angle_because != nullptr)
            return;
        decided_++;
        const int index = answer.angle + 90;
        count_of_angle_.at(static_cast<std::size_t>(index))++;
    }

    long blocks() const { return blocks_; }

    void print(const std::string &path, double dropped_seconds, std::size_t clamped) const
    {
        std::fprintf(stderr, "%s: %ld blocks, %ld decided (%.0f %%)", path.c_str(), blocks_,
                     decided_,
                     100.0 * static_cast<double>(decided_) / static_cast<double>(blocks_));
        if (decided_ > 0)
            std::fprintf(stderr, ", median %g degrees", median());
        if (dropped_seconds > 0.0)
            std::fprintf(stderr, ", last %.3f s dropped: less than a block", dropped_seconds);
        if (clamped > 0)
            std::fprintf(stderr, ", %zu samples beyond full scale clamped", clamped);
        std::fputc('\n', stderr);
    }

private:
    // Of an even number of angles, the mean of the two in the middle.
    double median() const
    {
        return 0.5 * (nth_angle((decided_ - 1) / 2) + nth_angle(decided_ / 2));
    }

    int nth_angle(long n) const
    {
        const auto *count = count_of_angle_.begin();
        for (long passed = *count; passed <= n;)
            passed += *++count;
        return static_cast<int>(count - count_of_angle_.begin()) - 90;
    }

    long blocks_ = 0;
    long decided_ = 0;
    std::array<long, 181> count_of_angle_{};
};

void check_suitable(const AudioReader &audio, int block_frames)
{
    if (audio.channels() == 1)
        throw Failure(audio.path() + ": 1 channel; needs 2, one per microphone");
    if (audio.channels() != EZOSSL_MIC_COUNT)
        throw Failure(audio.path() + ": " + std::to_string(audio.channels()) +
                      " channels; needs 2, one per microphone (to pick two: sox IN OUT remix 1 2)");
    if (!is_supported_rate(audio.rate()))
        throw Failure(audio.path() + ": " + std::to_string(audio.rate()) +
                      " Hz; needs 8000, 16000, 32000 or 48000 Hz (to convert: sox IN -r 48000 OUT,"
                      " or ffmpeg -i IN -ar 48000 OUT)");
    const sf_count_t block_samples = sf_count_t{block_frames} * EZOSSL_FRAME_LENGTH;
    if (audio.length() < block_samples)
        throw Failure(audio.path() + ": " + std::to_string(audio.length()) +
                      " samples are shorter than one block of " + std::to_string(block_samples) +
                      (audio.length() > EZOSSL_FRAME_LENGTH ? "; try a smaller --block" : ""));
}

void print_block(DataOutput &output, double start, double end, const BlockAnswer &answer,
                 int block_frames)
{
    char direction[32];
    if (answer.no_angle_because != nullptr)
        std::snprintf(direction, sizeof direction, "none: %s", answer.no_angle_because);
    else
        std::snprintf(direction, sizeof direction, "%+d deg", answer.angle);
    output.print("%9.3f %9.3f  %-22s  %3d/%d\n", start, end, direction, answer.accepted_frames,
                 block_frames);
}

void track(const TrackOptions &options, DataOutput &output)
{
    AudioReader audio(options.file);
    check_suitable(audio, options.block_frames);
    std::srand(1); // the library draws from rand(): the same file gives the same answer
    Localizer localizer({audio.rate(), options.array.spacing_cm, options.array.temperature,
                         options.gate_db, options.block_frames});
    Summary summary;
    const double block_seconds =
        static_cast<double>(options.block_frames) * EZOSSL_FRAME_LENGTH / audio.rate();
    float samples[kFrameSamples];
    int16_t frame[kFrameSamples];
    std::size_t clamped = 0;
    std::size_t got;
    int frames = 0; // in the block so far

    output.print("%9s %9s  %-22s  %s\n", "from [s]", "to [s]", "direction", "frames accepted");
    while ((got = audio.read(samples, EZOSSL_FRAME_LENGTH)) == EZOSSL_FRAME_LENGTH) {
        to_int16(samples, frame, kFrameSamples, clamped);
        localizer.add_frame(frame);
        if (++frames < options.block_frames)
            continue;
        frames = 0;
        const double start = static_cast<double>(summary.blocks()) * block_seconds;
        const BlockAnswer answer = localizer.finish_block();
        print_block(output, start, start + block_seconds, answer, options.block_frames);
        summary.add(answer);
    }
    if (summary.blocks() == 0)
        throw Failure(audio.path() + ": ends before its first block, unlike its header says");
    output.finish();
    const double dropped =
        static_cast<double>(frames) * EZOSSL_FRAME_LENGTH + static_cast<double>(got);
    summary.print(audio.path(), dropped / audio.rate(), clamped);
}

} // namespace

Command add_track_command(CLI::App &app)
{
    const auto options = std::make_shared<TrackOptions>();
    CLI::App *const parser =
        app.add_subcommand("track", "Print the direction of the sound in a two-channel file");
    parser->add_option("FILE", options->file, "Sound file; microphone 0 is its first channel")
        ->required();
    options->array.add_to(*parser);
    parser->add_option("-g,--gate", options->gate_db, "Blocks at or below this level get no angle")
        ->check(limits(-80, 0, "dB of full scale"))
        ->capture_default_str();
    parser->add_option("-b,--block", options->block_frames, "Frames of 128 samples in a block")
        ->check(limits(1, 10000, "frames"))
        ->capture_default_str();
    return {parser, [options](DataOutput &output) { track(*options, output); }};
}
