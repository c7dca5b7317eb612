// SPDX-License-Identifier: MIT
// text.cpp - see text.h.

#include "text.h"

#include <cstdarg>
#include <cstdio>

std::string format_text(const char *format, ...)
{
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(length > 0 ? length : 0), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

void note(const std::string &text)
{
    std::fprintf(stderr, "ezossl: %s\n", text.c_str());
}
