// SPDX-License-Identifier: MIT
// progress.cpp - draws the line a few times a second, however often it is told.

#include "output/progress.h"

#include <cstdio>

#include <unistd.h>

#include "base/text.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kMoment(1000);
constexpr std::chrono::milliseconds kInterval(200);

} // namespace

Progress::Progress(const std::string &name, std::optional<double> seconds, bool is_quiet)
    : name_(name), seconds_(seconds), is_wanted_(!is_quiet && isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + kMoment)
{
}

Progress::~Progress()
{
    if (is_shown_)
        std::fputs("\r\033[K", stderr);
}

void Progress::show(double seconds_done)
{
    if (!is_wanted_ || Clock::now() < next_)
        return;
    next_ = Clock::now() + kInterval;
    is_shown_ = true;
    std::fprintf(stderr, "\r\033[K%s: %.0f s", printable(name_).c_str(), seconds_done);
    if (seconds_)
        std::fprintf(stderr, " of %.0f s", *seconds_);
}
