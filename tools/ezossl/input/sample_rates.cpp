// SPDX-License-Identifier: MIT
// sample_rates.cpp - the rate policy: the user's choice first, then the best for speech, or the
// lowest where the input has less.

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

int analysis_rate(int wanted, int input_rate, const std::string &input)
{
    if (input_rate < kLowestRate)
        throw Failure(format_text("%s: %d Hz; needs %d Hz or more: record it at a higher rate",
                                  input.c_str(), input_rate, kLowestRate));
    if (wanted > input_rate)
        throw UsageFailure(format_text("%s: has %d Hz; at -r %d there would be no sound in the "
                                       "upper band, and angles would be drawn to 0: omit -r",
                                       input.c_str(), input_rate, wanted));
    if (wanted != 0)
        return wanted;
    return input_rate < kBestRate ? kLowestRate : kBestRate;
}

int capture_rate(int wanted)
{
    return wanted != 0 ? wanted : kBestRate;
}
