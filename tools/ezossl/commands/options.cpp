// SPDX-License-Identifier: MIT
// options.cpp - options that several commands have, and checks of their values.

#include "commands/options.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include <sys/stat.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/units.h"
#include "input/sample_rates.h"

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
    parser.add_option("-t,--temperature", temperature, "Air temperature in degrees Celsius")
        ->check(whole_limits(-40, 85, "degrees Celsius"))
        ->capture_default_str();
}

void add_channels_option(CLI::App &parser, ChannelChoice &choice)
{
    parser
        .add_option_function<std::string>(
            "-c,--channels",
            [&choice](const std::string &text) { choice.channels = parse_channels(text); },
            "Channels of microphones 0 and 1, counted from 1 (default: 1,2 of two channels)")
        ->type_name("A,B");
}

namespace {

// Whether both are the same file. Standard input may be a file that the shell has opened.
bool is_same_file(const std::string &input, const std::string &output)
{
    std::error_code none_if_missing;
    if (input != "-")
        return std::filesystem::equivalent(input, output, none_if_missing);
    struct stat source = {};
    struct stat target = {};
    return fstat(STDIN_FILENO, &source) == 0 && S_ISREG(source.st_mode) &&
           stat(output.c_str(), &target) == 0 && source.st_dev == target.st_dev &&
           source.st_ino == target.st_ino;
}

} // namespace

void keep_inputs(const std::vector<std::string> &inputs, const std::vector<std::string> &outputs)
{
    for (const std::string &output : outputs) {
        const auto is_same = [&](const std::string &input) { return is_same_file(input, output); };
        if (std::any_of(inputs.begin(), inputs.end(), is_same))
            throw UsageFailure(output +
                               ": is an input and would be overwritten; choose another name");
    }
}

bool is_octal(const std::string &text)
{
    const size_t first = text.find_first_not_of("+-");
    return first < text.size() && text[first] == '0' &&
           text.find_first_not_of("0123456789", first) == std::string::npos &&
           text.size() > first + 1;
}

CLI::Validator limits(double low, double high, const std::string &unit)
{
    const auto check = [low, high, unit](const std::string &text) {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high)
            return std::string();
        std::ostringstream message;
        message.precision(std::numeric_limits<uint32_t>::digits10 + 1); // the longest limit
        message << text << " is not within " << low << " ... " << high
                << (unit.empty() ? "" : ' ' + unit);
        return message.str();
    };
    return CLI::Validator(check, "");
}

CLI::Validator whole_limits(double low, double high, const std::string &unit)
{
    const auto check = [range = limits(low, high, unit)](const std::string &text) {
        return is_octal(text) ? text + " would be octal; omit the zero at its beginning"
                              : range(text);
    };
    return CLI::Validator(check, "");
}

CLI::Validator file_name()
{
    const auto check = [](const std::string &text) {
        return std::string(text.empty() ? "the name of the file is empty" : "");
    };
    return CLI::Validator(check, "");
}

CLI::Validator supported_rate()
{
    std::vector<std::string> names;
    for (const int rate : kSampleRates)
        names.push_back(std::to_string(rate));
    const auto check = [names](const std::string &text) {
        const bool is_known = std::find(names.begin(), names.end(), text) != names.end();
        return is_known ? std::string() : not_one_of(text, names);
    };
    return CLI::Validator(check, '{' + CLI::detail::join(names) + '}');
}

std::string not_one_of(const std::string &text, const std::vector<std::string> &names)
{
    return "'" + text + "' is not one of " + CLI::detail::join(names, ", ");
}
