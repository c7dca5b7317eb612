// SPDX-License-Identifier: MIT
// test_geometry.cpp - the branches that two microphones never reach, and implausible spacings.

#include "support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(Geometry, ArbitraryPositionsByThemselves)
{
    const float apart[] = {0, 0, 5, 0}, same[] = {1, 1, 1, 1};
    EXPECT_EQ(ssl_coincident_microphones(apart), 0u);
    EXPECT_EQ(ssl_coincident_microphones(same), 1u);
    const struct {
        float positions[4];
        int32_t delay;
        double slope;
    } rows[] = {
        {{0, 0, 5, 0}, 3, 0},
        {{5, 0, 0, 0}, -3, 0},
        {{0, 0, 0, 5}, 3, 1.5707963},
        {{1, 2, 4, 6}, 3, std::atan(4.0 / 3)},
        {{4, 2, 1, 6}, -3, std::atan(-4.0 / 3)},
    };
    for (const auto &row : rows) {
        Instance ssl(Instance::kConfigured);
        ssl->array_geometry = 7;
        Ssl_Cal_ArbitraryGeometry(ssl, row.positions);
        EXPECT_EQ(ssl->array_geometry, 0); // a single pair is linear
        EXPECT_EQ(ssl->max_delay_sample[0], row.delay);
        for (int axis = 0; axis < 2; ++axis) {
            const double middle = (row.positions[axis] + row.positions[2 + axis]) / 2.0;
            for (int mic = 0; mic < 2; ++mic)
                EXPECT_NEAR(ssl->mic_pos[mic][axis], (row.positions[2 * mic + axis] - middle) / 100,
                            1e-8);
        }
        for (int n = 0; n < 9; ++n)
            EXPECT_NEAR(ssl->direction_delay_table[0][n],
                        row.delay * std::cos(row.slope + n * 3.1415926 / 8), 1e-6);
    }
}

TEST(Geometry, CircularArrayByItself)
{
    Instance ssl(Instance::kConfigured, an_init(48000));
    ssl->array_geometry = 1;
    ssl->direction_delay_table[0][0] = 0;
    Ssl_Cal_Geometry(ssl);
    // Microphone 0 at the angle pi, as eight digits have it, microphone 1 at 0.
    EXPECT_FLOAT_EQ(ssl->mic_pos[0][0], -0.025f);
    EXPECT_EQ(ssl->mic_pos[0][1], static_cast<float>(double{0.5f * 0.05f} * std::sin(3.1415926)));
    EXPECT_EQ(ssl->mic_pos[1][0], 0.025f);
    EXPECT_EQ(ssl->mic_pos[1][1], 0.0f);
    EXPECT_EQ(ssl->max_delay_sample[0], 7);
    for (int n = 0; n < 9; ++n) // the angle is rounded to float here
        EXPECT_EQ(
            ssl->direction_delay_table[0][n],
            static_cast<float>(7 * std::cos(double{static_cast<float>(n / 8.0 * 3.1415926)})));
}

TEST(Geometry, PseudoInverseOfACircularArrayOnly)
{
    Instance ssl;
    ssl->relative_array_pos_pinv[0][0] = 42;
    Ssl_Cal_Intrinsic(ssl);
    EXPECT_EQ(ssl->relative_array_pos_pinv[0][0], 42.0f);
    ssl->array_geometry = 1;
    const float pairs[][2] = {{0.05f, 0}, {0.03f, 0.04f}, {0, 0}, {-0.7f, 0.3f}, {3, 2}};
    for (const auto &pair : pairs) {
        const float x = ssl->relative_array_pos[0][0] = pair[0];
        const float y = ssl->relative_array_pos[0][1] = pair[1];
        Ssl_Cal_Intrinsic(ssl);
        const float xx = x * x, xy = x * y, yx = y * x, yy = y * y;
        const float determinant = static_cast<float>(double{xx * yy - yx * xy} + 1e-9);
        EXPECT_EQ(ssl->relative_array_pos_pinv[0][0], yy / determinant * x + -xy / determinant * y);
        EXPECT_EQ(ssl->relative_array_pos_pinv[1][0], -yx / determinant * x + xx / determinant * y);
    }
}

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
