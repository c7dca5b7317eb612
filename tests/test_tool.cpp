// SPDX-License-Identifier: MIT
// test_tool.cpp - the command-line tool: scenes and their angles, refusals.

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
    fs::create_directory("directory");
    EXPECT_EQ(run("--help"), 0);
    const auto count_files = [] { return std::distance(fs::directory_iterator("."), {}); };
    const auto files = count_files();
    const std::tuple<int, std::string, const char *> refusals[] = {
        {1, "missing.wav -s 5", "missing.wav: no such file"},
        {1, "-s 5 -q missing.wav", "missing.wav: no such file"},
        {2, "trak -s 5", "'trak' is neither a command nor a file"},
        {1, "track directory -s 5", "directory: is a directory"},
        {1, "track text.wav -s 5", "text.wav: not a readable sound file"},
        {1, "track mono.wav -s 5", "mono.wav: 1 channel; needs 2"},
        {1, "track three.wav -s 5", "three.wav: 3 channels; needs 2"},
        {1, "track short.wav -s 5", "4095 samples are shorter than one block of 4096"},
        {1, "track nan.wav -s 5", "nan.wav: holds samples that are not a number"},
        {1, "track slow.wav -s 5", "slow.wav: 999 Hz; record at 1000 ... 384000 Hz"},
        {1, "track fast.wav -s 5", "fast.wav: 384001 Hz; record at 1000 ... 384000 Hz"},
        {1, "track inf.wav -s 5", "inf.wav: holds samples that are not a number, or far"},
        {1, "track huge.wav -s 5", "huge.wav: holds samples that are not a number, or far"},
        {2, "cd.wav", "--spacing is required: the distance between the microphones"},
        {1, "- -s 5 </dev/null", "standard input: is empty"},
        {2, "track - - -s 5", "- can be given only once"},
        {2, "", "give a sound file, for example: ezossl talk.wav -s 5.8cm\nFor the options see: "},
        {2, "track -s 5", "give a sound file, for example: "},
        {2, "-s 5", "'-s 5' has neither a command nor a file"},
        {2, "trakc cd.wav -s 5", "'trakc' is neither a command nor a file"},
        {2, "cd.wav -s 5 --plot x.png", "x.png: figures are SVG"},
        {2, "cd.wav -s 5 -s 6", "--spacing can be given only once"},
        {2, "track cd.wav -s", "--spacing needs a value"},
        {2, "cd.wav -s 5 --raw-rate 8000", "--raw"},
        {2, "cd.wav -s 5 -r 16k", "--rate: '16k' is not one of 8000, 16000"},
        {2, "track cd.wav -s -5", "spacing '-5' must be"},
        {2, "track cd.wav -s 11m", "spacing '11m' must be"},
        {2, "track cd.wav -s nan", "spacing 'nan' must be"},
        {2, "track cd.wav -s 5inch", "spacing '5inch' is not a length"},
        {2, "track cd.wav -s 5 -t 20.5", "--temperature = 20.5 is not a whole number"},
        {2, "track cd.wav -s 5 -t 86", "86 is not within -40 ... 85"},
        {2, "track cd.wav -s 5 --bogus", "unknown option or argument: --bogus"},
        {2, "simulate -a 91 -s 5 -o x.wav", "91 is not within -90 ... 90"},
        {1, "simulate -a 0 -s 5 -i mono.wav -o x.wav", "mono.wav: holds no sound"},
        {1,
         "simulate -a 0,1,2,3,4,5,6,7,8,9 -s 5 --room 1.5x1.5x1.5 --rt60 1 --distance 0.3 -o x.wav",
         "1005 million echoes; the limit is 1000"}, // 4/3 pi (343 + 0.3)^3 / 1.5^3, 20 times
        {1, "simulate -a 0 -s 5 -o directory", "directory: exists and is not a regular file"},
        {1, "simulate -a 0 -s 5 -o no/x.wav", "no/x.wav: cannot be written"},
        {2, "simulate -a 0 -s 5 -i mono.wav -o ./mono.wav", "is an input and would be"},
        {2, "simulate -a 0 -s 5 -i mono.wav -o x.wav --truth mono.wav", "is an input and would be"},
        {2, "simulate -a 0 -s 5 -o x.wav --truth ./x.wav", "is named for two outputs"},
        {2, "cd.wav -s 5 -o ./cd.wav", "is an input and would be"},
        {2, "simulate -s 5 -o x.wav", "give the direction of the sound: either --angle -30"},
        {2, "simulate -a 0 -w 0,9 -s 5 -o x.wav", "give the direction of the sound: either"},
        {2, "simulate -a 0 -s 5 -o x.wav --truth -", "cannot go to standard output"},
        {2, "cd.wav -s 5 --plot /dev/stdout", "/dev/stdout: this file cannot go to standard out"},
        {1, "simulate -a 0 -s 5 -o x.wav --truth no/x.csv", "no/x.csv: cannot be written"},
    };
    for (const auto &[status, arguments, reason] : refusals) {
        EXPECT_EQ(run(arguments), status) << arguments;
        EXPECT_NE(contents("err").find(reason), std::string::npos) << reason << contents("err");
        EXPECT_EQ(count_files(), files) << arguments;
    }
    EXPECT_EQ(run("--help", "/dev/full"), 1);
    EXPECT_NE(contents("err").find("cannot write to standard output"), std::string::npos);
}

TEST_F(Tool, AnswersDependOnTheSamplesAndTheSpacingOnly)
{
    run("simulate -a -60,0,30 -s 5.8cm -d 1 --snr 0 -o x.wav --truth x.csv");
    EXPECT_EQ(contents("x.csv"), "t_start,t_end,angle_deg\n0,1,-60\n1,2,0\n2,3,30\n");
    run("simulate -a -60,0,30 -s 58MM -d 1 --snr 0 -o same.wav");
    EXPECT_EQ(contents("same.wav"), contents("x.wav"));
    run("simulate -a -60,0,30 -s 5.8cm -d 1 --snr 0 --seed 2 -o other.wav");
    EXPECT_NE(contents("other.wav"), contents("x.wav"));
    run("track x.wav -s 5.8");
    const std::string out = contents("out"), err = contents("err");
    EXPECT_NE(out.find(" deg "), std::string::npos) << out << err;
    for (const char *arguments :
         {"x.wav -s 58mm -o -", "track x.wav -s '0.058 m' -t 20 -b 32 -g auto"}) {
        run(arguments);
        EXPECT_EQ(contents("out") + contents("err"), out + err) << arguments;
    }
    run("x.wav -s 5.8 -o pipe; wait; cat got", "out", "mkfifo pipe; cat pipe >got &");
    EXPECT_EQ(contents("out"), out);
    run("track -v x.wav -s 5.8cm"); // the library's messages go to standard error only
    EXPECT_EQ(contents("out"), out);
    EXPECT_NE(contents("err"), err);
}

} // namespace
