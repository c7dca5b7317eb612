// SPDX-License-Identifier: MIT
// pair_geometry.cpp - the library's geometry, with the same roundings to float.

#include "tracking/pair_geometry.h"

#include <algorithm>
#include <cmath>

#include "base/acoustics.h"
#include "base/pi.h"

namespace {

constexpr int kVotingTemperature = 25; // the expected delays are computed before Config

int library_limit(double spacing_cm, int rate, int temperature)
{
    const auto metres = static_cast<float>(double{static_cast<float>(spacing_cm)} * 0.01);
    const float samples =
        metres / static_cast<float>(speed_of_sound(temperature)) * static_cast<float>(rate);
    return static_cast<int>(samples) + 1;
}

} // namespace

PairGeometry::PairGeometry(double spacing_cm, int rate, int temperature)
    : longest_lag_(spacing_cm / 100.0 / speed_of_sound(temperature) * rate),
      limit_(library_limit(spacing_cm, rate, temperature)), expected_delays_()
{
    const int voting_limit = library_limit(spacing_cm, rate, kVotingTemperature);
    for (size_t k = 0; k < expected_delays_.size(); ++k)
        expected_delays_[k] = static_cast<float>(
            voting_limit * std::cos(static_cast<double>(k) / (kDirectionCount - 1) * kPi));
}

int PairGeometry::longest_possible_lag() const
{
    return std::min(static_cast<int>(longest_lag_), kHighestSeenLag);
}

int PairGeometry::longest_accepted_lag() const
{
    return std::min(limit_ + kLagTolerance, kHighestSeenLag);
}

double PairGeometry::angle_of_lag(int lag) const
{
    const double ratio = std::clamp(lag / longest_lag_, -1.0, 1.0);
    return 0.0 - std::asin(ratio) * 180.0 / kPi; // no -0 for lag 0
}

double PairGeometry::widest_angle() const
{
    return longest_lag_ <= kHighestSeenLag ? 90.0 : angle_of_lag(-kHighestSeenLag);
}

int PairGeometry::direction_of_lag(int lag) const
{
    const auto nearer = [lag](float a, float b) {
        return std::fabs(a - static_cast<float>(lag)) < std::fabs(b - static_cast<float>(lag));
    };
    return static_cast<int>(
        std::min_element(expected_delays_.begin(), expected_delays_.end(), nearer) -
        expected_delays_.begin());
}

std::array<bool, kDirectionCount> PairGeometry::reachable_directions() const
{
    std::array<bool, kDirectionCount> reachable{};
    for (int lag = -longest_possible_lag(); lag <= longest_possible_lag(); ++lag)
        reachable[static_cast<size_t>(direction_of_lag(lag))] = true;
    return reachable;
}

double angle_of_direction(int direction)
{
    return 180.0 * direction / (kDirectionCount - 1) - 90.0;
}
