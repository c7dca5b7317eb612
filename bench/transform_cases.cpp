// SPDX-License-Identifier: MIT
// transform_cases.cpp - the library's transform of 256 real points, and those of other libraries
// where they are installed: forward and inverse, in place as in a frame.

#include "cases.h"

#include <algorithm>
#include <array>
#include <memory>
#include <random>

#include "SslCore.h"
#include "instance.h"

#ifdef EZOSSL_BENCH_KISSFFT
#include <kiss_fftr.h>
#endif
#ifdef EZOSSL_BENCH_FFTW
#include <fftw3.h>
#endif
#ifdef EZOSSL_BENCH_NE10
#include <ne10/NE10.h>
#endif

namespace {

constexpr int kPoints = kFftLength;

// Room for samples and a half spectrum, aligned for every library.
struct Arrays {
    alignas(64) std::array<float, kSpectrumFloats> samples;
    alignas(64) std::array<float, kSpectrumFloats> spectrum;
};

// Noise, used as samples and as a spectrum: its transforms stay small.
std::shared_ptr<Arrays> noise()
{
    auto arrays = std::make_shared<Arrays>();
    std::mt19937 random(1);
    const auto draw = [&random] { return static_cast<float>(random() % 2001) / 1000.0f - 1.0f; };
    std::generate(arrays->samples.begin(), arrays->samples.end(), draw);
    std::generate(arrays->spectrum.begin(), arrays->spectrum.end(), draw);
    return arrays;
}

template <FftDirection direction>
Call own()
{
    const auto instance = std::make_shared<Instance>(0, 16000);
    return [instance, source = noise(), data = noise()] {
        data->samples = source->samples;
        SslHandle *const handle = instance->handle();
        fft_rdft(&handle->fft, kPoints, direction, data->samples.data(), handle->fft_aux_a,
                 handle->fft_aux_b);
    };
}

#ifdef EZOSSL_BENCH_KISSFFT
template <bool is_inverse>
Call kiss_fft()
{
    const std::shared_ptr<kiss_fftr_state> plan(
        kiss_fftr_alloc(kPoints, is_inverse ? 1 : 0, nullptr, nullptr), kiss_fftr_free);
    return [plan, data = noise()] {
        auto *const spectrum = reinterpret_cast<kiss_fft_cpx *>(data->spectrum.data());
        if constexpr (is_inverse)
            kiss_fftri(plan.get(), spectrum, data->samples.data());
        else
            kiss_fftr(plan.get(), data->samples.data(), spectrum);
    };
}
#endif

#ifdef EZOSSL_BENCH_FFTW
template <bool is_inverse>
Call fftw()
{
    const auto data = noise();
    auto *const spectrum = reinterpret_cast<fftwf_complex *>(data->spectrum.data());
    float *const samples = data->samples.data();
    const std::shared_ptr<fftwf_plan_s> plan(
        is_inverse
            ? fftwf_plan_dft_c2r_1d(kPoints, spectrum, samples, FFTW_MEASURE | FFTW_PRESERVE_INPUT)
            : fftwf_plan_dft_r2c_1d(kPoints, samples, spectrum, FFTW_MEASURE),
        fftwf_destroy_plan);
    *data = *noise(); // planning overwrites
    return [plan, data] { fftwf_execute(plan.get()); };
}
#endif

#ifdef EZOSSL_BENCH_NE10
template <bool is_inverse>
Call ne10()
{
    ne10_init();
    const std::shared_ptr<ne10_fft_r2c_state_float32_t> plan(
        ne10_fft_alloc_r2c_float32(kPoints),
        [](auto *state) { ne10_fft_destroy_r2c_float32(state); });
    return [plan, data = noise()] {
        auto *const spectrum = reinterpret_cast<ne10_fft_cpx_float32_t *>(data->spectrum.data());
        if constexpr (is_inverse)
            ne10_fft_c2r_1d_float32_neon(data->samples.data(), spectrum, plan.get());
        else
            ne10_fft_r2c_1d_float32_neon(spectrum, data->samples.data(), plan.get());
    };
}
#endif

} // namespace

const std::vector<Case> kTransformCases = {
    {"forward/own", own<kFftForward>},     {"inverse/own", own<kFftInverse>},
#ifdef EZOSSL_BENCH_KISSFFT
    {"forward/kiss_fft", kiss_fft<false>}, {"inverse/kiss_fft", kiss_fft<true>},
#endif
#ifdef EZOSSL_BENCH_FFTW
    {"forward/fftw", fftw<false>},         {"inverse/fftw", fftw<true>},
#endif
#ifdef EZOSSL_BENCH_NE10
    {"forward/ne10", ne10<false>},         {"inverse/ne10", ne10<true>},
#endif
};
