// SPDX-License-Identifier: MIT
// bench.cpp - time per frame of the library, one line a case: ezossl_bench [seconds per case]

#include "EzoSsl.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

constexpr int kFrames = 1024;
constexpr int kSamples = kFrames * EZOSSL_FRAME_LENGTH;

using Clock = std::chrono::steady_clock;

// Noise that reaches microphone 0 `delay` samples later, with a tenth of noise of its own on each.
std::vector<int16_t> scene(int delay)
{
    std::mt19937 random(1);
    const auto noise = [&random] { return static_cast<int>(random() % 16001) - 8000; };
    std::vector<int> source(kSamples + 32);
    std::generate(source.begin(), source.end(), noise);
    std::vector<int16_t> samples;
    for (size_t n = 0; n < kSamples; ++n) {
        samples.push_back(
            static_cast<int16_t>(source[n + 16 - static_cast<size_t>(delay)] + noise() / 10));
        samples.push_back(static_cast<int16_t>(source[n + 16] + noise() / 10));
    }
    return samples;
}

// Microseconds per frame: the fastest of the passes that fit into the time.
double measure(int32_t bf_mode, const std::vector<int16_t> &samples, double seconds)
{
    std::vector<int32_t> buffer(EzoSsl_GetBufferSize() / sizeof(int32_t));
    const SslInit init = {EZOSSL_FRAME_LENGTH, 16000, 5.8f, bf_mode, EZOSSL_MIC_COUNT};
    const SslConfig config = {20, -80, kFrames};
    SslHandle *const ssl = EzoSsl_Init(buffer.data(), &init);
    if (ssl == nullptr || EzoSsl_Config(ssl, &config) != EZOSSL_OK ||
        EzoSsl_Set_Shape(ssl, 0) != EZOSSL_OK || EzoSsl_Cal_Params(ssl) != EZOSSL_OK)
        std::exit(1);

    double best = 1e9;
    for (const auto end = Clock::now() + std::chrono::duration<double>(seconds);
         Clock::now() < end;) {
        const auto start = Clock::now();
        int32_t delay = 0;
        for (size_t frame = 0; frame < kFrames; ++frame)
            EzoSsl_Run(ssl, &samples[frame * EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT], &delay);
        const std::chrono::duration<double, std::micro> spent = Clock::now() - start;
        best = std::min(best, spent.count() / kFrames);
    }
    EzoSsl_Free(ssl);
    return best;
}

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 1.0;
    const double accepted = measure(0, scene(2), seconds);
    const double rejected = measure(0, scene(16), seconds);
    const double time_domain = measure(1, scene(2), seconds);
    std::printf("bf_mode 0, accepted frames  %6.2f us a frame\n", accepted);
    std::printf("bf_mode 0, rejected frames  %6.2f us a frame\n", rejected);
    std::printf("bf_mode 1                   %6.2f us a frame\n", time_domain);
    return 0;
}
