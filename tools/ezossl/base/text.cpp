// SPDX-License-Identifier: MIT
// text.cpp - text for the terminal: printf into a string, counts, line breaks, notes.

#include "base/text.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

bool is_line_shown = false;

} // namespace

std::string format_text(const char *format, ...)
{
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<size_t>(length > 0 ? length : 0), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string counted(int64_t count, const char *thing)
{
    return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string rough_time(double seconds)
{
    constexpr double kMinute = 60.0;
    constexpr double kHour = 3600.0;
    if (seconds < 2 * kMinute)
        return format_text("%.0f s", seconds);
    return seconds < 2 * kHour ? format_text("%.0f min", seconds / kMinute)
                               : format_text("%.0f h", seconds / kHour);
}

std::string wrapped(const std::string &text, size_t indent)
{
    std::istringstream words(text);
    std::string result;
    size_t column = indent;
    for (std::string word; words >> word; column += word.size()) {
        if (column > indent && column + 1 + word.size() > kTextWidth) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
    }
    return result;
}

std::string shell_word(const std::string &file)
{
    // "-x" could be an option, and "x:y" the protocol x.
    const bool is_unclear = file.rfind('-', 0) == 0 || file.find(':') < file.find('/');
    std::string text = is_unclear ? "./" + file : file;
    if (text.find_first_of(" \t\n!\"#$&'()*;<>?[\\]^`{|}~") == std::string::npos)
        return text;
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + '\'';
}

std::string printable(const std::string &text)
{
    std::string result = text;
    for (size_t i = 0; i < result.size(); ++i) {
        const auto byte = static_cast<unsigned char>(result[i]);
        const bool is_c1 = (byte & 0xE0u) == 0x80 && i > 0 && text[i - 1] == '\xC2'; // in UTF-8
        if (byte < 0x20 || byte == 0x7F || is_c1)
            result[i] = '?';
        if (is_c1) // otherwise half a character would remain
            result[i - 1] = '?';
    }
    return result;
}

void note(const std::string &text)
{
    clear_line();
    std::fprintf(stderr, "ezossl: %s\n", printable(text).c_str());
}

bool is_dumb_terminal()
{
    const char *const terminal = std::getenv("TERM");
    return terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
}

void show_line(const std::string &text)
{
    // The terminal cuts off text that is too long, as a second line could not be cleared.
    std::fprintf(stderr, "\r\033[K\033[?7l%s\033[?7h", printable(text).c_str());
    is_line_shown = true;
}

void clear_line()
{
    if (is_line_shown)
        std::fputs("\r\033[K", stderr);
    is_line_shown = false;
}
