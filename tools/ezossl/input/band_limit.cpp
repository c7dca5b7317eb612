// SPDX-License-Identifier: MIT
// band_limit.cpp - compares the power just below a possible edge with the power above it. In dull
// sound it falls gradually, at a band limit abruptly: by at most 35 dB in 641 wide-band recordings,
// by at least 41 dB in 320 that were resampled from 8 kHz. Faint recordings of these are an
// exception, but rounding to 16 bits fills their upper band with noise, so their angles are right.
// Of long sound only some windows are analysed, which saves time and suffices for a mean over
// minutes.

#include "input/band_limit.h"

#include <cmath>
#include <complex>

#include "base/sample_format.h"
#include "base/text.h"

namespace {

constexpr double kBinWidth = 62.5;     // Hz, about
constexpr double kEmptyDb = -38.0;     // power above the edge, relative to that just below it
constexpr double kLeastSeconds = 2.0;  // of sound
constexpr double kDenseSeconds = 10.0; // of sound in which every window counts; later, fewer do
constexpr size_t kSparse = 13;
constexpr double kSettledSeconds = 30.0; // of sound
constexpr double kSettledDb = -28.0;     // like kEmptyDb
constexpr double kSilence = 1e-8;        // mean square, full scale 1: the library's lowest gate
constexpr int kEdges[] = {4000, 8000};   // Hz: half of the library's rates of 8000 and 16000

size_t transform_length(int rate)
{
    size_t length = 1;
    while (static_cast<double>(length) * kBinWidth < rate)
        length *= 2;
    return length;
}

} // namespace

BandLimit::BandLimit(int rate)
    : rate_(rate), length_(transform_length(rate)), transform_(length_, false),
      window_(hann_window(length_)), windowed_(length_), spectrum_(length_ / 2 + 1),
      power_(length_ / 2 + 1)
{
    for (const int edge : kEdges) {
        if (4 * edge <= rate)
            images_.emplace_back(rate, length_, edge);
    }
}

void BandLimit::add(const Frame &frame)
{
    if (unseen_frames_ > 0) {
        --unseen_frames_;
        return;
    }
    samples_.insert(samples_.end(), std::begin(frame), std::end(frame));
    if (samples_.size() < length_ * EZOSSL_MIC_COUNT)
        return;
    const size_t weight = heard_ < kDenseSeconds ? 1 : kSparse;
    double energy = 0.0;
    for (const double sample : samples_)
        energy += sample * sample / (kFullScale * kFullScale);
    const bool is_heard = energy / static_cast<double>(samples_.size()) > kSilence;
    for (size_t channel = 0; channel < EZOSSL_MIC_COUNT; ++channel) {
        transform_channel(channel);
        add_spectrum(static_cast<double>(weight));
        for (MirrorImage &image : images_) {
            if (is_heard && weight == 1)
                image.add(channel, windows_ * length_, spectrum_);
        }
    }
    if (is_heard)
        heard_ += static_cast<double>(weight * length_) / rate_;
    ++windows_;
    samples_.clear();
    unseen_frames_ = (weight - 1) * length_ / EZOSSL_FRAME_LENGTH;
    is_settled_ = heard_ >= kSettledSeconds && !edge_below(kSettledDb);
}

void BandLimit::transform_channel(size_t channel)
{
    for (size_t n = 0; n < length_; ++n)
        windowed_[n] = window_[n] * static_cast<float>(samples_[EZOSSL_MIC_COUNT * n + channel]);
    transform_.forward(windowed_, spectrum_);
}

void BandLimit::add_spectrum(double weight)
{
    for (size_t k = 0; k < power_.size(); ++k)
        power_[k] += weight * std::norm(std::complex<double>(spectrum_[k].r, spectrum_[k].i));
}

double BandLimit::mean_power(double from, double to) const
{
    const double bin = static_cast<double>(rate_) / static_cast<double>(length_);
    const auto first = static_cast<size_t>(std::ceil(from / bin));
    const auto last = static_cast<size_t>(to / bin);
    double sum = 0.0;
    for (size_t k = first; k <= last; ++k)
        sum += power_[k];
    return sum / static_cast<double>(last - first + 1);
}

std::optional<int> BandLimit::edge() const
{
    return heard_ < kLeastSeconds ? std::nullopt : edge_below(kEmptyDb);
}

// The edge above which the power relative to that just below is less than `db`, or is an image.
std::optional<int> BandLimit::edge_below(double db) const
{
    for (const MirrorImage &image : images_) {
        const int edge = image.edge();
        const double below = mean_power(0.75 * edge, 0.875 * edge);
        const double above = mean_power(1.1 * edge, 1.9 * edge);
        if (above < below * std::pow(10.0, db / 10.0) || image.is_found())
            return edge;
    }
    return std::nullopt;
}

std::string band_limit_text(int edge)
{
    return format_text("no sound of its own above %d kHz", edge / 1000);
}
