// SPDX-License-Identifier: MIT
// sample_rates.cpp - the rate policy: the user's choice first, then the input's own rate, then the
// nearest that serves speech.

#include "input/sample_rates.h"

#include <algorithm>
#include <iterator>

bool is_supported_rate(int rate)
{
    return std::find(std::begin(kSampleRates), std::end(kSampleRates), rate) !=
           std::end(kSampleRates);
}

int analysis_rate(int wanted, int input_rate, SoundOrigin origin)
{
    if (wanted != 0)
        return wanted;
    if (origin == SoundOrigin::device)
        return capture_rate(wanted);
    if (is_supported_rate(input_rate))
        return input_rate;
    return input_rate < kBestRate ? kLowestRate : kBestRate;
}

int capture_rate(int wanted)
{
    return wanted != 0 ? wanted : kBestRate;
}
