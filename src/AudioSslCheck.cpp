// SPDX-License-Identifier: MIT
// AudioSslCheck.cpp - messages, the order of calls, the check of a handle.

#include "AudioSslCheck.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

const char *class_tag(MsgClass msg_class)
{
    switch (msg_class) {
    case kMsgError:
        return "ALGO_MSG_ERR";
    case kMsgWarning:
        return "ALGO_MSG_WRN";
    case kMsgInfo:
        break;
    }
    return "ALGO_MSG_MSG";
}

// The names of an operation in messages about the order, and in those about the handle.
struct OperationTags {
    const char *order;
    const char *handle;
};
constexpr OperationTags kTags[] = {
    {"Init", "Init"}, // the first call: no rule of order applies
    {"Config", "Config"},
    {"GetConfig", "Get_Config"},
    {"SetShape", "Set_Shape"},
    {"Set_ArbitraryShape", "Set_ArbitraryShape"},
    {"CalParams", "CalParams"},
    {"SetMode", "SetMode"},
    {"ApplyDigitalGain", "ApplyDigitalGain"},
    {"Run", "Run"},
    {"GetDirection", "GetDirection"},
    {"ResetMapping", "ResetMapping"},
};

constexpr uint32_t only(SslOperation operation)
{
    return 1u << operation;
}

constexpr uint32_t kShapes = only(kSetShape) | only(kSetArbitraryShape);
constexpr uint32_t kAfterRun = only(kGetDirection) | only(kResetMapping);
constexpr uint32_t kAfterParams = only(kSetMode) | only(kApplyDigitalGain) | only(kRun) | kAfterRun;
constexpr uint32_t kAfterShape = only(kCalParams) | kAfterParams;
constexpr uint32_t kAfterConfig = only(kGetConfig) | kShapes | kAfterShape;

struct OrderRule {
    int32_t SslCallOrderFlags::*flag; // the step that is checked
    SslStep wanted;                   // what it must be
    int32_t code;
    const char *text;  // takes the operation's tag
    uint32_t asked_of; // the operations that the rule applies to
};

// In the order of the checks: the first rule that fails decides.
constexpr OrderRule kOrderRules[] = {
    {&SslCallOrderFlags::init_state, kStepDone, EZOSSL_NOT_INITIALISED,
     " [SSL] [%s] Fail! Please call EzoSsl_Init first!\t\n", only(kConfig)},
    {&SslCallOrderFlags::init_state, kStepDone, EZOSSL_NOT_INITIALISED,
     "[SSL] [%s] Fail! Please call EzoSsl_Init first!\t\n", kAfterConfig},
    {&SslCallOrderFlags::config_state, kStepDone, EZOSSL_STEP_OWED,
     "[SSL] [%s] Fail! Please call EzoSSL_Config first!\t\n", kAfterConfig},
    {&SslCallOrderFlags::shape_state, kStepDone, EZOSSL_STEP_OWED,
     "[SSL] [%s] Fail! Please call EzoSsl_Set_Shape first!\t\n", kAfterShape},
    {&SslCallOrderFlags::param_state, kStepDone, EZOSSL_STEP_OWED,
     "[SSL] [%s] Fail! Please call EzoSsl_Cal_Params first!\t\n", kAfterParams},
    {&SslCallOrderFlags::run_state, kStepOwed, EZOSSL_WRONG_PHASE,
     "[SSL] [%s] Fail! Can't not change array shape during run process!\t\n", kShapes},
    {&SslCallOrderFlags::run_state, kStepOwed, EZOSSL_WRONG_PHASE,
     "[SSL] [%s] Fail! Can't not change intrinsic parameters during run process!\t\n",
     only(kCalParams)},
    {&SslCallOrderFlags::run_state, kStepDone, EZOSSL_STEP_OWED,
     "[SSL] [%s] Fail! Please call EzoSsl_Run first!\t\n", kAfterRun},
};

} // namespace

void ssl_print(int32_t level, MsgClass msg_class, const char *text, ...)
{
    if ((level & msg_class) == 0)
        return;
    constexpr char kPrefix[] = ""; // every message has one; it is empty in this library
    va_list arguments;
    va_start(arguments, text);
    flockfile(stdout);
    std::printf("[%s] %s", class_tag(msg_class), kPrefix);
    std::vprintf(text, arguments);
    funlockfile(stdout);
    va_end(arguments);
}

int32_t ssl_check_order(const SslHandle *handle, SslOperation operation)
{
    for (const OrderRule &rule : kOrderRules) {
        if ((rule.asked_of & only(operation)) == 0 || handle->order.*rule.flag == rule.wanted)
            continue;
        ssl_print(handle->msg_level, kMsgError, rule.text, kTags[operation].order);
        return rule.code;
    }
    return EZOSSL_OK;
}

bool ssl_has_magic(const SslHandle *handle)
{
    return std::memcmp(handle->magic, kSslMagic, sizeof handle->magic) == 0;
}

int32_t ssl_check_handle(const SslHandle *handle, int32_t level, SslOperation operation)
{
    const char *const tag = kTags[operation].handle;
    if (handle->point_number != EZOSSL_FRAME_LENGTH) {
        ssl_print(level, kMsgError,
                  "[BF] [%s] Fail! This library only support %d point number!!\r\n", tag,
                  EZOSSL_FRAME_LENGTH);
        return EZOSSL_BAD_POINT_NUMBER;
    }
    if (handle->mic_num != EZOSSL_MIC_COUNT) {
        ssl_print(level, kMsgError, "[BF][%s] Fail! This library only support %d Microphones!!\r\n",
                  tag, EZOSSL_MIC_COUNT);
        return EZOSSL_BAD_MIC_NUM;
    }
    if (!ssl_has_magic(handle)) {
        ssl_print(level, kMsgError, "[BF][%s] Fail! The handle pointer seems to be dirty!!\r\n",
                  tag);
        return EZOSSL_BAD_HANDLE;
    }
    return EZOSSL_OK;
}

int32_t ssl_check_call(const SslHandle *handle, SslOperation operation)
{
    const int32_t owed = ssl_check_order(handle, operation);
    return owed != EZOSSL_OK ? owed : ssl_check_handle(handle, handle->msg_level, operation);
}
