// SPDX-License-Identifier: MIT
// test_dump.cpp - the input dump, byte for byte, through every change of the environment.

#include "support.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

class Dump : public testing::Test
{
protected:
    void SetUp() override
    {
        directory_ = write_file("dump", "");
        fs::remove_all(directory_);
        fs::create_directory(directory_);
    }

    std::string file(int mic) const
    {
        return directory_ + "/Audio_SSL_input_data" + std::to_string(mic) + ".pcm";
    }

    // What the file of a microphone must hold after the frames [first, last) of samples_.
    std::string channel(size_t mic, size_t first, size_t last) const
    {
        std::string bytes;
        for (size_t n = first * 128; n < last * 128; ++n) {
            const auto sample = static_cast<uint16_t>(samples_[2 * n + mic]);
            bytes += {static_cast<char>(sample & 0xff), static_cast<char>(sample >> 8)};
        }
        return bytes;
    }

    int32_t run(SslHandle *ssl, size_t frame) const
    {
        int32_t delay;
        return EzoSsl_Run(ssl, &samples_[frame * 256], &delay);
    }

    std::string directory_;
    const std::vector<int16_t> samples_ = delayed_noise(3, 1, 10, 30000);
};

TEST_F(Dump, TenFramesPerMicrophone)
{
    const Environment mode("AUDIO_SSL_DUMP", "1"), path("AUDIO_DUMP_PATH", directory_);
    Instance ssl;
    run_all(ssl, samples_);
    EXPECT_EQ(EzoSsl_Free(ssl), 0);
    EXPECT_EQ(EzoSsl_Free(ssl), 0); // closed twice
    EXPECT_EQ(run(ssl, 0), 0);      // written after the close: goes nowhere
    for (size_t mic = 0; mic < 2; ++mic)
        EXPECT_EQ(read_file(file(static_cast<int>(mic))), channel(mic, 0, 10));
}

TEST_F(Dump, TheCurrentDirectoryWithoutAPath)
{
    const fs::path before = fs::current_path();
    fs::current_path(directory_);
    {
        const Environment mode("AUDIO_SSL_DUMP", "1"), path("AUDIO_DUMP_PATH", std::nullopt);
        Instance ssl;
        run(ssl, 0);
        EzoSsl_Free(ssl);
    }
    fs::current_path(before);
    EXPECT_EQ(read_file(file(1)), channel(1, 0, 1));
}

TEST_F(Dump, FollowsTheEnvironmentBetweenFrames)
{
    const Environment path("AUDIO_DUMP_PATH", directory_);
    const Environment off("AUDIO_SSL_DUMP", std::nullopt);
    Instance ssl;
    const auto run_with = [&](const char *mode, size_t frame) {
        const Environment set("AUDIO_SSL_DUMP",
                              mode ? std::optional<std::string>(mode) : std::nullopt);
        return printed_by([&] { EXPECT_EQ(run(ssl, frame), 0); });
    };
    const std::string export_error =
        "[ALGO_MSG_ERR] [SSL] [Run] Fail! [EzoSsl_Run] Dump export error\t\n";

    EXPECT_EQ(run_with(nullptr, 0), "");
    EXPECT_EQ(run_with("7", 0), export_error); // opens nothing
    EXPECT_EQ(run_with("7", 0), "");           // said once
    EXPECT_FALSE(fs::exists(file(0)));
    run_with("1", 1);
    run_with("1", 2);
    EXPECT_EQ(run_with("2", 3), export_error); // the open files go on
    run_with("0", 4);                          // closes
    EXPECT_EQ(read_file(file(0)), channel(0, 1, 4));
    run_with("1", 5); // opens anew, empty
    run_with(nullptr, 6);
    EXPECT_EQ(read_file(file(1)), channel(1, 5, 6));
    EXPECT_EQ(ssl->dump_mode, 1); // stays: the same value does not open them again
    run_with(nullptr, 7);
    run_with("1", 8);
    EXPECT_EQ(read_file(file(1)), channel(1, 5, 6));
    run_with("99999999999999999999", 9); // beyond an int: some value but 0 and 1
    EXPECT_EQ(ssl->dump_mode, INT32_MAX);
    EzoSsl_Free(ssl);
}

