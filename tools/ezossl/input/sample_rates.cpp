// SPDX-License-Identifier: MIT
// sample_rates.cpp - the rate policy: the user's choice first, then the best rate for speech, or
// the lowest if the input, or the sound in it, has less than that.

#include "input/sample_rates.h"

#include <algorithm>
#include <iterator>

#include "base/failure.h"
#include "base/text.h"

bool is_supported_rate(int rate)
{
    return std::find(std::begin(kSampleRates), std::end(kSampleRates), rate) !=
           std::end(kSampleRates);
}

int rate_for_edge(int edge)
{
    return 2 * edge;
}

int analysis_rate(int wanted, int input_rate, const std::string &input,
                  std::optional<int> band_limit)
{
    if (input_rate < kLowestRate)
        throw Failure(format_text("%s: %d Hz; needs %d Hz or more: record it at a higher rate",
                                  input.c_str(), input_rate, kLowestRate));
    if (wanted > input_rate)
        throw UsageFailure(format_text("%s: has %d Hz; at -r %d its upper band would be empty, "
                                       "which draws angles towards 0; omit -r",
                                       input.c_str(), input_rate, wanted));
    if (wanted != 0)
        return wanted;
    const int rate = input_rate < kBestRate ? kLowestRate : kBestRate;
    return band_limit ? std::min(rate, rate_for_edge(*band_limit)) : rate;
}

int capture_rate(int wanted)
{
    return wanted != 0 ? wanted : kBestRate;
}
