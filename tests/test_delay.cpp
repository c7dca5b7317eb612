// SPDX-License-Identifier: MIT
// test_delay.cpp - from samples to a vote: loading, energy, spectra, the two estimators.

#include "support.h"

#include "SslCoreReduce.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

const double kTruePi = std::acos(-1.0);

// Spectra whose correlation, after the phase transform, is an impulse at the lag: X1 = 1.
void set_lag(SslHandle *ssl, int lag)
{
    for (int k = 0; k <= 128; ++k) {
        const double phase = -2 * kTruePi * k * lag / 256;
        ssl->spectrum[0][2 * k] = static_cast<float>(std::cos(phase));
        ssl->spectrum[0][2 * k + 1] = static_cast<float>(std::sin(phase));
        ssl->spectrum[1][2 * k] = 1;
        ssl->spectrum[1][2 * k + 1] = 0;
    }
}

int32_t estimate(SslHandle *ssl)
{
    int32_t delay = 12345;
    ssl_delay_gcc(ssl, &delay);
    return delay;
}

TEST(Delay, SpectraAndEnergyAreThoseOfTheLastTwoFrames)
{
    Instance ssl;
    const std::vector<int16_t> samples = delayed_noise(7, 3, 3, 30000);
    run_all(ssl, samples);
    double energy = 0;
    for (size_t mic = 0; mic < 2; ++mic) {
        std::complex<double> bins[129] = {};
        for (int n = 0; n < 256; ++n) {
            const double x = samples[256 + 2 * static_cast<size_t>(n) + mic] / 32768.0;
            energy += x * x / 2;
            for (int k = 0; k <= 128; ++k)
                bins[k] += x * std::sin(kTruePi * n / 256) *
                           std::polar(1.0, -2 * kTruePi * (k * n % 256) / 256);
        }
        for (int k = 0; k <= 128; ++k) {
            EXPECT_NEAR(ssl->spectrum[mic][2 * k], bins[k].real(), 1e-5);
            EXPECT_NEAR(ssl->spectrum[mic][2 * k + 1], bins[k].imag(), 1e-5);
        }
    }
    EXPECT_NEAR(ssl->frame_energy, energy, energy * 1e-6);
    const float *const newest = &ssl->time_frame[0][128]; // of microphone 0, twice
    EXPECT_EQ(std::memcmp(ssl->ref_frame_a, newest, sizeof ssl->ref_frame_a), 0);
    EXPECT_EQ(std::memcmp(ssl->ref_frame_b[0], newest, sizeof ssl->ref_frame_b[0]), 0);
}

TEST(Delay, LagsAreTakenUpToThreeBeyondTheLimit)
{
    Instance ssl; // D = 3
    for (int lag = -128; lag < 128; ++lag) {
        ssl_reset_voting(ssl);
        set_lag(ssl, lag);
        const bool accepted = std::abs(lag) <= 3 + 3;
        EXPECT_EQ(estimate(ssl), accepted ? lag : -32768) << lag;
        EXPECT_EQ(ssl->vote_count[0][9], accepted ? 0 : 1);
    }
    // Limits that no array has: no lag, and every lag.
    set_lag(ssl, 0);
    ssl->max_delay_sample[0] = INT32_MIN;
    EXPECT_EQ(estimate(ssl), -32768);
    ssl->max_delay_sample[0] = INT32_MAX;
    for (const int lag : {-128, 127}) { // the neighbours of both ends lie at the other end
        set_lag(ssl, lag);
        EXPECT_EQ(estimate(ssl), lag);
    }
}

TEST(Delay, ADipAsDeepAsThePeakIsNoDelay)
{
    Instance ssl;
    ssl->max_delay_sample[0] = INT32_MAX;
    set_lag(ssl, 0);
    std::memset(ssl->spectrum[0], 0, sizeof ssl->spectrum[0]);
    ssl->spectrum[0][2 * 64] = 1; // nothing but one bin: a cosine of four samples, 1 0 -1 0 ...
    EXPECT_EQ(estimate(ssl), -32768);
    EXPECT_EQ(ssl->correlation[0], -ssl->correlation[2]);
    EXPECT_GT(ssl->correlation[0], 0.0f);
}

