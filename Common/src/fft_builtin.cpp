// SPDX-License-Identifier: MIT
// fft_builtin.cpp - a real FFT of 256 points that gives the same bits on every machine, with every
// compiler and at every optimisation level, because the order of its operations is fixed.
//
// Real from complex: 256 real samples x are read as 128 complex ones, z[n] = x[2n] + i x[2n + 1],
// which have a complex transform Z. The transforms of the even and of the odd samples follow from
// Z[k] and conj(Z[128 - k]), and from them the spectrum X (W. H. Press et al., "Numerical Recipes
// in C", 2nd ed. 1992, section 12.3).
//
// The complex transform is a Stockham autosort in four steps of radix 4, 4, 4 and 2 (C. Van Loan,
// "Computational Frameworks for the Fast Fourier Transform", 1992, section 1.7). Each step reads
// one array and writes another, in such an order that the last step leaves the bins in order. No
// bit reversal is needed, and neighbours stay neighbours, so that four lanes can work side by side.
//
// W(n, m) below is exp(-2 pi i m / n).

#include "fft_backend.h"
#include "fft_region.h"
#include "fft_twiddles.h"
#include "four_complex.h"

#include <cstdint>

namespace {

constexpr uint32_t kPoints = 256;
constexpr uint32_t kBins = kPoints / 2; // of the complex transform

// Real and imaginary parts are separate, so that lanes hold the same part of neighbours.
struct Bins {
    alignas(16) float re[kBins];
    alignas(16) float im[kBins];
};

// The plan is memory for the steps; the twiddle factors are constant tables.
struct Plan {
    Bins a;
    Bins b;
};

// ---- Bins four at a time --------------------------------------------------------------------

// Load from and store to separate parts; `at` is a multiple of four.
template <typename Parts>
inline FourComplex load(const Parts &from, uint32_t at)
{
    return {load_aligned(from.re + at), load_aligned(from.im + at)};
}

inline void store(Bins &to, uint32_t at, FourComplex bins)
{
    store_aligned(to.re + at, bins.re);
    store_aligned(to.im + at, bins.im);
}

// ---- The complex transform of 128 points ----------------------------------------------------
//
// A step of radix r joins the transforms of r sequences into one that is r times as long. With
// `length` for the length so far, input k of sequence j at bin q lies at
//     k (128 / r) + j length + q,
// is multiplied by W(r length, k q), and output i lies at
//     j r length + i length + q.

// The transform of four points: sum over k of x[k] W(4, i k), which takes no product.
struct Quartet {
    FourComplex x[4];
};

inline Quartet transform_of_four(FourComplex x0, FourComplex x1, FourComplex x2, FourComplex x3)
{
    const FourComplex even_sum = x0 + x2;
    const FourComplex even_difference = x0 - x2;
    const FourComplex odd_sum = x1 + x3;
    const FourComplex odd_difference = times_minus_i(x1 - x3);
    return {{even_sum + odd_sum, even_difference + odd_difference, even_sum - odd_sum,
             even_difference - odd_difference}};
}

// Radix 4 at length 1, without twiddle factors. The four lanes are four j here, so rows become
// columns.
void first_step(const float *samples, Bins &out)
{
    constexpr uint32_t kQuarter = kBins / 4;
    for (uint32_t j = 0; j < kQuarter; j += kLanes) {
        Quartet y = transform_of_four(load_zipped(samples + 2 * j),
                                      load_zipped(samples + 2 * (kQuarter + j)),
                                      load_zipped(samples + 2 * (2 * kQuarter + j)),
                                      load_zipped(samples + 2 * (3 * kQuarter + j)));
        transpose(y.x[0].re, y.x[1].re, y.x[2].re, y.x[3].re);
        transpose(y.x[0].im, y.x[1].im, y.x[2].im, y.x[3].im);
        for (uint32_t i = 0; i < 4; ++i)
            store(out, 4 * (j + i), y.x[i]);
    }
}

// Radix 4 at length 4 and more; `twiddles` are W(4 length, k q). The four lanes are four q.
template <uint32_t Length>
void middle_step(const FftTwiddles<Length> (&twiddles)[3], const Bins &in, Bins &out)
{
    constexpr uint32_t kQuarter = kBins / 4;
    for (uint32_t j = 0; j < kQuarter; j += Length) {
        for (uint32_t q = 0; q < Length; q += kLanes) {
            const Quartet y =
                transform_of_four(load(in, j + q), //
                                  load(in, kQuarter + j + q) * load(twiddles[0], q),
                                  load(in, 2 * kQuarter + j + q) * load(twiddles[1], q),
                                  load(in, 3 * kQuarter + j + q) * load(twiddles[2], q));
            for (uint32_t i = 0; i < 4; ++i)
                store(out, 4 * j + i * Length + q, y.x[i]);
        }
    }
}

// Radix 2 at length 64. Writes the bins in the caller's layout, or their conjugates.
template <bool Conjugate>
void last_step(const Bins &in, float *out)
{
    constexpr uint32_t kHalf = kBins / 2;
    for (uint32_t q = 0; q < kHalf; q += kLanes) {
        const FourComplex even = load(in, q);
        const FourComplex odd = load(in, kHalf + q) * load(FftTwiddles128, q);
        const FourComplex low = even + odd;
        const FourComplex high = even - odd;
        store_zipped(out + 2 * q, Conjugate ? conjugate(low) : low);
        store_zipped(out + 2 * (kHalf + q), Conjugate ? conjugate(high) : high);
    }
}

template <bool Conjugate>
void transform_complex(Plan &plan, const float *in, float *out)
{
    first_step(in, plan.a);
    middle_step(FftTwiddles16, plan.a, plan.b);
    middle_step(FftTwiddles64, plan.b, plan.a);
    last_step<Conjugate>(plan.a, out);
}

// ---- Real from complex ----------------------------------------------------------------------
//
// With m = 128 - k, E = (Z[k] + conj(Z[m])) / 2 is the transform of the even samples, and
// O = (Z[k] - conj(Z[m])) / 2i that of the odd ones. Then
//     X[k] = E + W(256, k) O  and  conj(X[m]) = E - W(256, k) O.
//
// The inverse uses the same steps. An inverse transform is the conjugate of the forward transform
// of the conjugate, and applied to conj(X) instead of Z these sums give conj(Z), halved. Without
// the division by 2, forward and inverse together give 256 times the samples.

enum Way { kToSpectrum, kToSamples };

// In place, the bins k = 1 ... 127; k = 64 is its own partner.
template <Way Going>
void join_partners(float *bins)
{
    for (uint32_t k = 1; k <= kBins / 2; k += kLanes) {
        const uint32_t m = kBins - k - (kLanes - 1); // the partners, last first
        const FourComplex at_k = load_zipped(bins + 2 * k);
        const FourComplex at_m = reversed(load_zipped(bins + 2 * m));
        const FourComplex z_k = Going == kToSpectrum ? at_k : conjugate(at_k);
        const FourComplex z_m_conjugate = Going == kToSpectrum ? conjugate(at_m) : at_m;
        const FourComplex even = z_k + z_m_conjugate;
        const FourComplex odd = times_minus_i((z_k - z_m_conjugate) * load(FftTwiddles256, k - 1));
        const float scale = Going == kToSpectrum ? 0.5f : 1.0f;
        store_zipped(bins + 2 * k, (even + odd) * scale);
        store_zipped(bins + 2 * m, reversed(conjugate(even - odd) * scale));
    }
}

} // namespace

void fft_backend_start()
{
}

void *fft_backend_build(void *region, size_t bytes, int32_t points)
{
    FftRegion rest = {static_cast<char *>(region), bytes};
    return points == int32_t{kPoints} ? fft_take(rest, sizeof(Plan), alignof(Plan)) : nullptr;
}

void fft_backend_forward(void *plan, float *samples, float *spectrum)
{
    transform_complex<false>(*static_cast<Plan *>(plan), samples, spectrum);
    join_partners<kToSpectrum>(spectrum);
    // Z[0] is the sum of the even samples and, as its imaginary part, that of the odd ones.
    const float even = spectrum[0];
    const float odd = spectrum[1];
    spectrum[0] = even + odd;
    spectrum[1] = 0.0f;
    spectrum[kPoints] = even - odd;
    spectrum[kPoints + 1] = 0.0f;
}

void fft_backend_inverse(void *plan, float *spectrum, float *samples)
{
    const float first = spectrum[0];
    const float last = spectrum[kPoints];
    spectrum[0] = first + last;
    spectrum[1] = last - first; // of the conjugate
    join_partners<kToSamples>(spectrum);
    transform_complex<true>(*static_cast<Plan *>(plan), spectrum, samples);
}
