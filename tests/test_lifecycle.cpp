// SPDX-License-Identifier: MIT
// test_lifecycle.cpp - what Init, Reset and Free leave in the buffer, byte by byte.

#include "support.h"

#include "AudioSslSetup.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(Lifecycle, InitFillsTheRecord)
{
    Instance ssl(Instance::kInitialised, an_init(48000, 5.0f, 1));
    const std::vector<char> bytes = ssl.bytes();
    const auto word = [&](size_t offset) {
        int32_t value;
        std::memcpy(&value, &bytes[offset], sizeof value);
        return value;
    };
    // The fields whose place is promised.
    const std::pair<size_t, int32_t> words[] = {{0, 'W' | '0' << 8 | 'Q' << 16 | '0' << 24},
                                                {4, 128},
                                                {8, 48000},
                                                {16, 25},
                                                {20, -80},
                                                {24, 1},
                                                {28, 32},
                                                {32, 32},
                                                {36, 1},
                                                {40, 2},
                                                {76, 0},
                                                {15900, 0}};
    for (const auto &[offset, value] : words)
        EXPECT_EQ(word(offset), value) << offset;
    EXPECT_EQ(ssl->mic_distance, 0.05f);
    EXPECT_EQ(ssl->digital_gain_factor, 1.0f);
    EXPECT_EQ(ssl->sound_speed, 346.0f);
    EXPECT_EQ(ssl->max_delay_sample[0], 7); // 0.05 m / 346 m/s x 48000 Hz = 6.94
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(ssl->direction_delay_table[0][k],
                  static_cast<float>(7 * std::cos(k / 8.0 * 3.1415926)));
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(ssl->lag_table[i], i - 128);
    const int32_t gates[] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};
    EXPECT_EQ(std::memcmp(ssl->vote_gate, gates, sizeof gates), 0);
    const SslCallOrderFlags fresh = {1, 2, 2, 2, 2, 2, 1};
    EXPECT_EQ(std::memcmp(&ssl->order, &fresh, sizeof fresh), 0);
    EXPECT_EQ(ssl->fft.fft_inited, 1);
    EXPECT_EQ(ssl->fft.fft_size, 256);
}

TEST(Lifecycle, ARefusedRecordLeavesZerosAndNullTheBuffer)
{
    SslInit init = an_init();
    Instance ssl(Instance::kBuffer);
    const std::vector<char> before = ssl.bytes();
    printed_by([&] { EXPECT_EQ(EzoSsl_Init(ssl, nullptr), nullptr); });
    EXPECT_EQ(ssl.bytes(), before);
    init.sample_rate = 44100;
    printed_by([&] { EXPECT_EQ(EzoSsl_Init(ssl, &init), nullptr); });
    EXPECT_EQ(ssl->fft.fft_cfg, reinterpret_cast<char *>(ssl.get()) + 15908); // carved
    ssl->fft.fft_cfg = nullptr;
    EXPECT_EQ(ssl.bytes(), std::vector<char>(kBufferBytes));
    EXPECT_EQ(printed_by([] { ssl_carve(nullptr, 1); }),
              "[ALGO_MSG_ERR] [SSL] Fail! The workingBufferAddress is NULL\t\n");
}

TEST(Lifecycle, ResetIsInit)
{
    Instance used(Instance::kRunning, an_init(), {-10, -20, 64}), fresh(Instance::kInitialised);
    const Environment level("DML_PATH", write_file("one.json", "{\"debug_level\":1}"));
    // The record to read may lie in the buffer that is about to be zeroed.
    auto *const inside = reinterpret_cast<SslInit *>(&used.get()->time_frame);
    *inside = an_init();
    EXPECT_EQ(EzoSsl_Reset(used, inside), used.get());
    used->fft.fft_cfg = fresh->fft.fft_cfg = nullptr; // the one address among the fields
    EXPECT_EQ(std::memcmp(used.get(), fresh.get(), 15908), 0);
}

TEST(Lifecycle, FreeLeavesTheBuffer)
{
    Instance ssl;
    const std::vector<char> before = ssl.bytes();
    EXPECT_EQ(EzoSsl_Free(ssl), 0);
    EXPECT_EQ(ssl->fft.fft_inited, 0);
    ssl->fft.fft_inited = 1;
    EXPECT_EQ(ssl.bytes(), before);
    // In a buffer that never was an instance, no word is taken for a stream.
    Instance garbage(Instance::kBuffer);
    const Environment dump("AUDIO_SSL_DUMP", "1");
    EXPECT_EQ(EzoSsl_Free(garbage), 0);
}

} // namespace
