// SPDX-License-Identifier: MIT
// units.cpp - parses lengths and room sizes, and checks that they are plausible.

#include "base/units.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>

#include "base/failure.h"

namespace {

constexpr double kClosestCm = 0.1;
constexpr double kWidestCm = 1000.0;
constexpr double kNarrowestRoom = 1.5; // metres
constexpr double kWidestRoom = 50.0;

struct Unit {
    std::string_view name;
    double centimetres;
};
constexpr Unit kUnits[] = {{"", 1.0}, {"cm", 1.0}, {"mm", 0.1}, {"m", 100.0}};

// Centimetres in one of the unit; 0 if the unit is unknown.
double centimetres_per(std::string_view name)
{
    const auto same_letter = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == b;
    };
    for (const Unit &unit : kUnits) {
        if (std::equal(name.begin(), name.end(), unit.name.begin(), unit.name.end(), same_letter))
            return unit.centimetres;
    }
    return 0.0;
}

} // namespace

double parse_spacing_cm(const std::string &text)
{
    double number = 0.0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    std::string_view unit(rest, static_cast<size_t>(end - rest));
    while (!unit.empty() && unit.front() == ' ')
        unit.remove_prefix(1);
    const double factor = centimetres_per(unit);
    if (error != std::errc() || factor == 0.0)
        throw Failure("spacing '" + text + "' is not a length; write 5.8cm, 58mm or 0.058m");
    const double spacing = number * factor;
    if (!(spacing >= kClosestCm && spacing <= kWidestCm)) // also refuses what is not a number
        throw Failure("spacing '" + text +
                      "' must be from 1 mm to 10 m; a plain number is in "
                      "centimetres");
    return spacing;
}

std::array<double, 3> parse_room_size(const std::string &text)
{
    std::array<double, 3> size{};
    const char *at = text.data();
    const char *const end = text.data() + text.size();
    for (size_t i = 0; i < size.size(); ++i) {
        const auto [rest, error] = std::from_chars(at, end, size[i]);
        const bool is_last = i + 1 == size.size();
        const bool goes_on = is_last ? rest == end : rest != end && *rest == 'x';
        if (error != std::errc() || !goes_on)
            throw Failure("room '" + text +
                          "' is not a size; write width x depth x height in metres: 5x4x3");
        if (!(size[i] >= kNarrowestRoom && size[i] <= kWidestRoom))
            throw Failure("room '" + text + "' must measure 1.5 to 50 m along each axis");
        at = rest + 1;
    }
    return size;
}
