// SPDX-License-Identifier: MIT
// textbook.cpp - radix-2 transforms, the phase transform and the largest value, one after another.

#include "textbook.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

namespace {

using Complex = std::complex<double>;

// J. W. Cooley and J. W. Tukey, "An algorithm for the machine calculation of complex Fourier
// series", Math. Comp. 19, 1965: halves, then halves of halves.
void transform(std::vector<Complex> &x, double sign)
{
    constexpr double kPi = 3.14159265358979324;
    const size_t half = x.size() / 2;
    if (half == 0)
        return;
    std::vector<Complex> even(half);
    std::vector<Complex> odd(half);
    for (size_t n = 0; n < half; ++n) {
        even[n] = x[2 * n];
        odd[n] = x[2 * n + 1];
    }
    transform(even, sign);
    transform(odd, sign);
    for (size_t k = 0; k < half; ++k) {
        const double angle = sign * kPi * static_cast<double>(k) / static_cast<double>(half);
        const Complex turned = std::polar(1.0, angle) * odd[k];
        x[k] = even[k] + turned;
        x[k + half] = even[k] - turned;
    }
}

} // namespace

int textbook_delay(const int16_t *samples, int pairs, int largest_lag)
{
    const auto length = 2 * static_cast<size_t>(pairs);
    std::vector<Complex> x0(length);
    std::vector<Complex> x1(length);
    for (size_t n = 0; n < length / 2; ++n) {
        x0[n] = samples[2 * n];
        x1[n] = samples[2 * n + 1];
    }
    transform(x0, -1.0);
    transform(x1, -1.0);
    for (size_t k = 0; k < length; ++k) {
        const Complex cross = x0[k] * std::conj(x1[k]);
        x0[k] = cross / (std::abs(cross) + 1e-9);
    }
    transform(x0, 1.0);
    int best = 0;
    double peak = -HUGE_VAL;
    for (int lag = -largest_lag; lag <= largest_lag; ++lag) {
        const size_t index =
            lag < 0 ? length - static_cast<size_t>(-lag) : static_cast<size_t>(lag);
        const double value = x0[index].real();
        if (value > peak) {
            peak = value;
            best = lag;
        }
    }
    return best;
}
