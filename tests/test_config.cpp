// SPDX-License-Identifier: MIT
// test_config.cpp - configuration, mode, gain, version and the tables behind them.

#include "support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(Config, EveryFieldReachesTheInstance)
{
    const struct {
        SslConfig config;
        float sound_speed;
        int32_t gate_db;
        int32_t amplitude;
        int32_t gate_factor; // times Gate_Array
    } rows[] = {
        {{0, -100, 64}, 331.0f, -80, 1, 2},     {{-10, 5, 31}, 325.0f, 0, 32767, 0},
        {{40, -20, 100}, 355.0f, -20, 3276, 3}, {{25, -79, 16}, 346.0f, -79, 1, 0},
        {{20, -1, 32}, 343.0f, -1, 29203, 1},   {{-552, -80, 0}, -0.2f, -80, 1, 0},
    };
    const int32_t gates[] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};
    Instance ssl(Instance::kInitialised);
    for (const auto &row : rows) {
        EXPECT_EQ(EzoSsl_Config(ssl, &row.config), 0);
        EXPECT_NEAR(ssl->sound_speed, row.sound_speed, 1e-4);
        EXPECT_EQ(ssl->gate_amplitude, row.amplitude);
        for (int bin = 0; bin < 10; ++bin)
            EXPECT_EQ(ssl->vote_gate[bin], gates[bin] * row.gate_factor);
        SslConfig read = {};
        EXPECT_EQ(EzoSsl_Get_Config(ssl, &read), 0);
        EXPECT_EQ(read.temperature, row.config.temperature);
        EXPECT_EQ(read.noise_gate_db, row.gate_db);
        EXPECT_EQ(read.direction_frame_num, row.config.direction_frame_num);
    }
    // -1 counts as 2^32 - 1 frames: 134217727 blocks, in float 134217728, and the last gate
    // saturates.
    const SslConfig endless = {25, -80, -1};
    EXPECT_EQ(EzoSsl_Config(ssl, &endless), 0);
    EXPECT_EQ(ssl->vote_gate[0], 2 * 134217728);
    EXPECT_EQ(ssl->vote_gate[9], std::numeric_limits<int32_t>::max());
}

TEST(Config, AChangedBlockLengthWarnsAndEmptiesTheVotes)
{
    Instance ssl(Instance::kInitialised, an_init(), {}, "3");
    const std::string warning = "[ALGO_MSG_WRN]  [SSL] [Config] Warning! The voting number "
                                "direction_frame_num has been change!\t\n";
    const auto configure = [&](int32_t frames) {
        const SslConfig config = {25, -80, frames};
        return printed_by([&] { EXPECT_EQ(EzoSsl_Config(ssl, &config), 0); });
    };
    EXPECT_EQ(configure(32), "");
    EXPECT_EQ(ssl->voting_changed, 0);
    EXPECT_EQ(EzoSsl_Set_Shape(ssl, 0), 0u);
    EXPECT_EQ(EzoSsl_Cal_Params(ssl), 0u);
    const std::vector<int16_t> frames = delayed_noise(1, 0, 2, 8000);
    run_all(ssl, frames);
    EXPECT_EQ(configure(64), warning);
    EXPECT_EQ(configure(64), ""); // seen: no longer pending
    EXPECT_EQ(ssl->voting_changed, 0);
    EXPECT_EQ(ssl->vote_count[0][4], 2);
    EXPECT_EQ(configure(65), warning);
    EXPECT_EQ(ssl->voting_changed, 1);
    run_all(ssl, {frames.begin(), frames.begin() + 256});
    EXPECT_EQ(ssl->vote_count[0][4], 1);
    EXPECT_EQ(ssl->energy_sum, ssl->frame_energy);
    EXPECT_EQ(ssl->voting_changed, 0);
}

