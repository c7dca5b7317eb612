// SPDX-License-Identifier: MIT
// test_direction.cpp - from votes to an angle: gates, ties, tolerance, clamps, truncation.

#include "support.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// An instance that has run, with loud votes of its own making: `count` votes in `bin`, with delays
// of `ratio` times the spacing.
void cast_votes(SslHandle *ssl, int bin, int32_t count, double ratio)
{
    const double samples =
        ratio * ssl->relative_array_pos[0][0] / ssl->sound_speed * ssl->sample_rate;
    ssl->vote_count[0][bin] = count;
    if (bin < 9)
        ssl->vote_delay_sum[0][bin] = static_cast<float>(samples * count);
    ssl->energy_sum = 1e4f;
}

int32_t direction(SslHandle *ssl, int32_t expected_code, const std::string &expected_text = "")
{
    int32_t angle = 12345;
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Get_Direction(ssl, &angle), expected_code); }),
              expected_text);
    EXPECT_EQ(ssl->order.direction_state, 1);
    EXPECT_EQ(ssl->order.mapping_state, 2);
    return angle;
}

const char kTooLarge[] =
    "[ALGO_MSG_WRN]  [SSL]ULA all delay samples are too large. Please check the "
    "distance and sampling rate!.\t\n";

TEST(Direction, RatiosBecomeWholeDegrees)
{
    const struct {
        double ratio;
        int32_t angle;
    } rows[] = {
        {0, 0},        {0.5001, -30}, {0.25, -14},             // -14.48, truncated toward zero
        {-0.25, 14},   {-0.99, 81},                            // 81.89
        {0.99, -81},   {0.9999, -89}, {-1.3, 90},  {1.3, -90}, // tolerated and clamped
        {-0.7072, 45},
    };
    Instance ssl(Instance::kRunning);
    for (const auto &row : rows) {
        ssl_reset_voting(ssl);
        cast_votes(ssl, 3, 20, row.ratio);
        EXPECT_EQ(direction(ssl, 0), row.angle) << row.ratio;
    }
    EXPECT_EQ(ssl->pair_valid[0], 1);
    EXPECT_EQ(ssl->range_state[0], 0);
}

TEST(Direction, TheGeometryLimitsTheMeanDelay)
{
    Instance ssl(Instance::kRunning, an_init(), {25, -80, 32}, "3"); // D = 3
    const struct {
        double delay;
        int32_t code, range, angle;
    } rows[] = {
        {2.0, 0, 0, -59},
        {3.0, 0, 0, -90},
        {3.01, 0, 1, -90},
        {-3.01, 0, 1, 90},
        {5.99, 0, 1, -90},
        {6.01, 0x10000107, 2, -10000},
        {-6.01, 0x10000107, 2, -10000},
        {-2.99, 0, 0, 90},
    };
    for (const auto &row : rows) {
        ssl_reset_voting(ssl);
        cast_votes(ssl, 8, 10, 0);
        ssl->vote_delay_sum[0][8] = static_cast<float>(row.delay * 10);
        EXPECT_EQ(direction(ssl, row.code, row.code == 0 ? "" : kTooLarge), row.angle) << row.delay;
        EXPECT_EQ(ssl->range_state[0], row.range);
        EXPECT_EQ(ssl->pair_valid[0], row.range == 2 ? 0 : 1);
    }
    EXPECT_FLOAT_EQ(ssl->path_limit, 3 * 346.0f / 16000);
    EXPECT_FLOAT_EQ(ssl->path_limit_tolerant, 6 * 346.0f / 16000);
}

TEST(Direction, TheVoteMustBeWon)
{
    const struct {
        int32_t frames;
        std::vector<std::pair<int, int32_t>> votes; // bin, count
        int32_t code, winner;
    } rows[] = {
        {64, {{3, 7}}, 0x10000114, 3},
        {64, {{3, 8}}, 0, 3},
        {64, {{0, 3}}, 0x10000114, 0},
        {64, {{0, 4}}, 0, 0},
        {64, {{8, 4}}, 0, 8},
        {32, {{9, 32}}, 0x10000114, 9},
        {31, {{5, 1}}, 0, 5},
        {31, {{5, 1}, {9, 2}}, 0x10000114, 9},
        {32, {{2, 6}, {6, 6}, {7, 5}}, 0, 2}, // of equals the lower bin
        {32, {{6, 6}, {9, 6}}, 0, 6},
        {32, {}, 0x10000114, 6}, // no votes: the winner of the last block, which has none now
    };
    Instance ssl(Instance::kRunning);
    for (const auto &row : rows) {
        const SslConfig config = {25, -80, row.frames};
        EXPECT_EQ(EzoSsl_Config(ssl, &config), 0);
        ssl_reset_voting(ssl);
        ssl->energy_sum = 1e4f;
        for (const auto &[bin, count] : row.votes)
            cast_votes(ssl, bin, count, 0);
        EXPECT_EQ(direction(ssl, row.code), row.code == 0 ? 0 : -10000);
        EXPECT_EQ(ssl->winning_bin[0], row.winner);
    }
}

