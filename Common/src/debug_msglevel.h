// SPDX-License-Identifier: MIT
// debug_msglevel.h - the message level: a bit set that says which classes of messages are printed.

#ifndef DEBUG_MSGLEVEL_H
#define DEBUG_MSGLEVEL_H

#include <cstdint>

enum MsgClass : int32_t {
    kMsgError = 1,
    kMsgWarning = 2,
    kMsgInfo = 4,
};

// The default level: before an instance has one, or without a level file.
constexpr int32_t kMsgLevelDefault = kMsgError | kMsgWarning | kMsgInfo;

// Reads the level from the level file: the file that the environment variable DML_PATH names, or
// /config/audioAlgo.json, a JSON object with a member "debug_level". Returns 1, 3, 7 or 15;
// kMsgLevelDefault for any other value, or if none can be read.
int32_t read_message_level();

#endif
