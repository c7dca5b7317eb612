// SPDX-License-Identifier: MIT
// test_geometry.cpp - positions, largest and expected delays, the pseudo-inverse; also the branches
// that two microphones never reach, and spacings that nobody has.

#include "support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(Geometry, SpacingRateAndTemperatureGiveTheLargestDelay)
{
    const struct {
        float cm;
        int32_t rate, temperature, delay;
    } rows[] = {
        {5, 16000, 25, 3},     {5, 48000, 25, 7}, {4, 16000, 25, 2},  {2, 8000, 25, 1},
        {0, 48000, 25, 1},     {20, 8000, 25, 5}, {20, 48000, 0, 30}, {20, 48000, 40, 28},
        {5.8f, 32000, 20, 6},  // 0.058 / 343 x 32000 = 5.41
        {-5, 16000, 25, 3},    // the distance has no sign
        {5, 16000, -1000, -1}, // speed -269 m/s: -2.97, truncated toward zero, plus one
    };
    for (const auto &row : rows) {
        Instance ssl(Instance::kReady, an_init(row.rate, row.cm), {row.temperature, -80, 32});
        EXPECT_EQ(ssl->max_delay_sample[0], row.delay) << row.cm << " cm, " << row.rate << " Hz";
        const float half = static_cast<float>(double{row.cm} * 0.01) / 2;
        const float expected[2][2] = {{-half, 0}, {half, 0}};
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(ssl->mic_pos[i / 2][i % 2], expected[i / 2][i % 2]);
        EXPECT_EQ(ssl->relative_array_pos[0][0], 2 * half);
        EXPECT_EQ(ssl->relative_array_pos[0][1], 0.0f);
    }
}

TEST(Geometry, ShapeFollowsTheTemperatureButTheExpectedDelaysDoNot)
{
    Instance ssl(Instance::kReady, an_init(48000, 20.0f), {40, -80, 32}, "3");
    EXPECT_EQ(ssl->max_delay_sample[0], 28);            // 0.2 / 355 x 48000 = 27.04
    EXPECT_EQ(ssl->direction_delay_table[0][0], 28.0f); // Init: 0.2 / 346 x 48000 = 27.7
    const SslConfig freezing = {-100, -80, 32};
    EXPECT_EQ(EzoSsl_Config(ssl, &freezing), 0);
    EXPECT_EQ(ssl->max_delay_sample[0], 28);
    EXPECT_EQ(
        printed_by([&] { EXPECT_EQ(EzoSsl_Set_Shape(ssl, 0), 0u); }),
        "[ALGO_MSG_WRN] [SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape "
        "first. The array geometry will be overwrite !\t\n");
    EXPECT_EQ(ssl->max_delay_sample[0], 36); // 0.2 / 271 x 48000 = 35.4
    EXPECT_EQ(ssl->direction_delay_table[0][0], 28.0f);
    EXPECT_EQ(ssl->order.param_state, 2); // the parameters are stale
    // A refused shape leaves the one in force.
    const struct {
        uint32_t shape, code;
        const char *text;
    } refused[] = {
        {1, 0x10000112, "Two microphone array must be linear. Please set shape to  0 !\t\n"},
        {2, 0x10000111, "The array_geometry setting is not allow, it should be 0 or 1 !!\r\n"},
        {0xffffffff, 0x10000111,
         "The array_geometry setting is not allow, it should be 0 or 1 !!\r\n"},
    };
    ssl->msg_level = 1;
    for (const auto &row : refused) {
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Set_Shape(ssl, row.shape), row.code); }),
                  std::string("[ALGO_MSG_ERR] [SSL] [SetShape] Fail! ") + row.text);
        EXPECT_EQ(ssl->order.shape_state, 1);
        EXPECT_EQ(ssl->array_geometry, 0);
    }
    EXPECT_EQ(EzoSsl_Cal_Params(ssl), 0u);
    run_all(ssl, std::vector<int16_t>(256));
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Cal_Params(ssl), 0x10000109u); }).empty(), false);
    EXPECT_EQ(ssl->order.param_state, 0); // stale for good
}

TEST(Geometry, ArbitraryPositionsAreRefusedWithoutATrace)
{
    const float apart[] = {0, 0, 5, 0}, same[] = {1, 1, 1, 1};
    EXPECT_EQ(ssl_coincident_microphones(apart), 0u);
    EXPECT_EQ(ssl_coincident_microphones(same), 1u);
    Instance ssl(Instance::kConfigured, an_init(), {25, -80, 32}, "3");
    for (const float *positions : {apart, same}) {
        std::vector<char> expected = ssl.bytes();
        reinterpret_cast<SslHandle *>(expected.data())->order.shape_state = 0;
        EXPECT_EQ(
            printed_by([&] { EXPECT_EQ(EzoSsl_Set_ArbitraryShape(ssl, positions), 0x10000112); }),
            "[ALGO_MSG_ERR] [SSL] [Set_ArbitraryShape] Fail! Two microphone array must be "
            "linear. Can't use Arbitrary shape !\t\n");
        EXPECT_EQ(ssl.bytes(), expected);
    }
    EXPECT_EQ(EzoSsl_Set_Shape(ssl, 0), 0u);
    const std::string warning =
        "[ALGO_MSG_WRN] [SSL] [Set_ArbitraryShape] Warning!You may have called EzoSsl_Set_Shape "
        "first. The array geometry will be overwrite !\t\n";
    const std::string text = printed_by([&] { EzoSsl_Set_ArbitraryShape(ssl, apart); });
    EXPECT_EQ(text.substr(0, warning.size()), warning);
    EXPECT_EQ(ssl->order.shape_state, 1);
}

TEST(Geometry, ArbitraryPositionsByThemselves)
{
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
                const float before = ssl->amdf_curve[254];
                for (const int32_t lag : {0, 90}) {
                    int32_t angle = 0;
                    const auto delays = run_all(ssl, delayed_noise(9, lag, 3, 20000));
                    for (const int32_t delay : delays)
                        EXPECT_TRUE(delay == -32768 || std::abs(delay) <= 128);
                    if (bf_mode == 1)
                        continue;
                    const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
                    EXPECT_TRUE(code == 0 || code == 0x10000107 || code == 0x10000114) << code;
                    EXPECT_TRUE(std::abs(angle) <= 90 || angle == -10000);
                    EXPECT_EQ(EzoSsl_Reset_Mapping(ssl), 0);
                }
                EXPECT_EQ(ssl->amdf_curve[254], before); // the last two searched stay 0
            }
        }
    }
    const Instance nowhere(Instance::kInitialised, an_init(48000, kInf));
    Instance endless(Instance::kReady, an_init(48000, kInf));
    EXPECT_EQ(endless->max_delay_sample[0], INT32_MAX); // saturated, not wrapped by the margin
}

} // namespace
