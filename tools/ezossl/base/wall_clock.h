// SPDX-License-Identifier: MIT
// wall_clock.h - the time of day, for logs of live sound.

#ifndef EZOSSL_TOOL_WALL_CLOCK_H
#define EZOSSL_TOOL_WALL_CLOCK_H

#include <chrono>
#include <string>

// ISO 8601 in the local zone, with milliseconds: 2024-03-15T09:26:53.589+01:00
std::string iso_time(std::chrono::system_clock::time_point time);

#endif
