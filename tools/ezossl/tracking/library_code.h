// SPDX-License-Identifier: MIT
// library_code.h - the names of the codes that the library returns, for messages.

#ifndef EZOSSL_TOOL_LIBRARY_CODE_H
#define EZOSSL_TOOL_LIBRARY_CODE_H

#include <cstdint>
#include <string>

// "EZOSSL_BAD_GAIN", as in EzoSsl.h; for a code without a name its value.
std::string name_of_code(int32_t code);

#endif
