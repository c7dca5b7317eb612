// SPDX-License-Identifier: MIT
// failure.h - how a command gives up: with a message for the user.

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

// A failure that the command line itself shows: exit status 2.
struct UsageFailure : Failure {
    using Failure::Failure;
};

// An input cannot be read to its end, so the output that was made from it is incomplete.
struct ReadFailure : Failure {
    using Failure::Failure;
};

// An output that cannot be written: what is written after that would not be whole.
struct WriteFailure : Failure {
    using Failure::Failure;
};

// Ends the program without a further message.
struct EndWith {
    int status;
};

// Tells the user, and gives the exit status.
int fail_without_memory();

// The result of the work, or the exit status of what it throws, once the user was told why.
int exit_status_of(const std::function<int()> &work);

#endif
