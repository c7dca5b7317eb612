// SPDX-License-Identifier: MIT
// test_tool_scenes.cpp - scenes that the tool makes, and the faults that it finds in damaged ones.

#include <cmath>
#include <random>
#include <sstream>

#include "tool_fixture.h"

namespace {

Samples read_audio(const char *path)
{
    SndfileHandle file(path);
    Samples samples(static_cast<size_t>(file.frames() * file.channels()));
    file.read(samples.data(), static_cast<sf_count_t>(samples.size()));
    return samples;
}

// Channel 0 is that of the scene times gain0. Channel 1 is that of the scene times gain1, `drift`
// samples later every second, plus `copy` times channel 0, plus noise.
struct Spoilt {
    const char *verdict;
    double lead0, drift;
    int status;
    float gain0, gain1, copy, noise, offset;
};

TEST_F(Tool, CheckNamesTheFaultAndNothingElse)
{
    const Spoilt cases[] = {
        {"usable", 0, 0, 0, 1, 1, 0, 0, 0},
        {"usable", 0, 0, 0, 0.1f, 0.3f, 0, 0, 0},
        {"usable: clipped", 0, 0, 0, 4.3f, 4.3f, 0, 0, 0},
        {"usable: clipped", 0, 0, 0, 4.3f, 2, 0, 0, 0},
        {"usable", 0, 0, 0, 3.3f, 3.3f, 0, 0, 0}, // peaks, and few that stay
        {"usable: DC offset", 0, 0, 0, 1, 1, 0, 0, 0.1f},
        {"usable: level mismatch", 0, 0, 0, 1, 0.1f, 0, 0, 0},
        {"UNUSABLE: DC offset", 0, 0, 3, 0.1f, 0.1f, 0, 0, 0.5f},
        {"UNUSABLE: dead channel", 0, 0, 3, 1, 0, 0, 1e-4f, 0},
        {"usable: level mismatch", 0, 0, 0, 1, 0.0105f, 0, 0, 0}, // 39.6 dB
        {"UNUSABLE: dead channel", 0, 0, 3, 1, 0.0095f, 0, 0, 0}, // 40.4 dB
        {"usable", 0, 0, 0, 0.26f, 1, 0, 0, 0},                   // 11.7 dB
        {"usable: level mismatch", 0, 0, 0, 0.24f, 1, 0, 0, 0},   // 12.4 dB
        {"usable", 0, 0, 0, 1, 1, 0, 0, 0.0095f},
        {"usable: DC offset", 0, 0, 0, 1, 1, 0, 0, -0.0105f},
        {"UNUSABLE: identical channels", 0, 0, 3, 1, 0, 0.5f, 0, 0},
        {"UNUSABLE: inverted polarity", 0, 0, 3, 1, -1, 0, 0, 0},
        {"UNUSABLE: too quiet", 0, 0, 3, 1e-4f, 1e-4f, 0, 0, 0},
        {"UNUSABLE: no common sound", 0, 0, 3, 1, 0, 0, 0.3f, 0},
        {"UNUSABLE: covered microphone", 0, 0, 3, 1, 0, 0, 0.01f, 0},
        {"usable: level mismatch", 0, 0, 0, 1, 0.03f, 0, 0.001f, 0},
        {"UNUSABLE: impossible lag", 300, 0, 3, 1, 1, 0, 0, 0},
        {"UNUSABLE: drifting lag", 0, 4, 3, 1, 1, 0, 0, 0},
    };
    run("simulate -a -30 -s 5.8cm -d 6 --snr 20 -o good.wav");
    const Samples good = read_audio("good.wav");
    const size_t length = good.size() / 2 - 400;
    ASSERT_EQ(length, 95600u) << contents("err");
    const auto at = [&](double place, size_t channel) { // straight lines between the samples
        const auto n = static_cast<size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(n));
        return good[2 * n + channel] * (1 - part) + good[2 * n + 2 + channel] * part;
    };
    std::mt19937 generator(1);
    for (const Spoilt &c : cases) {
        Samples spoilt;
        for (size_t n = 0; n < length; ++n) {
            const auto place = static_cast<double>(n);
            const float noise = static_cast<float>(generator() % 2001) / 1000.0f - 1.0f;
            const float first = c.gain0 * at(place + c.lead0, 0);
            spoilt.push_back(first + c.offset);
            spoilt.push_back(c.gain1 * at(place * (1 + c.drift / 16000), 1) + c.copy * first +
                             c.noise * noise + c.offset);
        }
        write_audio("spoilt.wav", 16000, 2, spoilt);
        EXPECT_EQ(run("check spoilt.wav -s 5.8cm"), c.status) << c.verdict;
        const std::string line = std::string("verdict     ") + c.verdict + "\n";
        EXPECT_NE(contents("out").find(line), std::string::npos) << line << contents("out");
    }
    // The parts of a finding are on separate lines, and channels are numbered as for -c.
    Samples three;
    for (size_t i = 0; i < good.size(); i += 2)
        three.insert(three.end(), {0.0f, good[i], good[i + 1] / 10});
    write_audio("three.ogg", 16000, 3, three, SF_FORMAT_OGG | SF_FORMAT_VORBIS);
    EXPECT_EQ(run("check three.ogg -s 4cm -c 2,3"), 0) << contents("out");
    const std::string text = contents("out");
    EXPECT_NE(text.find("verdict     usable: lossy compression, level mismatch\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(" dB below\n            microphone 0 (channel 2)\n"), std::string::npos)
        << text;
    run("simulate -a 90 -s 64.3125mm -d 2 -o wide.wav"); // a lag of 3 samples
    const std::pair<const char *, const char *> spacings[] = {
        {"4.7cm", "verdict     UNUSABLE: impossible lag\n"}, // 2.19 samples: 0.75 are missing
        {"4.9cm", "verdict     UNUSABLE: long lag, contradiction\n"},
        {"5.6cm", "more than 5.6 cm allow (2.61):\n"}, // 0.35 are missing
        {"5.75cm", "verdict     usable\n"},
        {"5.75cm -g 0", "verdict     UNUSABLE: too quiet\n"},
    };
    for (const auto &[spacing, expected] : spacings) {
        run(std::string("check wide.wav -s ") + spacing);
        EXPECT_NE(contents("out").find(expected), std::string::npos) << spacing << contents("out");
    }
    Samples faint(good.begin(), good.begin() + 2 * 24000); // 1.5 s, and then below the gate
    for (size_t i = 0; i < 2 * 64000; ++i)
        faint.push_back(static_cast<float>(generator() % 2001) * 1e-7f);
    write_audio("faint.wav", 16000, 2, faint);
    EXPECT_EQ(run("check faint.wav -s 5.8cm"), 0) << contents("out");
    run("simulate -w -90,90 -s 20cm -d 6 -r 48000 -o walk.wav");
    EXPECT_EQ(run("check walk.wav -s 20cm"), 0) << contents("out"); // moves, and is no drift
}

TEST_F(Tool, ScenesHaveATruthAndARoom)
{
    EXPECT_EQ(run("simulate -w 80,-80 -s 5 -d 1 -o walk.wav"), 0) << contents("err");
    const std::string truth = contents("walk.truth.csv");
    EXPECT_EQ(truth.find("t_start,t_end,angle_deg\n0,0.1,72\n0.1,0.2,56\n"), 0u) << truth;

    Samples click(48000);
    click[0] = 1.0f;
    write_audio("click.wav", 48000, 1, click);
    run("simulate -i click.wav -a -30 -r 48000 -s 5.8cm --snr 120 --no-truth -o room.wav "
        "--room 6x5x3 --rt60 0.5 --distance 2 --mismatch 6");
    EXPECT_FALSE(fs::exists("room.truth.csv"));
    const Samples room = read_audio("room.wav");
    size_t peak[2] = {0, 1};
    double energy[20] = {}; // of tenths of a second
    for (size_t i = 0; i < room.size(); ++i) {
        peak[i % 2] = std::fabs(room[i]) > std::fabs(room[peak[i % 2]]) ? i : peak[i % 2];
        energy[i / 9600] += double{room[i]} * double{room[i]};
    }
    EXPECT_EQ(peak[0] + 1 - peak[1], 2 * 4u); // 5.8 cm x sin 30 / 343 m/s x 48000 Hz = 4.06
    EXPECT_NEAR(room[peak[1]] / room[peak[0]], 2.0, 0.1);
    EXPECT_NEAR(10 * std::log10(energy[1] / energy[2]), 60 * 0.1 / 0.5, 0.6); // 5 %
}

// A scene with nearly the largest number of echoes.
TEST_F(Tool, LongWorkShowsHowFarItIsAndCanBeInterrupted)
{
    std::ofstream("command") << signal_when("grep -q 'x.wav: .* %' seen", "INT")
                             << " '" EZOSSL_TOOL "' simulate -a 0,1,2,3,4,5,6,7,8 -s 5 -o x.wav "
                                "--room 1.5x1.5x1.5 --rt60 1 --distance 0.3";
    EXPECT_EQ(WEXITSTATUS(std::system("script -qec 'sh command' /dev/null >seen")), 130);
    EXPECT_EQ(contents("seen").rfind("\r\x1b[K"), contents("seen").size() - 4) << contents("seen");
    EXPECT_FALSE(fs::exists("x.wav"));
}

TEST_F(Tool, GeometryAndDemoShowWhatThePairDoes)
{
    // 5 cm / 343 m/s: 2.33 samples at 16000 Hz, so D 3, and lags of -2 ... 2 vote for 5 directions;
    // 6.997 samples at 48000 Hz, so D 7, and -6 ... 6 vote for all but the two of the axis.
    // The first step is asin(1 / 2.33), the widest spacing 127 / 16000 s of sound.
    const std::pair<const char *, const char *> rows[] = {
        {"5cm", "20 deg Celsius: sound takes 145.8 us at 343.0 m/s"},
        {"5cm", "16000         2.33     3      5 of 9    25.4 deg    90.0 deg        272.3 cm"},
        {"5cm", "48000         7.00     7      7 of 9     8.2 deg    90.0 deg         90.8 cm"},
        {"5cm -t 0", "0 deg Celsius: sound takes 151.1 us at 331.0 m/s"},
        {"3m", "48000       419.83   420      3 of 9     0.1 deg    17.6 deg         90.8 cm"},
        {"5.8cm -r 16000", "   +2        -47.7  2 (-45)\n"},
        {"5.8cm -r 16000", "   -3        +90.0  8 (+90)  longer than the longest lag: rounded up"},
        {"5.8cm -r 16000", "   +4        -90.0  0 (-90)  beyond the spacing"},
    };
    for (const auto &[spacing, row] : rows) {
        EXPECT_EQ(run(std::string("geometry -s ") + spacing), 0);
        EXPECT_NE(contents("out").find(row), std::string::npos) << row << contents("out");
    }

    EXPECT_EQ(run("demo"), 0);
    std::ifstream steps("out");
    int count = 0;
    double errors = 0.0;
    for (std::string line, meter; std::getline(steps, line);) {
        double truth = 0.0, found = 0.0;
        if (!(std::istringstream(line) >> truth >> found >> meter) || meter[0] != '.')
            continue;
        ++count;
        errors += std::fabs(found - truth);
        EXPECT_NEAR(found, truth, 12) << line;
        EXPECT_NEAR(static_cast<double>(meter.find('#')), (90 - found) / 5, 0.5) << line;
    }
    EXPECT_EQ(count, 25) << contents("out");
    const std::string last = "25 of 25 blocks have a direction, mean absolute error ";
    const size_t at = contents("out").find(last);
    ASSERT_NE(at, std::string::npos) << contents("out");
    EXPECT_NEAR(std::stod(contents("out").substr(at + last.size())), errors / 25, 0.5);
}

} // namespace
