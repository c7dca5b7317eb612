// SPDX-License-Identifier: MIT
// noise_gate.h - the level at or below which sound counts as silence: fixed, or a little above the
// noise of the room, which it follows.

#ifndef EZOSSL_TOOL_NOISE_GATE_H
#define EZOSSL_TOOL_NOISE_GATE_H

#include <deque>
#include <optional>

constexpr double kLowestGateDb = -80.0; // of full scale, as in the library

class NoiseGate
{
public:
    // In dB of full scale; without a level the gate follows the noise.
    explicit NoiseGate(std::optional<int> fixed_db);

    // Whether the next segment of sound is silence. Its level is in dB of full scale; segments are
    // short, so that the pauses between words show the noise.
    bool is_quiet(double level, double seconds);

    // The gate now, and its lowest and highest level so far.
    double level() const { return level_; }
    double lowest() const { return lowest_; }
    double highest() const { return highest_; }

private:
    struct Segment {
        double end; // seconds
        double level;
    };

    void follow(double level, double seconds);

    bool is_fixed_;
    double level_;
    double lowest_;
    double highest_;
    double now_ = 0.0;
    double loudest_ = kLowestGateDb;
    // Segments that may yet become the lowest of the window: each is lower than all later ones.
    std::deque<Segment> candidates_;
};

#endif
