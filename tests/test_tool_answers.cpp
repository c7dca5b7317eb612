// SPDX-License-Identifier: MIT
// test_tool_answers.cpp - what the tool reports besides angles: faults, rates that do not fit, and
// the settings and counts in its JSON.

#include <functional>
#include <random>
#include <sstream>

#include <cJSON.h>

#include "input/resampler.h"
#include "tool_fixture.h"

namespace {

struct Answers : Tool {
    // The value of a name in the first line of this type, as JSON; "" if there is none.
    static std::string value(const std::string &type, const char *name)
    {
        std::ifstream lines("out");
        std::string result;
        for (std::string line; result.empty() && std::getline(lines, line);) {
            cJSON *const json = cJSON_Parse(line.c_str());
            const char *const is = cJSON_GetStringValue(cJSON_GetObjectItem(json, "type"));
            const cJSON *const item = cJSON_GetObjectItem(json, name);
            if (is != nullptr && is == type && item != nullptr) {
                char *const text = cJSON_PrintUnformatted(item);
                result = text;
                cJSON_free(text);
            }
            cJSON_Delete(json);
        }
        return result;
    }
    static bool says(const std::string &text, const char *file = "err")
    {
        return contents(file).find(text) != std::string::npos;
    }
    static Samples scene(const std::string &arguments)
    {
        run("simulate --no-truth -o scene.wav " + arguments);
        SndfileHandle file("scene.wav");
        Samples samples(static_cast<size_t>(2 * file.frames()));
        file.read(samples.data(), static_cast<sf_count_t>(samples.size()));
        return samples;
    }
};

TEST_F(Answers, NameFaultsOfTheWiringOnce)
{
    const Samples good = scene("-a -30 -s 5.8cm -d 26");
    ASSERT_EQ(good.size(), 2 * 26 * 16000u) << contents("err");
    const Samples zero = scene("-a 0 -s 5.8cm -d 12");
    std::mt19937 generator(1);
    Samples other(good.size());
    for (float &sample : other)
        sample = static_cast<float>(generator() % 2001) / 5000.0f - 0.2f;
    const struct {
        double seconds; // 26 or 12 are more than the 40 blocks looked back on, 3 are less
        std::string arguments, fault;
        std::function<float(size_t)> second; // sample n of microphone 1
    } cases[] = {
        {26, "", "", [&](size_t n) { return good[2 * n + 1]; }},
        {3, "", "", [&](size_t n) { return good[2 * n + 1]; }},
        {26, "", "identical channels", [&](size_t n) { return 0.5f * good[2 * n]; }},
        {3, "", "identical channels", [&](size_t n) { return 0.5f * good[2 * n]; }},
        {26, "", "identical channels", // which were well again at the end
         [&](size_t n) { return n < 12 * 16000 ? good[2 * n] : good[2 * n + 1]; }},
        {3, "", "inverted polarity", [&](size_t n) { return -good[2 * n + 1]; }},
        {12, "", "dead channel", [&](size_t) { return 0.0f; }},
        {3, "", "no common sound", [&](size_t n) { return other[2 * n]; }},
        {3, "", "impossible lag", [&](size_t n) { return n < 300 ? 0.0f : good[2 * n - 599]; }},
        {12, "-s 1cm", "impossible lag", [&](size_t n) { return good[2 * n + 1]; }},
        {3, "-s 1cm", "impossible lag", [&](size_t n) { return good[2 * n + 1]; }},
        {0.9, "-g -5", "", [&](size_t) { return 0.0f; }}, // too little to be judged
        {3, "-g -5", "too quiet", [&](size_t n) { return good[2 * n + 1]; }},
        {3, "-g -30 -G -30", "too quiet", [&](size_t n) { return good[2 * n + 1]; }},
        {3, "-g -30 -G -10", "inverted polarity", [&](size_t n) { return -good[2 * n + 1]; }},
    };
    for (const auto &c : cases) {
        Samples samples;
        for (size_t n = 0; n < static_cast<size_t>(c.seconds * 16000); ++n)
            samples.insert(samples.end(), {good[2 * n], c.second(n)});
        write_audio("x.wav", 16000, 2, samples);
        const std::string spacing = c.arguments.find("-s") == 0 ? "" : " -s 5.8cm ";
        EXPECT_EQ(run("track x.wav -f jsonl " + spacing + c.arguments), 0);
        EXPECT_EQ(value("summary", "faults"), c.fault.empty() ? "[]" : "[\"" + c.fault + "\"]")
            << c.fault << c.seconds << contents("err");
        EXPECT_TRUE(says("ezossl: x.wav: " + c.fault + (c.fault.empty() ? "" : ": ")) ||
                    c.fault.empty())
            << contents("err");
    }
    write_audio("x.wav", 16000, 2, zero);
    run("track x.wav -s 5.8cm -f jsonl");
    EXPECT_EQ(value("summary", "faults") + value("summary", "median_deg"), "[]0");
    EXPECT_FALSE(says("ezossl: x.wav"));
}

TEST_F(Answers, RatesWithoutSoundInTheUpperBandAreLoweredOrNamed)
{
    const Samples low = scene("-a 50 -s 20cm -r 8000 -d 4");
    write_audio("raised.wav", 16000, 2, Resampler(8000, 16000).process(low.data(), 32000, true));
    Samples held;
    for (size_t i = 0; i < low.size(); i += 2)
        held.insert(held.end(), {low[i], low[i + 1], low[i], low[i + 1]});
    write_audio("held.wav", 16000, 2, held);
    const struct {
        const char *before, *arguments;
        int status;
        const char *rate, *limit, *faults, *said;
    } cases[] = {
        {"", "track raised.wav", 0, "8000", "4000", "[]",
         "ezossl: raised.wav: no sound of its own above 4 kHz: analysed at 8000 Hz\n"},
        {"cat raised.wav |", "track -", 0, "16000", "4000", "[\"empty upper band\"]",
         "ezossl: standard input: empty upper band: no sound of its own above 4 kHz: angles are "
         "drawn towards 0; use -r 8000\n"},
        {"", "track held.wav", 0, "8000", "4000", "[]",
         "ezossl: held.wav: no sound of its own above 4 kHz: analysed at 8000 Hz\n"},
        {"", "track raised.wav -r 16000", 0, "16000", "4000", "[\"empty upper band\"]",
         "ezossl: raised.wav: empty upper band: "},
        {"", "track raised.wav -r 8000", 0, "8000", "null", "[]", "decided (100 %), median +"},
        {"", "track scene.wav", 0, "8000", "null", "[]", "decided (100 %), median +"},
        {"", "track raised.wav -r 48000", 2, "", "", "", "raised.wav: has 16000 Hz; at -r 48000"},
        {"", "check raised.wav -r 32000", 2, "", "", "", "raised.wav: has 16000 Hz; at -r 32000"},
    };
    for (const auto &c : cases) {
        const std::string format = c.arguments[0] == 't' ? " -f jsonl" : "";
        EXPECT_EQ(run(c.arguments + (" -s 20cm" + format), "out", c.before), c.status)
            << c.arguments;
        EXPECT_EQ(value("start", "rate_hz"), c.rate) << c.arguments;
        EXPECT_EQ(value("summary", "band_limit_hz"), c.limit) << c.arguments;
        EXPECT_EQ(value("summary", "faults"), c.faults) << c.arguments;
        EXPECT_TRUE(says(c.said)) << c.arguments << contents("err");
    }
    EXPECT_EQ(run("check raised.wav -s 20cm"), 0);
    EXPECT_TRUE(says("at 8000 Hz\n", "out") && says("warning     narrow band: ", "out"));
    EXPECT_EQ(run("check raised.wav -s 20cm -r 16000"), 3);
    EXPECT_TRUE(says("FAULT       empty upper band: no sound of its own above 4 kHz", "out"));
    EXPECT_EQ(run("check scene.wav -s 20cm"), 0);
    EXPECT_TRUE(says("verdict     usable\n", "out")) << contents("out");
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
    const struct {
        const char *arguments, *type, *name, *expected;
    } cases[] = {
        {"", "start", "block_frames", "32"},
        {"", "start", "smooth_s", "1.024"},
        {"-r 8000", "start", "block_frames", "16"},
        {"--raw-blocks -r 8000", "start", "block_frames", "32"},
        {"--raw-blocks", "start", "smooth_s", "null"},
        {"-r 8000", "start", "input_rate_hz", "16000"},
        {"-t 30", "start", "temperature_c", "30"},
        {"", "start", "gate_dbfs", "\"auto\""},
        {"-g -50", "start", "gate_dbfs", "-50"},
        {"", "summary", "gate_highest_dbfs", "-22.01"}, // 10 dB below 20 lg 1/4 and what is clamped
        {"-G -3", "start", "gain_db", "-3"},
        {"--mode delay", "start", "mode", "\"delay\""},
        {"--swap", "start", "channels", "[2,1]"},
        {"-g 0", "summary", "quiet", "3"},
        {"-g 0", "summary", "decided", "0"},
        {"", "summary", "few_clear", "0"},
        {"--block-ms 100", "start", "block_frames", "13"}, // 12.5
        {"--block-ms 99", "start", "block_frames", "12"},
        {"--block-ms 1", "start", "block_frames", "1"},
        {"--start 0.1", "block", "t_start", "0.1"},
        {"--start 0.1", "block", "t_end", "0.356"},
        {"--raw-blocks -b 5", "block", "t_end", "0.04"},
        {"--raw-blocks --start 0.7", "block", "frames_used", "0"}, // of silence
        {"", "summary", "clamped_samples", "1"},
        {"", "summary", "dropped_s", "0.232"},            // 16000 - 3 x 4096
        {"-G 13", "summary", "wrapped_samples", "16380"}, // x 4.47; but for the first pairs
        {"-G 12", "summary", "wrapped_samples", "1"},     // x 3.98; only what is clamped
    };
    for (const auto &c : cases) {
        run(std::string("track x.wav -s 8.6 -f jsonl ") + c.arguments);
        EXPECT_EQ(value(c.type, c.name), c.expected) << c.arguments << c.name << contents("err");
    }
    const std::pair<const char *, bool> warned[] = {{"--raw-blocks -b 3", true},
                                                    {"--raw-blocks -b 4", false},
                                                    {"-b 3", false},
                                                    {"--raw-blocks -b 3 -q", false}};
    for (const auto &[arguments, is_warned] : warned) {
        EXPECT_EQ(run(std::string("track x.wav -s 8.6 ") + arguments), 0);
        EXPECT_EQ(says("blocks of fewer than 4 frames get angles from noise too"), is_warned);
    }
}

// Leads of 2 and 3 samples are asin(2 x 343 / 16000 / 0.086) = 29.9 and 48.4 degrees.
TEST_F(Answers, ChangesAreAnglesThatDifferEnoughAndTheEndOfTheSound)
{
    std::mt19937 generator(1);
    Samples samples;
    for (const size_t lead : {2, 0, 3, 2, 0}) { // 0 is silence
        Samples sound(2 * 16384);
        for (size_t i = 2 * lead + 1; lead > 0 && i < sound.size(); i += 2)
            sound[i - 2 * lead - 1] = sound[i] = generator() % 2 == 0 ? 0.25f : -0.25f;
        samples.insert(samples.end(), sound.begin(), sound.end());
    }
    write_audio("x.wav", 16000, 2, samples);
    for (const auto &[least, expected] :
         {std::pair("19", "29 quiet 48 29 quiet "), std::pair("20", "29 quiet 48 quiet ")}) {
        run(std::string("track x.wav -s 8.6 -f csv --raw-blocks --on-change ") + least);
        std::ifstream lines("out");
        std::string found, line;
        for (std::getline(lines, line); std::getline(lines, line);) {
            std::istringstream cells(line);
            std::string file, start, end, angle, status;
            for (std::string *const cell : {&file, &start, &end, &angle, &status})
                std::getline(cells, *cell, ',');
            found += (status == "ok" ? angle : status) + ' ';
        }
        EXPECT_EQ(found, expected) << contents("out");
    }
}

} // namespace
