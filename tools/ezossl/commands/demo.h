// SPDX-License-Identifier: MIT
// demo.h - the command `ezossl demo`: the library at work, without microphones and files.

#ifndef EZOSSL_TOOL_DEMO_H
#define EZOSSL_TOOL_DEMO_H

#include "commands/options.h"

Command add_demo_command(CLI::App &app);

#endif
