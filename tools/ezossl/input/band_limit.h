// SPDX-License-Identifier: MIT
// band_limit.h - whether the spectrum of a sound ends far below half its rate, as after a telephone
// line or upsampling. The library gives every bin of its transform the same weight, so bins without
// sound of their own draw the angle towards 0.

#ifndef EZOSSL_TOOL_BAND_LIMIT_H
#define EZOSSL_TOOL_BAND_LIMIT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <kiss_fftr.h>

#include "base/frame.h"
#include "base/real_transform.h"
#include "input/mirror_image.h"

// The long-term spectrum of both channels, in constant memory.
class BandLimit
{
public:
    explicit BandLimit(int rate); // Hz, of the frames

    void add(const Frame &frame);

    // Frequency in Hz above which there is no sound, or only the image of the sound below. Nothing
    // if there is sound up to half the rate, or too little sound to tell.
    std::optional<int> edge() const;
    // Whether half a minute had so much sound above every edge that more is unlikely to show one.
    bool is_settled() const { return is_settled_; }

private:
    void transform_channel(size_t channel);
    void add_spectrum(double weight);
    std::optional<int> edge_below(double db) const;
    double mean_power(double from, double to) const; // of the bins between two frequencies in Hz

    int rate_;
    size_t length_; // of the transform
    RealTransform transform_;
    std::vector<float> window_;
    std::vector<int16_t> samples_; // pairs, until they fill a window
    std::vector<float> windowed_;
    std::vector<kiss_fft_cpx> spectrum_;
    std::vector<double> power_; // of each bin, summed
    std::vector<MirrorImage> images_;
    size_t windows_ = 0;       // counted before the first one is skipped
    double heard_ = 0.0;       // seconds above silence
    size_t unseen_frames_ = 0; // to skip before the next window
    bool is_settled_ = false;
};

// "no sound of its own above 4 kHz"
std::string band_limit_text(int edge);

#endif