TEST(Delay, TheNearestCandidateGetsTheVote)
{
    // D = 7 expects 7, 6.47, 4.95, 2.68, 0, ...
    const int nearest[] = {8, 8, 7, 6, 6, 5, 5, 4, 4, 4, 3, 3, 2, 2, 1, 0, 0};
    Instance ssl(Instance::kReady, an_init(48000));
    for (int lag = -8; lag <= 8; ++lag) {
        ssl_reset_voting(ssl);
        set_lag(ssl, lag);
        EXPECT_EQ(estimate(ssl), lag);
        EXPECT_EQ(ssl->vote_count[0][nearest[lag + 8]], 1) << lag;
        EXPECT_NEAR(ssl->vote_delay_sum[0][nearest[lag + 8]], lag,
                    1e-3); // symmetric: no refinement
    }
    // Of equal distances the lower candidate; the first distance is below 1e9, or none is.
    const float ties[][9] = {{9, 8, 3, 8, 8, 1, 8, 8, 8}, {9, 9, 2, 2, 2, 9, 9, 9, 9}};
    for (const auto &table : ties) {
        ssl_reset_voting(ssl);
        std::memcpy(ssl->direction_delay_table[0], table, sizeof table);
        set_lag(ssl, 2);
        estimate(ssl);
        EXPECT_EQ(ssl->vote_count[0][2], 1);
    }
}

TEST(Delay, AFrameIsGradedByPeakToMeanAfterTheFloor)
{
    Instance ssl;
    std::mt19937 random(11);
    const auto below = [&](unsigned count) { return static_cast<int>(random() % count); };
    int accepted = 0, refused_by_mean = 0, refused_by_dip = 0, close = 0, at_the_ends = 0;
    for (int frame = 0; frame < 4000; ++frame) {
        ssl_reset_voting(ssl);
        // Distant lags come with distant dips, which brings the grades near 1.4.
        const int limit = ssl->max_delay_sample[0] = frame % 2 == 0 ? 100 : 200;
        // Random phases that lean toward a lag, more or less, and a constant part of either sign.
        const double lean = below(1000) / 500.0;
        set_lag(ssl, below(256) - 128);
        for (int k = 0; k <= 128; ++k) {
            const double phase = lean * kTruePi * (below(2001) / 1000.0 - 1);
            ssl->spectrum[1][2 * k] = static_cast<float>(std::cos(phase));
            ssl->spectrum[1][2 * k + 1] = static_cast<float>(std::sin(phase));
        }
        if (below(2) == 0)
            ssl->spectrum[0][0] = -1;
        std::srand(static_cast<unsigned>(frame));
        const int32_t delay = estimate(ssl);

        std::vector<float> c(ssl->correlation_raw + 128, ssl->correlation_raw + 256);
        c.insert(c.end(), ssl->correlation_raw, ssl->correlation_raw + 128);
        const auto top = std::max_element(c.begin(), c.end());
        const auto dip = std::min_element(c.begin(), c.end());
        const auto peak = static_cast<size_t>(top - c.begin());
        const int lag = static_cast<int>(peak) - 128;
        int32_t expected_delay = -32768;
        float expected_vote = 0;
        const bool is_far = std::abs(lag) > limit + 3;
        const bool is_deep = !is_far && std::fabs(*top) <= std::fabs(*dip);
        refused_by_dip += is_deep;
        if (!is_far && !is_deep) {
            // The floor is subtracted up to its own place only.
            const float floor = *dip;
            for (auto value = c.begin(); value <= dip; ++value)
                *value -= floor;
            const float confidence = *top / (std::accumulate(c.begin(), c.end(), 0.0f) / 256);
            close += std::fabs(confidence - 1.4f) < 0.2f;
            refused_by_mean += double{confidence} < 1.4;
            if (double{confidence} >= 1.4) {
                ++accepted;
                at_the_ends += peak % 255 == 0;
                expected_delay = lag;
                std::srand(static_cast<unsigned>(frame));
                const float r = static_cast<float>((std::rand() % 20) / 100.0 + 0.7);
                const float after = c[(peak + 1) % 256], before = c[(peak + 255) % 256]; // circular
                expected_vote =
                    static_cast<float>(lag) + r * (after - before) / (2 * c[peak] - after - before);
            }
        }
        EXPECT_EQ(delay, expected_delay);
        EXPECT_EQ(std::memcmp(ssl->correlation, c.data(), sizeof ssl->correlation), 0);
        EXPECT_EQ(ssl->vote_count[0][9], delay == -32768 ? 1 : 0);
        const auto &votes = ssl->vote_delay_sum[0];
        EXPECT_EQ(std::accumulate(std::begin(votes), std::end(votes), 0.0f), expected_vote);
    }
    EXPECT_GT(accepted, 500);
    EXPECT_GT(refused_by_mean + refused_by_dip, 20);
    EXPECT_GT(refused_by_dip, 5);
    EXPECT_GT(at_the_ends, 5);
    EXPECT_GT(close, 20);
}

