// SPDX-License-Identifier: MIT
// time_axis.cpp - the step between ticks, at most ten of them, and their labels.

#include "plot/time_axis.h"

#include <cmath>

#include "base/text.h"
#include "plot/svg.h"

namespace {

constexpr double kMostTicks = 10.0;
constexpr double kMinute = 60.0;
constexpr double kHour = 3600.0;
constexpr double kDay = 86400.0;
constexpr double kSteps[] = {0.1,         0.2,         0.5,          1.0,          2.0,
                             5.0,         10.0,        15.0,         30.0,         kMinute,
                             2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute,
                             kHour,       2 * kHour,   3 * kHour,    6 * kHour,    12 * kHour};

double step_for(double duration)
{
    for (const double step : kSteps) {
        if (duration / step <= kMostTicks)
            return step;
    }
    return kDay * std::ceil(duration / kDay / kMostTicks);
}

} // namespace

TimeAxis::TimeAxis(double start, double end, double left, double right)
    : start_(start), end_(end), left_(left), right_(right), step_(step_for(end - start))
{
}

double TimeAxis::x(double seconds) const
{
    return left_ + (seconds - start_) / (end_ - start_) * (right_ - left_);
}

std::vector<double> TimeAxis::ticks() const
{
    std::vector<double> result;
    // Counted, because a sum of tenths would drift, and with a margin, because a tenth is not
    // exact.
    const auto last = static_cast<int64_t>(std::floor(end_ / step_ + 1e-6));
    for (auto i = static_cast<int64_t>(std::ceil(start_ / step_ - 1e-6)); i <= last; ++i)
        result.push_back(static_cast<double>(i) * step_);
    return result;
}

// In the form of unit(): seconds, minutes and seconds, or hours and minutes.
std::string TimeAxis::label(double tick) const
{
    if (!has_minutes())
        return svg_number(tick);
    const long long minor = std::llround(has_hours() ? tick / kMinute : tick);
    return format_text("%lld:%02lld", minor / 60, minor % 60);
}

const char *TimeAxis::unit() const
{
    if (!has_minutes())
        return "s";
    return has_hours() ? "h:min" : "min:s";
}

bool TimeAxis::has_minutes() const
{
    return end_ >= 2 * kMinute && step_ >= 1.0;
}

bool TimeAxis::has_hours() const
{
    return end_ >= 2 * kHour && step_ >= kMinute;
}
