// SPDX-License-Identifier: MIT
// failure.h - how a command fails: with a message for the user.

#ifndef EZOSSL_TOOL_FAILURE_H
#define EZOSSL_TOOL_FAILURE_H

#include <functional>
#include <stdexcept>

enum ExitStatus { kDone = 0, kError = 1, kUsage = 2, kInterrupted = 130 };

// Reaches main(), which prints the text on standard error and ends with exit status 1. The text
// says what is wrong, with the value, and what to do.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The command line is wrong: exit status 2.
struct UsageFailure : Failure {
    using Failure::Failure;
};

// An input cannot be read to its end, so the output that was made from it is incomplete.
struct ReadFailure : Failure {
    using Failure::Failure;
};

// An output cannot be written, so what follows would be incomplete.
struct WriteFailure : Failure {
    using Failure::Failure;
};

// Ends the program without a further message.
struct EndWith {
    int status;
};

// Prints a message, and returns the exit status.
int fail_without_memory();

// Returns the result of the work. If it throws, prints why and returns the exit status.
int exit_status_of(const std::function<int()> &work);

#endif
