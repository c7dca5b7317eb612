// SPDX-License-Identifier: MIT
// failure.h - how a command gives up: with a message for the user.

#ifndef EZOSSL_TOOL_FAILURE_H
#define EZOSSL_TOOL_FAILURE_H

#include <stdexcept>

enum ExitStatus { kDone = 0, kError = 1, kUsage = 2, kInterrupted = 130 };

// Reaches main(), which prints the text on standard error and ends with exit status 1. The text
// says what is wrong, with the value, and what to do.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A failure that the command line itself shows: exit status 2.
struct UsageFailure : Failure {
    using Failure::Failure;
};

// An input that fails in the middle: what was made of it so far is not whole.
struct ReadFailure : Failure {
    using Failure::Failure;
};

// Ends the program without a message, because all has been said.
struct EndWith {
    int status;
};

#endif
