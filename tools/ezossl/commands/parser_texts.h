// SPDX-License-Identifier: MIT
// parser_texts.h - help in lines that fit the terminal, and refusals as sentences.

#ifndef EZOSSL_TOOL_PARSER_TEXTS_H
#define EZOSSL_TOOL_PARSER_TEXTS_H

#include <CLI/CLI.hpp>

// For the app and the commands that are added to it from now on.
void set_parser_texts(CLI::App &app);

#endif
