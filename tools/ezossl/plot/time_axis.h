// SPDX-License-Identifier: MIT
// time_axis.h - the place of a time in a figure, and ticks for durations from a second to days.

#ifndef EZOSSL_TOOL_TIME_AXIS_H
#define EZOSSL_TOOL_TIME_AXIS_H

#include <string>
#include <vector>

class TimeAxis
{
public:
    // Maps a range of time, in seconds, to a range of places. The end must be later than the start.
    TimeAxis(double start, double end, double left, double right);

    double x(double seconds) const;
    std::vector<double> ticks() const;
    std::string label(double tick) const;
    const char *unit() const;

private:
    // Whether labels are minutes and seconds, or hours and minutes, instead of seconds.
    bool has_minutes() const;
    bool has_hours() const;

    double start_, end_, left_, right_;
    double step_; // between ticks
};

#endif
