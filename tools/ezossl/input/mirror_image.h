// SPDX-License-Identifier: MIT
// mirror_image.h - whether the sound above an edge is but a mirror image of the sound below it. A
// program or a driver leaves one where it raises the rate by plain interpolation: by repeating
// samples, or by joining them with lines or cubics.

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
    // Of spectra with length / 2 + 1 bins up to half the rate; the edge in Hz is at most half of
    // that.
    MirrorImage(int rate, size_t length, int edge);

    // The spectrum of a channel in a window, which starts this many samples after the first one.
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
    std::vector<std::complex<double>> above_[EZOSSL_MIC_COUNT]; // phases of the window before
    size_t spectra_ = 0;
};

#endif
