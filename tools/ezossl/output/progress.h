// SPDX-License-Identifier: MIT
// progress.h - the progress of the work, for users who wait at a terminal.

#ifndef EZOSSL_TOOL_PROGRESS_H
#define EZOSSL_TOOL_PROGRESS_H

#include <chrono>
#include <string>

// A line on standard error that is drawn again and again, and goes away at the end. Only on a
// terminal, and only when the work takes longer than a moment.
class Progress
{
public:
    explicit Progress(bool is_wanted);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // True a few times a second.
    bool is_due() const;
    void show(const std::string &text);

private:
    bool is_wanted_;
    std::chrono::steady_clock::time_point next_;
};

#endif
