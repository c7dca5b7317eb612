// SPDX-License-Identifier: MIT
// test_lifecycle.cpp - the buffer, Init, Reset and Free.

#include "support.h"

#include "AudioSslSetup.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace {

const char kSize[] = "[ALGO_MSG_MSG] [SSL] Working buffer size = 21936 bytes\t\n";
const char kVersion[] = "[ALGO_MSG_MSG] [SSL] ver.2024.0315.0000\r\n";

template <typename T>
T word(const std::vector<char> &bytes, size_t offset)
{
    T value;
    std::memcpy(&value, &bytes[offset], sizeof value);
    return value;
}

TEST(Lifecycle, InitFillsTheRecordAndSaysSo)
{
    const Environment level("DML_PATH", "none");
    Instance ssl(Instance::kBuffer);
    const SslInit init = an_init(48000, 5.0f, 1);
    EXPECT_EQ(printed_by([] { EXPECT_EQ(EzoSsl_GetBufferSize(), kBufferBytes); }), kSize);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Init(ssl, &init), ssl.get()); }),
              std::string(kVersion) + kSize);

    // The fields whose place is promised: header, gain, FFT memory address.
    const std::vector<char> bytes = ssl.bytes();
    EXPECT_EQ(std::string(bytes.data(), 4), "W0Q0");
    const struct {
        size_t offset;
        int32_t value;
    } words[] = {{4, 128}, {8, 48000}, {16, 25}, {20, -80}, {24, 1},   {28, 32},
                 {32, 32}, {36, 1},    {40, 2},  {76, 0},   {15900, 0}};
    for (const auto &expected : words)
        EXPECT_EQ(word<int32_t>(bytes, expected.offset), expected.value) << expected.offset;
    EXPECT_EQ(word<float>(bytes, 12), 0.05f);
    EXPECT_EQ(word<float>(bytes, 15904), 1.0f);

    EXPECT_EQ(ssl->sound_speed, 346.0f);
    EXPECT_EQ(ssl->max_delay_sample[0], 7); // 0.05 m / 346 m/s x 48000 Hz = 6.94
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(ssl->direction_delay_table[0][k],
                  static_cast<float>(7 * std::cos(k / 8.0 * 3.1415926)));
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(ssl->lag_table[i], i - 128);
    EXPECT_EQ(ssl->msg_level, 7);
    EXPECT_EQ(ssl->fft.fft_inited, 1);
    EXPECT_EQ(ssl->fft.fft_size, 256);
    const int32_t gates[] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};
    EXPECT_EQ(std::memcmp(ssl->vote_gate, gates, sizeof gates), 0);
    const SslCallOrderFlags fresh = {1, 2, 2, 2, 2, 2, 1};
    EXPECT_EQ(std::memcmp(&ssl->order, &fresh, sizeof fresh), 0);
}

TEST(Lifecycle, InitRefusesInOrderAndTouchesNothingElse)
{
    const struct {
        SslInit init;
        const char *text;
    } refused[] = {
        {{256, 44100, 5, 2, 3}, "[ALGO_MSG_ERR]  [SSL] Fail! The point_number is invalid!\t\n"},
        {{128, 44100, 5, 2, 3}, "[ALGO_MSG_ERR]  [SSL] Fail! The bf_mode is invalid!\t\n"},
        {{128, 16000, 5, -1, 2}, "[ALGO_MSG_ERR]  [SSL] Fail! The bf_mode is invalid!\t\n"},
        {{128, 44100, 5, 0, 3},
         "[ALGO_MSG_ERR] [SSL] Fail! This library only support 2 Microphones!!\r\n"},
        {{128, 44100, 5, 0, 2}, "[ALGO_MSG_ERR]  [SSL]Fail! Error setting sample rate.\t\n"},
    };
    const Environment level("DML_PATH", "none");
    for (const auto &row : refused) {
        Instance ssl(Instance::kBuffer);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Init(ssl, &row.init), nullptr); }),
                  std::string(kVersion) + kSize + row.text);
        // Zeroed and carved, and nothing more: no level either, so later refusals are silent.
        EXPECT_EQ(ssl->fft.fft_cfg, reinterpret_cast<char *>(ssl.get()) + 15908);
        ssl->fft.fft_cfg = nullptr;
        EXPECT_EQ(ssl.bytes(), std::vector<char>(kBufferBytes));
        const SslConfig config = {25, -80, 32};
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Config(ssl, &config), 0x10000101); }), "");
    }
    for (const int32_t rate : {8000, 16000, 32000, 48000})
        Instance ready(Instance::kReady, an_init(rate));
}

