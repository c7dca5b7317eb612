// SPDX-License-Identifier: MIT
// test_end_to_end.cpp - the whole cycle through the public header: delayed noise becomes an angle.

#include "support.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int32_t kFrames = 32;

int32_t angle_of(SslHandle *ssl, const std::vector<int16_t> &samples)
{
    int32_t angle = 12345;
    run_all(ssl, samples);
    EXPECT_EQ(EzoSsl_Get_Direction(ssl, &angle), 0);
    EXPECT_EQ(EzoSsl_Reset_Mapping(ssl), 0);
    return angle;
}

TEST(EndToEnd, DelayedNoiseHasItsAngle)
{
    std::srand(1);
    const struct {
        int32_t rate;
        float cm;
    } arrays[] = {{8000, 20}, {16000, 12}, {16000, 5.8f}, {32000, 6}, {48000, 5}};
    for (const auto &array : arrays) {
        Instance ssl(Instance::kReady, an_init(array.rate, array.cm), {20, -80, kFrames});
        const double most = array.cm / 100 / 343.0 * array.rate;
        for (int32_t delay = -static_cast<int32_t>(most); delay <= most; ++delay) {
            const double truth = -std::asin(delay / most) * 180 / std::acos(-1.0);
            // Beyond 60 degrees a tenth of a sample is many degrees.
            const double tolerance = std::fabs(truth) > 60 ? 8 : 4;
            std::vector<int16_t> samples = delayed_noise(1, delay, kFrames, 9000);
            const int32_t angle = angle_of(ssl, samples);
            EXPECT_NEAR(angle, truth, tolerance) << array.rate << " Hz, " << delay << " samples";
            for (size_t n = 0; n < samples.size(); n += 2)
                std::swap(samples[n], samples[n + 1]);
            EXPECT_NEAR(angle_of(ssl, samples), -angle, 2) << "microphones swapped";
        }
    }
}

TEST(EndToEnd, EveryFrameReportsItsDelayAtAnyLevel)
{
    Instance ssl(Instance::kReady, an_init(48000, 20));
    for (const auto &[delay, level] :
         {std::pair(-27, 30), {-5, 300}, {0, 20000}, {1, 30000}, {14, 20000}, {27, 30}}) {
        const std::vector<int32_t> delays = run_all(ssl, delayed_noise(4, delay, 10, level));
        EXPECT_EQ(std::vector<int32_t>(delays.begin() + 2, delays.end()),
                  std::vector<int32_t>(8, delay));
    }
}

} // namespace
