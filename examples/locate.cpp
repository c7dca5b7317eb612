// SPDX-License-Identifier: MIT
//
// locate - a class that an application can feed with sound as it arrives, in portions of any size,
// and a program that uses it.
//
//   arecord -t raw -f S16_LE -c 2 -r 16000 | locate_cpp 16000 5.8
//
// Standard input: 16-bit samples in the byte order of this machine, microphone 0 first. Standard
// output: a line per block.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include <unistd.h>

#include "EzoSsl.h"

class DirectionFinder
{
public:
    static constexpr int kBlockFrames = 32;

    DirectionFinder(int32_t rate, float spacing_cm) : buffer_(EzoSsl_GetBufferSize())
    {
        const SslInit init = {EZOSSL_FRAME_LENGTH, rate, spacing_cm, 0, EZOSSL_MIC_COUNT};
        const SslConfig config = {20, -60, kBlockFrames};
        ssl_.reset(EzoSsl_Init(buffer_.data(), &init));
        if (!ssl_ || EzoSsl_Config(ssl_.get(), &config) != EZOSSL_OK ||
            EzoSsl_Set_Shape(ssl_.get(), 0) != EZOSSL_OK ||
            EzoSsl_Cal_Params(ssl_.get()) != EZOSSL_OK)
            throw std::runtime_error("the library refused the sample rate or the spacing");
        frame_.reserve(kFrameSamples);
    }

    // Takes interleaved samples. Returns for each block that they complete its angle in degrees, or
    // nothing if it was too quiet or undecided.
    std::vector<std::optional<int>> add(const int16_t *samples, size_t count)
    {
        std::vector<std::optional<int>> blocks;
        for (const int16_t *sample = samples; sample != samples + count; ++sample) {
            frame_.push_back(*sample);
            if (frame_.size() < kFrameSamples)
                continue;
            int32_t delay;
            if (EzoSsl_Run(ssl_.get(), frame_.data(), &delay) != EZOSSL_OK)
                throw std::runtime_error("the library refused a frame");
            frame_.clear();
            if (++frames_ % kBlockFrames == 0)
                blocks.push_back(end_block());
        }
        return blocks;
    }

private:
    static constexpr size_t kFrameSamples = size_t{EZOSSL_FRAME_LENGTH} * EZOSSL_MIC_COUNT;

    struct Free {
        void operator()(SslHandle *ssl) const { EzoSsl_Free(ssl); }
    };

    std::optional<int> end_block()
    {
        int32_t angle;
        const bool found = EzoSsl_Get_Direction(ssl_.get(), &angle) == EZOSSL_OK;
        EzoSsl_Reset_Mapping(ssl_.get());
        return found ? std::optional<int>(angle) : std::nullopt;
    }

    std::vector<char> buffer_; // must outlive the handle, which is its address
    std::unique_ptr<SslHandle, Free> ssl_;
    std::vector<int16_t> frame_; // the part that has arrived
    long frames_ = 0;
};

static void locate(int32_t rate, float spacing_cm, std::FILE *results)
{
    DirectionFinder finder(rate, spacing_cm);
    const double block_seconds = double{DirectionFinder::kBlockFrames * EZOSSL_FRAME_LENGTH} / rate;
    double time = 0.0;
    int16_t samples[1000];
    while (const size_t count = std::fread(samples, sizeof samples[0], 1000, stdin)) {
        for (const std::optional<int> &angle : finder.add(samples, count)) {
            time += block_seconds;
            if (angle)
                std::fprintf(results, "%8.3f s  angle %d degrees\n", time, *angle);
            else
                std::fprintf(results, "%8.3f s  no direction\n", time);
        }
        std::fflush(results);
    }
    if (std::ferror(stdin) || std::ferror(results))
        throw std::runtime_error("cannot read the stream");
}

int main(int argc, char **argv)
{
    const long rate = argc == 3 ? std::strtol(argv[1], nullptr, 10) : 0;
    const float spacing_cm = argc == 3 ? std::strtof(argv[2], nullptr) : 0.0f;
    if (rate <= 0 || !(spacing_cm > 0.0f)) {
        std::fprintf(stderr, "usage: locate_cpp RATE_HZ SPACING_CM < raw 16-bit stereo\n");
        return 2;
    }
    // The library's messages go to descriptor 1, so the results get a descriptor of their own, and
    // descriptor 1 becomes standard error.
    std::FILE *const results = fdopen(dup(STDOUT_FILENO), "w");
    dup2(STDERR_FILENO, STDOUT_FILENO);
    try {
        if (results == nullptr)
            throw std::runtime_error("there is no standard output");
        locate(static_cast<int32_t>(rate), spacing_cm, results);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "locate_cpp: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return std::fclose(results) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
