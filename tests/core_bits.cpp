// SPDX-License-Identifier: MIT
// core_bits.cpp - prints the results of a run over synthetic scenes, and checksums of the floats
// that it leaves in the instance. Built with several optimisation flags; each must print
// checksums.txt.

#include "SslCore.h"

#include <cinttypes>
#include <initializer_list>

namespace {
// FNV-1a of the bits that every frame of a block leaves in a field.
struct Checksum {
    const char *name;
    uint64_t hash = 14695981039346656037u;
};

template <typename T>
void add(Checksum &sum, const T &field)
{
    const auto *const bytes = reinterpret_cast<const unsigned char *>(&field);
    for (size_t i = 0; i < sizeof field; ++i)
        sum.hash = (sum.hash ^ bytes[i]) * 1099511628211u;
}

template <typename T>
void print(const char *name, const T &field)
{
    Checksum sum = {name};
    add(sum, field);
    std::printf("%s %016" PRIx64 "\n", name, sum.hash);
}

// From equal channels through delayed ones to independent ones.
void make_frame(int frame, uint32_t &state, int16_t (&samples)[256])
{
    for (int16_t &sample : samples)
        sample = static_cast<int16_t>((state = state * 1664525u + 1013904223u) >> 17);
    for (int n = 20; n < 128 && frame % 8 != 7; ++n)
        samples[2 * n + 1] = static_cast<int16_t>(samples[2 * (n - frame % 8 * 2)] / 2);
}

// Runs sixteen frames, and in bf_mode 0 gets their direction.
void run_block(SslHandle *ssl, int block, uint32_t &state)
{
    Checksum energy = {"energy"}, spectrum = {"spectrum"}, cross = {"cross"},
             correlation = {"correlation"}, votes = {"votes"}, curve = {"curve"};
    std::printf("bf_mode %" PRId32 " block %d delays", ssl->bf_mode, block);
    for (int frame = 0; frame < 16; ++frame) {
        int16_t samples[256];
        make_frame(frame, state, samples);
        int32_t delay;
        EzoSsl_Run(ssl, samples, &delay);
        std::printf(" %" PRId32, delay);
        add(energy, ssl->frame_energy);
        add(spectrum, ssl->spectrum);
        add(cross, ssl->cross_spectrum);
        add(correlation, ssl->correlation);
        add(votes, ssl->vote_delay_sum);
        add(curve, ssl->amdf_curve);
    }
    std::printf("\ncounts");
    for (const int32_t count : ssl->vote_count[0])
        std::printf(" %" PRId32, count);
    std::printf("\n");
    for (const Checksum &sum : {energy, spectrum, cross, correlation, votes, curve})
        std::printf("%s %016" PRIx64 "\n", sum.name, sum.hash);
    if (ssl->bf_mode == 1)
        return;
    int32_t angle = 0;
    const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
    std::printf("code %" PRIx32 " angle %" PRId32 "\n", code, angle);
    print("level", ssl->energy_sum);
    print("path", ssl->path_difference);
    print("cosine", ssl->weighted_cos);
    EzoSsl_Reset_Mapping(ssl);
}
} // namespace

int main()
{
    alignas(8) static char buffer[21936];
    for (const int32_t bf_mode : {0, 1}) {
        const SslInit init = {128, 48000, 14.3f, bf_mode, 2};
        const SslConfig config = {17, -80, 16};
        SslHandle *const ssl = EzoSsl_Init(buffer, &init);
        EzoSsl_Config(ssl, &config);
        EzoSsl_Set_Shape(ssl, 0);
        EzoSsl_Cal_Params(ssl);
        uint32_t state = 1;
        for (int block = 0; block < 8; ++block)
            run_block(ssl, block, state);
        print("table", ssl->direction_delay_table);
    }
    return 0;
}
