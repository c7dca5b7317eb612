// SPDX-License-Identifier: MIT
// check.h - the command `ezossl check`: is this recording usable, and if not, what is wrong?

#ifndef EZOSSL_TOOL_CHECK_H
#define EZOSSL_TOOL_CHECK_H

#include "commands/options.h"

Command add_check_command(CLI::App &app);

#endif