TEST(Config, SetModeChecksInOrderAndStoresTheModeFirst)
{
    const std::string begin = "[ALGO_MSG_ERR]  [SSL] ";
    const std::string distance =
        begin + "[SetNNParams] Fail! angular_distance must be set between [0,181] !\t\n";
    const std::string confidence =
        begin + "[SetNNParams] Fail! convidence must be set between [1,90] !\t\n";
    const auto using_mode = [](const char *mode) {
        return std::string("[ALGO_MSG_MSG] [SSL] [SetMode] Using mode = ") + mode +
               "!,[0: Normal,1:AI Method]\t\n";
    };
    const struct {
        uint32_t mode, distance, confidence;
        int32_t code;
        int32_t stored;
        std::string text;
    } rows[] = {
        {1, 90, 45, 0x10000116, 1,
         using_mode("1") +
             "[ALGO_MSG_ERR] [SSL] [SetMode] Fail! This lib does not include mode 1\t\n"},
        {2, 0, 0, 0x10000115, 1, begin + "[SetMode] Fail! The mode is only to be 0 or 1!\t\n"},
        {0, 0, 91, 0x10000115, 0, using_mode("0") + distance},
        {1, 181, 45, 0x10000115, 1, using_mode("1") + distance},
        {0, 1, 0, 0x10000115, 0, using_mode("0") + confidence},
        {0, 180, 91, 0x10000115, 0, using_mode("0") + confidence},
        {0, 180, 90, 0, 0, using_mode("0") + "[ALGO_MSG_MSG] [SSL][SetMode] mode = 0\t\n"},
        {0, 1, 1, 0, 0, using_mode("0") + "[ALGO_MSG_MSG] [SSL][SetMode] mode = 0\t\n"},
    };
    Instance ssl(Instance::kReady, an_init(), {25, -80, 32}, "7");
    ssl->vote_count[0][3] = 5;
    for (const auto &row : rows) {
        EXPECT_EQ(printed_by([&] {
                      EXPECT_EQ(EzoSsl_SetMode(ssl, row.mode, row.distance, row.confidence),
                                row.code);
                  }),
                  row.text);
        EXPECT_EQ(ssl->mode, row.stored);
        EXPECT_EQ(ssl->vote_count[0][3], row.code == 0 ? 0 : 5);
    }
    // A stored mode 1 stops Run, after the frame was taken in, and Get_Direction.
    printed_by([&] { EzoSsl_SetMode(ssl, 1, 90, 45); });
    const std::vector<int16_t> frame = delayed_noise(1, 0, 1, 8000);
    int32_t value = 99;
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Run(ssl, frame.data(), &value), 0x10000116); }),
              "[ALGO_MSG_ERR] [SSL] [CNN Run]  Fail! This lib does not include mode 1\t\n");
    EXPECT_EQ(value, 99);
    EXPECT_EQ(ssl->order.run_state, 0);
    EXPECT_GT(ssl->energy_sum, 0.0f);
    ssl->order.run_state = 1;
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Get_Direction(ssl, &value), 0x10000116); }),
              "[ALGO_MSG_ERR] [SSL]  Fail! This lib does not include mode 1\t\n");
    EXPECT_EQ(value, -10000);
}

TEST(Config, DigitalGainTruncatesAndWraps)
{
    const struct {
        int32_t gain;
        int16_t in, out;
    } rows[] = {
        {0, -12345, -12345}, {6, 1000, 1995}, {6, -1000, -1995}, // 10^0.3 = 1.99526
        {6, 20000, -25631},                                      // 39905 - 65536
        {20, 3277, -32766},                                      // 32770 - 65536
        {120, 1000, -13824},                                     // 10^9 modulo 2^16
        {120, 32767, -1},                                        // saturates at 2^31 - 1
        {120, -32768, 0},    {-6, 1001, 501}, {-120, 32767, 0},
    };
    Instance ssl;
    for (const auto &row : rows) {
        Frame frame = {};
        frame.front() = frame.back() = row.in;
        EXPECT_EQ(EzoSsl_ApplyDigitalGain(ssl, frame.data(), row.gain), 0);
        EXPECT_EQ(frame.front(), row.out) << row.gain << " dB";
        EXPECT_EQ(frame.back(), row.out);
        EXPECT_EQ(frame[1], 0);
        EXPECT_EQ(ssl->digital_gain_db, row.gain);
    }
    // Equal gain: the stored factor is kept, not computed again.
    ssl->digital_gain_factor = 2.0f;
    Frame frame = {100};
    EXPECT_EQ(EzoSsl_ApplyDigitalGain(ssl, frame.data(), -120), 0);
    EXPECT_EQ(frame[0], 200);
    for (const int32_t gain : {-121, 121})
        EXPECT_EQ(
            printed_by(
                [&] { EXPECT_EQ(EzoSsl_ApplyDigitalGain(ssl, frame.data(), gain), 0x10000119); }),
            "[ALGO_MSG_ERR] [SSL][ApplyDigitalGain]Fail! Gain value must be set between -120 to "
            "120!  \t\n");
    EXPECT_EQ(frame[0], 200);
}

TEST(Config, VersionCallbackAndStampAgree)
{
    const Environment level("DML_PATH", "none");
    uint16_t major = 0, minor = 0;
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_GetAPIVersion(&major, &minor), 0); }),
              "[ALGO_MSG_MSG] SSL_API_VERSION: 1.4\n");
    EXPECT_EQ(printed_by([] { EXPECT_EQ(EzoSsl_GetAPIVersion(nullptr, nullptr), 0); }),
              "[ALGO_MSG_MSG] SSL_API_VERSION: 1.4\n");
    EXPECT_EQ(EzoSsl_SetCallbackFunction(1, 2, 3, 4), 0);
    Instance ssl(Instance::kBuffer);
    const SslInit init = an_init();
    printed_by([&] { EzoSsl_Init(ssl, &init); });
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
