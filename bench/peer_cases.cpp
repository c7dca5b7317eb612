// SPDX-License-Identifier: MIT
// peer_cases.cpp - other estimators of a frame's delay. Each must find the delay of its signal, so
// that the comparison is fair.

#include "cases.h"

#include <memory>
#include <stdexcept>

#include "signals.h"
#include "textbook.h"
#ifdef EZOSSL_BENCH_FFTW
#include "practical_limit.h"
#endif

namespace {

constexpr int kDelay = 2; // of Signal::noise

void require_delay(int delay)
{
    if (delay != kDelay)
        throw std::runtime_error("a benchmark finds a wrong delay: " + std::to_string(delay));
}

#ifdef EZOSSL_BENCH_FFTW
Call practical_limit()
{
    const auto limit = std::make_shared<PracticalLimit>();
    limit->run(make_signal(Signal::noise).data()); // fills the older half
    return [limit, signal = make_signal(Signal::noise), frame = size_t{0}]() mutable {
        const int delay = limit->run(signal.data() + frame * kFrameSamples);
        if (frame > 0)
            require_delay(delay);
        frame = (frame + 1) % kFrames;
    };
}
#endif

// Frames of 256 samples that overlap by half, as in the library.
Call textbook()
{
    return [signal = make_signal(Signal::noise), frame = size_t{0}]() mutable {
        require_delay(
            textbook_delay(signal.data() + frame * kFrameSamples, 2 * EZOSSL_FRAME_LENGTH, 7));
        frame = (frame + 1) % (kFrames - 1);
    };
}

} // namespace

const std::vector<Case> kPeerCases = {
#ifdef EZOSSL_BENCH_FFTW
    {"peer/practical_limit", practical_limit},
#endif
    {"peer/textbook", textbook},
};
