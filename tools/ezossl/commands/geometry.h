// SPDX-License-Identifier: MIT
// geometry.h - the command `ezossl geometry`: what a pair of microphones can resolve.

#ifndef EZOSSL_TOOL_GEOMETRY_H
#define EZOSSL_TOOL_GEOMETRY_H

#include "commands/options.h"

Command add_geometry_command(CLI::App &app);

#endif
