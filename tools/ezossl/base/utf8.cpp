// SPDX-License-Identifier: MIT
// utf8.cpp - decodes UTF-8 strictly: no overlong forms, no surrogates, nothing beyond U+10FFFF.

#include "base/utf8.h"

namespace {

constexpr unsigned char kNoLead = 0;

// Bytes of the UTF-8 sequence that starts with this byte; kNoLead if none does.
unsigned sequence_length(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead < 0xE0)
        return 2;
    if (lead >= 0xE0 && lead < 0xF0)
        return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : kNoLead;
}

// False for overlong forms, surrogates, and values beyond U+10FFFF.
bool is_code_point(char32_t code, unsigned length)
{
    if (length == 3)
        return code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
    return length < 3 || (code >= 0x10000 && code <= 0x10FFFF);
}

} // namespace

std::string_view leading_character(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const unsigned length = sequence_length(lead);
    if (length == kNoLead || length > text.size())
        return {};
    char32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0u) != 0x80)
            return {};
        code = code << 6 | (byte & 0x3Fu);
    }
    return is_code_point(code, length) ? text.substr(0, length) : std::string_view();
}

std::string valid_utf8(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::string_view character = leading_character(text);
        result += character.empty() ? kReplacement : character;
        text.remove_prefix(character.empty() ? 1 : character.size());
    }
    return result;
}
