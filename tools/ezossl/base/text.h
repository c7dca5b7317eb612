// SPDX-License-Identifier: MIT
// text.h - text for the terminal. The tool never sets a locale, so numbers are formatted as in C.

#ifndef EZOSSL_TOOL_TEXT_H
#define EZOSSL_TOOL_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

std::string format_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// "1 block", "2 blocks"
std::string counted(int64_t count, const char *thing);

// A rounded duration in one unit: "90 s", "15 min", "3 h"
std::string rough_time(double seconds);

// Breaks text between words into lines of at most kTextWidth columns. The first line starts at
// column `indent`; the others are indented to it.
constexpr size_t kTextWidth = 79;
std::string wrapped(const std::string &text, size_t indent);

// A file name in a command to copy. Neither the shell nor the command takes it for something else.
std::string shell_word(const std::string &file);

// Replaces characters that control a terminal by ?, such as an escape sequence or a line break in a
// file name.
std::string printable(const std::string &text);

// Prints a line on standard error, with the program's name before it. The program continues.
void note(const std::string &text);

// Whether the terminal understands no control sequences.
bool is_dumb_terminal();

// Shows text on the terminal that standard error is, in place of the text it showed before, until
// clear_line() or the next note.
void show_line(const std::string &text);
void clear_line();

#endif
