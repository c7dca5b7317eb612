// SPDX-License-Identifier: MIT
// library_code.cpp - the table of the library's codes and their names.

#include "tracking/library_code.h"

#include "EzoSsl.h"
#include "base/text.h"

namespace {

struct NamedCode {
    int32_t code;
    const char *name;
};
#define NAMED(code)                                                                                \
    {                                                                                              \
        code, #code                                                                                \
    }
constexpr NamedCode kCodes[] = {
    NAMED(EZOSSL_OK),
    NAMED(EZOSSL_DUMP_FILE),
    NAMED(EZOSSL_NOT_INITIALISED),
    NAMED(EZOSSL_CONFIG_NULL),
    NAMED(EZOSSL_BAD_HANDLE),
    NAMED(EZOSSL_BAD_SAMPLE_RATE),
    NAMED(EZOSSL_BAD_POINT_NUMBER),
    NAMED(EZOSSL_BAD_BF_MODE),
    NAMED(EZOSSL_DELAY_TOO_LARGE),
    NAMED(EZOSSL_STEP_OWED),
    NAMED(EZOSSL_WRONG_PHASE),
    NAMED(EZOSSL_BAD_MIC_NUM),
    NAMED(EZOSSL_BAD_GEOMETRY),
    NAMED(EZOSSL_NOT_LINEAR),
    NAMED(EZOSSL_TOO_QUIET),
    NAMED(EZOSSL_UNDECIDED),
    NAMED(EZOSSL_BAD_MODE),
    NAMED(EZOSSL_NO_SUCH_MODE),
    NAMED(EZOSSL_DATA_NULL),
    NAMED(EZOSSL_BAD_GAIN),
};
#undef NAMED

} // namespace

std::string name_of_code(int32_t code)
{
    for (const NamedCode &known : kCodes) {
        if (known.code == code)
            return known.name;
    }
    return format_text("0x%08x", static_cast<unsigned>(code));
}