TEST(Delay, SilenceAndInvertedPolarityAreRejected)
{
    Instance ssl;
    EXPECT_EQ(run_all(ssl, std::vector<int16_t>(512)), std::vector<int32_t>(2, -32768));
    EXPECT_EQ(ssl->vote_count[0][9], 2);
    std::vector<int16_t> samples = delayed_noise(2, 1, 6, 20000);
    for (size_t n = 1; n < samples.size(); n += 2)
        samples[n] = static_cast<int16_t>(-samples[n]);
    EXPECT_EQ(run_all(ssl, samples), std::vector<int32_t>(6, -32768));
}

TEST(Delay, TimeDomainCurveKeepsItsOffset)
{
    Instance ssl;
    std::mt19937 random(5);
    const auto value = [&] { return static_cast<float>(random() % 2001) / 1000.0f - 1.0f; };
    for (const int32_t limit : {1, 2, 4, 14, 15, 127, 128, 5000, INT32_MAX, 0, -3, INT32_MIN}) {
        ssl->max_delay_sample[0] = limit;
        for (int n = 0; n < 128; ++n) {
            ssl->ref_frame_a[n] = value();
            ssl->ref_frame_b[0][n] = value();
        }
        const int used = std::min(std::max(limit, 0), 127);
        std::vector<float> curve;
        const auto entry = [&](const float *early, const float *late, int lag) {
            float sum = 0;
            for (int n = 0; n < 128 - lag; ++n)
                sum += (early[n] - late[lag + n]) * (early[n] - late[lag + n]);
            curve.push_back(sum / static_cast<float>(128 - lag));
        };
        for (int lag = used; lag >= 2; --lag)
            entry(ssl->ref_frame_a, ssl->ref_frame_b[0], lag);
        for (int lag = 0; lag < used; ++lag)
            entry(ssl->ref_frame_b[0], ssl->ref_frame_a, lag);
        curve.resize(255);
        int32_t delay = 12345;
        ssl_delay_amdf(ssl, &delay);
        EXPECT_EQ(std::memcmp(ssl->amdf_curve, curve.data(), curve.size() * sizeof(float)), 0)
            << limit;
        // The first of the two zeros after the curve is the smallest value.
        EXPECT_EQ(delay, used == 0 ? 0 : 2 * used - 1 - used) << limit;
        // Equal frames: the 0 of lag 0 comes before them, and reads as -1.
        std::memcpy(ssl->ref_frame_b[0], ssl->ref_frame_a, sizeof ssl->ref_frame_a);
        ssl_delay_amdf(ssl, &delay);
        EXPECT_EQ(delay, used == 0 ? 0 : -1) << limit;
    }
    Instance whole(Instance::kReady, an_init(48000, 5.0f, 1));
    EXPECT_EQ(run_all(whole, delayed_noise(2, 4, 3, 20000)), std::vector<int32_t>(3, -1));
    EXPECT_EQ(whole->vote_count[0][9], 0);
    EXPECT_GT(whole->energy_sum, 0.0f);
}

