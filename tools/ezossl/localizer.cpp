// SPDX-License-Identifier: MIT
// localizer.cpp - see localizer.h.

#include "localizer.h"

#include <cinttypes>
#include <cstdio>
#include <string>

#include "failure.h"

namespace {

[[noreturn]] void fail(const char *operation, uint32_t code)
{
    char text[96];
    std::snprintf(text, sizeof text,
                  "%s refused with code 0x%08" PRIx32 "; -v shows the library's messages",
                  operation, code);
    throw Failure(text);
}

void require(const char *operation, int32_t code)
{
    if (code != EZOSSL_OK)
        fail(operation, static_cast<uint32_t>(code));
}

void require(const char *operation, uint32_t code)
{
    if (code != EZOSSL_OK)
        fail(operation, code);
}

const char *why_no_angle(int32_t code)
{
    switch (code) {
    case EZOSSL_OK:
        return nullptr;
    case EZOSSL_TOO_QUIET:
        return "too quiet";
    case EZOSSL_UNDECIDED:
        return "undecided";
    case EZOSSL_DELAY_TOO_LARGE:
        return "impossible delay";
    default:
        fail("EzoSsl_Get_Direction", static_cast<uint32_t>(code));
    }
}

SslHandle *make_instance(std::vector<std::byte> &buffer, const LocalizerSettings &settings)
{
    const SslInit init = {EZOSSL_FRAME_LENGTH, settings.sample_rate,
                          static_cast<float>(settings.spacing_cm), 0, EZOSSL_MIC_COUNT};
    SslHandle *const handle = EzoSsl_Init(buffer.data(), &init);
    if (handle == nullptr)
        throw Failure("EzoSsl_Init refused; -v shows the library's messages");
    return handle;
}

} // namespace

Localizer::Localizer(const LocalizerSettings &settings)
    : buffer_(EzoSsl_GetBufferSize()), handle_(make_instance(buffer_, settings))
{
    const SslConfig config = {settings.temperature, settings.gate_db, settings.block_frames};
    require("EzoSsl_Config", EzoSsl_Config(handle_, &config));
    require("EzoSsl_Set_Shape", EzoSsl_Set_Shape(handle_, 0));
    require("EzoSsl_Cal_Params", EzoSsl_Cal_Params(handle_));
}

Localizer::~Localizer()
{
    EzoSsl_Free(handle_);
}

void Localizer::add_frame(const int16_t (&frame)[kFrameSamples])
{
    int32_t delay = EZOSSL_REJECTED_FRAME;
    require("EzoSsl_Run", EzoSsl_Run(handle_, frame, &delay));
    accepted_frames_ += delay != EZOSSL_REJECTED_FRAME ? 1 : 0;
}

BlockAnswer Localizer::finish_block()
{
    int32_t angle = EZOSSL_NO_DIRECTION;
    const int32_t code = EzoSsl_Get_Direction(handle_, &angle);
    const BlockAnswer answer = {why_no_angle(code), angle, accepted_frames_};
    require("EzoSsl_Reset_Mapping", EzoSsl_Reset_Mapping(handle_));
    accepted_frames_ = 0;
    return answer;
}
