// SPDX-License-Identifier: MIT
// fft.cpp - checks and packing of the real FFT. The messages name the FFT library for which this
// interface was first written.

#include "fft.h"

#include "fft_backend.h"

#include <cstdio>
#include <cstring>

void fft_start()
{
    fft_backend_start();
}

void fft_init(FftContext *ctx)
{
    if (ctx == nullptr) {
        std::puts("[FFT]The handle is NULL");
        return;
    }
    if (ctx->fft_inited == 1) {
        std::puts("[FFT]Ne10 has init already");
        return;
    }
    if (ctx->fft_cfg == nullptr) {
        std::puts("[FFT] Please assigned the begining address about FFT workingbuffer in Init.");
        return;
    }
    void *plan = nullptr;
    if (ctx->fft_size > 0 && ctx->fft_size <= int32_t{kFftLargest}) {
        const uint32_t bytes = fft_get_buffer_size(static_cast<uint32_t>(ctx->fft_size));
        std::memset(ctx->fft_cfg, 0, bytes);
        plan = fft_backend_build(ctx->fft_cfg, bytes, ctx->fft_size);
    }
    ctx->fft_cfg = plan;
    if (plan == nullptr) {
        std::puts("[Audio] memory malloc failed");
        return;
    }
    ctx->fft_inited = 1;
}

void fft_rdft(FftContext *ctx, int32_t points, int32_t direction, float *data, const float *aux1,
              const float *aux2)
{
    if (ctx == nullptr) {
        std::puts("[Audio] Ne10_workingBufPtr is Null in fft");
        return;
    }
    if (direction != kFftForward && direction != kFftInverse)
        return;
    if (ctx->fft_cfg == nullptr || data == nullptr || aux1 == nullptr || aux2 == nullptr) {
        // Only reported: the auxiliary arrays are not used, so the transform continues without
        // them.
        std::puts("[Audio] input Null in Ne10_workingBufPtr->fft_Ne10_cfg");
        std::printf("address = %p is NULL in %s\n", ctx->fft_cfg, "fft_rdft");
        if (ctx->fft_cfg == nullptr || data == nullptr)
            return;
    }
    // The plan is for fft_size points, and fft_work holds no more, so other lengths are refused.
    if (points != ctx->fft_size)
        return;

    const size_t spectrum_bytes = (static_cast<size_t>(points) + 2) * sizeof(float);
    if (direction == kFftForward) {
        fft_backend_forward(ctx->fft_cfg, data, ctx->fft_work);
        std::memcpy(data, ctx->fft_work, spectrum_bytes);
    } else {
        std::memcpy(ctx->fft_work, data, spectrum_bytes);
        std::memset(data, 0, spectrum_bytes);
        fft_backend_inverse(ctx->fft_cfg, ctx->fft_work, data);
    }
}

void fft_free(FftContext *ctx)
{
    if (ctx == nullptr) {
        std::puts("handle is NULL in FFT_Free!\t");
        return;
    }
    ctx->fft_inited = 0;
}
