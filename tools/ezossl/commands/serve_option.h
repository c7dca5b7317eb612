// SPDX-License-Identifier: MIT
// serve_option.h - --serve: the dial in a browser.

#ifndef EZOSSL_TOOL_SERVE_OPTION_H
#define EZOSSL_TOOL_SERVE_OPTION_H

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "serve/dial.h"

// Without the option the address stays empty.
void add_serve_option(CLI::App &parser, std::string &address);

// nullptr for an empty address. UsageFailure if the text is not an address, Failure if it cannot be
// listened on.
std::unique_ptr<Dial> open_dial(const std::string &address, const WriterStyle &style,
                                bool is_quiet);

#endif