TEST_F(Dump, InitOpensForAnyModeAndFreeClosesForOne)
{
    const Environment path("AUDIO_DUMP_PATH", directory_), mode("AUDIO_SSL_DUMP", "2");
    Instance ssl;
    EXPECT_EQ(printed_by([&] { run(ssl, 0); }), "");
    EzoSsl_Free(ssl);
    ASSERT_NE(ssl->dump_files.stream[0], nullptr);
    const Environment one("AUDIO_SSL_DUMP", "1");
    EzoSsl_Free(ssl);
    EXPECT_EQ(ssl->dump_files.stream[0], nullptr);
    EXPECT_EQ(read_file(file(0)), channel(0, 0, 1));
}

TEST_F(Dump, WhatCannotBeOpenedIsSaid)
{
    const std::string longest(255 - 26 - 1,
                              'd'); // with "/Audio_SSL_input_data0.pcm" 255 characters
    const fs::path deep = fs::path(directory_) / "deep";
    fs::create_directory(deep);
    const std::string blocked = write_file("dump/blocked", "");
    fs::create_directories(fs::path(directory_) / "half/Audio_SSL_input_data1.pcm");
    const std::string missing = "[SSL][%]Fail! Dump path ";
    const std::string not_open = "[SSL] [%] Fail! The dump input file ";
    const struct {
        std::string path;
        std::string text;
    } rows[] = {
        {directory_ + "/none", missing + directory_ + "/none/ doesn't exist!\t\n"},
        {blocked, missing + blocked + "/ doesn't exist!\t\n"},
        {directory_ + "/half", not_open + "1 could not be open\n"},
        {directory_ + std::string(240 - directory_.size(), '/'),
         not_open + "0 could not be open\n"},
        {directory_ + std::string(400, '/'),
         missing + directory_ + std::string(255 - directory_.size(), '/') + " doesn't exist!\t\n"},
    };
    const auto tagged = [](std::string text, const char *tag) {
        return "[ALGO_MSG_ERR] " + text.replace(text.find('%'), 1, tag);
    };
    const Environment quiet("DML_PATH", write_file("one.json", R"({"debug_level":1})"));
    const Environment mode("AUDIO_SSL_DUMP", "1");
    const SslInit init = an_init();
    for (const auto &row : rows) {
        const Environment path("AUDIO_DUMP_PATH", row.path);
        Instance ssl(Instance::kBuffer);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Init(ssl, &init), nullptr); }),
                  tagged(row.text, "Init"));
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(EzoSsl_Reset(ssl, &init), nullptr); }),
                  tagged(row.text, "Reset"));
        // The level is stored already, so the refusal that follows is heard.
        EXPECT_NE(printed_by([&] { EXPECT_EQ(run(ssl, 0), 0x10000101); }), "");
        EzoSsl_Free(ssl);
    }
    const Environment path("AUDIO_DUMP_PATH", directory_ + "/half");
    std::optional<Instance> ssl;
    {
        const Environment off("AUDIO_SSL_DUMP", "0");
        ssl.emplace();
    }
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(run(*ssl, 0), -1); }),
              "[ALGO_MSG_ERR] [SSL] [Run] Fail! The dump input file 1 could not be open\n");
    EXPECT_EQ((*ssl)->order.run_state, 0);
    EXPECT_EQ((*ssl)->frame_energy, 0.0f); // the frame was not processed
    EXPECT_EQ(run(*ssl, 1), 0);            // one file is there, the other is not
    EzoSsl_Free(*ssl);
    EXPECT_EQ(read_file(directory_ + "/half/Audio_SSL_input_data0.pcm"), channel(0, 1, 2));
}

TEST_F(Dump, AFullDiskLosesTheDumpOnly)
{
    fs::create_symlink("/dev/full", file(0));
    const Environment path("AUDIO_DUMP_PATH", directory_), mode("AUDIO_SSL_DUMP", "1");
    Instance ssl;
    for (int round = 0; round < 5; ++round) // beyond what a stream buffers
        run_all(ssl, samples_);
    EXPECT_EQ(EzoSsl_Free(ssl), 0);
    EXPECT_EQ(read_file(file(1)).size(), 5u * 10 * 256);
}

} // namespace
