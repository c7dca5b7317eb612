// SPDX-License-Identifier: MIT
// track.h - the command `ezossl track`: two-channel sound files in, a line per block out.

#ifndef EZOSSL_TOOL_TRACK_H
#define EZOSSL_TOOL_TRACK_H

#include "commands/options.h"

Command add_track_command(CLI::App &app);

#endif
