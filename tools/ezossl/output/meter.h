// SPDX-License-Identifier: MIT
// meter.h - a direction as a line of characters.

#ifndef EZOSSL_TOOL_METER_H
#define EZOSSL_TOOL_METER_H

#include <optional>
#include <string>

// The angles from +90 to -90 degrees as a line `width` characters wide, + on the left, as seen from
// behind the microphones, with a mark at the angle if there is one. Plain is ASCII, otherwise
// UTF-8.
std::string direction_meter(std::optional<int> angle_deg, int width, bool plain);

// Whether the user's locale shows UTF-8.
bool locale_is_utf8();

#endif
