// SPDX-License-Identifier: MIT
// advice.h - what the user can do to get more angles.

#ifndef EZOSSL_TOOL_ADVICE_H
#define EZOSSL_TOOL_ADVICE_H

#include <string>

#include "output/block_writer.h"
#include "output/summary.h"

// The one step that helps most; empty if there is none, or if a fault was reported with its remedy.
std::string advice_on(const Summary &summary, const InputInfo &input);

#endif
