// SPDX-License-Identifier: MIT
// test_fft_builtin.cpp - what only the built-in FFT promises: its tables and its length.

#include "support.h"

#include "fft_backend.h"
#include "fft_twiddles.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

const double kTruePi = std::acos(-1.0);

template <uint32_t Count>
void expect_twiddles(const FftTwiddles<Count> &table, double n, uint32_t first, uint32_t factor)
{
    for (uint32_t q = 0; q < Count; ++q) {
        // A quarter of a turn has exact values, which the cosine of a rounded angle misses.
        const double turn = 2 * kTruePi * (first + q) * factor / n;
        const auto rounded = [](double x) {
            return static_cast<float>(std::fabs(x) < 1e-15 ? 0 : x);
        };
        EXPECT_EQ(table.re[q], rounded(std::cos(turn))) << n << " " << q;
        EXPECT_EQ(table.im[q], rounded(-std::sin(turn))) << n << " " << q;
    }
}

TEST(FftBuiltin, TwiddlesAreCosineAndMinusSine)
{
    for (uint32_t k = 1; k < 4; ++k) {
        expect_twiddles(FftTwiddles16[k - 1], 16, 0, k);
        expect_twiddles(FftTwiddles64[k - 1], 64, 0, k);
    }
    expect_twiddles(FftTwiddles128, 128, 0, 1);
    expect_twiddles(FftTwiddles256, 256, 1, 1);
}

TEST(FftBuiltin, KnowsOneLength)
{
    alignas(16) char region[6028];
    for (const int32_t points : {-256, 2, 64, 128, 255, 258})
        EXPECT_EQ(fft_backend_build(region, sizeof region, points), nullptr) << points;
}

} // namespace
