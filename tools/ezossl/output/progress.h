// SPDX-License-Identifier: MIT
// progress.h - how far an input is read, for users who wait in front of a terminal.

#ifndef EZOSSL_TOOL_PROGRESS_H
#define EZOSSL_TOOL_PROGRESS_H

#include <chrono>
#include <optional>
#include <string>

// A line on standard error that is drawn anew and goes away at the end. Only on a terminal that
// does not show the results as well, and only when the work takes longer than a moment.
class Progress
{
public:
    // The seconds are those of the whole input, if they are known.
    Progress(const std::string &name, std::optional<double> seconds, bool is_quiet);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void show(double seconds_done);

private:
    std::string name_;
    std::optional<double> seconds_;
    bool is_wanted_;
    bool is_shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

#endif
