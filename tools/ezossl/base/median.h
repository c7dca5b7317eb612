// SPDX-License-Identifier: MIT
// median.h - the median of a few values. (Summary counts its angles instead, so that a long input
// takes no more memory than a short one.)

#ifndef EZOSSL_TOOL_MEDIAN_H
#define EZOSSL_TOOL_MEDIAN_H

#include <algorithm>
#include <vector>

// For an even number of values, the mean of the middle two; 0 if there are none.
inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    return 0.5 * (values[(values.size() - 1) / 2] + values[values.size() / 2]);
}

#endif
