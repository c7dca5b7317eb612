// SPDX-License-Identifier: MIT
// test_fft_builtin.cpp - what only the built-in FFT promises: its tables, its lengths and scale,
// and its accuracy on sounds of every kind, against sums in double.

#include "support.h"

#include "fft_backend.h"
#include "fft_region.h"
#include "fft_twiddles.h"

#include <cmath>
#include <complex>
#include <cstring>
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

struct Sound {
    const char *name;
    double (*at)(int n);
};

double noise(int n)
{
    uint32_t hash = static_cast<uint32_t>(n + 1) * 2654435761u;
    hash = (hash ^ (hash >> 15)) * 2246822519u;
    return (hash >> 16) / 32768.0 - 1;
}

const Sound kSounds[] = {
    {"noise", noise},
    {"square", [](int n) { return n % 7 < 3 ? 1.0 : -1.0; }},
    {"faint noise", [](int n) { return std::round(noise(n)) / 32768; }},
    {"tone between bins", [](int n) { return std::sin(0.3 * n); }},
    {"tone on a bin", [](int n) { return std::cos(2 * kTruePi * 32 * n / 256); }},
    {"constant", [](int) { return 1.0; }},
    {"highest frequency", [](int n) { return n % 2 == 0 ? 1.0 : -1.0; }},
    {"impulse", [](int n) { return n == 37 ? 1.0 : 0.0; }},
    {"decay", [](int n) { return std::exp(-n / 2.0); }},
};

// At every address where a caller's buffer may start; nothing outside the arrays is touched.
TEST(FftBuiltin, EqualsTheSumsInDoubleForSoundsOfEveryKind)
{
    for (size_t shift = 0; shift < 16; shift += 4) {
        alignas(16) char region[6028 + 16] = {};
        void *const plan = fft_backend_build(region + shift, 6028, 256);
        for (const Sound &sound : kSounds) {
            alignas(16) float memory[3][264];
            for (auto &row : memory)
                for (float &value : row)
                    value = 99;
            float *const samples = memory[0] + shift / 4, *const bins = memory[1] + shift / 4,
                         *const back = memory[2] + shift / 4;
            double x[256], signal = 0, error = 0;
            for (int n = 0; n < 256; ++n)
                x[n] = double{samples[n] = static_cast<float>(sound.at(n))};
            fft_backend_forward(plan, samples, bins);
            EXPECT_EQ(samples[258], 99.0f);
            EXPECT_EQ(bins[258], 99.0f);
            for (int k = 0; k <= 128; ++k) {
                std::complex<double> bin = 0;
                for (int n = 0; n < 256; ++n)
                    bin += x[n] * std::polar(1.0, -2 * kTruePi * (k * n % 256) / 256);
                signal += std::norm(bin);
                error += std::norm(bin - std::complex<double>(bins[2 * k], bins[2 * k + 1]));
            }
            EXPECT_LT(error, signal * 1e-13) << sound.name; // 130 dB
            EXPECT_EQ(bins[1], 0.0f);
            EXPECT_EQ(bins[257], 0.0f);
            // The inverse accepts any bins, not only those of a forward transform.
            float spectrum[258];
            std::memcpy(spectrum, bins, sizeof spectrum);
            spectrum[2 * 64] += 1;
            spectrum[2 * 64 + 1] += 1;
            std::memcpy(bins, spectrum, sizeof spectrum);
            fft_backend_inverse(plan, bins, back);
            signal = error = 0;
            for (int n = 0; n < 256; ++n) {
                double sum = double{spectrum[0]} + double{spectrum[256]} * (n % 2 == 0 ? 1 : -1);
                for (int k = 1; k < 128; ++k) {
                    const std::complex<double> bin(spectrum[2 * k], spectrum[2 * k + 1]);
                    sum += 2 * (bin * std::polar(1.0, 2 * kTruePi * (k * n % 256) / 256)).real();
                }
                signal += sum * sum;
                error += (sum - double{back[n]}) * (sum - double{back[n]});
            }
            EXPECT_LT(error, signal * 1e-13) << sound.name;
            EXPECT_EQ(back[258], 99.0f);
            EXPECT_EQ(memory[1][shift / 4 + 258], 99.0f);
        }
    }
}

} // namespace
