// SPDX-License-Identifier: MIT
// pi.h - the number pi, which C++17 does not have yet.

#ifndef EZOSSL_TOOL_PI_H
#define EZOSSL_TOOL_PI_H

constexpr double kPi = 3.14159265358979323846;

#endif
