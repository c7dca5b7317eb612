// SPDX-License-Identifier: MIT
// pair_correlation.cpp - the smoothed coherence transform: the cross power spectrum, averaged over
// the frames of a segment, each bin divided by the root of the two power spectra (G. C. Carter, A.
// H. Nuttall and P. G. Cable, "The smoothed coherence transform", Proc. IEEE 61, 1973). Bins
// without common sound count little, however loud they are.

#include "diagnosis/pair_correlation.h"

#include <algorithm>
#include <cmath>
#include <complex>

#include "base/real_transform.h"
#include "base/sample_format.h"

namespace {

constexpr double kLeastFrameSeconds = 0.17; // four times the longest lag of about 40 ms
constexpr double kLowestHz = 100.0;         // excludes offsets, hum and wind
// In standard deviations. In measurements unrelated voices reached 9, recordings in a large hall
// 13.
constexpr double kCommonSound = 10.0;

// Power and cross power spectra, summed over frames.
struct SpectrumSums {
    explicit SpectrumSums(size_t bins) : cross(bins), power0(bins), power1(bins) {}

    void add(const std::vector<kiss_fft_cpx> &x0, const std::vector<kiss_fft_cpx> &x1)
    {
        for (size_t k = 0; k < cross.size(); ++k) {
            const std::complex<double> a(x0[k].r, x0[k].i);
            const std::complex<double> b(x1[k].r, x1[k].i);
            cross[k] += a * std::conj(b);
            power0[k] += std::norm(a);
            power1[k] += std::norm(b);
        }
    }

    std::vector<std::complex<double>> cross;
    std::vector<double> power0;
    std::vector<double> power1;
};

class SegmentCorrelator
{
public:
    SegmentCorrelator(const std::vector<int16_t> &samples, int rate)
        : samples_(samples), length_(static_cast<size_t>(correlation_length(rate))),
          lowest_bin_(static_cast<size_t>(kLowestHz * static_cast<double>(length_) / rate) + 1),
          window_(hann_window(length_)), forward_(length_, false), inverse_(length_, true)
    {
    }

    // Values by lag: 0 first, the negative lags at the end.
    std::vector<float> correlate(size_t start, size_t end) const
    {
        const size_t bins = length_ / 2 + 1;
        SpectrumSums sums(bins);
        std::vector<kiss_fft_cpx> spectrum[2] = {std::vector<kiss_fft_cpx>(bins),
                                                 std::vector<kiss_fft_cpx>(bins)};
        for (size_t frame = start; frame + length_ <= end; frame += length_ / 2) {
            transform(frame, 0, spectrum[0]);
            transform(frame, 1, spectrum[1]);
            sums.add(spectrum[0], spectrum[1]);
        }
        return to_lags(sums);
    }

private:
    void transform(size_t frame, size_t channel, std::vector<kiss_fft_cpx> &spectrum) const
    {
        std::vector<float> windowed(length_);
        for (size_t n = 0; n < length_; ++n)
            windowed[n] = window_[n] * static_cast<float>(samples_[2 * (frame + n) + channel]);
        forward_.forward(windowed, spectrum);
    }

    std::vector<float> to_lags(const SpectrumSums &sums) const
    {
        // The positive and the negative frequency of every bin that is used.
        const double scale =
            1.0 / (static_cast<double>(length_) - 2.0 * static_cast<double>(lowest_bin_));
        std::vector<kiss_fft_cpx> coherence(sums.cross.size());
        for (size_t k = lowest_bin_; k + 1 < coherence.size(); ++k) {
            const double power = std::sqrt(sums.power0[k] * sums.power1[k]);
            const auto value = power > 0.0 ? sums.cross[k] * (scale / power) : 0.0;
            coherence[k].r = static_cast<float>(value.real());
            coherence[k].i = static_cast<float>(value.imag());
        }
        std::vector<float> values(length_);
        inverse_.inverse(coherence, values);
        return values;
    }

    const std::vector<int16_t> &samples_;
    const size_t length_;
    const size_t lowest_bin_;
    const std::vector<float> window_;
    const RealTransform forward_;
    const RealTransform inverse_;
};

// Refines the lag to a fraction of a sample by the parabola through the extreme and its neighbours.
Extreme extreme_at(const std::vector<float> &values, std::ptrdiff_t lag)
{
    const auto length = static_cast<std::ptrdiff_t>(values.size());
    const auto at = [&](std::ptrdiff_t l) {
        return double{values[static_cast<size_t>((l + length) % length)]};
    };
    const double bend = at(lag - 1) - 2.0 * at(lag) + at(lag + 1);
    const double beside = bend == 0.0 ? 0.0 : 0.5 * (at(lag - 1) - at(lag + 1)) / bend;
    return {at(lag), static_cast<double>(lag) + beside};
}

// For Gaussian values the median of the magnitude is 0.6745 standard deviations. Common sound
// affects few lags, so it hardly changes the median.
double noise_of(std::vector<float> values)
{
    for (float &value : values)
        value = std::fabs(value);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return double{*middle} / 0.6745;
}

SegmentCorrelation describe(const std::vector<float> &values, double middle)
{
    const auto length = static_cast<std::ptrdiff_t>(values.size());
    std::ptrdiff_t highest = 0;
    std::ptrdiff_t lowest = 0;
    const auto at = [&](std::ptrdiff_t lag) {
        return values[static_cast<size_t>((lag + length) % length)];
    };
    for (std::ptrdiff_t lag = -length / 4; lag <= length / 4; ++lag) {
        highest = at(lag) > at(highest) ? lag : highest;
        lowest = at(lag) < at(lowest) ? lag : lowest;
    }
    return {middle, extreme_at(values, highest), extreme_at(values, lowest), noise_of(values)};
}

double mean_power(const std::vector<int16_t> &samples, size_t start, size_t end)
{
    double sum = 0.0;
    for (size_t i = 2 * start; i < 2 * end; ++i)
        sum += (samples[i] / kFullScale) * (samples[i] / kFullScale);
    return sum / static_cast<double>(2 * (end - start));
}

} // namespace

bool SegmentCorrelation::has_common_sound() const
{
    return std::fabs(strongest().value) > kCommonSound * noise;
}

int correlation_length(int rate)
{
    int length = 1024;
    while (length < kLeastFrameSeconds * rate)
        length *= 2;
    return length;
}

std::vector<SegmentCorrelation> correlate_segments(const std::vector<int16_t> &samples, int rate,
                                                   double least_power)
{
    const SegmentCorrelator correlator(samples, rate);
    const auto segment = static_cast<size_t>(kSegmentSeconds * rate);
    std::vector<SegmentCorrelation> result;
    for (size_t start = 0; start + segment <= samples.size() / 2; start += segment / 2) {
        if (mean_power(samples, start, start + segment) <= least_power)
            continue;
        const double middle =
            (static_cast<double>(start) + 0.5 * static_cast<double>(segment)) / rate;
        result.push_back(describe(correlator.correlate(start, start + segment), middle));
    }
    return result;
}
