// SPDX-License-Identifier: MIT
// test_tool.cpp - the command-line tool: the delay in a scene, and transcripts that need few files.

#include <algorithm>
#include <cmath>

#include "tool_fixture.h"

namespace {

TEST_F(Tool, ScenesHoldTheDelayOfTheAngle)
{
    // Sound needs 8 samples for 34.3 cm at 20 degrees Celsius, and for 33.1 cm at 0. At +90
    // degrees microphone 0 is first.
    for (const auto &[angle, lead_of_0] :
         {std::pair("90 -s 343mm", 8), std::pair("-30 -s 343mm", -4),
          std::pair("90 -s 331mm -t 0", 8)}) {
        run(std::string("simulate -r 8000 --snr 120 -d 1 -o x.wav -a ") + angle);
        int16_t scene[8000][2];
        ASSERT_EQ(SndfileHandle("x.wav").readf(scene[0], 8000), 8000) << contents("err");
        int peak = 0;
        for (int n = 100; n < 7900; ++n) {
            ASSERT_NEAR(scene[n][0], scene[n + lead_of_0][1], 2) << angle << ", sample " << n;
            peak = std::max(peak, std::abs(scene[n][0]));
        }
        EXPECT_NEAR(peak, 22938, 200) << angle; // 0.7 of full scale
    }
}

TEST_F(Tool, RefusesWithAReasonAndLeavesNothingBehind)
{
    write_audio("mono.wav", 16000, 1, Samples(8192));
    write_audio("three.wav", 16000, 3, Samples(3 * 8192));
    write_audio("cd.wav", 44100, 2, Samples(2 * 8192));
    write_audio("short.wav", 16000, 2, Samples(2 * 4095));
    write_audio("nan.wav", 16000, 2, Samples(2 * 8192, std::nanf("")));
    write_audio("inf.wav", 44100, 2, Samples(2 * 44100, HUGE_VALF));
    write_audio("huge.wav", 44100, 2, Samples(2 * 44100, -1e38f));
    write_audio("slow.wav", 999, 2, Samples(2 * 8192));
    write_audio("fast.wav", 384001, 2, Samples(2 * 8192));
    std::ofstream("text.wav") << "no sound at all\n";
    write_audio("7999.wav", 7999, 2, Samples(2 * 8192));
    std::ofstream("empty.wav").close();
    fs::create_directory("directory");
    const auto files = count_files();
    play("refusals");
    EXPECT_EQ(count_files(), files);
}

TEST_F(Tool, PrintsTheRecordedHelp)
{
    play("help");
}

TEST_F(Tool, PrintsTheRecordedFiguresOfAPair)
{
    play("pair");
}

TEST_F(Tool, PrintsTheRecordedBlocks)
{
    play("track");
}

TEST_F(Tool, ListensAsRecorded)
{
    play("live");
}

TEST_F(Tool, DrawsTheRecordedFigures)
{
    play("figures");
}

TEST_F(Tool, MakesTheRecordedScenes)
{
    play("scenes");
}

} // namespace
