// SPDX-License-Identifier: MIT
// AudioSslSetup.cpp - how a buffer becomes an instance.

#include "AudioSslSetup.h"

#include "AudioSslCheck.h"
#include "AudioSslDump.h"

#include <cstring>

namespace {

constexpr unsigned kVersionYear = 0x2024; // read in hexadecimal: year, month and day, revision
constexpr unsigned kVersionDay = 0x0315;
constexpr unsigned kVersionRevision = 0x0000;

constexpr int32_t kDefaultTemperature = 25;
constexpr int32_t kDefaultFrameCount = 32;

bool is_supported_rate(int32_t rate)
{
    return rate == 8000 || rate == 16000 || rate == 32000 || rate == 48000;
}

// 0, or the code of the first field that is not allowed, after its message.
int32_t check_init(const SslInit *init, int32_t level)
{
    if (init->point_number != EZOSSL_FRAME_LENGTH) {
        ssl_print(level, kMsgError, " [SSL] Fail! The point_number is invalid!\t\n");
        return EZOSSL_BAD_POINT_NUMBER;
    }
    if (init->bf_mode != 0 && init->bf_mode != 1) {
        ssl_print(level, kMsgError, " [SSL] Fail! The bf_mode is invalid!\t\n");
        return EZOSSL_BAD_BF_MODE;
    }
    if (init->mic_num != EZOSSL_MIC_COUNT) {
        ssl_print(level, kMsgError, "[SSL] Fail! This library only support %d Microphones!!\r\n",
                  EZOSSL_MIC_COUNT);
        return EZOSSL_BAD_MIC_NUM;
    }
    if (!is_supported_rate(init->sample_rate)) {
        ssl_print(level, kMsgError, " [SSL]Fail! Error setting sample rate.\t\n");
        return EZOSSL_BAD_SAMPLE_RATE;
    }
    return EZOSSL_OK;
}

// Sets everything that is not 0 in a fresh instance, except the tables and the order.
void fill_settings(SslHandle *handle, const SslInit *init, int32_t level)
{
    std::memcpy(handle->magic, kSslMagic, sizeof handle->magic);
    handle->fft.fft_size = kFftLength;
    handle->mic_distance = static_cast<float>(double{init->mic_distance} * 0.01);
    handle->sample_rate = init->sample_rate;
    handle->point_number = init->point_number;
    handle->bf_mode = init->bf_mode;
    handle->array_geometry = kGeometryLinear;
    handle->mic_num = init->mic_num;
    handle->temperature = kDefaultTemperature;
    handle->noise_gate_db = kNoiseGateLowest;
    handle->sound_speed = ssl_sound_speed(kDefaultTemperature);
    handle->direction_frame_num = kDefaultFrameCount;
    handle->direction_frame_num_before = kDefaultFrameCount;
    handle->digital_gain_db = 0;
    handle->digital_gain_factor = 1.0f;
    handle->msg_level = level;
    handle->voting_changed = 0;
}

} // namespace

void ssl_carve(SslHandle *handle, int32_t level)
{
    if (handle == nullptr) {
        ssl_print(level, kMsgError, "[SSL] Fail! The workingBufferAddress is NULL\t\n");
        return;
    }
    handle->fft.fft_cfg = reinterpret_cast<char *>(handle) + kSslStateBytes;
}

SslHandle *ssl_set_up(void *working_buffer, const SslInit *ssl_init, const char *tag)
{
    const int32_t level = read_message_level();
    if (working_buffer == nullptr || ssl_init == nullptr) {
        ssl_print(level, kMsgError, " [SSL] [%s] Fail! The handle or ssl_init is null!\t\n", tag);
        return nullptr;
    }
    // The record must be aligned, because a machine may trap on its first float.
    if (reinterpret_cast<uintptr_t>(working_buffer) % alignof(SslHandle) != 0) {
        ssl_print(level, kMsgError, " [SSL] [%s] Fail! The handle is not aligned to 4 bytes!\t\n",
                  tag);
        return nullptr;
    }
    ssl_print(level, kMsgInfo, "[SSL] ver.%04x.%04x.%04x\r\n", kVersionYear, kVersionDay,
              kVersionRevision);

    const SslInit init = *ssl_init; // it may lie in the buffer
    std::memset(working_buffer, 0, EzoSsl_GetBufferSize());
    auto *const handle = static_cast<SslHandle *>(working_buffer);
    ssl_carve(handle, level);
    fft_start();
    if (check_init(&init, level) != EZOSSL_OK)
        return nullptr;
    fill_settings(handle, &init, level);
    if (ssl_check_handle(handle, level, kInit) != EZOSSL_OK)
        return nullptr;
    if (!ssl_core_init(handle)) {
        ssl_print(level, kMsgError, " [SSL] [%s] Fail! Initialization fail!\t\n", tag);
        return nullptr;
    }
    ssl_set_vote_gate(handle);
    ssl_linear_delays(handle);
    handle->gate_amplitude = ssl_gate_amplitude(handle->noise_gate_db);
    if (!ssl_dump_set_up(handle, tag))
        return nullptr;

    handle->order = {kStepDone, kStepOwed, kStepOwed, kStepOwed, kStepOwed, kStepOwed, kStepDone};
    return handle;
}
