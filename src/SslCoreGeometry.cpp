// SPDX-License-Identifier: MIT
// SslCoreGeometry.cpp - where the microphones are, and which delays that allows.
//
// Two microphones are always a linear array, so no call of the interface reaches the complete
// branches for circular and arbitrary arrays.

#include "SslCore.h"

#include <cmath>

namespace {

float root(float square)
{
    return static_cast<float>(std::sqrt(double{square}));
}

// Whole samples that sound needs for a distance, plus one as a margin.
int32_t largest_delay(const SslHandle *handle, float distance)
{
    const float samples = distance / handle->sound_speed * static_cast<float>(handle->sample_rate);
    const int32_t whole = float_to_int32(samples);
    return whole < INT32_MAX ? whole + 1 : whole;
}

// Pair vectors and largest delays from the positions.
void measure_pairs(SslHandle *handle)
{
    const float(&first)[2] = handle->mic_pos[0];
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        const float(&second)[2] = handle->mic_pos[pair + 1];
        const float x = second[0] - first[0];
        const float y = second[1] - first[1];
        handle->relative_array_pos[pair][0] = x;
        handle->relative_array_pos[pair][1] = y;
        handle->max_delay_sample[pair] = largest_delay(handle, root(x * x + y * y));
    }
}

// The angle of an axis, in (-pi/2, pi/2].
float axis_slope(float x, float y)
{
    if (x == 0.0f)
        return 1.5707963f;
    if (y == 0.0f)
        return 0.0f;
    return static_cast<float>(std::atan(double{y / x}));
}

} // namespace

void ssl_linear_delays(SslHandle *handle)
{
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        const float distance = static_cast<float>(pair + 1) * handle->mic_distance;
        handle->max_delay_sample[pair] = largest_delay(handle, distance);
        for (uint32_t n = 0; n < kCandidateCount; ++n) {
            const double angle = double{static_cast<float>(n) / 8.0f} * kPi;
            handle->direction_delay_table[pair][n] =
                static_cast<float>(handle->max_delay_sample[pair] * std::cos(angle));
        }
    }
}

void Ssl_Cal_Geometry(SslHandle *handle)
{
    if (handle->array_geometry == kGeometryLinear) {
        float steps = -0.5f; // centred for two microphones
        for (float(&position)[2] : handle->mic_pos) {
            position[0] = handle->mic_distance * steps;
            position[1] = 0.0f;
            steps += 1.0f;
        }
    } else {
        const float radius = 0.5f * handle->mic_distance;
        float half_turns = 1.0f;
        for (float(&position)[2] : handle->mic_pos) {
            const double angle = double{half_turns} * kPi;
            position[0] = static_cast<float>(double{radius} * std::cos(angle));
            position[1] = static_cast<float>(double{radius} * std::sin(angle));
            half_turns -= 1.0f;
        }
    }
    measure_pairs(handle);

    // A linear array keeps the expected delays of Init, although the largest delays are new.
    if (handle->array_geometry != kGeometryCircular)
        return;
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        for (uint32_t n = 0; n < kCandidateCount; ++n) {
            const float half_turns = (static_cast<float>(n) / 8.0f + 0.5f) -
                                     static_cast<float>(pair + 1) / static_cast<float>(kMicCount);
            const float angle = static_cast<float>(double{half_turns} * kPi);
            handle->direction_delay_table[pair][n] =
                static_cast<float>(handle->max_delay_sample[pair] * std::cos(double{angle}));
        }
    }
}

uint32_t ssl_coincident_microphones(const float *array_pos)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < kMicCount; ++i)
        for (uint32_t j = i + 1; j < kMicCount; ++j)
            if (array_pos[2 * j] == array_pos[2 * i] &&
                array_pos[2 * j + 1] == array_pos[2 * i + 1])
                ++count;
    return count;
}

void Ssl_Cal_ArbitraryGeometry(SslHandle *handle, const float *array_pos)
{
    for (uint32_t axis = 0; axis < 2; ++axis) {
        float mean_value = 0.0f;
        for (uint32_t mic = 0; mic < kMicCount; ++mic)
            mean_value += array_pos[2 * mic + axis] / static_cast<float>(kMicCount);
        for (uint32_t mic = 0; mic < kMicCount; ++mic)
            handle->mic_pos[mic][axis] = (array_pos[2 * mic + axis] - mean_value) / 100.0f;
    }
    measure_pairs(handle);

    // Here a largest delay has the sign of its pair's x.
    float slope[kPairCount];
    uint32_t other_slopes = 0;
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        const float(&vector)[2] = handle->relative_array_pos[pair];
        if (vector[0] < 0.0f)
            handle->max_delay_sample[pair] = -handle->max_delay_sample[pair];
        slope[pair] = axis_slope(vector[0], vector[1]);
        if (pair > 0 && slope[pair] != slope[0])
            ++other_slopes;
    }
    handle->array_geometry = other_slopes == 0 ? kGeometryLinear : kGeometryCircular;

    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        for (uint32_t n = 0; n < kCandidateCount; ++n) {
            const double angle = double{slope[pair]} + double{static_cast<float>(n)} * kPi / 8.0;
            const float delay = static_cast<float>(handle->max_delay_sample[pair]);
            handle->direction_delay_table[pair][n] =
                static_cast<float>(double{delay} * std::cos(angle));
        }
    }
}

void Ssl_Cal_Intrinsic(SslHandle *handle)
{
    if (handle->array_geometry != kGeometryCircular)
        return;
    // Least squares: (R^T R)^-1 R^T, R the pair vectors as rows.
    const float(&r)[kPairCount][2] = handle->relative_array_pos;
    float square[2][2];
    for (uint32_t a = 0; a < 2; ++a) {
        for (uint32_t b = 0; b < 2; ++b) {
            square[a][b] = 0.0f;
            for (uint32_t pair = 0; pair < kPairCount; ++pair)
                square[a][b] += r[pair][a] * r[pair][b];
        }
    }

    // The constant keeps the division finite: for a single pair the matrix has rank one. It is
    // added to the determinant itself.
    float determinant = square[0][0] * square[1][1] - square[1][0] * square[0][1];
    determinant = static_cast<float>(double{determinant} + 1e-09);
    const float inverse[2][2] = {
        {square[1][1] / determinant, -square[0][1] / determinant},
        {-square[1][0] / determinant, square[0][0] / determinant},
    };

    for (uint32_t a = 0; a < 2; ++a) {
        for (uint32_t pair = 0; pair < kPairCount; ++pair) {
            float sum = 0.0f;
            for (uint32_t k = 0; k < 2; ++k)
                sum += inverse[a][k] * r[pair][k];
            handle->relative_array_pos_pinv[a][pair] = sum;
        }
    }
}
