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

#include <cmath>
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
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

TEST(Fft, EqualsTheDefinitionInDouble)
{
    EXPECT_EQ(fft_get_buffer_size(256), 6028u);
    // At every alignment of 4 bytes: the region need not be aligned to 8.
    for (const size_t shift : {size_t{0}, size_t{4}}) {
        Transform fft(shift);
        fft_init(&fft.context);
        ASSERT_EQ(fft.context.fft_inited, 1);
        float input[258] = {}, data[258];
        const std::vector<int16_t> noise = delayed_noise(5, 1, 1, 30000);
        for (int n = 0; n < 256; ++n)
            input[n] = static_cast<float>(noise[static_cast<size_t>(n)]) / 32768;
        input[256] = input[257] = 99; // not part of the input
        std::memcpy(data, input, sizeof data);
        fft.forward(data);
        double signal = 0, error = 0;
        for (int k = 0; k <= 128; ++k) {
            std::complex<double> bin = 0;
            for (int n = 0; n < 256; ++n)
                bin += double{input[n]} * std::polar(1.0, -2 * kTruePi * k * n / 256);
            signal += std::norm(bin);
            error += std::norm(bin - std::complex<double>(data[2 * k], data[2 * k + 1]));
        }
        EXPECT_GT(10 * std::log10(signal / error), 120) << "dB of signal to error";
        EXPECT_EQ(data[1], 0.0f);
        EXPECT_EQ(data[257], 0.0f);
        // And back, with the scale of the first sample.
        fft.inverse(data);
        const float scale = data[0] / input[0];
        EXPECT_GT(scale, 0.9f);
        for (int n = 0; n < 256; ++n)
            EXPECT_NEAR(data[n] / scale, input[n], 1e-6);
        EXPECT_EQ(data[256], 0.0f);
        EXPECT_EQ(data[257], 0.0f);
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
