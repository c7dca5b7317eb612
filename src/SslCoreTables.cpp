// SPDX-License-Identifier: MIT
// SslCoreTables.cpp - constant tables of the core, look-ups in them, and the tables that every
// instance starts with.

#include "SslCore.h"

#include <cstdint>

// Levels from 0 down to -80 dB as Q15 amplitudes: 32767 x 10^(dB / 20) rounded down. The last five
// lie below that rule, on purpose, so that even the lowest level has an amplitude.
// clang-format off
const VolEntry VolTable[81] = {
    {0, 32767},  {-1, 29203}, {-2, 26027}, {-3, 23197}, {-4, 20674},
    {-5, 18426}, {-6, 16422}, {-7, 14636}, {-8, 13044}, {-9, 11626},
    {-10, 10361}, {-11, 9234}, {-12, 8230}, {-13, 7335}, {-14, 6537},
    {-15, 5826}, {-16, 5193}, {-17, 4628}, {-18, 4125}, {-19, 3676},
    {-20, 3276}, {-21, 2920}, {-22, 2602}, {-23, 2319}, {-24, 2067},
    {-25, 1842}, {-26, 1642}, {-27, 1463}, {-28, 1304}, {-29, 1162},
    {-30, 1036}, {-31, 923},  {-32, 823},  {-33, 733},  {-34, 653},
    {-35, 582},  {-36, 519},  {-37, 462},  {-38, 412},  {-39, 367},
    {-40, 327},  {-41, 292},  {-42, 260},  {-43, 231},  {-44, 206},
    {-45, 184},  {-46, 164},  {-47, 146},  {-48, 130},  {-49, 116},
    {-50, 103},  {-51, 92},   {-52, 82},   {-53, 73},   {-54, 65},
    {-55, 58},   {-56, 51},   {-57, 46},   {-58, 41},   {-59, 36},
    {-60, 32},   {-61, 29},   {-62, 26},   {-63, 23},   {-64, 20},
    {-65, 18},   {-66, 16},   {-67, 14},   {-68, 13},   {-69, 11},
    {-70, 10},   {-71, 9},    {-72, 8},    {-73, 7},    {-74, 6},
    {-75, 5},    {-76, 4},    {-77, 3},    {-78, 2},    {-79, 1},
    {-80, 1},
};
// clang-format on

// Votes that a winner needs of every 32 frames. The directions along the array's axis, bins 0 and
// 8, need half as many; bin 9 counts rejected frames.
const int32_t Gate_Array[kVoteBinCount] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};

int32_t float_to_int32(float value)
{
    constexpr float kBeyond = 2147483648.0f; // 2^31, the first float that int32 does not hold
    if (value >= kBeyond)
        return INT32_MAX;
    if (value < -kBeyond)
        return INT32_MIN;
    return value == value ? static_cast<int32_t>(value) : 0;
}

float ssl_sound_speed(int32_t temperature)
{
    return static_cast<float>(static_cast<double>(temperature) * 0.6 + 331.0);
}

uint16_t ssl_gate_amplitude(int32_t level_db)
{
    for (const VolEntry &entry : VolTable)
        if (entry.db == level_db)
            return static_cast<uint16_t>(entry.amplitude);
    return 0;
}

void ssl_set_vote_gate(SslHandle *handle)
{
    // The frame count is read as unsigned: a negative one is very large.
    const uint32_t blocks = static_cast<uint32_t>(handle->direction_frame_num) >> 5;
    for (uint32_t bin = 0; bin < kVoteBinCount; ++bin)
        handle->vote_gate[bin] =
            float_to_int32(static_cast<float>(Gate_Array[bin]) * static_cast<float>(blocks));
}

bool ssl_core_init(SslHandle *handle)
{
    handle->fft.fft_inited = 0;
    fft_init(&handle->fft);
    for (uint32_t i = 0; i < kFftLength; ++i)
        handle->lag_table[i] = static_cast<int32_t>(i) - static_cast<int32_t>(kFftLength / 2);
    return handle->fft.fft_inited == 1;
}
