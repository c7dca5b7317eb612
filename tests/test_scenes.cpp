// SPDX-License-Identifier: MIT
// test_scenes.cpp - synthetic sounds, the same on every machine, and the delays, votes, codes and
// angles that every machine must find in them: scene_answers.txt.

#include "support.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr int32_t kBlocks = 5, kFrames = 16, kSamples = kBlocks * kFrames * 128;

// What one microphone hears, at a time in quarters of a sample: integers only.
using Sound = int32_t (*)(int32_t quarters);

int32_t noise(int32_t n)
{
    uint32_t hash = static_cast<uint32_t>(n) * 2654435761u;
    hash = (hash ^ (hash >> 15)) * 2246822519u;
    return static_cast<int32_t>((hash ^ (hash >> 13)) % 20001u) - 10000;
}

int32_t white(int32_t quarters)
{
    const int32_t n = quarters >> 2, fraction = quarters & 3;
    return ((4 - fraction) * noise(n) + fraction * noise(n + 1)) / 4;
}

// Pulses of a voice, each ringing down, with pauses and a little noise.
int32_t voice(int32_t quarters)
{
    const int32_t n = quarters + 100000, phase = n % 523, ring = phase * 37 % 256;
    const int32_t triangle = std::abs(ring - 128) - 64;
    const bool speaks = n / 2048 % 5 != 4;
    return (speaks ? triangle * (523 - phase) / 4 : 0) + white(quarters) / 100;
}

int32_t in_a_room(int32_t quarters)
{
    return white(quarters) / 2 + white(quarters - 151) / 4 - white(quarters - 366) / 6;
}

int32_t overdriven(int32_t quarters)
{
    return std::clamp(white(quarters) * 8, -32768, 32767);
}

int32_t faint(int32_t quarters)
{
    return white(quarters) / 5000;
}

// Microphone 0 hears the sound later by a delay that grows with the block, from -span to span.
std::vector<int16_t> scene_of(Sound sound, int32_t span)
{
    std::vector<int16_t> samples;
    for (int32_t n = 0; n < kSamples; ++n) {
        const int32_t delay = (n / (kFrames * 128) - kBlocks / 2) * span / (kBlocks / 2);
        samples.push_back(static_cast<int16_t>(sound(4 * n - delay)));
        samples.push_back(static_cast<int16_t>(sound(4 * n) * 3 / 4));
    }
    return samples;
}

template <typename T>
std::string listed(const char *name, const T &numbers)
{
    std::string text = std::string(" | ") + name;
    for (const int32_t number : numbers)
        text += " " + std::to_string(number);
    return text;
}

// The bits of a block's sums: that of the energy and those of the delays, which show the last bits
// of the FFT.
std::string bits_of(SslHandle *ssl)
{
    const auto word = [](float value) {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    };
    uint64_t hash = 14695981039346656037u; // FNV-1a, by words
    for (const float sum : ssl->vote_delay_sum[0])
        hash = (hash ^ word(sum)) * 1099511628211u;
    char text[64];
    std::snprintf(text, sizeof text, " | energy %08" PRIx32 " | bits %016" PRIx64 "\n",
                  word(ssl->energy_sum), hash);
    return text;
}

std::string answers()
{
    const struct {
        const char *name;
        Sound sound;
        int32_t rate;
        float cm;
        int32_t span; // quarters of a sample
    } scenes[] = {
        {"white", white, 8000, 20, 16},          {"white", white, 16000, 5.8f, 10},
        {"white", white, 32000, 5.8f, 18},       {"white", white, 48000, 14.3f, 76},
        {"voice", voice, 16000, 12, 20},         {"voice", voice, 48000, 5.8f, 30},
        {"room", in_a_room, 16000, 12, 17},      {"room", in_a_room, 48000, 5.8f, 22},
        {"overdriven", overdriven, 32000, 6, 9}, {"faint", faint, 16000, 5.8f, 10},
        {"too far", white, 16000, 4, 60},
    };
    std::string text;
    for (const auto &scene : scenes) {
        std::srand(1);
        Instance ssl(Instance::kReady, an_init(scene.rate, scene.cm), {20, -60, kFrames});
        const std::vector<int16_t> samples = scene_of(scene.sound, scene.span);
        for (auto block = samples.begin(); block != samples.end(); block += kFrames * 256) {
            const auto delays = run_all(ssl, {block, block + kFrames * 256});
            text += scene.name;
            text += " " + std::to_string(scene.rate) + listed("delays", delays);
            text += listed("votes", ssl->vote_count[0]);
            const std::string bits = bits_of(ssl);
            int32_t angle;
            const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
            EzoSsl_Reset_Mapping(ssl);
            char answer[64];
            std::snprintf(answer, sizeof answer, " | %" PRIx32 " | %" PRId32 " degrees", code,
                          angle);
            text += answer + bits;
        }
    }
    return text;
}

std::string without_bits(std::string text)
{
    const std::string bits = " | bits 0123456789abcdef";
    for (size_t at; (at = text.find(bits.substr(0, 8))) != std::string::npos;)
        text.erase(at, bits.size());
    return text;
}

TEST(Scenes, HaveTheSameAnswersOnEveryMachine)
{
    std::string expected = read_file(EZOSSL_SCENE_ANSWERS), actual = answers();
    // An FFT with different last bits changes those of the sums of the delays.
    if (std::string(EZOSSL_FFT) != "builtin") {
        expected = without_bits(expected);
        actual = without_bits(actual);
    }
    EXPECT_TRUE(actual == expected) << actual << "differs from " EZOSSL_SCENE_ANSWERS;
}

} // namespace
