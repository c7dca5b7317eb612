// SPDX-License-Identifier: MIT
// mirror_image.cpp - multiplies each bin by the bin of its image. If one is an image of the other,
// the phase of the product is given by the old sampling instants: the same in all windows and in
// both channels. For independent sounds it is random. Tones whose frequency divides the old rate
// have a constant phase, too, but also between the bins of different windows.
//
// The difference of the two, measured over 2.2 s: at most 0.03 in 281 pieces of speech, music and
// recordings, also after lossy compression. Up to 0.23 in sawtooths and pulses of 60 Hz and more
// that are locked to the sampling clock, and up to 0.7 in lower ones. At least 0.70 in sound
// upsampled from 8 kHz, 0.5 if its rms is 50 steps of 16 bits; below 20 steps, rounding hides it.

#include "input/mirror_image.h"

#include <cmath>

#include "base/pi.h"

namespace {

constexpr double kFound = 0.25;
constexpr double kFirst = 0.4; // of the edge; images of lower frequencies are weak
constexpr double kLast = 0.94; // of the edge; above, the window mixes bin and image

std::complex<double> phase_of(const kiss_fft_cpx &bin)
{
    const std::complex<double> value(bin.r, bin.i);
    const double size = std::sqrt(std::norm(value)); // std::abs takes far longer
    return size > 0.0 ? value / size : 0.0;
}

} // namespace

MirrorImage::MirrorImage(int rate, size_t length, int edge) : rate_(rate), sampled_at_(2 * edge)
{
    const double bins_per_hz = static_cast<double>(length) / rate;
    first_ = static_cast<size_t>(std::ceil(kFirst * edge * bins_per_hz));
    mirror_ = static_cast<size_t>(std::lround(sampled_at_ * bins_per_hz));
    const auto last = static_cast<size_t>(kLast * edge * bins_per_hz);
    same_window_.resize(last - first_ + 1);
    other_window_.resize(same_window_.size());
    for (auto &above : above_)
        above.resize(same_window_.size());
}

void MirrorImage::add(size_t channel, size_t start, const std::vector<kiss_fft_cpx> &spectrum)
{
    // The place of the window's start between two old sampling instants.
    const size_t turn = start % static_cast<size_t>(rate_) * static_cast<size_t>(sampled_at_) %
                        static_cast<size_t>(rate_);
    const std::complex<double> back =
        std::polar(1.0, -2.0 * kPi * static_cast<double>(turn) / rate_);
    for (size_t i = 0; i < same_window_.size(); ++i) {
        const std::complex<double> below = phase_of(spectrum[first_ + i]) * back;
        std::complex<double> &before = above_[channel][i];
        const std::complex<double> above = phase_of(spectrum[mirror_ - first_ - i]);
        same_window_[i] += below * above;
        other_window_[i] += below * before;
        before = above;
    }
    ++spectra_;
}

// 1 if the phase is always the same.
double MirrorImage::coherence(const Sums &sums) const
{
    double sum = 0.0;
    for (const std::complex<double> &bin : sums)
        sum += std::abs(bin);
    return sum / static_cast<double>(sums.size() * spectra_);
}

bool MirrorImage::is_found() const
{
    return spectra_ > 0 && coherence(same_window_) - coherence(other_window_) > kFound;
}
