// SPDX-License-Identifier: MIT
// sample_rates.h - the sample rates that the library takes, and which of them an input is analysed
// at. All commands decide it here.

#ifndef EZOSSL_TOOL_SAMPLE_RATES_H
#define EZOSSL_TOOL_SAMPLE_RATES_H

constexpr int kSampleRates[] = {8000, 16000, 32000, 48000}; // Hz
constexpr int kLowestRate = kSampleRates[0];
constexpr int kBestRate = 16000; // Hz; most blocks of speech get an angle here

bool is_supported_rate(int rate);

enum class SoundOrigin { file, device };

// Rate in Hz at which an input of that rate is analysed; `wanted` is what the user asked for, 0 if
// nothing. Files keep their rate where the library takes it. Devices are resampled to the best
// rate.
int analysis_rate(int wanted, int input_rate, SoundOrigin origin);

// Rate that a device is asked for, before it says which one it has.
int capture_rate(int wanted);

#endif
