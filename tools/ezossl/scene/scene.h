// SPDX-License-Identifier: MIT
// scene.h - what two microphones hear of a source, in a room or far away in a free field.

#ifndef EZOSSL_TOOL_SCENE_H
#define EZOSSL_TOOL_SCENE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "scene/room.h"

struct SceneSettings {
    int rate;                 // Hz
    double spacing_cm;        // of the microphones
    int temperature;          // degrees Celsius
    double snr_db;            // direct sound without pauses, to the noise of each microphone
    double mismatch_db = 0.0; // gain of microphone 1 over microphone 0, noise included
    std::optional<RoomSettings> room; // none: the source is far and there are no echoes
};

// Where the source is during one pass of its sound, in degrees; in a room it stays at `from`.
struct Placement {
    double from;
    double to;

    double at(double part) const { return from + part * (to - from); }
};

// White Gaussian noise of variance 1. Not from std::normal_distribution, which differs between
// standard libraries.
class NoiseSource
{
public:
    explicit NoiseSource(uint32_t seed) : generator_(seed) {}
    float next();

private:
    double uniform(); // between 0 and 1, without both

    std::mt19937 generator_;
};

std::vector<float> make_noise(size_t length, NoiseSource &noise);

// Arrival time at microphone 0 less that at microphone 1, in samples: negative on the side of
// microphone 0, where the angle is positive.
double far_field_delay(double angle, const SceneSettings &settings);

// The source at one placement after another, as interleaved 16-bit samples, with independent white
// noise, and the highest peak of the scene at 0.7 of full scale. The source must not be silent.
std::vector<int16_t> make_scene(
    const std::vector<float> &source, const std::vector<Placement> &placements,
    const SceneSettings &settings, NoiseSource &noise, const AtWork &at_work = [](double) {});

// Root mean square of the source without pauses, which are segments of 10 ms that are 40 dB or more
// below the loudest one. 0 for silence.
double active_rms(const std::vector<float> &source, int rate);

#endif
