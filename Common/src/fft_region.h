// SPDX-License-Identifier: MIT
// fft_region.h - hands out the working region of an FFT plan, piece by piece.

#ifndef FFT_REGION_H
#define FFT_REGION_H

#include <cstddef>
#include <cstdint>

// Plans store pointers and bins, so every piece starts at a multiple of 8, unless more is asked
// for; the region itself need not.
constexpr size_t kFftAlignment = 8;

struct FftRegion {
    char *next;
    size_t bytes;
};

// The next `bytes` bytes of the region, or NULL if fewer are left.
inline void *fft_take(FftRegion &region, size_t bytes, size_t alignment = kFftAlignment)
{
    const size_t gap = (alignment - reinterpret_cast<uintptr_t>(region.next)) % alignment;
    if (region.bytes < gap || region.bytes - gap < bytes)
        return nullptr;
    void *const taken = region.next + gap;
    region.next += gap + bytes;
    region.bytes -= gap + bytes;
    return taken;
}

#endif
