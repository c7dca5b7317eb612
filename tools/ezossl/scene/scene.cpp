// SPDX-License-Identifier: MIT
// scene.cpp - delays the source for each microphone, in a free field or a room, scales it and adds
// noise.

#include "scene/scene.h"

#include <algorithm>
#include <cmath>

#include "base/acoustics.h"
#include "base/pi.h"
#include "base/sample_format.h"
#include "scene/convolution.h"
#include "scene/fractional_delay.h"

namespace {

constexpr float kPeak = 0.7f;
constexpr size_t kStride = 8192; // samples between two reports of progress

// What a microphone hears of a far source in a free field: half the delay on either side.
std::vector<float> hear_far(const std::vector<float> &source, const Placement &placement,
                            int microphone, const SceneSettings &settings, const AtWork &at_work)
{
    const double part = microphone == 0 ? 0.5 : -0.5;
    const auto length = static_cast<double>(source.size());
    std::vector<float> heard(source.size());
    for (size_t n = 0; n < source.size(); ++n) {
        if (n % kStride == 0)
            at_work(static_cast<double>(n) / length);
        const double angle = placement.at(static_cast<double>(n) / length);
        const double place = static_cast<double>(n) - part * far_field_delay(angle, settings);
        heard[n] = static_cast<float>(value_at(source, place));
    }
    return heard;
}

std::vector<int16_t> to_full_scale(std::vector<float> &scene)
{
    float peak = 0.0f;
    for (const float sample : scene)
        peak = std::max(peak, std::fabs(sample));
    for (float &sample : scene)
        sample *= kPeak / peak;
    std::vector<int16_t> result(scene.size());
    to_int16(scene.data(), result.data(), scene.size());
    return result;
}

} // namespace

float NoiseSource::next()
{
    const double radius = std::sqrt(-2.0 * std::log(uniform()));
    return static_cast<float>(radius * std::cos(2.0 * kPi * uniform()));
}

double NoiseSource::uniform()
{
    return (static_cast<double>(generator_()) + 0.5) / 4294967296.0;
}

std::vector<float> make_noise(size_t length, NoiseSource &noise)
{
    std::vector<float> samples(length);
    for (float &sample : samples)
        sample = noise.next();
    return samples;
}

double far_field_delay(double angle, const SceneSettings &settings)
{
    const double path = settings.spacing_cm / 100.0 * std::sin(angle * kPi / 180.0);
    return 0.0 - path / speed_of_sound(settings.temperature) * settings.rate; // no -0 for 0 degrees
}

double active_rms(const std::vector<float> &source, int rate)
{
    const size_t segment = static_cast<size_t>(rate) / 100;
    std::vector<double> powers;
    for (size_t start = 0; start < source.size(); start += segment) {
        const size_t end = std::min(start + segment, source.size());
        double energy = 0.0;
        for (size_t i = start; i < end; ++i)
            energy += double{source[i]} * double{source[i]};
        powers.push_back(energy / static_cast<double>(end - start));
    }
    const double limit = *std::max_element(powers.begin(), powers.end()) * 1e-4;
    double sum = 0.0;
    size_t active = 0;
    for (const double power : powers) {
        if (power > limit) {
            sum += power;
            ++active;
        }
    }
    return active > 0 ? std::sqrt(sum / static_cast<double>(active)) : 0.0;
}

std::vector<int16_t> make_scene(const std::vector<float> &source,
                                const std::vector<Placement> &placements,
                                const SceneSettings &settings, NoiseSource &noise,
                                const AtWork &at_work)
{
    std::optional<Room> room;
    if (settings.room)
        room.emplace(*settings.room, settings.spacing_cm / 100.0,
                     speed_of_sound(settings.temperature), settings.rate, at_work);
    const double steps = 3.0 * static_cast<double>(placements.size()); // the third adds the noise
    double done = 0.0;
    const AtWork at_step = [&](double part) { at_work((done + part) / steps); };
    const auto hear = [&](const Placement &placement, int microphone) {
        std::vector<float> heard =
            room ? convolve(source, room->response(placement.from, microphone, at_step))
                 : hear_far(source, placement, microphone, settings, at_step);
        ++done;
        return heard;
    };
    const auto noise_level = static_cast<float>(active_rms(source, settings.rate) *
                                                std::pow(10.0, -settings.snr_db / 20.0));
    const auto gain = static_cast<float>(std::pow(10.0, settings.mismatch_db / 20.0));
    std::vector<float> scene;
    scene.reserve(2 * source.size() * placements.size());
    for (const Placement &placement : placements) {
        const std::vector<float> first = hear(placement, 0);
        const std::vector<float> second = hear(placement, 1);
        for (size_t i = 0; i < source.size(); ++i) {
            if (i % kStride == 0)
                at_step(static_cast<double>(i) / static_cast<double>(source.size()));
            scene.push_back(first[i] + noise_level * noise.next());
            scene.push_back(gain * (second[i] + noise_level * noise.next()));
        }
        ++done;
    }
    return to_full_scale(scene);
}