TEST(Direction, QuietBlocksHaveNone)
{
    // Mean square over frames x 256 samples, in dB, against the gate.
    const struct {
        int32_t gate, frames;
        double mean;
        int32_t code;
        double level;
    } rows[] = {
        {-80, 32, 0, 0x10000113, -90},
        {-20, 32, 0.0101, 0, -19.956786},
        {-20, 32, 0.0099, 0x10000113, -20.043648},
        {0, 32, 1.0, 0, 4.3e-9}, // a hair above
        {0, 32, 0.999999, 0x10000113, -4.3e-6},
        {-80, 64, 1e-7, 0, -69.956786},
        {-10, -1, 1e-3, 0x10000113, -30}, // 2^32 - 256 samples
    };
    Instance ssl(Instance::kRunning);
    for (const auto &row : rows) {
        const SslConfig config = {25, row.gate, row.frames};
        EXPECT_EQ(EzoSsl_Config(ssl, &config), 0);
        ssl_reset_voting(ssl);
        cast_votes(ssl, 4, row.frames == -1 ? INT32_MAX : 1000, 0);
        const double samples = static_cast<uint32_t>(row.frames) * 256u;
        ssl->energy_sum = static_cast<float>(row.mean * samples);
        if (row.gate == 0 && row.code == 0)
            ssl->energy_sum *= 1.000001f;
        EXPECT_EQ(direction(ssl, row.code), row.code == 0 ? 0 : -10000) << row.mean;
        EXPECT_NEAR(ssl->energy_sum, row.level, 1e-3);
    }
    // Exactly at the gate is quiet: a mean of 1 - 1e-9 gives 0 dB, rounded to float.
    const SslConfig open = {25, 0, 32};
    EXPECT_EQ(EzoSsl_Config(ssl, &open), 0);
    cast_votes(ssl, 4, 8, 0);
    ssl->energy_sum = 0x1.fffffep-1f * 8192;
    EXPECT_EQ(direction(ssl, 0x10000113), -10000);
    // No frames: energy over zero is not quiet, nor is zero over zero.
    const SslConfig none = {25, -80, 0};
    EXPECT_EQ(EzoSsl_Config(ssl, &none), 0);
    for (const float energy : {1.0f, 0.0f}) {
        ssl_reset_voting(ssl);
        cast_votes(ssl, 4, 1, 0);
        ssl->energy_sum = energy;
        EXPECT_EQ(direction(ssl, 0), 0);
    }
    // Without a vote the mean delay is zero over zero: the angle of what is not a number.
    ssl_reset_voting(ssl);
    EXPECT_EQ(direction(ssl, 0), -90);
}

TEST(Direction, ASecondCallWorksOnWhatTheFirstLeft)
{
    Instance ssl(Instance::kRunning);
    ssl_reset_voting(ssl);
    cast_votes(ssl, 4, 20, 0.3);
    EXPECT_EQ(direction(ssl, 0), -17); // 17.46
    ssl->energy_sum = -10;             // the level in dB, as a quieter block would have left it
    // The logarithm of a negative figure is no number, which is not quiet. The ratios add up to
    // 0.6; the mean 0.6 lies 0.3 off, weighs 1 / 0.3, and 0.3 + (1 / 0.3) x 0.3 / (1 + 1 / 0.3) =
    // 0.531.
    EXPECT_EQ(direction(ssl, 0), -32);
    EXPECT_TRUE(std::isnan(ssl->energy_sum));
}

TEST(Direction, CircularArrayByItself)
{
    Instance ssl(Instance::kRunning, an_init(), {25, -80, 32}, "3");
    ssl->array_geometry = 1;
    const struct {
        float x, y, path;
        double angle;
    } rows[] = {{1, 0, 1, -90}, {0, 1, 1, 0},    {0, 1, -1, 180},
                {-1, 0, 1, 90}, {1, -1, 1, 225}, {1, 1, 0.5f, -45}};
    for (const auto &row : rows) {
        ssl->relative_array_pos_pinv[0][0] = row.x;
        ssl->relative_array_pos_pinv[1][0] = row.y;
        ssl->path_difference[0] = row.path;
        EXPECT_NEAR(ssl_ratio_to_angle(ssl), row.angle, 2e-5);
    }
    cast_votes(ssl, 4, 20, 9);
    EXPECT_EQ(direction(ssl, 0x10000107, std::string(kTooLarge).replace(21, 3, "UCA")), -10000);
    EXPECT_EQ(ssl->winning_bin[0], 4);
}

TEST(Direction, TheResetEmptiesTheVotesAndNothingElse)
{
    Instance ssl(Instance::kRunning);
    Instance expected(Instance::kRunning);
    for (SslHandle *const each : {ssl.get(), expected.get()}) {
        cast_votes(each, 9, 1, 0.3);
        cast_votes(each, 2, 20, 0.3);
        direction(each, 0);
        each->direction_vector[0] = each->direction_vector[1] = 1;
    }
    std::memset(expected->vote_count, 0, sizeof expected->vote_count);
    std::memset(expected->vote_delay_sum, 0, sizeof expected->vote_delay_sum);
    for (float *field :
         {&expected->frame_energy, &expected->energy_sum, &expected->cos_ratio[0],
          &expected->cos_ratio_sum, &expected->cos_ratio_mean, &expected->pair_weight[0],
          &expected->pair_weight_sum, &expected->weighted_cos, &expected->direction_vector[0],
          &expected->direction_vector[1]})
        *field = 0;
    expected->order.direction_state = 2;
    expected->order.mapping_state = 1;
    EXPECT_EQ(EzoSsl_Reset_Mapping(ssl), 0);
    ssl->fft.fft_cfg = expected->fft.fft_cfg = nullptr;
    EXPECT_EQ(std::memcmp(ssl.get(), expected.get(), 15908), 0);
}

} // namespace
