// SPDX-License-Identifier: MIT
// live.h - the command `ezossl live`: a line per block while the microphones listen.

#ifndef EZOSSL_TOOL_LIVE_H
#define EZOSSL_TOOL_LIVE_H

#include "commands/options.h"

Command add_live_command(CLI::App &app);

#endif
