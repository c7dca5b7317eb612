// SPDX-License-Identifier: MIT
// options.h - what the commands have in common on the command line.

#ifndef EZOSSL_TOOL_OPTIONS_H
#define EZOSSL_TOOL_OPTIONS_H

#include <functional>
#include <string>

#include <CLI/CLI.hpp>

#include "output/data_output.h"

// A subcommand: its options, and the work that is done when the user asked for it.
struct Command {
    CLI::App *parser;
    std::function<void(DataOutput &)> run;
};

// The microphones and the air between them.
struct ArrayOptions {
    double spacing_cm = 0.0;
    int temperature = 20; // degrees Celsius

    void add_to(CLI::App &parser);
};

// Refuses a number outside low ... high and says so with the unit.
CLI::Validator limits(double low, double high, const std::string &unit);

#endif
