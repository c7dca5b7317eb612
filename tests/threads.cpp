// SPDX-License-Identifier: MIT
// threads.cpp - 32 instances in as many threads, each from Init to Free again and again, with and
// without a level file: every thread must get the results of a single one. Built with
// ThreadSanitizer, which ends the program at a data race. (cJSON itself is not compiled with it.)

#include "EzoSsl.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 32;
constexpr int kRounds = 4;
constexpr int kFrames = 32;

// The delays and the angle of a block of noise, which is `delay` samples later in one channel.
std::vector<int32_t> answers_of(int delay)
{
    alignas(8) char buffer[EZOSSL_BUFFER_BYTES];
    const SslInit init = {128, 48000, 14.3f, 0, 2};
    const SslConfig config = {17, -80, kFrames};
    SslHandle *const ssl = EzoSsl_Init(buffer, &init);
    EzoSsl_Config(ssl, &config);
    EzoSsl_Set_Shape(ssl, 0);
    EzoSsl_Cal_Params(ssl);
    std::vector<int32_t> answers;
    uint32_t state = 1;
    for (int i = 0; i < kFrames; ++i) {
        int16_t frame[EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT];
        for (int n = 0; n < EZOSSL_FRAME_LENGTH; ++n)
            frame[2 * n] = static_cast<int16_t>((state = state * 1664525u + 1013904223u) >> 17);
        for (int n = 0; n < EZOSSL_FRAME_LENGTH; ++n)
            frame[2 * n + 1] = frame[2 * std::max(n - delay, 0)];
        EzoSsl_Run(ssl, frame, &answers.emplace_back());
    }
    EzoSsl_Get_Direction(ssl, &answers.emplace_back());
    EzoSsl_Reset_Mapping(ssl);
    EzoSsl_Free(ssl);
    return answers;
}

int run_together()
{
    std::array<std::vector<int32_t>, kThreads> alone;
    for (int i = 0; i < kThreads; ++i)
        alone[static_cast<size_t>(i)] = answers_of(i % 16);
    std::atomic<int> waiting{kThreads};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            for (waiting--; waiting > 0;)
                std::this_thread::yield();
            for (int round = 0; round < kRounds; ++round)
                wrong += answers_of(i % 16) != alone[static_cast<size_t>(i)];
        });
    for (std::thread &thread : threads)
        thread.join();
    return wrong;
}

} // namespace

int main(int, char **arguments)
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        return 2;
    int wrong = 0;
    for (const char *const file : {"/dev/null/none", static_cast<const char *>(arguments[1])}) {
        setenv("DML_PATH", file, 1);
        wrong += run_together();
    }
    std::fprintf(stderr, "%d of %d rounds with other answers\n", wrong, 2 * kThreads * kRounds);
    return wrong == 0 ? 0 : 1;
}
