// SPDX-License-Identifier: MIT
// core_bits.cpp - runs synthetic sounds, the same on every machine, and prints the delays, votes,
// codes and angles that every machine must find in them, and checksums of the floats that they
// leave in the instance. Built with several optimisation flags; each build must print
// checksums.txt.

#include "SslCore.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <initializer_list>

namespace {

constexpr int32_t kBlocks = 5, kFrames = 16;

// ---- Sounds ---------------------------------------------------------------------------------

// What one microphone hears at a time in quarters of a sample. Integers only, so that it is the
// same on every machine.
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

struct Scene {
    const char *name;
    Sound sound;
    int32_t rate;
    float cm;
    int32_t span; // quarters of a sample
    int32_t bf_mode = 0;
};

// Microphone 0 hears the sound later by a delay that grows with the block, from -span to span.
void make_frame(const Scene &scene, int32_t block, int32_t frame, int16_t (&samples)[256])
{
    const int32_t delay = (block - kBlocks / 2) * scene.span / (kBlocks / 2);
    for (int32_t i = 0; i < 128; ++i) {
        const int32_t time = 4 * ((block * kFrames + frame) * 128 + i);
        samples[2 * i] = static_cast<int16_t>(scene.sound(time - delay));
        samples[2 * i + 1] = static_cast<int16_t>(scene.sound(time) * 3 / 4);
    }
}

// ---- What the library makes of them ---------------------------------------------------------

// FNV-1a of the bits that every frame or block leaves in a field.
struct Checksum {
    const char *name;
    uint64_t hash = 14695981039346656037u;

    template <typename T>
    void add(const T &field)
    {
        const auto *const bytes = reinterpret_cast<const unsigned char *>(&field);
        for (size_t i = 0; i < sizeof field; ++i)
            hash = (hash ^ bytes[i]) * 1099511628211u;
    }
};

void run(const Scene &scene)
{
    Checksum energy = {"energy"}, spectrum = {"spectrum"}, cross = {"cross"},
             correlation = {"correlation"}, votes = {"votes"}, curve = {"curve"}, table = {"table"},
             level = {"level"}, path = {"path"}, cosine = {"cosine"};
    alignas(8) static char buffer[21936];
    const SslInit init = {128, scene.rate, scene.cm, scene.bf_mode, 2};
    const SslConfig config = {20, -60, kFrames};
    std::srand(1);
    SslHandle *const ssl = EzoSsl_Init(buffer, &init);
    EzoSsl_Config(ssl, &config);
    EzoSsl_Set_Shape(ssl, 0);
    EzoSsl_Cal_Params(ssl);
    table.add(ssl->direction_delay_table);
    for (int32_t block = 0; block < kBlocks; ++block) {
        std::printf("%s %" PRId32 " | delays", scene.name, scene.rate);
        for (int32_t frame = 0; frame < kFrames; ++frame) {
            int16_t samples[256];
            make_frame(scene, block, frame, samples);
            int32_t delay;
            EzoSsl_Run(ssl, samples, &delay);
            std::printf(" %" PRId32, delay);
            energy.add(ssl->frame_energy);
            spectrum.add(ssl->spectrum);
            cross.add(ssl->cross_spectrum);
            correlation.add(ssl->correlation);
            votes.add(ssl->vote_delay_sum);
            curve.add(ssl->amdf_curve);
        }
        std::printf(" | votes");
        for (const int32_t count : ssl->vote_count[0])
            std::printf(" %" PRId32, count);
        if (scene.bf_mode == 0) {
            int32_t angle;
            const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
            std::printf(" | %" PRIx32 " | %" PRId32 " degrees", code, angle);
            level.add(ssl->energy_sum);
            path.add(ssl->path_difference);
            cosine.add(ssl->weighted_cos);
            EzoSsl_Reset_Mapping(ssl);
        }
        std::printf("\n");
    }
    for (const Checksum &sum :
         {energy, spectrum, cross, correlation, votes, curve, table, level, path, cosine})
        std::printf("%s %016" PRIx64 "\n", sum.name, sum.hash);
}

} // namespace

int main()
{
    const Scene scenes[] = {
        {"white", white, 8000, 20, 16},          {"white", white, 16000, 5.8f, 10},
        {"white", white, 32000, 5.8f, 18},       {"white", white, 48000, 14.3f, 76},
        {"voice", voice, 16000, 12, 20},         {"voice", voice, 48000, 5.8f, 30},
        {"room", in_a_room, 16000, 12, 17},      {"room", in_a_room, 48000, 5.8f, 22},
        {"overdriven", overdriven, 32000, 6, 9}, {"faint", faint, 16000, 5.8f, 10},
        {"too far", white, 16000, 4, 60},        {"wide", white, 48000, 200, 512},
        {"white", white, 48000, 14.3f, 76, 1},   {"voice", voice, 8000, 5.8f, 10, 1},
    };
    for (const Scene &scene : scenes)
        run(scene);
    return 0;
}
