// SPDX-License-Identifier: MIT
// mirror_image.h - whether the sound above an edge is only a mirror image of the sound below it.
// Plain interpolation to a higher rate leaves one: repeated samples, or lines or cubics between
// samples.

#ifndef EZOSSL_TOOL_MIRROR_IMAGE_H
#define EZOSSL_TOOL_MIRROR_IMAGE_H

#include <complex>
#include <cstddef>
#include <vector>

#include <kiss_fftr.h>

#include "base/frame.h"

class MirrorImage
{
public:
    // The spectra have length / 2 + 1 bins up to half the rate; the edge in Hz is at most half of
    // that.
    MirrorImage(int rate, size_t length, int edge);

    // Adds a channel's spectrum of the window that starts this many samples after the first window.
    void add(size_t channel, size_t start, const std::vector<kiss_fft_cpx> &spectrum);

    bool is_found() const;
    int edge() const { return sampled_at_ / 2; }

private:
    using Sums = std::vector<std::complex<double>>;

    double coherence(const Sums &sums) const;

    int rate_;
    int sampled_at_; // Hz, before the rate was raised
    size_t first_;
    size_t mirror_;    // bin k has its image in bin mirror_ - k
    Sums same_window_; // of each bin from first_ on
    Sums other_window_;
    std::vector<std::complex<double>> above_[EZOSSL_MIC_COUNT]; // phases of the previous window
    size_t spectra_ = 0;
};

#endif
