// SPDX-License-Identifier: MIT
// core_bits.cpp - prints the answers of a run over made-up scenes, and checksums of the floats that
// it leaves in the instance. Built with several optimisation flags; checksums.txt has what each must
// print.

#include "SslCore.h"

#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {
int heap_calls = 0, heap_blocks = 0;
bool heap_empty = false;

// FNV-1a, bit by bit what every frame of a block left in a field.
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
} // namespace

#ifndef __SANITIZE_ADDRESS__ // which has its own malloc
extern "C" {
void *__libc_realloc(void *block, size_t bytes);
void *__libc_calloc(size_t count, size_t bytes);
void __libc_free(void *block);
static void *allocate(void *before, size_t bytes)
{
    ++heap_calls;
    void *const block = heap_empty ? nullptr : __libc_realloc(before, bytes);
    heap_blocks += before == nullptr && block != nullptr;
    return block;
}
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
void *malloc(size_t bytes)
{
    return allocate(nullptr, bytes);
}
void *realloc(void *before, size_t bytes)
{
    return allocate(before, bytes);
}
void *calloc(size_t count, size_t bytes)
{
    ++heap_calls;
    void *const block = heap_empty ? nullptr : __libc_calloc(count, bytes);
    heap_blocks += block != nullptr;
    return block;
}
void free(void *block)
{
    heap_blocks -= block != nullptr;
    __libc_free(block);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
}
#endif

namespace {
// From equal microphones over a delayed to independent ones.
void make_frame(int frame, uint32_t &state, int16_t (&samples)[256])
{
    for (int16_t &sample : samples)
        sample = static_cast<int16_t>((state = state * 1664525u + 1013904223u) >> 17);
    for (int n = 20; n < 128 && frame % 8 != 7; ++n)
        samples[2 * n + 1] = static_cast<int16_t>(samples[2 * (n - frame % 8 * 2)] / 2);
}

// Sixteen frames, and in bf_mode 0 their direction.
void run_block(SslHandle *ssl, int block, uint32_t &state, int &calls)
{
    Checksum energy = {"energy"}, spectrum = {"spectrum"}, cross = {"cross"},
             correlation = {"correlation"}, votes = {"votes"}, curve = {"curve"};
    std::printf("bf_mode %" PRId32 " block %d delays", ssl->bf_mode, block);
    for (int frame = 0; frame < 16; ++frame) {
        int16_t samples[256];
        make_frame(frame, state, samples);
        int32_t delay;
        const int before = heap_calls;
        EzoSsl_Run(ssl, samples, &delay);
        calls += heap_calls - before;
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
    const int before = heap_calls;
    const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
    std::printf("code %" PRIx32 " angle %" PRId32 "\n", code, angle);
    print("level", ssl->energy_sum);
    print("path", ssl->path_difference);
    print("cosine", ssl->weighted_cos);
    EzoSsl_Reset_Mapping(ssl);
    calls += heap_calls - before;
}
} // namespace

int main()
{
    alignas(8) static char buffer[21936];
    int calls = 0, blocks = 0;
    std::printf("\n"); // makes the block that standard output keeps
    // The first Init starts the FFT library, which may want heap: it must not mind, nor the later.
    const SslInit first = {128, 48000, 14.3f, 0, 2};
    heap_empty = true;
    const bool made = EzoSsl_Init(buffer, &first) != nullptr;
    heap_empty = false;
    for (const int32_t bf_mode : {0, 1}) {
        const SslInit init = {128, 48000, 14.3f, bf_mode, 2};
        const SslConfig config = {17, -80, 16};
        const int blocks_before = heap_blocks;
        SslHandle *const ssl = EzoSsl_Init(buffer, &init);
        blocks += heap_blocks - blocks_before;
        EzoSsl_Config(ssl, &config);
        EzoSsl_Set_Shape(ssl, 0);
        EzoSsl_Cal_Params(ssl);
        uint32_t state = 1;
        for (int block = 0; block < 8; ++block)
            run_block(ssl, block, state, calls);
        print("table", ssl->direction_delay_table);
    }
    std::printf("heap calls in 256 frames and 8 directions: %d\n", calls);
    std::printf("heap blocks left by Init: %d\n", blocks);
    std::printf("Init without heap: %s\n", made ? "an instance" : "NULL");
    return 0;
}
