// SPDX-License-Identifier: MIT
// text.h - printf into a string. The tool never sets a locale, so numbers are those of C.

#ifndef EZOSSL_TOOL_TEXT_H
#define EZOSSL_TOOL_TEXT_H

#include <string>

std::string format_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// A line on standard error, after the name of the program; for what does not end it.
void note(const std::string &text);

#endif