TEST(Delay, Reductions)
{
    const float nan = std::nanf("");
    const struct {
        std::vector<float> x;
        uint32_t largest, smallest;
    } rows[] = {
        {{3}, 0, 0},
        {{1, 5, 5, 1, 0, 0}, 1, 4},
        {{-0.0f, 0.0f, -1, -1}, 0, 2},
        {{nan, 1, 2}, 0, 0},
        {{1, nan, 2, 0}, 2, 3},
        {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9}, 9, 0},
        {{9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0, -1}, 0, 16},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(array_argmax(row.x.data(), static_cast<uint32_t>(row.x.size())), row.largest);
        EXPECT_EQ(array_argmin(row.x.data(), static_cast<uint32_t>(row.x.size())), row.smallest);
    }
    float x[128], rate = 0;
    for (int i = 0; i < 128; ++i)
        x[i] = i % 2 == 0 ? 1.0f : -1.0f;
    ssl_zero_crossing_rate(x, 128, &rate);
    EXPECT_EQ(rate, 127.0f / 128);
    x[64] = 0; // crossed twice, now not at all: a zero has no sign
    ssl_zero_crossing_rate(x, 128, &rate);
    EXPECT_EQ(rate, 125.0f / 128);
    // Root of the sum on the 16-bit scale, over n: sqrt(2 x 0.25 x 32767^2) / 2.
    const float halves[] = {0.5f, -0.5f};
    EXPECT_EQ(array_mean(halves, 2), 0.0f);
    EXPECT_FLOAT_EQ(array_power(halves, 2), static_cast<float>(std::sqrt(0.5) * 32767 / 2));
    const float ordered[] = {16777216, 1, 1, -16777216};
    EXPECT_EQ(array_mean(ordered, 4), 0.0f); // in index order both ones are swallowed
}

// Confidences at the limit must be those of the sum in index order, which here swallows ones that a
// sum in lanes keeps. Further off, either sum tells the side.
TEST(Delay, PeakToMeanIsOnTheSideThatTheOrderedSumHas)
{
    std::vector<float> x(256, 1.0f);
    for (const float sign : {1.0f, -1.0f}) {
        x[0] = 16777216 * sign;
        const float mean = array_mean(x.data(), 256);
        for (const double off : {-1e-6, 1e-6, -3e-4, 3e-4, -0.5, 0.5}) {
            const float peak = static_cast<float>(std::fabs(mean) * 1.4 * (1 + off));
            const bool expected = peak / mean < 1.4;
            EXPECT_EQ(array_peak_to_mean(x.data(), 256, peak, 1 << 23, 1.4f) < 1.4, expected)
                << sign << " " << off;
        }
    }
    // The sum in index order swallows the second half, which makes a difference of 64 in the mean.
    std::fill(x.begin(), x.begin() + 128, 16777216.0f);
    std::fill(x.begin() + 128, x.end(), 127.0f);
    const auto between = static_cast<float>((8388608 + 32) * 1.4);
    EXPECT_GT(array_peak_to_mean(x.data(), 256, between, 1 << 23, 1.4f), 1.4f);
    // A mean next to 0 may have either sign: in index order the 1 is swallowed.
    x.assign(256, 0.0f);
    x[0] = 16777216;
    x[1] = 1;
    x[8] = -16777216;
    x[9] = -0.5f;
    EXPECT_LT(array_peak_to_mean(x.data(), 256, 1 << 23, 1 << 23, 1.4f), 0.0f);
}

} // namespace
