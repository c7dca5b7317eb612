// SPDX-License-Identifier: MIT
// sample_rates.h - the sample rates that the library takes, and the one at which an input is
// analysed, for all commands.

#ifndef EZOSSL_TOOL_SAMPLE_RATES_H
#define EZOSSL_TOOL_SAMPLE_RATES_H

#include <optional>
#include <string>

constexpr int kSampleRates[] = {8000, 16000, 32000, 48000}; // Hz
constexpr int kLowestRate = kSampleRates[0];
constexpr int kBestRate = 16000; // Hz; at this rate the most blocks of speech get an angle

bool is_supported_rate(int rate);

enum class SoundOrigin { file, device };

// The best rate to analyse sound that ends at this frequency in Hz.
int rate_for_edge(int edge);

// Rate in Hz at which an input of that rate is analysed; `wanted` is what the user asked for, 0 if
// nothing. `band_limit` is the frequency above which the input is known to have no sound. Never
// above the rate of the input: resampling would add an empty band, which draws angles towards 0.
// UsageFailure, which names the input, if the user asks for that; Failure if the input has less
// than the lowest rate.
int analysis_rate(int wanted, int input_rate, const std::string &input,
                  std::optional<int> band_limit = std::nullopt);

// The rate to ask a device for, which may offer another one.
int capture_rate(int wanted);

#endif
