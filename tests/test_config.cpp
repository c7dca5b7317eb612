// SPDX-License-Identifier: MIT
// test_config.cpp - the tables and conversions for the configuration, and the settings stamp.

#include "support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(Config, TheStampSaysWhatTheCodeDoes)
{
    Instance ssl(Instance::kInitialised, an_init(), {}, "7");
    uint16_t major = 0, minor = 0;
    printed_by([&] { EXPECT_EQ(EzoSsl_GetAPIVersion(&major, &minor), 0); });
    EXPECT_EQ(EzoSsl_SetCallbackFunction(1, 2, 3, 4), 0);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "SSLSET##APIVERSION%d%d##PN%dMSGLEVEL%02d##SETSSL\n", major,
                  minor, ssl->point_number, ssl->msg_level);
    EXPECT_STREQ(ssl_setting, stamp);
}

TEST(Config, LevelTableFollowsItsRule)
{
    for (int db = 0; db >= -75; --db)
        EXPECT_EQ(ssl_gate_amplitude(db), static_cast<int>(32767 * std::pow(10.0, db / 20.0)))
            << db;
    const int lowest[] = {4, 3, 2, 1, 1};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(ssl_gate_amplitude(-76 - i), lowest[i]);
    EXPECT_EQ(ssl_gate_amplitude(1), 0);
    EXPECT_EQ(ssl_gate_amplitude(-81), 0);
}

TEST(Config, FloatsBecomeIntegersBySaturation)
{
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const struct {
        float in;
        int32_t out;
    } rows[] = {{2.9f, 2},
                {-2.9f, -2},
                {2147483520.0f, 2147483520},
                {2147483648.0f, INT32_MAX},
                {kInf, INT32_MAX},
                {-2147483648.0f, INT32_MIN},
                {-kInf, INT32_MIN},
                {std::nanf(""), 0}};
    for (const auto &row : rows)
        EXPECT_EQ(float_to_int32(row.in), row.out) << row.in;
}

} // namespace
