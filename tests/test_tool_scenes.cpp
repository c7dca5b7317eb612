// SPDX-License-Identifier: MIT
// test_tool_scenes.cpp - scenes that the tool makes, and the faults that it finds in damaged ones.

#include <algorithm>
#include <cmath>
#include <random>

#include "scene/scene.h"
#include "tool_fixture.h"

namespace {

// Channel 0 is that of the scene, `lead0` samples early, times gain0, plus offset0. Channel 1 is
// that of the scene, earlier by another `drift` samples every second, times gain1, plus `copy`
// times channel 0, plus noise, plus offset1.
struct Spoilt {
    const char *name;
    double lead0, drift;
    float gain0, gain1, copy, noise, offset0, offset1;
};

TEST_F(Tool, CheckNamesTheFaultAndNothingElse)
{
    const Spoilt cases[] = {
        {"good", 0, 0, 1, 1, 0, 0, 0, 0},
        {"faint", 0, 0, 0.1f, 0.3f, 0, 0, 0, 0},
        {"clipped", 0, 0, 4.3f, 4.3f, 0, 0, 0, 0},
        {"clipped-0", 0, 0, 4.3f, 1, 0, 0, 0, 0},
        {"peaks", 0, 0, 3.3f, 3.3f, 0, 0, 0, 0}, // few that stay
        {"offset", 0, 0, 1, 1, 0, 0, 0.1f, 0.1f},
        {"large-offset", 0, 0, 0.1f, 0.1f, 0, 0, 0.5f, 0.5f},
        {"offset-0.95%", 0, 0, 1, 1, 0, 0, 0.0095f, 0.0095f},
        {"offset-1.05%", 0, 0, 1, 1, 0, 0, 0, -0.0105f},
        {"dead", 0, 0, 1, 0, 0, 1e-4f, 0, 0},
        {"lower-39.6", 0, 0, 1, 0.0105f, 0, 0, 0, 0}, // dB
        {"lower-40.4", 0, 0, 1, 0.0095f, 0, 0, 0, 0},
        {"higher-11.7", 0, 0, 0.26f, 1, 0, 0, 0, 0},
        {"higher-12.4", 0, 0, 0.24f, 1, 0, 0, 0, 0},
        {"identical", 0, 0, 1, 0, 0.5f, 0, 0, 0},
        {"copy-1.4", 0, 0, 1, 0, 0.5f, 7.2e-5f, 0, 0}, // steps of 16 bits, with the rounding
        {"copy-1.6", 0, 0, 1, 0, 0.5f, 8e-5f, 0, 0},
        {"copy-of-28", 0, 0, 0.0054f, 0, 1, 0, 0, 0}, // steps of 16 bits
        {"copy-of-32", 0, 0, 0.0061f, 0, 1, 0, 0, 0},
        {"lower-of-0.48", 0, 0, 0.009f, 0, 0, 1.95e-5f, 0, 0},
        {"lower-of-0.53", 0, 0, 0.009f, 0, 0, 2.1e-5f, 0, 0},
        {"inverted", 0, 0, 1, -1, 0, 0, 0, 0},
        {"inverted-1.24", 300, 0, 1, -1, 0.76f, 0, 0, 0}, // dip to peak
        {"inverted-1.16", 300, 0, 1, -1, 0.8f, 0, 0, 0},
        {"quiet", 0, 0, 1e-4f, 1e-4f, 0, 0, 0, 0},
        {"apart", 0, 0, 1, 0, 0, 0.3f, 0, 0},
        {"covered", 0, 0, 1, 0, 0, 0.01f, 0, 0},
        {"far-from-1", 0, 0, 1, 0.03f, 0, 0.001f, 0, 0},
        {"late", 300, 0, 1, 1, 0, 0, 0, 0},
        {"drifting", 0, 4, 1, 1, 0, 0, 0, 0},
    };
    run("simulate -a -30 -s 5.8cm -d 6 --snr 20 -o scene.wav");
    const Samples scene = read_audio("scene.wav");
    const size_t length = scene.size() / 2 - 400;
    ASSERT_EQ(length, 95600u) << contents("err");
    const auto at = [&](double place, size_t channel) { // straight lines between the samples
        const auto n = static_cast<size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(n));
        return scene[2 * n + channel] * (1 - part) + scene[2 * n + 2 + channel] * part;
    };
    std::mt19937 generator(1);
    const auto noise = [&generator] {
        return static_cast<float>(generator() % 2001) / 1000.0f - 1.0f;
    };
    for (const Spoilt &c : cases) {
        Samples spoilt;
        for (size_t n = 0; n < length; ++n) {
            const auto place = static_cast<double>(n);
            const float first = c.gain0 * at(place + c.lead0, 0);
            spoilt.push_back(first + c.offset0);
            spoilt.push_back(c.gain1 * at(place * (1 + c.drift / 16000), 1) + c.copy * first +
                             c.noise * noise() + c.offset1);
        }
        write_audio((std::string(c.name) + ".wav").c_str(), 16000, 2, spoilt);
    }
    Samples three, fading, pauses, contradiction;
    for (size_t i = 0; i < scene.size(); i += 2)
        three.insert(three.end(), {0.0f, scene[i], scene[i + 1] / 10});
    write_audio("three.ogg", 16000, 3, three, SF_FORMAT_OGG | SF_FORMAT_VORBIS);
    for (size_t i = 0; i < 2 * 88000; ++i) // 1.5 s, and then below the gate
        fading.push_back((i < 2 * 24000 ? 0.3f : 1e-4f) * noise());
    write_audio("fading.wav", 16000, 2, fading);
    // A quarter of each second is loud and has a lag of -3 samples, the faint rest one of 6. The
    // loud part decides the correlation of the channels, the faint one most of the frames.
    Samples source(64020);
    for (float &sample : source)
        sample = noise();
    for (size_t n = 0; n < 64000; ++n) {
        const bool is_loud = n % 16000 < 4000;
        const float level = is_loud ? 0.6f : 0.05f;
        contradiction.insert(contradiction.end(),
                             {level * source[n + 10], level * source[n + (is_loud ? 7 : 16)]});
    }
    write_audio("contradiction.wav", 16000, 2, contradiction);
    for (size_t i = 0; i < 2 * 48000; ++i) // a second each; the later ones 24 and 26 dB fainter
        pauses.push_back((i < 32000 ? 0.3f : i < 64000 ? 0.0189f : 0.015f) * noise());
    write_audio("pauses.wav", 16000, 2, pauses);
    play("check");
}

