// SPDX-License-Identifier: MIT
// median.h - the median of a handful of values. (A Summary counts its angles instead, to take as
// little memory for a day as for a minute.)

#ifndef EZOSSL_TOOL_MEDIAN_H
#define EZOSSL_TOOL_MEDIAN_H

#include <algorithm>
#include <vector>

// Of an even number of values the mean of the two in the middle; 0 of none.
inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    return 0.5 * (values[(values.size() - 1) / 2] + values[values.size() / 2]);
}

#endif
