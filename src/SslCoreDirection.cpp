// SPDX-License-Identifier: MIT
// SslCoreDirection.cpp - from the votes of a block to an angle, in the order of the steps.

#include "SslCore.h"

#include <cmath>

void ssl_reset_voting(SslHandle *handle)
{
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        handle->cos_ratio[pair] = 0.0f;
        handle->pair_weight[pair] = 0.0f;
        for (float &sum : handle->vote_delay_sum[pair])
            sum = 0.0f;
        for (int32_t &count : handle->vote_count[pair])
            count = 0;
    }
    for (float &component : handle->direction_vector)
        component = 0.0f;
    handle->cos_ratio_sum = 0.0f;
    handle->cos_ratio_mean = 0.0f;
    handle->pair_weight_sum = 0.0f;
    handle->weighted_cos = 0.0f;
    handle->frame_energy = 0.0f;
    handle->energy_sum = 0.0f;
}

bool ssl_block_is_quiet(SslHandle *handle)
{
    // The block has the configured length, however many frames were run. A length of 0 divides by
    // zero. On a second call energy_sum already holds decibels, so the logarithm may be NaN. NaN
    // counts as not quiet.
    const uint32_t samples = static_cast<uint32_t>(handle->direction_frame_num) * kFftLength;
    const float mean = handle->energy_sum / static_cast<float>(samples);
    handle->energy_sum = static_cast<float>(10.0 * std::log10(double{mean} + 1e-9));
    return handle->energy_sum <= static_cast<float>(handle->noise_gate_db);
}

bool ssl_vote_decide(SslHandle *handle)
{
    // Of equal counts the lower bin wins. Without votes the previous winner stays.
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        int32_t most = 0;
        for (uint32_t bin = 0; bin < kVoteBinCount; ++bin) {
            if (handle->vote_count[pair][bin] > most) {
                most = handle->vote_count[pair][bin];
                handle->winning_bin[pair] = static_cast<int32_t>(bin);
            }
        }
    }
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        const int32_t winner = handle->winning_bin[pair];
        if (winner == static_cast<int32_t>(kRejectedBin))
            return false;
        if (handle->vote_count[pair][winner] < handle->vote_gate[winner])
            return false;
    }
    return true;
}

void ssl_vote_to_path(SslHandle *handle)
{
    constexpr int64_t kTolerance = 3; // samples allowed beyond the limit

    const float scale = handle->sound_speed / static_cast<float>(handle->sample_rate); // m a sample
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        const int32_t winner = handle->winning_bin[pair];
        const float path = scale * handle->vote_delay_sum[pair][winner] /
                           static_cast<float>(handle->vote_count[pair][winner]);
        const int32_t delay = handle->max_delay_sample[pair];
        const float limit = scale * static_cast<float>(delay);
        const float tolerant = scale * static_cast<float>(delay + kTolerance);
        handle->path_difference[pair] = path;
        handle->path_limit = limit;
        handle->path_limit_tolerant = tolerant;

        handle->pair_valid[pair] = 1;
        handle->range_state[pair] = 0;
        if (path < -tolerant || path > tolerant) {
            handle->range_state[pair] = 2;
            handle->pair_valid[pair] = 0;
        } else if (path < -limit || path > limit) {
            handle->range_state[pair] = 1;
        }
    }
}

bool ssl_path_to_ratio(SslHandle *handle)
{
    if (handle->array_geometry != kGeometryLinear) {
        for (const int32_t valid : handle->pair_valid)
            if (valid != 1)
                return false;
        return true;
    }
    // Only the voting reset clears the sum, so a second call on the same votes adds to it.
    uint32_t count = 0;
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        if (handle->pair_valid[pair] != 1)
            continue;
        handle->cos_ratio[pair] =
            handle->path_difference[pair] / handle->relative_array_pos[pair][0];
        handle->cos_ratio_sum += handle->cos_ratio[pair];
        ++count;
    }
    handle->cos_ratio_mean = handle->cos_ratio_sum / static_cast<float>(count);
    return count != 0;
}

namespace {

// Pairs near the mean weigh more; with one pair the weighted mean is its own ratio.
float linear_angle(SslHandle *handle)
{
    for (uint32_t pair = 0; pair < kPairCount; ++pair) {
        if (handle->pair_valid[pair] != 1)
            continue;
        const float off = handle->cos_ratio[pair] - handle->cos_ratio_mean;
        handle->pair_weight[pair] = off == 0.0f ? 1.0f : 1.0f / std::fabs(off);
        handle->pair_weight_sum += handle->pair_weight[pair];
    }
    for (uint32_t pair = 0; pair < kPairCount; ++pair)
        handle->weighted_cos +=
            handle->pair_weight[pair] * handle->cos_ratio[pair] / handle->pair_weight_sum;

    const float cosine = handle->weighted_cos;
    if (!(cosine < 1.0f)) // or not a number
        return -90.0f;
    if (!(cosine > -1.0f))
        return 90.0f;
    return static_cast<float>(std::acos(double{cosine}) * 180.0 / kPi) - 90.0f;
}

// The polar angle of the direction vector, -90 ... 270.
float circular_angle(SslHandle *handle)
{
    for (uint32_t axis = 0; axis < 2; ++axis) {
        handle->direction_vector[axis] = 0.0f;
        for (uint32_t pair = 0; pair < kPairCount; ++pair)
            handle->direction_vector[axis] +=
                handle->relative_array_pos_pinv[axis][pair] * handle->path_difference[pair];
    }
    const double polar =
        std::atan2(double{handle->direction_vector[1]}, double{handle->direction_vector[0]});
    const float angle = static_cast<float>(polar * 180.0 / kPi + 360.0);
    return static_cast<float>(std::fmod(double{angle}, 360.0) - 90.0);
}

} // namespace

float ssl_ratio_to_angle(SslHandle *handle)
{
    return handle->array_geometry == kGeometryLinear ? linear_angle(handle)
                                                     : circular_angle(handle);
}
