// SPDX-License-Identifier: MIT
// progress.cpp - draws the line at most a few times a second.

#include "output/progress.h"

#include <unistd.h>

#include "base/text.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kMoment(1000);
constexpr std::chrono::milliseconds kInterval(200);

} // namespace

Progress::Progress(bool is_wanted)
    : is_wanted_(is_wanted && isatty(STDERR_FILENO) != 0 && !is_dumb_terminal()),
      next_(Clock::now() + kMoment)
{
}

Progress::~Progress()
{
    clear_line();
}

bool Progress::is_due() const
{
    return is_wanted_ && Clock::now() >= next_;
}

void Progress::show(const std::string &text)
{
    next_ = Clock::now() + kInterval;
    show_line(text);
}
