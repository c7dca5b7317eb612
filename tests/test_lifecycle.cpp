// SPDX-License-Identifier: MIT
// test_lifecycle.cpp - what Init, Reset and Free leave in the buffer, byte by byte.

#include "support.h"

#include "AudioSslSetup.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

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
