// SPDX-License-Identifier: MIT
// test_tool_answers.cpp - what the tool reports besides angles: faults, rates that do not fit, and
// the settings and counts in its JSON.

#include <functional>
#include <random>

#include "input/resampler.h"
#include "tool_fixture.h"

namespace {

struct Answers : Tool {
    static Samples scene(const std::string &arguments)
    {
        run("simulate --no-truth -o scene.wav " + arguments);
        return read_audio("scene.wav");
    }
};

TEST_F(Answers, NameFaultsOfTheWiringOnce)
{
    const Samples good = scene("-a -30 -s 5.8cm -d 26");
    ASSERT_EQ(good.size(), 2 * 26 * 16000u) << contents("err");
    std::mt19937 generator(1);
    Samples other(good.size());
    for (float &sample : other)
        sample = static_cast<float>(generator() % 2001) / 5000.0f - 0.2f;
    const std::pair<const char *, std::function<float(size_t)>> microphone_1[] = {
        {"good", [&](size_t n) { return good[2 * n + 1]; }},
        {"identical", [&](size_t n) { return 0.5f * good[2 * n]; }},
        {"mended", [&](size_t n) { return n < 12 * 16000 ? good[2 * n] : good[2 * n + 1]; }},
        {"inverted", [&](size_t n) { return -good[2 * n + 1]; }},
        {"dead", [&](size_t) { return 0.0f; }},
        {"other", [&](size_t n) { return other[2 * n]; }},
        {"drifting",
         [&](size_t n) { return good[2 * (n + 23 - std::max<size_t>(n, 184000) / 8000) + 1]; }},
        {"late", [&](size_t n) { return n < 300 ? 0.0f : good[2 * n - 599]; }},
    };
    for (const auto &[name, sample] : microphone_1) {
        Samples samples;
        for (size_t n = 0; n < good.size() / 2; ++n)
            samples.insert(samples.end(), {good[2 * n], sample(n)});
        write_audio((std::string(name) + ".wav").c_str(), 16000, 2, samples);
    }
    play("faults");
}

TEST_F(Answers, RatesWithoutSoundInTheUpperBandAreLoweredOrNamed)
{
    const Samples low = scene("-a 50 -s 20cm -r 8000 -d 4");
    write_audio("raised.wav", 16000, 2, Resampler(8000, 16000).process(low.data(), 32000, true));
    Samples held;
    for (size_t i = 0; i < low.size(); i += 2)
        held.insert(held.end(), {low[i], low[i + 1], low[i], low[i + 1]});
    write_audio("held.wav", 16000, 2, held);
    play("rates");
}

TEST_F(Answers, BlocksHaveTheLengthTimesAndCountsOfTheirSound)
{
    // Microphone 0 is two samples ahead; the last half second is silent.
    std::mt19937 generator(1);
    Samples samples(2 * 16000);
    for (size_t i = 5; i < 2 * 8192; i += 2)
        samples[i - 5] = samples[i] = generator() % 2 == 0 ? 0.25f : -0.25f;
    samples[1000] = -2.0f;
    write_audio("x.wav", 16000, 2, samples);
    samples.clear();
    for (const size_t lead : {2, 0, 3, 2, 0}) { // 0 is silence
        Samples sound(2 * 16384);
        for (size_t i = 2 * lead + 1; lead > 0 && i < sound.size(); i += 2)
            sound[i - 2 * lead - 1] = sound[i] = generator() % 2 == 0 ? 0.25f : -0.25f;
        samples.insert(samples.end(), sound.begin(), sound.end());
    }
    write_audio("moves.wav", 16000, 2, samples);
    play("blocks");
}

} // namespace
