// SPDX-License-Identifier: MIT
// units.h - lengths and room sizes as users write them.

#ifndef EZOSSL_TOOL_UNITS_H
#define EZOSSL_TOOL_UNITS_H

#include <array>
#include <string>

// A spacing in centimetres from "5.8", "5.8cm", "58mm" or "0.058m". Failure if the text is
// not a length, or two microphones cannot be that far apart.
double parse_spacing_cm(const std::string &text);

// Metres along three axes from "5x4x3". Failure if the text is not a size, or the room is too small
// or too large to be simulated.
std::array<double, 3> parse_room_size(const std::string &text);

#endif
