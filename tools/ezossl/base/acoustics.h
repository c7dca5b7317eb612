// SPDX-License-Identifier: MIT
// acoustics.h - the physics that the tool shares with the library.

#ifndef EZOSSL_TOOL_ACOUSTICS_H
#define EZOSSL_TOOL_ACOUSTICS_H

// m/s, at a temperature in degrees Celsius; the library's formula.
constexpr double speed_of_sound(int temperature)
{
    return 331.0 + 0.6 * temperature;
}

#endif
