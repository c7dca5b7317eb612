// SPDX-License-Identifier: MIT
// pair_geometry.h - what a pair of microphones can resolve: the figures of the library for a
// spacing, a rate and a temperature.

#ifndef EZOSSL_TOOL_PAIR_GEOMETRY_H
#define EZOSSL_TOOL_PAIR_GEOMETRY_H

#include <array>

constexpr int kDirectionCount = 9;   // that frames vote for, 22.5 degrees apart
constexpr int kLagTolerance = 3;     // samples beyond its limit that the library tolerates
constexpr double kLagMargin = 0.75;  // samples beyond the longest lag that may be measured
constexpr int kLowestSeenLag = -128; // of the spectral mode
constexpr int kHighestSeenLag = 127;

class PairGeometry
{
public:
    PairGeometry(double spacing_cm, int rate, int temperature);

    double longest_lag() const { return longest_lag_; } // samples that sound needs along the axis
    int limit() const { return limit_; }                // the library's D: whole samples, plus one

    int longest_possible_lag() const;   // whole samples that the spacing allows and frames can show
    int longest_accepted_lag() const;   // whole samples; frames with longer lags are rejected
    double angle_of_lag(int lag) const; // degrees, at +-90 beyond the longest lag
    double widest_angle() const;        // degrees; the lags of larger angles exceed a frame
    int direction_of_lag(int lag) const; // 0 ... 8: that for which a frame of this lag votes

    // The directions for which some possible lag votes.
    std::array<bool, kDirectionCount> reachable_directions() const;

private:
    double longest_lag_;
    int limit_;
    std::array<float, kDirectionCount> expected_delays_;
};

// The angle of direction 0 ... 8 in degrees.
double angle_of_direction(int direction);

#endif