TEST_F(Tool, ARoomHasTheReverberationTimeAndTheLevels)
{
    Samples click(48000);
    click[0] = 1.0f;
    write_audio("click.wav", 48000, 1, click);
    run("simulate -i click.wav -a -30 -r 48000 -s 5.8cm --snr 120 --no-truth -o room.wav "
        "--room 6x5x3 --rt60 0.5 --distance 2 --mismatch 6");
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

// A long scene, and one with nearly the largest number of echoes.
TEST_F(Tool, LongWorkShowsHowFarItIsAndCanBeInterrupted)
{
    for (const std::string scene :
         {"-w -90,90 -s 5 -d 500 -r 48000",
          "-a 0,1,2,3,4,5,6,7,8 -s 5 --room 1.5x1.5x1.5 --rt60 1 --distance 0.3"}) {
        std::ofstream("command") << signal_when("grep -q 'x.wav: [1-4]\\?[0-9] %' seen", "INT")
                                 << " '" EZOSSL_TOOL "' simulate -o x.wav " << scene;
        EXPECT_EQ(WEXITSTATUS(std::system("script -qec 'sh command' /dev/null >seen")), 130);
        const std::string seen = contents("seen");
        EXPECT_EQ(seen.rfind("\x1b[?7h\r\x1b[K"), seen.size() - 9) << seen;
        EXPECT_FALSE(fs::exists("x.wav"));
    }
}

TEST_F(Tool, TheProgressOfAScenePassesFromNothingToAll)
{
    for (const bool has_room : {false, true}) {
        const RoomSettings room = {{5.0, 4.0, 3.0}, 0.3, 1.0};
        const SceneSettings settings = {16000, 5.8, 20,
                                        20.0,  0.0, has_room ? std::optional(room) : std::nullopt};
        NoiseSource noise(1);
        std::vector<double> parts;
        make_scene(make_noise(32000, noise), {{-30.0, -30.0}, {20.0, 20.0}}, settings, noise,
                   [&](double part) { parts.push_back(part); });
        EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
        EXPECT_EQ(parts.front(), 0.0);
        EXPECT_NEAR(parts.back(), 1.0, 0.05);
        EXPECT_LE(parts.back(), 1.0);
    }
}

} // namespace
