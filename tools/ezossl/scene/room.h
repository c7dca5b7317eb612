// SPDX-License-Identifier: MIT
// room.h - impulse responses of a rectangular room, from a source to two microphones.

#ifndef EZOSSL_TOOL_ROOM_H
#define EZOSSL_TOOL_ROOM_H

#include <array>
#include <functional>
#include <vector>

using Point = std::array<double, 3>; // metres

struct RoomSettings {
    Point size;      // width, depth, height; the pair lies along the width
    double rt60;     // seconds in which echoes fall by 60 dB
    double distance; // metres from the middle of the pair to the source
};

// Called repeatedly during long work, with the share of it that is done. It may throw.
using AtWork = std::function<void(double part)>;

// About how many echoes of a source one microphone hears. Time and memory are proportional to them.
double echo_count(const RoomSettings &settings, double sound_speed);

class Room
{
public:
    // Speed of sound in m/s, rate in Hz. Finds how much sound the walls must reflect for the
    // reverberation time. Measured in six rooms of 18 to 1800 m3 and 0.1 to 1 s: from -5 to -25 dB
    // the responses fall at a rate within 5 % of the stated one, and below that up to 10 % slower,
    // because echoes between the walls that are furthest apart last longest. Failure if the pair
    // does not fit into the room, or the source is nearer to it than its spacing.
    Room(const RoomSettings &settings, double spacing, double sound_speed, int rate,
         const AtWork &at_work);

    // Share of the sound pressure that every wall reflects.
    double reflection() const { return reflection_; }

    // The response from a source at an angle to microphone 0 or 1, until echoes have fallen by
    // 60 dB. Direct sound would have the amplitude 1 in the middle of the pair. Failure if the
    // source would be outside the room.
    std::vector<float> response(double angle_deg, int microphone, const AtWork &at_work) const;

private:
    void check_pair() const;
    Point middle_of_pair() const;
    Point place_at(double angle_deg) const;
    Point source_at(double angle_deg) const;

    RoomSettings settings_;
    double spacing_;
    double sound_speed_;
    int rate_;
    double reflection_;
};

#endif
