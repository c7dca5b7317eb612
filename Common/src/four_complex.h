// SPDX-License-Identifier: MIT
// four_complex.h - four complex numbers at a time: their real parts, and their imaginary parts.

#ifndef FOUR_COMPLEX_H
#define FOUR_COMPLEX_H

#include "four_floats.h"

struct FourComplex {
    FourFloats re;
    FourFloats im;
};

inline FourComplex operator+(FourComplex a, FourComplex b)
{
    return {a.re + b.re, a.im + b.im};
}

inline FourComplex operator-(FourComplex a, FourComplex b)
{
    return {a.re - b.re, a.im - b.im};
}

inline FourComplex operator*(FourComplex a, FourComplex b)
{
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

inline FourComplex operator*(FourComplex a, float scale)
{
    return {a.re * scale, a.im * scale};
}

inline FourComplex conjugate(FourComplex a)
{
    return {a.re, -a.im};
}

inline FourComplex times_minus_i(FourComplex a)
{
    return {a.im, -a.re};
}

inline FourComplex reversed(FourComplex a)
{
    return {reversed(a.re), reversed(a.im)};
}

// Load from and store to eight floats: real, imaginary, real, ...
inline FourComplex load_zipped(const float *from)
{
    const FourFloats low = load_four(from);
    const FourFloats high = load_four(from + kLanes);
    return {pick<0, 2, 4, 6>(low, high), pick<1, 3, 5, 7>(low, high)};
}

inline void store_zipped(float *to, FourComplex value)
{
    store_four(to, pick<0, 4, 1, 5>(value.re, value.im));
    store_four(to + kLanes, pick<2, 6, 3, 7>(value.re, value.im));
}

#endif
