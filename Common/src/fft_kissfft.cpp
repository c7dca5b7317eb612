// SPDX-License-Identifier: MIT
// fft_kissfft.cpp - the real FFT of KISS FFT (float). Its inverse is scaled by the number of
// points.

#include "fft_backend.h"

#include <kiss_fftr.h>

namespace {

static_assert(sizeof(kiss_fft_cpx) == 2 * sizeof(float), "bins are couples of floats");

struct KissPlan {
    kiss_fftr_cfg forward;
    kiss_fftr_cfg inverse;
};

// KISS FFT stores pointers, so a configuration starts at a multiple of 8; the region itself need
// not. On 64-bit machines two configurations for 256 points take 2848 bytes each.
constexpr size_t kPlanAlignment = 8;

struct Region {
    char *next;
    size_t bytes;
};

void *take(Region &region, size_t bytes)
{
    const size_t gap = (kPlanAlignment - reinterpret_cast<uintptr_t>(region.next)) % kPlanAlignment;
    if (region.bytes < gap || region.bytes - gap < bytes)
        return nullptr;
    void *const taken = region.next + gap;
    region.next += gap + bytes;
    region.bytes -= gap + bytes;
    return taken;
}

kiss_fftr_cfg build(Region &region, int32_t points, bool inverse)
{
    size_t bytes = 0;
    kiss_fftr_alloc(points, inverse, nullptr, &bytes); // only asks for the size
    void *const memory = take(region, bytes);
    return memory != nullptr ? kiss_fftr_alloc(points, inverse, memory, &bytes) : nullptr;
}

} // namespace

void *fft_backend_build(void *region, size_t bytes, int32_t points)
{
    // For powers of two KISS FFT works in place and off the heap.
    if (points < 2 || (points & (points - 1)) != 0)
        return nullptr;
    Region rest = {static_cast<char *>(region), bytes};
    auto *const plan = static_cast<KissPlan *>(take(rest, sizeof(KissPlan)));
    if (plan == nullptr)
        return nullptr;
    plan->forward = build(rest, points, false);
    plan->inverse = build(rest, points, true);
    return plan->forward != nullptr && plan->inverse != nullptr ? plan : nullptr;
}

void fft_backend_forward(void *plan, const float *samples, float *spectrum)
{
    kiss_fftr(static_cast<KissPlan *>(plan)->forward, samples,
              reinterpret_cast<kiss_fft_cpx *>(spectrum));
}

void fft_backend_inverse(void *plan, const float *spectrum, float *samples)
{
    kiss_fftri(static_cast<KissPlan *>(plan)->inverse,
               reinterpret_cast<const kiss_fft_cpx *>(spectrum), samples);
}
