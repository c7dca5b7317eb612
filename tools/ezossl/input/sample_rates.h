// SPDX-License-Identifier: MIT
// sample_rates.h - the sample rates that the library takes, and which of them an input is analysed
// at. All commands decide it here.

#ifndef EZOSSL_TOOL_SAMPLE_RATES_H
#define EZOSSL_TOOL_SAMPLE_RATES_H

#include <string>

constexpr int kSampleRates[] = {8000, 16000, 32000, 48000}; // Hz
constexpr int kLowestRate = kSampleRates[0];
constexpr int kBestRate = 16000; // Hz; most blocks of speech get an angle here

bool is_supported_rate(int rate);

enum class SoundOrigin { file, device };

// Rate in Hz at which an input of that rate is analysed; `wanted` is what the user asked for, 0 if
// nothing. Never above what the input has: resampling adds no sound up there, and where there is
// none angles are drawn to 0. UsageFailure, which names the input, if that is what the user wants;
// Failure if the input has less than the lowest rate.
int analysis_rate(int wanted, int input_rate, const std::string &input);

// Rate that a device is asked for, before it says which one it has.
int capture_rate(int wanted);

#endif
