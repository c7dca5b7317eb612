// SPDX-License-Identifier: MIT
// test_geometry.cpp - implausible spacings.

#include "support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

// Spacings and temperatures are not checked: any must leave the buffer's neighbours alone (the
// guards of Instance) and every array inside its bounds (the sanitizers).
TEST(Geometry, NoSpacingIsDangerous)
{
    const float spacings[] = {-5, 0, 1e-30f, 200, 1e6f, 1e30f, kInf, -kInf, std::nanf("")};
    for (const float cm : spacings) {
        for (const int32_t temperature : {25, -552, -551, INT32_MIN, INT32_MAX}) {
            for (const int32_t bf_mode : {0, 1}) {
                Instance ssl(Instance::kReady, an_init(48000, cm, bf_mode), {temperature, -80, 1});
                for (const int32_t lag : {0, 90}) {
                    int32_t angle = 0;
                    const auto delays = run_all(ssl, delayed_noise(9, lag, 3, 20000));
                    for (const int32_t delay : delays)
                        EXPECT_TRUE(delay == -32768 || std::abs(delay) <= 128);
                    if (bf_mode == 1)
                        continue;
                    const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
                    EXPECT_TRUE(code == 0 || code == EZOSSL_DELAY_TOO_LARGE ||
                                code == EZOSSL_UNDECIDED)
                        << code;
                    EXPECT_TRUE(std::abs(angle) <= 90 || angle == -10000);
                    EXPECT_EQ(EzoSsl_Reset_Mapping(ssl), 0);
                }
            }
        }
    }
    Instance endless(Instance::kReady, an_init(48000, kInf));
    EXPECT_EQ(endless->max_delay_sample[0], INT32_MAX); // saturated, not wrapped by the margin
}

} // namespace
