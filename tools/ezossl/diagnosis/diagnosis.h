// SPDX-License-Identifier: MIT
// diagnosis.h - finds what keeps two channels of samples from giving directions, if anything does.

#ifndef EZOSSL_TOOL_DIAGNOSIS_H
#define EZOSSL_TOOL_DIAGNOSIS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "diagnosis/channel_statistics.h"
#include "diagnosis/findings.h"
#include "input/frame_source.h"

struct DiagnosisSettings {
    int rate;          // Hz
    double spacing_cm; // of the microphones, as stated
    int temperature;   // degrees Celsius
    int gate_db;       // dB of full scale
    int channels[2];   // of the microphones, from 1, as the user knows them
    bool is_lossy;     // whether the samples went through a lossy compression
    int band_limit;    // Hz above which the input is known to have no sound; 0 if it is not known
};

struct Diagnosis {
    ChannelStatistics channels[2];
    double longest_lag; // samples that the stated spacing allows
    int segments;       // of a second, above the gate
    int common;         // of these, with a sound that both channels have
    double median_lag;  // of these, in samples
    bool is_still;      // whether most of these lags are near the median: the source does not move
    int blocks;  // blocks of 32 frames with sound: above the gate and not much below the rest
    int decided; // of these, with a direction
    std::optional<double> median_angle; // of the smoothed directions, in degrees
    std::vector<Finding> findings;

    bool is_usable() const;
};

// The settings for the samples of this source.
DiagnosisSettings diagnosis_settings(const FrameSource &source, double spacing_cm, int temperature,
                                     int gate_db);

// The least number of samples per channel that can be diagnosed.
size_t shortest_input(int rate);

// `samples` are interleaved, at least shortest_input() per channel. Failure if the library refuses
// the settings.
Diagnosis diagnose(const std::vector<int16_t> &samples, const DiagnosisSettings &settings);

#endif
