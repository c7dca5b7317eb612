// SPDX-License-Identifier: MIT
// scene.cpp - see scene.h.

#include "scene.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audio_file.h"
#include "units.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kPeak = 0.7f;

// Fractional delay: a sinc of 64 samples under a Kaiser window. Measured against the exact delay
// over all fractions: the error is below -74 dB and the delay right to 0.0002 samples up to 0.92 of
// half the sample rate; above that it grows, to -24 dB and 0.011 samples at 0.95.
constexpr int kHalfLength = 32;
constexpr double kKaiserBeta = 8.0;
using DelayFilter = std::array<double, 2 * kHalfLength>;

// Tap i weighs the sample kHalfLength - 1 - i later than the one at the whole part of the delay.
DelayFilter delay_filter(double fraction)
{
    DelayFilter filter{};
    double sum = 0.0;
    for (int i = 0; i < 2 * kHalfLength; i++) {
        const double x = i - (kHalfLength - 1) - fraction;
        const double place = x / kHalfLength;
        const double sinc = x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x);
        const double window =
            std::cyl_bessel_i(0.0, kKaiserBeta * std::sqrt(std::max(0.0, 1.0 - place * place)));
        filter[static_cast<std::size_t>(i)] = sinc * window;
        sum += sinc * window;
    }
    for (double &tap : filter)
        tap /= sum;
    return filter;
}

// The source later by `delay` samples (earlier if negative), in the same length.
std::vector<float> delayed(const std::vector<float> &source, double delay)
{
    const double whole = std::floor(delay);
    const DelayFilter filter = delay_filter(delay - whole);
    const auto length = static_cast<std::ptrdiff_t>(source.size());
    std::vector<float> result(source.size());
    for (std::ptrdiff_t n = 0; n < length; n++) {
        const std::ptrdiff_t latest = n - static_cast<std::ptrdiff_t>(whole) + kHalfLength - 1;
        const std::ptrdiff_t first = std::max<std::ptrdiff_t>(0, latest - length + 1);
        const std::ptrdiff_t end = std::min<std::ptrdiff_t>(2 * kHalfLength, latest + 1);
        double sum = 0.0;
        for (std::ptrdiff_t i = first; i < end; i++)
            sum += filter[static_cast<std::size_t>(i)] *
                   double{source[static_cast<std::size_t>(latest - i)]};
        result[static_cast<std::size_t>(n)] = static_cast<float>(sum);
    }
    return result;
}

std::vector<int16_t> to_full_scale(std::vector<float> &scene)
{
    float peak = 0.0f;
    for (const float sample : scene)
        peak = std::max(peak, std::fabs(sample));
    for (float &sample : scene)
        sample *= kPeak / peak;
    std::vector<int16_t> result(scene.size());
    std::size_t clamped = 0; // none: the peak is below full scale
    to_int16(scene.data(), result.data(), scene.size(), clamped);
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

std::vector<float> make_noise(std::size_t length, NoiseSource &noise)
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
    const std::size_t stretch = static_cast<std::size_t>(rate) / 100;
    std::vector<double> powers;
    for (std::size_t start = 0; start < source.size(); start += stretch) {
        const std::size_t end = std::min(start + stretch, source.size());
        double energy = 0.0;
        for (std::size_t i = start; i < end; i++)
            energy += double{source[i]} * double{source[i]};
        powers.push_back(energy / static_cast<double>(end - start));
    }
    const double limit = *std::max_element(powers.begin(), powers.end()) * 1e-4;
    double sum = 0.0;
    std::size_t active = 0;
    for (const double power : powers) {
        if (power > limit) {
            sum += power;
            active++;
        }
    }
    return active > 0 ? std::sqrt(sum / static_cast<double>(active)) : 0.0;
}

std::vector<int16_t> make_scene(const std::vector<float> &source, const std::vector<double> &angles,
                                const SceneSettings &settings, NoiseSource &noise)
{
    const auto noise_level = static_cast<float>(active_rms(source, settings.rate) *
                                                std::pow(10.0, -settings.snr_db / 20.0));
    std::vector<float> scene;
    scene.reserve(2 * source.size() * angles.size());
    for (const double angle : angles) {
        const double delay = far_field_delay(angle, settings);
        const std::vector<float> first = delayed(source, delay / 2.0);
        const std::vector<float> second = delayed(source, -delay / 2.0);
        for (std::size_t i = 0; i < source.size(); i++) {
            scene.push_back(first[i] + noise_level * noise.next());
            scene.push_back(second[i] + noise_level * noise.next());
        }
    }
    return to_full_scale(scene);
}
