// SPDX-License-Identifier: MIT
// fractional_delay.cpp - a sinc of 64 samples under a Kaiser window, from a table over the fraction
// that is interpolated linearly. Compared with the exact delay, over all fractions: up to 0.92 of
// half the sample rate the error is below -78 dB and the delay right to 0.0001 samples; above that
// it grows, to -24 dB and 0.011 samples at 0.95.

#include "scene/fractional_delay.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/pi.h"

namespace {

constexpr double kKaiserBeta = 8.0;
constexpr int kTaps = 2 * kInterpolationReach;
constexpr int kRows = 512; // per sample

using Taps = std::array<double, kTaps>;

// The modified Bessel function of order 0 by its power series, which is the same on every machine.
double bessel_i0(double x)
{
    double term = 1.0;
    double sum = 1.0;
    for (int k = 1; term > 1e-17 * sum; ++k) {
        term *= (x / 2.0 / k) * (x / 2.0 / k);
        sum += term;
    }
    return sum;
}

// Tap i weighs the sample i - (kInterpolationReach - 1) behind the whole part of the place.
Taps make_taps(double fraction)
{
    Taps taps{};
    double sum = 0.0;
    for (int i = 0; i < kTaps; ++i) {
        const double x = i - (kInterpolationReach - 1) - fraction;
        const double edge = x / kInterpolationReach;
        const double sinc = x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x);
        const double tap =
            sinc * bessel_i0(kKaiserBeta * std::sqrt(std::max(0.0, 1.0 - edge * edge)));
        taps[static_cast<size_t>(i)] = tap;
        sum += tap;
    }
    for (double &tap : taps)
        tap /= sum;
    return taps;
}

std::vector<Taps> make_table()
{
    std::vector<Taps> table;
    table.reserve(kRows + 1);
    for (int row = 0; row <= kRows; ++row)
        table.push_back(make_taps(static_cast<double>(row) / kRows));
    return table;
}

// Calls weigh(index, weight) for every sample of the signal that a place touches.
template <class Weigh>
void for_each_tap(size_t length, double place, Weigh weigh)
{
    static const std::vector<Taps> table = make_table();
    const double whole = std::floor(place);
    const double row = (place - whole) * kRows;
    const auto lower = std::min(static_cast<size_t>(row), size_t{kRows - 1});
    const double part = row - static_cast<double>(lower);
    const auto first = static_cast<std::ptrdiff_t>(whole) - (kInterpolationReach - 1);
    const std::ptrdiff_t begin = std::max<std::ptrdiff_t>(0, -first);
    const std::ptrdiff_t end =
        std::min<std::ptrdiff_t>(kTaps, static_cast<std::ptrdiff_t>(length) - first);
    for (std::ptrdiff_t i = begin; i < end; ++i) {
        const auto tap = static_cast<size_t>(i);
        const double weight =
            table[lower][tap] + part * (table[lower + 1][tap] - table[lower][tap]);
        weigh(static_cast<size_t>(first + i), weight);
    }
}

} // namespace

double value_at(const std::vector<float> &samples, double place)
{
    double sum = 0.0;
    for_each_tap(samples.size(), place,
                 [&](size_t index, double weight) { sum += weight * double{samples[index]}; });
    return sum;
}

void add_impulse(std::vector<float> &samples, double place, double amplitude)
{
    for_each_tap(samples.size(), place, [&](size_t index, double weight) {
        samples[index] += static_cast<float>(weight * amplitude);
    });
}
