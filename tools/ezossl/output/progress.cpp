// SPDX-License-Identifier: MIT
// progress.cpp - see progress.h.

#include "output/progress.h"

#include <cstdio>

#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kMoment(1000);
constexpr std::chrono::milliseconds kInterval(200);

} // namespace

Progress::Progress(const AudioReader &audio, bool is_quiet)
    : audio_(audio), is_wanted_(!is_quiet && isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + kMoment)
{
}

Progress::~Progress()
{
    if (is_shown_)
        std::fputs("\r\033[K", stderr);
}

void Progress::show(sf_count_t done)
{
    if (!is_wanted_ || Clock::now() < next_)
        return;
    next_ = Clock::now() + kInterval;
    is_shown_ = true;
    const double rate = audio_.rate();
    std::fprintf(stderr, "\r\033[K%s: %.0f s", audio_.path().c_str(),
                 static_cast<double>(done) / rate);
    if (audio_.length() < SF_COUNT_MAX)
        std::fprintf(stderr, " of %.0f s", static_cast<double>(audio_.length()) / rate);
}