TEST(Lifecycle, NullAndMisalignedBuffersAreLeftAlone)
{
    const Environment level("DML_PATH", "none");
    const SslInit init = an_init();
    Instance ssl(Instance::kBuffer);
    const std::vector<char> before = ssl.bytes();
    const std::string null_text = "Fail! The handle or ssl_init is null!\t\n";
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(EzoSsl_Init(nullptr, &init), nullptr);
                  EXPECT_EQ(EzoSsl_Init(ssl, nullptr), nullptr);
                  EXPECT_EQ(EzoSsl_Reset(nullptr, &init), nullptr);
              }),
              "[ALGO_MSG_ERR]  [SSL] [Init] " + null_text + "[ALGO_MSG_ERR]  [SSL] [Init] " +
                  null_text + "[ALGO_MSG_ERR]  [SSL] [Reset] " + null_text);
    char *const odd = reinterpret_cast<char *>(ssl.get()) + 2;
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Init(odd, &init), nullptr); }),
              "[ALGO_MSG_ERR]  [SSL] [Init] Fail! The handle is not aligned to 4 bytes!\t\n");
    EXPECT_EQ(ssl.bytes(), before);
    EXPECT_EQ(printed_by([] { ssl_carve(nullptr, 1); }),
              "[ALGO_MSG_ERR] [SSL] Fail! The workingBufferAddress is NULL\t\n");
}

TEST(Lifecycle, ResetIsInit)
{
    Instance used(Instance::kRunning, an_init(), {-10, -20, 64}), fresh(Instance::kInitialised);
    SslInit init = an_init();
    {
        const Environment level("DML_PATH", write_file("one.json", "{\"debug_level\":1}"));
        EXPECT_EQ(EzoSsl_Reset(used, &init), used.get());
        // The record to read may lie in the buffer that is about to be zeroed.
        auto *const inside = reinterpret_cast<SslInit *>(&used.get()->time_frame);
        *inside = init;
        EXPECT_EQ(EzoSsl_Reset(used, inside), used.get());
    }
    // Equal but for the addresses inside: the plan's, and its own inside the working memory.
    used->fft.fft_cfg = fresh->fft.fft_cfg = nullptr;
    EXPECT_EQ(std::memcmp(used.get(), fresh.get(), 15908), 0);
}

TEST(Lifecycle, FreeEndsAnInstanceAndLeavesTheBuffer)
{
    Instance ssl;
    const std::vector<char> before = ssl.bytes();
    EXPECT_EQ(EzoSsl_Free(ssl), 0);
    EXPECT_EQ(ssl->fft.fft_inited, 0);
    ssl->fft.fft_inited = 1;
    EXPECT_EQ(ssl.bytes(), before);
    EXPECT_EQ(printed_by([] { EXPECT_EQ(EzoSsl_Free(nullptr), 0x10000103); }),
              "[ALGO_MSG_ERR]  [SSL] [Free] Fail! The handle is null!\t\n");
    // A buffer that never was an instance: no stream in it is taken for one.
    Instance garbage(Instance::kBuffer);
    const Environment dump("AUDIO_SSL_DUMP", "1");
    EXPECT_EQ(EzoSsl_Free(garbage), 0);
}

} // namespace
