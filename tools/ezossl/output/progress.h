// SPDX-License-Identifier: MIT
// progress.h - how far a file is read, for who waits in front of a terminal.

#ifndef EZOSSL_TOOL_PROGRESS_H
#define EZOSSL_TOOL_PROGRESS_H

#include <chrono>

#include "input/audio_file.h"

// A line on standard error that is drawn anew and goes away at the end. Only on a terminal that
// does not show the results as well, and only when the work takes longer than a moment.
class Progress
{
public:
    Progress(const AudioReader &audio, bool is_quiet);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void show(sf_count_t done);

private:
    const AudioReader &audio_;
    bool is_wanted_;
    bool is_shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

#endif
