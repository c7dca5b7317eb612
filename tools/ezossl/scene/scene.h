// SPDX-License-Identifier: MIT
// scene.h - what two microphones hear of a source, in a room or far off without one.

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
    double snr_db;            // the direct sound while it sounds, to the noise of each microphone
    double mismatch_db = 0.0; // gain of microphone 1 over microphone 0, noise included
    std::optional<RoomSettings> room; // none: the source is far and there are no echoes
};

// Where the source is while it sounds once, in degrees; in a room it stays at `from`.
struct Placement {
    double from;
    double to;

    double at(double part) const { return from + part * (to - from); }
};

// White Gaussian noise of variance 1. Not from std::normal_distribution, which differs from one
// standard library to the next.
class NoiseSource
{
public:
    explicit NoiseSource(uint32_t seed) : generator_(seed) {}
    float next();

private:
    double uniform(); // inside 0 ... 1

    std::mt19937 generator_;
};

std::vector<float> make_noise(size_t length, NoiseSource &noise);

// Arrival time at microphone 0 less that at microphone 1, in samples: negative on the side of
// microphone 0, where the angle is positive.
double far_field_delay(double angle, const SceneSettings &settings);

// The source heard from one placement after another, as interleaved 16-bit samples: independent
// white noise added, the highest peak of the scene at 0.7 of full scale. The source must not be
// silent.
std::vector<int16_t> make_scene(
    const std::vector<float> &source, const std::vector<Placement> &placements,
    const SceneSettings &settings, NoiseSource &noise, const AtWork &at_work = [](double) {});

// Root mean square of the source over the segments of 10 ms less than 40 dB below the loudest one:
// pauses do not count. 0 for silence.
double active_rms(const std::vector<float> &source, int rate);

#endif
