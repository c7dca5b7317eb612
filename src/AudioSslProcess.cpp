// SPDX-License-Identifier: MIT
// AudioSslProcess.cpp - the exported operations, in the order in which a caller uses them.
//
// Each tests its pointers, marks its own step as entered, checks the order of calls and the handle,
// and then does its work.

#include "EzoSsl.h"

#include "AudioSslCheck.h"
#include "AudioSslDump.h"
#include "AudioSslSetup.h"
#include "SslCore.h"
#include "ssl_internal_parameter.h"

#include <cmath>

namespace {

// Whether an argument is missing. Printed at every level, because there may be no instance from
// which to take the level.
bool is_null(const void *argument, const char *text)
{
    if (argument == nullptr)
        ssl_print(kMsgLevelDefault, kMsgError, "%s", text);
    return argument == nullptr;
}

} // namespace

// ---- Life of an instance --------------------------------------------------------------------

uint32_t EzoSsl_GetBufferSize(void)
{
    const int32_t level = read_message_level();
    constexpr uint32_t bytes = kSslStateBytes + fft_get_buffer_size(kFftLength);
    static_assert(bytes == EZOSSL_BUFFER_BYTES, "static buffers of callers are as large");
    ssl_print(level, kMsgInfo, "[SSL] Working buffer size = %d bytes\t\n", static_cast<int>(bytes));
    return bytes;
}

SslHandle *EzoSsl_Init(void *working_buffer, const SslInit *ssl_init)
{
    return ssl_set_up(working_buffer, ssl_init, "Init");
}

SslHandle *EzoSsl_Reset(SslHandle *handle, const SslInit *ssl_init)
{
    return ssl_set_up(handle, ssl_init, "Reset");
}

