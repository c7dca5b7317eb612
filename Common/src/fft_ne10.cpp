// SPDX-License-Identifier: MIT
// fft_ne10.cpp - the real FFT of Ne10 (float). Its inverse is scaled by 1, so that it gives back
// what went into the forward transform.
//
// Ne10 builds a plan on the heap: a record, and behind it the arrays that it points to. The record
// is public; it and the arrays are moved into the caller's region, and the heap block is released.

#include "fft_backend.h"
#include "fft_region.h"

#include <cstring>
#include <ne10/NE10.h>
#include <pthread.h>

namespace {

using Bin = ne10_fft_cpx_float32_t;
using Record = ne10_fft_r2c_state_float32_t;

static_assert(sizeof(Bin) == 2 * sizeof(float), "bins are pairs of floats");

constexpr int32_t kShortest = 16; // for less than 16 points Ne10 fills no tables

struct Ne10Plan {
    Record record;
    size_t sample_bytes; // of one transform
    float *samples;      // room for a copy aligned to 8; NULL if not needed
};

template <typename T>
bool reserve(FftRegion &region, T *&array, size_t count)
{
    array = static_cast<T *>(fft_take(region, count * sizeof(T)));
    return array != nullptr;
}

template <typename T>
bool move(FftRegion &region, T *&array, size_t count)
{
    const T *const from = array;
    if (!reserve(region, array, count))
        return false;
    std::memcpy(array, from, count * sizeof(T));
    return true;
}

// A list of factors has room for 31 stages and starts with their number; a stride, two entries for
// each stage and a flag follow.
bool move_factors(FftRegion &region, ne10_int32_t *&factors)
{
    return move(region, factors, 2 * static_cast<size_t>(factors[0]) + 3);
}

// Moves what the record points to into the region. The record differs by machine.
#if NE10_UNROLL_LEVEL == 0
bool move_arrays(FftRegion &region, Ne10Plan &plan, size_t points)
{
    Record &record = plan.record;
    // Ne10's assembly for 32-bit Arm traps on bins that are not aligned to 8.
    return reserve(region, plan.samples, points) && reserve(region, record.buffer, points) &&
           move_factors(region, record.factors) && move(region, record.twiddles, points / 2) &&
           move(region, record.super_twiddles, points / 4);
}
#else
bool move_arrays(FftRegion &region, Ne10Plan &plan, size_t points)
{
    Record &record = plan.record;
    // The inverse reads the tables of the forward transform backwards, from their end.
    const ptrdiff_t end = record.r_twiddles_backward - record.r_twiddles;
    const ptrdiff_t neon_end = record.r_twiddles_neon_backward - record.r_twiddles_neon;
    if (!reserve(region, record.buffer, points) || !move_factors(region, record.r_factors) ||
        !move_factors(region, record.r_factors_neon) || !move(region, record.r_twiddles, points) ||
        !move(region, record.r_twiddles_neon, points / 4) ||
        !move(region, record.r_super_twiddles_neon, 12 + points / 32 * 12))
        return false;
    record.r_twiddles_backward = record.r_twiddles + end;
    record.r_twiddles_neon_backward = record.r_twiddles_neon + neon_end;
    return true;
}
#endif

// Points Ne10's transforms at their NEON or plain versions. Ne10 looks for "neon" in /proc/cpuinfo.
// 64-bit Arm always has it, but there Linux writes "asimd". Should Ne10 fail to find out on 32-bit
// Arm (it prints why), the plain versions run on any machine.
void start_ne10()
{
    const bool is_sure = ne10_init() == NE10_OK;
#ifdef __aarch64__
    static_cast<void>(is_sure);
    ne10_init_dsp(NE10_OK);
#else
    if (!is_sure)
        ne10_init_dsp(NE10_ERR);
#endif
}

} // namespace

void fft_backend_start()
{
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, start_ne10);
}

void *fft_backend_build(void *region, size_t bytes, int32_t points)
{
    if (points < kShortest || (points & (points - 1)) != 0)
        return nullptr;
    FftRegion rest = {static_cast<char *>(region), bytes};
    auto *const plan = static_cast<Ne10Plan *>(fft_take(rest, sizeof(Ne10Plan)));
    Record *const built = plan != nullptr ? ne10_fft_alloc_r2c_float32(points) : nullptr;
    if (built == nullptr)
        return nullptr;
    const auto count = static_cast<size_t>(points);
    *plan = {*built, count * sizeof(float), nullptr};
    const bool fits = move_arrays(rest, *plan, count);
    ne10_fft_destroy_r2c_float32(built);
    return fits ? plan : nullptr;
}

void fft_backend_forward(void *plan, float *samples, float *spectrum)
{
    auto *const ne10 = static_cast<Ne10Plan *>(plan);
    float *const in = ne10->samples != nullptr ? ne10->samples : samples;
    if (in != samples)
        std::memcpy(in, samples, ne10->sample_bytes);
    ne10_fft_r2c_1d_float32(reinterpret_cast<Bin *>(spectrum), in, &ne10->record);
}

void fft_backend_inverse(void *plan, float *spectrum, float *samples)
{
    auto *const ne10 = static_cast<Ne10Plan *>(plan);
    float *const out = ne10->samples != nullptr ? ne10->samples : samples;
    ne10_fft_c2r_1d_float32(out, reinterpret_cast<Bin *>(spectrum), &ne10->record);
    if (out != samples)
        std::memcpy(samples, out, ne10->sample_bytes);
}
