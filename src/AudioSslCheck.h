// SPDX-License-Identifier: MIT
// AudioSslCheck.h - messages, the order of calls and the check of a handle, which come before the
// work of every operation.

#ifndef AUDIO_SSL_CHECK_H
#define AUDIO_SSL_CHECK_H

#include "SslCore.h"
#include "debug_msglevel.h"

#include <cstdint>

// Prints one message, "[class] " and the text, to standard output if `level` has the bit of its
// class. The lines of two threads do not mix.
__attribute__((format(printf, 3, 4))) void ssl_print(int32_t level, MsgClass msg_class,
                                                     const char *text, ...);

// The operations that have an order.
enum SslOperation : uint32_t {
    kInit,
    kConfig,
    kGetConfig,
    kSetShape,
    kSetArbitraryShape,
    kCalParams,
    kSetMode,
    kApplyDigitalGain,
    kRun,
    kGetDirection,
    kResetMapping,
};

// Whether the calls that `operation` needs have been made. Returns 0 or, after a message, the code
// of the first missing one.
int32_t ssl_check_order(const SslHandle *handle, SslOperation operation);

// Whether Init, of this or another build, has made an instance of the buffer.
bool ssl_has_magic(const SslHandle *handle);

// Whether the buffer holds an instance of this build. Returns 0 or, after a message, a code.
int32_t ssl_check_handle(const SslHandle *handle, int32_t level, SslOperation operation);

// Checks both, the order first.
int32_t ssl_check_call(const SslHandle *handle, SslOperation operation);

#endif
