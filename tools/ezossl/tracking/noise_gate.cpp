// SPDX-License-Identifier: MIT
// noise_gate.cpp - the floor is the minimum of the last half minute (R. Martin, "Noise power
// spectral density estimation based on optimal smoothing and minimum statistics", IEEE Trans.
// Speech and Audio Processing 9, 2001, does this in every band).

#include "tracking/noise_gate.h"

#include <algorithm>

namespace {

// Chosen with a talker who pauses while a fan runs elsewhere: with lower margins the fan gets
// angles, with higher ones the talker loses some.
constexpr double kWindow = 30.0;     // seconds in which the floor is the lowest level
constexpr double kMarginDb = 6.0;    // above the floor
constexpr double kHeadroomDb = 10.0; // below the loudest, so that a steady sound passes the gate

} // namespace

NoiseGate::NoiseGate(std::optional<int> fixed_db)
    : is_fixed_(fixed_db.has_value()), level_(fixed_db ? *fixed_db : kLowestGateDb),
      lowest_(level_), highest_(level_)
{
}

bool NoiseGate::is_quiet(double level, double seconds)
{
    now_ += seconds;
    if (!is_fixed_ && level > kLowestGateDb)
        follow(level, seconds);
    return level <= level_;
}

void NoiseGate::follow(double level, double seconds)
{
    const bool is_first = candidates_.empty() && loudest_ == kLowestGateDb;
    while (!candidates_.empty() && candidates_.back().level >= level)
        candidates_.pop_back();
    candidates_.push_back({now_, level});
    while (candidates_.front().end < now_ - kWindow + seconds / 2.0)
        candidates_.pop_front();
    loudest_ = std::max(loudest_, level);
    level_ = std::max(kLowestGateDb,
                      std::min(candidates_.front().level + kMarginDb, loudest_ - kHeadroomDb));
    lowest_ = is_first ? level_ : std::min(lowest_, level_);
    highest_ = std::max(highest_, level_);
}
