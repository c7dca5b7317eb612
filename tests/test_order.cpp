// SPDX-License-Identifier: MIT
// test_order.cpp - every operation from every state of the call order: code, whole text, and what
// the call changes.

#include "support.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>

namespace {

int16_t samples[256];
int32_t result;
SslConfig config = {25, -80, 32};
const float positions[4] = {0, 0, 5, 0};

struct Operation {
    const char *tag;
    const char *handle_tag;
    // What must hold, in the order of the tests: init, config, shape, params done; run done (r) or
    // not entered (n).
    const char *needs;
    int32_t SslCallOrderFlags::*entered; // set to 0 by a refused call
    std::function<int32_t(SslHandle *)> call;
};

int32_t as_signed(uint32_t code)
{
    return static_cast<int32_t>(code);
}

const Operation kOperations[] = {
    {"Config", "Config", "i", &SslCallOrderFlags::config_state,
     [](SslHandle *ssl) { return EzoSsl_Config(ssl, &config); }},
    {"GetConfig", "Get_Config", "ic", nullptr,
     [](SslHandle *ssl) { return EzoSsl_Get_Config(ssl, &config); }},
    {"SetShape", "Set_Shape", "icn", nullptr,
     [](SslHandle *ssl) { return as_signed(EzoSsl_Set_Shape(ssl, 0)); }},
    {"Set_ArbitraryShape", "Set_ArbitraryShape", "icn", nullptr,
     [](SslHandle *ssl) { return EzoSsl_Set_ArbitraryShape(ssl, positions); }},
    {"CalParams", "CalParams", "icsn", &SslCallOrderFlags::param_state,
     [](SslHandle *ssl) { return as_signed(EzoSsl_Cal_Params(ssl)); }},
    {"SetMode", "SetMode", "icsp", nullptr,
     [](SslHandle *ssl) { return EzoSsl_SetMode(ssl, 0, 180, 90); }},
    {"ApplyDigitalGain", "ApplyDigitalGain", "icsp", nullptr,
     [](SslHandle *ssl) { return EzoSsl_ApplyDigitalGain(ssl, samples, 0); }},
    {"Run", "Run", "icsp", &SslCallOrderFlags::run_state,
     [](SslHandle *ssl) { return EzoSsl_Run(ssl, samples, &result); }},
    {"GetDirection", "GetDirection", "icspr", &SslCallOrderFlags::direction_state,
     [](SslHandle *ssl) { return EzoSsl_Get_Direction(ssl, &result); }},
    {"ResetMapping", "ResetMapping", "icspr", &SslCallOrderFlags::mapping_state,
     [](SslHandle *ssl) { return EzoSsl_Reset_Mapping(ssl); }},
};

struct Refusal {
    int32_t code = 0;
    std::string text;
};

Refusal expected_refusal(const Operation &operation, const SslCallOrderFlags &order)
{
    const std::string tag = operation.tag;
    const std::string begin = "[ALGO_MSG_ERR] [SSL] [" + tag + "] Fail! ";
    for (const char *need = operation.needs; *need != '\0'; ++need) {
        if (*need == 'i' && order.init_state != 1)
            return {EZOSSL_NOT_INITIALISED,
                    (tag == "Config" ? "[ALGO_MSG_ERR]  [SSL] [Config] Fail! " : begin) +
                        "Please call EzoSsl_Init first!\t\n"};
        if (*need == 'c' && order.config_state != 1)
            return {EZOSSL_STEP_OWED, begin + "Please call EzoSSL_Config first!\t\n"};
        if (*need == 's' && order.shape_state != 1)
            return {EZOSSL_STEP_OWED, begin + "Please call EzoSsl_Set_Shape first!\t\n"};
        if (*need == 'p' && order.param_state != 1)
            return {EZOSSL_STEP_OWED, begin + "Please call EzoSsl_Cal_Params first!\t\n"};
        if (*need == 'r' && order.run_state != 1)
            return {EZOSSL_STEP_OWED, begin + "Please call EzoSsl_Run first!\t\n"};
        if (*need == 'n' && order.run_state != 2)
            return {EZOSSL_WRONG_PHASE,
                    begin + "Can't not change " +
                        (tag == "CalParams" ? "intrinsic parameters" : "array shape") +
                        " during run process!\t\n"};
    }
    return {};
}

TEST(Order, EveryOperationFromEveryState)
{
    Instance ssl;
    const std::vector<char> ready = ssl.bytes();
    for (int state = 0; state < 2 * 3 * 3 * 3 * 3; ++state) {
        const SslCallOrderFlags order = {
            state % 2, state / 2 % 3, state / 6 % 3, state / 18 % 3, state / 54, 2, 1};
        for (const Operation &operation : kOperations) {
            std::memcpy(static_cast<void *>(ssl.get()), ready.data(), ready.size());
            ssl->order = order;
            const Refusal expected = expected_refusal(operation, order);
            std::vector<char> after = ssl.bytes();
            int32_t code = 0;
            const std::string text = printed_by([&] { code = operation.call(ssl); });
            if (expected.code == 0) {
                const bool arbitrary = operation.tag == std::string("Set_ArbitraryShape");
                EXPECT_EQ(code, arbitrary                                      ? EZOSSL_NOT_LINEAR
                                : operation.tag == std::string("GetDirection") ? EZOSSL_TOO_QUIET
                                                                               : 0);
                continue;
            }
            EXPECT_EQ(code, expected.code) << operation.tag << " in state " << state;
            EXPECT_EQ(text, expected.text);
            // Nothing but its own flag has changed.
            if (operation.entered != nullptr)
                reinterpret_cast<SslHandle *>(after.data())->order.*operation.entered = 0;
            EXPECT_EQ(ssl.bytes(), after) << operation.tag << " in state " << state;
        }
    }
}

TEST(Order, TheHandleIsCheckedAfterTheOrder)
{
    for (const Operation &operation : kOperations) {
        const std::string tag = operation.handle_tag;
        const struct {
            void (*spoil)(SslHandle *);
            int32_t code;
            std::string text;
        } spoilt[] = {
            {[](SslHandle *ssl) { ssl->magic[3] = 'O'; }, EZOSSL_BAD_HANDLE,
             "[BF][" + tag + "] Fail! The handle pointer seems to be dirty!!\r\n"},
            {[](SslHandle *ssl) { ssl->mic_num = 3; }, EZOSSL_BAD_MIC_NUM,
             "[BF][" + tag + "] Fail! This library only support 2 Microphones!!\r\n"},
            {[](SslHandle *ssl) { ssl->point_number = 129; }, EZOSSL_BAD_POINT_NUMBER,
             "[BF] [" + tag + "] Fail! This library only support 128 point number!!\r\n"},
        };
        const bool shape = operation.needs == std::string("icn");
        Instance ssl(shape                                       ? Instance::kConfigured
                     : operation.tag == std::string("CalParams") ? Instance::kShaped
                                                                 : Instance::kRunning);
        // Adds one fault after another; each new one is checked before the earlier ones.
        for (const auto &row : spoilt) {
            row.spoil(ssl);
            EXPECT_EQ(printed_by([&] { EXPECT_EQ(operation.call(ssl), row.code); }),
                      "[ALGO_MSG_ERR] " + row.text);
        }
        EXPECT_EQ(ssl->order.shape_state, shape ? 0 : 1);
        ssl->order.init_state = 2;
        EXPECT_EQ(printed_by([&] {
                      EXPECT_EQ(operation.call(ssl), EZOSSL_NOT_INITIALISED);
                  }).find("[BF]"),
                  std::string::npos);
    }
}

} // namespace
