// SPDX-License-Identifier: MIT
// wall_clock.cpp - formats a time by ISO 8601.

#include "base/wall_clock.h"

#include <cstdlib>
#include <ctime>

#include "base/text.h"

std::string iso_time(std::chrono::system_clock::time_point time)
{
    const auto since_epoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(since_epoch / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    const long offset = local.tm_gmtoff / 60; // minutes east of Greenwich
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    return format_text("%s.%03d%c%02ld:%02ld", date, static_cast<int>(since_epoch % 1000),
                       offset < 0 ? '-' : '+', std::labs(offset) / 60, std::labs(offset) % 60);
}
