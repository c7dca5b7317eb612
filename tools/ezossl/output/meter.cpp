// SPDX-License-Identifier: MIT
// meter.cpp - the characters of a meter line, and which of them the locale can show.

#include "output/meter.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

struct MeterSigns {
    const char *begin;
    const char *line;
    const char *middle;
    const char *mark;
    const char *end;
};
constexpr MeterSigns kPlain = {"", ".", "|", "#", ""};
constexpr MeterSigns kUtf8 = {"├", "─", "┼", "●", "┤"};

} // namespace

std::string direction_meter(std::optional<int> angle_deg, int width, bool plain)
{
    const MeterSigns &signs = plain ? kPlain : kUtf8;
    const double step = 180.0 / (width - 1);
    const int mark = angle_deg ? static_cast<int>(std::lround((90 - *angle_deg) / step)) : -1;
    std::string meter = signs.begin;
    for (int i = 0; i < width; ++i)
        meter += i == mark ? signs.mark : 2 * i == width - 1 ? signs.middle : signs.line;
    return meter + signs.end;
}

// Like the C library: the first of these that is set and not empty counts.
bool locale_is_utf8()
{
    for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *const value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        return strcasestr(value, "UTF-8") != nullptr || strcasestr(value, "UTF8") != nullptr;
    }
    return false;
}
