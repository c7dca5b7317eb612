// SPDX-License-Identifier: MIT
// fft_kissfft.cpp - the real FFT of KISS FFT (float). Its inverse is scaled by the number of
// points. On 64-bit machines its two configurations for 256 points take 2848 bytes each.

#include "fft_backend.h"
#include "fft_region.h"

#include <kiss_fftr.h>

namespace {

static_assert(sizeof(kiss_fft_cpx) == 2 * sizeof(float), "bins are couples of floats");

struct KissPlan {
    kiss_fftr_cfg forward;
    kiss_fftr_cfg inverse;
};

kiss_fftr_cfg build(FftRegion &region, int32_t points, bool inverse)
{
    size_t bytes = 0;
    kiss_fftr_alloc(points, inverse, nullptr, &bytes); // only asks for the size
    void *const memory = fft_take(region, bytes);
    return memory != nullptr ? kiss_fftr_alloc(points, inverse, memory, &bytes) : nullptr;
}

} // namespace

void fft_backend_start()
{
}

void *fft_backend_build(void *region, size_t bytes, int32_t points)
{
    // For powers of two KISS FFT works in place and off the heap.
    if (points < 2 || (points & (points - 1)) != 0)
        return nullptr;
    FftRegion rest = {static_cast<char *>(region), bytes};
    auto *const plan = static_cast<KissPlan *>(fft_take(rest, sizeof(KissPlan)));
    if (plan == nullptr)
        return nullptr;
    plan->forward = build(rest, points, false);
    plan->inverse = build(rest, points, true);
    return plan->forward != nullptr && plan->inverse != nullptr ? plan : nullptr;
}

void fft_backend_forward(void *plan, float *samples, float *spectrum)
{
    kiss_fftr(static_cast<KissPlan *>(plan)->forward, samples,
              reinterpret_cast<kiss_fft_cpx *>(spectrum));
}

void fft_backend_inverse(void *plan, float *spectrum, float *samples)
{
    kiss_fftri(static_cast<KissPlan *>(plan)->inverse,
               reinterpret_cast<const kiss_fft_cpx *>(spectrum), samples);
}
