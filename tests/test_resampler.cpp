// SPDX-License-Identifier: MIT
// test_resampler.cpp - the tool's resampler: pass band, stop band, time, and length.

#include "input/resampler.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include <gtest/gtest.h>

namespace {

struct Rates {
    int from;
    int to;
    double lower_nyquist() const { return std::min(from, to) / 2.0; }
};
constexpr Rates kRates[] = {{11025, 8000},  {44100, 8000},  {48000, 8000},  {8000, 16000},
                            {11025, 16000}, {22050, 16000}, {44100, 16000}, {48000, 16000}};
constexpr double kPi = 3.14159265358979324;

// A sine at microphone 0, a cosine at half its height at microphone 1.
std::vector<float> tones(double frequency, double rate, size_t pairs)
{
    std::vector<float> samples;
    for (size_t n = 0; n < pairs; ++n) {
        const double phase = 2 * kPi * frequency * static_cast<double>(n) / rate;
        samples.push_back(static_cast<float>(std::sin(phase)));
        samples.push_back(static_cast<float>(0.5 * std::cos(phase)));
    }
    return samples;
}

std::vector<float> resampled(Rates rates, const std::vector<float> &samples, size_t chunk)
{
    Resampler resampler(rates.from, rates.to);
    std::vector<float> result;
    for (size_t done = 0; done <= samples.size(); done += 2 * chunk) {
        const size_t now = std::min(chunk, (samples.size() - done) / 2);
        const bool is_last = done + 2 * chunk > samples.size();
        const std::vector<float> &part = resampler.process(samples.data() + done, now, is_last);
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

// The largest sample of a - b in dB, without both ends.
double difference_db(const std::vector<float> &a, const std::vector<float> &b)
{
    double largest = 0;
    for (size_t i = b.size() / 8; i < b.size() * 7 / 8; ++i)
        largest = std::max(largest, std::fabs(double{a[i]} - double{b[i]}));
    return 20 * std::log10(largest + 1e-30);
}

TEST(Resampler, KeepsWhatBothRatesHoldAtItsTime)
{
    for (const Rates rates : kRates) {
        for (const double part : {0.01, 0.5, 0.91}) {
            const double frequency = part * rates.lower_nyquist();
            const auto from = static_cast<size_t>(rates.from);
            const auto to = static_cast<size_t>(rates.to);
            const auto result = resampled(rates, tones(frequency, rates.from, from), 1000);
            ASSERT_EQ(result.size(), 2 * to) << rates.from << " to " << rates.to;
            // 0.01 dB are -58.8 dB of a tone.
            EXPECT_LT(difference_db(result, tones(frequency, rates.to, to)), -58.8)
                << rates.from << " to " << rates.to << ", " << frequency << " Hz";
        }
    }
}

TEST(Resampler, RemovesWhatTheLowerRateCannotHold)
{
    for (const Rates rates : kRates) {
        const auto from = static_cast<size_t>(rates.from);
        const std::vector<float> silence(2 * static_cast<size_t>(rates.to));
        for (const double frequency : {1.002 * rates.to / 2, 1.3 * rates.to / 2}) {
            if (2 * frequency < rates.from) {
                EXPECT_LT(difference_db(resampled(rates, tones(frequency, rates.from, from), 1000),
                                        silence),
                          -120)
                    << rates.from << " to " << rates.to << ", " << frequency << " Hz";
            }
        }
    }
}

TEST(Resampler, GivesTheSameInAnyPiecesUpToTheLastSample)
{
    for (const Rates rates : kRates) {
        for (const size_t pairs : std::initializer_list<size_t>{0, 1, 100, 12345}) {
            std::vector<float> samples = tones(100, rates.from, pairs);
            const auto whole = resampled(rates, samples, pairs + 1);
            const double length = static_cast<double>(pairs) * rates.to / rates.from;
            EXPECT_NEAR(static_cast<double>(whole.size()) / 2, length, 1)
                << rates.from << " to " << rates.to;
            for (const size_t chunk : {size_t{1}, size_t{4096}})
                EXPECT_EQ(resampled(rates, samples, chunk), whole) << chunk;
        }
        // Sound lasts to the end and does not fade into silence.
        const auto steady = resampled(rates, std::vector<float>(20000, 0.5f), 4096);
        EXPECT_NEAR(steady[steady.size() - 200], 0.5f, 0.01f) << rates.from << " to " << rates.to;
    }
}

} // namespace
