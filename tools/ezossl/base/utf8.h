// SPDX-License-Identifier: MIT
// utf8.h - valid UTF-8 from any bytes, such as those of a file name.

#ifndef EZOSSL_TOOL_UTF8_H
#define EZOSSL_TOOL_UTF8_H

#include <string>
#include <string_view>

// Stands for what cannot be shown: U+FFFD.
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The character at the start of a text that is not empty; empty if it is not UTF-8.
std::string_view leading_character(std::string_view text);

// The text with U+FFFD for each byte that does not belong to a character.
std::string valid_utf8(std::string_view text);

#endif
