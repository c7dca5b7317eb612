// SPDX-License-Identifier: MIT
// serve_option.h - --serve: the dial in a browser.

#ifndef EZOSSL_TOOL_SERVE_OPTION_H
#define EZOSSL_TOOL_SERVE_OPTION_H

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "serve/dial.h"

// The address stays empty without the option.
void add_serve_option(CLI::App &parser, std::string &address);

// None for an empty address. UsageFailure if it is none, Failure if nobody can listen there.
std::unique_ptr<Dial> open_dial(const std::string &address, const WriterStyle &style,
                                bool is_quiet);

#endif
