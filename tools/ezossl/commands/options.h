// SPDX-License-Identifier: MIT
// options.h - the options that several commands share.

#ifndef EZOSSL_TOOL_OPTIONS_H
#define EZOSSL_TOOL_OPTIONS_H

#include <cstddef>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "input/channels.h"

// The microphones and the air between them.
struct ArrayOptions {
    double spacing_cm = 0.0;
    int temperature = 20; // degrees Celsius

    void add_to(CLI::App &parser);
};

// -c, the channels of the microphones.
void add_channels_option(CLI::App &parser, ChannelChoice &choice);

// Refuses an output that would overwrite an input.
void keep_inputs(const std::vector<std::string> &inputs, const std::vector<std::string> &outputs);

// Whether the parser would take a whole number for octal.
bool is_octal(const std::string &text);

// Refuses a number outside low ... high and says so with the unit, if there is one.
CLI::Validator limits(double low, double high, const std::string &unit);
// The same for whole numbers. Refuses octal ones, too.
CLI::Validator whole_limits(double low, double high, const std::string &unit);

// Refuses the empty name of a file, which an unset variable of a script can be.
CLI::Validator file_name();

// Refuses a rate that the library does not take.
CLI::Validator supported_rate();

// "'x' is not one of a, b, c"
std::string not_one_of(const std::string &text, const std::vector<std::string> &names);

// An option that takes the name of a row of the table, and calls `choose` with the row.
template <class Row, size_t count, class Choose>
void add_choice(CLI::App &parser, const std::string &option, const Row (&table)[count],
                Choose choose, const std::string &description)
{
    const auto find = [option, &table, choose](const std::string &text) {
        std::vector<std::string> names;
        for (const Row &row : table) {
            if (text == row.name)
                return choose(row);
            names.emplace_back(row.name);
        }
        throw CLI::ValidationError(option.substr(option.find("--")), not_one_of(text, names));
    };
    parser.add_option_function<std::string>(option, find, description)->type_name("NAME");
}

#endif
