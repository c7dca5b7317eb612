// SPDX-License-Identifier: MIT
// simulate.h - the command `ezossl simulate`: makes a two-channel file with a known direction.

#ifndef EZOSSL_TOOL_SIMULATE_H
#define EZOSSL_TOOL_SIMULATE_H

#include "commands/options.h"

Command add_simulate_command(CLI::App &app);

#endif
