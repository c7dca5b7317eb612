// SPDX-License-Identifier: MIT
// test_fft.cpp - windows, the FFT wrapper, vector helpers and the math layer, against definitions
// computed in double.

#include "support.h"

#include "fft.h"
#include "fft_backend.h"
#include "math_layer.h"
#include "vector.h"
#include "window.h"
#include "windowfilt.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <utility>

namespace {

const double kTruePi = std::acos(-1.0);

// A context over a region of exactly the size it asks for, `shift` bytes off an aligned address.
struct Transform {
    explicit Transform(size_t shift = 0, int32_t points = 256)
        : memory(new char[shift + fft_get_buffer_size(256)]), context{}
    {
        context.fft_cfg = memory.get() + shift;
        context.fft_size = points;
        fft_start();
    }
    void forward(float *data) { fft_rdft(&context, 256, 1, data, aux, aux); }
    void inverse(float *data) { fft_rdft(&context, 256, -1, data, aux, aux); }
    std::unique_ptr<char[]> memory;
    FftContext context;
    float aux[256] = {};
};

TEST(Fft, WindowTablesAreHalvesOfASine)
{
    const struct {
        const float *table;
        int n;
    } rows[] = {{FloatingFftInWindow64, 64},
                {FloatingFftInWindow128, 128},
                {FloatingFftInWindow256, 256},
                {FloatingFftInWindow512, 512},
                {FftInWindow, 256},
                {FftOutWindow, 256}};
    for (const auto &row : rows)
        for (int k = 0; k <= row.n / 2; ++k)
            EXPECT_EQ(row.table[k], static_cast<float>(std::sin(kTruePi * k / row.n)))
                << row.n << k;
}

TEST(Fft, WindowsApplyByType)
{
    for (const int32_t type : {0, 1, 2, -1}) {
        float frame[256];
        math_fill(frame, 256, 2.0f);
        window_apply(frame, type);
        for (int n = 0; n < 256; ++n)
            EXPECT_NEAR(frame[n], type == 0 || type == 1 ? 2 * std::sin(kTruePi * n / 256) : 2,
                        3e-7);
    }
    const WindowFilter filter = {FloatingFftInWindow64, 64, 0.5f},
                       plain = {FloatingFftInWindow64, 64, 0};
    float frame[64];
    for (const WindowFilter &each : {filter, plain}) {
        math_fill(frame, 64, 1.0f);
        WindowFilter_Process(frame, &each);
        EXPECT_EQ(frame[0], 0.0f);
        EXPECT_EQ(frame[32], each.factor == 0 ? 1.0f : 0.5f);
        EXPECT_EQ(frame[63], frame[1]);
    }
    EXPECT_EQ(printed_by([&] {
                  WindowFilter_Process(nullptr, &filter);
                  WindowFilter_Process(frame, nullptr);
              }),
              "[Audio] input Null in WindowFilter_Process\n[Audio] filter Null in "
              "WindowFilter_Process\n");
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

// At every address where a caller's buffer may start; nothing outside the array is touched.
TEST(Fft, EqualsTheSumsInDoubleForSoundsOfEveryKind)
{
    EXPECT_EQ(fft_get_buffer_size(256), 6028u);
    const auto turn = [](int k, int n) {
        return std::polar(1.0, 2 * kTruePi * (k * n % 256) / 256);
    };
    for (size_t shift = 0; shift < 16; shift += 4) {
        Transform fft(shift);
        fft_init(&fft.context);
        ASSERT_EQ(fft.context.fft_inited, 1);
        float unit[258] = {1};
        fft.inverse(unit);
        EXPECT_TRUE(unit[0] == 1.0f || unit[0] == 1.0f / 256) << unit[0];
        for (const Sound &sound : kSounds) {
            alignas(16) float memory[4 + 259];
            float *const data = memory + shift / 4;
            std::fill(std::begin(memory), std::end(memory), 99.0f); // two are not part of the input
            std::fill(std::begin(fft.context.fft_work), std::end(fft.context.fft_work), 99.0f);
            double x[256], signal = 0, error = 0;
            for (int n = 0; n < 256; ++n)
                x[n] = double{data[n] = static_cast<float>(sound.at(n))};
            fft.forward(data);
            for (int k = 0; k <= 128; ++k) {
                std::complex<double> bin = 0;
                for (int n = 0; n < 256; ++n)
                    bin += x[n] * std::conj(turn(k, n));
                signal += std::norm(bin);
                error += std::norm(bin - std::complex<double>(data[2 * k], data[2 * k + 1]));
            }
            EXPECT_LT(error, signal * 1e-13) << sound.name; // 130 dB
            EXPECT_EQ(data[1], 0.0f);
            EXPECT_EQ(data[257], 0.0f);
            // The inverse accepts any bins, not only those of a forward transform.
            data[2 * 64] += 1;
            data[2 * 64 + 1] += 1;
            const std::vector<float> bins(data, data + 258);
            fft.inverse(data);
            signal = error = 0;
            for (int n = 0; n < 256; ++n) {
                double sum = double{bins[0]} + double{bins[256]} * (n % 2 == 0 ? 1 : -1);
                for (size_t k = 1; k < 128; ++k)
                    sum += 2 * (std::complex<double>(bins[2 * k], bins[2 * k + 1]) *
                                turn(static_cast<int>(k), n))
                                   .real();
                signal += sum * sum;
                error += std::pow(sum - double{data[n]} / double{unit[0]}, 2);
            }
            EXPECT_LT(error, signal * 1e-13) << sound.name;
            EXPECT_EQ(data[256], 0.0f);
            EXPECT_EQ(data[257], 0.0f);
            EXPECT_EQ(data[258], 99.0f);
        }
    }
}

TEST(Fft, RefusalsAndReports)
{
    Transform fft;
    float data[258] = {1, 2, 3};
    const std::string null_input =
        "[Audio] input Null in Ne10_workingBufPtr->fft_Ne10_cfg\naddress = ";
    EXPECT_EQ(printed_by([] { fft_init(nullptr); }), "[FFT]The handle is NULL\n");
    EXPECT_EQ(printed_by([] { fft_free(nullptr); }), "handle is NULL in FFT_Free!\t\n");
    EXPECT_EQ(printed_by([&] { fft_rdft(nullptr, 256, 1, data, data, data); }),
              "[Audio] Ne10_workingBufPtr is Null in fft\n");

    fft_init(&fft.context);
    void *const plan = std::exchange(fft.context.fft_cfg, nullptr);
    EXPECT_EQ(printed_by([&] { fft_init(&fft.context); }), "[FFT]Ne10 has init already\n");
    EXPECT_EQ(std::exchange(fft.context.fft_cfg, plan), nullptr);

    // Invalid lengths and directions leave the data alone.
    for (const int32_t points : {0, -256, 128, 512, INT32_MAX, INT32_MIN})
        fft_rdft(&fft.context, points, 1, data, data, data);
    for (const int32_t direction : {0, 2, -2})
        fft_rdft(&fft.context, 256, direction, data, data, data);
    EXPECT_EQ(data[0], 1.0f);

    // A missing auxiliary array is reported, but the transform is made.
    for (int missing = 0; missing < 2; ++missing) {
        float impulse[258] = {1};
        EXPECT_EQ(printed_by([&] {
                      fft_rdft(&fft.context, 256, 1, impulse, missing == 0 ? nullptr : data,
                               missing == 1 ? nullptr : data);
                  }).substr(0, null_input.size()),
                  null_input);
        for (int k = 0; k <= 128; ++k)
            EXPECT_EQ(impulse[2 * k] + 10 * impulse[2 * k + 1], 1.0f);
    }
    EXPECT_NE(printed_by([&] { fft_rdft(&fft.context, 256, -1, nullptr, data, data); }), "");
    fft_free(&fft.context);
    EXPECT_EQ(fft.context.fft_inited, 0);

    fft.context.fft_cfg = nullptr;
    EXPECT_EQ(printed_by([&] { fft_init(&fft.context); }),
              "[FFT] Please assigned the begining address about FFT workingbuffer in Init.\n");
    EXPECT_EQ(printed_by([&] { fft_rdft(&fft.context, 256, 1, data, data, data); }),
              null_input + "(nil) is NULL in fft_rdft\n");
    size_t needed = 0; // a region that is too small is left alone; the promised one is not
    for (; needed <= fft_get_buffer_size(256); needed += 4) {
        const auto region = std::make_unique<char[]>(needed);
        if (fft_backend_build(region.get(), needed, 256) != nullptr)
            break;
    }
    EXPECT_GE(needed, 2u * 256 * sizeof(float));
    EXPECT_LE(needed, fft_get_buffer_size(256) - 4);
    for (const int32_t points : {0, -2, 1, 100, 257, 512, INT32_MIN}) {
        Transform odd(0, points);
        EXPECT_EQ(printed_by([&] { fft_init(&odd.context); }), "[Audio] memory malloc failed\n");
        EXPECT_EQ(odd.context.fft_cfg, nullptr);
        EXPECT_EQ(odd.context.fft_inited, 0);
    }
}

TEST(Math, ArrayOperationsElementByElement)
{
    for (const uint32_t n : {0u, 3u, 4u, 11u}) {
        float a[12], b[12], out[12], dot = 1;
        for (uint32_t i = 0; i < 12; ++i) {
            a[i] = 0.5f + static_cast<float>(i);
            b[i] = 2.0f - static_cast<float>(i) / 8;
        }
        double sum = 0;
        for (uint32_t i = 0; i < n; ++i)
            sum += double{a[i]} * double{b[i]};
        EXPECT_EQ(math_dot(a, b, &dot, n), 0);
        EXPECT_NEAR(dot, sum, 1e-5);
        const struct {
            std::function<int32_t()> work;
            double (*expected)(double, double);
        } rows[] = {
            {[&] { return math_exp(b, out, n); }, [](double, double y) { return std::exp(y); }},
            {[&] { return math_sin(a, out, n); }, [](double x, double) { return std::sin(x); }},
            {[&] { return math_sqrt(a, out, n); }, [](double x, double) { return std::sqrt(x); }},
            {[&] { return math_log10(a, out, n); }, [](double x, double) { return std::log10(x); }},
            {[&] { return math_pow(a, b, out, n); },
             [](double x, double y) { return std::pow(x, y); }},
            {[&] { return math_multiply(a, b, out, n); }, [](double x, double y) { return x * y; }},
            {[&] {
                 vector_scale(b, out, n, 3);
                 return 0;
             },
             [](double, double y) { return 3 * y; }},
            {[&] {
                 std::memcpy(out, a, sizeof a);
                 out[n] = 77;
                 return math_scale(out, n, -2);
             },
             [](double x, double) { return -2 * x; }},
            {[&] { return math_fill(out, n, 7); }, [](double, double) { return 7.0; }},
        };
        for (const auto &row : rows) {
            out[n] = 77;
            EXPECT_EQ(row.work(), 0);
            for (uint32_t i = 0; i < n; ++i)
                EXPECT_NEAR(out[i], row.expected(double{a[i]}, double{b[i]}),
                            1e-5 * std::fabs(out[i]) + 1e-6);
            EXPECT_EQ(out[n], 77.0f);
        }
    }
    // The order of the sum: lanes first. 2^24 swallows a lone 1, but not two of one lane.
    const float ones[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    const float big[9] = {16777216, 1, 0, 0, 0, 1, 0, 0, 4};
    float dot = 0;
    math_dot(ones, big, &dot, 9);
    EXPECT_EQ(dot, 16777222.0f);
}

} // namespace