int32_t EzoSsl_Free(SslHandle *handle)
{
    if (is_null(handle, " [SSL] [Free] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    fft_free(&handle->fft);
    // In a buffer that never was an instance, the words of the streams are not valid pointers.
    if (ssl_has_magic(handle))
        ssl_dump_free(handle);
    return EZOSSL_OK;
}

// ---- Configuration --------------------------------------------------------------------------

int32_t EzoSsl_Config(SslHandle *handle, const SslConfig *ssl_config)
{
    if (is_null(handle, " [SSL] [Config] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    if (is_null(ssl_config, " [SSL] [Config] Fail! The ssl_config is null!\t\n"))
        return EZOSSL_CONFIG_NULL;
    handle->order.config_state = kStepEntered;
    const int32_t refused = ssl_check_call(handle, kConfig);
    if (refused != EZOSSL_OK)
        return refused;

    handle->temperature = ssl_config->temperature;
    handle->sound_speed = ssl_sound_speed(handle->temperature);

    handle->direction_frame_num = ssl_config->direction_frame_num;
    handle->voting_changed = handle->direction_frame_num != handle->direction_frame_num_before;
    if (handle->voting_changed == 1)
        ssl_print(handle->msg_level, kMsgWarning,
                  " [SSL] [Config] Warning! The voting number direction_frame_num has been "
                  "change!\t\n");
    handle->direction_frame_num_before = handle->direction_frame_num;
    ssl_set_vote_gate(handle);

    const int32_t gate = ssl_config->noise_gate_db;
    handle->noise_gate_db = gate < kNoiseGateLowest ? kNoiseGateLowest : (gate > 0 ? 0 : gate);
    handle->gate_amplitude = ssl_gate_amplitude(handle->noise_gate_db);
    handle->order.config_state = kStepDone;
    return EZOSSL_OK;
}

int32_t EzoSsl_Get_Config(SslHandle *handle, SslConfig *ssl_config)
{
    if (is_null(ssl_config, " [SSL] [GetConfig] Fail! The ssl_config is null!\t\n"))
        return EZOSSL_CONFIG_NULL;
    if (is_null(handle, " [SSL] [GetConfig] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    const int32_t refused = ssl_check_call(handle, kGetConfig);
    if (refused != EZOSSL_OK)
        return refused;

    ssl_config->temperature = handle->temperature;
    ssl_config->noise_gate_db = handle->noise_gate_db;
    ssl_config->direction_frame_num = handle->direction_frame_num;
    return EZOSSL_OK;
}

int32_t EzoSsl_SetMode(SslHandle *handle, uint32_t mode, uint32_t angular_distance,
                       uint32_t convidence)
{
    if (is_null(handle, " [SSL] [SetMode] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    const int32_t refused = ssl_check_call(handle, kSetMode);
    if (refused != EZOSSL_OK)
        return refused;

    const int32_t level = handle->msg_level;
    if (mode > 1) {
        ssl_print(level, kMsgError, " [SSL] [SetMode] Fail! The mode is only to be 0 or 1!\t\n");
        return EZOSSL_BAD_MODE;
    }
    // Stored before the other tests, on purpose: a refused call can leave mode 1 in place.
    handle->mode = static_cast<int32_t>(mode);
    ssl_print(level, kMsgInfo, "[SSL] [SetMode] Using mode = %d!,[0: Normal,1:AI Method]\t\n",
              static_cast<int>(mode));
    if (angular_distance < 1 || angular_distance > 180) {
        // The text shows the bounds as exclusive.
        ssl_print(level, kMsgError,
                  " [SSL] [SetNNParams] Fail! angular_distance must be set between [%d,%d] !\t\n",
                  0, 181);
        return EZOSSL_BAD_MODE;
    }
    if (convidence < 1 || convidence > 90) {
        ssl_print(level, kMsgError,
                  " [SSL] [SetNNParams] Fail! convidence must be set between [%d,%d] !\t\n", 1, 90);
        return EZOSSL_BAD_MODE;
    }
    if (mode == 1) {
        ssl_print(level, kMsgError, "[SSL] [SetMode] Fail! This lib does not include mode 1\t\n");
        return EZOSSL_NO_SUCH_MODE;
    }
    ssl_reset_voting(handle);
    ssl_print(level, kMsgInfo, "[SSL][SetMode] mode = %d\t\n", static_cast<int>(mode));
    return EZOSSL_OK;
}

int32_t EzoSsl_ApplyDigitalGain(SslHandle *handle, int16_t *microphone_input, int32_t gain)
{
    if (is_null(handle, " [SSL] [ApplyDigitalGain] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    if (is_null(microphone_input,
                " [SSL] [ApplyDigitalGain] Fail! The microphone_input is NULL\t\n"))
        return EZOSSL_DATA_NULL;
    const int32_t refused = ssl_check_call(handle, kApplyDigitalGain);
    if (refused != EZOSSL_OK)
        return refused;
    if (gain < -120 || gain > 120) {
        ssl_print(handle->msg_level, kMsgError,
                  "[SSL][ApplyDigitalGain]Fail! Gain value must be set between -120 to 120!  \t\n");
        return EZOSSL_BAD_GAIN;
    }

    if (gain != handle->digital_gain_db) {
        const float exponent = static_cast<float>(gain) / 20.0f;
        handle->digital_gain_db = gain;
        handle->digital_gain_factor = static_cast<float>(std::pow(10.0, double{exponent}));
    }
    // The low 16 bits of the product are kept, so samples that are too loud wrap around.
    for (uint32_t i = 0; i < kFrameLength * kMicCount; ++i) {
        const float sample = handle->digital_gain_factor * static_cast<float>(microphone_input[i]);
        microphone_input[i] = static_cast<int16_t>(float_to_int32(sample));
    }
    return EZOSSL_OK;
}

int32_t EzoSsl_GetAPIVersion(uint16_t *major, uint16_t *minor)
{
    const int32_t level = read_message_level();
    const auto first = static_cast<uint16_t>(kApiVersion[0] - '0');
    const auto second = static_cast<uint16_t>(kApiVersion[1] - '0');
    if (major != nullptr)
        *major = first;
    if (minor != nullptr)
        *minor = second;
    ssl_print(level, kMsgInfo, "SSL_API_VERSION: %d.%d\n", first, second);
    return EZOSSL_OK;
}

int32_t EzoSsl_SetCallbackFunction(int32_t, int32_t, int32_t, int32_t)
{
    return EZOSSL_OK;
}

// ---- Array geometry -------------------------------------------------------------------------

namespace {

// Begins a new shape. The old one, if any, stays in force until it is overwritten.
void enter_shape(SslHandle *handle, const char *overwrite_warning)
{
    if (handle->order.shape_state != kStepDone)
        handle->order.shape_state = kStepEntered;
    else
        ssl_print(handle->msg_level, kMsgWarning, "%s", overwrite_warning);
}

void finish_shape(SslHandle *handle)
{
    handle->order.shape_state = kStepDone;
    handle->order.param_state = kStepOwed;
}

} // namespace

uint32_t EzoSsl_Set_Shape(SslHandle *handle, uint32_t array_geometry)
{
    if (is_null(handle, "[SSL] [SetShape] Fail! The handle is NULL!!\r\n"))
        return EZOSSL_BAD_HANDLE;
    const int32_t owed = ssl_check_order(handle, kSetShape);
    if (owed != EZOSSL_OK)
        return static_cast<uint32_t>(owed);
    enter_shape(handle, "[SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape "
                        "first. The array geometry will be overwrite !\t\n");
    const int32_t bad = ssl_check_handle(handle, handle->msg_level, kSetShape);
    if (bad != EZOSSL_OK)
        return static_cast<uint32_t>(bad);
    if (array_geometry > 1) {
        ssl_print(handle->msg_level, kMsgError,
                  "[SSL] [SetShape] Fail! The array_geometry setting is not allow, it should be 0 "
                  "or 1 !!\r\n");
        return EZOSSL_BAD_GEOMETRY;
    }
    if (array_geometry == 1) {
        ssl_print(handle->msg_level, kMsgError,
                  "[SSL] [SetShape] Fail! Two microphone array must be linear. Please set shape to "
                  " 0 !\t\n");
        return EZOSSL_NOT_LINEAR;
    }
    handle->array_geometry = static_cast<int32_t>(array_geometry);
    Ssl_Cal_Geometry(handle);
    finish_shape(handle);
    return EZOSSL_OK;
}

int32_t EzoSsl_Set_ArbitraryShape(SslHandle *handle, const float *array_pos)
{
    if (is_null(handle, "[SSL] [Set_ArbitraryShape] Fail! The handle is NULL!!\r\n"))
        return EZOSSL_BAD_HANDLE;
    if (is_null(array_pos, " [SSL] [Set_ArbitraryShape] Fail! The array_pos is NULL\t\n"))
        return EZOSSL_DATA_NULL;
    const int32_t owed = ssl_check_order(handle, kSetArbitraryShape);
    if (owed != EZOSSL_OK)
        return owed;
    enter_shape(handle, "[SSL] [Set_ArbitraryShape] Warning!You may have called EzoSsl_Set_Shape "
                        "first. The array geometry will be overwrite !\t\n");
    const int32_t bad = ssl_check_handle(handle, handle->msg_level, kSetArbitraryShape);
    if (bad != EZOSSL_OK)
        return bad;
    // The check above passes only two microphones, so every call ends here.
    if (handle->mic_num == 2) {
        ssl_print(handle->msg_level, kMsgError,
                  "[SSL] [Set_ArbitraryShape] Fail! Two microphone array must be linear. Can't use "
                  "Arbitrary shape !\t\n");
        return EZOSSL_NOT_LINEAR;
    }
    if (ssl_coincident_microphones(array_pos) != 0) {
        ssl_print(handle->msg_level, kMsgError,
                  "[BF] [Set_ArbitraryShape] Fail! Some microphones are at same position !\t\n");
        return EZOSSL_NOT_LINEAR;
    }
    Ssl_Cal_ArbitraryGeometry(handle, array_pos);
    finish_shape(handle);
    return EZOSSL_OK;
}

uint32_t EzoSsl_Cal_Params(SslHandle *handle)
{
    if (is_null(handle, "[SSL] [CalParams] Fail! The handle is NULL!!\r\n"))
        return EZOSSL_BAD_HANDLE;
    handle->order.param_state = kStepEntered;
    const int32_t refused = ssl_check_call(handle, kCalParams);
    if (refused != EZOSSL_OK)
        return static_cast<uint32_t>(refused);

    Ssl_Cal_Intrinsic(handle);
    handle->order.param_state = kStepDone;
    return EZOSSL_OK;
}

// ---- Frames and directions ------------------------------------------------------------------

namespace {

// Whether it is Run's turn in the cycle Run ..., Get_Direction, Reset_Mapping.
int32_t check_turn(const SslHandle *handle)
{
    if (handle->order.direction_state != kStepOwed) {
        ssl_print(handle->msg_level, kMsgError,
                  " [SSL] [Run] Fail! Please call EzoSsl_Get_Direction first.\t\n");
        return EZOSSL_WRONG_PHASE;
    }
    if (handle->order.mapping_state != kStepDone) {
        ssl_print(handle->msg_level, kMsgError,
                  " [SSL] [Run] Fail! Please call EzoSsl_Reset_Mapping first.\t\n");
        return EZOSSL_WRONG_PHASE;
    }
    return EZOSSL_OK;
}

} // namespace

int32_t EzoSsl_Run(SslHandle *handle, const int16_t *microphone_input, int32_t *delay_sample)
{
    if (is_null(handle, " [SSL] [Run] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    if (is_null(microphone_input, " [SSL] [Run] Fail! The microphone_input is NULL\t\n"))
        return EZOSSL_DATA_NULL;
    if (is_null(delay_sample, " [SSL] [Run] Fail! The delay_sample is NULL\t\n"))
        return EZOSSL_DATA_NULL;
    handle->order.run_state = kStepEntered;
    const int32_t refused = ssl_check_call(handle, kRun);
    if (refused != EZOSSL_OK)
        return refused;
    const int32_t not_now = check_turn(handle);
    if (not_now != EZOSSL_OK)
        return not_now;

    if (!ssl_dump_update(handle))
        return EZOSSL_DUMP_FILE;
    if (handle->voting_changed == 1) {
        ssl_reset_voting(handle);
        handle->voting_changed = 0;
    }
    ssl_deinterleave(handle, microphone_input);
    ssl_dump_write(handle);
    ssl_load_frame(handle);
    ssl_frame_energy(handle);

    if (handle->bf_mode != 0) {
        ssl_delay_amdf(handle, delay_sample);
    } else {
        ssl_spectra(handle);
        if (handle->mode != 0) {
            ssl_print(handle->msg_level, kMsgError,
                      "[SSL] [CNN Run]  Fail! This lib does not include mode 1\t\n");
            return EZOSSL_NO_SUCH_MODE;
        }
        ssl_delay_gcc(handle, delay_sample);
    }
    handle->order.run_state = kStepDone;
    return EZOSSL_OK;
}

namespace {

// Writes the angle of the block and ends the turn, whatever the result.
int32_t find_direction(SslHandle *handle, int32_t *direction_avg_int)
{
    handle->order.direction_state = kStepDone;
    handle->order.mapping_state = kStepOwed;
    if (ssl_block_is_quiet(handle))
        return EZOSSL_TOO_QUIET;
    if (!ssl_vote_decide(handle))
        return EZOSSL_UNDECIDED;
    ssl_vote_to_path(handle);
    if (!ssl_path_to_ratio(handle)) {
        ssl_print(
            handle->msg_level, kMsgWarning,
            " [SSL]%s all delay samples are too large. Please check the distance and sampling "
            "rate!.\t\n",
            handle->array_geometry != kGeometryLinear ? "UCA" : "ULA");
        return EZOSSL_DELAY_TOO_LARGE;
    }
    *direction_avg_int = float_to_int32(ssl_ratio_to_angle(handle));
    return EZOSSL_OK;
}

} // namespace

int32_t EzoSsl_Get_Direction(SslHandle *handle, int32_t *direction_avg_int)
{
    if (is_null(handle, " [SSL] [GetDirection] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    if (is_null(direction_avg_int, " [SSL] [GetDirection] Fail! The direction_avg_int is NULL\t\n"))
        return EZOSSL_DATA_NULL;
    *direction_avg_int = EZOSSL_NO_DIRECTION;
    handle->order.direction_state = kStepEntered;
    const int32_t refused = ssl_check_call(handle, kGetDirection);
    if (refused != EZOSSL_OK)
        return refused;
    if (handle->bf_mode == 1) {
        ssl_print(handle->msg_level, kMsgError,
                  " [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call "
                  "EzoSsl_Get_Direction!\t\n");
        return EZOSSL_BAD_BF_MODE;
    }
    if (handle->mode != 0) {
        ssl_print(handle->msg_level, kMsgError,
                  "[SSL]  Fail! This lib does not include mode 1\t\n");
        return EZOSSL_NO_SUCH_MODE;
    }
    return find_direction(handle, direction_avg_int);
}

int32_t EzoSsl_Reset_Mapping(SslHandle *handle)
{
    if (is_null(handle, " [SSL] [ResetMapping] Fail! The handle is null!\t\n"))
        return EZOSSL_BAD_HANDLE;
    handle->order.mapping_state = kStepEntered;
    const int32_t refused = ssl_check_call(handle, kResetMapping);
    if (refused != EZOSSL_OK)
        return refused;
    if (handle->bf_mode == 1) {
        ssl_print(handle->msg_level, kMsgError,
                  " [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call "
                  "EzoSsl_ResetVoting!\t\n");
        return EZOSSL_BAD_BF_MODE;
    }
    ssl_reset_voting(handle);
    handle->order.direction_state = kStepOwed;
    handle->order.mapping_state = kStepDone;
    return EZOSSL_OK;
}
