// SPDX-License-Identifier: MIT
// options.cpp - see options.h.

#include "commands/options.h"

#include "base/failure.h"
#include "base/units.h"

void ArrayOptions::add_to(CLI::App &parser)
{
    const auto read_spacing = [this](const std::string &text) {
        try {
            spacing_cm = parse_spacing_cm(text);
        } catch (const Failure &failure) {
            throw CLI::ValidationError("--spacing", failure.what());
        }
    };
    parser
        .add_option_function<std::string>(
            "-s,--spacing", read_spacing,
            "Distance between the microphones: 5.8cm, 58mm, 0.058m; a plain number is in cm")
        ->type_name("LENGTH")
        ->required();
    parser.add_option("-t,--temperature", temperature, "Of the air, in degrees Celsius")
        ->check(limits(-40, 85, "degrees Celsius"))
        ->capture_default_str();
}

CLI::Validator limits(double low, double high, const std::string &unit)
{
    const auto check = [low, high, unit](const std::string &text) {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high)
            return std::string();
        std::ostringstream message;
        message << text << " is not within " << low << " ... " << high << ' ' << unit;
        return message.str();
    };
    return CLI::Validator(check, "");
}
