// SPDX-License-Identifier: MIT
// failure.h - how a command gives up: with a message for the user.

#ifndef EZOSSL_TOOL_FAILURE_H
#define EZOSSL_TOOL_FAILURE_H

#include <stdexcept>

// Reaches main(), which prints the text on standard error and ends with exit status 1. The text
// says what is wrong, with the value, and what to do.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

#endif
