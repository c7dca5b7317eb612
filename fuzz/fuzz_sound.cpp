// SPDX-License-Identifier: MIT
// fuzz_sound.cpp - sound files through reader, resampler, library and smoothing: whatever a file
// holds, it is refused with a message, or gives blocks with consecutive times and valid angles.
//
// The first letter of an input is its kind: f a whole file, r samples without a header, w a WAV
// file whose header is made here from the bytes that follow. The second letter chooses the analysis
// rate.

#include "base/failure.h"
#include "input/file_part.h"
#include "tracking/tracker.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr double kSeconds = 0.5; // that are read
constexpr double kSpacingCm = 8.6;

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz_sound: %s\n", what);
    std::abort();
}

// Removes bytes from the start of a text, and returns them as a number.
uint32_t take(std::string &text, size_t bytes)
{
    uint32_t value = 0;
    std::memcpy(&value, text.data(), std::min(bytes, text.size()));
    text.erase(0, bytes);
    return value;
}

std::string little_endian(uint32_t value, size_t bytes)
{
    return {reinterpret_cast<const char *>(&value), bytes};
}

// A rate that is likely to matter, or any.
uint32_t take_rate(std::string &text)
{
    constexpr uint32_t kRates[] = {8000, 16000, 48000, 44100, 11025, 96000, 384000, 1000};
    const uint32_t choice = take(text, 1);
    return choice < 64 ? take(text, 4) : kRates[choice % std::size(kRates)];
}

std::string wav_of(std::string samples)
{
    constexpr uint32_t kEncodings[][2] = {{1, 8},  {1, 16}, {1, 24}, {1, 32},
                                          {3, 32}, {3, 64}, {7, 8}};
    const auto *const encoding = kEncodings[take(samples, 1) % std::size(kEncodings)];
    const uint32_t channels = take(samples, 1) % 80;
    const uint32_t rate = take_rate(samples);
    const uint32_t promise = take(samples, 1); // of the length
    const uint32_t length = promise < 16   ? take(samples, 4)
                            : promise < 32 ? 0xFFFFFFFF
                                           : static_cast<uint32_t>(samples.size());
    const uint32_t frame = channels * encoding[1] / 8;
    return "RIFF" + little_endian(length + 36, 4) + "WAVEfmt " + little_endian(16, 4) +
           little_endian(encoding[0], 2) + little_endian(channels, 2) + little_endian(rate, 4) +
           little_endian(rate * frame, 4) + little_endian(frame, 2) +
           little_endian(encoding[1], 2) + "data" + little_endian(length, 4) + samples;
}

// Replaces the contents of a file that is only in memory; its path.
std::string memory_file(const std::string &contents)
{
    static const int file = memfd_create("sound", 0);
    require(ftruncate(file, 0) == 0 && pwrite(file, contents.data(), contents.size(), 0) ==
                                           static_cast<ssize_t>(contents.size()),
            "a file in memory");
    return "/proc/self/fd/" + std::to_string(file);
}

void track(const FilePart &part, const InputSettings &settings)
{
    const std::unique_ptr<FrameSource> source = open_part(part, settings);
    require(source->band_limit().value_or(1) > 0, "a limit of the band");
    source->opening_remarks();
    double end = 0.0;
    Tracker tracker({{source->rate(), kSpacingCm, 20, -80, 32}, 1.024, std::nullopt}, 0.0);
    Frame frame;
    while (source->read(frame)) {
        const std::optional<TrackedBlock> tracked = tracker.add(frame);
        if (!tracked)
            continue;
        const Block &block = tracked->block;
        require(block.start >= end - 1e-9 && block.end > block.start, "times");
        require(block.status != BlockStatus::ok || (block.angle >= -90 && block.angle <= 90),
                "an angle");
        require(block.frames_agreeing <= block.frames_used &&
                    block.frames_used <= block.frames_total,
                "counts");
        end = block.end;
    }
    require(end <= kSeconds + 0.1, "no more than is asked for");
    source->length_remark();
}

} // namespace

// libsndfile does not free all memory of an Ogg file that it refuses.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libsndfile\nleak:libvorbis\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool is_quiet = std::freopen("/dev/null", "w", stdout) != nullptr;
    require(is_quiet, "no messages");
    std::string input(reinterpret_cast<const char *>(data), size);
    const auto form = static_cast<char>(take(input, 1));
    constexpr int kAnalysis[] = {0, 8000, 16000, 48000};
    const int analysis = kAnalysis[take(input, 1) % std::size(kAnalysis)];
    FilePart part = {"", std::nullopt, 0.0, kSeconds};
    if (form == 'r')
        part.raw = RawFormat{static_cast<int>(take_rate(input) & 0xFFFFF),
                             2 + static_cast<int>(take(input, 1) % 63)};
    if (form == 'w')
        input = wav_of(input);
    part.path = memory_file(input);
    try {
        track(part, {{Microphones{1, 2}, false}, analysis});
    } catch (const Failure &failure) {
        require(*failure.what() != '\0', "a refusal without words");
    }
    return 0;
}
