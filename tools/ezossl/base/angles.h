// SPDX-License-Identifier: MIT
// angles.h - the range of angles that a result can have, for counting them.

#ifndef EZOSSL_TOOL_ANGLES_H
#define EZOSSL_TOOL_ANGLES_H

#include <cstddef>

constexpr int kLargestAngle = 90; // degrees, to either side
constexpr size_t kAngleCount = 2 * kLargestAngle + 1;

constexpr size_t index_of_angle(int angle)
{
    const int index = angle + kLargestAngle;
    return static_cast<size_t>(index);
}

constexpr int angle_at(size_t index)
{
    return static_cast<int>(index) - kLargestAngle;
}

#endif
