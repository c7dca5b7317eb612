// SPDX-License-Identifier: MIT
// four_floats.h - four floats at a time, as GCC and Clang offer them on every machine: in a vector
// register if there is one, otherwise one after the other. Each lane is rounded like a single
// float, so both give the same bits.

#ifndef FOUR_FLOATS_H
#define FOUR_FLOATS_H

#include <cmath>
#include <cstdint>
#include <cstring>

constexpr uint32_t kLanes = 4;

// The arithmetic operators work lane by lane.
typedef float FourFloats __attribute__((vector_size(16)));

// Load from and store to any address of a float. Baseline 32-bit Arm has no such vectors, and would
// copy them through integer registers.
inline FourFloats load_four(const float *from)
{
#ifdef __arm__
    const FourFloats value = {from[0], from[1], from[2], from[3]};
#else
    FourFloats value;
    std::memcpy(&value, from, sizeof value);
#endif
    return value;
}

inline void store_four(float *to, FourFloats value)
{
#ifdef __arm__
    for (uint32_t lane = 0; lane < kLanes; ++lane)
        to[lane] = value[lane];
#else
    std::memcpy(to, &value, sizeof value);
#endif
}

// Load from and store to an address that is a multiple of 16, which saves instructions on some
// machines.
inline FourFloats load_aligned(const float *from)
{
    return load_four(static_cast<const float *>(__builtin_assume_aligned(from, 16)));
}

inline void store_aligned(float *to, FourFloats value)
{
    store_four(static_cast<float *>(__builtin_assume_aligned(to, 16)), value);
}

// Four lanes of two vectors: lanes 0 to 3 are those of `a`, 4 to 7 those of `b`.
template <int I, int J, int K, int L>
inline FourFloats pick(FourFloats a, FourFloats b)
{
#if defined(__clang__) || __GNUC__ >= 12
    return __builtin_shufflevector(a, b, I, J, K, L);
#else
    typedef int FourLanes __attribute__((vector_size(16)));
    return __builtin_shuffle(a, b, FourLanes{I, J, K, L});
#endif
}

inline FourFloats reversed(FourFloats a)
{
    return pick<3, 2, 1, 0>(a, a);
}

inline FourFloats square_root(FourFloats a)
{
    FourFloats root;
    for (uint32_t lane = 0; lane < kLanes; ++lane)
        root[lane] = std::sqrt(a[lane]);
    return root;
}

inline bool any_equal(FourFloats a, FourFloats b)
{
    const auto equal = a == b; // of each lane all bits or none
    uint64_t halves[2];
    std::memcpy(halves, &equal, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

// Rows become columns.
inline void transpose(FourFloats &a, FourFloats &b, FourFloats &c, FourFloats &d)
{
    const FourFloats ab_low = pick<0, 4, 1, 5>(a, b);
    const FourFloats ab_high = pick<2, 6, 3, 7>(a, b);
    const FourFloats cd_low = pick<0, 4, 1, 5>(c, d);
    const FourFloats cd_high = pick<2, 6, 3, 7>(c, d);
    a = pick<0, 1, 4, 5>(ab_low, cd_low);
    b = pick<2, 3, 6, 7>(ab_low, cd_low);
    c = pick<0, 1, 4, 5>(ab_high, cd_high);
    d = pick<2, 3, 6, 7>(ab_high, cd_high);
}

#endif
